// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace norvex::service {

// The folder that keeps what belongs to a model across runs. Without a wish it is one of the user's own state folder,
// $XDG_STATE_HOME or ~/.local/state, named after the model's file and place: models often lie where nobody may write,
// and a check leaves nothing beside them.
//
// Makes the folder, parents included, unless it is there. Errors: nothing, and error is one sentence.
std::optional<std::filesystem::path> OpenProjectFolder(const std::filesystem::path& model,
                                                       const std::optional<std::filesystem::path>& wanted,
                                                       std::string& error);

}  // namespace norvex::service
