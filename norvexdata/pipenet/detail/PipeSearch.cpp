// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/detail/PipeSearch.h"

#include <algorithm>
#include <boost/make_shared.hpp>

#include "norvexdata/entities/EntFindMethod.h"
#include "platform/zrow/ZrOwLines.h"

namespace norvex::pipenet {

PipeSearch::PipeSearch(const std::vector<ZrOwEntity*>& pending)
    : m_pending(pending), m_places(pending), m_isPending(m_places.IsRun()) {
    m_network.pipes.reserve(m_places.RunCount());
    m_network.ends.reserve(m_places.RunCount());
    m_network.points.reserve(m_places.Count() + 1);
    m_network.listBegin.reserve(m_places.Count() + 2);
    m_network.lists.reserve(2 * m_places.RunCount());
}

boost::shared_ptr<CCheckPipeLineNode> PipeSearch::MakeSeed(std::size_t position) const {
    return boost::make_shared<CCheckPipeLineNode>(ZrOwPolyLine::cast(m_pending[position])->GetStartPoint());
}

void PipeSearch::Grow(const CCheckPipeLineNode& seed, CCheckPipeLineGraph& graph) {
    Open(AddNode(seed.Point()), m_places.LookUp(seed.Point()));
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
        Access::Fill(graph, m_edgesGrown > m_places.RunCount() / 4 * 3 ? std::move(m_network) : PipeNetwork(m_network));
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
    m_places.ForgetNodes();
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

inline void PipeSearch::TakeEnds(const Places::Place& place, bool ask) {
    for (Index end = place.lastEnd; end != Places::kNoEnd;) {
        const Places::Run& run = m_places.RunAt(end / 2);
        // Not those of an earlier graph.
        if (run.edge == kNone || run.edge >= m_firstEdge) {
            m_found.push_back({end / 2, ask ? kNone : run.place[1 - end % 2]});
        }
        end = run.next[end % 2];
    }
}

void PipeSearch::FindEnds(const AcGePoint3d& point) {
    const auto first = static_cast<std::ptrdiff_t>(m_found.size());
    m_places.ForEachInReach(point, [&](const Places::Place& place) {
        if (place.point.isEqualTo(point, AcGeContext::gTol)) {
            TakeEnds(place, true);
        }
    });
    // The newest first, as in the list of one place.
    const auto before = [](const End& left, const End& right) { return left.run > right.run; };
    const auto same = [](const End& left, const End& right) { return left.run == right.run; };
    std::sort(m_found.begin() + first, m_found.end(), before);
    m_found.erase(std::unique(m_found.begin() + first, m_found.end(), same), m_found.end());
}

inline void PipeSearch::PutInOrder(Index first) {
    // The newest come first in the list of a place.
    std::reverse(m_found.begin() + first, m_found.end());
    if (!m_places.AreInListOrder()) {
        std::sort(m_found.begin() + first, m_found.end(), [this](const End& left, const End& right) {
            return m_places.RunAt(left.run).position < m_places.RunAt(right.run).position;
        });
    }
}

inline void PipeSearch::Follow(const End& end, Index node, Index entry) {
    Places::Run& run = m_places.RunAt(end.run);
    if (run.edge != kNone) {
        m_network.lists[entry] = run.edge - m_firstEdge;
        return;
    }
    const auto edge = static_cast<Index>(m_network.pipes.size());
    run.edge = m_firstEdge + edge;
    m_isPending[run.position] = 0;
    m_network.pipes.push_back(run.pipe);
    m_network.lists[entry] = edge;

    const Index far = end.far != kNone
                          ? end.far
                          : m_places.LookUp(CCheckPipeLineEdge(run.pipe).GetSearchPoint(m_network.points[node]));
    const Index farNode = NodeAt(far);
    if (farNode != kNone) {
        m_network.ends.push_back({node, farNode});
        return;
    }
    const Index made = AddNode(m_places[far].point);
    m_network.ends.push_back({node, made});
    m_places.SetNode(far, m_firstNode + made);
    Open(made, far);
}

inline Index PipeSearch::NodeAt(Index place) const {
    Index oldest = kNone;
    if (!m_places[place].crowded) {
        oldest = m_places[place].node;
    } else {
        const AcGePoint3d& point = m_places[place].point;
        m_places.ForEachWithNodeInReach(point, [&](const Places::Place& other) {
            if (other.node >= m_firstNode && other.node < oldest &&
                CEntFindMethod::Is2PtNear(other.point, point, kPlaceTolerance)) {
                oldest = other.node;
            }
        });
    }
    return oldest == kNone || oldest < m_firstNode ? kNone : oldest - m_firstNode;
}

}  // namespace norvex::pipenet
