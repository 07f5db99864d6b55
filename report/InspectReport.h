// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "ifc/BuildingModel.h"
#include "report/TextStyle.h"

namespace norvex::report {

// What was read of a model, for a person: storeys, elements by specialty and category, networks, connections, what
// could not be placed and why, and what the reader noticed. Text of the model is sanitised.
std::string InspectText(const ifc::BuildingModel& model, const TextStyle& style);

// The same for a program, as docs/json-report.md describes it.
std::string InspectJson(const ifc::BuildingModel& model, const std::string& toolVersion);

}  // namespace norvex::report
