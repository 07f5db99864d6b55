// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cmath>
#include <deque>
#include <random>
#include <string>
#include <vector>

#include "platform/zrow/ZrOwLines.h"

namespace norvex::test {

// A large drawing of one kind, in the order of drawing or shuffled. Points lie on whole drawing units.
class PipeShape {
  public:
    // At most pipes, and nearly as many. Kinds:
    //   forest    1000 trees, each a run with branches off branches
    //   chain     one run
    //   grid      a square mesh
    //   building  1000 networks: a ring with a branch of three pipes at every fourth joint
    //   squares   squares in a row, each touching the next in one point
    //   ladder    two runs with rungs
    //   honeycomb a mesh of hexagons, three pipes at a joint
    //   sparse    a square mesh with two fifths of its pipes left out at random
    //   twins     meshes in a row, joined at single points; the search begins where two of them meet
    //   petals    squares that all touch in one point
    //   stubs     a square mesh with a pipe shorter than a place at every joint, which begins and ends there
    //   doubled   a square mesh with every pipe drawn twice
    //   loose     a square mesh whose pipes' ends lie anywhere within a place, and meet others or not
    PipeShape(const std::string& kind, int pipes, bool shuffled) {
        if (kind == "forest") {
            Forest(pipes);
        } else if (kind == "chain") {
            Run({0.0, 0.0, 0.0}, 1000.0, 0.0, pipes);
        } else if (kind == "grid") {
            Grid(pipes, 0.0);
        } else if (kind == "building") {
            Building(pipes);
        } else if (kind == "squares") {
            Squares(pipes);
        } else if (kind == "ladder") {
            Ladder(pipes);
        } else if (kind == "honeycomb") {
            Honeycomb(pipes);
        } else if (kind == "sparse") {
            Grid(pipes, 0.4);
        } else if (kind == "twins") {
            Twins(pipes);
        } else if (kind == "petals") {
            Petals(pipes);
        } else if (kind == "stubs") {
            Stubs(pipes);
        } else if (kind == "doubled") {
            Doubled(pipes);
        } else if (kind == "loose") {
            Loose(pipes);
        }
        if (shuffled) {
            std::mt19937_64 random(7);
            std::shuffle(m_list.begin(), m_list.end(), random);
        }
    }

    const std::vector<ZrOwEntity*>& list() const { return m_list; }
    std::size_t size() const { return m_list.size(); }

  private:
    AcGePoint3d Pipe(const AcGePoint3d& start, const AcGePoint3d& end) {
        m_list.push_back(&m_pipes.emplace_back(start, end));
        return end;
    }

    AcGePoint3d Run(AcGePoint3d from, double stepX, double stepY, int pipes) {
        for (int pipe = 0; pipe < pipes; ++pipe) {
            from = Pipe(from, {from.x + stepX, from.y + stepY, from.z});
        }
        return from;
    }

    void Forest(int pipes) {
        std::mt19937_64 random(1);
        for (int tree = 0; tree < 1000; ++tree) {
            std::vector<AcGePoint3d> joints = {{0.0, 1e6 * tree, 0.0}};
            for (int pipe = 0; pipe < pipes / 1000; ++pipe) {
                const AcGePoint3d from = joints[joints.size() - 1 - random() % std::min<std::size_t>(joints.size(), 4)];
                joints.push_back(
                    Pipe(from, {1000.0 * (pipe + 1), 1e6 * tree + 500.0 * static_cast<double>(pipe % 7), 0.0}));
            }
        }
    }

    void Grid(int pipes, double leftOut) {
        const int side = std::max(2, static_cast<int>(std::sqrt(pipes / (2.0 * (1.0 - leftOut)))));
        GridAt({}, side, leftOut);
    }

    void GridAt(const AcGePoint3d& corner, int side, double leftOut) {
        std::mt19937_64 random(5);
        const auto drawn = [&] { return static_cast<double>(random() % 1000) >= 1000.0 * leftOut; };
        for (int row = 0; row < side; ++row) {
            for (int column = 0; column < side; ++column) {
                const AcGePoint3d at(corner.x + 1000.0 * column, corner.y + 1000.0 * row, corner.z);
                if (column + 1 < side && drawn()) {
                    Pipe(at, {at.x + 1000.0, at.y, at.z});
                }
                if (row + 1 < side && drawn()) {
                    Pipe(at, {at.x, at.y + 1000.0, at.z});
                }
            }
        }
    }

    void Building(int pipes) {
        const int each = std::max(8, pipes / 1000);
        const int joints = each * 4 / 7;
        for (int network = 0; network < std::min(1000, pipes / each); ++network) {
            const double y = 1e5 * network;
            const AcGePoint3d corner(0.0, y, 0.0);
            AcGePoint3d at = corner;
            for (int joint = 0; joint < joints; ++joint) {
                const bool out = joint < joints / 2;
                const AcGePoint3d next = joint + 1 == joints ? corner
                                         : joint + 1 == joints / 2
                                             ? AcGePoint3d(at.x + 1000.0, y + 10000.0, 0.0)
                                             : AcGePoint3d(at.x + (out ? 1000.0 : -1000.0), at.y, 0.0);
                at = Pipe(at, next);
                if (joint % 4 == 1) {
                    Run(at, 10.0, out ? -1000.0 : 1000.0, 3);
                }
            }
        }
    }

    void Squares(int pipes) {
        AcGePoint3d at;
        for (int square = 0; square < pipes / 4; ++square) {
            const AcGePoint3d far(at.x + 1000.0, at.y + 1000.0, 0.0);
            Pipe(at, {far.x, at.y, 0.0});
            Pipe({far.x, at.y, 0.0}, far);
            Pipe(far, {at.x, far.y, 0.0});
            Pipe({at.x, far.y, 0.0}, at);
            at = far;
        }
    }

    void Ladder(int pipes) {
        for (int rung = 0; rung < pipes / 3; ++rung) {
            const double x = 1000.0 * rung;
            Pipe({x, 0.0, 0.0}, {x, 1000.0, 0.0});
            Pipe({x, 0.0, 0.0}, {x + 1000.0, 0.0, 0.0});
            Pipe({x, 1000.0, 0.0}, {x + 1000.0, 1000.0, 0.0});
        }
    }

    void Honeycomb(int pipes) {
        const int side = std::max(2, static_cast<int>(std::sqrt(pipes / 1.5)));
        for (int row = 0; row < side; ++row) {
            for (int column = 0; column < side; ++column) {
                const AcGePoint3d at(1000.0 * column, 1000.0 * row, 0.0);
                if (column + 1 < side) {
                    Pipe(at, {at.x + 1000.0, at.y, 0.0});
                }
                if (row + 1 < side && (row + column) % 2 == 0) {
                    Pipe(at, {at.x, at.y + 1000.0, 0.0});
                }
            }
        }
    }

    void Twins(int pipes) {
        constexpr int kMeshes = 8;
        const int side = std::max(3, static_cast<int>(std::sqrt(pipes / 2.0 / kMeshes)));
        const double width = 1000.0 * (side - 1);
        // From the middle outwards, so that the first pipe starts where two meshes meet.
        for (const int mesh : {4, 3, 5, 2, 6, 1, 7, 0}) {
            GridAt({width * mesh, width * mesh, 0.0}, side, 0.0);
        }
    }

    void Petals(int pipes) {
        for (int petal = 0; petal < pipes / 4; ++petal) {
            const double x = 1000.0 * (petal + 1);
            Pipe({}, {x, 0.0, 0.0});
            Pipe({x, 0.0, 0.0}, {x, x, 7.0});
            Pipe({x, x, 7.0}, {0.0, x, 0.0});
            Pipe({0.0, x, 0.0}, {});
        }
    }

    void Stubs(int pipes) {
        const int side = std::max(2, static_cast<int>(std::sqrt(pipes / 3.0)));
        for (int row = 0; row < side; ++row) {
            for (int column = 0; column < side; ++column) {
                const AcGePoint3d at(1000.0 * column, 1000.0 * row, 0.0);
                Pipe(at, {at.x + 0.05, at.y, at.z});
                if (column + 1 < side) {
                    Pipe(at, {at.x + 1000.0, at.y, at.z});
                }
                if (row + 1 < side) {
                    Pipe(at, {at.x, at.y + 1000.0, at.z});
                }
            }
        }
    }

    void Doubled(int pipes) {
        Grid(pipes / 2, 0.0);
        const std::size_t once = m_list.size();
        for (std::size_t number = 0; number < once; ++number) {
            Pipe(m_pipes[number].GetStartPoint(), m_pipes[number].GetEndPoint());
        }
    }

    void Loose(int pipes) {
        Grid(pipes, 0.0);
        std::mt19937_64 random(9);
        const auto off = [&](AcGePoint3d point) {
            point.x += random() % 4 == 0 ? 0.04 : 0.0;
            return point;
        };
        for (ZrOwPolyLine& pipe : m_pipes) {
            const AcGePoint3d start = off(pipe.GetStartPoint());
            pipe.SetPoints(start, off(pipe.GetEndPoint()));
        }
    }

    std::deque<ZrOwPolyLine> m_pipes;
    std::vector<ZrOwEntity*> m_list;
};

}  // namespace norvex::test
