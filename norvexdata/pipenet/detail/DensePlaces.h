// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "norvexdata/pipenet/detail/Cells.h"
#include "norvexdata/pipenet/detail/PipeNetwork.h"

namespace norvex::pipenet {

// Numbers of places by fine cells.
class FineGrid {
  public:
    FineGrid(double reach, double cellSize) : m_grid(reach, cellSize) {}

    void Add(const AcGePoint3d& point, Index place) { m_places[HashOf(m_grid.Of(point))].push_back(place); }
    void Clear() {
        if (!m_places.empty()) {
            m_places.clear();
        }
    }
    // Calls visit with the number of every place in reach, and of others; of some more than once.
    template <class Visit>
    void ForEachWithinReach(const AcGePoint3d& point, const Visit& visit) const {
        m_grid.ForEachWithinReach(point, [&](const Cell& cell) {
            const auto found = m_places.find(HashOf(cell));
            if (found != m_places.end()) {
                for (const Index place : found->second) {
                    visit(place);
                }
            }
        });
    }

  private:
    CellGrid m_grid;
    std::unordered_map<std::uint64_t, std::vector<Index>> m_places;
};

// What lies in the cells of a search that hold very many places: a whole drawing may be of the size of a few cells. The
// places are kept in cells of the size of the host's tolerance, and the nodes of the graph being grown, which are never
// near each other, in cells of the size of a place.
class DensePlaces {
  public:
    // hostTolerance in drawing units; below zero and not a number count as zero.
    explicit DensePlaces(double hostTolerance)
        : m_all(std::max(0.0, hostTolerance), std::max(kSmallestCell, kReachesPerCell * hostTolerance)),
          m_nodes(kPlaceTolerance, kReachesPerCell * kPlaceTolerance) {}

    // Whether there is a dense cell at all.
    bool Any() const { return !m_cells.empty(); }
    bool IsDense(std::uint32_t cellHash) const { return Any() && m_cells.count(cellHash) != 0; }
    void MakeDense(std::uint32_t cellHash) { m_cells.insert(cellHash); }
    // Places of dense cells, and those of them that have a node.
    FineGrid& All() { return m_all; }
    FineGrid& Nodes() { return m_nodes; }
    const FineGrid& All() const { return m_all; }
    const FineGrid& Nodes() const { return m_nodes; }

  private:
    // Ends in one drawing are hardly ever nearer to each other without being the same.
    static constexpr double kSmallestCell = 0.001;
    static constexpr double kReachesPerCell = 4.0;

    std::unordered_set<std::uint32_t> m_cells;
    FineGrid m_all;
    FineGrid m_nodes;
};

}  // namespace norvex::pipenet
