// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "ifc/BuildingModel.h"

namespace norvex::report {

// What a model holds, counted for people and programs. Text is the model's own, UTF-8.
struct InspectSummary {
    struct Group {
        std::size_t elements = 0;
        std::size_t segments = 0;
        double length = 0.0;  // mm, of its segments
    };
    // By specialty, category and sub-category.
    std::map<std::tuple<std::string, std::string, std::string>, Group> groups;

    struct Network {
        std::size_t segments = 0;
        std::size_t joints = 0;  // fittings and in-line devices
        std::size_t bounds = 0;  // equipment and terminals at its ends
        double length = 0.0;     // mm, of its segments
        std::vector<std::string> specialties;
        std::vector<std::string> systems;  // names, each once, in ascending order
        std::vector<std::string> storeys;  // names, each once, from below
    };
    // From the longest to the shortest.
    std::vector<Network> networks;

    // Connections of the model by what made them.
    std::map<ifc::ConnectionEvidence, std::size_t> connections;

    // Elements, or parts of them, that have no place of some kind.
    struct Unplaced {
        std::string what;  // "on no storey: no relation places it"
        std::size_t count = 0;
        std::vector<std::string> examples;  // "IfcPipeSegment #12 Name", the first few
    };
    std::vector<Unplaced> unplaced;
};

InspectSummary Summarise(const ifc::BuildingModel& model);

}  // namespace norvex::report
