// SPDX-License-Identifier: Apache-2.0
#include "service/store/NewDatabase.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <random>
#include <string>
#include <system_error>

#include "service/store/Schema.h"
#include "service/store/Sqlite.h"

namespace norvex::service::store {

namespace {

namespace fs = std::filesystem;

// A name that no other process takes.
fs::path NameBeside(const fs::path& path) {
    std::random_device random;
    return path.parent_path() / ("norvex-new-" + std::to_string(getpid()) + "-" + std::to_string(random()) + ".db");
}

// Removes the file when it goes; by then it has another name, or nobody wants it.
class Unnamed {
  public:
    explicit Unnamed(fs::path path) : path_(std::move(path)) {}
    Unnamed(const Unnamed&) = delete;
    Unnamed& operator=(const Unnamed&) = delete;
    ~Unnamed() {
        std::error_code ignored;
        fs::remove(path_, ignored);
    }

    const fs::path& Path() const { return path_; }

  private:
    fs::path path_;
};

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
    const Unnamed made(NameBeside(path));
    {
        sqlite::Connection connection(made.Path().string(),
                                      SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, 0);
        // Nobody goes on with an unfinished one, so that its journal need not be on the disk.
        connection.Execute("PRAGMA journal_mode = MEMORY; PRAGMA synchronous = FULL;");
        Migrate(connection, MigrationSteps());
    }
    // Both fail when there is a file of that name by now.
    if (link(made.Path().c_str(), path.c_str()) == 0 ||
        renameat2(AT_FDCWD, made.Path().c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0) {
        Flush(path.parent_path());
    }
}

}  // namespace norvex::service::store
