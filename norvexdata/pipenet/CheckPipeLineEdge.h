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
class NetworkKeeper;
class ObjectPool;
struct Access;
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
    ZrOwPolyLine* GetPipeEnt() const { return m_pipe; }

    // The nodes at the two ends; empty until set. They are also empty once neither a graph of this edge nor anyone else
    // holds the node.
    boost::shared_ptr<CCheckPipeLineNode> GetNodeStart() const;
    boost::shared_ptr<CCheckPipeLineNode> GetNodeEnd() const;
    void SetNodeStart(boost::shared_ptr<CCheckPipeLineNode> node);
    void SetNodeEnd(boost::shared_ptr<CCheckPipeLineNode> node);

  private:
    friend struct norvex::pipenet::Access;

    enum Side { kStart = 0, kEnd = 1 };
    // What an edge needs when it, or one of its nodes, was not made by a search.
    struct LooseLinks {
        boost::weak_ptr<CCheckPipeLineNode> nodes[2];
        boost::weak_ptr<norvex::pipenet::NetworkKeeper> keeper;
    };

    boost::shared_ptr<CCheckPipeLineNode> GetNode(Side side) const;
    void SetNode(Side side, const boost::shared_ptr<CCheckPipeLineNode>& node);
    boost::shared_ptr<norvex::pipenet::NetworkKeeper> Keeper() const;
    LooseLinks& Loose();

    ZrOwPolyLine* m_pipe;
    // Good while a graph of this edge lives.
    CCheckPipeLineNode* m_nodes[2] = {nullptr, nullptr};
    // The pool that this edge lies in; null for an edge made one by one.
    norvex::pipenet::ObjectPool* m_pool = nullptr;
    std::unique_ptr<LooseLinks> m_loose;
    // Position in the edge list of every graph that holds the edge.
    std::uint32_t m_index = 0;
    // Whether each node lies in the edge's own pool.
    bool m_pooled[2] = {false, false};
};
