// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "report/TextStyle.h"
#include "service/RunReport.h"

namespace norvex::report {

// Whether a report tells when the run was and what took how long. That differs from run to run; without it equal
// findings in equal projects give equal bytes.
enum class Times : std::uint8_t { Omit, Show };

struct TextContent {
    // Every rule on every floor, however many there are; otherwise a long table is cut down to what needs attention.
    bool allOutcomes = false;
    Times times = Times::Omit;
};

// The report for a person in a terminal: what was read, findings, what was examined, totals, and a last line that says
// it all. Text of the model is sanitised.
std::string CheckText(const service::RunReport& report, const TextStyle& style, const TextContent& content = {});

// The report for a program: one JSON document as docs/json-report.md describes it, UTF-8, with a line break at its end.
std::string CheckJson(const service::RunReport& report, Times times = Times::Omit);

}  // namespace norvex::report
