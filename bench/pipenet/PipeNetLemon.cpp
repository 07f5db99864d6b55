// SPDX-License-Identifier: Apache-2.0
#include <lemon/connectivity.h>
#include <lemon/smart_graph.h>

#include <cmath>
#include <cstdint>

#include "bench/pipenet/PipeNetPeers.h"
#include "platform/zrow/ZrOwLines.h"

namespace norvex::bench {
namespace {

// Points by rounded coordinates, in open addressing. It misses ends on two sides of a rounding border, which the
// generated drawings do not have.
class PointTable {
  public:
    explicit PointTable(std::size_t points) {
        std::size_t size = 64;
        while (size < 2 * points) {
            size *= 2;
        }
        m_slots.resize(size);
    }

    // The number of the point; equal points have the same number, new ones get the next.
    int NumberOf(const AcGePoint3d& point) {
        const Key key{std::llround(point.x * kScale), std::llround(point.y * kScale), std::llround(point.z * kScale)};
        std::uint64_t hash = static_cast<std::uint64_t>(key.x) * 0x9E3779B97F4A7C15u;
        hash = (hash ^ static_cast<std::uint64_t>(key.y)) * 0xC2B2AE3D27D4EB4Fu;
        hash = (hash ^ (hash >> 29) ^ static_cast<std::uint64_t>(key.z)) * 0x165667B19E3779F9u;
        std::size_t position = (hash ^ (hash >> 32)) & (m_slots.size() - 1);
        while (m_slots[position].number >= 0) {
            const Slot& slot = m_slots[position];
            if (slot.key.x == key.x && slot.key.y == key.y && slot.key.z == key.z) {
                return slot.number;
            }
            position = (position + 1) & (m_slots.size() - 1);
        }
        m_slots[position] = {key, m_count};
        return m_count++;
    }
    int Count() const { return m_count; }

  private:
    // Cells of a tenth of a drawing unit.
    static constexpr double kScale = 10.0;
    struct Key {
        long long x, y, z;
    };
    struct Slot {
        Key key{};
        int number = -1;
    };
    std::vector<Slot> m_slots;
    int m_count = 0;
};

}  // namespace

Outcome RunLemon(const std::vector<ZrOwEntity*>& pipes) {
    // A network has about as many points as pipes.
    PointTable table(pipes.size() + pipes.size() / 8);
    std::vector<int> ends;
    ends.reserve(2 * pipes.size());
    for (const ZrOwEntity* entity : pipes) {
        const ZrOwPolyLine* pipe = ZrOwPolyLine::cast(entity);
        ends.push_back(table.NumberOf(pipe->GetStartPoint()));
        ends.push_back(table.NumberOf(pipe->GetEndPoint()));
    }
    lemon::SmartGraph graph;
    graph.reserveNode(table.Count());
    graph.reserveEdge(static_cast<int>(pipes.size()));
    for (int node = 0; node < table.Count(); ++node) {
        graph.addNode();
    }
    for (std::size_t pipe = 0; pipe < pipes.size(); ++pipe) {
        graph.addEdge(lemon::SmartGraph::nodeFromId(ends[2 * pipe]), lemon::SmartGraph::nodeFromId(ends[2 * pipe + 1]));
    }
    lemon::SmartGraph::NodeMap<int> networkOf(graph);
    Outcome outcome;
    outcome.networks = static_cast<std::size_t>(lemon::connectedComponents(graph, networkOf));
    // The networks as lists of pipes, which is what grouping is for.
    std::vector<std::vector<ZrOwEntity*>> members(outcome.networks);
    for (std::size_t pipe = 0; pipe < pipes.size(); ++pipe) {
        const auto node = lemon::SmartGraph::nodeFromId(ends[2 * pipe]);
        members[static_cast<std::size_t>(networkOf[node])].push_back(pipes[pipe]);
    }
    return outcome;
}

}  // namespace norvex::bench
