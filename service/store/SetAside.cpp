// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

#include "service/store/ProjectStore.h"

namespace norvex::service::store {

namespace {

namespace fs = std::filesystem;

fs::path WithSuffix(fs::path path, const char* suffix) {
    path += suffix;
    return path;
}

bool Exists(const fs::path& path) {
    std::error_code error;
    return fs::exists(fs::symlink_status(path, error));
}

// The log goes first: a log left beside a new database would be read into it. SQLite finds it again beside the moved
// file.
constexpr std::array<const char*, 4> kSuffixes{"-wal", "-shm", "-journal", ""};

bool IsFree(const fs::path& path) {
    for (const char* suffix : kSuffixes) {
        if (Exists(WithSuffix(path, suffix))) {
            return false;
        }
    }
    return true;
}

}  // namespace

Result<fs::path> SetAsideDatabase(const fs::path& projectFolder) {
    const fs::path path = projectFolder / kDatabaseFileName;
    if (IsFree(path)) {
        return StoreError{StoreErrorCode::NothingStored,
                          "There is no project database \"" + path.string() + "\" to set aside."};
    }
    fs::path target;
    for (int number = 1; target.empty() || !IsFree(target); ++number) {
        target = projectFolder / ("norvex-damaged-" + std::to_string(number) + ".db");
    }
    for (const char* suffix : kSuffixes) {
        const fs::path from = WithSuffix(path, suffix);
        const fs::path to = WithSuffix(target, suffix);
        if (!Exists(from)) {
            continue;
        }
        if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) != 0) {
            return StoreError{StoreErrorCode::Failed, "\"" + from.string() + "\" cannot be moved to \"" + to.string() +
                                                          "\": " + std::generic_category().message(errno) + "."};
        }
    }
    return target;
}

}  // namespace norvex::service::store
