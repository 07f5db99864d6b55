// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/CheckPipeLineEdge.h"

#include "norvexdata/entities/EntFindMethod.h"
#include "norvexdata/pipenet/detail/NetworkObjects.h"
#include "platform/zrow/ZrOwLines.h"

CCheckPipeLineEdge::CCheckPipeLineEdge(ZrOwPolyLine* pipe) : m_pipe(pipe) {
}

CCheckPipeLineEdge::~CCheckPipeLineEdge() = default;

AcGePoint3d CCheckPipeLineEdge::GetStartPoint() const {
    return m_pipe->GetStartPoint();
}

AcGePoint3d CCheckPipeLineEdge::GetEndPoint() const {
    return m_pipe->GetEndPoint();
}

AcGePoint3d CCheckPipeLineEdge::GetSearchPoint(const AcGePoint3d& p) const {
    const AcGePoint3d start = GetStartPoint();
    return CEntFindMethod::Is2PtNear(p, start, norvex::pipenet::kPlaceTolerance) ? GetEndPoint() : start;
}

boost::shared_ptr<CCheckPipeLineNode> CCheckPipeLineEdge::GetNodeStart() const {
    return GetNode(kStart);
}

boost::shared_ptr<CCheckPipeLineNode> CCheckPipeLineEdge::GetNodeEnd() const {
    return GetNode(kEnd);
}

void CCheckPipeLineEdge::SetNodeStart(boost::shared_ptr<CCheckPipeLineNode> node) {
    SetNode(kStart, node);
}

void CCheckPipeLineEdge::SetNodeEnd(boost::shared_ptr<CCheckPipeLineNode> node) {
    SetNode(kEnd, node);
}

boost::shared_ptr<CCheckPipeLineNode> CCheckPipeLineEdge::GetNode(Side side) const {
    if (m_pooled[side]) {
        return {m_pool->shared_from_this(), m_nodes[side]};
    }
    return m_loose ? m_loose->nodes[side].lock() : boost::shared_ptr<CCheckPipeLineNode>();
}

void CCheckPipeLineEdge::SetNode(Side side, const boost::shared_ptr<CCheckPipeLineNode>& node) {
    m_nodes[side] = node.get();
    m_pooled[side] = false;
    if (!node) {
        if (m_loose) {
            m_loose->nodes[side].reset();
        }
        return;
    }
    // Held weakly from here; a graph of this edge, while there is one, keeps the node.
    Loose().nodes[side] = node;
    if (const boost::shared_ptr<norvex::pipenet::NetworkKeeper> keeper = Keeper()) {
        keeper->Keep(node);
    }
}

boost::shared_ptr<norvex::pipenet::NetworkKeeper> CCheckPipeLineEdge::Keeper() const {
    if (m_pool != nullptr) {
        norvex::pipenet::NetworkKeeper* keeper = m_pool->Keeper();
        return keeper != nullptr ? keeper->shared_from_this() : boost::shared_ptr<norvex::pipenet::NetworkKeeper>();
    }
    return m_loose ? m_loose->keeper.lock() : boost::shared_ptr<norvex::pipenet::NetworkKeeper>();
}

CCheckPipeLineEdge::LooseLinks& CCheckPipeLineEdge::Loose() {
    if (!m_loose) {
        m_loose = std::make_unique<LooseLinks>();
    }
    return *m_loose;
}
