// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "report/TextStyle.h"
#include "service/RunReport.h"

namespace norvex::report {

// What the text about a finding cannot know by itself.
struct FindingContext {
    // The finding is one that the run before had and this one has not.
    bool isGone = false;
    // The command line that accepts it, to be copied into a shell; empty: nothing can be accepted.
    std::string trustCommand;
};

// One finding whole, for a person in a terminal: what, why the rule cares, where, how to fix it, how it stands to the
// run before, how to accept it. Requires: finding is one of the report's. Text of the model is sanitised; location
// string and feature code stand on a line each that is not wrapped.
std::string FindingText(const service::RunReport& report, const service::FindingRecord& finding,
                        const FindingContext& context, const TextStyle& style);

// The text as one word of a POSIX shell.
std::string ShellWord(const std::string& text);

}  // namespace norvex::report
