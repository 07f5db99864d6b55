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
class SearchedObjects;
struct Access;
}  // namespace norvex::pipenet

// A place where pipe ends meet. Held through boost::shared_ptr only. Used from one thread at a time.
//
// A node holds the edges of its list; an edge does not hold its nodes. The graph that an edge was created in, and its
// copies, do.
class NORVEXDATA_API CCheckPipeLineNode {
  public:
    explicit CCheckPipeLineNode(const AcGePoint3d& point);
    ~CCheckPipeLineNode();
    CCheckPipeLineNode(const CCheckPipeLineNode&) = delete;
    CCheckPipeLineNode& operator=(const CCheckPipeLineNode&) = delete;

    // The pipe end that made the node, in drawing units.
    AcGePoint3d Point() const;
    // Appends the edge unless this very edge is in the list already. Constant time on average until the list was handed
    // out, and from then on as long as it takes to look through it.
    void AppendEdge(boost::shared_ptr<CCheckPipeLineEdge> edge);
    // Number of edges that end here.
    int GetConnectEdgeNum() const;
    // The edges that end here, in the order in which they were appended; callers may change it. The reference is good
    // while the node lives.
    std::vector<boost::shared_ptr<CCheckPipeLineEdge>>& GetConnectEdgeVec();

  private:
    friend struct norvex::pipenet::Access;

    NORVEXDATA_LOCAL norvex::pipenet::EdgeList& List();

    AcGePoint3d m_point;
    // What the search found that made the node; null for other nodes, and once none of its graphs is left.
    norvex::pipenet::SearchedObjects* m_searched = nullptr;
    // The edges that end here; null while they are those that a search has listed, or none.
    std::unique_ptr<norvex::pipenet::EdgeList> m_list;
    // Until then: the node's range of the search's lists.
    std::uint32_t m_firstListed = 0;
    std::uint32_t m_listedCount = 0;
    // Position in the node list of the graph that created the node.
    std::uint32_t m_index = 0;
};
