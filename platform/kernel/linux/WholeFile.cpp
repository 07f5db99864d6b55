// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/WholeFile.h"

#include "platform/kernel/NativePath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace norvex::kernel {

namespace {

constexpr mode_t kFileMode = 0666;  // the process's mask takes away what a user does not want others to have

constexpr UnfinishedName kUnfinished{"norvex-", ".part"};

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

std::filesystem::path FolderOf(const std::filesystem::path& file) {
    return file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
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
    const int descriptor = open(FolderOf(file).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor >= 0) {
        fsync(descriptor);
        close(descriptor);
    }
}

}  // namespace

WholeFile::~WholeFile() {
    if (m_descriptor >= 0) {
        close(m_descriptor);
    }
}

std::string WholeFile::Failure(int code) const {
    return "The file " + m_path.string() + " cannot be written: " + std::strerror(code) + ".";
}

std::optional<std::string> WholeFile::Open(const std::filesystem::path& path, Links links) {
    m_path = path;
    if (!path.has_filename()) {
        return "\"" + path.string() + "\" names no file to write to.";
    }
    std::error_code ignored;
    m_target = links == Links::Follow ? FollowLinks(path) : path;
    const std::filesystem::file_status status = std::filesystem::status(m_target, ignored);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        m_descriptor = open(m_target.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
        return m_descriptor < 0 ? std::optional<std::string>(Failure(errno)) : std::nullopt;
    }
    const std::filesystem::path folder = FolderOf(m_target);
    RemoveAbandonedWholeFiles(folder);
    const int failure = m_unfinished.Make(folder, kUnfinished, kFileMode);
    return failure == 0 ? std::nullopt : std::optional<std::string>(Failure(failure));
}

int WholeFile::Publish(std::string_view bytes, Replace replace) {
    if (!m_unfinished.IsThere()) {
        return WriteAll(m_descriptor, bytes);
    }
    if (const int failure = WriteAll(m_unfinished.Descriptor(), bytes); failure != 0) {
        return failure;
    }
    if (fsync(m_unfinished.Descriptor()) != 0) {
        return errno;
    }
    if (replace == Replace::Yes) {
        if (std::rename(m_unfinished.Path().c_str(), m_target.c_str()) != 0) {
            return errno;
        }
    } else if (const int failure = RenameToNew(m_unfinished.Path(), m_target); failure != 0) {
        return failure;
    }
    m_unfinished.Keep();
    SynchroniseFolder(m_target);
    return 0;
}

std::optional<std::string> WholeFile::Commit(std::string_view bytes) {
    const int failure = Publish(bytes, Replace::Yes);
    return failure == 0 ? std::nullopt : std::optional<std::string>(Failure(failure));
}

std::optional<std::string> WholeFile::CommitNew(std::string_view bytes, bool& isTaken) {
    // What was there already when the file was opened, and is no regular file, is somebody else's too.
    const int failure = !m_unfinished.IsThere() ? EEXIST : Publish(bytes, Replace::No);
    isTaken = failure == EEXIST;
    return failure == 0 || isTaken ? std::nullopt : std::optional<std::string>(Failure(failure));
}

bool WriteWholeFile(const CString& path, std::string_view bytes) {
    WholeFile file;
    return !file.Open(ToNativePath(path)) && !file.Commit(bytes);
}

std::filesystem::path FollowLinks(const std::filesystem::path& path) {
    // As many as the system itself follows.
    constexpr int kMostLinks = 40;
    std::error_code ignored;
    std::filesystem::path place = path;
    for (int count = 0; count < kMostLinks && std::filesystem::is_symlink(place, ignored); ++count) {
        const std::filesystem::path next = std::filesystem::read_symlink(place, ignored);
        // Of a relative one, the folder of the link counts.
        place = FolderOf(place) / next;
    }
    const std::filesystem::path folder = std::filesystem::canonical(FolderOf(place), ignored);
    return folder.empty() ? path : folder / place.filename();
}

void RemoveAbandonedWholeFiles(const std::filesystem::path& folder) {
    RemoveAbandonedFiles(folder, kUnfinished);
}

}  // namespace norvex::kernel
