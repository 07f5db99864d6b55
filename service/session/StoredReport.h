// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "service/RunReport.h"
#include "service/store/ProjectStore.h"

namespace norvex::service::session {

// What a stored report says in its `incomplete` of a model that was not read wholly. The model itself tells more.
inline constexpr std::string_view kModelReadPartly = "Parts of the model could not be read, so they were not checked.";

// The run that a user names: its number, or "last", the newest one. Errors:
// NotFound, InvalidInput.
store::Result<store::RunId> ChosenRun(store::ProjectStore& project, std::string_view named);

// The newest complete run of the whole project that is older than this one; nothing when there is none. Errors: those
// of the store.
store::Result<std::optional<store::RunId>> CompleteRunBefore(store::ProjectStore& project, store::RunId run);

// The report of a run that the project remembers, as norvex check gave it: findings under the same numbers, compared
// with another one, or with nothing when that is nothing. Of the model it knows path and digest alone, of the floors
// their names. rules: what is known of rules today, by name; one of the run that is not among them has name, module,
// version and digest alone. Errors: NotFound.
store::Result<RunReport> StoredReport(store::ProjectStore& project, store::RunId run,
                                      std::optional<store::RunId> before, const std::vector<RuleRecord>& rules);
// The same, compared with the newest complete run before it.
store::Result<RunReport> StoredReport(store::ProjectStore& project, store::RunId run,
                                      const std::vector<RuleRecord>& rules);

// Sets when each finding of a report was first reported, as far as the project remembers. Requires: the report is
// annotated. Errors: those of the store.
store::Status NoteFirstReported(store::ProjectStore& project, RunReport& report);

}  // namespace norvex::service::session
