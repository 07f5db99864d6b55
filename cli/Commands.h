// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

// What norvex does: one function and one file for each command. Each adds its subcommand with all options to app, which
// must outlive the result, and keeps what the user typed to itself.

namespace norvex::cli {

struct Command {
    CLI::App* app = nullptr;  // owned by the program's parser
    // Does what the parsed options say. Returns an ExitCode and has said on standard error why it is not zero, in one
    // sentence, unless that is a finding.
    std::function<int()> run;
};

Command AddCheck(CLI::App& app);
Command AddControl(CLI::App& app);
Command AddDiff(CLI::App& app);
Command AddInspect(CLI::App& app);
Command AddReport(CLI::App& app);
Command AddRules(CLI::App& app);
Command AddRuns(CLI::App& app);
Command AddShow(CLI::App& app);
Command AddTrust(CLI::App& app);

}  // namespace norvex::cli
