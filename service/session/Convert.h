// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "service/CheckRun.h"
#include "service/RunReport.h"
#include "service/store/RunRecords.h"
#include "service/store/TrustRecords.h"

// The same things as a run has them and as the project remembers them. Pure functions.

namespace norvex::service::session {

store::UnitKey UnitOf(const TaskRecord& task);
store::UnitKey UnitOf(const FindingRecord& finding);

store::UnitOutcome StoredOutcome(const TaskRecord& task);
store::Finding StoredFindingOf(const FindingRecord& finding);
std::vector<store::Finding> StoredFindings(const std::vector<FindingRecord>& findings);

// The record, without the counts that follow from the findings.
TaskRecord TaskOf(const store::UnitOutcome& outcome);
// The record, not numbered, neither compared nor its acceptance looked up.
FindingRecord FindingOf(const store::StoredFinding& stored);
// What a unit came to. findings: all of the unit's, in the order in which they were reported.
TaskResult ResultOf(const store::UnitOutcome& outcome, const std::vector<const store::StoredFinding*>& findings);

Acceptance AcceptanceOf(const store::TrustEntry& entry);

}  // namespace norvex::service::session
