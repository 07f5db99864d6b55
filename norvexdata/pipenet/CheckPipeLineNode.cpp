// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/CheckPipeLineNode.h"

#include <algorithm>

#include "norvexdata/pipenet/CheckPipeLineEdge.h"
#include "norvexdata/pipenet/detail/NetworkObjects.h"

namespace {

// Lists up to this length are looked through; a set pays off beyond it.
constexpr std::size_t kShortList = 16;

}  // namespace

CCheckPipeLineNode::CCheckPipeLineNode(const AcGePoint3d& point) : m_point(point) {
}

CCheckPipeLineNode::~CCheckPipeLineNode() = default;

void CCheckPipeLineNode::AppendEdge(boost::shared_ptr<CCheckPipeLineEdge> edge) {
    const CCheckPipeLineEdge* added = edge.get();
    if (IsListed(added)) {
        return;
    }
    if (m_pool != nullptr && m_pool->Keeper() == nullptr && norvex::pipenet::Access::Pool(*edge) == m_pool) {
        // The last graph is gone and both lie in one pool, which lives as long as either: a counted link would keep the
        // pool alive by itself.
        edge = boost::shared_ptr<CCheckPipeLineEdge>(boost::shared_ptr<CCheckPipeLineEdge>(), edge.get());
    }
    m_edges.push_back(std::move(edge));
    if (m_listed) {
        m_listed->insert(added);
    }
}

std::vector<boost::shared_ptr<CCheckPipeLineEdge>>& CCheckPipeLineNode::GetConnectEdgeVec() {
    m_handedOut = 1;
    m_listed.reset();
    return m_edges;
}

bool CCheckPipeLineNode::IsListed(const CCheckPipeLineEdge* edge) {
    if (m_handedOut || m_edges.size() <= kShortList) {
        return std::any_of(m_edges.begin(), m_edges.end(), [edge](const boost::shared_ptr<CCheckPipeLineEdge>& listed) {
            return listed.get() == edge;
        });
    }
    if (!m_listed) {
        m_listed = std::make_unique<std::unordered_set<const CCheckPipeLineEdge*>>();
        for (const boost::shared_ptr<CCheckPipeLineEdge>& listed : m_edges) {
            m_listed->insert(listed.get());
        }
    }
    return m_listed->count(edge) != 0;
}
