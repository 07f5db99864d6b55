// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace norvex::service {

// The folder that keeps what belongs to a model across runs. Without a wish it is one of the user's own state folder,
// $XDG_STATE_HOME or ~/.local/state, named after the model's file and place: models often lie where nobody may write,
// and a check leaves nothing beside them. Makes nothing. Errors: nothing, and error is one sentence.
std::optional<std::filesystem::path> NameProjectFolder(const std::filesystem::path& model,
                                                       const std::optional<std::filesystem::path>& wanted,
                                                       std::string& error);

// The same folder; makes it, parents included, unless it is there, and removes what killed runs have left unfinished.
// One of the user's state folder is only for that user to read. Errors: nothing, and error is one sentence.
std::optional<std::filesystem::path> OpenProjectFolder(const std::filesystem::path& model,
                                                       const std::optional<std::filesystem::path>& wanted,
                                                       std::string& error);

// The folder of a project that was checked before: the wanted one, or else the one that a model has without a wish.
// Requires: a model or a wish. Makes nothing. Errors: nothing, and error is one sentence, when there is no such folder.
std::optional<std::filesystem::path> FindProjectFolder(const std::optional<std::string>& model,
                                                       const std::optional<std::string>& wanted, std::string& error);

// Keeps in the user's state folder which project was checked last. It is a convenience: where it cannot be kept, the
// one before stays.
void RememberLastProject(const std::filesystem::path& folder);

// The folder of the project that this user checked last; absolute. Errors: nothing, and error is one sentence, when
// there is none or it has gone.
std::optional<std::filesystem::path> LastProjectFolder(std::string& error);

}  // namespace norvex::service
