// SPDX-License-Identifier: Apache-2.0
#include "service/store/RunLock.h"

#include <fcntl.h>
#include <sys/stat.h>
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
// Only its owner may read it, because whoever may read can also lock it, if only against writers. Of writing, the
// process's mask takes away from others what it does elsewhere, so that those who may write to the folder may check.
constexpr mode_t kLockFileMode = 0622;
constexpr mode_t kReadableByOthers = 0044;

// The whole file.
struct flock WholeFile() {
    struct flock region {};
    region.l_type = F_WRLCK;
    region.l_whence = SEEK_SET;
    return region;
}

struct Holder {
    pid_t process = 0;    // 0: the system does not say which
    bool checks = false;  // it holds the lock as a check does
};

// Nothing when nobody holds the lock.
std::optional<Holder> HolderOf(int descriptor) {
    struct flock holder = WholeFile();
    if (fcntl(descriptor, F_GETLK, &holder) != 0 || holder.l_type == F_UNLCK) {
        return std::nullopt;
    }
    return Holder{std::max(holder.l_pid, 0), holder.l_type == F_WRLCK};
}

StoreError Busy(const std::filesystem::path& folder, const Holder& holder) {
    const std::string process =
        holder.process > 0 ? "process " + std::to_string(holder.process) : std::string("another process");
    const std::string project = "The project \"" + folder.string() + "\"";
    return {StoreErrorCode::ProjectBusy,
            holder.checks ? project + " is being checked by " + process + "; try again when it has finished."
                          : project + " cannot be checked while " + process + ", which is no check, has a lock on \"" +
                                kLockFileName + "\"; end it, or try again later."};
}

// Opens the lock file without waiting, and only if it is a file. Returns a negative number, and errno, when it cannot.
int OpenLockFile(const std::filesystem::path& folder, int flags) {
    const std::filesystem::path path = folder / kLockFileName;
    const int descriptor =
        open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | flags, kLockFileMode);
    struct stat status {};
    if (descriptor < 0 || (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))) {
        return descriptor;
    }
    close(descriptor);
    errno = EINVAL;
    return -1;
}

// One that an earlier program made can be read by others; its owner changes that.
void KeepReadersAway(int descriptor) {
    struct stat status {};
    if (fstat(descriptor, &status) == 0 && (status.st_mode & kReadableByOthers) != 0 && status.st_size == 0 &&
        status.st_uid == geteuid()) {
        static_cast<void>(fchmod(descriptor, status.st_mode & kLockFileMode));
    }
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
    const int descriptor = OpenLockFile(projectFolder, O_CREAT);
    if (descriptor < 0) {
        return CannotOpen(projectFolder, errno);
    }
    RunLock lock(descriptor);
    KeepReadersAway(descriptor);
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
    return Busy(projectFolder, HolderOf(descriptor).value_or(Holder{.process = 0, .checks = true}));
}

std::optional<StoreError> RunLock::HeldElsewhere(const std::filesystem::path& projectFolder) {
    const int descriptor = OpenLockFile(projectFolder, 0);
    if (descriptor < 0) {
        return std::nullopt;
    }
    const std::optional<Holder> holder = HolderOf(descriptor);
    close(descriptor);
    return holder ? std::optional(Busy(projectFolder, *holder)) : std::nullopt;
}

CheckState RunLock::StateOf(const std::filesystem::path& projectFolder) {
    const int descriptor = OpenLockFile(projectFolder, 0);
    if (descriptor < 0) {
        return errno == ENOENT ? CheckState::None : CheckState::Unknown;
    }
    const std::optional<Holder> holder = HolderOf(descriptor);
    close(descriptor);
    return holder && holder->checks ? CheckState::UnderWay : CheckState::None;
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
