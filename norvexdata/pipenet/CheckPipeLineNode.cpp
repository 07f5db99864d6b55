// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/CheckPipeLineNode.h"

#include <utility>

#include "norvexdata/pipenet/CheckPipeLineEdge.h"
#include "norvexdata/pipenet/detail/EdgeList.h"
#include "norvexdata/pipenet/detail/NetworkObjects.h"

using norvex::pipenet::Access;
using norvex::pipenet::EdgeList;

CCheckPipeLineNode::CCheckPipeLineNode(const AcGePoint3d& point) : m_point(point) {
}

CCheckPipeLineNode::~CCheckPipeLineNode() = default;

AcGePoint3d CCheckPipeLineNode::Point() const {
    return m_point;
}

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
        auto list = std::make_unique<EdgeList>();
        for (norvex::pipenet::Index entry = 0; entry < m_listedCount; ++entry) {
            list->Append(m_searched->Listed(m_firstListed + entry));
        }
        m_list = std::move(list);
    }
    return *m_list;
}
