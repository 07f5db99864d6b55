// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <optional>
#include <string>

#include "cli/OutputFiles.h"
#include "service/store/ProjectStore.h"

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

// What is wrong with a project's memory, and what the user can do about it, in one sentence.
std::string Advised(const service::store::StoreError& error);

// Says what is wrong with a project's memory. Returns what the program ends with: what can be put right by asking for
// something else is wrong use; what the project could not do is not.
int Refuse(const service::store::StoreError& error);

// What no report on the project may overwrite: the model that is named, and what lies in the project's folder.
KeptFiles FilesToKeep(const ProjectChoice& choice, const std::filesystem::path& folder);
// And the models of all runs that the project remembers.
KeptFiles FilesToKeep(const ProjectChoice& choice, service::store::ProjectStore& project);

// The memory of the project that is meant. Errors: nothing, and error is one sentence.
std::optional<service::store::ProjectStore> OpenChosenProject(const ProjectChoice& choice,
                                                              service::store::Access access, std::string& error);

}  // namespace norvex::cli
