// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <optional>
#include <string>

namespace norvex::cli {

// How the user names a project that has been checked before: by its model, by its folder, or not at all, which means
// the one that was checked last.
struct ProjectChoice {
    std::optional<std::string> model;
    std::optional<std::string> project;
};

// The positional MODEL and --project DIR.
void AddProjectChoice(CLI::App& command, ProjectChoice& choice);

// The folder of the project that is meant; it exists. Errors: nothing, and error is one sentence.
std::optional<std::filesystem::path> ChosenProject(const ProjectChoice& choice, std::string& error);

}  // namespace norvex::cli
