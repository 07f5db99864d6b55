// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "platform/arx/AcGe.h"

namespace norvex::pipenet {

// A cube of space, by its whole-numbered coordinates. Far out, where a double no longer tells cells apart, many share
// one; nothing depends on cells being distinct.
struct Cell {
    std::int64_t x;
    std::int64_t y;
    std::int64_t z;

    bool operator==(const Cell& other) const { return x == other.x && y == other.y && z == other.z; }
};

inline std::uint64_t HashOf(const Cell& cell) {
    // Odd constants with well spread bits; the shift brings the high halves, where products mix best, back down.
    std::uint64_t hash = static_cast<std::uint64_t>(cell.x) * 0x9E3779B97F4A7C15u +
                         static_cast<std::uint64_t>(cell.y) * 0xC2B2AE3D27D4EB4Fu +
                         static_cast<std::uint64_t>(cell.z) * 0x165667B19E3779F9u;
    hash ^= hash >> 32;
    hash *= 0xD6E8FEB86659FD93u;
    return hash ^ (hash >> 32);
}

// Divides space into cells so that points within reach of each other lie in one cell or in neighbours.
class CellGrid {
  public:
    // reach in drawing units, not negative and not NaN; it may be infinite.
    explicit CellGrid(double reach) : CellGrid(reach, std::max(kSmallestCell, kReachesPerCell * reach)) {}
    // Requires: cellSize, in drawing units, is more than zero and at least three times the reach.
    CellGrid(double reach, double cellSize)
        // A little more than asked for covers the rounding of the distances that the cells only prepare for.
        : m_reach(reach * (1.0 + 1e-9)), m_scale(1.0 / cellSize) {}

    Cell Of(const AcGePoint3d& point) const { return {Along(point.x), Along(point.y), Along(point.z)}; }
    // The cell of the point, and whether the point surely has nothing in reach outside it. Quicker than asking for the
    // lowest and the highest corner; false says nothing.
    std::pair<Cell, bool> Locate(const AcGePoint3d& point) const {
        const double x = point.x * m_scale + kOffset;
        const double y = point.y * m_scale + kOffset;
        const double z = point.z * m_scale + kOffset;
        if (!(std::abs(x) < kPreciseUpTo && std::abs(y) < kPreciseUpTo && std::abs(z) < kPreciseUpTo)) {
            return {Of(point), false};
        }
        const Cell cell{Floor(x), Floor(y), Floor(z)};
        const double margin = m_reach * m_scale + kRounding;
        const auto inside = [margin](double scaled, std::int64_t floor) {
            const double fraction = scaled - static_cast<double>(floor);
            return fraction > margin && fraction < 1.0 - margin;
        };
        return {cell, inside(x, cell.x) && inside(y, cell.y) && inside(z, cell.z)};
    }
    // The cells of the lowest and the highest corner of the box within reach of the point.
    Cell Low(const AcGePoint3d& point) const {
        return {Along(point.x - m_reach), Along(point.y - m_reach), Along(point.z - m_reach)};
    }
    Cell High(const AcGePoint3d& point) const {
        return {Along(point.x + m_reach), Along(point.y + m_reach), Along(point.z + m_reach)};
    }

    // Calls visit with each cell that the box within reach of the point touches: one for most points, eight at most.
    template <class Visit>
    void ForEachWithinReach(const AcGePoint3d& point, const Visit& visit) const {
        const Cell low = Low(point);
        const Cell high = High(point);
        for (int corner = 0; corner < 8; ++corner) {
            if (((corner & 1) && low.x == high.x) || ((corner & 2) && low.y == high.y) ||
                ((corner & 4) && low.z == high.z)) {
                continue;
            }
            visit(Cell{(corner & 1) ? high.x : low.x, (corner & 2) ? high.y : low.y, (corner & 4) ? high.z : low.z});
        }
    }

  private:
    // Wide against the reach, so that most boxes touch one cell; small against the length of a pipe, in drawing units,
    // so that most cells hold one point.
    static constexpr double kSmallestCell = 2.0;
    static constexpr double kReachesPerCell = 20.0;
    // Coordinates are mostly round. Borders lie away from whole and half units, or every query would touch them.
    static constexpr double kOffset = 0.15;
    // Beyond this a conversion to a whole number would overflow.
    static constexpr double kFarthest = 4e18;

    std::int64_t Along(double coordinate) const {
        const double scaled = coordinate * m_scale + kOffset;
        if (!(std::abs(scaled) < kFarthest)) {
            // With an infinite reach there is one cell, and its corners are no numbers.
            if (m_scale == 0.0) {
                return 0;
            }
            return scaled > 0.0 ? static_cast<std::int64_t>(kFarthest) : -static_cast<std::int64_t>(kFarthest);
        }
        return Floor(scaled);
    }

    static std::int64_t Floor(double scaled) {
        const auto truncated = static_cast<std::int64_t>(scaled);
        return truncated - (scaled < static_cast<double>(truncated) ? 1 : 0);
    }

    // Up to here the fraction of a scaled coordinate is right within the rounding allowed for, a dozen times over.
    static constexpr double kPreciseUpTo = 1 << 30;
    static constexpr double kRounding = 4e-6;

    double m_reach;
    double m_scale;
};

inline bool IsFinite(const AcGePoint3d& point) {
    return std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.z);
}

}  // namespace norvex::pipenet
