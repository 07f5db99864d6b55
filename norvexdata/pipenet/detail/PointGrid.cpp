// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/detail/PointGrid.h"

#include <algorithm>

namespace norvex::pipenet {

void PointGrid::Add(const AcGePoint3d& point) {
    const Index number = Count();
    m_points.push_back(point);
    m_next.push_back(kNone);
    if (!IsFinite(point)) {
        return;
    }
    if (2 * (m_used + 1) > m_slots.size()) {
        Grow();
    }
    const std::uint64_t hash = HashOf(m_grid.Of(point));
    Slot& slot = m_slots[SlotOf(hash)];
    if (slot.first == kNone) {
        slot = {hash, number, number};
        ++m_used;
    } else {
        m_next[slot.last] = number;
        slot.last = number;
    }
}

Index PointGrid::FirstNear(const AcGePoint3d& point) const {
    Index first = kNone;
    if (m_slots.empty() || !IsFinite(point)) {
        return first;
    }
    m_grid.ForEachWithinReach(point, [&](const Cell& cell) {
        // Numbers ascend along a cell, so that its first match is its lowest.
        for (Index number = m_slots[SlotOf(HashOf(cell))].first; number < first; number = m_next[number]) {
            if (CEntFindMethod::Is2PtNear(m_points[number], point, kPlaceTolerance)) {
                first = number;
            }
        }
    });
    return first;
}

std::size_t PointGrid::SlotOf(std::uint64_t hash) const {
    const std::size_t mask = m_slots.size() - 1;
    std::size_t position = static_cast<std::size_t>(hash) & mask;
    while (m_slots[position].first != kNone && m_slots[position].hash != hash) {
        position = (position + 1) & mask;
    }
    return position;
}

void PointGrid::Grow() {
    std::vector<Slot> old(std::max<std::size_t>(64, 2 * m_slots.size()));
    old.swap(m_slots);
    for (const Slot& slot : old) {
        if (slot.first != kNone) {
            m_slots[SlotOf(slot.hash)] = slot;
        }
    }
}

}  // namespace norvex::pipenet
