// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "Compare.h"

namespace norvex::test {

// One random graph, made twice by the same calls of the public interface: once plainly, once for real. Nodes repeat
// places, edges lack nodes or name nodes that do not list them, lists hold edges twice, empty entries and edges of
// other graphs.
class HandBuilt {
  public:
    explicit HandBuilt(RandomNets& random) : m_random(random) {
        m_set = m_random.Next();
        if (m_random.Below(2) == 0) {
            MakeBySearch();
        } else {
            MakeNodes();
            MakeEdges();
        }
        for (int change = m_random.Below(4); change-- > 0;) {
            ChangeList();
        }
    }

    // Compares the loops, twice, because looking for them changes nothing that the next look depends on.
    std::string Compare() {
        for (int time = 0; time < 2; ++time) {
            Loops wanted;
            Loops loops;
            m_plain.GetBadLoopVec(wanted);
            m_graph.GetBadLoopVec(loops);
            if (loops != wanted) {
                return "loops";
            }
        }
        for (ZrOwPolyLine& pipe : m_set->pipes) {
            const naive::Node* node = m_plain.GetNode(pipe.GetStartPoint());
            const auto found = m_graph.GetNode(pipe.GetStartPoint());
            if ((node == nullptr) != (found == nullptr) || (found && found != m_nodes[IndexOf(node)])) {
                return "GetNode";
            }
        }
        return "";
    }

    std::string Describe() const { return norvex::test::Describe(*m_set); }

  private:
    std::size_t Pick(std::size_t count) { return static_cast<std::size_t>(m_random.Below(static_cast<int>(count))); }

    std::size_t IndexOf(const naive::Node* node) const {
        for (std::size_t number = 0; number < m_plainNodes.size(); ++number) {
            if (m_plainNodes[number] == node) {
                return number;
            }
        }
        return m_plainNodes.size();
    }

    void MakeBySearch() {
        std::vector<naive::Graph> plain;
        naive::Search(m_objects).SearchGraph(m_set->list, plain);
        std::vector<CCheckPipeLineGraph> graphs;
        CCheckSearchGraph().SearchGraph(m_set->list, graphs);
        if (graphs.empty()) {
            return;
        }
        m_plain = plain.front();
        m_graph = graphs.front();
        const auto edges = GraphLists(m_graph, m_set->list).edges;
        for (std::size_t number = 0; number < edges.size(); ++number) {
            naive::Edge* wanted = m_plain.edges[number];
            m_plainEdges.push_back(wanted);
            m_edges.push_back(m_graph.GetEdge(edges[number]->GetPipeEnt()));
            Know(wanted->start, edges[number]->GetNodeStart());
            Know(wanted->end, edges[number]->GetNodeEnd());
        }
    }

    void Know(naive::Node* plain, const boost::shared_ptr<CCheckPipeLineNode>& node) {
        if (IndexOf(plain) == m_plainNodes.size()) {
            m_plainNodes.push_back(plain);
            m_nodes.push_back(node);
        }
    }

    void MakeNodes() {
        const int count = 1 + m_random.Below(7);
        for (int number = 0; number < count; ++number) {
            const AcGePoint3d point = m_random.Point();
            if (m_random.Below(6) == 0) {
                // A node of no graph, which only edges name.
                Know(m_objects.MakeNode(point), boost::shared_ptr<CCheckPipeLineNode>(new CCheckPipeLineNode(point)));
            } else {
                Know(m_plain.CreateNode(m_objects, point), m_graph.CreateNode(point));
            }
        }
    }

    void MakeEdges() {
        for (ZrOwPolyLine& pipe : m_set->pipes) {
            naive::Edge* plain = m_plain.CreateEdge(m_objects, &pipe);
            const boost::shared_ptr<CCheckPipeLineEdge> edge = m_graph.CreateEdge(&pipe);
            m_plainEdges.push_back(plain);
            m_edges.push_back(edge);
            if (m_random.Below(20) != 0) {
                const std::size_t start = Pick(m_nodes.size());
                plain->start = m_plainNodes[start];
                edge->SetNodeStart(m_nodes[start]);
                ListAt(start, plain, edge);
            }
            if (m_random.Below(20) != 0) {
                const std::size_t end = Pick(m_nodes.size());
                plain->end = m_plainNodes[end];
                edge->SetNodeEnd(m_nodes[end]);
                ListAt(end, plain, edge);
            }
            if (m_random.Below(10) == 0) {
                ListAt(Pick(m_nodes.size()), plain, edge);
            }
        }
    }

    void ListAt(std::size_t node, naive::Edge* plain, const boost::shared_ptr<CCheckPipeLineEdge>& edge) {
        if (m_random.Below(12) != 0) {
            m_plainNodes[node]->AppendEdge(plain);
            m_nodes[node]->AppendEdge(edge);
        }
    }

    void ChangeList() {
        if (m_nodes.empty() || m_edges.empty()) {
            return;
        }
        const std::size_t node = Pick(m_nodes.size());
        std::vector<naive::Edge*>& plain = m_plainNodes[node]->edges;
        std::vector<boost::shared_ptr<CCheckPipeLineEdge>>& list = m_nodes[node]->GetConnectEdgeVec();
        const auto at = static_cast<std::ptrdiff_t>(Pick(plain.size() + 1));
        const std::size_t other = Pick(m_edges.size());
        switch (m_random.Below(5)) {
            case 0:
                plain.insert(plain.begin() + at, m_plainEdges[other]);
                list.insert(list.begin() + at, m_edges[other]);
                break;
            case 1:
                plain.insert(plain.begin() + at, nullptr);
                list.insert(list.begin() + at, nullptr);
                break;
            case 2: {
                ZrOwPolyLine& pipe = m_set->pipes.front();
                plain.insert(plain.begin() + at, m_objects.MakeEdge(&pipe));
                list.insert(list.begin() + at, boost::shared_ptr<CCheckPipeLineEdge>(new CCheckPipeLineEdge(&pipe)));
                break;
            }
            case 3:
                if (!plain.empty()) {
                    plain.pop_back();
                    list.pop_back();
                }
                break;
            default:
                std::reverse(plain.begin(), plain.end());
                std::reverse(list.begin(), list.end());
        }
        m_plainNodes[node]->AppendEdge(m_plainEdges[other]);
        m_nodes[node]->AppendEdge(m_edges[other]);
    }

    RandomNets& m_random;
    std::unique_ptr<PipeSet> m_set;
    naive::Objects m_objects;
    naive::Graph m_plain;
    CCheckPipeLineGraph m_graph;
    // Pairs of one node, and of one edge, in the two forms.
    std::vector<naive::Node*> m_plainNodes;
    std::vector<boost::shared_ptr<CCheckPipeLineNode>> m_nodes;
    std::vector<naive::Edge*> m_plainEdges;
    std::vector<boost::shared_ptr<CCheckPipeLineEdge>> m_edges;
};

}  // namespace norvex::test
