// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "norvexdata/pipenet/detail/NetworkObjects.h"
#include "norvexdata/pipenet/detail/Places.h"

namespace norvex::pipenet {

// Grows graphs from a list of pending pipes. What "at a point" means is the host's tolerance at the time of the call. A
// place with no other in reach, as nearly all are, answers for itself; around the others every place is measured.
class PipeSearch {
  public:
    explicit PipeSearch(const std::vector<ZrOwEntity*>& pending);

    // True when the entry is a pipe that no graph has taken yet, and not a repetition of an earlier entry.
    bool IsPending(std::size_t position) const { return m_isPending[position] != 0; }
    // A node at the start point of the pipe, in no graph.
    boost::shared_ptr<CCheckPipeLineNode> MakeSeed(std::size_t position) const;
    // Grows the graph, which is empty, from a node that is in its network but not in its node list.
    void Grow(const CCheckPipeLineNode& seed, CCheckPipeLineGraph& graph);
    // From here on the pipes of the graph grown last are those of an earlier one.
    void Close();

  private:
    // One pipe as seen from one of its places.
    struct End {
        Index run;
        // Place of the far end; kNone when the pipe has to be asked.
        Index far;
    };
    // A node whose pipes are being followed: its range of m_found.
    struct Frame {
        Index node;
        Index first;
        Index next;
        Index end;
    };
    Index AddNode(const AcGePoint3d& point);
    // Lists the ends at the node, which is the newest, to be followed.
    void Open(Index node, Index place);
    // ask: the pipes have to be asked for their far ends.
    void TakeEnds(const Places::Place& place, bool ask);
    void FindEnds(const AcGePoint3d& point);
    void PutInOrder(Index first);
    // entry: where the node's list gets the edge.
    void Follow(const End& end, Index node, Index entry);
    Index NodeAt(Index place) const;

    const std::vector<ZrOwEntity*>& m_pending;
    Places m_places;
    // Per entry of the list: it is pending.
    kernel::LargeVector<unsigned char> m_isPending;

    // The graph being grown. Its first node is the one that it grows from.
    PipeNetwork m_network;
    kernel::LargeVector<Frame> m_frames;
    kernel::LargeVector<End> m_found;
    // Numbers of the first edge and the first node of the graph being grown.
    Index m_firstEdge = 0;
    Index m_firstNode = 0;
    // Number of its edges and nodes, once it is grown.
    Index m_edgesGrown = 0;
    Index m_nodesGrown = 0;
};

}  // namespace norvex::pipenet
