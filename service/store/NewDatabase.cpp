// SPDX-License-Identifier: Apache-2.0
#include "service/store/NewDatabase.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

#include "platform/kernel/UnfinishedFile.h"
#include "service/store/Schema.h"
#include "service/store/Sqlite.h"

namespace norvex::service::store {

namespace {

namespace fs = std::filesystem;

constexpr kernel::UnfinishedName kUnfinished{"norvex-new-", ".db"};
constexpr mode_t kMode = 0644;  // as SQLite makes its files; the process's mask takes away more

// A name is on the disk when its folder is.
void Flush(const fs::path& folder) {
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor >= 0) {
        fsync(descriptor);
        close(descriptor);
    }
}

}  // namespace

void MakeDatabaseUnlessThere(const fs::path& path) {
    std::error_code ignored;
    if (fs::exists(fs::symlink_status(path, ignored))) {
        return;
    }
    kernel::UnfinishedFile made;
    if (const int failure = made.Make(path.parent_path(), kUnfinished, kMode); failure != 0) {
        throw sqlite::DatabaseFailure{failure == ENOSPC || failure == EDQUOT ? SQLITE_FULL : SQLITE_CANTOPEN, failure,
                                      "no new file can be made"};
    }
    {
        sqlite::Connection connection(made.Path().string(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, 0);
        // Nobody goes on with an unfinished one, so that its journal need not be on the disk.
        connection.Execute("PRAGMA journal_mode = MEMORY; PRAGMA synchronous = FULL;");
        Migrate(connection, MigrationSteps());
        // It gets its name with its write-ahead log, so that switching to one never leaves a journal beside it. Kept to
        // this process, the log needs no file for what readers share.
        connection.Execute("PRAGMA locking_mode = EXCLUSIVE; PRAGMA journal_mode = WAL;");
    }
    // Both fail when there is a file of that name by now.
    if (link(made.Path().c_str(), path.c_str()) == 0 ||
        renameat2(AT_FDCWD, made.Path().c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0) {
        Flush(path.parent_path());
    }
}

void RemoveAbandonedDatabases(const fs::path& folder) {
    kernel::RemoveAbandonedFiles(folder, kUnfinished, {"-wal", "-shm", "-journal"});
}

}  // namespace norvex::service::store
