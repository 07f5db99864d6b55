// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "service/FloorSource.h"
#include "service/Host.h"

namespace norvex::service {

// What the user wants checked; an empty list means everything. Specialties as words or glosses, rules by name or short
// name.
struct RunRequest {
    std::vector<std::string> floors;
    std::vector<std::string> specialties;
    std::vector<std::string> rules;
};

struct PlannedTask {
    std::size_t floor = 0;                 // index into RunPlan::floors
    std::optional<std::size_t> specialty;  // index into RunPlan::specialties; nothing: none in the plan suits the rule
    std::size_t rule = 0;                  // index into RunPlan::rules
};

// What a run does, in order: floor by floor, in each specialty by specialty, in each rule by rule. Every rule has at
// least one task on every floor, so that no rule is passed over in silence.
struct RunPlan {
    std::vector<std::size_t> floors;  // indices into FloorSource::Floors()
    std::vector<CString> specialties;
    std::vector<LoadedRule> rules;
    std::vector<PlannedTask> tasks;
    bool narrowed = false;
};

// Errors: nothing, and error is one sentence with the names that exist, when the request names something that does not.
std::optional<RunPlan> MakeRunPlan(const RunRequest& request, const FloorSource& source,
                                   const std::vector<LoadedRule>& rules, std::string& error);

}  // namespace norvex::service
