// SPDX-License-Identifier: Apache-2.0
#include "service/ProjectFolder.h"

#include <cstdlib>

#include <fmt/format.h>

#include "service/Sha256.h"

namespace norvex::service {
namespace {

// Digits of the place's digest in a folder's name; enough to keep models of one name apart.
constexpr std::size_t kDigestDigits = 12;

// Nothing when the environment names neither folder. A relative one does not count.
std::optional<std::filesystem::path> StateFolder() {
    if (const char* state = std::getenv("XDG_STATE_HOME"); state != nullptr && state[0] == '/') {
        return std::filesystem::path(state);
    }
    if (const char* home = std::getenv("HOME"); home != nullptr && home[0] == '/') {
        return std::filesystem::path(home) / ".local" / "state";
    }
    return std::nullopt;
}

std::filesystem::path FolderName(const std::filesystem::path& model) {
    std::error_code ignored;
    std::filesystem::path place = std::filesystem::weakly_canonical(model, ignored);
    if (place.empty()) {
        place = std::filesystem::absolute(model, ignored);
    }
    Sha256 digest;
    digest.Add(place.native());
    return model.stem().native() + "-" + digest.Finish().substr(0, kDigestDigits);
}

}  // namespace

std::optional<std::filesystem::path> OpenProjectFolder(const std::filesystem::path& model,
                                                       const std::optional<std::filesystem::path>& wanted,
                                                       std::string& error) {
    std::filesystem::path folder;
    if (wanted) {
        folder = *wanted;
    } else if (const std::optional<std::filesystem::path> state = StateFolder()) {
        folder = *state / "norvex" / FolderName(model);
    } else {
        error =
            "There is no place for the project folder, because neither XDG_STATE_HOME nor HOME is set; name one with "
            "--project DIR.";
        return std::nullopt;
    }
    std::error_code failure;
    std::filesystem::create_directories(folder, failure);
    if (!failure && !std::filesystem::is_directory(folder, failure) && !failure) {
        failure = std::make_error_code(std::errc::not_a_directory);
    }
    if (failure) {
        error = fmt::format("The project folder {} cannot be made: {}; name another with --project DIR.",
                            folder.string(), failure.message());
        return std::nullopt;
    }
    return folder;
}

}  // namespace norvex::service
