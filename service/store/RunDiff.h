// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "service/store/RunRecords.h"
#include "service/store/TrustRecords.h"

namespace norvex::service::store {

// Everything that one run left behind. Units and findings are sorted by unit; the findings of a unit stand in the order
// in which they were reported, with their occurrences set.
struct RunContents {
    RunRecord run;
    std::vector<UnitOutcome> units;
    std::vector<StoredFinding> findings;
    // What was in force when the run began; it holds for the whole run, resumed parts included.
    std::vector<TrustEntry> trust;
};

struct PersistingFinding {
    StoredFinding older;
    StoredFinding newer;
};

struct NewFinding {
    StoredFinding finding;
    // The older run looked at the whole unit without finding it. Otherwise the finding may be as old as the model.
    bool olderRunLooked = false;
};

// Every finding of the older run is in exactly one of persisting, gone, hidden and notVisited; every finding of the
// newer one in exactly one of added and persisting. Each list stands in the order of its run.
struct RunDiff {
    std::vector<NewFinding> added;
    std::vector<PersistingFinding> persisting;
    std::vector<StoredFinding> gone;
    // Not reported because a rule or sub-category has become trusted; whether it is gone cannot be told.
    std::vector<StoredFinding> hidden;
    // The newer run did not look at the unit to the end, or not at all of its model.
    std::vector<StoredFinding> notVisited;
    // What makes the two runs hard to compare, one sentence each.
    std::vector<std::string> remarks;
};

// Findings are the same when unit and feature code are. Where several of a unit share a code, those about the same
// objects belong together. What is then left over counts as gone and new as long as the objects' identities can be
// trusted to be stable (the models are the same bytes, or another finding was recognised by its objects); otherwise it
// is paired in the order of occurrence, because the model was exported with new identities.
RunDiff DiffRuns(const RunContents& older, const RunContents& newer);

}  // namespace norvex::service::store
