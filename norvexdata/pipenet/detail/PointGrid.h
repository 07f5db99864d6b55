// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "norvexdata/entities/EntFindMethod.h"
#include "norvexdata/pipenet/detail/Cells.h"
#include "norvexdata/pipenet/detail/PipeNetwork.h"

namespace norvex::pipenet {

// Numbered points, found again by place. Points that are not finite are near to nothing, themselves included.
class PointGrid {
  public:
    PointGrid() : m_grid(kPlaceTolerance) {}

    // The point gets the number of points added before it.
    void Add(const AcGePoint3d& point);
    Index Count() const { return static_cast<Index>(m_points.size()); }
    // The lowest number of a point at the place; kNone when there is none.
    Index FirstNear(const AcGePoint3d& point) const;

    // Calls visit with the number of every point at the place, in no particular order.
    template <class Visit>
    void ForEachNear(const AcGePoint3d& point, const Visit& visit) const {
        // Of points that are not finite there are no slots.
        if (m_slots.empty() || !IsFinite(point)) {
            return;
        }
        m_grid.ForEachWithinReach(point, [&](const Cell& cell) {
            for (Index number = m_slots[SlotOf(HashOf(cell))].first; number != kNone; number = m_next[number]) {
                if (CEntFindMethod::Is2PtNear(m_points[number], point, kPlaceTolerance)) {
                    visit(number);
                }
            }
        });
    }

  private:
    // The points of the cells with one hash, in the order of their numbers.
    struct Slot {
        std::uint64_t hash = 0;
        Index first = kNone;
        Index last = kNone;
    };

    // The slot of the hash, or the free one where it would go.
    std::size_t SlotOf(std::uint64_t hash) const;
    void Grow();

    CellGrid m_grid;
    std::vector<AcGePoint3d> m_points;
    std::vector<Index> m_next;
    std::vector<Slot> m_slots;
    std::size_t m_used = 0;
};

}  // namespace norvex::pipenet
