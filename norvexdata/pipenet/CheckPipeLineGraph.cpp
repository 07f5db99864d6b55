// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/pipenet/CheckPipeLineGraph.h"

#include <boost/make_shared.hpp>
#include <unordered_map>
#include <utility>

#include "norvexdata/pipenet/detail/LoopFinder.h"
#include "norvexdata/pipenet/detail/NetworkObjects.h"
#include "norvexdata/pipenet/detail/PointGrid.h"
#include "platform/zrow/ZrOwLines.h"

namespace norvex::pipenet {

// Where the nodes and edges of a graph are. Lists only grow, so that it catches up with them when it is asked.
struct GraphIndex {
    PointGrid places;
    // The position of the oldest edge of each pipe.
    std::unordered_map<const ZrOwPolyLine*, std::size_t> edges;
    std::size_t edgesKnown = 0;
};

}  // namespace norvex::pipenet

using norvex::pipenet::Access;
using norvex::pipenet::GraphIndex;
using norvex::pipenet::Index;
using norvex::pipenet::kNone;
using norvex::pipenet::NamedNodes;
using norvex::pipenet::SearchedObjects;

CCheckPipeLineGraph::CCheckPipeLineGraph() = default;

CCheckPipeLineGraph::CCheckPipeLineGraph(const CCheckPipeLineGraph& other)
    : m_searched(other.m_searched),
      m_searchedEdges(other.m_searchedEdges),
      m_searchedNodes(other.m_searchedNodes),
      m_edges(other.m_edges),
      m_nodes(other.m_nodes),
      m_loopWork(other.m_loopWork),
      m_asSearched(other.m_asSearched) {
}

CCheckPipeLineGraph::CCheckPipeLineGraph(CCheckPipeLineGraph&& other) noexcept
    : m_searched(std::move(other.m_searched)),
      m_searchedEdges(std::exchange(other.m_searchedEdges, 0)),
      m_searchedNodes(std::exchange(other.m_searchedNodes, 0)),
      m_edges(std::move(other.m_edges)),
      m_nodes(std::move(other.m_nodes)),
      m_lookup(std::move(other.m_lookup)),
      m_loopWork(other.m_loopWork),
      m_asSearched(other.m_asSearched) {
}

CCheckPipeLineGraph& CCheckPipeLineGraph::operator=(const CCheckPipeLineGraph& other) {
    if (this != &other) {
        *this = CCheckPipeLineGraph(other);
    }
    return *this;
}

CCheckPipeLineGraph& CCheckPipeLineGraph::operator=(CCheckPipeLineGraph&& other) noexcept {
    CCheckPipeLineGraph taken(std::move(other));
    m_searched.swap(taken.m_searched);
    std::swap(m_searchedEdges, taken.m_searchedEdges);
    std::swap(m_searchedNodes, taken.m_searchedNodes);
    m_edges.swap(taken.m_edges);
    m_nodes.swap(taken.m_nodes);
    m_lookup.swap(taken.m_lookup);
    std::swap(m_loopWork, taken.m_loopWork);
    std::swap(m_asSearched, taken.m_asSearched);
    return *this;
}

CCheckPipeLineGraph::~CCheckPipeLineGraph() = default;

boost::shared_ptr<CCheckPipeLineNode> CCheckPipeLineGraph::CreateNode(const AcGePoint3d& point) {
    const boost::shared_ptr<CCheckPipeLineNode> node = boost::make_shared<CCheckPipeLineNode>(point);
    Access::Position(*node) = static_cast<Index>(NodeCount());
    m_nodes.emplace_back(node);
    m_asSearched = false;
    return node;
}

boost::shared_ptr<CCheckPipeLineNode> CCheckPipeLineGraph::GetNode(const AcGePoint3d& point) const {
    if (NodeCount() == 0) {
        return {};
    }
    norvex::pipenet::PointGrid& places = Lookup().places;
    while (places.Count() < NodeCount()) {
        places.Add(NodeAt(places.Count())->Point());
    }
    const Index found = places.FirstNear(point);
    return found == kNone ? boost::shared_ptr<CCheckPipeLineNode>() : NodeAt(found);
}

boost::shared_ptr<CCheckPipeLineEdge> CCheckPipeLineGraph::CreateEdge(ZrOwPolyLine* pipe) {
    const boost::shared_ptr<CCheckPipeLineEdge> edge = boost::make_shared<CCheckPipeLineEdge>(pipe);
    Access::Position(*edge) = static_cast<Index>(EdgeCount());
    const boost::shared_ptr<NamedNodes> named = boost::make_shared<NamedNodes>();
    Access::SetNamed(*edge, named);
    m_edges.emplace_back(CreatedEdge{edge, named});
    return edge;
}

boost::shared_ptr<CCheckPipeLineEdge> CCheckPipeLineGraph::GetEdge(ZrOwPolyLine* pipe) const {
    if (EdgeCount() == 0) {
        return {};
    }
    GraphIndex& index = Lookup();
    for (; index.edgesKnown < EdgeCount(); ++index.edgesKnown) {
        index.edges.emplace(EdgeAt(index.edgesKnown)->GetPipeEnt(), index.edgesKnown);
    }
    const auto found = index.edges.find(pipe);
    return found == index.edges.end() ? boost::shared_ptr<CCheckPipeLineEdge>() : EdgeAt(found->second);
}

bool CCheckPipeLineGraph::IsValid() const {
    return EdgeCount() != 0 && NodeCount() != 0;
}

bool CCheckPipeLineGraph::HasBadLoop() const {
    return EdgeCount() >= NodeCount();
}

int CCheckPipeLineGraph::GetItemCount() const {
    return static_cast<int>(NodeCount() + EdgeCount());
}

void CCheckPipeLineGraph::GetBadLoopVec(std::vector<std::vector<ZrOwEntity*>>& loops) {
    if (m_searched && !m_searched->HasObjects() && m_nodes.empty() && m_edges.empty()) {
        m_loopWork = norvex::pipenet::AppendLoops(m_searched->Network(), loops);
    } else {
        m_loopWork = norvex::pipenet::AppendLoops(norvex::pipenet::ReadObjects(*this), loops);
    }
}

const boost::shared_ptr<CCheckPipeLineEdge>& CCheckPipeLineGraph::EdgeAt(std::size_t position) const {
    return position < m_searchedEdges ? m_searched->Edge(static_cast<Index>(position))
                                      : m_edges[position - m_searchedEdges]->edge;
}

const boost::shared_ptr<CCheckPipeLineNode>& CCheckPipeLineGraph::NodeAt(std::size_t position) const {
    // The first node of a search is not listed.
    return position < m_searchedNodes ? m_searched->Node(static_cast<Index>(position + 1))
                                      : *m_nodes[position - m_searchedNodes];
}

GraphIndex& CCheckPipeLineGraph::Lookup() const {
    if (!m_lookup) {
        m_lookup = std::make_unique<GraphIndex>();
    }
    return *m_lookup;
}
