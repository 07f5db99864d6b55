// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "norvexdata/pipenet/detail/Cells.h"
#include "norvexdata/pipenet/detail/DensePlaces.h"
#include "norvexdata/pipenet/detail/PipeNetwork.h"

class ZrOwEntity;
class ZrOwPolyLine;

namespace norvex::pipenet {

// The pipes of a list, with their ends gathered into places (exactly equal points), which are found again by point.
// What is in reach of a point depends on the host's tolerance at the time of making.
class Places {
  public:
    static constexpr Index kNoEnd = 0x7FFFFFFF;

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
    // Entries of the list that are no pipes, or repeat an earlier one, are left out.
    explicit Places(const std::vector<ZrOwEntity*>& list);

    // Per entry of the list: whether it is a run.
    const kernel::LargeVector<unsigned char>& IsRun() const { return m_isRun; }
    std::size_t RunCount() const { return m_runs.size(); }
    Run& RunAt(Index run) { return m_runs[run]; }
    const Run& RunAt(Index run) const { return m_runs[run]; }
    // Whether runs are numbered in the order of the list.
    bool AreInListOrder() const { return m_order.empty(); }
    std::size_t Count() const { return m_places.size(); }
    const Place& operator[](Index place) const { return m_places[place]; }
    // The place with exactly these coordinates; kNone without one.
    Index LookUp(const AcGePoint3d& point) const;

    void SetNode(Index place, Index node) {
        m_places[place].node = node;
        if (m_dense.Any() && m_dense.IsDense(ShortHashOf(m_grid.Of(m_places[place].point)))) {
            m_dense.Nodes().Add(m_places[place].point, place);
        }
    }
    // The nodes set so far need not be found by ForEachWithNodeInReach any more.
    void ForgetNodes() { m_dense.Nodes().Clear(); }

    // Calls visit with every place in reach of the point, and with others; with some more than once.
    template <class Visit>
    void ForEachInReach(const AcGePoint3d& point, const Visit& visit) const {
        if (ForEachOfFew(point, visit)) {
            m_dense.All().ForEachWithinReach(point, [&](Index place) { visit(m_places[place]); });
        }
    }
    // The same, but with those that have a node at least.
    template <class Visit>
    void ForEachWithNodeInReach(const AcGePoint3d& point, const Visit& visit) const {
        if (ForEachOfFew(point, visit)) {
            m_dense.Nodes().ForEachWithinReach(point, [&](Index place) { visit(m_places[place]); });
        }
    }

  private:
    // The cells of one hash. Cells that share it stay together however the table grows, because it alone says where.
    struct Slot {
        std::uint32_t hash = 0;
        Index place = kNone;
    };
    // A pipe end on its way to its place.
    struct Spot {
        AcGePoint3d point;
        // Of its cell.
        std::uint32_t hash;
        // Nothing in reach of it lies in another cell; false says nothing.
        bool inside;
    };

    void DropRepetitions(const std::vector<ZrOwEntity*>& list);
    void Gather(const std::vector<ZrOwEntity*>& list);
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

    // Calls visit with the places of all cells in reach that are not dense. Returns: whether a cell is.
    template <class Visit>
    bool ForEachOfFew(const AcGePoint3d& point, const Visit& visit) const {
        // A point that is not finite has cells too: under an endless tolerance other points are in reach of it.
        bool dense = false;
        m_grid.ForEachWithinReach(point, [&](const Cell& cell) {
            const std::uint32_t hash = ShortHashOf(cell);
            if (m_dense.IsDense(hash)) {
                dense = true;
                return;
            }
            for (Index place = m_slots[SlotOf(hash)].place; place != kNone; place = NextInSlot(place)) {
                visit(m_places[place]);
            }
        });
        return dense;
    }

    kernel::LargeVector<unsigned char> m_isRun;
    // The order in which the pipes are taken; empty for that of the list.
    kernel::LargeVector<Index> m_order;
    CellGrid m_grid;
    // The host's tolerance is such that a point equals itself.
    bool m_selfEqual;
    kernel::LargeVector<Run> m_runs;
    kernel::LargeVector<Place> m_places;
    kernel::LargeVector<Slot> m_slots;
    std::size_t m_usedSlots = 0;
    // Of the places up to the last that has another one after it.
    kernel::LargeVector<Index> m_nextInSlot;
    DensePlaces m_dense;
};

}  // namespace norvex::pipenet
