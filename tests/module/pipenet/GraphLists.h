// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <vector>

#include "norvexdata/pipenet/CheckPipeLineGraph.h"
#include "norvexdata/pipenet/detail/NetworkObjects.h"
#include "platform/zrow/ZrOwLines.h"

namespace norvex::test {

// The lists of a graph that a search made, in order, which the interface does not show.
struct GraphLists {
    std::vector<CCheckPipeLineEdge*> edges;
    std::vector<CCheckPipeLineNode*> nodes;

    // Looks for the graph's pipes among the entities; these may be null, repeated, or no pipes.
    template <class Entities>
    GraphLists(const CCheckPipeLineGraph& graph, const Entities& entities) {
        std::map<pipenet::Index, CCheckPipeLineEdge*> edgeAt;
        std::map<pipenet::Index, CCheckPipeLineNode*> nodeAt;
        for (ZrOwEntity* entity : entities) {
            if (ZrOwPolyLine* pipe = ZrOwPolyLine::cast(entity)) {
                if (const boost::shared_ptr<CCheckPipeLineEdge> edge = graph.GetEdge(pipe)) {
                    edgeAt.emplace(pipenet::Access::Position(*edge), edge.get());
                    for (const auto& node : {edge->GetNodeStart(), edge->GetNodeEnd()}) {
                        if (pipenet::Access::Position(*node) != pipenet::kNone) {
                            nodeAt.emplace(pipenet::Access::Position(*node), node.get());
                        }
                    }
                }
            }
        }
        for (const auto& [position, edge] : edgeAt) {
            edges.push_back(position == edges.size() ? edge : nullptr);
        }
        for (const auto& [position, node] : nodeAt) {
            nodes.push_back(position == nodes.size() ? node : nullptr);
        }
    }
};

}  // namespace norvex::test
