// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/detail/LoopFinder.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "norvexdata/entities/EntFindMethod.h"
#include "norvexdata/pipenet/detail/Blocks.h"
#include "norvexdata/pipenet/detail/PointGrid.h"
#include "platform/zrow/ZrOwLines.h"

namespace norvex::pipenet {
namespace {

// Two pipes between the same places count as one drawn twice when their lengths differ by less, in drawing units.
constexpr double kSameLength = 0.001;
// A part is split anew when its walks have wasted this many steps for each of its edges: a split costs about as much.
constexpr std::uint64_t kWastePerEdge = 4;
// The whole network is split when one walk has wasted as many steps as it has edges, divided by this.
constexpr std::uint64_t kWholeByWaste = 4;
// Steps are erased from lists of up to this length: they are short against the walk that has just passed.
constexpr Index kShortList = 8;
// Edges of a path whose memory is on its way while an earlier one is taken out.
constexpr std::size_t kReadAhead = 8;
// A walk shorter than this arrives before a look back from its end would pay.
constexpr std::uint64_t kStepsBeforeLook = 32;
// Up to this many unlisted nodes are compared with all others one by one; a search leaves one.
constexpr std::size_t kFewNodes = 4;

}  // namespace

LoopFinder::LoopFinder(const PipeNetwork& network) : m_network(network) {
    ReadEdges();
    GroupNearNodes();
    StripTrees();
    MakeWhole();
}

void LoopFinder::AppendLoops(std::vector<std::vector<ZrOwEntity*>>& loops) {
    std::vector<ZrOwEntity*> loop;
    for (Index edge = 0; edge < m_network.pipes.size(); ++edge) {
        if (m_remains[edge]) {
            loop.clear();
            FindLoop(edge, loop);
            if (!loop.empty()) {
                loops.push_back(loop);
            }
        }
    }
}

void LoopFinder::ReadEdges() {
    // Lists do not change while loops are looked for, so that taking the edges at dead ends away once does for all.
    // Nothing is near a point that is not finite, so no step leads on from there and no walk arrives.
    const auto leadsOn = [this](Index node) {
        return node != kNone && m_network.ListSize(node) != 1 && IsFinite(PointOf(node));
    };
    const std::size_t count = m_network.pipes.size();
    m_remains.resize(count);
    for (Index edge = 0; edge < count; ++edge) {
        m_remains[edge] = leadsOn(StartOf(edge)) && leadsOn(EndOf(edge)) ? kOpen : kGone;
    }
}

void LoopFinder::GroupNearNodes() {
    const auto nodes = static_cast<Index>(m_network.points.size());
    if (m_network.apart && m_network.unlisted.size() <= kFewNodes) {
        for (const Index unlisted : m_network.unlisted) {
            const AcGePoint3d& point = PointOf(unlisted);
            for (Index node = 0; node < nodes; ++node) {
                // One coordinate tells most of them apart.
                if (std::abs(PointOf(node).x - point.x) <= kPlaceTolerance && node != unlisted &&
                    CEntFindMethod::Is2PtNear(PointOf(node), point, kPlaceTolerance)) {
                    Join(node, unlisted);
                }
            }
        }
    } else {
        PointGrid grid;
        kernel::LargeVector<Index> nodeOf;
        for (Index node = 0; node < nodes; ++node) {
            bool known = false;
            grid.ForEachNear(PointOf(node), [&](Index number) {
                Join(node, nodeOf[number]);
                known = known || PointOf(node).distanceTo(PointOf(nodeOf[number])) == 0.0;
            });
            // Many nodes at exactly one point are as good as one.
            if (!known) {
                grid.Add(PointOf(node));
                nodeOf.push_back(node);
            }
        }
    }
    m_joins.resize(nodes);
    for (Index node = 0; node < m_site.size(); ++node) {
        const Index site = m_site[node] = SiteOf(node);
        if (site != node) {
            m_joins[site] = 1;
        }
    }
    for (Index node = 0; node < m_site.size(); ++node) {
        if (m_joins[m_site[node]]) {
            m_siteNodes[m_site[node]].push_back(node);
        }
    }
}

void LoopFinder::Join(Index left, Index right) {
    if (m_site.empty()) {
        m_site.resize(m_network.points.size());
        for (Index node = 0; node < m_network.points.size(); ++node) {
            m_site[node] = node;
        }
    }
    left = SiteOf(left);
    right = SiteOf(right);
    m_site[std::max(left, right)] = std::min(left, right);
}

inline Index LoopFinder::SiteOf(Index node) const {
    if (m_site.empty()) {
        return node;
    }
    while (m_site[node] != node) {
        node = m_site[node];
    }
    return node;
}

inline bool LoopFinder::IsNear(Index left, Index right) const {
    if (left == right) {
        return true;
    }
    return SiteOf(left) == SiteOf(right) && CEntFindMethod::Is2PtNear(PointOf(left), PointOf(right), kPlaceTolerance);
}

inline Index LoopFinder::FarNode(Index node, Index edge) const {
    if (IsNear(StartOf(edge), node)) {
        return EndOf(edge);
    }
    return IsNear(EndOf(edge), node) ? StartOf(edge) : kNone;
}

void LoopFinder::StripTrees() {
    const auto edges = static_cast<Index>(m_network.pipes.size());
    const auto nodes = static_cast<Index>(m_network.points.size());
    struct Site {
        Index degree;
        // The numbers of its edges, combined by exclusive or.
        Index combined;
    };
    kernel::LargeVector<Site> sites(nodes);
    for (Index edge = 0; edge < edges; ++edge) {
        if (m_remains[edge]) {
            const Index start = SiteOf(StartOf(edge));
            const Index end = SiteOf(EndOf(edge));
            if (start == end) {
                if (m_siteNodes.count(start) == 0) {
                    m_remains[edge] = kClosed;
                    continue;
                }
                m_joins[start] = 1;
            }
            ++sites[start].degree;
            sites[start].combined ^= edge;
            ++sites[end].degree;
            sites[end].combined ^= edge;
        }
    }
    for (Index first = 0; first < nodes; ++first) {
        for (Index site = first; sites[site].degree == 1;) {
            const Index edge = sites[site].combined;
            const Index start = SiteOf(StartOf(edge));
            const Index other = start == site ? SiteOf(EndOf(edge)) : start;
            if (m_joins[other]) {
                break;
            }
            m_remains[edge] = kGone;
            sites[site].degree = 0;
            --sites[other].degree;
            sites[other].combined ^= edge;
            site = other;
        }
    }
}

void LoopFinder::MakeWhole() {
    kernel::LargeVector<Index> edges;
    edges.reserve(static_cast<std::size_t>(std::count(m_remains.begin(), m_remains.end(), kOpen)));
    for (Index edge = 0; edge < m_network.pipes.size(); ++edge) {
        if (m_remains[edge] == kOpen) {
            edges.push_back(edge);
        }
    }
    m_seats.resize(m_network.pipes.size());
    if (edges.empty()) {
        return;
    }
    m_isBridge.resize(m_network.pipes.size());
    m_walkable.resize(m_network.pipes.size());
    m_stopOf.resize(m_network.points.size());
    m_stopPart.resize(m_network.points.size(), kNone);
    const auto count = static_cast<Index>(edges.size());
    const std::shared_ptr<Batch> batch = std::make_shared<Batch>();
    batch->edges = std::move(edges);
    for (const Index edge : batch->edges) {
        m_seats[edge].part = 0;
    }
    m_parts.push_back({batch, 0, 0, 0, count, count, count, 0, true, true, kNone});
    m_blocks = 1;
    MakeStops(*batch, 0);
    ReadLists(*batch);
    ListNamed(*batch);
    FixStops(*batch);
}

void LoopFinder::ReadLists(Batch& batch) {
    batch.steps.reserve(2 * batch.edges.size());
    for (Stop& stop : batch.stops) {
        stop.begin = static_cast<Index>(batch.steps.size());
        for (Index entry = m_network.listBegin[stop.node]; entry < m_network.listBegin[stop.node + 1]; ++entry) {
            ReadEntry(batch, stop.node, m_network.lists[entry]);
        }
        stop.end = static_cast<Index>(batch.steps.size());
    }
}

inline void LoopFinder::ReadEntry(Batch& batch, Index node, Index edge) {
    if (edge == kNone || m_remains[edge] != kOpen) {
        return;
    }
    const Index far = FarNode(node, edge);
    if (far != kNone) {
        batch.steps.push_back({edge, m_stopOf[far]});
        MarkWalkable(edge, SiteOf(node) == SiteOf(StartOf(edge)), SiteOf(node) == SiteOf(EndOf(edge)));
    }
}

void LoopFinder::Split(kernel::LargeVector<Index>&& edges, const Lists& lists) {
    m_work.edgesSplit += edges.size();
    const auto firstPart = static_cast<Index>(m_parts.size());
    const kernel::LargeVector<Index> partOf = PartsOf(edges);
    if (m_parts.size() == firstPart) {
        return;
    }
    const std::shared_ptr<Batch> batch = std::make_shared<Batch>();
    Index total = 0;
    for (std::size_t part = firstPart; part < m_parts.size(); ++part) {
        m_parts[part].batch = batch;
        m_parts[part].firstEdge = m_parts[part].lastEdge = total;
        total += m_parts[part].remaining;
    }
    batch->edges.resize(total);
    for (std::size_t position = 0; position < edges.size(); ++position) {
        const Index part = partOf[position];
        m_seats[edges[position]].part = part;
        if (part != kNone) {
            batch->edges[m_parts[part].lastEdge++] = edges[position];
        }
    }
    MakeStops(*batch, firstPart);
    MakeSteps(*batch, lists);
    FindWalkable(*batch);
    ListNamed(*batch);
    ListHubSteps(*batch, firstPart);
    FixStops(*batch);
}

kernel::LargeVector<Index> LoopFinder::PartsOf(const kernel::LargeVector<Index>& edges) {
    kernel::LargeVector<Link> links;
    links.reserve(edges.size());
    for (const Index edge : edges) {
        links.push_back({SiteOf(StartOf(edge)), SiteOf(EndOf(edge))});
    }
    const Blocks blocks = FindBlocks(links, m_stopOf, m_joins);
    struct Candidate {
        Index edges = 0;
        bool closes = false;
        Index hub = kNone;
        Index hubs = 0;
        Index part = kNone;
    };
    std::vector<Candidate> candidates(blocks.parts);
    for (std::size_t position = 0; position < edges.size(); ++position) {
        Candidate& candidate = candidates[blocks.partOfBlock[blocks.blockOf[position]]];
        ++candidate.edges;
        candidate.closes = candidate.closes || !blocks.isBridge[blocks.blockOf[position]];
    }
    for (const auto& [site, part] : blocks.joined) {
        candidates[part].hub = site;
        ++candidates[part].hubs;
    }
    kernel::LargeVector<Index> partOf(edges.size(), kNone);
    for (std::size_t position = 0; position < edges.size(); ++position) {
        const Index edge = edges[position];
        const Index block = blocks.blockOf[position];
        Candidate& candidate = candidates[blocks.partOfBlock[block]];
        if (!candidate.closes || candidate.edges == 1) {
            m_remains[edge] = kGone;
            continue;
        }
        if (candidate.part == kNone) {
            candidate.part = static_cast<Index>(m_parts.size());
            const Index hub = candidate.hubs == 1 ? candidate.hub : kNone;
            m_parts.push_back({nullptr, 0, 0, 0, 0, candidate.edges, candidate.edges, 0, false, true, hub});
        }
        partOf[position] = candidate.part;
        m_seats[edge].block = m_blocks + block;
        m_isBridge[edge] = blocks.isBridge[block];
    }
    m_blocks += static_cast<Index>(blocks.isBridge.size());
    return partOf;
}

void LoopFinder::MakeStops(Batch& batch, Index firstPart) {
    // A part has at most one node more than edges; where loops are many, it has far fewer.
    batch.stops.reserve(std::min(batch.edges.size() + 1, m_network.points.size()));
    for (Index number = firstPart; number < m_parts.size(); ++number) {
        Part& part = m_parts[number];
        part.firstStop = static_cast<Index>(batch.stops.size());
        for (Index position = part.firstEdge; position < part.lastEdge; ++position) {
            const Index edge = batch.edges[position];
            m_seats[edge].startStop = StopFor(batch, StartOf(edge), number);
            m_seats[edge].endStop = StopFor(batch, EndOf(edge), number);
            CountDegrees(batch, edge);
        }
        part.lastStop = static_cast<Index>(batch.stops.size());
    }
    batch.marks.resize(batch.stops.size());
    batch.looks.resize(batch.stops.size());
}

inline void LoopFinder::CountDegrees(Batch& batch, Index edge) {
    for (const Index number : {m_seats[edge].startStop, m_seats[edge].endStop}) {
        Stop& stop = batch.stops[number];
        ++stop.named;
        Stop& site = batch.stops[stop.site];
        ++site.degree;
        site.combined ^= edge;
    }
}

inline Index LoopFinder::StopFor(Batch& batch, Index node, Index part) {
    if (m_stopPart[node] != part) {
        if (m_joins[SiteOf(node)] && m_siteNodes.count(SiteOf(node)) != 0) {
            AddSiteStops(batch, node, part);
        } else {
            const auto made = static_cast<Index>(batch.stops.size());
            AddStop(batch, node, part, made, made);
        }
    }
    return m_stopOf[node];
}

void LoopFinder::AddSiteStops(Batch& batch, Index node, Index part) {
    // All nodes of the site at once: each may list edges that name only another of them.
    const auto first = static_cast<Index>(batch.stops.size());
    for (const Index member : m_siteNodes.at(SiteOf(node))) {
        AddStop(batch, member, part, first, static_cast<Index>(batch.stops.size()) + 1);
    }
    batch.stops.back().nextOfSite = first;
}

inline void LoopFinder::AddStop(Batch& batch, Index node, Index part, Index site, Index next) {
    m_stopPart[node] = part;
    m_stopOf[node] = static_cast<Index>(batch.stops.size());
    batch.stops.push_back({node, site, next, 0, 0, 0, 0, 0, 0});
}

void LoopFinder::MakeSteps(Batch& batch, const Lists& lists) {
    const auto stopOf = [this](Index node, Index edge) {
        const Seat& seat = m_seats[edge];
        return StartOf(edge) == node ? seat.startStop : EndOf(edge) == node ? seat.endStop : m_stopOf[node];
    };
    for (std::size_t list = 0; list < lists.nodes.size(); ++list) {
        for (Index position = lists.begin[list]; position < lists.begin[list + 1]; ++position) {
            const Index edge = lists.steps[position].edge;
            if (m_remains[edge]) {
                ++batch.stops[stopOf(lists.nodes[list], edge)].end;
            }
        }
    }
    Index total = 0;
    for (Stop& stop : batch.stops) {
        const Index steps = stop.end;
        stop.begin = stop.end = total;
        total += steps;
    }
    batch.steps.resize(total);
    for (std::size_t list = 0; list < lists.nodes.size(); ++list) {
        for (Index position = lists.begin[list]; position < lists.begin[list + 1]; ++position) {
            const auto [edge, far] = lists.steps[position];
            if (m_remains[edge]) {
                const Index farStop = far == EndOf(edge) ? m_seats[edge].endStop : m_seats[edge].startStop;
                batch.steps[batch.stops[stopOf(lists.nodes[list], edge)].end++] = {edge, farStop};
            }
        }
    }
}

void LoopFinder::FindWalkable(const Batch& batch) {
    for (const Index edge : batch.edges) {
        m_walkable[edge] = 0;
    }
    for (const Stop& stop : batch.stops) {
        for (Index position = stop.begin; position < stop.end; ++position) {
            const Index edge = batch.steps[position].edge;
            MarkWalkable(edge, stop.site == batch.stops[m_seats[edge].startStop].site,
                         stop.site == batch.stops[m_seats[edge].endStop].site);
        }
    }
}

inline void LoopFinder::MarkWalkable(Index edge, bool fromStart, bool fromEnd) {
    m_walkable[edge] = static_cast<unsigned char>(m_walkable[edge] | (fromStart ? 1 : 0) | (fromEnd ? 2 : 0));
}

void LoopFinder::ListNamed(Batch& batch) {
    bool all = true;
    for (const Index edge : batch.edges) {
        if (m_walkable[edge] != 3) {
            all = m_parts[m_seats[edge].part].mutual = false;
        }
    }
    if (all) {
        return;
    }
    const auto forEachStep = [&](const auto& visit) {
        for (const Index edge : batch.edges) {
            const Seat& seat = m_seats[edge];
            if (!m_parts[seat.part].mutual) {
                visit(seat.startStop, Step{edge, seat.endStop});
                visit(seat.endStop, Step{edge, seat.startStop});
            }
        }
    };
    batch.namedBegin.resize(batch.stops.size());
    batch.namedEnd.resize(batch.stops.size());
    forEachStep([&](Index stop, const Step&) { ++batch.namedEnd[stop]; });
    Index total = 0;
    for (std::size_t stop = 0; stop < batch.stops.size(); ++stop) {
        batch.namedBegin[stop] = total;
        total += batch.namedEnd[stop];
        batch.namedEnd[stop] = batch.namedBegin[stop];
    }
    batch.namedSteps.resize(total);
    forEachStep([&](Index stop, const Step& step) { batch.namedSteps[batch.namedEnd[stop]++] = step; });
}

void LoopFinder::ListHubSteps(Batch& batch, Index firstPart) {
    for (Index part = firstPart; part < m_parts.size(); ++part) {
        if (m_parts[part].hub == kNone) {
            continue;
        }
        const Index first = batch.stops[m_stopOf[m_parts[part].hub]].site;
        Index number = first;
        do {
            Stop& stop = batch.stops[number];
            stop.fixed = 1;
            for (Index position = stop.begin; position < stop.end; ++position) {
                batch.hubSteps.push_back({number, m_seats[batch.steps[position].edge].block, position});
            }
            number = stop.nextOfSite;
        } while (number != first);
    }
    std::sort(batch.hubSteps.begin(), batch.hubSteps.end());
}

void LoopFinder::FixStops(Batch& batch) {
    bool any = false;
    for (Stop& stop : batch.stops) {
        if (stop.end - stop.begin > kShortList) {
            stop.fixed = 1;
        }
        any = any || stop.fixed;
    }
    if (!any) {
        return;
    }
    batch.onward.resize(batch.steps.size());
    for (const Stop& stop : batch.stops) {
        for (Index position = stop.begin; stop.fixed && position < stop.end; ++position) {
            batch.onward[position] = position + 1;
        }
    }
}

void LoopFinder::SplitAgain(Index number) {
    std::shared_ptr<Batch> old = std::move(m_parts[number].batch);
    const Part& part = m_parts[number];
    kernel::LargeVector<Index> edges;
    edges.reserve(part.remaining);
    for (Index position = part.firstEdge; position < part.lastEdge; ++position) {
        if (m_remains[old->edges[position]]) {
            edges.push_back(old->edges[position]);
        }
    }
    Lists lists;
    for (Index position = part.firstStop; position < part.lastStop; ++position) {
        const Stop& stop = old->stops[position];
        lists.nodes.push_back(stop.node);
        lists.begin.push_back(static_cast<Index>(lists.steps.size()));
        for (Index next = stop.begin; next < stop.end; ++next) {
            const Step& step = old->steps[next];
            if (m_remains[step.edge]) {
                lists.steps.push_back({step.edge, old->stops[step.far].node});
            }
        }
    }
    lists.begin.push_back(static_cast<Index>(lists.steps.size()));
    old.reset();
    Split(std::move(edges), lists);
}

void LoopFinder::FindLoop(Index edge, std::vector<ZrOwEntity*>& loop) {
    m_path.clear();
    ++m_walk;
    if (m_remains[edge] == kClosed) {
        FindPathOfClosed(edge);
    } else {
        FindPath(edge, kNone);
    }
    TakeLoop(edge, loop);
    for (const Index part : m_wasteful) {
        if (m_parts[part].remaining != 0 && m_parts[part].batch != nullptr) {
            SplitAgain(part);
        }
    }
    m_wasteful.clear();
}

void LoopFinder::TakeLoop(Index edge, std::vector<ZrOwEntity*>& loop) {
    if (m_path.empty()) {
        return;
    }
    if (m_path.size() != 1 || !IsSamePipeTwice(m_path.front(), edge)) {
        loop.reserve(m_path.size() + 1);
        for (std::size_t position = 0; position < m_path.size(); ++position) {
            const Index soon = m_path[std::min(position + kReadAhead, m_path.size() - 1)];
            __builtin_prefetch(&m_seats[soon]);
            __builtin_prefetch(&m_network.pipes[soon]);
            loop.push_back(m_network.pipes[m_path[position]]);
            RemoveEdge(m_path[position]);
        }
        loop.push_back(m_network.pipes[edge]);
    }
    RemoveEdge(edge);
}

void LoopFinder::Charge(Index number, std::uint64_t walkWaste) {
    Part& part = m_parts[number];
    part.waste += walkWaste;
    if (part.waste > kWastePerEdge * part.edgesAtSplit ||
        (part.whole && walkWaste * kWholeByWaste > part.edgesAtSplit)) {
        m_wasteful.push_back(number);
    }
}

void LoopFinder::FindPathOfClosed(Index edge) {
    const Index node = StartOf(edge);
    if (m_firstLeft.empty()) {
        m_firstLeft = m_network.listBegin;
    }
    const Index end = m_network.listBegin[node + 1];
    const auto isGone = [this](Index entry) {
        const Index listed = m_network.lists[entry];
        return listed == kNone || m_remains[listed] == kGone;
    };
    while (m_firstLeft[node] < end && isGone(m_firstLeft[node])) {
        ++m_firstLeft[node];
    }
    // One walk in all: where it has been by way of one edge, it does not go by way of another.
    for (Index entry = m_firstLeft[node]; entry < end && m_path.empty(); ++entry) {
        const Index first = m_network.lists[entry];
        if (first == edge || isGone(entry) || (StartOf(first) != node && EndOf(first) != node)) {
            continue;
        }
        if (m_remains[first] == kClosed) {
            m_path.push_back(first);
            return;
        }
        // Seated where the walk is to be; it comes back to where it began.
        const Seat& seat = m_seats[first];
        const Index stop = StartOf(first) == node ? seat.startStop : seat.endStop;
        m_seats[edge] = {seat.part, seat.block, stop, stop};
        FindPath(edge, first);
    }
}

void LoopFinder::FindPath(Index edge, Index first) {
    const Part& part = m_parts[m_seats[edge].part];
    Batch& batch = *part.batch;
    ++m_work.searches;
    Walk walk{2 * m_walk, 2 * m_walk + 1, m_seats[edge].block, kNone, 0, 0};
    if (part.hub != kNone && SiteOf(EndOf(edge)) != part.hub) {
        walk.hub = batch.stops[m_stopOf[part.hub]].site;
        walk.hubNodesLeft = NodesToEnter(batch, walk);
    }
    m_frames.clear();
    Enter(batch, walk, m_seats[edge].startStop, edge);
    MarkArrivals(edge, walk.arriving);
    if (first != kNone) {
        const Seat& seat = m_seats[first];
        const Index far = seat.startStop == m_seats[edge].startStop ? seat.endStop : seat.startStop;
        if (batch.marks[far] == walk.visited) {
            return;
        }
        m_frames.back().next = batch.stops[m_seats[edge].startStop].end;
        Enter(batch, walk, far, first);
    }
    const std::uint64_t before = m_work.edgesVisited;
    std::uint64_t lookAt = before + kStepsBeforeLook;
    while (!m_frames.empty()) {
        if (m_work.edgesVisited >= lookAt) {
            if (LookBack(edge, m_work.edgesVisited - before)) {
                walk.look = m_look;
            }
            lookAt = before + 2 * (m_work.edgesVisited - before);
        }
        Frame& frame = m_frames.back();
        const Stop& stop = batch.stops[frame.stop];
        const Index found =
            stop.fixed || walk.hub != kNone ? NextOfMany(batch, walk, frame) : NextOfFew(batch, walk, frame);
        if (found == stop.end) {
            m_frames.pop_back();
            continue;
        }
        frame.next = found + 1;
        const Step step = batch.steps[found];
        if (batch.marks[step.far] == walk.arriving) {
            m_path.push_back(step.edge);
            for (std::size_t depth = m_frames.size(); depth-- > 1;) {
                m_path.push_back(m_frames[depth].cameBy);
            }
            break;
        }
        Enter(batch, walk, step.far, step.edge);
    }
    const std::uint64_t visited = m_work.edgesVisited - before;
    Charge(m_seats[edge].part, visited - std::min<std::uint64_t>(visited, m_path.size()));
}

inline void LoopFinder::Enter(Batch& batch, Walk& walk, Index number, Index cameBy) {
    const Stop& stop = batch.stops[number];
    batch.marks[number] = walk.visited;
    if (stop.site == walk.hub && stop.named != 0) {
        --walk.hubNodesLeft;
    }
    m_frames.push_back({number, stop.begin, cameBy});
}

inline bool LoopFinder::LeadsOn(const Batch& batch, const Walk& walk, const Step& step) {
    const Index mark = batch.marks[step.far];
    return mark == walk.arriving ||
           (mark != walk.visited && (walk.look == 0 || batch.looks[batch.stops[step.far].site] >= walk.look));
}

inline Index LoopFinder::NextOfFew(const Batch& batch, const Walk& walk, const Frame& frame) {
    const Index end = batch.stops[frame.stop].end;
    for (Index position = frame.next; position < end; ++position) {
        const Step step = batch.steps[position];
        if (step.edge != frame.cameBy && LeadsOn(batch, walk, step) && m_remains[step.edge]) {
            m_work.edgesVisited += position - frame.next + 1;
            return position;
        }
    }
    m_work.edgesVisited += end - frame.next;
    return end;
}

Index LoopFinder::NextOfMany(Batch& batch, const Walk& walk, const Frame& frame) {
    const Stop& stop = batch.stops[frame.stop];
    const bool hubCounts = walk.hub != kNone;
    const bool atPassedHub = hubCounts && walk.hubNodesLeft == 0 && stop.site == walk.hub;
    for (Index position = frame.next;; ++position) {
        position = atPassedHub ? OnwardInBlock(batch, frame.stop, walk.block, position) : Onward(batch, stop, position);
        if (position == stop.end) {
            return position;
        }
        const Step step = batch.steps[position];
        ++m_work.edgesVisited;
        const bool inBlock =
            !hubCounts || m_seats[step.edge].block == walk.block || (walk.hubNodesLeft != 0 && !m_isBridge[step.edge]);
        if (step.edge != frame.cameBy && inBlock && LeadsOn(batch, walk, step)) {
            return position;
        }
    }
}

Index LoopFinder::Onward(Batch& batch, const Stop& stop, Index position) {
    if (stop.fixed) {
        return OnwardFixed(batch, position, stop.end);
    }
    while (position < stop.end && !m_remains[batch.steps[position].edge]) {
        ++position;
        ++m_work.edgesVisited;
    }
    return position;
}

Index LoopFinder::OnwardFixed(Batch& batch, Index position, Index end) {
    Index found = position;
    while (found < end && !m_remains[batch.steps[found].edge]) {
        found = batch.onward[found];
        ++m_work.edgesVisited;
    }
    // Whoever comes by next goes straight on.
    while (position < found) {
        const Index next = batch.onward[position];
        if (m_remains[batch.steps[position].edge]) {
            break;
        }
        batch.onward[position] = found;
        position = next;
    }
    return found;
}

Index LoopFinder::OnwardInBlock(const Batch& batch, Index stop, Index block, Index position) {
    auto found = std::lower_bound(batch.hubSteps.begin(), batch.hubSteps.end(), HubStep{stop, block, position});
    for (; found != batch.hubSteps.end() && found->stop == stop && found->block == block; ++found) {
        if (m_remains[batch.steps[found->position].edge]) {
            return found->position;
        }
        ++m_work.edgesVisited;
    }
    return batch.stops[stop].end;
}

bool LoopFinder::LookBack(Index edge, std::uint64_t steps) {
    const Part& part = m_parts[m_seats[edge].part];
    Batch& batch = *part.batch;
    const Index look = ++m_look;
    const std::uint64_t limit = m_work.edgesVisited + steps;
    const Index origin = batch.stops[m_seats[edge].endStop].site;
    batch.looks[origin] = look;
    m_ahead.assign(1, origin);
    const auto see = [&](const Step& step) {
        const Index far = batch.stops[step.far].site;
        if (batch.looks[far] != look && !IsPassed(batch, far)) {
            batch.looks[far] = look;
            m_ahead.push_back(far);
        }
        return ++m_work.edgesVisited <= limit;
    };
    for (std::size_t done = 0; done < m_ahead.size(); ++done) {
        const Index site = m_ahead[done];
        Index number = site;
        do {
            const Stop& stop = batch.stops[number];
            if (!(part.mutual ? SeeSteps(batch, stop, see) : SeeNamed(batch, number, see))) {
                return false;
            }
            number = stop.nextOfSite;
        } while (number != site);
    }
    return true;
}

template <class See>
bool LoopFinder::SeeSteps(Batch& batch, const Stop& stop, const See& see) {
    for (Index next = Onward(batch, stop, stop.begin); next < stop.end; next = Onward(batch, stop, next + 1)) {
        if (!see(batch.steps[next])) {
            return false;
        }
    }
    return true;
}

template <class See>
bool LoopFinder::SeeNamed(Batch& batch, Index stop, const See& see) {
    for (Index next = batch.namedBegin[stop]; next < batch.namedEnd[stop];) {
        const Step step = batch.namedSteps[next];
        if (!m_remains[step.edge]) {
            // Order does not matter here, so that nobody comes by it again.
            batch.namedSteps[next] = batch.namedSteps[--batch.namedEnd[stop]];
            continue;
        }
        if (!see(step)) {
            return false;
        }
        ++next;
    }
    return true;
}

Index LoopFinder::NodesToEnter(const Batch& batch, const Walk& walk) {
    Index nodes = 0;
    Index number = walk.hub;
    do {
        nodes += batch.stops[number].named != 0 && batch.marks[number] != walk.visited ? 1 : 0;
        number = batch.stops[number].nextOfSite;
    } while (number != walk.hub);
    return nodes;
}

bool LoopFinder::IsPassed(const Batch& batch, Index site) const {
    Index number = site;
    do {
        if (batch.marks[number] != 2 * m_walk && batch.stops[number].named != 0) {
            return false;
        }
        number = batch.stops[number].nextOfSite;
    } while (number != site);
    return true;
}

void LoopFinder::MarkArrivals(Index edge, Index mark) {
    Batch& batch = *m_parts[m_seats[edge].part].batch;
    const auto site = m_siteNodes.find(SiteOf(EndOf(edge)));
    if (site == m_siteNodes.end()) {
        batch.marks[m_seats[edge].endStop] = mark;
        return;
    }
    // A part that holds one node of a site holds them all, in a ring.
    const Index first = batch.stops[m_seats[edge].endStop].site;
    Index number = first;
    do {
        if (IsNear(batch.stops[number].node, EndOf(edge))) {
            batch.marks[number] = mark;
        }
        number = batch.stops[number].nextOfSite;
    } while (number != first);
}

bool LoopFinder::IsSamePipeTwice(Index left, Index right) const {
    const double difference =
        std::abs(m_network.pipes[left]->GetLength()) - std::abs(m_network.pipes[right]->GetLength());
    return std::abs(difference) < kSameLength;
}

void LoopFinder::RemoveEdge(Index edge) {
    if (m_remains[edge] != kOpen) {
        m_remains[edge] = kGone;
        return;
    }
    Batch& batch = *m_parts[m_seats[edge].part].batch;
    TakeOut(edge, batch);
    for (const Index first : {batch.stops[m_seats[edge].startStop].site, batch.stops[m_seats[edge].endStop].site}) {
        // What hangs on by one edge now is a dead end, unless blocks meet where it hangs.
        for (Index site = first; batch.stops[site].degree == 1;) {
            const Index last = batch.stops[site].combined;
            const Index start = batch.stops[m_seats[last].startStop].site;
            const Index other = start == site ? batch.stops[m_seats[last].endStop].site : start;
            if (m_joins[SiteOf(batch.stops[other].node)]) {
                break;
            }
            TakeOut(last, batch);
            site = other;
        }
    }
}

void LoopFinder::TakeOut(Index edge, Batch& batch) {
    const Seat seat = m_seats[edge];
    m_remains[edge] = kGone;
    --m_parts[seat.part].remaining;
    for (const Index number : {seat.startStop, seat.endStop}) {
        Stop& stop = batch.stops[number];
        --stop.named;
        if (!stop.fixed) {
            EraseStep(batch, stop, edge);
        }
        Stop& site = batch.stops[stop.site];
        --site.degree;
        site.combined ^= edge;
    }
}

void LoopFinder::EraseStep(Batch& batch, Stop& stop, Index edge) {
    // Callers may have listed an edge twice.
    Index kept = stop.begin;
    for (Index position = stop.begin; position < stop.end; ++position) {
        const Step step = batch.steps[position];
        if (step.edge != edge) {
            batch.steps[kept++] = step;
        }
    }
    stop.end = kept;
}

LoopWork AppendLoops(const PipeNetwork& network, std::vector<std::vector<ZrOwEntity*>>& loops) {
    LoopFinder finder(network);
    finder.AppendLoops(loops);
    return finder.Work();
}

}  // namespace norvex::pipenet
