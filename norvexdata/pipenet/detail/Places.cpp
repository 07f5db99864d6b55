// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/detail/Places.h"

#include <algorithm>
#include <array>
#include <bit>
#include <unordered_set>

#include "norvexdata/pipenet/detail/OrderInSpace.h"
#include "platform/zrow/ZrOwLines.h"

namespace norvex::pipenet {
namespace {

// Pipes whose ends are placed together, so that the memory of all their places is on its way at once.
constexpr std::size_t kBatch = 16;
// How many ends back an end is compared before its place is looked up.
constexpr std::size_t kBack = 4;
// A cell with more places is dense: looking through them one by one takes longer than the work on one pipe.
constexpr std::size_t kDense = 64;

double ReachOf(const AcGeTol& tolerance) {
    // In this order a tolerance that is not a number gives the distance of one place.
    return std::max(kPlaceTolerance, tolerance.equalPoint());
}

inline bool SameBits(const AcGePoint3d& left, const AcGePoint3d& right) {
    using Bits = std::array<std::uint64_t, 3>;
    const auto leftBits = std::bit_cast<Bits>(left);
    const auto rightBits = std::bit_cast<Bits>(right);
    return ((leftBits[0] ^ rightBits[0]) | (leftBits[1] ^ rightBits[1]) | (leftBits[2] ^ rightBits[2])) == 0;
}

}  // namespace

Places::Places(const std::vector<ZrOwEntity*>& list)
    : m_isRun(list.size(), 1),
      m_order(OrderInSpace(list)),
      m_grid(ReachOf(AcGeContext::gTol)),
      m_selfEqual(AcGePoint3d::kOrigin.isEqualTo(AcGePoint3d::kOrigin, AcGeContext::gTol)),
      m_dense(AcGeContext::gTol.equalPoint()) {
    DropRepetitions(list);
    Gather(list);
}

void Places::DropRepetitions(const std::vector<ZrOwEntity*>& list) {
    auto lowest = ~std::uintptr_t{0};
    std::uintptr_t highest = 0;
    bool ascending = true;
    for (const ZrOwEntity* entity : list) {
        if (entity != nullptr) {
            const auto address = reinterpret_cast<std::uintptr_t>(entity);
            // Entities that a drawing made in one go ascend, and then none can be there twice.
            ascending = ascending && address > highest;
            lowest = std::min(lowest, address);
            highest = std::max(highest, address);
        }
    }
    if (ascending) {
        return;
    }
    const auto dropRepeated = [&](const auto& isRepeated) {
        for (std::size_t position = 0; position < list.size(); ++position) {
            if (list[position] != nullptr && isRepeated(list[position])) {
                m_isRun[position] = 0;
            }
        }
    };
    const std::size_t span = (highest - lowest) / alignof(ZrOwEntity) + 1;
    if (span / 64 <= 8 * list.size()) {
        std::vector<bool> seen(span);
        dropRepeated([&](const ZrOwEntity* entity) {
            auto flag = seen[(reinterpret_cast<std::uintptr_t>(entity) - lowest) / alignof(ZrOwEntity)];
            const bool before = flag;
            flag = true;
            return before;
        });
    } else {
        std::unordered_set<const ZrOwEntity*> seen;
        dropRepeated([&](const ZrOwEntity* entity) { return !seen.insert(entity).second; });
    }
}

void Places::Gather(const std::vector<ZrOwEntity*>& list) {
    const std::size_t count = list.size();
    const auto positionAt = [this](std::size_t turn) { return m_order.empty() ? turn : m_order[turn]; };
    std::size_t slots = 64;
    while (slots < 2 * count) {
        slots *= 2;
    }
    m_slots.resize(slots);
    m_runs.reserve(count);
    // A network has about as many places as pipes; loose pipes have twice as many.
    m_places.reserve(count + count / 16 + 16);

    std::array<Spot, 2 * kBatch> spots;
    std::array<Index, 2 * kBatch> places;
    // Which earlier spot of the batch is the same; itself without one.
    std::array<std::size_t, 2 * kBatch> same;
    for (std::size_t first = 0; first < count; first += kBatch) {
        const std::size_t last = std::min(first + kBatch, count);
        for (std::size_t turn = last; turn < std::min(last + kBatch, count); ++turn) {
            ReadEarly(list[positionAt(turn)]);
        }
        const std::size_t firstRun = m_runs.size();
        const std::size_t mask = m_slots.size() - 1;
        std::size_t found = 0;
        for (std::size_t turn = first; turn < last; ++turn) {
            const std::size_t position = positionAt(turn);
            ZrOwPolyLine* pipe = m_isRun[position] ? ZrOwPolyLine::cast(list[position]) : nullptr;
            if (pipe == nullptr) {
                m_isRun[position] = 0;
                continue;
            }
            m_runs.push_back({pipe, {kNone, kNone}, {kNoEnd, kNoEnd}, kNone, static_cast<Index>(position)});
            const AcGePoint3d start = pipe->GetStartPoint();
            same[found] = found;
            // A run of pipes goes on where it was, and a branch begins a little before.
            for (std::size_t back = 1; back <= std::min(found, kBack); ++back) {
                if (SameBits(spots[found - back].point, start)) {
                    same[found] = same[found - back];
                    break;
                }
            }
            spots[found].point = start;
            if (same[found] == found) {
                spots[found] = SpotOf(start);
                __builtin_prefetch(&m_slots[spots[found].hash & mask]);
            }
            ++found;
            same[found] = found;
            spots[found] = SpotOf(pipe->GetEndPoint());
            __builtin_prefetch(&m_slots[spots[found].hash & mask]);
            ++found;
        }
        for (std::size_t number = 0; number < found; ++number) {
            if (same[number] == number) {
                const Slot& slot = m_slots[SlotOf(spots[number].hash)];
                if (slot.place != kNone) {
                    __builtin_prefetch(&m_places[slot.place]);
                }
            }
        }
        for (std::size_t number = 0; number < found; ++number) {
            places[number] = same[number] == number ? PlaceOf(spots[number]) : places[same[number]];
            LinkEnd(static_cast<Index>(2 * firstRun + number), places[number]);
        }
    }
}

inline void Places::LinkEnd(Index end, Index place) {
    Run& run = m_runs[end / 2];
    run.place[end % 2] = place;
    // A pipe that comes back to its own start is there once.
    if (end % 2 == 0 || run.place[0] != place) {
        run.next[end % 2] = m_places[place].lastEnd;
        m_places[place].lastEnd = end & kNoEnd;
    }
}

inline Places::Spot Places::SpotOf(const AcGePoint3d& point) const {
    const auto [cell, inside] = m_grid.Locate(point);
    return {point, ShortHashOf(cell), inside};
}

bool Places::IsCrossing(const AcGePoint3d& point) const {
    const Cell cell = m_grid.Of(point);
    return !IsFinite(point) || !(m_grid.Low(point) == cell && m_grid.High(point) == cell);
}

inline Index Places::PlaceOf(const Spot& spot) {
    Slot& slot = m_slots[SlotOf(spot.hash)];
    const auto made = static_cast<Index>(m_places.size());
    bool crowded = true;
    if (slot.place == kNone) {
        crowded = !m_selfEqual || (!spot.inside && IsCrossing(spot.point));
        slot = {spot.hash, made};
        ++m_usedSlots;
    } else {
        std::size_t passed = 0;
        for (Index place = slot.place; place != kNone; place = NextInSlot(place)) {
            if (SameBits(m_places[place].point, spot.point)) {
                return place;
            }
            if (++passed > kDense) {
                return PlaceOfDense(spot);
            }
        }
        // Behind the first place, which knows from here on that it is not alone.
        m_places[slot.place].crowded = 1;
        const Index next = NextInSlot(slot.place);
        SetNextInSlot(made, next);
        SetNextInSlot(slot.place, made);
    }
    m_places.push_back({spot.point, kNoEnd, crowded ? 1u : 0u, kNone});
    if (2 * m_usedSlots > m_slots.size()) {
        GrowSlots();
    }
    return made;
}

void Places::SetNextInSlot(Index place, Index next) {
    if (place >= m_nextInSlot.size()) {
        m_nextInSlot.resize(place + std::size_t{1}, kNone);
    }
    m_nextInSlot[place] = next;
}

Index Places::PlaceOfDense(const Spot& spot) {
    if (!m_dense.IsDense(spot.hash)) {
        m_dense.MakeDense(spot.hash);
        for (Index place = m_slots[SlotOf(spot.hash)].place; place != kNone; place = NextInSlot(place)) {
            m_dense.All().Add(m_places[place].point, place);
        }
    }
    Index place = DensePlaceAt(spot.point);
    if (place == kNone) {
        place = static_cast<Index>(m_places.size());
        m_places.push_back({spot.point, kNoEnd, 1, kNone});
        m_dense.All().Add(spot.point, place);
    }
    return place;
}

Index Places::DensePlaceAt(const AcGePoint3d& point) const {
    Index found = kNone;
    m_dense.All().ForEachWithinReach(point, [&](Index place) {
        if (SameBits(m_places[place].point, point)) {
            found = place;
        }
    });
    return found;
}

std::size_t Places::SlotOf(std::uint32_t hash) const {
    const std::size_t mask = m_slots.size() - 1;
    std::size_t position = hash & mask;
    while (m_slots[position].place != kNone && m_slots[position].hash != hash) {
        position = (position + 1) & mask;
    }
    return position;
}

void Places::GrowSlots() {
    kernel::LargeVector<Slot> old(2 * m_slots.size());
    old.swap(m_slots);
    for (const Slot& slot : old) {
        if (slot.place != kNone) {
            m_slots[SlotOf(slot.hash)] = slot;
        }
    }
}

Index Places::LookUp(const AcGePoint3d& point) const {
    std::size_t passed = 0;
    for (Index place = m_slots[SlotOf(ShortHashOf(m_grid.Of(point)))].place; place != kNone;
         place = NextInSlot(place)) {
        if (SameBits(m_places[place].point, point)) {
            return place;
        }
        if (++passed > kDense) {
            return DensePlaceAt(point);
        }
    }
    return kNone;
}

}  // namespace norvex::pipenet
