// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/network/Joints.h"

namespace norvex::ifc {

// Finds connections that the file does not state, for ends and ports that nothing meets yet, best evidence first: ends
// and ports within 3 mm; an end inside another body, 1 mm of tolerance; an end whose axis meets the node of a fitting
// or in-line device within 50 mm. The last one does not hold for ends that a port of their own places: there the file
// says exactly where the pipe ends, and a gap is a gap. An end is held against a bounded number of others; where more
// lie around it, that is told to `log`.
void InferConnections(const NetworkInput& input, const BuildingModel& model, Joints& joints, DiagnosticLog& log,
                      ReadWork& work);

}  // namespace norvex::ifc
