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
    bool IsPending(std::size_t position) const {
        return m_pipes[position].pipe != nullptr && m_pipes[position].edge == kNone;
    }
    // A node at the start point of the pipe, in the graph's network but in no node list.
    boost::shared_ptr<CCheckPipeLineNode> MakeSeed(std::size_t position, CCheckPipeLineGraph& graph);
    // Grows the graph, which is empty, from its seed node.
    void Grow(CCheckPipeLineNode& seed, CCheckPipeLineGraph& graph);
    // The pipes of the graph are pending no more.
    void Close(const CCheckPipeLineGraph& graph);

  private:
    struct Pipe {
        // Null for an entry that is no pipe.
        ZrOwPolyLine* pipe = nullptr;
        // The pipe's edge, counted through all graphs; kNone while it is pending.
        Index edge = kNone;
    };
    // All pipe ends with exactly these coordinates.
    struct Place {
        AcGePoint3d point;
        // The next place of the same cell.
        Index next : 31;
        // Another place may be in reach, or the point is not near to itself.
        Index crowded : 1;
        // The place's range of m_ends.
        Index firstEnd;
        Index endCount;
        // The node here, counted through all graphs; kNone or a number of an earlier graph when there is none.
        Index node;
    };
    // One pipe as seen from one of its places.
    struct End {
        Index pipe;
        // Place of the far end; kNone when the pipe has to be asked.
        Index far;
    };
    // The cells of one hash. Cells that share it stay together however the table grows, because it alone says where.
    struct Slot {
        std::uint32_t hash = 0;
        Index place = kNone;
    };
    // A node whose pipes are being followed: its range of m_ends, or of m_found when found is set.
    struct Frame {
        CCheckPipeLineNode* node;
        Index first;
        Index next;
        Index end;
        bool found;
    };
    // A pipe end on its way to its place.
    struct Spot {
        AcGePoint3d point;
        // Of its cell.
        std::uint32_t hash = 0;
        // What is in reach of it may lie in other cells.
        bool crossing = false;
    };

    static constexpr Index kNoPlace = 0x7FFFFFFF;

    // Returns the places of each entry's start and end; kNone twice for an entry that is no pipe.
    kernel::LargeVector<Index> GatherPlaces(const std::vector<ZrOwEntity*>& pending);
    void DropRepetitions();
    void ListEnds(const kernel::LargeVector<Index>& placeOfEnd);
    Spot SpotOf(const AcGePoint3d& point) const;
    Index PlaceOf(const Spot& spot);
    Index PlaceOfDense(const Spot& spot);
    // The place with exactly these coordinates in a dense cell; kNone without one.
    Index DensePlaceAt(const AcGePoint3d& point) const;
    void MakeDense(std::uint32_t hash, Index firstPlace);
    std::size_t SlotOf(std::uint32_t hash) const;
    void GrowSlots();

    Index LookUpPlace(const AcGePoint3d& point) const;
    // Calls visit with the places of all cells in reach that are not dense. Returns: whether a cell is.
    template <class Visit>
    bool ForEachPlaceInReach(const AcGePoint3d& point, const Visit& visit) const;

    void Open(CCheckPipeLineNode& node, Index place);
    void FindPipes(const AcGePoint3d& point);
    void Follow(const End& end, CCheckPipeLineNode& node, CCheckPipeLineGraph& graph);
    CCheckPipeLineNode* NodeAt(Index place, const CCheckPipeLineGraph& graph) const;

    CellGrid m_grid;
    // The host's tolerance is such that a point equals itself.
    bool m_selfEqual;
    kernel::LargeVector<Pipe> m_pipes;
    kernel::LargeVector<Place> m_places;
    kernel::LargeVector<Slot> m_slots;
    std::size_t m_usedSlots = 0;
    DensePlaces m_dense;
    kernel::LargeVector<End> m_ends;

    kernel::LargeVector<Frame> m_frames;
    kernel::LargeVector<End> m_found;
    boost::shared_ptr<ObjectPool> m_pool;
    Index m_seedPlace = kNone;
    // Numbers of the first edge and the first node of the graph being grown.
    Index m_firstEdge = 0;
    Index m_firstNode = 0;
};

}  // namespace norvex::pipenet
