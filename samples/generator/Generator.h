// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "samples/generator/Model.h"

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace norvex::samples {

// What can be planted in the building on purpose.
enum class Plant {
    WaterLoop,
    PipePair,
    DrainageLoop,
    HeatingRing,
    StoreyLoop,
    DoubleDrawn,
    Gap,
    WrongLink,
    ValveDiameter,
    NoFlange,
    NoDiameter,
    NoStorey,
    RepeatedGlobalId
};

struct PlantInfo {
    Plant plant;
    std::string_view name;      // on the command line
    std::string_view sentence;  // what it is, for a person
};

std::span<const PlantInfo> Plants();
std::optional<Plant> PlantByName(std::string_view name);

// What a planted place, or a place of the building that looks like a defect and is none, must lead to.
enum class Verdict {
    Finding,  // the rule reports exactly these pipes as one finding
    Silent,   // none of these elements is in a finding of the rule
    Notice,   // the reader of the file says so about these elements
    Other     // another kind of check than loops must find it
};

struct Expectation {
    std::string plant;  // name of the plant; "fire-ring" for the ring that every building has
    Verdict verdict = Verdict::Finding;
    std::string rule;       // pipe-loop ...; for notices the reader's word for it
    std::string storey;     // name; empty: on none
    std::string specialty;  // 给排水 ...
    std::string severity;   // ERR_SUSPECTED, ERR_REMIND; empty unless a finding
    std::vector<std::string> globalIds;
    std::string reason;
};

struct Options {
    int floors = 3;        // at least 1
    int bays = 2;          // at least 1; of the one wing, when no size is given
    std::size_t size = 0;  // about how many elements; 0: floors and bays decide
    std::set<Plant> plants;
    LengthUnit unit = LengthUnit::Millimetre;
    PortStyle ports = PortStyle::Nested;
    std::uint64_t seed = 0;  // GlobalIds depend on it and nothing else
    std::string fileName = "sample.ifc";
};

struct Summary {
    std::size_t elements = 0;  // distribution elements; ports, types and storeys not included
    std::size_t instances = 0;
    std::vector<Expectation> expectations;  // in the order of placing
};

// Writes the building. Same options, same bytes, on every machine.
// Requires: floors at least 1, at least 2 with StoreyLoop. Errors: those of the stream.
Summary Generate(const Options& options, std::ostream& out);

// Returns: the expectations as tab-separated text with a heading line; for `others` those that loops are not about.
std::string ExpectationTable(std::span<const Expectation> expectations, bool others);

}  // namespace norvex::samples
