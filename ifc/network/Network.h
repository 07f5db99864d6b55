// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/BuildingModel.h"
#include "ifc/ReadWork.h"
#include "ifc/model/Shapes.h"
#include "ifc/part21/DiagnosticLog.h"

#include <cstdint>
#include <vector>

namespace norvex::ifc {

// A port with its owner.
struct NetworkPort {
    std::uint32_t id = 0;  // instance number
    std::uint32_t element = kNoIndex;
    Point position;
    bool placed = false;
};

struct StatedConnection {
    std::uint32_t firstPort = 0;  // into NetworkInput::ports
    std::uint32_t secondPort = 0;
    std::size_t offset = 0;  // of the relation in the file
};

// What the network is made from, besides the elements themselves.
struct NetworkInput {
    std::vector<NetworkPort> ports;
    std::vector<StatedConnection> stated;
    std::vector<Body> bodies;     // by element
    std::vector<Point> origins;   // by element: the placement's origin; the element's position without one
    std::vector<bool> hasOrigin;  // by element
    std::vector<double> radii;    // by element: outer radius of a round segment, else 0
    std::vector<Box> parts;       // the bodies' parts
};

// Finds the connections, snaps ends to junctions and gathers networks. Fills the model's connections, junctions,
// networks and the elements' ends; `infer`: also from geometry. Near-linear in the number of elements.
void BuildNetwork(const NetworkInput& input, bool infer, BuildingModel& model, DiagnosticLog& log, ReadWork& work);

}  // namespace norvex::ifc
