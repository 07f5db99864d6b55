// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/Commands.h"
#include "cli/ProjectChoice.h"
#include "service/store/ProjectStore.h"

// The commands under norvex trust, and what they share.

namespace norvex::cli {

Command AddTrustAdd(CLI::App& trust);
Command AddTrustList(CLI::App& trust);
Command AddTrustRemove(CLI::App& trust);
Command AddTrustPrune(CLI::App& trust);
Command AddTrustExport(CLI::App& trust);
Command AddTrustImport(CLI::App& trust);
Command AddTrustImportBcf(CLI::App& trust);

// Who answers for a change of trust. Default: the user's full name, or else the login.
void AddPerson(CLI::App& command, std::string& person);

// The memory of the chosen project. Errors: those of the store; InvalidInput when no such project is known.
service::store::Result<service::store::ProjectStore> OpenChosen(const ProjectChoice& choice,
                                                                service::store::Access access);

// What no output of a command about the project may overwrite, whether it has a memory or not.
KeptFiles FilesToKeep(const ProjectChoice& choice, service::store::Result<service::store::ProjectStore>& project);

// The entries with these numbers, or all of them when none is given, as norvex trust list shows them. Returns false,
// having said so, when that is not possible.
bool ShowTrust(service::store::ProjectStore& project, const std::vector<service::store::TrustId>& ids, bool noColour);

// One line for each entry: "Removed trust 3: rule CCheckPipeLoop (李工, 2026-03-01: "agreed with the owner")".
std::string TrustLines(std::string_view before, const std::vector<service::store::TrustEntry>& entries);

}  // namespace norvex::cli
