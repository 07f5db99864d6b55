// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "service/RunReport.h"

// The project's result files and its guide as text, in the form that docs/result-files.md describes and
// NorvexResult.xsd holds to. Pure functions; equal reports give equal bytes.

namespace norvex::report {

// Whether a run has something to say about a specialty: a rule looked at something of it, or should have. Not so when
// nothing there concerned any rule.
bool HasResult(const service::RunReport& report, const std::string& specialty);

// The result file of one specialty: what was looked at there, and what was found. tag is the specialty's in file names.
std::string ResultXml(const service::RunReport& report, const std::string& specialty, const std::string& tag);

struct GuideEntry {
    std::string specialty;
    std::string tag;   // in file names
    std::string file;  // below the project folder, with slashes; empty: there is none
};

// What the result files of a run are. failure says in a sentence why some are missing; empty when none is.
std::string GuideXml(const service::RunReport& report, const std::vector<GuideEntry>& entries,
                     const std::string& failure);

}  // namespace norvex::report
