// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>

#include "service/store/Status.h"

namespace norvex::service::store {

enum class CheckState : std::uint8_t { None, UnderWay, Unknown };

// Lets one process at a time check a project. The lock goes with the process, however it ends: a run that is found
// under way while the lock is held was killed. Reading results and giving trust need no lock. Child processes made by
// fork() do not hold it. Who may only read the project can neither take it nor keep others from it. At most one object
// per project and process, because the system counts processes, not objects.
class RunLock {
  public:
    // Waits up to `wait` for the process that holds it. Errors: ProjectBusy with that process's number; NoProject;
    // ReadOnly; Failed.
    static Result<RunLock> Acquire(const std::filesystem::path& projectFolder,
                                   std::chrono::milliseconds wait = std::chrono::milliseconds{0});

    // The ProjectBusy of a project that another process checks just now; nothing otherwise. Writes nothing; what cannot
    // be asked is not held.
    static std::optional<StoreError> HeldElsewhere(const std::filesystem::path& projectFolder);

    // Whether another process checks the project just now. Who may not write to the project cannot know.
    static CheckState StateOf(const std::filesystem::path& projectFolder);

    RunLock(RunLock&& other) noexcept;
    RunLock& operator=(RunLock&& other) noexcept;
    ~RunLock();

  private:
    explicit RunLock(int descriptor) : descriptor_(descriptor) {}

    int descriptor_;
};

}  // namespace norvex::service::store
