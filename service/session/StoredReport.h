// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "service/RunReport.h"
#include "service/store/ProjectStore.h"

namespace norvex::service::session {

// The run that a user names: its number, or "last", the newest one. Errors:
// NotFound, InvalidInput.
store::Result<store::RunId> ChosenRun(store::ProjectStore& project, std::string_view named);

// The report of a run that the project remembers, as norvex check gave it: findings under the same numbers, compared
// with the last complete run before it. Of the model it knows path and digest alone, of the floors their names.
// rules: what is known of rules today, by name; one of the run that is not among them has name, module, version and
// digest alone. Errors: NotFound.
store::Result<RunReport> StoredReport(store::ProjectStore& project, store::RunId run,
                                      const std::vector<RuleRecord>& rules);

}  // namespace norvex::service::session
