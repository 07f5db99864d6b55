// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "service/RunReport.h"

namespace norvex::cli {

// The rules that a check would run, and one sentence for each rule module that cannot be used.
struct KnownRules {
    std::vector<service::RuleRecord> records;
    std::vector<std::string> failures;
};

// Loads the rule modules, with the configuration of the project folder, and ends them again. Once in a process. Errors:
// nothing, and error is one sentence.
std::optional<KnownRules> FindRules(const std::filesystem::path& projectFolder, std::string& error);

}  // namespace norvex::cli
