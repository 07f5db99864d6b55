// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "norvexdata/pipenet/detail/Cells.h"
#include "norvexdata/pipenet/detail/DensePlaces.h"
#include "norvexdata/pipenet/detail/NetworkObjects.h"

class ZrOwPolyLine;

namespace norvex::pipenet {

// Grows graphs from a list of pending pipes. What "at a point" means is the host's tolerance at the time of the call;
// pipe ends are gathered once into places (exactly equal points), and a place with no other in reach, as nearly all
// are, answers for itself. The others are looked up and measured one by one.
class PipeSearch {
  public:
    explicit PipeSearch(const std::vector<ZrOwEntity*>& pending);

    // True when the entry is a pipe that no graph has taken yet, and not a repetition of an earlier entry.
    bool IsPending(std::size_t position) const { return m_isPending[position] != 0; }
    // A node at the start point of the pipe, in no graph.
    boost::shared_ptr<CCheckPipeLineNode> MakeSeed(std::size_t position) const;
    // Grows the graph, which is empty, from the seed node, which is in its network but not in its node list.
    void Grow(const CCheckPipeLineNode& seed, CCheckPipeLineGraph& graph);
    // From here on the pipes of the graph grown last are those of an earlier one.
    void Close();

  private:
    // A pipe with its two ends, start and end. Ends are numbered through: twice the number of the run, plus the side.
    struct Run {
        ZrOwPolyLine* pipe;
        Index place[2];
        // The next end at the same place; kNoEnd for the last.
        Index next[2];
        // Its edge, counted through all graphs; kNone while it is pending.
        Index edge;
        // Of its entry in the list.
        Index position;
    };
    // All pipe ends with exactly these coordinates.
    struct Place {
        AcGePoint3d point;
        // The end that was found here last; kNoEnd without one.
        Index lastEnd : 31;
        // Another place may be in reach, or the point is not near to itself.
        Index crowded : 1;
        // The node here, counted through all graphs; kNone or a number of an earlier graph when there is none.
        Index node;
    };
    // One pipe as seen from one of its places.
    struct End {
        Index run;
        // Place of the far end; kNone when the pipe has to be asked.
        Index far;
    };
    // The cells of one hash. Cells that share it stay together however the table grows, because it alone says where.
    struct Slot {
        std::uint32_t hash = 0;
        Index place = kNone;
    };
    // A node whose pipes are being followed: its range of m_found.
    struct Frame {
        Index node;
        Index first;
        Index next;
        Index end;
    };
    // A pipe end on its way to its place.
    struct Spot {
        AcGePoint3d point;
        // Of its cell.
        std::uint32_t hash;
        // Nothing in reach of it lies in another cell; false says nothing.
        bool inside;
    };

    static constexpr Index kNoEnd = 0x7FFFFFFF;

    void DropRepetitions();
    void GatherPlaces();
    // Adds the end to those of the place.
    void LinkEnd(Index end, Index place);
    Spot SpotOf(const AcGePoint3d& point) const;
    // Whether something may be in reach of the point that is not in its cell.
    bool IsCrossing(const AcGePoint3d& point) const;
    Index PlaceOf(const Spot& spot);
    Index PlaceOfDense(const Spot& spot);
    // The place with exactly these coordinates in a dense cell; kNone without one.
    Index DensePlaceAt(const AcGePoint3d& point) const;
    // Half of the hash, so that a slot takes eight bytes. Cells may share it, and then their places are in one slot.
    static std::uint32_t ShortHashOf(const Cell& cell) { return static_cast<std::uint32_t>(HashOf(cell) >> 32); }
    std::size_t SlotOf(std::uint32_t hash) const;
    void GrowSlots();
    // The next place of the same slot; kNone for the last.
    Index NextInSlot(Index place) const { return place < m_nextInSlot.size() ? m_nextInSlot[place] : kNone; }
    void SetNextInSlot(Index place, Index next);

    Index LookUpPlace(const AcGePoint3d& point) const;
    // Calls visit with the places of all cells in reach that are not dense. Returns: whether a cell is.
    template <class Visit>
    bool ForEachPlaceInReach(const AcGePoint3d& point, const Visit& visit) const;

    Index AddNode(const AcGePoint3d& point);
    // Lists the ends at the node, which is the newest, to be followed.
    void Open(Index node, Index place);
    // ask: the pipes have to be asked for their far ends.
    void TakeEnds(const Place& place, bool ask);
    void FindEnds(const AcGePoint3d& point);
    void PutInOrder(Index first);
    // entry: where the node's list gets the edge.
    void Follow(const End& end, Index node, Index entry);
    Index NodeAt(Index place) const;

    const std::vector<ZrOwEntity*>& m_pending;
    // The order in which the pipes are taken; empty for that of the list.
    kernel::LargeVector<Index> m_order;
    CellGrid m_grid;
    // The host's tolerance is such that a point equals itself.
    bool m_selfEqual;
    kernel::LargeVector<Run> m_runs;
    // Per entry of the list: it is pending.
    kernel::LargeVector<unsigned char> m_isPending;
    kernel::LargeVector<Place> m_places;
    kernel::LargeVector<Slot> m_slots;
    std::size_t m_usedSlots = 0;
    // Of the places up to the last that has another one after it.
    kernel::LargeVector<Index> m_nextInSlot;
    DensePlaces m_dense;

    // The graph being grown. Its first node is the seed.
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
