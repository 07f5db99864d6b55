// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "Compare.h"

namespace norvex::test {

// One random graph, made twice by the same calls of the public interface: once plainly, once for real. Nodes repeat
// places, edges lack nodes or name nodes that do not list them, get other nodes again and again, lists hold edges
// twice, empty entries and edges of other graphs, and are changed through references taken before.
class HandBuilt {
  public:
    // more: as many edges are appended to one node in the end.
    explicit HandBuilt(RandomNets& random, int more = 0) : m_random(random) {
        m_set = m_random.Next();
        if (m_random.Below(2) == 0) {
            MakeBySearch();
        } else {
            MakeNodes();
            MakeEdges();
        }
        m_kept.resize(m_nodes.size());
        for (std::size_t node = 0; node < m_nodes.size(); ++node) {
            m_kept[node] = m_random.Below(4) == 0 ? &m_nodes[node]->GetConnectEdgeVec() : nullptr;
        }
        if (!m_nodes.empty() && !m_edges.empty()) {
            for (int time = m_random.Below(4) == 0 ? m_random.Below(40) : 0; time-- > 0;) {
                SetNodeAgain();
            }
            AppendMore(more);
            for (int change = m_random.Below(4) + more / 4; change-- > 0;) {
                ChangeList();
            }
        }
    }

    // Compares the loops, twice, because looking for them changes nothing that the next look depends on.
    std::string Compare() {
        if (LoopsDiffer() || LoopsDiffer()) {
            return "loops";
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

    // Lets go of some objects, then of the graph, and compares what the other objects show.
    std::string CompareWhatIsLeft() {
        for (boost::shared_ptr<CCheckPipeLineNode>& node : m_nodes) {
            if (m_random.Below(2) == 0) {
                node.reset();
            }
        }
        for (boost::shared_ptr<CCheckPipeLineEdge>& edge : m_edges) {
            if (m_random.Below(2) == 0) {
                edge.reset();
            }
        }
        if (LoopsDiffer()) {
            return "loops of what the graph alone holds";
        }
        m_graph = CCheckPipeLineGraph();
        for (std::size_t number = 0; number < m_nodes.size(); ++number) {
            if (m_nodes[number] && !ListsTheSame(*m_plainNodes[number], *m_nodes[number])) {
                return "list of a node that is left";
            }
        }
        for (std::size_t number = 0; number < m_edges.size(); ++number) {
            if (m_edges[number] && (m_edges[number]->GetNodeStart() != Left(m_plainEdges[number]->start) ||
                                    m_edges[number]->GetNodeEnd() != Left(m_plainEdges[number]->end))) {
                return "nodes of an edge that is left";
            }
        }
        return "";
    }

    std::string Describe() const { return norvex::test::Describe(*m_set); }

  private:
    std::size_t Pick(std::size_t count) { return static_cast<std::size_t>(m_random.Below(static_cast<int>(count))); }

    bool LoopsDiffer() {
        Loops wanted;
        Loops loops;
        m_plain.GetBadLoopVec(wanted);
        m_graph.GetBadLoopVec(loops);
        return loops != wanted;
    }

    static bool ListsTheSame(const naive::Node& wanted, CCheckPipeLineNode& node) {
        const auto& list = node.GetConnectEdgeVec();
        return std::equal(list.begin(), list.end(), wanted.edges.begin(), wanted.edges.end(),
                          [](const boost::shared_ptr<CCheckPipeLineEdge>& edge, const naive::Edge* plain) {
                              return edge ? plain != nullptr && edge->GetPipeEnt() == plain->pipe : plain == nullptr;
                          });
    }

    boost::shared_ptr<CCheckPipeLineNode> Left(const naive::Node* node) const {
        return node == nullptr ? boost::shared_ptr<CCheckPipeLineNode>() : m_nodes[IndexOf(node)];
    }

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

    void SetNodeAgain() {
        const std::size_t edge = Pick(m_edges.size());
        if (m_random.Below(4) == 0) {
            const AcGePoint3d point = m_random.Point();
            Know(m_objects.MakeNode(point), boost::shared_ptr<CCheckPipeLineNode>(new CCheckPipeLineNode(point)));
            m_kept.push_back(nullptr);
        }
        const bool none = m_random.Below(20) == 0;
        const std::size_t node = Pick(m_nodes.size());
        naive::Node* const plain = none ? nullptr : m_plainNodes[node];
        const auto real = none ? boost::shared_ptr<CCheckPipeLineNode>() : m_nodes[node];
        if (m_random.Below(2) == 0) {
            m_plainEdges[edge]->start = plain;
            m_edges[edge]->SetNodeStart(real);
        } else {
            m_plainEdges[edge]->end = plain;
            m_edges[edge]->SetNodeEnd(real);
        }
        if (!none) {
            ListAt(node, m_plainEdges[edge], m_edges[edge]);
        }
    }

    void AppendMore(int edges) {
        m_longNode = Pick(m_nodes.size());
        for (int number = 0; number < edges; ++number) {
            ZrOwPolyLine* const pipe = &m_set->pipes[Pick(m_set->pipes.size())];
            m_plainEdges.push_back(m_plain.CreateEdge(m_objects, pipe));
            m_edges.push_back(m_graph.CreateEdge(pipe));
            m_plainNodes[m_longNode]->AppendEdge(m_plainEdges.back());
            m_nodes[m_longNode]->AppendEdge(m_edges.back());
        }
    }

    void ChangeList() {
        const std::size_t node = m_edges.size() > 256 && m_random.Below(4) != 0 ? m_longNode : Pick(m_nodes.size());
        std::vector<naive::Edge*>& plain = m_plainNodes[node]->edges;
        std::vector<boost::shared_ptr<CCheckPipeLineEdge>>& list =
            m_kept[node] != nullptr ? *m_kept[node] : m_nodes[node]->GetConnectEdgeVec();
        const auto at = static_cast<std::ptrdiff_t>(Pick(plain.size() + 1));
        const std::size_t other = Pick(m_edges.size());
        switch (m_random.Below(6)) {
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
            case 4:
                if (!plain.empty()) {
                    const std::size_t over = Pick(plain.size());
                    plain[over] = m_plainEdges[other];
                    list[over] = m_edges[other];
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
    // Per node: its list, handed out before most changes; null for most.
    std::vector<std::vector<boost::shared_ptr<CCheckPipeLineEdge>>*> m_kept;
    std::size_t m_longNode = 0;
};

}  // namespace norvex::test
