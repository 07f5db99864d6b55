// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "report/TextStyle.h"
#include "service/RunReport.h"

// What changed between two runs of a project. Requires of each report: it has a comparison.

namespace norvex::report {

// For a person in a terminal: what is new, gone, trusted by now and hidden, and a last line that says it all. Findings
// of the later run stand under the numbers that they have there.
std::string DiffText(const service::RunReport& report, const TextStyle& style);

// For a program: one JSON document as docs/json-report.md describes it, UTF-8, with a line break at its end.
std::string DiffJson(const service::RunReport& report);

}  // namespace norvex::report
