// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/Diagnostic.h"
#include "ifc/Geometry.h"
#include "ifc/TextPool.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// What a reader makes of an IFC file: plain values in file order, all lengths in millimetres, all text UTF-8.
// Every std::string_view in here points into BuildingModel::texts and lives as long as the model does, moves included.

namespace norvex::ifc {

// No text of a model is longer, in bytes. The standard gives labels, names and identifiers 255 characters, and a
// character of UTF-8 four bytes. A longer one is cut off and said: every element that a type is for carries the type's
// name, so one long text would otherwise grow with the number of its users.
inline constexpr std::size_t kMaxTextBytes = std::size_t{4} * 255;

// "None" wherever an index is expected.
inline constexpr std::uint32_t kNoIndex = 0xFFFFFFFFU;

enum class ElementKind : std::uint8_t {
    Segment,       // pipe, duct, cable, cable carrier: has two ends
    Fitting,       // bend, tee, reducer, junction box: joins segments in one point
    InlineDevice,  // valve, damper, meter, filter: sits in a line and joins like a fitting
    Equipment,     // pump, boiler, tank, board: ends a network, each port for itself
    Terminal,      // radiator, outlet, light, sprinkler: ends a network, each port for itself
    Other,         // sensor, controller, proxy: not part of a line
};

// Where the two ends of a segment were taken from, best evidence first.
enum class EndEvidence : std::uint8_t { None, Ports, Extrusion, SweptDisk, Axis, BodyBox };

// What made a connection. Everything but Stated is inferred from geometry.
enum class ConnectionEvidence : std::uint8_t {
    Stated,      // IfcRelConnectsPorts
    EndToEnd,    // two ends within 3 mm
    InsideBody,  // an end inside the other element's body, 1 mm of tolerance
    OnAxis,      // an end whose axis meets the other element's node within 50 mm
};

// Why an element has no storey.
enum class NoStoreyReason : std::uint8_t {
    Placed,             // it has one
    NotContained,       // no relation puts it, or what it is part of, anywhere
    OutsideStoreys,     // contained in a building, site or other structure above the storeys
    BrokenContainment,  // the chain of containers is cyclic, too long or ends in nothing
};

// Which end of an element a connection is made at.
enum class ElementEnd : std::uint8_t { None, Start, End };

struct Storey {
    std::uint32_t id = 0;  // instance number
    std::string_view globalId;
    std::string_view name;       // Name, else LongName, else "Storey #id"
    double elevation = 0.0;      // mm; Elevation of the storey, else the height of its placement
    std::uint32_t elements = 0;  // how many elements lie on it
};

struct System {
    std::uint32_t id = 0;  // instance number
    std::string_view globalId;
    std::string_view name;
    std::string_view className;       // IfcSystem, IfcDistributionSystem, IfcElectricalCircuit ...
    std::string_view predefinedType;  // HEATING, DRAINAGE ...; empty when not given
};

struct Element {
    std::uint32_t id = 0;        // instance number; unique in the model
    std::string_view globalId;   // may repeat in a bad file, may be empty
    std::string_view className;  // as the file's class, in mixed case: IfcPipeSegment
    std::string_view name;
    std::string_view typeName;  // name of the type object; empty without one

    ElementKind kind = ElementKind::Other;
    std::uint32_t storey = kNoIndex;  // index into storeys
    NoStoreyReason noStorey = NoStoreyReason::NotContained;

    // The attribute path. No part holds a backslash, all four are set.
    std::string_view specialty;
    std::string_view category;
    std::string_view subCategory;
    std::string_view detailName;

    // Whether the file says where the element is: a segment by its ends, everything else by its placement. An element
    // without a place has all its points at the origin.
    bool placed = false;
    // Another element of the model has the same GlobalId.
    bool globalIdRepeats = false;
    // Segments: the two ends, moved to the junctions they belong to. Ends that meet are equal bit by bit.
    // Without EndEvidence both are the position.
    EndEvidence ends = EndEvidence::None;
    Point start;
    Point end;
    double length = 0.0;  // mm along the run between the ends as measured in the file, before they were moved
    // Fittings and in-line devices: their junction. Everything else: the placement's origin, or the body's centre
    // where the origin lies far outside the body.
    Point position;
    Box box;                       // of the body; empty when the file holds no shape that was understood
    double nominalDiameter = 0.0;  // mm; 0: not known
    double outerDiameter = 0.0;    // mm, of a round segment as drawn; 0: not known
    // How its ends are joined, as its ports or, for a segment, its own properties say: THREADED, GROOVED ... Several in
    // ascending order, joined by commas. Empty: not said.
    std::string_view connectionType;

    // Junctions. Segments: of the start and the end. Fittings and in-line devices: the first. kNoIndex: open.
    std::uint32_t startJunction = kNoIndex;
    std::uint32_t endJunction = kNoIndex;
    std::uint32_t network = kNoIndex;  // index into networks; equipment and terminals: kNoIndex, they end networks

    // Indices into systems, first in BuildingModel::systemsOfElements.
    std::uint32_t firstSystem = 0;
    std::uint32_t systemCount = 0;
};

// A point where parts meet.
struct Junction {
    Point point;
};

struct Connection {
    std::uint32_t first = 0;   // index into elements
    std::uint32_t second = 0;  // index into elements; a stated connection of an element with itself is dropped and said
    std::uint32_t firstPort = 0;  // instance number; 0: not made through a port
    std::uint32_t secondPort = 0;
    ElementEnd firstEnd = ElementEnd::None;  // for segments: which end
    ElementEnd secondEnd = ElementEnd::None;
    ConnectionEvidence evidence = ConnectionEvidence::Stated;
    double distance = 0.0;              // mm between what was joined; stated without placed ports: 0
    std::uint32_t junction = kNoIndex;  // where they were joined; kNoIndex: nothing to join (neither has a place)
};

// Segments, fittings and in-line devices that hang together. Equipment and terminals bound it.
struct Network {
    std::vector<std::uint32_t> elements;  // indices, ascending; segments, fittings and in-line devices
    std::vector<std::uint32_t> bounds;    // indices, ascending; equipment and terminals at its ends
};

// What was found, in numbers; nothing is dropped that is not counted here.
struct Counts {
    std::uint64_t instances = 0;      // readable instances in the file
    std::uint64_t lostInstances = 0;  // instances that could not be read
    bool isCutOff = false;            // the file ends too early; what may have followed is not counted
    // Elements by what their classes say; an element that its name gives away may be taken for another kind.
    std::uint32_t segments = 0;
    std::uint32_t fittings = 0;
    std::uint32_t inlineDevices = 0;
    std::uint32_t equipment = 0;
    std::uint32_t terminals = 0;
    std::uint32_t others = 0;
    std::uint32_t otherProducts = 0;  // walls and the like, which are no services and not read
    std::uint32_t ports = 0;
    std::uint32_t portsToElement = 0;       // IfcRelConnectsPortToElement
    std::uint32_t statedConnections = 0;    // IfcRelConnectsPorts in the file
    std::uint32_t unusableConnections = 0;  // of these: ports without owner, or one element with itself
    std::uint32_t inferredConnections = 0;
    std::uint32_t systems = 0;   // IfcSystem, IfcDistributionSystem; circuits not included
    std::uint32_t circuits = 0;  // IfcElectricalCircuit, IfcDistributionCircuit
    std::uint32_t withoutStorey = 0;
    std::uint32_t segmentsWithoutEnds = 0;
    std::uint32_t withoutPlace = 0;  // these segments, and other elements without a placement
    std::uint32_t openEnds = 0;      // segment ends that nothing meets
    std::uint64_t notes = 0;         // diagnostics, those included that were not kept
    std::uint64_t warnings = 0;
    std::uint64_t errors = 0;
};

// Move-only, because its text lives in one pool.
struct BuildingModel {
    std::string sourceName;  // as the caller gave it
    std::string schema;      // the first name in FILE_SCHEMA: IFC2X3, IFC4, IFC4X3_ADD2
    std::string projectName;
    std::string projectGlobalId;  // empty: the file has no project, or one without
    std::string lengthUnit;       // METRE, MILLIMETRE, FOOT ... as the file names it, upper case
    double unitToMillimetres = 1.0;

    std::vector<Storey> storeys;    // by elevation, equal ones in file order
    std::vector<System> systems;    // in file order
    std::vector<Element> elements;  // in the order of their instance numbers
    std::vector<std::uint32_t> systemsOfElements;
    std::vector<Junction> junctions;
    std::vector<Connection> connections;  // stated ones first, in file order; then inferred ones
    std::vector<Network> networks;        // by their smallest element
    std::vector<Diagnostic> diagnostics;  // in the order they were noticed; at most ReadOptions::maxDiagnostics
    Counts counts;

    TextPool texts;
};

std::string_view ElementKindName(ElementKind kind);
std::string_view EndEvidenceName(EndEvidence evidence);
std::string_view ConnectionEvidenceName(ConnectionEvidence evidence);
// Returns: a clause for a person, such as "no relation places it".
std::string_view NoStoreyReasonText(NoStoreyReason reason);

}  // namespace norvex::ifc
