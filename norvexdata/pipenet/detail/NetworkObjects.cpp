// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/detail/NetworkObjects.h"

#include <boost/make_shared.hpp>

namespace norvex::pipenet {

SearchedObjects::~SearchedObjects() {
    if (!m_hasObjects) {
        return;
    }
    for (const boost::shared_ptr<CCheckPipeLineNode>& node : m_nodes) {
        if (node.use_count() > 1) {
            Access::Leave(*node);
        }
    }
    // Those of the lists that nodes have just been given are among them.
    for (const boost::shared_ptr<CCheckPipeLineEdge>& edge : m_edges) {
        if (edge.use_count() > 1) {
            Access::Leave(*edge);
        }
    }
}

const boost::shared_ptr<CCheckPipeLineNode>& SearchedObjects::Node(Index number) {
    std::call_once(m_making, [this] { MakeObjects(); });
    return m_nodes[number];
}

const boost::shared_ptr<CCheckPipeLineEdge>& SearchedObjects::Edge(Index number) {
    std::call_once(m_making, [this] { MakeObjects(); });
    return m_edges[number];
}

void SearchedObjects::MakeObjects() {
    // What an earlier call made before memory ran out.
    m_edges.clear();
    m_nodes.clear();
    m_nodes.reserve(m_network.points.size());
    for (Index number = 0; number < m_network.points.size(); ++number) {
        m_nodes.push_back(boost::make_shared<CCheckPipeLineNode>(m_network.points[number]));
        Access::SetSearched(*m_nodes.back(), *this, number);
    }
    m_edges.reserve(m_network.pipes.size());
    for (Index number = 0; number < m_network.pipes.size(); ++number) {
        m_edges.push_back(boost::make_shared<CCheckPipeLineEdge>(m_network.pipes[number]));
        Access::SetSearched(*m_edges.back(), *this, number);
    }
    m_hasObjects = true;
}

void Access::SetSearched(CCheckPipeLineNode& node, SearchedObjects& searched, Index number) {
    const PipeNetwork& network = searched.Network();
    node.m_searched = &searched;
    node.m_firstListed = network.listBegin[number];
    node.m_listedCount = network.ListSize(number);
    // The first node of a network that was searched is in no list.
    node.m_index = number - 1;
}

void Access::SetSearched(CCheckPipeLineEdge& edge, SearchedObjects& searched, Index number) {
    edge.m_searched = &searched;
    edge.m_index = number;
}

void Access::Leave(CCheckPipeLineNode& node) {
    node.List();
    node.m_searched = nullptr;
}

void Access::Leave(CCheckPipeLineEdge& edge) {
    edge.OwnLinks();
    edge.m_searched = nullptr;
}

void Access::SetNamed(CCheckPipeLineEdge& edge, const boost::shared_ptr<NamedNodes>& named) {
    edge.OwnLinks().named = named;
}

std::vector<CCheckPipeLineNode*> Access::Nodes(const CCheckPipeLineGraph& graph) {
    std::vector<CCheckPipeLineNode*> nodes;
    for (Index position = 0; position < graph.NodeCount(); ++position) {
        nodes.push_back(graph.NodeAt(position).get());
    }
    return nodes;
}

std::vector<CCheckPipeLineEdge*> Access::Edges(const CCheckPipeLineGraph& graph) {
    std::vector<CCheckPipeLineEdge*> edges;
    for (Index position = 0; position < graph.EdgeCount(); ++position) {
        edges.push_back(graph.EdgeAt(position).get());
    }
    return edges;
}

void Access::Fill(CCheckPipeLineGraph& graph, PipeNetwork&& network) {
    graph.m_searchedEdges = static_cast<Index>(network.pipes.size());
    graph.m_searchedNodes = static_cast<Index>(network.points.size() - network.unlisted.size());
    graph.m_asSearched = true;
    graph.m_searched = boost::make_shared<SearchedObjects>(std::move(network));
}

namespace {

class ObjectReader {
  public:
    explicit ObjectReader(const CCheckPipeLineGraph& graph)
        : m_nodes(Access::Nodes(graph)), m_edges(Access::Edges(graph)), m_listedNodes(m_nodes.size()) {
        m_network.apart = Access::IsAsSearched(graph);
    }

    PipeNetwork Read() {
        for (CCheckPipeLineEdge* edge : m_edges) {
            const Index start = NumberOf(Access::Start(*edge));
            const Index end = NumberOf(Access::End(*edge));
            m_network.ends.push_back({start, end});
            m_network.pipes.push_back(edge->GetPipeEnt());
        }
        for (CCheckPipeLineNode* node : m_nodes) {
            m_network.points.push_back(node->Point());
            m_network.listBegin.push_back(static_cast<Index>(m_network.lists.size()));
            ReadList(*node);
        }
        m_network.listBegin.push_back(static_cast<Index>(m_network.lists.size()));
        return std::move(m_network);
    }

  private:
    Index NumberOf(CCheckPipeLineNode* node) {
        if (node == nullptr) {
            return kNone;
        }
        const Index position = Access::Position(*node);
        if (position < m_listedNodes && m_nodes[position] == node) {
            return position;
        }
        const auto [entry, added] = m_unlisted.emplace(node, static_cast<Index>(m_nodes.size()));
        if (added) {
            m_network.unlisted.push_back(entry->second);
            m_nodes.push_back(node);
        }
        return entry->second;
    }

    Index NumberOf(CCheckPipeLineEdge* edge) const {
        if (edge == nullptr) {
            return kNone;
        }
        const Index position = Access::Position(*edge);
        return position < m_edges.size() && m_edges[position] == edge ? position : kNone;
    }

    void ReadList(const CCheckPipeLineNode& node) {
        if (const EdgeList* list = Access::List(node)) {
            for (const boost::shared_ptr<CCheckPipeLineEdge>& listed : list->Edges()) {
                m_network.lists.push_back(NumberOf(listed.get()));
            }
            return;
        }
        const auto count = static_cast<Index>(Access::ListSize(node));
        for (Index entry = 0; entry < count; ++entry) {
            m_network.lists.push_back(
                NumberOf(Access::Searched(node)->Listed(Access::FirstListed(node) + entry).get()));
        }
    }

    std::vector<CCheckPipeLineNode*> m_nodes;
    const std::vector<CCheckPipeLineEdge*> m_edges;
    const std::size_t m_listedNodes;
    // Nodes of edges that are in no node list, with their numbers.
    std::unordered_map<const CCheckPipeLineNode*, Index> m_unlisted;
    PipeNetwork m_network;
};

}  // namespace

PipeNetwork ReadObjects(const CCheckPipeLineGraph& graph) {
    return ObjectReader(graph).Read();
}

}  // namespace norvex::pipenet
