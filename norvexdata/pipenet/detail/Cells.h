// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

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
    // Whether the point surely has nothing in reach outside its cell. Quicker than asking for the lowest and the
    // highest corner; false says nothing.
    bool IsWellInside(const AcGePoint3d& point) const {
        return IsWellInside(point.x) && IsWellInside(point.y) && IsWellInside(point.z);
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
            return scaled > 0.0 ? static_cast<std::int64_t>(kFarthest) : -static_cast<std::int64_t>(kFarthest);
        }
        const auto truncated = static_cast<std::int64_t>(scaled);
        return truncated - (scaled < static_cast<double>(truncated) ? 1 : 0);
    }

    bool IsWellInside(double coordinate) const {
        const double scaled = coordinate * m_scale + kOffset;
        if (!(std::abs(scaled) < kPreciseUpTo)) {
            return false;
        }
        const double truncated = static_cast<double>(static_cast<std::int64_t>(scaled));
        // Below zero, a fraction counts from the cell's other side.
        const double fraction = std::abs(scaled - truncated);
        const double margin = m_reach * m_scale + kRounding;
        return fraction > margin && fraction < 1.0 - margin;
    }

    // Up to here the fraction of a scaled coordinate is right within the rounding allowed for, a dozen times over.
    static constexpr double kPreciseUpTo = 1 << 28;
    static constexpr double kRounding = 1e-6;

    double m_reach;
    double m_scale;
};

inline bool IsFinite(const AcGePoint3d& point) {
    return std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.z);
}

}  // namespace norvex::pipenet
