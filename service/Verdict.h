// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "service/RunReport.h"

namespace norvex::service {

// The mildest severity that makes a run fail.
enum class FailOn : std::uint8_t { Confirmed, Suspected, Remind, Never };

// "confirmed", "suspected", "remind" or "never"; nothing for anything else.
std::optional<FailOn> FailOnOfName(std::string_view name);

enum class Verdict : std::uint8_t {
    Clean,       // everything in scope was checked, and nothing that counts was found
    Findings,    // everything in scope was checked
    Incomplete,  // something in scope was not checked, whatever else was found
};

// Adds to report.incomplete what the report itself shows: lost parts of the model, tasks that were cancelled, a rule
// that could look at nothing of what it is about, and a run in which no rule looked at anything. None of these must
// pass for clean.
void NoteWhatIsMissing(RunReport& report);
// Of these, the sentences about the model alone.
void NoteWhatWasNotRead(RunReport& report);

// Requires: NoteWhatIsMissing was called.
Verdict Judge(const RunReport& report, FailOn failOn);

}  // namespace norvex::service
