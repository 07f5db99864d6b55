// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/CheckPipeLineNode.h"

#include "norvexdata/pipenet/CheckPipeLineEdge.h"
#include "norvexdata/pipenet/detail/EdgeList.h"
#include "norvexdata/pipenet/detail/NetworkObjects.h"

using norvex::pipenet::Access;
using norvex::pipenet::EdgeList;

CCheckPipeLineNode::CCheckPipeLineNode(const AcGePoint3d& point) : m_point(point) {
}

CCheckPipeLineNode::~CCheckPipeLineNode() = default;

void CCheckPipeLineNode::AppendEdge(boost::shared_ptr<CCheckPipeLineEdge> edge) {
    EdgeList& list = List();
    if (!list.Contains(edge.get())) {
        list.Append(std::move(edge));
    }
}

int CCheckPipeLineNode::GetConnectEdgeNum() const {
    return Access::ListSize(*this);
}

std::vector<boost::shared_ptr<CCheckPipeLineEdge>>& CCheckPipeLineNode::GetConnectEdgeVec() {
    return List().HandOut();
}

EdgeList& CCheckPipeLineNode::List() {
    if (!m_list) {
        m_list = std::make_unique<EdgeList>();
        if (m_listedCount != 0) {
            const auto pool = m_pool->shared_from_this();
            for (norvex::pipenet::Index entry = 0; entry < m_listedCount; ++entry) {
                m_list->Append({pool, m_pool->Listed(m_firstListed + entry)});
            }
        }
    }
    return *m_list;
}
