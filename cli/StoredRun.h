// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "cli/ProjectChoice.h"
#include "service/RunReport.h"

namespace norvex::cli {

// A run that a project remembers, as the user names it.
struct RunChoice {
    ProjectChoice project;
    std::string run = "last";
};

// Adds --run, and the positional MODEL and --project DIR.
void AddRunChoice(CLI::App& command, RunChoice& choice);

struct StoredRun {
    // As norvex check gave it, but for what only its model tells.
    service::RunReport report;
    KeptFiles kept;  // what no output may overwrite
};

// Loads the rule modules, so once in a process. Errors: nothing, and error is one sentence.
std::optional<StoredRun> ReadStoredRun(const RunChoice& choice, std::string& error);

}  // namespace norvex::cli
