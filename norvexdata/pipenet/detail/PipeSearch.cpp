// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/detail/PipeSearch.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <unordered_set>

#include "norvexdata/entities/EntFindMethod.h"
#include "platform/zrow/ZrOwLines.h"

namespace norvex::pipenet {
namespace {

// Pipes whose ends are placed together, so that the memory of all their places is on its way at once.
constexpr std::size_t kBatch = 16;
// A cell with more places is dense: looking through them one by one takes longer than the work on one pipe.
constexpr std::size_t kDense = 64;

double ReachOf(const AcGeTol& tolerance) {
    // In this order a tolerance that is not a number gives the distance of one place.
    return std::max(kPlaceTolerance, tolerance.equalPoint());
}

bool SameBits(const AcGePoint3d& left, const AcGePoint3d& right) {
    return std::memcmp(&left.x, &right.x, sizeof left.x) == 0 && std::memcmp(&left.y, &right.y, sizeof left.y) == 0 &&
           std::memcmp(&left.z, &right.z, sizeof left.z) == 0;
}

// Half of the hash, so that a slot takes eight bytes. Cells may share it, and then their places are in one slot.
std::uint32_t ShortHashOf(const Cell& cell) {
    return static_cast<std::uint32_t>(HashOf(cell) >> 32);
}

void ReadEarly(const ZrOwEntity* entity) {
    if (entity == nullptr) {
        return;
    }
    // An entity spans about three cache lines; its class stands in the first, its points in the last.
    const char* start = reinterpret_cast<const char*>(entity);
    __builtin_prefetch(start);
    __builtin_prefetch(start + 64);
    __builtin_prefetch(start + 128);
}

}  // namespace

PipeSearch::PipeSearch(const std::vector<ZrOwEntity*>& pending)
    : m_grid(ReachOf(AcGeContext::gTol)),
      m_selfEqual(AcGePoint3d::kOrigin.isEqualTo(AcGePoint3d::kOrigin, AcGeContext::gTol)),
      m_dense(AcGeContext::gTol.equalPoint()) {
    const kernel::LargeVector<Index> placeOfEnd = GatherPlaces(pending);
    DropRepetitions();
    ListEnds(placeOfEnd);
}

kernel::LargeVector<Index> PipeSearch::GatherPlaces(const std::vector<ZrOwEntity*>& pending) {
    m_pipes.resize(pending.size());
    kernel::LargeVector<Index> placeOfEnd(2 * pending.size(), kNone);
    std::size_t slots = 64;
    while (slots < 2 * pending.size()) {
        slots *= 2;
    }
    m_slots.resize(slots);
    // A network has about as many places as pipes; loose pipes have twice as many.
    m_places.reserve(pending.size() + pending.size() / 16 + 16);

    std::array<Spot, 2 * kBatch> spots;
    std::array<std::size_t, 2 * kBatch> ends;
    for (std::size_t first = 0; first < pending.size(); first += kBatch) {
        const std::size_t last = std::min(first + kBatch, pending.size());
        for (std::size_t position = last; position < std::min(last + kBatch, pending.size()); ++position) {
            ReadEarly(pending[position]);
        }
        std::size_t count = 0;
        for (std::size_t position = first; position < last; ++position) {
            if (ZrOwPolyLine* pipe = ZrOwPolyLine::cast(pending[position])) {
                m_pipes[position].pipe = pipe;
                ends[count] = 2 * position;
                spots[count++] = SpotOf(pipe->GetStartPoint());
                ends[count] = 2 * position + 1;
                spots[count++] = SpotOf(pipe->GetEndPoint());
            }
        }
        for (std::size_t number = 0; number < count; ++number) {
            __builtin_prefetch(&m_slots[spots[number].hash & (m_slots.size() - 1)]);
        }
        for (std::size_t number = 0; number < count; ++number) {
            const Slot& slot = m_slots[SlotOf(spots[number].hash)];
            if (slot.place != kNone) {
                __builtin_prefetch(&m_places[slot.place]);
            }
        }
        for (std::size_t number = 0; number < count; ++number) {
            placeOfEnd[ends[number]] = PlaceOf(spots[number]);
        }
    }
    return placeOfEnd;
}

void PipeSearch::DropRepetitions() {
    auto lowest = ~std::uintptr_t{0};
    std::uintptr_t highest = 0;
    bool ascending = true;
    for (const Pipe& entry : m_pipes) {
        if (entry.pipe != nullptr) {
            const auto address = reinterpret_cast<std::uintptr_t>(entry.pipe);
            // Entities that a drawing made in one go ascend, and then none can be there twice.
            ascending = ascending && address > highest;
            lowest = std::min(lowest, address);
            highest = std::max(highest, address);
        }
    }
    if (ascending) {
        return;
    }
    const std::size_t span = (highest - lowest) / alignof(ZrOwPolyLine) + 1;
    if (span / 64 <= 8 * m_pipes.size()) {
        std::vector<bool> seen(span);
        for (Pipe& entry : m_pipes) {
            if (entry.pipe != nullptr) {
                auto flag = seen[(reinterpret_cast<std::uintptr_t>(entry.pipe) - lowest) / alignof(ZrOwPolyLine)];
                if (flag) {
                    entry.pipe = nullptr;
                }
                flag = true;
            }
        }
        return;
    }
    std::unordered_set<const ZrOwPolyLine*> seen;
    for (Pipe& entry : m_pipes) {
        if (entry.pipe != nullptr && !seen.insert(entry.pipe).second) {
            entry.pipe = nullptr;
        }
    }
}

void PipeSearch::ListEnds(const kernel::LargeVector<Index>& placeOfEnd) {
    const std::size_t pipes = m_pipes.size();
    const auto forEachEnd = [&](const auto& visit) {
        for (std::size_t pipe = 0; pipe < pipes; ++pipe) {
            const Index start = placeOfEnd[2 * pipe];
            const Index end = placeOfEnd[2 * pipe + 1];
            if (m_pipes[pipe].pipe != nullptr) {
                visit(start, End{static_cast<Index>(pipe), end});
                if (start != end) {
                    visit(end, End{static_cast<Index>(pipe), start});
                }
            }
        }
    };
    forEachEnd([&](Index place, const End&) { ++m_places[place].endCount; });
    Index total = 0;
    for (Place& place : m_places) {
        place.firstEnd = total;
        total += place.endCount;
        place.endCount = 0;
    }
    m_ends.resize(total);
    forEachEnd([&](Index number, const End& end) {
        Place& place = m_places[number];
        m_ends[place.firstEnd + place.endCount++] = end;
    });
}

PipeSearch::Spot PipeSearch::SpotOf(const AcGePoint3d& point) const {
    const Cell cell = m_grid.Of(point);
    return {point, ShortHashOf(cell),
            !m_grid.IsWellInside(point) && !(m_grid.Low(point) == cell && m_grid.High(point) == cell)};
}

Index PipeSearch::PlaceOf(const Spot& spot) {
    Slot& slot = m_slots[SlotOf(spot.hash)];
    const auto made = static_cast<Index>(m_places.size());
    Index next = kNoPlace;
    if (slot.place == kNone) {
        slot = {spot.hash, made};
        ++m_usedSlots;
    } else {
        std::size_t passed = 0;
        for (Index place = slot.place; place != kNoPlace; place = m_places[place].next) {
            if (SameBits(m_places[place].point, spot.point)) {
                return place;
            }
            if (++passed > kDense) {
                return PlaceOfDense(spot);
            }
        }
        // Behind the first place, which knows from here on that it is not alone.
        m_places[slot.place].crowded = 1;
        next = m_places[slot.place].next;
        m_places[slot.place].next = made & kNoPlace;
    }
    const bool crowded = spot.crossing || slot.place != made || !m_selfEqual || !IsFinite(spot.point);
    m_places.push_back({spot.point, next & kNoPlace, crowded ? 1u : 0u, 0, 0, kNone});
    if (2 * m_usedSlots > m_slots.size()) {
        GrowSlots();
    }
    return made;
}

Index PipeSearch::PlaceOfDense(const Spot& spot) {
    if (!m_dense.IsDense(spot.hash)) {
        m_dense.MakeDense(spot.hash);
        for (Index place = m_slots[SlotOf(spot.hash)].place; place != kNoPlace; place = m_places[place].next) {
            m_dense.All().Add(m_places[place].point, place);
        }
    }
    Index place = DensePlaceAt(spot.point);
    if (place == kNone) {
        place = static_cast<Index>(m_places.size());
        m_places.push_back({spot.point, kNoPlace, 1, 0, 0, kNone});
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
    const Slot& slot = m_slots[SlotOf(ShortHashOf(m_grid.Of(point)))];
    if (slot.place == kNone) {
        return kNone;
    }
    std::size_t passed = 0;
    for (Index place = slot.place; place != kNoPlace; place = m_places[place].next) {
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
        const Slot& slot = m_slots[SlotOf(hash)];
        for (Index place = slot.place == kNone ? kNoPlace : slot.place; place != kNoPlace;
             place = m_places[place].next) {
            visit(m_places[place]);
        }
    });
    return dense;
}

boost::shared_ptr<CCheckPipeLineNode> PipeSearch::MakeSeed(std::size_t position, CCheckPipeLineGraph& graph) {
    m_pool = Access::Pool(graph);
    const AcGePoint3d point = m_pipes[position].pipe->GetStartPoint();
    m_seedPlace = LookUpPlace(point);
    CCheckPipeLineNode* seed = m_pool->MakeNode(point);
    Access::Position(*seed) = kNone;
    return {m_pool, seed};
}

void PipeSearch::Grow(CCheckPipeLineNode& seed, CCheckPipeLineGraph& graph) {
    Open(seed, m_seedPlace);
    while (!m_frames.empty()) {
        Frame& frame = m_frames.back();
        if (frame.next == frame.end) {
            if (frame.found) {
                m_found.resize(frame.first);
            }
            m_frames.pop_back();
            continue;
        }
        const End end = frame.found ? m_found[frame.next] : m_ends[frame.next];
        CCheckPipeLineNode& node = *frame.node;
        ++frame.next;
        // A run of pipes needs no way back.
        if (frame.next == frame.end && !frame.found) {
            m_frames.pop_back();
        }
        Follow(end, node, graph);
    }
    Access::SetSearched(graph);
}

void PipeSearch::Close(const CCheckPipeLineGraph& graph) {
    m_firstEdge += static_cast<Index>(Access::Edges(graph).size());
    m_firstNode += static_cast<Index>(Access::Nodes(graph).size());
    m_pool.reset();
    m_dense.Nodes().Clear();
}

void PipeSearch::Open(CCheckPipeLineNode& node, Index place) {
    if (m_places[place].crowded) {
        const auto first = static_cast<Index>(m_found.size());
        FindPipes(Access::Point(node));
        m_frames.push_back({&node, first, first, static_cast<Index>(m_found.size()), true});
    } else {
        const Index first = m_places[place].firstEnd;
        m_frames.push_back({&node, first, first, first + m_places[place].endCount, false});
    }
    m_pool->AddList(node, m_frames.back().end - m_frames.back().next);
}

void PipeSearch::FindPipes(const AcGePoint3d& point) {
    const auto first = static_cast<std::ptrdiff_t>(m_found.size());
    const auto take = [&](const Place& place) {
        if (place.point.isEqualTo(point, AcGeContext::gTol)) {
            for (Index end = place.firstEnd; end < place.firstEnd + place.endCount; ++end) {
                m_found.push_back({m_ends[end].pipe, kNone});
            }
        }
    };
    if (ForEachPlaceInReach(point, take)) {
        m_dense.All().ForEachWithinReach(point, [&](Index place) { take(m_places[place]); });
    }
    std::sort(m_found.begin() + first, m_found.end(),
              [](const End& left, const End& right) { return left.pipe < right.pipe; });
    const auto same = [](const End& left, const End& right) { return left.pipe == right.pipe; };
    m_found.erase(std::unique(m_found.begin() + first, m_found.end(), same), m_found.end());
}

void PipeSearch::Follow(const End& end, CCheckPipeLineNode& node, CCheckPipeLineGraph& graph) {
    Pipe& entry = m_pipes[end.pipe];
    if (entry.edge != kNone) {
        if (entry.edge >= m_firstEdge) {
            m_pool->Append(node, entry.edge - m_firstEdge);
        }
        return;
    }
    CCheckPipeLineEdge* edge = m_pool->MakeEdge(entry.pipe);
    Access::Add(graph, edge);
    entry.edge = m_firstEdge + Access::Position(*edge);
    m_pool->Append(node, Access::Position(*edge));
    Access::SetPooledStart(*edge, &node);

    const Index far = end.far != kNone ? end.far : LookUpPlace(edge->GetSearchPoint(Access::Point(node)));
    CCheckPipeLineNode* farNode = NodeAt(far, graph);
    if (farNode != nullptr) {
        Access::SetPooledEnd(*edge, farNode);
        return;
    }
    farNode = m_pool->MakeNode(m_places[far].point);
    Access::Add(graph, farNode);
    m_places[far].node = m_firstNode + Access::Position(*farNode);
    if (m_dense.IsDense(ShortHashOf(m_grid.Of(m_places[far].point)))) {
        m_dense.Nodes().Add(m_places[far].point, far);
    }
    Access::SetPooledEnd(*edge, farNode);
    Open(*farNode, far);
}

CCheckPipeLineNode* PipeSearch::NodeAt(Index place, const CCheckPipeLineGraph& graph) const {
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
    return oldest == kNone || oldest < m_firstNode ? nullptr : Access::Nodes(graph)[oldest - m_firstNode];
}

}  // namespace norvex::pipenet
