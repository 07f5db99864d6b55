// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/detail/NetworkObjects.h"

namespace norvex::pipenet {

CCheckPipeLineNode* ObjectPool::Node(Index number) {
    std::call_once(m_making, [this] { MakeObjects(); });
    return &m_nodes[number];
}

CCheckPipeLineEdge* ObjectPool::Edge(Index number) {
    std::call_once(m_making, [this] { MakeObjects(); });
    return &m_edges[number];
}

void ObjectPool::MakeObjects() {
    // What an earlier call made before memory ran out.
    m_edges.clear();
    m_nodes.clear();
    for (Index number = 0; number < m_network.points.size(); ++number) {
        Access::SetPool(m_nodes.emplace_back(m_network.points[number]), *this, number);
    }
    for (Index number = 0; number < m_network.pipes.size(); ++number) {
        const PipeNetwork::Ends& ends = m_network.ends[number];
        CCheckPipeLineEdge& edge = m_edges.emplace_back(m_network.pipes[number]);
        Access::SetPool(edge, *this, number, m_nodes[ends.start], m_nodes[ends.end]);
    }
    m_hasObjects = true;
}

void ObjectPool::Cut() {
    m_keeper = nullptr;
    for (CCheckPipeLineEdge& edge : m_edges) {
        Access::CutPooled(edge);
    }
    for (CCheckPipeLineNode& node : m_nodes) {
        if (!Access::IsAdopted(node)) {
            Access::DropList(node);
        }
    }
}

NetworkKeeper::~NetworkKeeper() {
    // Only adopted nodes of other pools need care; everything else goes with its count.
    for (auto& [node, holder] : m_nodes) {
        const ObjectPool* pool = Access::Pool(*node);
        if (pool != nullptr && Access::Release(*node) && pool->Keeper() == nullptr) {
            Access::DropList(*node);
        }
    }
    // Without another holder the objects go now.
    if (m_pool && m_pool.use_count() > 1) {
        m_pool->Cut();
    }
}

void NetworkKeeper::Keep(const boost::shared_ptr<CCheckPipeLineNode>& node) {
    const ObjectPool* pool = Access::Pool(*node);
    if (pool != nullptr && pool == m_pool.get()) {
        return;
    }
    if (m_nodes.emplace(node.get(), node).second && pool != nullptr) {
        Access::Adopt(*node);
    }
}

void NetworkKeeper::Keep(const boost::shared_ptr<CCheckPipeLineEdge>& edge) {
    m_edges.emplace(edge.get(), edge);
}

boost::shared_ptr<CCheckPipeLineNode> NetworkKeeper::Share(CCheckPipeLineNode* node) const {
    if (m_pool && Access::Pool(*node) == m_pool.get()) {
        return {m_pool, node};
    }
    return m_nodes.at(node);
}

boost::shared_ptr<CCheckPipeLineEdge> NetworkKeeper::Share(CCheckPipeLineEdge* edge) const {
    if (m_pool && Access::Pool(*edge) == m_pool.get()) {
        return {m_pool, edge};
    }
    return m_edges.at(edge);
}

void Access::SetPool(CCheckPipeLineNode& node, ObjectPool& pool, Index number) {
    const PipeNetwork& network = pool.Network();
    node.m_pool = &pool;
    node.m_firstListed = network.listBegin[number];
    node.m_listedCount = network.ListSize(number);
    // The first node of a network that was searched is in no list.
    node.m_index = number - 1;
}

void Access::SetPool(CCheckPipeLineEdge& edge, ObjectPool& pool, Index number, CCheckPipeLineNode& start,
                     CCheckPipeLineNode& end) {
    edge.m_pool = &pool;
    edge.m_nodes[0] = &start;
    edge.m_nodes[1] = &end;
    edge.m_pooled[0] = edge.m_pooled[1] = true;
    edge.m_index = number;
}

void Access::CutPooled(CCheckPipeLineEdge& edge) {
    for (int side = 0; side < 2; ++side) {
        if (edge.m_pooled[side]) {
            edge.m_nodes[side] = nullptr;
            edge.m_pooled[side] = false;
        }
    }
}

void Access::SetKeeper(CCheckPipeLineEdge& edge, const boost::shared_ptr<NetworkKeeper>& keeper) {
    edge.Loose().keeper = keeper;
}

void Access::DropList(CCheckPipeLineNode& node) {
    // The list itself stays, because callers may hold a reference to it. The entries go last, because the last
    // reference to another pool may be among them.
    std::vector<boost::shared_ptr<CCheckPipeLineEdge>> dropped;
    if (node.m_list) {
        dropped.swap(node.m_list->HandOut());
    }
    node.m_listedCount = 0;
}

std::vector<CCheckPipeLineNode*> Access::Nodes(const CCheckPipeLineGraph& graph) {
    std::vector<CCheckPipeLineNode*> nodes;
    for (Index position = 0; position < graph.NodeCount(); ++position) {
        nodes.push_back(graph.NodeAt(position));
    }
    return nodes;
}

std::vector<CCheckPipeLineEdge*> Access::Edges(const CCheckPipeLineGraph& graph) {
    std::vector<CCheckPipeLineEdge*> edges;
    for (Index position = 0; position < graph.EdgeCount(); ++position) {
        edges.push_back(graph.EdgeAt(position));
    }
    return edges;
}

void Access::Fill(CCheckPipeLineGraph& graph, PipeNetwork&& network) {
    graph.m_searchedEdges = static_cast<Index>(network.pipes.size());
    graph.m_searchedNodes = static_cast<Index>(network.points.size() - network.unlisted.size());
    graph.m_asSearched = true;
    graph.Keeper()->SetPool(std::move(network));
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
            m_network.lists.push_back(NumberOf(Access::Pool(node)->Listed(Access::FirstListed(node) + entry)));
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

LoopWork LastLoopWork(const CCheckPipeLineGraph& graph) {
    return Access::Work(graph);
}

}  // namespace norvex::pipenet
