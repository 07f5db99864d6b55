// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cassert>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>

namespace norvex::service::store {

// What a caller can act on differently.
enum class StoreErrorCode : std::uint8_t {
    NoProject,       // the project folder is missing or is no folder
    NothingStored,   // the project has no database yet, and it was opened for reading only
    ReadOnly,        // the project may be read but not written
    Locked,          // another process held the database for longer than the wait
    Damaged,         // the file is no database, or one with broken pages or impossible rows
    Foreign,         // a database of another program
    NewerVersion,    // written by a newer version of this program
    DiskFull,        // no room, or a limit on the size of files
    Failed,          // any other refusal of the file system
    NotFound,        // no run or trust entry with that number
    RunNotOpen,      // the run has ended, so nothing can be added to it
    InvalidInput,    // a value that must not be stored
    AlreadyTrusted,  // the same thing is trusted already
    ProjectBusy,     // another process is checking this project
};

// One sentence for a person, with the place (file, entry) in it.
struct StoreError {
    StoreErrorCode code = StoreErrorCode::Failed;
    std::string sentence;
};

// A value, or why there is none.
template <typename Value>
class [[nodiscard]] Result {
  public:
    Result(Value value) : content_(std::move(value)) {}
    Result(StoreError error) : content_(std::move(error)) {}

    bool Ok() const { return content_.index() == 0; }
    explicit operator bool() const { return Ok(); }

    // Requires: Ok().
    Value& operator*() {
        assert(Ok());
        return *std::get_if<0>(&content_);
    }
    const Value& operator*() const {
        assert(Ok());
        return *std::get_if<0>(&content_);
    }
    Value* operator->() { return &**this; }
    const Value* operator->() const { return &**this; }

    // Requires: not Ok().
    const StoreError& Error() const {
        assert(!Ok());
        return *std::get_if<1>(&content_);
    }

  private:
    std::variant<Value, StoreError> content_;
};

// The result of an operation that gives nothing back.
struct Done {};
using Status = Result<Done>;

}  // namespace norvex::service::store
