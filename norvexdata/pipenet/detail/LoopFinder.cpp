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
// A walk shorter than this arrives before a look back from its end would pay.
constexpr std::uint64_t kStepsBeforeLook = 32;
// Up to this many unlisted nodes are compared with all others one by one; a search leaves one.
constexpr std::size_t kFewNodes = 4;

}  // namespace

LoopFinder::LoopFinder(const std::vector<CCheckPipeLineNode*>& nodes, const std::vector<CCheckPipeLineEdge*>& edges,
                       bool apart)
    : m_nodes(nodes), m_edges(edges), m_listedNodes(nodes.size()) {
    ReadEdges();
    RemoveBranchEdge();
    GroupNearNodes(apart);
    StripTrees();
    SplitAll();
}

void LoopFinder::AppendLoops(std::vector<std::vector<ZrOwEntity*>>& loops) {
    std::vector<ZrOwEntity*> loop;
    for (Index edge = 0; edge < m_edges.size(); ++edge) {
        FindLoop(edge, loop);
        if (!loop.empty()) {
            loops.push_back(loop);
        }
    }
}

void LoopFinder::ReadEdges() {
    const std::size_t count = m_edges.size();
    m_start.resize(count);
    m_end.resize(count);
    m_remains.resize(count);
    for (std::size_t edge = 0; edge < count; ++edge) {
        const Index start = NumberOf(Access::Start(*m_edges[edge]));
        const Index end = NumberOf(Access::End(*m_edges[edge]));
        m_start[edge] = start;
        m_end[edge] = end;
        // Nothing is near a point that is not finite, so no step leads on from there and no walk arrives.
        m_remains[edge] = start != kNone && end != kNone && IsFinite(PointOf(start)) && IsFinite(PointOf(end));
    }
}

Index LoopFinder::NumberOf(CCheckPipeLineNode* node) {
    if (node == nullptr) {
        return kNone;
    }
    const Index position = Access::Position(*node);
    if (position < m_listedNodes && m_nodes[position] == node) {
        return position;
    }
    const auto [entry, added] = m_unlisted.emplace(node, static_cast<Index>(m_nodes.size()));
    if (added) {
        m_nodes.push_back(node);
    }
    return entry->second;
}

Index LoopFinder::NumberOf(const CCheckPipeLineEdge* edge) const {
    if (edge == nullptr) {
        return kNone;
    }
    const Index position = Access::Position(const_cast<CCheckPipeLineEdge&>(*edge));
    return position < m_edges.size() && m_edges[position] == edge ? position : kNone;
}

void LoopFinder::RemoveBranchEdge() {
    // Lists do not change while loops are looked for, so that doing this once does for all.
    for (std::size_t edge = 0; edge < m_edges.size(); ++edge) {
        if (m_remains[edge] &&
            (m_nodes[m_start[edge]]->GetConnectEdgeNum() == 1 || m_nodes[m_end[edge]]->GetConnectEdgeNum() == 1)) {
            m_remains[edge] = 0;
        }
    }
}

void LoopFinder::GroupNearNodes(bool apart) {
    if (apart && m_unlisted.size() <= kFewNodes) {
        for (const auto& [unlisted, number] : m_unlisted) {
            const AcGePoint3d& point = Access::Point(*unlisted);
            for (Index node = 0; node < m_nodes.size(); ++node) {
                if (node != number && CEntFindMethod::Is2PtNear(PointOf(node), point, kPlaceTolerance)) {
                    Join(node, number);
                }
            }
        }
    } else {
        PointGrid grid;
        std::vector<Index> nodeOf;
        for (Index node = 0; node < m_nodes.size(); ++node) {
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
    m_joins.resize(m_nodes.size());
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
    for (std::size_t edge = 0; edge < m_edges.size(); ++edge) {
        if (m_remains[edge] && SiteOf(m_start[edge]) == SiteOf(m_end[edge])) {
            m_joins[SiteOf(m_start[edge])] = 1;
        }
    }
}

void LoopFinder::Join(Index left, Index right) {
    if (m_site.empty()) {
        m_site.resize(m_nodes.size());
        for (Index node = 0; node < m_nodes.size(); ++node) {
            m_site[node] = node;
        }
    }
    left = SiteOf(left);
    right = SiteOf(right);
    m_site[std::max(left, right)] = std::min(left, right);
}

Index LoopFinder::SiteOf(Index node) const {
    if (m_site.empty()) {
        return node;
    }
    while (m_site[node] != node) {
        node = m_site[node];
    }
    return node;
}

bool LoopFinder::IsNear(Index left, Index right) const {
    if (left == right) {
        return true;
    }
    return SiteOf(left) == SiteOf(right) && CEntFindMethod::Is2PtNear(PointOf(left), PointOf(right), kPlaceTolerance);
}

Index LoopFinder::FarNode(Index node, Index edge) const {
    if (IsNear(m_start[edge], node)) {
        return m_end[edge];
    }
    return IsNear(m_end[edge], node) ? m_start[edge] : kNone;
}

void LoopFinder::StripTrees() {
    std::vector<Index> degree(m_nodes.size());
    std::vector<Index> combined(m_nodes.size());
    for (Index edge = 0; edge < m_edges.size(); ++edge) {
        if (m_remains[edge]) {
            for (const Index site : {SiteOf(m_start[edge]), SiteOf(m_end[edge])}) {
                ++degree[site];
                combined[site] ^= edge;
            }
        }
    }
    for (Index first = 0; first < m_nodes.size(); ++first) {
        for (Index site = first; degree[site] == 1;) {
            const Index edge = combined[site];
            const Index other = SiteOf(m_start[edge]) == site ? SiteOf(m_end[edge]) : SiteOf(m_start[edge]);
            if (m_joins[other]) {
                break;
            }
            m_remains[edge] = 0;
            degree[site] = 0;
            --degree[other];
            combined[other] ^= edge;
            site = other;
        }
    }
}

void LoopFinder::SplitAll() {
    std::vector<Index> edges;
    for (Index edge = 0; edge < m_edges.size(); ++edge) {
        if (m_remains[edge]) {
            edges.push_back(edge);
        }
    }
    if (edges.empty()) {
        return;
    }
    m_partOf.resize(m_edges.size(), kNone);
    m_blockOf.resize(m_edges.size());
    m_startStop.resize(m_edges.size());
    m_endStop.resize(m_edges.size());
    m_isBridge.resize(m_edges.size());
    m_walkable.resize(m_edges.size());
    m_stopOf.resize(m_nodes.size());
    m_stopPart.resize(m_nodes.size(), kNone);
    const Lists lists = ListsOfGraph(edges);
    Split(std::move(edges), lists);
}

LoopFinder::Lists LoopFinder::ListsOfGraph(const std::vector<Index>& edges) {
    std::vector<unsigned char> wanted(m_nodes.size());
    for (const Index edge : edges) {
        wanted[m_start[edge]] = 1;
        wanted[m_end[edge]] = 1;
    }
    for (const auto& [site, nodes] : m_siteNodes) {
        for (const Index node : nodes) {
            wanted[node] = 1;
        }
    }
    Lists lists;
    lists.steps.reserve(2 * edges.size());
    for (Index node = 0; node < m_nodes.size(); ++node) {
        if (!wanted[node]) {
            continue;
        }
        lists.nodes.push_back(node);
        lists.begin.push_back(static_cast<Index>(lists.steps.size()));
        for (const boost::shared_ptr<CCheckPipeLineEdge>& listed : Access::List(*m_nodes[node])) {
            const Index edge = NumberOf(listed.get());
            if (edge == kNone || !m_remains[edge]) {
                continue;
            }
            const Index far = FarNode(node, edge);
            if (far != kNone) {
                lists.steps.push_back({edge, far});
            }
        }
    }
    lists.begin.push_back(static_cast<Index>(lists.steps.size()));
    return lists;
}

void LoopFinder::Split(std::vector<Index>&& edges, const Lists& lists) {
    m_work.edgesSplit += edges.size();
    const auto firstPart = static_cast<Index>(m_parts.size());
    const std::vector<Index> partOf = PartsOf(edges);
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
        m_partOf[edges[position]] = part;
        if (part != kNone) {
            batch->edges[m_parts[part].lastEdge++] = edges[position];
        }
    }
    MakeStops(*batch, firstPart);
    MakeSteps(*batch, lists);
    CountDegrees(*batch);
    ListHubSteps(*batch, firstPart);
}

std::vector<Index> LoopFinder::PartsOf(const std::vector<Index>& edges) {
    std::vector<Link> links;
    links.reserve(edges.size());
    for (const Index edge : edges) {
        links.push_back({SiteOf(m_start[edge]), SiteOf(m_end[edge])});
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
    std::vector<Index> partOf(edges.size(), kNone);
    for (std::size_t position = 0; position < edges.size(); ++position) {
        const Index edge = edges[position];
        const Index block = blocks.blockOf[position];
        Candidate& candidate = candidates[blocks.partOfBlock[block]];
        if (!candidate.closes || candidate.edges == 1) {
            m_remains[edge] = 0;
            continue;
        }
        if (candidate.part == kNone) {
            candidate.part = static_cast<Index>(m_parts.size());
            const Index hub = candidate.hubs == 1 ? candidate.hub : kNone;
            m_parts.push_back({nullptr, 0, 0, 0, 0, candidate.edges, candidate.edges, 0, true, hub});
        }
        partOf[position] = candidate.part;
        m_blockOf[edge] = m_blocks + block;
        m_isBridge[edge] = blocks.isBridge[block];
    }
    m_blocks += static_cast<Index>(blocks.isBridge.size());
    return partOf;
}

void LoopFinder::MakeStops(Batch& batch, Index firstPart) {
    for (Index number = firstPart; number < m_parts.size(); ++number) {
        Part& part = m_parts[number];
        part.firstStop = static_cast<Index>(batch.stops.nodes.size());
        for (Index position = part.firstEdge; position < part.lastEdge; ++position) {
            const Index edge = batch.edges[position];
            m_startStop[edge] = StopFor(batch, m_start[edge], number);
            m_endStop[edge] = StopFor(batch, m_end[edge], number);
        }
        part.lastStop = static_cast<Index>(batch.stops.nodes.size());
    }
    batch.marks.resize(batch.stops.nodes.size());
    batch.looks.resize(batch.stops.nodes.size());
}

Index LoopFinder::StopFor(Batch& batch, Index node, Index part) {
    if (m_stopPart[node] != part) {
        if (m_joins[SiteOf(node)] && m_siteNodes.count(SiteOf(node)) != 0) {
            AddSiteStops(batch, node, part);
        } else {
            m_stopPart[node] = part;
            m_stopOf[node] = static_cast<Index>(batch.stops.nodes.size());
            batch.siteStop.push_back(m_stopOf[node]);
            batch.nextOfSite.push_back(m_stopOf[node]);
            batch.stops.nodes.push_back(node);
        }
    }
    return m_stopOf[node];
}

void LoopFinder::AddSiteStops(Batch& batch, Index node, Index part) {
    // All nodes of the site at once: each may list edges that name only another of them.
    const auto first = static_cast<Index>(batch.stops.nodes.size());
    for (const Index member : m_siteNodes.at(SiteOf(node))) {
        m_stopPart[member] = part;
        m_stopOf[member] = static_cast<Index>(batch.stops.nodes.size());
        batch.siteStop.push_back(first);
        batch.nextOfSite.push_back(m_stopOf[member] + 1);
        batch.stops.nodes.push_back(member);
    }
    batch.nextOfSite.back() = first;
}

void LoopFinder::MakeSteps(Batch& batch, const Lists& lists) {
    Lists& stops = batch.stops;
    const auto stopOf = [this](Index node, Index edge) {
        return m_start[edge] == node ? m_startStop[edge] : m_end[edge] == node ? m_endStop[edge] : m_stopOf[node];
    };
    stops.begin.resize(stops.nodes.size() + 1);
    for (std::size_t list = 0; list < lists.nodes.size(); ++list) {
        for (Index position = lists.begin[list]; position < lists.begin[list + 1]; ++position) {
            const Index edge = lists.steps[position].edge;
            if (m_remains[edge]) {
                ++stops.begin[stopOf(lists.nodes[list], edge)];
            }
        }
    }
    Index total = 0;
    for (Index& begin : stops.begin) {
        total += begin;
        begin = total;
    }
    stops.steps.resize(total);
    // Each list is filled from its end, which leaves its beginning behind; so the steps are taken backwards.
    for (std::size_t list = lists.nodes.size(); list-- > 0;) {
        for (Index position = lists.begin[list + 1]; position-- > lists.begin[list];) {
            const auto [edge, far] = lists.steps[position];
            if (m_remains[edge]) {
                const Index farStop = far == m_end[edge] ? m_endStop[edge] : m_startStop[edge];
                stops.steps[--stops.begin[stopOf(lists.nodes[list], edge)]] = {edge, farStop};
            }
        }
    }
}

void LoopFinder::CountDegrees(Batch& batch) {
    const Lists& stops = batch.stops;
    batch.degree.resize(stops.nodes.size());
    batch.combined.resize(stops.nodes.size());
    batch.named.resize(stops.nodes.size());
    for (const Index edge : batch.edges) {
        for (const Index stop : {m_startStop[edge], m_endStop[edge]}) {
            ++batch.named[stop];
            ++batch.degree[batch.siteStop[stop]];
            batch.combined[batch.siteStop[stop]] ^= edge;
        }
    }
    batch.onward.resize(stops.steps.size());
    // Per edge of the batch: walked from its start's site, and from its end's.
    for (const Index edge : batch.edges) {
        m_walkable[edge] = 0;
    }
    for (std::size_t stop = 0; stop < stops.nodes.size(); ++stop) {
        for (Index position = stops.begin[stop]; position < stops.begin[stop + 1]; ++position) {
            const Index edge = stops.steps[position].edge;
            batch.onward[position] = position + 1;
            const Index site = batch.siteStop[stop];
            const bool fromStart = site == batch.siteStop[m_startStop[edge]];
            const bool fromEnd = site == batch.siteStop[m_endStop[edge]];
            m_walkable[edge] = static_cast<unsigned char>(m_walkable[edge] | (fromStart ? 1 : 0) | (fromEnd ? 2 : 0));
        }
    }
    for (const Index edge : batch.edges) {
        if (m_walkable[edge] != 3) {
            m_parts[m_partOf[edge]].mutual = false;
        }
    }
}

void LoopFinder::ListHubSteps(Batch& batch, Index firstPart) {
    for (Index part = firstPart; part < m_parts.size(); ++part) {
        if (m_parts[part].hub == kNone) {
            continue;
        }
        const Index first = batch.siteStop[m_stopOf[m_parts[part].hub]];
        Index stop = first;
        do {
            for (Index position = batch.stops.begin[stop]; position < batch.stops.begin[stop + 1]; ++position) {
                batch.hubSteps.push_back({stop, m_blockOf[batch.stops.steps[position].edge], position});
            }
            stop = batch.nextOfSite[stop];
        } while (stop != first);
    }
    std::sort(batch.hubSteps.begin(), batch.hubSteps.end());
}

void LoopFinder::SplitAgain(Index number) {
    const std::shared_ptr<Batch> old = std::move(m_parts[number].batch);
    const Part& part = m_parts[number];
    std::vector<Index> edges;
    edges.reserve(part.remaining);
    for (Index position = part.firstEdge; position < part.lastEdge; ++position) {
        if (m_remains[old->edges[position]]) {
            edges.push_back(old->edges[position]);
        }
    }
    Lists lists;
    for (Index stop = part.firstStop; stop < part.lastStop; ++stop) {
        lists.nodes.push_back(old->stops.nodes[stop]);
        lists.begin.push_back(static_cast<Index>(lists.steps.size()));
        for (Index position = old->stops.begin[stop]; position < old->stops.begin[stop + 1]; ++position) {
            const Step& step = old->stops.steps[position];
            if (m_remains[step.edge]) {
                lists.steps.push_back({step.edge, old->stops.nodes[step.far]});
            }
        }
    }
    lists.begin.push_back(static_cast<Index>(lists.steps.size()));
    Split(std::move(edges), lists);
}

void LoopFinder::FindLoop(Index edge, std::vector<ZrOwEntity*>& loop) {
    loop.clear();
    if (!m_remains[edge]) {
        return;
    }
    const Index part = m_partOf[edge];
    const std::uint64_t visitedBefore = m_work.edgesVisited;
    std::vector<Index> path;
    FindPath(edge, path);
    m_parts[part].waste += m_work.edgesVisited - visitedBefore - path.size();
    if (!path.empty()) {
        if (path.size() != 1 || !IsSamePipeTwice(path.front(), edge)) {
            for (const Index step : path) {
                loop.push_back(m_edges[step]->GetPipeEnt());
                RemoveEdge(step);
            }
            loop.push_back(m_edges[edge]->GetPipeEnt());
        }
        RemoveEdge(edge);
    }
    if (m_parts[part].waste > kWastePerEdge * m_parts[part].edgesAtSplit && m_parts[part].remaining != 0) {
        SplitAgain(part);
    }
}

void LoopFinder::FindPath(Index edge, std::vector<Index>& path) {
    const Part& part = m_parts[m_partOf[edge]];
    Batch& batch = *part.batch;
    ++m_work.searches;
    const Index visited = 2 * ++m_walk;
    const Index arriving = visited + 1;
    // Once no node of the hub is left to enter, what lies beyond it is out of reach, unless the walk ends at the hub.
    const bool hubCounts = part.hub != kNone && SiteOf(m_end[edge]) != part.hub;
    const Index hubStop = hubCounts ? batch.siteStop[m_stopOf[part.hub]] : kNone;
    Index hubNodesLeft = hubCounts ? NodesToEnter(batch, hubStop) : 0;

    const auto enter = [&](Index stop, Index cameBy) {
        batch.marks[stop] = visited;
        if (hubCounts && batch.siteStop[stop] == hubStop && batch.named[stop] != 0) {
            --hubNodesLeft;
        }
        m_frames.push_back({stop, batch.stops.begin[stop], cameBy});
    };
    m_frames.clear();
    enter(m_startStop[edge], edge);
    MarkArrivals(edge, arriving);
    const std::uint64_t before = m_work.edgesVisited;
    std::uint64_t lookAt = part.mutual ? before + kStepsBeforeLook : ~std::uint64_t{0};
    // The last look that ran out. Later ones that did not have only been where that one has.
    Index look = 0;
    while (!m_frames.empty()) {
        if (m_work.edgesVisited >= lookAt) {
            if (LookBack(edge, m_work.edgesVisited - before)) {
                look = m_look;
            }
            lookAt = before + 2 * (m_work.edgesVisited - before);
        }
        Frame& frame = m_frames.back();
        const Index end = batch.stops.begin[frame.stop + 1];
        const bool atPassedHub = hubCounts && hubNodesLeft == 0 && batch.siteStop[frame.stop] == hubStop;
        frame.next = atPassedHub ? OnwardInBlock(batch, frame.stop, m_blockOf[edge], frame.next)
                                 : Onward(batch, frame.next, end);
        if (frame.next == end) {
            m_frames.pop_back();
            continue;
        }
        const Step step = batch.stops.steps[frame.next++];
        ++m_work.edgesVisited;
        if (step.edge == frame.cameBy) {
            continue;
        }
        if (hubCounts && m_blockOf[step.edge] != m_blockOf[edge] && (hubNodesLeft == 0 || m_isBridge[step.edge])) {
            continue;
        }
        const Index mark = batch.marks[step.far];
        if (mark == arriving) {
            path.push_back(step.edge);
            for (std::size_t depth = m_frames.size(); depth-- > 1;) {
                path.push_back(m_frames[depth].cameBy);
            }
            return;
        }
        if (mark != visited && (look == 0 || batch.looks[batch.siteStop[step.far]] >= look)) {
            enter(step.far, step.edge);
        }
    }
}

Index LoopFinder::Onward(Batch& batch, Index position, Index end) {
    Index found = position;
    while (found < end && !m_remains[batch.stops.steps[found].edge]) {
        found = batch.onward[found];
        ++m_work.edgesVisited;
    }
    // Whoever comes by next goes straight on.
    while (position < found) {
        const Index next = batch.onward[position];
        if (m_remains[batch.stops.steps[position].edge]) {
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
        if (m_remains[batch.stops.steps[found->position].edge]) {
            return found->position;
        }
        ++m_work.edgesVisited;
    }
    return batch.stops.begin[stop + 1];
}

bool LoopFinder::LookBack(Index edge, std::uint64_t steps) {
    Batch& batch = *m_parts[m_partOf[edge]].batch;
    const Index look = ++m_look;
    const std::uint64_t limit = m_work.edgesVisited + steps;
    const Index origin = batch.siteStop[m_endStop[edge]];
    batch.looks[origin] = look;
    m_ahead.assign(1, origin);
    for (std::size_t done = 0; done < m_ahead.size(); ++done) {
        const Index site = m_ahead[done];
        Index stop = site;
        do {
            const Index end = batch.stops.begin[stop + 1];
            for (Index next = Onward(batch, batch.stops.begin[stop], end); next < end;
                 next = Onward(batch, next + 1, end)) {
                const Index far = batch.siteStop[batch.stops.steps[next].far];
                if (++m_work.edgesVisited > limit) {
                    return false;
                }
                if (batch.looks[far] != look && !IsPassed(batch, far)) {
                    batch.looks[far] = look;
                    m_ahead.push_back(far);
                }
            }
            stop = batch.nextOfSite[stop];
        } while (stop != site);
    }
    return true;
}

Index LoopFinder::NodesToEnter(const Batch& batch, Index site) {
    Index nodes = 0;
    Index stop = site;
    do {
        nodes += batch.named[stop] != 0 ? 1 : 0;
        stop = batch.nextOfSite[stop];
    } while (stop != site);
    return nodes;
}

bool LoopFinder::IsPassed(const Batch& batch, Index site) const {
    Index stop = site;
    do {
        if (batch.marks[stop] != 2 * m_walk && batch.named[stop] != 0) {
            return false;
        }
        stop = batch.nextOfSite[stop];
    } while (stop != site);
    return true;
}

void LoopFinder::MarkArrivals(Index edge, Index mark) {
    const Index part = m_partOf[edge];
    Batch& batch = *m_parts[part].batch;
    const auto site = m_siteNodes.find(SiteOf(m_end[edge]));
    if (site == m_siteNodes.end()) {
        batch.marks[m_endStop[edge]] = mark;
        return;
    }
    for (const Index node : site->second) {
        if (IsNear(node, m_end[edge])) {
            batch.marks[m_stopOf[node]] = mark;
        }
    }
}

bool LoopFinder::IsSamePipeTwice(Index left, Index right) const {
    const double difference =
        std::abs(m_edges[left]->GetPipeEnt()->GetLength()) - std::abs(m_edges[right]->GetPipeEnt()->GetLength());
    return std::abs(difference) < kSameLength;
}

void LoopFinder::RemoveEdge(Index edge) {
    if (!m_remains[edge]) {
        return;
    }
    Batch& batch = *m_parts[m_partOf[edge]].batch;
    TakeOut(edge, batch);
    for (const Index first : {batch.siteStop[m_startStop[edge]], batch.siteStop[m_endStop[edge]]}) {
        // What hangs on by one edge now is a dead end, unless blocks meet where it hangs.
        for (Index stop = first; batch.degree[stop] == 1;) {
            const Index last = batch.combined[stop];
            const Index start = batch.siteStop[m_startStop[last]];
            const Index other = start == stop ? batch.siteStop[m_endStop[last]] : start;
            if (m_joins[SiteOf(batch.stops.nodes[other])]) {
                break;
            }
            TakeOut(last, batch);
            stop = other;
        }
    }
}

void LoopFinder::TakeOut(Index edge, Batch& batch) {
    m_remains[edge] = 0;
    --m_parts[m_partOf[edge]].remaining;
    for (const Index stop : {m_startStop[edge], m_endStop[edge]}) {
        --batch.named[stop];
        --batch.degree[batch.siteStop[stop]];
        batch.combined[batch.siteStop[stop]] ^= edge;
    }
}

}  // namespace norvex::pipenet
