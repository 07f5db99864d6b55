// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/UnfinishedFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace norvex::kernel {

namespace {

// Paths of unfinished files, for signal handlers. A program makes fewer at a time; one more would not be removed.
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

// Locks the first byte. The lock belongs to the open file, so that two of one process keep each other out as those of
// two processes do; SQLite's own locks on a database lie behind its first gigabyte.
bool Lock(int descriptor) {
    struct flock region {};
    region.l_type = F_WRLCK;
    region.l_whence = SEEK_SET;
    region.l_len = 1;
    return fcntl(descriptor, F_OFD_SETLK, &region) == 0;
}

// Whether the name in the folder still stands for the open file.
bool Names(int folder, const char* name, int descriptor) {
    struct stat named {};
    struct stat opened {};
    return fstatat(folder, name, &named, AT_SYMLINK_NOFOLLOW) == 0 && fstat(descriptor, &opened) == 0 &&
           named.st_dev == opened.st_dev && named.st_ino == opened.st_ino && S_ISREG(opened.st_mode);
}

std::string UniquePart() {
    std::random_device random;
    std::array<char, 17> digits{};
    std::snprintf(digits.data(), digits.size(), "%08x%08x", static_cast<unsigned>(random()),
                  static_cast<unsigned>(random()));
    return digits.data();
}

bool Matches(std::string_view file, const UnfinishedName& name) {
    if (file.size() <= name.before.size() + name.after.size() || !file.starts_with(name.before) ||
        !file.ends_with(name.after)) {
        return false;
    }
    const std::string_view middle =
        file.substr(name.before.size(), file.size() - name.before.size() - name.after.size());
    return middle.find_first_not_of("0123456789abcdef-") == std::string_view::npos;
}

struct FolderCloser {
    void operator()(DIR* folder) const { closedir(folder); }
};

std::vector<std::string> MatchesIn(DIR* folder, const UnfinishedName& name) {
    std::vector<std::string> found;
    while (const dirent* entry = readdir(folder)) {
        if (Matches(entry->d_name, name)) {
            found.emplace_back(entry->d_name);
        }
    }
    return found;
}

// Whether the file has its own name by now, and this one stayed behind. It is not even opened then: closing it would
// let go of the locks that this process may hold on it under that name.
bool HasAnotherName(int folder, const std::string& file) {
    struct stat status {};
    return fstatat(folder, file.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode) &&
           status.st_nlink > 1;
}

void RemoveWithEndings(int folder, const std::string& file, std::initializer_list<const char*> endings) {
    for (const char* ending : endings) {
        unlinkat(folder, (file + ending).c_str(), 0);
    }
    // Last: what stands beside it could not be told from anybody's without it.
    unlinkat(folder, file.c_str(), 0);
}

}  // namespace

UnfinishedFile::~UnfinishedFile() {
    if (IsThere()) {
        unlink(m_path.c_str());
        ReplaceUnfinished(m_path.c_str(), nullptr);
    }
    if (m_descriptor >= 0) {
        close(m_descriptor);
    }
}

int UnfinishedFile::Make(const std::filesystem::path& folder, const UnfinishedName& name, unsigned mode) {
    // Chance gives one name twice less often than a disk fails; more tries would find the same trouble.
    constexpr int kTries = 8;
    int failure = 0;
    for (int count = 0; count < kTries; ++count) {
        failure = Create(folder, name, mode);
        if (failure != EEXIST) {
            break;
        }
    }
    return failure;
}

int UnfinishedFile::Create(const std::filesystem::path& folder, const UnfinishedName& name, unsigned mode) {
    m_path = folder / (std::string(name.before) + UniquePart() + std::string(name.after));
    ReplaceUnfinished(nullptr, m_path.c_str());
    m_descriptor = open(m_path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    int failure = m_descriptor < 0 ? errno : 0;
    if (failure == 0) {
        // Where the file system has no locks nobody can take one either, so that the file stays what it is. Whoever
        // saw it before it was locked may have taken it for abandoned.
        Lock(m_descriptor);
        failure = Names(AT_FDCWD, m_path.c_str(), m_descriptor) ? 0 : EEXIST;
    }
    if (failure != 0) {
        ReplaceUnfinished(m_path.c_str(), nullptr);
        m_path.clear();
        if (m_descriptor >= 0) {
            close(std::exchange(m_descriptor, -1));
        }
    }
    return failure;
}

void UnfinishedFile::Keep() {
    ReplaceUnfinished(m_path.c_str(), nullptr);
    m_path.clear();
}

void RemoveAbandonedFiles(const std::filesystem::path& folder, const UnfinishedName& name,
                          std::initializer_list<const char*> endings) {
    const std::unique_ptr<DIR, FolderCloser> opened(opendir(folder.empty() ? "." : folder.c_str()));
    if (opened == nullptr) {
        return;
    }
    const int at = dirfd(opened.get());
    for (const std::string& file : MatchesIn(opened.get(), name)) {
        if (HasAnotherName(at, file)) {
            RemoveWithEndings(at, file, endings);
            continue;
        }
        const int descriptor = openat(at, file.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
        if (descriptor < 0) {
            continue;
        }
        // The name is looked at under the lock: its maker may have given the file another one meanwhile.
        if (Lock(descriptor) && Names(at, file.c_str(), descriptor)) {
            RemoveWithEndings(at, file, endings);
        }
        close(descriptor);
    }
}

void RemoveUnfinishedFiles() {
    for (const std::atomic<const char*>& place : g_unfinished) {
        if (const char* path = place) {
            unlink(path);
        }
    }
}

}  // namespace norvex::kernel
