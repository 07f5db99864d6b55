// SPDX-License-Identifier: Apache-2.0
#include <boost/geometry.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <boost/graph/adjacency_list.hpp>
#include <boost/graph/biconnected_components.hpp>
#include <boost/graph/connected_components.hpp>
#include <iterator>
#include <utility>

#include "bench/pipenet/PipeNetPeers.h"
#include "platform/zrow/ZrOwLines.h"

namespace norvex::bench {
namespace {

using Point = boost::geometry::model::point<double, 3, boost::geometry::cs::cartesian>;
using Box = boost::geometry::model::box<Point>;
using Value = std::pair<Point, unsigned>;
using Tree = boost::geometry::index::rtree<Value, boost::geometry::index::quadratic<16>>;
using Graph = boost::adjacency_list<boost::vecS, boost::vecS, boost::undirectedS, boost::no_property,
                                    boost::property<boost::edge_index_t, std::size_t>>;

// The host's point tolerance.
constexpr double kTolerance = 1e-10;
constexpr unsigned kNone = ~0u;

}  // namespace

Outcome RunBoost(const std::vector<ZrOwEntity*>& pipes) {
    std::vector<Value> ends;
    ends.reserve(2 * pipes.size());
    for (const ZrOwEntity* entity : pipes) {
        const ZrOwPolyLine* pipe = ZrOwPolyLine::cast(entity);
        for (const AcGePoint3d& point : {pipe->GetStartPoint(), pipe->GetEndPoint()}) {
            ends.emplace_back(Point(point.x, point.y, point.z), static_cast<unsigned>(ends.size()));
        }
    }
    // The range constructor packs, which is faster to make and to search than single insertions.
    const Tree tree(ends.begin(), ends.end());
    std::vector<unsigned> nodeOf(ends.size(), kNone);
    unsigned nodes = 0;
    std::vector<Value> near;
    for (std::size_t end = 0; end < ends.size(); ++end) {
        if (nodeOf[end] != kNone) {
            continue;
        }
        const Point& at = ends[end].first;
        const Box box(Point(at.get<0>() - kTolerance, at.get<1>() - kTolerance, at.get<2>() - kTolerance),
                      Point(at.get<0>() + kTolerance, at.get<1>() + kTolerance, at.get<2>() + kTolerance));
        near.clear();
        tree.query(boost::geometry::index::intersects(box), std::back_inserter(near));
        for (const Value& value : near) {
            nodeOf[value.second] = nodes;
        }
        ++nodes;
    }

    Graph graph(nodes);
    for (std::size_t pipe = 0; pipe < pipes.size(); ++pipe) {
        boost::add_edge(nodeOf[2 * pipe], nodeOf[2 * pipe + 1], pipe, graph);
    }
    std::vector<unsigned> networkOf(nodes);
    Outcome outcome;
    outcome.networks = static_cast<std::size_t>(boost::connected_components(graph, networkOf.data()));

    std::vector<std::size_t> componentOf(pipes.size());
    const auto component = boost::make_iterator_property_map(componentOf.begin(), boost::get(boost::edge_index, graph));
    const std::size_t components = boost::biconnected_components(graph, component);
    std::vector<std::vector<ZrOwEntity*>> members(components);
    for (std::size_t pipe = 0; pipe < pipes.size(); ++pipe) {
        members[componentOf[pipe]].push_back(pipes[pipe]);
    }
    for (const std::vector<ZrOwEntity*>& loop : members) {
        outcome.loops += loop.size() > 1;
    }
    return outcome;
}

}  // namespace norvex::bench
