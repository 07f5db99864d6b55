// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "report/TextStyle.h"
#include "service/RunReport.h"

namespace norvex::report {

// The report for a person in a terminal: what was read, findings, what was examined, totals, and a last line that says
// it all. Text of the model is sanitised.
std::string CheckText(const service::RunReport& report, const TextStyle& style);

// The report for a program: one JSON document as docs/json-report.md describes it, UTF-8, with a line break at its end.
// Equal reports give equal bytes.
std::string CheckJson(const service::RunReport& report);

}  // namespace norvex::report
