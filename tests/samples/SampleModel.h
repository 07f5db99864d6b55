// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/samples/StepFile.h"

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace norvex::test {

using Triple = std::array<double, 3>;

double DistanceBetween(const Triple& a, const Triple& b);

struct SamplePort {
    std::uint32_t id = 0;
    std::uint32_t element = 0;
    Triple point{};
    std::string flow;  // SINK, SOURCE, SOURCEANDSINK
};

struct SampleElement {
    std::uint32_t id = 0;
    std::string className;
    std::string globalId;
    std::uint32_t storey = 0;  // 0: none
    std::vector<std::uint32_t> ports;
    // Of extruded segments: both ends of the extrusion. Of segments drawn as an axis: the axis' ends.
    std::vector<Triple> ends;
    // Around the body, world coordinates; low above high: no body.
    Triple low{1e300, 1e300, 1e300};
    Triple high{-1e300, -1e300, -1e300};

    bool IsSegment() const { return className.ends_with("SEGMENT"); }
};

// A sample file as a building: placements multiplied out to millimetres, ports with their owners.
struct SampleModel {
    double unit = 1.0;                                // millimetres
    std::map<std::uint32_t, std::string> storeys;     // number of the storey, its name as written
    std::map<std::uint32_t, SampleElement> elements;  // by instance number
    std::map<std::uint32_t, SamplePort> ports;
    std::vector<std::array<std::uint32_t, 2>> connections;  // ports
    std::vector<std::string> faults;
};

SampleModel BuildSampleModel(const StepFile& file);

// Returns: the closed ways of pipes on each floor, as sets of GlobalIds: what hangs together when every pipe is taken
// off that lies on no closed way. Ways that share a pipe or a node come out as one. Pipes are joined where the file
// states it, through fittings and in-line devices; equipment and terminals join nothing.
std::map<std::uint32_t, std::vector<std::set<std::string>>> LoopsByFloor(const SampleModel& model);

}  // namespace norvex::test
