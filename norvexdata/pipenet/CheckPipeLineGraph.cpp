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
    // The oldest edge of each pipe.
    std::unordered_map<const ZrOwPolyLine*, CCheckPipeLineEdge*> edges;
    std::size_t edgesKnown = 0;
};

}  // namespace norvex::pipenet

using norvex::pipenet::Access;
using norvex::pipenet::GraphIndex;
using norvex::pipenet::Index;
using norvex::pipenet::kNone;
using norvex::pipenet::NetworkKeeper;

CCheckPipeLineGraph::CCheckPipeLineGraph() = default;

CCheckPipeLineGraph::CCheckPipeLineGraph(const CCheckPipeLineGraph& other)
    : m_keeper(other.m_keeper),
      m_edges(other.m_edges),
      m_nodes(other.m_nodes),
      m_loopWork(other.m_loopWork),
      m_asSearched(other.m_asSearched) {
}

CCheckPipeLineGraph::CCheckPipeLineGraph(CCheckPipeLineGraph&& other) noexcept = default;

CCheckPipeLineGraph& CCheckPipeLineGraph::operator=(const CCheckPipeLineGraph& other) {
    if (this != &other) {
        *this = CCheckPipeLineGraph(other);
    }
    return *this;
}

CCheckPipeLineGraph& CCheckPipeLineGraph::operator=(CCheckPipeLineGraph&& other) noexcept = default;

CCheckPipeLineGraph::~CCheckPipeLineGraph() = default;

boost::shared_ptr<CCheckPipeLineNode> CCheckPipeLineGraph::CreateNode(const AcGePoint3d& point) {
    const boost::shared_ptr<CCheckPipeLineNode> node = boost::make_shared<CCheckPipeLineNode>(point);
    Access::Position(*node) = static_cast<Index>(m_nodes.size());
    Keeper()->Keep(node);
    m_nodes.push_back(node.get());
    m_asSearched = false;
    return node;
}

boost::shared_ptr<CCheckPipeLineNode> CCheckPipeLineGraph::GetNode(const AcGePoint3d& point) const {
    if (m_nodes.empty()) {
        return {};
    }
    norvex::pipenet::PointGrid& places = Lookup().places;
    while (places.Count() < m_nodes.size()) {
        places.Add(Access::Point(*m_nodes[places.Count()]));
    }
    const Index found = places.FirstNear(point);
    return found == kNone ? boost::shared_ptr<CCheckPipeLineNode>() : m_keeper->Share(m_nodes[found]);
}

boost::shared_ptr<CCheckPipeLineEdge> CCheckPipeLineGraph::CreateEdge(ZrOwPolyLine* pipe) {
    const boost::shared_ptr<CCheckPipeLineEdge> edge = boost::make_shared<CCheckPipeLineEdge>(pipe);
    Access::Position(*edge) = static_cast<Index>(m_edges.size());
    Access::SetKeeper(*edge, Keeper());
    m_keeper->Keep(edge);
    m_edges.push_back(edge.get());
    return edge;
}

boost::shared_ptr<CCheckPipeLineEdge> CCheckPipeLineGraph::GetEdge(ZrOwPolyLine* pipe) const {
    if (m_edges.empty()) {
        return {};
    }
    GraphIndex& index = Lookup();
    for (; index.edgesKnown < m_edges.size(); ++index.edgesKnown) {
        CCheckPipeLineEdge* edge = m_edges[index.edgesKnown];
        index.edges.emplace(edge->GetPipeEnt(), edge);
    }
    const auto found = index.edges.find(pipe);
    return found == index.edges.end() ? boost::shared_ptr<CCheckPipeLineEdge>() : m_keeper->Share(found->second);
}

void CCheckPipeLineGraph::GetBadLoopVec(std::vector<std::vector<ZrOwEntity*>>& loops) {
    norvex::pipenet::LoopFinder finder(m_nodes, m_edges, m_asSearched);
    finder.AppendLoops(loops);
    m_loopWork = finder.Work();
}

boost::shared_ptr<NetworkKeeper> CCheckPipeLineGraph::Keeper() {
    if (!m_keeper) {
        m_keeper = boost::make_shared<NetworkKeeper>();
    }
    return m_keeper;
}

GraphIndex& CCheckPipeLineGraph::Lookup() const {
    if (!m_lookup) {
        m_lookup = std::make_unique<GraphIndex>();
    }
    return *m_lookup;
}
