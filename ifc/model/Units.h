// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/model/Access.h"
#include "ifc/part21/DiagnosticLog.h"

#include <string>

namespace norvex::ifc {

struct Units {
    std::string lengthName = "MILLIMETRE";  // upper case
    double toMillimetres = 1.0;
    double toRadians = 1.0;
};

// Reads the project's length and plane angle units. Missing or broken ones are told to `log`; millimetres and radians
// are assumed then. `project`: index of the IfcProject, or kNoInstance.
Units ReadUnits(const Access& access, std::uint32_t project, DiagnosticLog& log);

}  // namespace norvex::ifc
