// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cmath>
#include <deque>
#include <vector>

#include "norvexdata/entities/EntFindMethod.h"
#include "platform/zrow/ZrOwLines.h"

// The networks and loops of pipes in the plainest form: lists that are looked through, and recursion. The fast forms
// are compared with it. Good for small drawings only.
namespace norvex::test::naive {

struct Edge;

struct Node {
    AcGePoint3d point;
    std::vector<Edge*> edges;

    void AppendEdge(Edge* edge) {
        if (std::find(edges.begin(), edges.end(), edge) == edges.end()) {
            edges.push_back(edge);
        }
    }
};

struct Edge {
    ZrOwPolyLine* pipe = nullptr;
    Node* start = nullptr;
    Node* end = nullptr;
};

// Owns nodes and edges, so that they may point at each other as they like.
struct Objects {
    std::deque<Node> nodes;
    std::deque<Edge> edges;

    Node* MakeNode(const AcGePoint3d& point) { return &nodes.emplace_back(Node{point, {}}); }
    Edge* MakeEdge(ZrOwPolyLine* pipe) { return &edges.emplace_back(Edge{pipe, nullptr, nullptr}); }
};

inline bool IsNear(const AcGePoint3d& left, const AcGePoint3d& right) {
    return left.distanceTo(right) < 0.1;
}

template <class T>
bool Contains(const std::vector<T*>& list, const T* wanted) {
    return std::find(list.begin(), list.end(), wanted) != list.end();
}

class Graph {
  public:
    std::vector<Edge*> edges;
    std::vector<Node*> nodes;

    Node* CreateNode(Objects& objects, const AcGePoint3d& point) {
        nodes.push_back(objects.MakeNode(point));
        return nodes.back();
    }
    Node* GetNode(const AcGePoint3d& point) const {
        for (Node* node : nodes) {
            if (IsNear(node->point, point)) {
                return node;
            }
        }
        return nullptr;
    }
    Edge* CreateEdge(Objects& objects, ZrOwPolyLine* pipe) {
        edges.push_back(objects.MakeEdge(pipe));
        return edges.back();
    }
    Edge* GetEdge(const ZrOwPolyLine* pipe) const {
        for (Edge* edge : edges) {
            if (edge->pipe == pipe) {
                return edge;
            }
        }
        return nullptr;
    }
    bool HasBadLoop() const { return edges.size() >= nodes.size(); }

    void GetBadLoopVec(std::vector<std::vector<ZrOwEntity*>>& loops) {
        m_remainingEdges = edges;
        m_remainingNodes = nodes;
        RemoveBranchEdge();
        for (Edge* edge : edges) {
            std::vector<ZrOwEntity*> loop;
            FindLoop(edge, loop);
            if (!loop.empty()) {
                loops.push_back(loop);
                RemoveBranchEdge();
            }
        }
    }

  private:
    static bool IsDeadEnd(const Node* node) { return node != nullptr && node->edges.size() == 1; }

    void RemoveBranchEdge() {
        if (m_remainingEdges.empty()) {
            return;
        }
        while (!m_remainingEdges.empty()) {
            bool changed = false;
            for (auto edge = m_remainingEdges.begin(); edge != m_remainingEdges.end();) {
                if (IsDeadEnd((*edge)->start) || IsDeadEnd((*edge)->end)) {
                    edge = m_remainingEdges.erase(edge);
                    changed = true;
                } else {
                    ++edge;
                }
            }
            for (auto node = m_remainingNodes.begin(); node != m_remainingNodes.end();) {
                const std::vector<Edge*>& listed = (*node)->edges;
                const bool bare = std::none_of(listed.begin(), listed.end(),
                                               [this](const Edge* edge) { return Contains(m_remainingEdges, edge); });
                if (bare) {
                    node = m_remainingNodes.erase(node);
                    changed = true;
                } else {
                    ++node;
                }
            }
            if (!changed) {
                return;
            }
        }
    }

    void RemoveEdge(const Edge* edge) {
        const auto found = std::find(m_remainingEdges.begin(), m_remainingEdges.end(), edge);
        if (found != m_remainingEdges.end()) {
            m_remainingEdges.erase(found);
        }
    }

    void FindLoop(Edge* edge, std::vector<ZrOwEntity*>& loop) {
        m_visitedNodes.clear();
        loop.clear();
        // An edge that lacks a node leads nowhere.
        if (!Contains(m_remainingEdges, edge) || edge->start == nullptr || edge->end == nullptr) {
            return;
        }
        std::vector<Edge*> path;
        FindPath(edge->start, edge->end, edge, path);
        if (path.empty()) {
            return;
        }
        const bool drawnTwice = path.size() == 1 && std::abs(std::abs(path.front()->pipe->GetLength()) -
                                                             std::abs(edge->pipe->GetLength())) < 0.001;
        if (!drawnTwice) {
            for (Edge* step : path) {
                loop.push_back(step->pipe);
                RemoveEdge(step);
            }
            loop.push_back(edge->pipe);
        }
        RemoveEdge(edge);
    }

    void FindPath(Node* from, Node* to, const Edge* cameBy, std::vector<Edge*>& path) {
        m_visitedNodes.push_back(from);
        for (Edge* edge : from->edges) {
            if (!Contains(m_remainingEdges, edge) || edge == cameBy) {
                continue;
            }
            Node* far = nullptr;
            if (edge->start != nullptr && IsNear(edge->start->point, from->point)) {
                far = edge->end;
            } else if (edge->end != nullptr && IsNear(edge->end->point, from->point)) {
                far = edge->start;
            }
            if (far == nullptr) {
                continue;
            }
            if (IsNear(far->point, to->point)) {
                path.push_back(edge);
                return;
            }
            if (!Contains(m_visitedNodes, far)) {
                FindPath(far, to, edge, path);
                if (!path.empty()) {
                    path.push_back(edge);
                    return;
                }
            }
        }
    }

    std::vector<Edge*> m_remainingEdges;
    std::vector<Node*> m_remainingNodes;
    std::vector<Node*> m_visitedNodes;
};

class Search {
  public:
    explicit Search(Objects& objects) : m_objects(objects) {}

    void SearchGraph(const std::vector<ZrOwEntity*>& pipes, std::vector<Graph>& graphs) {
        m_pending = pipes;
        int counter = 0;
        while (!m_pending.empty()) {
            const ZrOwPolyLine* first = ZrOwPolyLine::cast(m_pending.front());
            if (first == nullptr) {
                m_pending.erase(m_pending.begin());
                continue;
            }
            graphs.emplace_back();
            SearchEdge(m_objects.MakeNode(first->GetStartPoint()), graphs.back());
            RemoveUsedPipe(graphs.back());
            if (++counter == 1000) {
                return;
            }
        }
    }

  private:
    void SearchEdge(Node* node, Graph& graph) {
        std::vector<ZrOwEntity*> found;
        CEntFindMethod::FindPipe(node->point, m_pending, found);
        for (ZrOwEntity* entity : found) {
            ZrOwPolyLine* pipe = ZrOwPolyLine::cast(entity);
            if (pipe == nullptr) {
                continue;
            }
            if (Edge* edge = graph.GetEdge(pipe)) {
                node->AppendEdge(edge);
                continue;
            }
            Edge* edge = graph.CreateEdge(m_objects, pipe);
            node->AppendEdge(edge);
            edge->start = node;
            const AcGePoint3d far =
                IsNear(node->point, pipe->GetStartPoint()) ? pipe->GetEndPoint() : pipe->GetStartPoint();
            if (Node* known = graph.GetNode(far)) {
                edge->end = known;
                continue;
            }
            edge->end = graph.CreateNode(m_objects, far);
            SearchEdge(edge->end, graph);
        }
    }

    void RemoveUsedPipe(const Graph& graph) {
        m_pending.erase(std::remove_if(m_pending.begin(), m_pending.end(),
                                       [&graph](ZrOwEntity* entity) {
                                           const ZrOwPolyLine* pipe = ZrOwPolyLine::cast(entity);
                                           return pipe != nullptr && graph.GetEdge(pipe) != nullptr;
                                       }),
                        m_pending.end());
    }

    Objects& m_objects;
    std::vector<ZrOwEntity*> m_pending;
};

}  // namespace norvex::test::naive
