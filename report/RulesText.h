// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "report/TextStyle.h"
#include "service/RunReport.h"

namespace norvex::report {

// A table of rules, one line each.
std::string RulesText(const std::vector<service::RuleRecord>& rules, const TextStyle& style);

// All that a rule says about itself, for a person.
std::string RulePage(const service::RuleRecord& rule, const TextStyle& style);

}  // namespace norvex::report
