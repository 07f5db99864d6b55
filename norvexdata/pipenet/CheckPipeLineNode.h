// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <memory>
#include <vector>

#include "norvexdata/Export.h"
#include "platform/arx/AcGe.h"

class CCheckPipeLineEdge;

namespace norvex::pipenet {
class EdgeList;
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
    // Appends the edge unless this very edge is in the list already. Constant time on average until the list was handed
    // out, and from then on as long as it takes to look through it. An edge and a node of one search that are linked
    // after the last of their graphs is gone keep each other alive until the edge is taken out of the list.
    void AppendEdge(boost::shared_ptr<CCheckPipeLineEdge> edge);
    // Number of edges that end here.
    int GetConnectEdgeNum() const;
    // The edges that end here, in the order in which they were appended; callers may change it. The reference is good
    // while the node lives.
    std::vector<boost::shared_ptr<CCheckPipeLineEdge>>& GetConnectEdgeVec();

  private:
    friend struct norvex::pipenet::Access;

    norvex::pipenet::EdgeList& List();

    AcGePoint3d m_point;
    // The pool that this node lies in; null for a node made one by one.
    norvex::pipenet::ObjectPool* m_pool = nullptr;
    // The edges that end here; null while they are those that a search has listed, or none.
    std::unique_ptr<norvex::pipenet::EdgeList> m_list;
    // Until then: the node's range of the pool's lists.
    std::uint32_t m_firstListed = 0;
    std::uint32_t m_listedCount = 0;
    // Position in the node list of the graph that created the node.
    std::uint32_t m_index = 0;
    // Graphs, other than those of its pool, that keep the node.
    std::uint32_t m_adopters = 0;
};
