// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/WholeFile.h"

#include "platform/kernel/NativePath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace norvex::kernel {

namespace {

constexpr mode_t kFileMode = 0666;  // the process's mask takes away what a user does not want others to have

// Paths of temporary files, for signal handlers. A program writes fewer at a time; one more would not be removed.
std::array<std::atomic<const char*>, 32> g_unfinished{};
static_assert(std::atomic<const char*>::is_always_lock_free, "A signal handler may only touch lock-free atomics.");

// Puts the new path, or null, into the first place that holds the old one.
void ReplaceUnfinished(const char* before, const char* after) {
    for (std::atomic<const char*>& place : g_unfinished) {
        const char* expected = before;
        if (place.compare_exchange_strong(expected, after)) {
            return;
        }
    }
}

// Returns 0 or the error number.
int WriteAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        bytes.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return 0;
}

// Opens a new file beside path and says under which name; a name that a killed process has left behind is passed over.
int OpenBeside(const std::filesystem::path& path, std::filesystem::path& temporary) {
    constexpr int kNames = 100;
    int descriptor = -1;
    for (int number = 0; number < kNames && descriptor < 0; ++number) {
        temporary = path;
        temporary += "." + std::to_string(getpid()) + (number == 0 ? "" : "-" + std::to_string(number)) + ".part";
        ReplaceUnfinished(nullptr, temporary.c_str());
        descriptor = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kFileMode);
        if (descriptor < 0) {
            ReplaceUnfinished(temporary.c_str(), nullptr);
            if (errno != EEXIST) {
                break;
            }
        }
    }
    return descriptor;
}

// Renames unless there is a file of the new name. Returns 0 or the error number.
int RenameToNew(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return errno;
    }
    // The file system, often one of another computer, cannot do that in one step; a second name is as exclusive.
    if (link(from.c_str(), to.c_str()) != 0) {
        return errno;
    }
    unlink(from.c_str());
    return 0;
}

// Makes the new name of a file survive a loss of power. Not every file system can say that it did; then there is
// nothing more to do.
void SynchroniseFolder(const std::filesystem::path& file) {
    const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor >= 0) {
        fsync(descriptor);
        close(descriptor);
    }
}

}  // namespace

WholeFile::~WholeFile() {
    if (m_descriptor >= 0) {
        close(m_descriptor);
        if (!m_temporary.empty()) {
            unlink(m_temporary.c_str());
            ReplaceUnfinished(m_temporary.c_str(), nullptr);
        }
    }
}

std::string WholeFile::Failure(int code) const {
    return "The file " + m_path.string() + " cannot be written: " + std::strerror(code) + ".";
}

std::optional<std::string> WholeFile::Open(const std::filesystem::path& path) {
    m_path = path;
    if (!path.has_filename()) {
        return "\"" + path.string() + "\" names no file to write to.";
    }
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(path, ignored);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        m_descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    } else {
        m_descriptor = OpenBeside(path, m_temporary);
    }
    return m_descriptor < 0 ? std::optional<std::string>(Failure(errno)) : std::nullopt;
}

int WholeFile::Publish(std::string_view bytes, Replace replace) {
    if (const int failure = WriteAll(m_descriptor, bytes); failure != 0 || m_temporary.empty()) {
        return failure;
    }
    if (fsync(m_descriptor) != 0) {
        return errno;
    }
    if (replace == Replace::Yes) {
        if (std::rename(m_temporary.c_str(), m_path.c_str()) != 0) {
            return errno;
        }
    } else if (const int failure = RenameToNew(m_temporary, m_path); failure != 0) {
        return failure;
    }
    ReplaceUnfinished(m_temporary.c_str(), nullptr);
    m_temporary.clear();
    SynchroniseFolder(m_path);
    return 0;
}

std::optional<std::string> WholeFile::Commit(std::string_view bytes) {
    const int failure = Publish(bytes, Replace::Yes);
    return failure == 0 ? std::nullopt : std::optional<std::string>(Failure(failure));
}

std::optional<std::string> WholeFile::CommitNew(std::string_view bytes, bool& isTaken) {
    // What was there already when the file was opened, and is no regular file, is somebody else's too.
    const int failure = m_temporary.empty() ? EEXIST : Publish(bytes, Replace::No);
    isTaken = failure == EEXIST;
    return failure == 0 || isTaken ? std::nullopt : std::optional<std::string>(Failure(failure));
}

bool WriteWholeFile(const CString& path, std::string_view bytes) {
    WholeFile file;
    return !file.Open(ToNativePath(path)) && !file.Commit(bytes);
}

void RemoveUnfinishedFiles() {
    for (const std::atomic<const char*>& place : g_unfinished) {
        if (const char* path = place) {
            unlink(path);
        }
    }
}

}  // namespace norvex::kernel
