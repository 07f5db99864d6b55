// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <iomanip>
#include <sstream>
#include <string>
#include <unordered_map>

#include "GraphLists.h"
#include "NaiveNetwork.h"
#include "RandomNets.h"
#include "norvexdata/pipenet/CheckSearchGraph.h"

namespace norvex::test {

using Loops = std::vector<std::vector<ZrOwEntity*>>;

// Pairs the objects of a graph with those of its plain counterpart and tells the first difference; empty when they are
// alike in everything that the interface shows.
class GraphComparison {
  public:
    std::string Compare(const naive::Graph& expected, const CCheckPipeLineGraph& graph) {
        std::vector<ZrOwEntity*> pipes;
        for (const naive::Edge* edge : expected.edges) {
            pipes.push_back(edge->pipe);
        }
        const auto [edges, nodes] = GraphLists(graph, pipes);
        if (edges.size() != expected.edges.size() || nodes.size() != expected.nodes.size()) {
            return "counts";
        }
        for (std::size_t number = 0; number < nodes.size(); ++number) {
            if (!Pair(expected.nodes[number], nodes[number])) {
                return "order of nodes";
            }
        }
        for (std::size_t number = 0; number < edges.size(); ++number) {
            const naive::Edge& wanted = *expected.edges[number];
            CCheckPipeLineEdge& edge = *edges[number];
            if (edge.GetPipeEnt() != wanted.pipe) {
                return "order of edges";
            }
            if (!Pair(wanted.start, edge.GetNodeStart().get()) || !Pair(wanted.end, edge.GetNodeEnd().get())) {
                return "nodes of an edge";
            }
        }
        for (const auto& [wanted, node] : m_pairs) {
            if (const std::string difference = CompareNode(*wanted, *node); !difference.empty()) {
                return difference;
            }
        }
        if (graph.HasBadLoop() != expected.HasBadLoop()) {
            return "HasBadLoop";
        }
        if (graph.IsValid() != (!expected.edges.empty() && !expected.nodes.empty())) {
            return "IsValid";
        }
        return static_cast<std::size_t>(graph.GetItemCount()) == edges.size() + nodes.size() ? "" : "GetItemCount";
    }

    // GetNode and GetEdge, asked for everything in the drawing.
    std::string CompareLookups(const naive::Graph& expected, const CCheckPipeLineGraph& graph, PipeSet& set) {
        for (ZrOwPolyLine& pipe : set.pipes) {
            const naive::Edge* wanted = expected.GetEdge(&pipe);
            const boost::shared_ptr<CCheckPipeLineEdge> edge = graph.GetEdge(&pipe);
            if ((edge == nullptr) != (wanted == nullptr) || (edge && edge->GetPipeEnt() != &pipe)) {
                return "GetEdge";
            }
            for (const AcGePoint3d& point : {pipe.GetStartPoint(), pipe.GetEndPoint()}) {
                const naive::Node* node = expected.GetNode(point);
                const auto pair = m_pairs.find(node);
                if (graph.GetNode(point).get() != (pair == m_pairs.end() ? nullptr : pair->second)) {
                    return "GetNode";
                }
            }
        }
        return "";
    }

    CCheckPipeLineNode* NodeFor(const naive::Node* node) const { return m_pairs.at(node); }

  private:
    bool Pair(const naive::Node* wanted, CCheckPipeLineNode* node) {
        if (wanted == nullptr || node == nullptr) {
            return (wanted == nullptr) == (node == nullptr);
        }
        return m_pairs.emplace(wanted, node).first->second == node &&
               m_reverse.emplace(node, wanted).first->second == wanted;
    }

    static bool IsSame(double left, double right) { return left == right || (std::isnan(left) && std::isnan(right)); }

    static std::string CompareNode(const naive::Node& wanted, CCheckPipeLineNode& node) {
        const AcGePoint3d point = node.Point();
        if (!IsSame(point.x, wanted.point.x) || !IsSame(point.y, wanted.point.y) || !IsSame(point.z, wanted.point.z)) {
            return "point of a node";
        }
        const auto& listed = node.GetConnectEdgeVec();
        bool same =
            listed.size() == wanted.edges.size() && node.GetConnectEdgeNum() == static_cast<int>(wanted.edges.size());
        for (std::size_t number = 0; same && number < listed.size(); ++number) {
            same = listed[number]->GetPipeEnt() == wanted.edges[number]->pipe;
        }
        return same ? "" : "connected edges of a node";
    }

    std::unordered_map<const naive::Node*, CCheckPipeLineNode*> m_pairs;
    std::unordered_map<const CCheckPipeLineNode*, const naive::Node*> m_reverse;
};

// The entries of a drawing as text, to repeat a failure by hand.
inline std::string Describe(const PipeSet& set) {
    std::ostringstream text;
    text << std::setprecision(17);
    for (const ZrOwEntity* entity : set.list) {
        if (const ZrOwPolyLine* pipe = ZrOwPolyLine::cast(entity)) {
            const AcGePoint3d start = pipe->GetStartPoint();
            const AcGePoint3d end = pipe->GetEndPoint();
            text << pipe - &set.pipes.front() << ": (" << start.x << ", " << start.y << ", " << start.z << ") to ("
                 << end.x << ", " << end.y << ", " << end.z << "), length " << pipe->GetLength() << "\n";
        } else {
            text << (entity == nullptr ? "null\n" : "no pipe\n");
        }
    }
    return text.str();
}

// Lists the loops of a searched graph before anyone asks for its objects, then with objects, then with lists handed
// out; tells the first difference in loops or graph.
inline std::string CompareSearched(naive::Graph& expected, CCheckPipeLineGraph& graph, PipeSet& set) {
    Loops wanted;
    expected.GetBadLoopVec(wanted);
    const auto loopsDiffer = [&] {
        Loops loops;
        graph.GetBadLoopVec(loops);
        return loops != wanted;
    };
    if (loopsDiffer()) {
        return "loops";
    }
    graph.GetEdge(nullptr);
    if (loopsDiffer()) {
        return "loops of objects";
    }
    GraphComparison comparison;
    std::string difference = comparison.Compare(expected, graph);
    if (difference.empty()) {
        difference = comparison.CompareLookups(expected, graph, set);
    }
    if (difference.empty() && loopsDiffer()) {
        return "loops of lists that were handed out";
    }
    return difference;
}

// Searches a drawing both ways and tells the first difference in graphs or loops.
inline std::string CompareSearches(PipeSet& set) {
    naive::Objects objects;
    std::vector<naive::Graph> expected;
    naive::Search(objects).SearchGraph(set.list, expected);
    std::vector<CCheckPipeLineGraph> graphs;
    CCheckSearchGraph().SearchGraph(set.list, graphs);
    if (graphs.size() != expected.size()) {
        return "number of graphs";
    }
    for (std::size_t number = 0; number < graphs.size(); ++number) {
        const std::string difference = CompareSearched(expected[number], graphs[number], set);
        if (!difference.empty()) {
            return difference;
        }
    }
    return "";
}

}  // namespace norvex::test
