// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <limits>
#include <unordered_map>

#include "Compare.h"

namespace norvex::test {

// Many small drawings, far from each other, in one list in any order: as long as those that a search puts in order
// first. Each drawing has to come out as it does alone.
class LongList {
  public:
    LongList(std::uint64_t seed, int drawings) : m_random(seed) {
        RandomNets nets(seed);
        for (int number = 0; number < drawings; ++number) {
            Add(nets.Below(8) == 0 ? nets.Next() : nets.NextMesh());
        }
        std::shuffle(m_list.begin(), m_list.end(), m_random);
        for (std::unique_ptr<PipeSet>& set : m_sets) {
            set->list.clear();
        }
        for (std::size_t position = 0; position < m_list.size(); ++position) {
            if (m_list[position] != nullptr) {
                m_sets[m_setOf.at(m_list[position])]->list.push_back(m_list[position]);
                m_position.emplace(m_list[position], position);
            }
        }
    }

    std::size_t size() const { return m_list.size(); }

    // Tells the first difference in graphs or loops.
    std::string Compare() {
        struct Expected {
            naive::Graph graph;
            std::size_t set;
            std::size_t firstPipe;
        };
        naive::Objects objects;
        std::vector<Expected> expected;
        for (std::size_t set = 0; set < m_sets.size(); ++set) {
            std::vector<naive::Graph> found;
            naive::Search(objects).SearchGraph(m_sets[set]->list, found);
            for (const naive::Graph& graph : found) {
                expected.push_back({graph, set, m_position.at(graph.edges.front()->pipe)});
            }
        }
        std::sort(expected.begin(), expected.end(),
                  [](const Expected& left, const Expected& right) { return left.firstPipe < right.firstPipe; });
        std::vector<CCheckPipeLineGraph> graphs;
        CCheckSearchGraph().SearchGraph(m_list, graphs);
        if (graphs.size() != std::min<std::size_t>(1000, expected.size())) {
            return "number of graphs";
        }
        for (std::size_t number = 0; number < graphs.size(); ++number) {
            const std::string difference =
                CompareSearched(expected[number].graph, graphs[number], *m_sets[expected[number].set]);
            if (!difference.empty()) {
                return difference + " of " + Describe(*m_sets[expected[number].set]);
            }
        }
        return "";
    }

  private:
    void Add(std::unique_ptr<PipeSet> set) {
        const auto far = [this] { return 4096.0 * static_cast<double>(m_random() % 100000); };
        AcGePoint3d corner(far(), far(), far());
        if (m_random() % 64 == 0) {
            // Where all of it is one place: a drawing's width without end.
            corner.x = 1e300 + 1e296 * static_cast<double>(m_sets.size());
        }
        // Some reach through much of the whole, so that pipes begin far from each other and yet meet.
        const double size = m_random() % 2 == 0 ? 1.0 : 1e6;
        const auto moved = [&](const AcGePoint3d& point) {
            return AcGePoint3d(size * point.x + corner.x, size * point.y + corner.y, size * point.z + corner.z);
        };
        for (ZrOwPolyLine& pipe : set->pipes) {
            AcGePoint3d end = moved(pipe.GetEndPoint());
            if (m_random() % 256 == 0) {
                // No start of a pipe, because a network that begins at none is found again and again.
                end.y = std::numeric_limits<double>::quiet_NaN();
            }
            pipe.SetPoints(moved(pipe.GetStartPoint()), end);
        }
        for (ZrOwEntity* entity : set->list) {
            m_setOf.emplace(entity, m_sets.size());
            m_list.push_back(entity);
        }
        m_sets.push_back(std::move(set));
    }

    std::mt19937_64 m_random;
    std::vector<std::unique_ptr<PipeSet>> m_sets;
    std::unordered_map<const ZrOwEntity*, std::size_t> m_setOf;
    std::vector<ZrOwEntity*> m_list;
    // Of the first entry of each.
    std::unordered_map<const ZrOwEntity*, std::size_t> m_position;
};

}  // namespace norvex::test
