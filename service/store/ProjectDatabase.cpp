// SPDX-License-Identifier: Apache-2.0
#include "service/store/ProjectDatabase.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <system_error>
#include <thread>

#include "platform/kernel/InputFile.h"
#include "service/store/NewDatabase.h"
#include "service/store/ProjectStore.h"
#include "service/store/Schema.h"

namespace norvex::service::store {

namespace {

namespace fs = std::filesystem;

constexpr int kPrimaryCodeMask = 0xFF;

std::string Quoted(const fs::path& path) {
    return "\"" + path.string() + "\"";
}

StoreError Damaged(const fs::path& path, const std::string& detail) {
    return {StoreErrorCode::Damaged, "The project database " + Quoted(path) + " is damaged (" + detail +
                                         "); it was left as it is. Put a backup in its place or set it aside to "
                                         "begin a new one."};
}

StoreError ReadOnly(const fs::path& folder) {
    return {StoreErrorCode::ReadOnly,
            "The project folder " + Quoted(folder) + " cannot be written to, so nothing can be recorded there."};
}

StoreError NothingStored(const fs::path& path) {
    return {StoreErrorCode::NothingStored,
            "Nothing has been recorded in the project folder " + Quoted(path.parent_path()) + " yet."};
}

bool MayWrite(const fs::path& path) {
    return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

std::uintmax_t SizeOrZero(const fs::path& path) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(path, error);
    return error ? 0 : size;
}

fs::path WithSuffix(fs::path path, const char* suffix) {
    path += suffix;
    return path;
}

// What can be seen without SQLite, which would take an empty file for a new database and delete the log beside it.
std::optional<StoreError> LookAtFile(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) {
        if (SizeOrZero(WithSuffix(path, "-wal")) > 0) {
            return Damaged(path, "the file is missing while its log is there");
        }
        return std::nullopt;
    }
    if (!fs::is_regular_file(status)) {
        return Damaged(path, "it is no regular file");
    }
    if (SizeOrZero(path) == 0) {
        // None is empty when it gets its name, so it was truncated since.
        return Damaged(path, "the file is empty");
    }
    // The first 16 bytes of every SQLite file, its closing NUL included.
    constexpr std::string_view kMagic("SQLite format 3\0", 16);
    std::string why;
    const std::optional<std::string> head = kernel::ReadInputFile(path, kMagic.size(), why);
    if (!head) {
        return StoreError{StoreErrorCode::Failed,
                          "The project database " + Quoted(path) + " cannot be read: " + why + "."};
    }
    if (*head != kMagic) {
        return Damaged(path, "it is not an SQLite file");
    }
    return std::nullopt;
}

std::optional<StoreError> LookAtFolder(const fs::path& folder, const fs::path& path, bool forWriting) {
    std::error_code error;
    const fs::file_status status = fs::status(folder, error);
    if (!fs::is_directory(status)) {
        return StoreError{
            StoreErrorCode::NoProject,
            "The project folder " + Quoted(folder) + (fs::exists(status) ? " is not a folder." : " does not exist.")};
    }
    if (forWriting && (!MayWrite(folder) || (fs::exists(path, error) && !MayWrite(path)))) {
        return ReadOnly(folder);
    }
    if (!forWriting && !fs::exists(path, error)) {
        return NothingStored(path);
    }
    return std::nullopt;
}

// A change that another process did not finish is undone with what stands in the journal beside the database. Who only
// reads cannot do that, so it is done for him. A writer that is alive is waited for.
void UndoUnfinishedChange(const fs::path& path, std::chrono::milliseconds wait) {
    try {
        sqlite::Connection connection(path.string(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX,
                                      static_cast<int>(wait.count()));
        const int keepLog = 1;
        sqlite3_db_config(connection.Handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, keepLog, nullptr);
        sqlite::QueryInteger(connection, "PRAGMA user_version");
    } catch (const sqlite::DatabaseFailure&) {
        // Whoever reads next meets the same trouble and says what it is.
    }
}

// Whether a change was left unfinished that reading alone cannot undo.
bool NeedsWriter(const sqlite::DatabaseFailure& failure) {
    return failure.code == SQLITE_READONLY_ROLLBACK || failure.code == SQLITE_READONLY_RECOVERY ||
           failure.code == SQLITE_READONLY_CANTINIT || (failure.code & kPrimaryCodeMask) == SQLITE_CANTOPEN;
}

// A file: URI for the path; everything but plain characters is escaped.
std::string UriOf(const fs::path& path, const char* query) {
    std::string uri = "file:";
    std::error_code error;
    for (const char each : fs::absolute(path, error).string()) {
        const auto byte = static_cast<unsigned char>(each);
        if ((byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
            byte == '/' || byte == '-' || byte == '_' || byte == '.') {
            uri += each;
        } else {
            std::array<char, 4> escaped{};
            std::snprintf(escaped.data(), escaped.size(), "%%%02X", byte);
            uri += escaped.data();
        }
    }
    return uri + query;
}

}  // namespace

StoreError ProjectDatabase::ErrorOf(const sqlite::DatabaseFailure& failure, const fs::path& path,
                                    std::chrono::milliseconds wait) {
    const int error = failure.systemError;
    switch (failure.code & kPrimaryCodeMask) {
        case SQLITE_NOMEM:
            throw std::bad_alloc();
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return {StoreErrorCode::Locked,
                    "The project database " + Quoted(path) + " was in use by another process for the whole " +
                        std::to_string(wait.count()) + " ms that were waited; nothing was changed."};
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_FORMAT:
        // The statements are right, so that the tables are not as they were made.
        case SQLITE_ERROR:
        case SQLITE_SCHEMA:
        case SQLITE_CONSTRAINT:
        case SQLITE_MISMATCH:
            return Damaged(path, failure.detail);
        case SQLITE_FULL:
            return {StoreErrorCode::DiskFull, "There is no room left on the disk for the project database " +
                                                  Quoted(path) + "; what was recorded before is kept."};
        case SQLITE_IOERR:
            if (error == ENOSPC || error == EDQUOT || error == EFBIG) {
                return ErrorOf({SQLITE_FULL, 0, failure.detail}, path, wait);
            }
            break;
        case SQLITE_READONLY:
            return ReadOnly(path.parent_path());
        case SQLITE_CANTOPEN:
        case SQLITE_PERM:
            if (error == EACCES || error == EROFS || error == EPERM) {
                return ReadOnly(path.parent_path());
            }
            break;
        default:
            break;
    }
    std::string detail = failure.detail;
    if (error != 0) {
        detail += ", " + std::generic_category().message(error);
    }
    return {StoreErrorCode::Failed, "The project database " + Quoted(path) + " cannot be used: " + detail + "."};
}

Result<std::unique_ptr<ProjectDatabase>> ProjectDatabase::Open(const fs::path& projectFolder, bool forWriting,
                                                               std::chrono::milliseconds wait) {
    const fs::path path = projectFolder / kDatabaseFileName;
    if (std::optional<StoreError> error = LookAtFolder(projectFolder, path, forWriting)) {
        return *error;
    }
    if (std::optional<StoreError> error = LookAtFile(path)) {
        return *error;
    }
    // Readers of a write-ahead log share memory through a file beside the database. Where none can be made there is no
    // writer either, so that the file may be read as one that does not change.
    const bool hasJournal = SizeOrZero(WithSuffix(path, "-journal")) > 0;
    const bool frozen =
        !forWriting && !MayWrite(projectFolder) && SizeOrZero(WithSuffix(path, "-wal")) == 0 && !hasJournal;
    if (!forWriting && hasJournal && MayWrite(projectFolder) && MayWrite(path)) {
        UndoUnfinishedChange(path, wait);
    }
    const std::string location = frozen ? UriOf(path, "?immutable=1") : UriOf(path, "");
    const int flags = SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX |
                      (forWriting ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE : SQLITE_OPEN_READONLY);
    try {
        if (forWriting) {
            RemoveAbandonedDatabases(projectFolder);
            MakeDatabaseUnlessThere(path);
        }
        auto database = std::make_unique<ProjectDatabase>(path, location, flags, wait);
        const int keepLog = 1;
        sqlite3_db_config(database->connection_.Handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, keepLog, nullptr);
        sqlite3_db_config(database->connection_.Handle(), SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
        database->RefuseUnlessSound(forWriting);
        if (forWriting) {
            database->PrepareForWriting();
        }
        return database;
    } catch (const sqlite::DatabaseFailure& failure) {
        if (!forWriting && !frozen && !MayWrite(projectFolder) && NeedsWriter(failure)) {
            return StoreError{StoreErrorCode::ReadOnly, "The project database " + Quoted(path) +
                                                            " was not closed properly and the project folder cannot "
                                                            "be written to; open it once with the right to write."};
        }
        return ErrorOf(failure, path, wait);
    } catch (const StoreError& error) {
        return error;
    }
}

// Throws StoreError or DatabaseFailure.
void ProjectDatabase::RefuseUnlessSound(bool forWriting) {
    connection_.Execute("PRAGMA trusted_schema = OFF; PRAGMA cell_size_check = ON;");
    // One view: another process may be making the database at this moment.
    sqlite::Transaction view(connection_, sqlite::Transaction::Kind::Read);
    const std::int64_t application = sqlite::QueryInteger(connection_, "PRAGMA application_id");
    const std::int64_t version = sqlite::QueryInteger(connection_, "PRAGMA user_version");
    const std::int64_t tables = sqlite::QueryInteger(connection_, "SELECT count(*) FROM sqlite_schema");
    if (application != kApplicationId) {
        // New, on a file system where SQLite makes it in its place.
        if (application == 0 && version == 0 && tables == 0) {
            if (forWriting) {
                return;
            }
            throw NothingStored(path_);
        }
        throw StoreError{StoreErrorCode::Foreign, "The file " + Quoted(path_) +
                                                      " belongs to another program; it was left as it is. Move it away "
                                                      "to begin a project database."};
    }
    if (version > NewestSchemaVersion()) {
        throw StoreError{StoreErrorCode::NewerVersion, "The project database " + Quoted(path_) +
                                                           " was written by a newer version of norvex (format " +
                                                           std::to_string(version) + ", this one knows up to " +
                                                           std::to_string(NewestSchemaVersion()) +
                                                           "); it was left as it is."};
    }
    if (version < kOldestReadableVersion && !forWriting) {
        throw StoreError{StoreErrorCode::ReadOnly, "The project database " + Quoted(path_) +
                                                       " was written by an older version of norvex and must be opened "
                                                       "for writing once before it can be read."};
    }
    sqlite::Statement check(connection_, "PRAGMA quick_check(1)");
    const std::string verdict = check.Step() ? check.Text(0) : "no answer";
    if (verdict != "ok") {
        // A heading may stand before what is wrong.
        throw sqlite::DatabaseFailure{SQLITE_CORRUPT, 0, verdict.substr(verdict.rfind('\n') + 1)};
    }
}

void ProjectDatabase::PrepareForWriting() {
    SwitchToWriteAheadLog();
    connection_.Execute("PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON;");
    Migrate(connection_, MigrationSteps());
    // Only a file that was found sound is tidied up at the end.
    const int tidyUp = 0;
    sqlite3_db_config(connection_.Handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, tidyUp, nullptr);
}

// The switch does not wait for other processes by itself.
void ProjectDatabase::SwitchToWriteAheadLog() {
    const auto deadline = std::chrono::steady_clock::now() + wait_;
    for (;;) {
        try {
            sqlite::Statement statement(connection_, "PRAGMA journal_mode = WAL");
            if (statement.Step() && statement.Text(0) == "wal") {
                return;
            }
            throw sqlite::DatabaseFailure{SQLITE_CANTOPEN, 0, "its file system allows no write-ahead log"};
        } catch (const sqlite::DatabaseFailure& failure) {
            if ((failure.code & kPrimaryCodeMask) != SQLITE_BUSY || std::chrono::steady_clock::now() >= deadline) {
                throw;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

}  // namespace norvex::service::store
