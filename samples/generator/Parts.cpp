// SPDX-License-Identifier: Apache-2.0
#include "samples/generator/Parts.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>

namespace norvex::samples {
namespace {

struct Diameter {
    int nominal;
    double outer;
};

template <std::size_t count>
double OuterDiameter(const std::array<Diameter, count>& table, int nominal) {
    const auto* row =
        std::find_if(table.begin(), table.end(), [nominal](const Diameter& each) { return each.nominal == nominal; });
    assert(row != table.end());
    return row->outer;
}

}  // namespace

Section SteelPipe(int nominal) {
    static constexpr std::array<Diameter, 10> kTable{{{15, 21.3},
                                                      {20, 26.9},
                                                      {25, 33.7},
                                                      {32, 42.4},
                                                      {40, 48.3},
                                                      {50, 60.3},
                                                      {65, 76.1},
                                                      {80, 88.9},
                                                      {100, 114.3},
                                                      {150, 168.3}}};
    return {nominal, OuterDiameter(kTable, nominal), 0.0, "DN"};
}

Section PlasticPipe(int nominal) {
    static constexpr std::array<Diameter, 3> kTable{{{50, 50.0}, {75, 75.0}, {100, 110.0}}};
    return {nominal, OuterDiameter(kTable, nominal), 0.0, "DN"};
}

Section RoundDuct(int diameter) {
    return {diameter, static_cast<double>(diameter), 0.0, "D"};
}

Section Rectangle(double width, double height) {
    return {0, width, height, ""};
}

std::string SectionText(const Section& section) {
    if (section.IsRound()) {
        return std::string(section.word) + std::to_string(section.nominal);
    }
    return std::to_string(std::lround(section.width)) + "x" + std::to_string(std::lround(section.height));
}

Flow Opposite(Flow flow) {
    switch (flow) {
        case Flow::Sink:
            return Flow::Source;
        case Flow::Source:
            return Flow::Sink;
        case Flow::Both:
            break;
    }
    return Flow::Both;
}

}  // namespace norvex::samples
