// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "service/store/Sqlite.h"
#include "service/store/Status.h"

// Internal to the store: the project's database file, opened and known to be sound.

namespace norvex::service::store {

class ProjectDatabase {
  public:
    // Opens the project's database; for writing, makes it first where there is none. Nothing of a file that is damaged,
    // foreign or newer is changed. Errors: all that StoreErrorCode lists above DiskFull, and DiskFull and Failed.
    static Result<std::unique_ptr<ProjectDatabase>> Open(const std::filesystem::path& projectFolder, bool forWriting,
                                                         std::chrono::milliseconds wait);

    const std::filesystem::path& Path() const { return path_; }
    sqlite::Connection& Connection() { return connection_; }

    // Returns: what `work` returns, or the error for what SQLite refused in it.
    template <typename Work>
    auto Guard(Work&& work) -> decltype(work()) {
        try {
            return work();
        } catch (const sqlite::DatabaseFailure& failure) {
            return ErrorOf(failure, path_, wait_);
        }
    }

    static StoreError ErrorOf(const sqlite::DatabaseFailure& failure, const std::filesystem::path& path,
                              std::chrono::milliseconds wait);

    ProjectDatabase(std::filesystem::path path, const std::string& location, int flags, std::chrono::milliseconds wait)
        : path_(std::move(path)), wait_(wait), connection_(location, flags, static_cast<int>(wait.count())) {}

  private:
    void RefuseUnlessSound(bool forWriting);
    void PrepareForWriting();
    void SwitchToWriteAheadLog();

    std::filesystem::path path_;
    std::chrono::milliseconds wait_;
    sqlite::Connection connection_;
};

}  // namespace norvex::service::store
