// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <map>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "GraphLists.h"
#include "PipeShapes.h"
#include "norvexdata/pipenet/CheckSearchGraph.h"

// The plain rules step by step as in NaiveNetwork.h, but with marks in place of looked-through lists and with stacks in
// place of recursion, so that large drawings are in reach. Only for drawings whose ends either coincide exactly or are
// far apart, as those of PipeShape are.
namespace norvex::test::literal {

struct Node {
    AcGePoint3d point;
    std::vector<int> edges;
};

struct Edge {
    ZrOwEntity* pipe;
    int start;
    int end;
};

// The first node stands outside the list; it is number 0 here, and listed nodes follow in order.
struct Network {
    std::vector<Node> nodes;
    std::vector<Edge> edges;
};

class Search {
  public:
    explicit Search(const std::vector<ZrOwEntity*>& pipes) : m_pipes(pipes), m_edgeOf(pipes.size(), -1) {
        for (std::size_t pipe = 0; pipe < pipes.size(); ++pipe) {
            m_atPoint[Key(Start(pipe))].push_back(pipe);
            m_atPoint[Key(End(pipe))].push_back(pipe);
        }
    }

    std::vector<Network> Run() {
        std::vector<Network> networks;
        for (std::size_t pipe = 0; pipe < m_pipes.size() && networks.size() < 1000; ++pipe) {
            if (m_edgeOf[pipe] < 0) {
                networks.push_back(Grow(Start(pipe)));
            }
        }
        return networks;
    }

  private:
    using PointKey = std::tuple<double, double, double>;
    struct Frame {
        int node;
        std::size_t next;
    };

    static PointKey Key(const AcGePoint3d& point) { return {point.x, point.y, point.z}; }
    AcGePoint3d Start(std::size_t pipe) const { return ZrOwPolyLine::cast(m_pipes[pipe])->GetStartPoint(); }
    AcGePoint3d End(std::size_t pipe) const { return ZrOwPolyLine::cast(m_pipes[pipe])->GetEndPoint(); }

    Network Grow(const AcGePoint3d& seed) {
        Network network;
        std::map<PointKey, int> nodeAt;
        network.nodes.push_back({seed, {}});
        std::vector<Frame> frames = {{0, 0}};
        while (!frames.empty()) {
            const int node = frames.back().node;
            const AcGePoint3d point = network.nodes[static_cast<std::size_t>(node)].point;
            const std::vector<std::size_t>& found = m_atPoint.at(Key(point));
            if (frames.back().next == found.size()) {
                frames.pop_back();
                continue;
            }
            const std::size_t pipe = found[frames.back().next++];
            std::vector<int>& listed = network.nodes[static_cast<std::size_t>(node)].edges;
            if (m_edgeOf[pipe] >= 0) {
                listed.push_back(m_edgeOf[pipe]);
                continue;
            }
            m_edgeOf[pipe] = static_cast<int>(network.edges.size());
            listed.push_back(m_edgeOf[pipe]);
            const AcGePoint3d far = Key(point) == Key(Start(pipe)) ? End(pipe) : Start(pipe);
            const auto [known, added] = nodeAt.emplace(Key(far), static_cast<int>(network.nodes.size()));
            network.edges.push_back({m_pipes[pipe], node, known->second});
            if (added) {
                network.nodes.push_back({far, {}});
                frames.push_back({known->second, 0});
            }
        }
        return network;
    }

    const std::vector<ZrOwEntity*>& m_pipes;
    std::vector<int> m_edgeOf;
    std::map<PointKey, std::vector<std::size_t>> m_atPoint;
};

class Loops {
  public:
    explicit Loops(const Network& network)
        : m_network(network), m_remains(network.edges.size(), true), m_visited(network.nodes.size(), -1) {
        // The first node's twin, the only other node at a point of its own.
        for (std::size_t node = 1; node < network.nodes.size(); ++node) {
            if (network.nodes[node].point.distanceTo(network.nodes[0].point) < 0.1) {
                m_twin = static_cast<int>(node);
            }
        }
        for (std::size_t edge = 0; edge < network.edges.size(); ++edge) {
            const Edge& ends = network.edges[edge];
            m_remains[edge] = At(ends.start).edges.size() != 1 && At(ends.end).edges.size() != 1;
        }
    }

    void Append(std::vector<std::vector<ZrOwEntity*>>& loops) {
        for (int edge = 0; edge < static_cast<int>(m_network.edges.size()); ++edge) {
            if (!m_remains[static_cast<std::size_t>(edge)]) {
                continue;
            }
            const std::vector<int> path = Path(edge);
            if (path.empty()) {
                continue;
            }
            if (path.size() != 1 || std::abs(Length(path.front()) - Length(edge)) >= 0.001) {
                loops.emplace_back();
                for (const int step : path) {
                    loops.back().push_back(m_network.edges[static_cast<std::size_t>(step)].pipe);
                    m_remains[static_cast<std::size_t>(step)] = false;
                }
                loops.back().push_back(m_network.edges[static_cast<std::size_t>(edge)].pipe);
            }
            m_remains[static_cast<std::size_t>(edge)] = false;
        }
    }

  private:
    struct Frame {
        int node;
        std::size_t next;
        int cameBy;
    };

    const Node& At(int node) const { return m_network.nodes[static_cast<std::size_t>(node)]; }
    double Length(int edge) const {
        return std::abs(ZrOwPolyLine::cast(m_network.edges[static_cast<std::size_t>(edge)].pipe)->GetLength());
    }
    bool IsNear(int left, int right) const { return Site(left) == Site(right); }
    int Site(int node) const { return node == m_twin ? 0 : node; }

    std::vector<int> Path(int edge) {
        const Edge& ends = m_network.edges[static_cast<std::size_t>(edge)];
        std::vector<Frame> frames = {{ends.start, 0, edge}};
        m_visited[static_cast<std::size_t>(ends.start)] = edge;
        while (!frames.empty()) {
            Frame& frame = frames.back();
            const std::vector<int>& listed = At(frame.node).edges;
            if (frame.next == listed.size()) {
                frames.pop_back();
                continue;
            }
            const int step = listed[frame.next++];
            if (!m_remains[static_cast<std::size_t>(step)] || step == frame.cameBy) {
                continue;
            }
            const Edge& walked = m_network.edges[static_cast<std::size_t>(step)];
            const int far = IsNear(walked.start, frame.node) ? walked.end : walked.start;
            if (IsNear(far, ends.end)) {
                std::vector<int> path = {step};
                for (std::size_t depth = frames.size(); depth-- > 1;) {
                    path.push_back(frames[depth].cameBy);
                }
                return path;
            }
            if (m_visited[static_cast<std::size_t>(far)] != edge) {
                m_visited[static_cast<std::size_t>(far)] = edge;
                frames.push_back({far, 0, step});
            }
        }
        return {};
    }

    const Network& m_network;
    std::vector<bool> m_remains;
    // Per node: the last edge whose walk came by.
    std::vector<int> m_visited;
    int m_twin = -1;
};

// Searches the drawing both ways; tells the first difference.
inline std::string Compare(const PipeShape& shape) {
    const std::vector<Network> expected = Search(shape.list()).Run();
    std::vector<CCheckPipeLineGraph> graphs;
    CCheckSearchGraph().SearchGraph(shape.list(), graphs);
    if (graphs.size() != expected.size()) {
        return "number of graphs";
    }
    for (std::size_t number = 0; number < graphs.size(); ++number) {
        const Network& network = expected[number];
        std::vector<std::vector<ZrOwEntity*>> wanted;
        std::vector<std::vector<ZrOwEntity*>> loops;
        Loops(network).Append(wanted);
        graphs[number].GetBadLoopVec(loops);
        if (loops != wanted) {
            return "loops";
        }
        std::vector<ZrOwEntity*> pipes;
        for (const Edge& edge : network.edges) {
            pipes.push_back(edge.pipe);
        }
        const GraphLists lists(graphs[number], pipes);
        const std::vector<CCheckPipeLineEdge*>& edges = lists.edges;
        const std::vector<CCheckPipeLineNode*>& nodes = lists.nodes;
        if (nodes.size() + 1 != network.nodes.size() || edges.size() != network.edges.size()) {
            return "counts";
        }
        for (std::size_t edge = 0; edge < edges.size(); ++edge) {
            const Edge& ends = network.edges[edge];
            const auto nodeOf = [&](int node) {
                return node == 0 ? pipenet::Access::Start(*edges[0]) : nodes[static_cast<std::size_t>(node) - 1];
            };
            if (edges[edge]->GetPipeEnt() != ends.pipe || pipenet::Access::Start(*edges[edge]) != nodeOf(ends.start) ||
                pipenet::Access::End(*edges[edge]) != nodeOf(ends.end)) {
                return "edges";
            }
        }
        for (std::size_t node = 1; node < network.nodes.size(); ++node) {
            const auto& listed = nodes[node - 1]->GetConnectEdgeVec();
            const std::vector<int>& numbers = network.nodes[node].edges;
            bool same = listed.size() == numbers.size();
            for (std::size_t entry = 0; same && entry < numbers.size(); ++entry) {
                same = listed[entry].get() == edges[static_cast<std::size_t>(numbers[entry])];
            }
            if (!same) {
                return "connected edges";
            }
        }
    }
    return "";
}

}  // namespace norvex::test::literal
