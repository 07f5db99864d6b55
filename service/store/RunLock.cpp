// SPDX-License-Identifier: Apache-2.0
#include "service/store/RunLock.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

namespace norvex::service::store {

namespace {

// Holds no data; it stays when the lock is released, because removing it would race with the next process.
constexpr const char* kLockFileName = "norvex.lock";
constexpr mode_t kLockFileMode = 0666;

// The whole file.
struct flock WholeFile() {
    struct flock region {};
    region.l_type = F_WRLCK;
    region.l_whence = SEEK_SET;
    return region;
}

// The process that holds the lock, 0 when the system does not say which; nothing when none does.
std::optional<pid_t> HolderOf(int descriptor) {
    struct flock holder = WholeFile();
    if (fcntl(descriptor, F_GETLK, &holder) != 0 || holder.l_type == F_UNLCK) {
        return std::nullopt;
    }
    return std::max(holder.l_pid, 0);
}

StoreError Busy(const std::filesystem::path& folder, pid_t holder) {
    return {StoreErrorCode::ProjectBusy, "The project \"" + folder.string() + "\" is being checked by " +
                                             (holder > 0 ? "process " + std::to_string(holder) : "another process") +
                                             "; try again when it has finished."};
}

StoreError CannotOpen(const std::filesystem::path& folder, int error) {
    const std::string name = "The project folder \"" + folder.string() + "\"";
    if (error == ENOENT || error == ENOTDIR) {
        return {StoreErrorCode::NoProject, name + " does not exist or is not a folder."};
    }
    if (error == EACCES || error == EROFS || error == EPERM) {
        return {StoreErrorCode::ReadOnly, name + " cannot be written to, so no check can be recorded there."};
    }
    return {StoreErrorCode::Failed, name + " cannot be locked: " + std::generic_category().message(error) + "."};
}

}  // namespace

Result<RunLock> RunLock::Acquire(const std::filesystem::path& projectFolder, std::chrono::milliseconds wait) {
    const std::filesystem::path path = projectFolder / kLockFileName;
    const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kLockFileMode);
    if (descriptor < 0) {
        return CannotOpen(projectFolder, errno);
    }
    RunLock lock(descriptor);
    const auto deadline = std::chrono::steady_clock::now() + wait;
    for (;;) {
        struct flock region = WholeFile();
        if (fcntl(descriptor, F_SETLK, &region) == 0) {
            return lock;
        }
        if (errno != EACCES && errno != EAGAIN) {
            return CannotOpen(projectFolder, errno);
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return Busy(projectFolder, HolderOf(descriptor).value_or(0));
}

std::optional<StoreError> RunLock::HeldElsewhere(const std::filesystem::path& projectFolder) {
    const int descriptor = open((projectFolder / kLockFileName).c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return std::nullopt;
    }
    const std::optional<pid_t> holder = HolderOf(descriptor);
    close(descriptor);
    return holder ? std::optional(Busy(projectFolder, *holder)) : std::nullopt;
}

RunLock::RunLock(RunLock&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {
}

RunLock& RunLock::operator=(RunLock&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

RunLock::~RunLock() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

}  // namespace norvex::service::store
