// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>
#include <vector>

#include "norvexdata/pipenet/detail/PipeNetwork.h"

namespace norvex::pipenet {

// An undirected edge between two vertices, which may be the same.
struct Link {
    Index first;
    Index second;
};

// The blocks (biconnected parts) of a graph. A link from a vertex to itself is a block of its own.
struct Blocks {
    // Per link.
    kernel::LargeVector<Index> blockOf;
    // Per block: it is a single link between two vertices.
    kernel::LargeVector<unsigned char> isBridge;
    // Per block: the blocks that meet at joining vertices, directly or through others, are one part.
    kernel::LargeVector<Index> partOfBlock;
    Index parts = 0;
    // Each joining vertex of the graph, with the part of the blocks that meet there.
    std::vector<std::pair<Index, Index>> joined;
};

// Linear in the number of links, and without recursion. numberOf is scratch, one entry per vertex; joins tells per
// vertex whether blocks that meet there are one part.
Blocks FindBlocks(const kernel::LargeVector<Link>& links, kernel::LargeVector<Index>& numberOf,
                  const kernel::LargeVector<unsigned char>& joins);

}  // namespace norvex::pipenet
