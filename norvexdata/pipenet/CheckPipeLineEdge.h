// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>
#include <cstdint>
#include <memory>

#include "norvexdata/Export.h"
#include "platform/arx/AcGe.h"

class CCheckPipeLineNode;
class ZrOwPolyLine;

namespace norvex::pipenet {
class SearchedObjects;
struct Access;
struct NamedNodes;
}  // namespace norvex::pipenet

// A pipe between two nodes. Held through boost::shared_ptr only. Used from one thread at a time. The pipe is borrowed
// from the drawing.
class NORVEXDATA_API CCheckPipeLineEdge {
  public:
    explicit CCheckPipeLineEdge(ZrOwPolyLine* pipe);
    ~CCheckPipeLineEdge();
    CCheckPipeLineEdge(const CCheckPipeLineEdge&) = delete;
    CCheckPipeLineEdge& operator=(const CCheckPipeLineEdge&) = delete;

    // The pipe's ends, asked of the pipe each time.
    AcGePoint3d GetStartPoint() const;
    AcGePoint3d GetEndPoint() const;
    // The far end seen from p: the end point when p is nearer than 0.1 to the start, else the start point.
    AcGePoint3d GetSearchPoint(const AcGePoint3d& p) const;
    ZrOwPolyLine* GetPipeEnt() const;

    // The nodes at the two ends; empty until set, and once nobody holds the node any more. The graphs of the edge do.
    boost::shared_ptr<CCheckPipeLineNode> GetNodeStart() const;
    boost::shared_ptr<CCheckPipeLineNode> GetNodeEnd() const;
    void SetNodeStart(boost::shared_ptr<CCheckPipeLineNode> node);
    void SetNodeEnd(boost::shared_ptr<CCheckPipeLineNode> node);

  private:
    friend struct norvex::pipenet::Access;

    enum Side { kStart = 0, kEnd = 1 };
    // What an edge needs that no search made, or whose nodes are not those of its search.
    struct Links {
        boost::weak_ptr<CCheckPipeLineNode> nodes[2];
        // What the graphs hold of an edge that a caller created in one of them.
        boost::weak_ptr<norvex::pipenet::NamedNodes> named;
    };

    NORVEXDATA_LOCAL boost::shared_ptr<CCheckPipeLineNode> GetNode(Side side) const;
    NORVEXDATA_LOCAL void SetNode(Side side, const boost::shared_ptr<CCheckPipeLineNode>& node);
    NORVEXDATA_LOCAL Links& OwnLinks();

    ZrOwPolyLine* m_pipe;
    // What the search found that made the edge; null for other edges, and once none of its graphs is left.
    norvex::pipenet::SearchedObjects* m_searched = nullptr;
    // Null while the nodes are those of the search, or none.
    std::unique_ptr<Links> m_links;
    // Position in the edge list of every graph that holds the edge.
    std::uint32_t m_index = 0;
};
