// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "platform/arx/AcGe.h"
#include "platform/kernel/LargeMemory.h"

class ZrOwPolyLine;

namespace norvex::pipenet {

// Position in a list of nodes, edges or the like.
using Index = std::uint32_t;
inline constexpr Index kNone = ~Index{0};

// Points nearer than this are one place, in drawing units.
inline constexpr double kPlaceTolerance = 0.1;

// A network as plain numbers: what a search finds, and what loops are looked for in. Nodes and edges that callers can
// hold are made from it when one of them asks.
struct PipeNetwork {
    // The nodes of an edge, kNone where it has none: the one from which a search reached the pipe, and the one at its
    // far end.
    struct Ends {
        Index start;
        Index end;
    };

    // Per edge, in the order of making.
    kernel::LargeVector<ZrOwPolyLine*> pipes;
    kernel::LargeVector<Ends> ends;
    // Per node.
    kernel::LargeVector<AcGePoint3d> points;
    // One more than nodes: where each node's list begins in lists.
    kernel::LargeVector<Index> listBegin;
    // The edges that end at each node, one list after the other. kNone for an edge of another network.
    kernel::LargeVector<Index> lists;
    // The nodes that the graph does not list; a search leaves one, its first. The others are listed in their order.
    std::vector<Index> unlisted;
    // No two listed nodes are near each other.
    bool apart = false;

    Index ListSize(Index node) const { return listBegin[node + 1] - listBegin[node]; }
};

}  // namespace norvex::pipenet
