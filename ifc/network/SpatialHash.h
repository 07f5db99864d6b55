// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/Geometry.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace norvex::ifc {

// Finds things by the cubic cell they lie in. Fill with Add(), then Build() once, then ask. Different cells may share a
// bucket, so what comes back must be tested; nothing that lies in the cell is missing.
class SpatialHash {
  public:
    // `cellSize`: mm.
    explicit SpatialHash(double cellSize) : cellSize_(cellSize) {}

    struct Cell {
        std::int64_t x;
        std::int64_t y;
        std::int64_t z;

        friend bool operator==(const Cell&, const Cell&) = default;
    };

    Cell CellOf(const Point& point) const { return {Step(point.x), Step(point.y), Step(point.z)}; }
    double CellSize() const { return cellSize_; }

    // What lies in cells that hold none of these points is left out from now on: nobody will ask there. The points must
    // be asked for with reach 0.
    void WantOnly(const std::vector<Point>& points);

    void Add(const Cell& cell, std::uint32_t item) {
        const std::uint64_t key = Key(cell);
        if (wanted_.empty() || wanted_[key & (wanted_.size() - 1)]) {
            entries_.push_back({key, item});
        }
    }
    void Add(const Point& point, std::uint32_t item) { Add(CellOf(point), item); }
    void Build();

    // Calls visit(item) for everything added in the cells that the cube of this half size around the point touches,
    // bucket by bucket, until it returns false. Items that were added in several cells may come more than once.
    template <typename Visit>
    void Around(const Point& point, double reach, Visit visit) const {
        const Point margin{reach, reach, reach};
        const Cell low = CellOf(point - margin);
        const Cell high = CellOf(point + margin);
        for (std::int64_t x = low.x; x <= high.x; ++x) {
            for (std::int64_t y = low.y; y <= high.y; ++y) {
                for (std::int64_t z = low.z; z <= high.z; ++z) {
                    for (const std::uint32_t item : At(Key({x, y, z}))) {
                        if (!visit(item)) {
                            return;
                        }
                    }
                }
            }
        }
    }

  private:
    struct Entry {
        std::uint64_t key;
        std::uint32_t item;
    };

    // Cells farther out than this fall together: beyond it a whole number of them may not be one of 64 bits. It is far
    // outside what a model places.
    static constexpr double kFarthestCell = 1e12;

    std::int64_t Step(double coordinate) const {
        const double cell = std::floor(coordinate / cellSize_);
        // What is no number goes to the lowest cell.
        return static_cast<std::int64_t>(cell > -kFarthestCell ? std::min(cell, kFarthestCell) : -kFarthestCell);
    }
    static std::uint64_t Key(const Cell& cell);
    std::span<const std::uint32_t> At(std::uint64_t key) const;

    double cellSize_;
    std::vector<Entry> entries_;
    std::vector<std::uint32_t> items_;
    std::vector<std::uint32_t> firsts_;  // by bucket, one more than buckets
    std::uint64_t mask_ = 0;
    std::vector<bool> wanted_;  // by low bits of the key; a power of two; empty: all
};

}  // namespace norvex::ifc
