// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <vector>

#include "service/RunReport.h"
#include "service/store/RunDiff.h"
#include "service/store/TrustRecords.h"

// What only the project knows of a run's results, written into its report. Pure functions.

namespace norvex::service::session {

// Sets run number and start, the findings' occurrences and acceptances, and, with a run to compare with, the comparison
// and whether each finding is new. trust: what held for the run. before: null when there is nothing to compare with.
void Annotate(RunReport& report, const store::RunRecord& run, const std::vector<store::TrustEntry>& trust,
              const store::RunContents* before);

// Sets what has expired on the findings that it hid. listings: everything that is accepted.
void NoteExpired(RunReport& report, const std::vector<store::TrustListing>& listings);

// Everything that is accepted, as a report has it; in the same order.
std::vector<AcceptanceRecord> AcceptanceRecords(const std::vector<store::TrustListing>& listings);

}  // namespace norvex::service::session
