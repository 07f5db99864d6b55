// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/detail/NetworkObjects.h"

namespace norvex::pipenet {

CCheckPipeLineNode* ObjectPool::MakeNode(const AcGePoint3d& point) {
    CCheckPipeLineNode* node = m_nodes.Make(point);
    Access::Pool(*node) = this;
    return node;
}

CCheckPipeLineEdge* ObjectPool::MakeEdge(ZrOwPolyLine* pipe) {
    CCheckPipeLineEdge* edge = m_edges.Make(pipe);
    Access::Pool(*edge) = this;
    return edge;
}

void ObjectPool::AddList(CCheckPipeLineNode& node, Index room) {
    Access::FirstListed(node) = static_cast<Index>(m_lists.size());
    m_lists.resize(m_lists.size() + room);
}

void ObjectPool::Append(CCheckPipeLineNode& node, Index edge) {
    m_lists[Access::FirstListed(node) + Access::ListedCount(node)++] = edge;
}

void ObjectPool::Cut() {
    m_keeper = nullptr;
    m_edges.ForEach([](CCheckPipeLineEdge& edge) { Access::CutPooled(edge); });
    m_nodes.ForEach([](CCheckPipeLineNode& node) {
        if (!Access::IsAdopted(node)) {
            Access::DropList(node);
        }
    });
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

const boost::shared_ptr<ObjectPool>& NetworkKeeper::Pool() {
    if (!m_pool) {
        m_pool.reset(new ObjectPool(*this));
    }
    return m_pool;
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
    // Taken out first, because the last reference to another pool may be among the entries.
    const std::unique_ptr<EdgeList> dropped = std::move(node.m_list);
    node.m_listedCount = 0;
}

LoopWork LastLoopWork(const CCheckPipeLineGraph& graph) {
    return Access::Work(graph);
}

}  // namespace norvex::pipenet
