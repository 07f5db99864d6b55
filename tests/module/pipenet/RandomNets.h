// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <iterator>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "platform/zrow/ZrOwLines.h"
#include "platform/zrow/ZrOwNodes.h"

namespace norvex::test {

// Entities with the order in which a search gets them.
struct PipeSet {
    std::deque<ZrOwPolyLine> pipes;
    std::deque<ZrOwNode> others;
    std::vector<ZrOwEntity*> list;
};

// Small drawings full of what is rare on a floor: ends 0.05 and 0.1 apart, ends within the host's tolerance, pipes
// shorter than 0.1, pipes of no length, pipes drawn twice, entries repeated, entries that are no pipes, clusters where
// near is not transitive, lengths that agree or nearly agree, loops of all kinds.
class RandomNets {
  public:
    explicit RandomNets(std::uint64_t seed) : m_random(seed) {}

    std::unique_ptr<PipeSet> Next() {
        auto set = std::make_unique<PipeSet>();
        m_wildness = Below(4);
        m_places = 2 + Below(7);
        const int pipes = 1 + Below(Below(5) == 0 ? 24 : 12);
        for (int pipe = 0; pipe < pipes; ++pipe) {
            AddPipe(*set);
        }
        if (Below(2) == 0) {
            std::shuffle(set->list.begin(), set->list.end(), m_random);
        }
        return set;
    }

    // A mesh of up to a hundred pipes with some left out and some across, in any order: loops compete for pipes, walks
    // stray into pockets, blocks fall apart and meet at single points.
    std::unique_ptr<PipeSet> NextMesh() {
        auto set = std::make_unique<PipeSet>();
        const int width = 2 + Below(7);
        const int height = 2 + Below(5);
        const int leftOut = Below(6);
        const int moved = Below(4) == 0 ? 4 + 11 * Below(2) : 0;
        // Pipes shorter than a place, which begin and end at one node.
        const int stubs = Below(4) == 0 ? 2 : 40;
        const auto at = [&](int column, int row) {
            return AcGePoint3d(10.0 * column + (moved != 0 && Below(moved) == 0 ? 0.05 : 0.0), 10.0 * row, 0.0);
        };
        const auto add = [&](const AcGePoint3d& from, const AcGePoint3d& to) {
            if (Below(10) >= leftOut) {
                set->list.push_back(Below(2) == 0 ? &set->pipes.emplace_back(from, to)
                                                  : &set->pipes.emplace_back(to, from));
            }
        };
        for (int row = 0; row < height; ++row) {
            for (int column = 0; column < width; ++column) {
                if (column + 1 < width) {
                    add(at(column, row), at(column + 1, row));
                }
                if (row + 1 < height) {
                    add(at(column, row), at(column, row + 1));
                }
                if (Below(20) == 0) {
                    add(at(column, row), at(Below(width), Below(height)));
                }
                if (Below(stubs) == 0) {
                    const AcGePoint3d from = at(column, row);
                    add(from, AcGePoint3d(from.x, from.y + 0.03 * Below(4), 0.0));
                }
            }
        }
        if (Below(3) != 0) {
            std::shuffle(set->list.begin(), set->list.end(), m_random);
        }
        return set;
    }

    // Hundreds of pipes within a few drawing units, with ends that meet exactly, nearly, and not at all.
    std::unique_ptr<PipeSet> NextCrowd() {
        auto set = std::make_unique<PipeSet>();
        const int pipes = 100 + Below(300);
        const double size = 0.2 + 0.3 * Below(8);
        const auto along = [&] { return size * Below(1000) / 1000.0 - 0.3; };
        std::vector<AcGePoint3d> ends;
        const auto end = [&] {
            AcGePoint3d point(along(), along(), Below(3) == 0 ? along() : 0.0);
            if (!ends.empty() && Below(2) == 0) {
                point = ends[static_cast<std::size_t>(Below(static_cast<int>(ends.size())))];
                static constexpr double kOffsets[] = {0.0, 0.0, 0.0, 5e-11, 2e-10, 0.05, 0.0999};
                point.x += kOffsets[Below(7)];
            }
            if (m_beyond && Below(3) == 0) {
                point.x = Beyond();
            }
            ends.push_back(point);
            return point;
        };
        for (int pipe = 0; pipe < pipes; ++pipe) {
            const AcGePoint3d start = end();
            set->list.push_back(&set->pipes.emplace_back(start, end()));
        }
        return set;
    }

    // From here on some points of Next(), NextCrowd() and Point() lie beyond all measure: not finite, or so far out
    // that doubles no longer tell neighbours apart, or that distances overflow.
    void ReachBeyond() { m_beyond = true; }

    // A coordinate beyond all measure.
    double Beyond() {
        static constexpr double kInfinity = std::numeric_limits<double>::infinity();
        static constexpr double kMost = std::numeric_limits<double>::max();
        static constexpr double kCoordinates[] = {std::numeric_limits<double>::quiet_NaN(),
                                                  kInfinity,
                                                  -kInfinity,
                                                  kMost,
                                                  -kMost,
                                                  1e308,
                                                  -1e308,
                                                  1e200,
                                                  1.0001e200,
                                                  -1e160,
                                                  1e154,
                                                  9.3e18,
                                                  9.2e18,
                                                  -9.3e18,
                                                  4e18,
                                                  8.1e18,
                                                  1e16,
                                                  1e16 + 2.0,
                                                  4.4e15,
                                                  2147483648.0,
                                                  2147483648.05,
                                                  -0.0,
                                                  std::numeric_limits<double>::denorm_min()};
        return kCoordinates[static_cast<std::size_t>(Below(static_cast<int>(std::size(kCoordinates))))];
    }

    int Below(int limit) { return static_cast<int>(m_random() % static_cast<std::uint64_t>(limit)); }

    // A point at or near one of a few places.
    AcGePoint3d Point() {
        const int place = Below(m_places);
        // Places lie on both sides of the origin, some of them across the borders of the index's cells.
        AcGePoint3d point(7.3 * (place % 3) - 7.3, 3.7 * (place / 3), place % 5 == 4 ? 2.5 : 0.0);
        if (m_beyond && Below(6) == 0) {
            const int axis = Below(4);
            (axis == 0 ? point.z : axis == 1 ? point.y : point.x) = Beyond();
            return point;
        }
        if (m_wildness == 0 || Below(8) >= m_wildness) {
            return point;
        }
        static constexpr double kOffsets[] = {0.05, -0.05, 0.1, 0.06, 0.12, 0.099, 0.1000001, 5e-11, 2e-10, 0.03};
        const double offset = kOffsets[Below(10)];
        (Below(3) == 0 ? point.y : point.x) += offset;
        return point;
    }

  private:
    void AddPipe(PipeSet& set) {
        const int kind = Below(16);
        if (kind == 0 && !set.list.empty()) {
            set.list.push_back(set.list[static_cast<std::size_t>(Below(static_cast<int>(set.list.size())))]);
            return;
        }
        if (kind == 1 && m_wildness > 1) {
            set.list.push_back(Below(2) == 0 ? nullptr : &set.others.emplace_back(Point()));
            return;
        }
        AcGePoint3d start = Point();
        AcGePoint3d end = Point();
        if (kind == 2 && !set.pipes.empty()) {
            const ZrOwPolyLine& again = set.pipes[static_cast<std::size_t>(Below(static_cast<int>(set.pipes.size())))];
            start = again.GetStartPoint();
            end = again.GetEndPoint();
        }
        if (kind == 3 && m_wildness > 0) {
            end = start;
            end.x += Below(2) == 0 ? 0.0 : 0.02 * Below(7);
        }
        ZrOwPolyLine& pipe = set.pipes.emplace_back(start, end);
        if (Below(2) == 0) {
            std::swap(start, end);
            pipe.SetPoints(start, end);
        }
        if (Below(4) == 0) {
            static constexpr double kLengths[] = {5.0, 5.0009, 5.001, 5.002, -5.0, 0.0};
            pipe.SetLength(m_beyond && Below(4) == 0 ? Beyond() : kLengths[Below(6)]);
        }
        set.list.push_back(&pipe);
    }

    std::mt19937_64 m_random;
    int m_places = 2;
    int m_wildness = 0;
    bool m_beyond = false;
};

}  // namespace norvex::test
