// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/CheckPipeLineEdge.h"

#include <utility>

#include "norvexdata/entities/EntFindMethod.h"
#include "norvexdata/pipenet/detail/NetworkObjects.h"
#include "platform/zrow/ZrOwLines.h"

CCheckPipeLineEdge::CCheckPipeLineEdge(ZrOwPolyLine* pipe) : m_pipe(pipe) {
}

CCheckPipeLineEdge::~CCheckPipeLineEdge() = default;

ZrOwPolyLine* CCheckPipeLineEdge::GetPipeEnt() const {
    return m_pipe;
}

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
    if (m_links) {
        return m_links->nodes[side].lock();
    }
    return m_searched != nullptr ? m_searched->NodeOf(m_index, side) : boost::shared_ptr<CCheckPipeLineNode>();
}

void CCheckPipeLineEdge::SetNode(Side side, const boost::shared_ptr<CCheckPipeLineNode>& node) {
    Links& links = OwnLinks();
    links.nodes[side] = node;
    if (m_searched != nullptr) {
        m_searched->Hold(m_index, side, node);
    } else if (const boost::shared_ptr<norvex::pipenet::NamedNodes> named = links.named.lock()) {
        named->nodes[side] = node;
    }
}

CCheckPipeLineEdge::Links& CCheckPipeLineEdge::OwnLinks() {
    if (!m_links) {
        auto links = std::make_unique<Links>();
        for (const Side side : {kStart, kEnd}) {
            links->nodes[side] = GetNode(side);
        }
        m_links = std::move(links);
    }
    return *m_links;
}
