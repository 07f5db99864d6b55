// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "samples/generator/Key.h"
#include "samples/generator/StepWriter.h"
#include "samples/generator/Vector.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace norvex::samples {

// A cross-section: of a round pipe or duct, or of a rectangular duct or tray. Millimetres.
struct Section {
    int nominal = 0;        // what the trade calls it (DN); 0 for rectangular ones
    double width = 0.0;     // outer diameter, or the horizontal side
    double height = 0.0;    // 0: round
    std::string_view word;  // before the nominal size: "DN" for pipes, "D" for round ducts

    bool IsRound() const { return height <= 0.0; }
};

Section SteelPipe(int nominal);    // outer diameters of ISO 4200
Section PlasticPipe(int nominal);  // drainage: outer diameters of EN 1329
Section RoundDuct(int diameter);
Section Rectangle(double width, double height);
// Returns: "DN25", "D200" for round ducts, "500x250".
std::string SectionText(const Section& section);

enum class Flow { Sink, Source, Both };
Flow Opposite(Flow flow);

// A body: the section, centred on the frame's z axis, pushed along it from the origin.
struct Solid {
    Section section;
    Frame frame;
    double depth = 0.0;
};

// Where a part may be joined, in the part's own frame. `direction` points out of the part.
struct LocalPort {
    Vector point;
    Vector direction;
    Section section;
    Flow flow = Flow::Both;
    std::string portType;    // PIPE, DUCT, CABLECARRIER
    std::string systemType;  // as the system's PredefinedType
};

// What is the same for all parts that come out of one box. Two descriptions with equal contents are one type of the
// file.
struct PartType {
    std::string className;   // of the occurrence: IFCVALVE; the type's is IFCVALVETYPE
    std::string predefined;  // PredefinedType of both
    std::string name;
    std::vector<Solid> solids;
    std::vector<LocalPort> ports;
    // One property of one set, a length in millimetres; empty: no set.
    std::string propertySet;
    std::string property;
    double propertyValue = 0.0;
};

// A port of a placed part, in world coordinates.
struct Port {
    Id id = 0;  // 0: the file holds no ports
    Key key;
    Vector point;
    Vector direction;
    Section section;
    Flow flow = Flow::Both;
};

struct Part {
    Id id = 0;
    std::string globalId;
    std::vector<Port> ports;
};

}  // namespace norvex::samples
