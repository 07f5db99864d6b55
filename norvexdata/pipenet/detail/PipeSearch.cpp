// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/detail/PipeSearch.h"

#include <algorithm>
#include <array>
#include <bit>
#include <boost/make_shared.hpp>
#include <unordered_set>

#include "norvexdata/entities/EntFindMethod.h"
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

PipeSearch::PipeSearch(const std::vector<ZrOwEntity*>& pending)
    : m_pending(pending),
      m_order(OrderInSpace(pending)),
      m_grid(ReachOf(AcGeContext::gTol)),
      m_selfEqual(AcGePoint3d::kOrigin.isEqualTo(AcGePoint3d::kOrigin, AcGeContext::gTol)),
      m_isPending(pending.size(), 1),
      m_dense(AcGeContext::gTol.equalPoint()) {
    DropRepetitions();
    GatherPlaces();
    m_network.pipes.reserve(m_runs.size());
    m_network.ends.reserve(m_runs.size());
    m_network.points.reserve(m_places.size() + 1);
    m_network.listBegin.reserve(m_places.size() + 2);
    m_network.lists.reserve(2 * m_runs.size());
}

void PipeSearch::DropRepetitions() {
    auto lowest = ~std::uintptr_t{0};
    std::uintptr_t highest = 0;
    bool ascending = true;
    for (const ZrOwEntity* entity : m_pending) {
        const auto address = reinterpret_cast<std::uintptr_t>(entity);
        // Entities that a drawing made in one go ascend, and then none can be there twice.
        ascending = ascending && address > highest;
        lowest = std::min(lowest, address);
        highest = std::max(highest, address);
    }
    if (ascending) {
        return;
    }
    const std::size_t span = (highest - lowest) / alignof(ZrOwEntity) + 1;
    if (span / 64 <= 8 * m_pending.size()) {
        std::vector<bool> seen(span);
        for (std::size_t position = 0; position < m_pending.size(); ++position) {
            auto flag = seen[(reinterpret_cast<std::uintptr_t>(m_pending[position]) - lowest) / alignof(ZrOwEntity)];
            if (flag) {
                m_isPending[position] = 0;
            }
            flag = true;
        }
        return;
    }
    std::unordered_set<const ZrOwEntity*> seen;
    for (std::size_t position = 0; position < m_pending.size(); ++position) {
        if (!seen.insert(m_pending[position]).second) {
            m_isPending[position] = 0;
        }
    }
}

void PipeSearch::GatherPlaces() {
    const std::size_t count = m_pending.size();
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
            ReadEarly(m_pending[positionAt(turn)]);
        }
        const std::size_t firstRun = m_runs.size();
        const std::size_t mask = m_slots.size() - 1;
        std::size_t found = 0;
        for (std::size_t turn = first; turn < last; ++turn) {
            const std::size_t position = positionAt(turn);
            ZrOwPolyLine* pipe = m_isPending[position] ? ZrOwPolyLine::cast(m_pending[position]) : nullptr;
            if (pipe == nullptr) {
                m_isPending[position] = 0;
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

inline void PipeSearch::LinkEnd(Index end, Index place) {
    Run& run = m_runs[end / 2];
    run.place[end % 2] = place;
    // A pipe that comes back to its own start is there once.
    if (end % 2 == 0 || run.place[0] != place) {
        run.next[end % 2] = m_places[place].lastEnd;
        m_places[place].lastEnd = end & kNoEnd;
    }
}

inline PipeSearch::Spot PipeSearch::SpotOf(const AcGePoint3d& point) const {
    const auto [cell, inside] = m_grid.Locate(point);
    return {point, ShortHashOf(cell), inside};
}

bool PipeSearch::IsCrossing(const AcGePoint3d& point) const {
    const Cell cell = m_grid.Of(point);
    return !IsFinite(point) || !(m_grid.Low(point) == cell && m_grid.High(point) == cell);
}

inline Index PipeSearch::PlaceOf(const Spot& spot) {
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

void PipeSearch::SetNextInSlot(Index place, Index next) {
    if (place >= m_nextInSlot.size()) {
        m_nextInSlot.resize(place + std::size_t{1}, kNone);
    }
    m_nextInSlot[place] = next;
}

Index PipeSearch::PlaceOfDense(const Spot& spot) {
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

Index PipeSearch::DensePlaceAt(const AcGePoint3d& point) const {
    Index found = kNone;
    m_dense.All().ForEachWithinReach(point, [&](Index place) {
        if (SameBits(m_places[place].point, point)) {
            found = place;
        }
    });
    return found;
}

std::size_t PipeSearch::SlotOf(std::uint32_t hash) const {
    const std::size_t mask = m_slots.size() - 1;
    std::size_t position = hash & mask;
    while (m_slots[position].place != kNone && m_slots[position].hash != hash) {
        position = (position + 1) & mask;
    }
    return position;
}

void PipeSearch::GrowSlots() {
    kernel::LargeVector<Slot> old(2 * m_slots.size());
    old.swap(m_slots);
    for (const Slot& slot : old) {
        if (slot.place != kNone) {
            m_slots[SlotOf(slot.hash)] = slot;
        }
    }
}

Index PipeSearch::LookUpPlace(const AcGePoint3d& point) const {
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

template <class Visit>
bool PipeSearch::ForEachPlaceInReach(const AcGePoint3d& point, const Visit& visit) const {
    if (!IsFinite(point)) {
        return false;
    }
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

boost::shared_ptr<CCheckPipeLineNode> PipeSearch::MakeSeed(std::size_t position) const {
    return boost::make_shared<CCheckPipeLineNode>(ZrOwPolyLine::cast(m_pending[position])->GetStartPoint());
}

void PipeSearch::Grow(const CCheckPipeLineNode& seed, CCheckPipeLineGraph& graph) {
    Open(AddNode(seed.Point()), LookUpPlace(seed.Point()));
    while (!m_frames.empty()) {
        Frame& frame = m_frames.back();
        const Index node = frame.node;
        const Index entry = m_network.listBegin[node] + (frame.next - frame.first);
        const End end = m_found[frame.next++];
        // A run of pipes needs no way back.
        if (frame.next == frame.end) {
            m_found.resize(frame.first);
            m_frames.pop_back();
        }
        Follow(end, node, entry);
    }
    m_network.listBegin.push_back(static_cast<Index>(m_network.lists.size()));
    m_network.unlisted.assign(1, 0);
    m_network.apart = true;
    m_edgesGrown = static_cast<Index>(m_network.pipes.size());
    m_nodesGrown = static_cast<Index>(m_network.points.size());
    if (m_edgesGrown != 0) {
        // A network of most of the pipes is handed over as it lies, instead of a copy of the right size.
        Access::Fill(graph, m_edgesGrown > m_runs.size() / 4 * 3 ? std::move(m_network) : PipeNetwork(m_network));
    }
}

void PipeSearch::Close() {
    m_firstEdge += m_edgesGrown;
    m_firstNode += m_nodesGrown;
    m_network.pipes.clear();
    m_network.ends.clear();
    m_network.points.clear();
    m_network.listBegin.clear();
    m_network.lists.clear();
    m_dense.Nodes().Clear();
}

inline Index PipeSearch::AddNode(const AcGePoint3d& point) {
    m_network.points.push_back(point);
    return static_cast<Index>(m_network.points.size() - 1);
}

inline void PipeSearch::Open(Index node, Index place) {
    const auto first = static_cast<Index>(m_found.size());
    if (m_places[place].crowded) {
        FindEnds(m_network.points[node]);
    } else {
        TakeEnds(m_places[place], false);
    }
    const auto last = static_cast<Index>(m_found.size());
    if (last - first > 1) {
        PutInOrder(first);
    }
    m_network.listBegin.push_back(static_cast<Index>(m_network.lists.size()));
    m_network.lists.resize(m_network.lists.size() + (last - first));
    if (first != last) {
        m_frames.push_back({node, first, first, last});
    }
}

inline void PipeSearch::TakeEnds(const Place& place, bool ask) {
    for (Index end = place.lastEnd; end != kNoEnd;) {
        const Run& run = m_runs[end / 2];
        // Not those of an earlier graph.
        if (run.edge == kNone || run.edge >= m_firstEdge) {
            m_found.push_back({end / 2, ask ? kNone : run.place[1 - end % 2]});
        }
        end = run.next[end % 2];
    }
}

void PipeSearch::FindEnds(const AcGePoint3d& point) {
    const auto first = static_cast<std::ptrdiff_t>(m_found.size());
    const auto take = [&](const Place& place) {
        if (place.point.isEqualTo(point, AcGeContext::gTol)) {
            TakeEnds(place, true);
        }
    };
    if (ForEachPlaceInReach(point, take)) {
        m_dense.All().ForEachWithinReach(point, [&](Index place) { take(m_places[place]); });
    }
    // The newest first, as in the list of one place.
    const auto before = [](const End& left, const End& right) { return left.run > right.run; };
    const auto same = [](const End& left, const End& right) { return left.run == right.run; };
    std::sort(m_found.begin() + first, m_found.end(), before);
    m_found.erase(std::unique(m_found.begin() + first, m_found.end(), same), m_found.end());
}

inline void PipeSearch::PutInOrder(Index first) {
    // The newest come first in the list of a place.
    std::reverse(m_found.begin() + first, m_found.end());
    if (!m_order.empty()) {
        std::sort(m_found.begin() + first, m_found.end(), [this](const End& left, const End& right) {
            return m_runs[left.run].position < m_runs[right.run].position;
        });
    }
}

inline void PipeSearch::Follow(const End& end, Index node, Index entry) {
    Run& run = m_runs[end.run];
    if (run.edge != kNone) {
        m_network.lists[entry] = run.edge - m_firstEdge;
        return;
    }
    const auto edge = static_cast<Index>(m_network.pipes.size());
    run.edge = m_firstEdge + edge;
    m_isPending[run.position] = 0;
    m_network.pipes.push_back(run.pipe);
    m_network.lists[entry] = edge;

    const Index far =
        end.far != kNone ? end.far : LookUpPlace(CCheckPipeLineEdge(run.pipe).GetSearchPoint(m_network.points[node]));
    const Index farNode = NodeAt(far);
    if (farNode != kNone) {
        m_network.ends.push_back({node, farNode});
        return;
    }
    const Index made = AddNode(m_places[far].point);
    m_network.ends.push_back({node, made});
    m_places[far].node = m_firstNode + made;
    if (m_dense.Any() && m_dense.IsDense(ShortHashOf(m_grid.Of(m_places[far].point)))) {
        m_dense.Nodes().Add(m_places[far].point, far);
    }
    Open(made, far);
}

inline Index PipeSearch::NodeAt(Index place) const {
    Index oldest = kNone;
    if (!m_places[place].crowded) {
        oldest = m_places[place].node;
    } else {
        const AcGePoint3d& point = m_places[place].point;
        const auto compare = [&](const Place& other) {
            if (other.node >= m_firstNode && other.node < oldest &&
                CEntFindMethod::Is2PtNear(other.point, point, kPlaceTolerance)) {
                oldest = other.node;
            }
        };
        if (ForEachPlaceInReach(point, compare)) {
            m_dense.Nodes().ForEachWithinReach(point, [&](Index other) { compare(m_places[other]); });
        }
    }
    return oldest == kNone || oldest < m_firstNode ? kNone : oldest - m_firstNode;
}

}  // namespace norvex::pipenet
