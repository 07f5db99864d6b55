// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

// A specialty and how many elements of the model are of it.
struct SpecialtyCount {
    std::string specialty;
    std::size_t elements = 0;

    bool operator==(const SpecialtyCount&) const = default;
};

// The specialties of the run that the model has elements of and none of its rules looks at, in the order of the run.
// That makes no run incomplete, because no rule was asked for; but nobody should take their silence for soundness.
std::vector<SpecialtyCount> SpecialtiesWithoutRule(const RunReport& report);

// Requires: NoteWhatIsMissing was called.
Verdict Judge(const RunReport& report, FailOn failOn);

}  // namespace norvex::service
