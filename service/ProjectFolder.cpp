// SPDX-License-Identifier: Apache-2.0
#include "service/ProjectFolder.h"

#include <fmt/format.h>
#include <cstdlib>

#include "platform/kernel/InputFile.h"
#include "platform/kernel/WholeFile.h"
#include "service/Sha256.h"

namespace norvex::service {
namespace {

// Digits of the place's digest in a folder's name; enough to keep models of one name apart.
constexpr std::size_t kDigestDigits = 12;

constexpr const char* kNoStateFolder =
    "There is no place for the project folder, because neither XDG_STATE_HOME nor HOME is set; name one with --project "
    "DIR.";

constexpr const char* kNoName = "--project names no folder; name one, or leave the option out.";

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

// The folder of a model for which none is wanted; nothing without a state folder.
std::optional<std::filesystem::path> DefaultFolder(const std::filesystem::path& model) {
    const std::optional<std::filesystem::path> state = StateFolder();
    return state ? std::optional(*state / "norvex" / FolderName(model)) : std::nullopt;
}

// Makes a folder of the user's state, parents included. What is in it is nobody else's: who may read a database may
// also hold up those who write to it.
void MakeOwnFolder(const std::filesystem::path& folder, std::error_code& failure) {
    std::filesystem::create_directories(folder.parent_path(), failure);
    if (std::filesystem::create_directory(folder, failure)) {
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all, failure);
    }
}

// Holds the path of the project checked last and nothing else; a path may hold any character.
std::optional<std::filesystem::path> LastProjectFile() {
    const std::optional<std::filesystem::path> state = StateFolder();
    return state ? std::optional(*state / "norvex" / "last-project") : std::nullopt;
}

}  // namespace

std::optional<std::filesystem::path> NameProjectFolder(const std::filesystem::path& model,
                                                       const std::optional<std::filesystem::path>& wanted,
                                                       std::string& error) {
    if (wanted && wanted->empty()) {
        error = kNoName;
        return std::nullopt;
    }
    const std::optional<std::filesystem::path> folder = wanted ? wanted : DefaultFolder(model);
    if (!folder) {
        error = kNoStateFolder;
    }
    return folder;
}

std::optional<std::filesystem::path> OpenProjectFolder(const std::filesystem::path& model,
                                                       const std::optional<std::filesystem::path>& wanted,
                                                       std::string& error) {
    const std::optional<std::filesystem::path> folder = NameProjectFolder(model, wanted, error);
    if (!folder) {
        return std::nullopt;
    }
    std::error_code failure;
    if (wanted) {
        std::filesystem::create_directories(*folder, failure);
    } else {
        MakeOwnFolder(*folder, failure);
    }
    if (!failure && !std::filesystem::is_directory(*folder, failure) && !failure) {
        failure = std::make_error_code(std::errc::not_a_directory);
    }
    if (failure) {
        error = fmt::format("The project folder {} cannot be made: {}; name another with --project DIR.",
                            folder->string(), failure.message());
        return std::nullopt;
    }
    for (const char* below : {"", "NxResult", "ProjectAssist/NxResult"}) {
        kernel::RemoveAbandonedWholeFiles(*folder / below);
    }
    return folder;
}

std::optional<std::filesystem::path> FindProjectFolder(const std::optional<std::string>& model,
                                                       const std::optional<std::string>& wanted, std::string& error) {
    std::error_code ignored;
    if (wanted) {
        if (wanted->empty()) {
            error = kNoName;
            return std::nullopt;
        }
        if (std::filesystem::is_directory(*wanted, ignored)) {
            return std::filesystem::path(*wanted);
        }
        error = fmt::format("There is no project folder {}.", *wanted);
        return std::nullopt;
    }
    const std::optional<std::filesystem::path> folder = NameProjectFolder(*model, std::nullopt, error);
    if (!folder) {
        return std::nullopt;
    }
    if (!std::filesystem::is_directory(*folder, ignored)) {
        error = fmt::format("{} has not been checked yet, or with a --project folder that has to be named here too.",
                            *model);
        return std::nullopt;
    }
    return folder;
}

void RememberLastProject(const std::filesystem::path& folder) {
    const std::optional<std::filesystem::path> pointer = LastProjectFile();
    std::error_code ignored;
    const std::filesystem::path place = std::filesystem::absolute(folder, ignored).lexically_normal();
    if (!pointer || place.empty()) {
        return;
    }
    MakeOwnFolder(pointer->parent_path(), ignored);
    kernel::WholeFile file;
    if (!file.Open(*pointer)) {
        file.Commit(place.native());
    }
}

std::optional<std::filesystem::path> LastProjectFolder(std::string& error) {
    std::string place;
    if (const std::optional<std::filesystem::path> pointer = LastProjectFile()) {
        // What is longer was not written here: no system has such paths.
        constexpr std::size_t kLongestPath = 65536;
        std::string ignored;
        place = kernel::ReadInputFile(*pointer, kLongestPath, ignored).value_or("");
    }
    if (place.empty()) {
        error = "No project has been checked yet; norvex check MODEL makes one, or name one with --project DIR.";
        return std::nullopt;
    }
    std::error_code ignored;
    if (!std::filesystem::is_directory(place, ignored)) {
        error = fmt::format("The project checked last, {}, is no longer there; name another one with --project DIR.",
                            place);
        return std::nullopt;
    }
    return std::filesystem::path(place);
}

}  // namespace norvex::service
