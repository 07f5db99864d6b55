// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <memory>
#include <unordered_set>
#include <vector>

#include "norvexdata/Export.h"
#include "platform/arx/AcGe.h"

class CCheckPipeLineEdge;

namespace norvex::pipenet {
class ObjectPool;
struct Access;
}  // namespace norvex::pipenet

// A place where pipe ends meet. Held through boost::shared_ptr only. Used from one thread at a time.
//
// A node owns the edges of its list; an edge does not own its nodes. The graph that an edge was created in keeps the
// edge's nodes for as long as it, or a copy of it, lives.
class NORVEXDATA_API CCheckPipeLineNode {
  public:
    explicit CCheckPipeLineNode(const AcGePoint3d& point);
    ~CCheckPipeLineNode();
    CCheckPipeLineNode(const CCheckPipeLineNode&) = delete;
    CCheckPipeLineNode& operator=(const CCheckPipeLineNode&) = delete;

    // The pipe end that made the node, in drawing units.
    AcGePoint3d Point() const { return m_point; }
    // Appends the edge unless this very edge is in the list already. Constant time on average, until the list has been
    // handed out for changing; from then on the list is looked through.
    void AppendEdge(boost::shared_ptr<CCheckPipeLineEdge> edge);
    // Number of edges that end here.
    int GetConnectEdgeNum() const { return static_cast<int>(m_edges.size()); }
    // The edges that end here, in the order in which they were appended; callers may change it. The reference is good
    // while the node lives.
    std::vector<boost::shared_ptr<CCheckPipeLineEdge>>& GetConnectEdgeVec();

  private:
    friend struct norvex::pipenet::Access;

    bool IsListed(const CCheckPipeLineEdge* edge);

    std::vector<boost::shared_ptr<CCheckPipeLineEdge>> m_edges;
    AcGePoint3d m_point;
    // The pool that this node lies in; null for a node made one by one.
    norvex::pipenet::ObjectPool* m_pool = nullptr;
    // Everything in m_edges, for a long list that was never handed out.
    std::unique_ptr<std::unordered_set<const CCheckPipeLineEdge*>> m_listed;
    // Position in the node list of the graph that created the node.
    std::uint32_t m_index = 0;
    // Graphs, other than those of its pool, that keep the node.
    std::uint32_t m_adopters : 31 = 0;
    // The list was handed out, so that it may change at any time without the node being told.
    std::uint32_t m_handedOut : 1 = 0;
};
