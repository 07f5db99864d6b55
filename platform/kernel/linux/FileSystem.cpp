// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/FileSystem.h"

#include "platform/kernel/InputFile.h"
#include "platform/kernel/NamePattern.h"
#include "platform/kernel/NativePath.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>

using norvex::kernel::FromNativePath;
using norvex::kernel::MatchesPattern;
using norvex::kernel::ToNativePath;

namespace {

struct FolderCloser {
    void operator()(DIR* folder) const { closedir(folder); }
};

// What a search handle points to.
struct Search {
    std::unique_ptr<DIR, FolderCloser> folder;
    CString pattern;
};

bool IsFolder(const DIR* folder, const char* name) {
    struct stat status {};
    return fstatat(dirfd(const_cast<DIR*>(folder)), name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

// Fills in the next entry that matches. Returns false at the end, and when the folder cannot be read any further.
bool NextMatch(const Search& search, WIN32_FIND_DATAW& entry) {
    while (const dirent* found = readdir(search.folder.get())) {
        const CString name = FromNativePath(found->d_name);
        if (!MatchesPattern(name, search.pattern) || name.GetLength() >= MAX_PATH) {
            continue;
        }
        entry.dwFileAttributes =
            IsFolder(search.folder.get(), found->d_name) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
        std::copy_n(name.GetString(), name.GetLength() + 1, entry.cFileName);
        return true;
    }
    return false;
}

}  // namespace

DWORD GetFileAttributesW(LPCWSTR path) {
    const std::string native = ToNativePath(path);
    struct stat status {};
    if (stat(native.c_str(), &status) != 0) {
        return INVALID_FILE_ATTRIBUTES;
    }
    DWORD attributes = S_ISDIR(status.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : 0;
    if (access(native.c_str(), W_OK) != 0) {
        attributes |= FILE_ATTRIBUTE_READONLY;
    }
    return attributes == 0 ? FILE_ATTRIBUTE_NORMAL : attributes;
}

BOOL CreateDirectoryW(LPCWSTR path, const SECURITY_ATTRIBUTES*) {
    // The process's mask takes away what a user does not want others to have.
    constexpr mode_t kEverything = 0777;
    return mkdir(ToNativePath(path).c_str(), kEverything) == 0;
}

HANDLE FindFirstFileW(LPCWSTR path, WIN32_FIND_DATAW* entry) {
    const CString whole(path);
    const int lastSeparator = whole.ReverseFind(u'\\');
    std::string folder = ToNativePath(whole.Left(lastSeparator));
    if (folder.empty()) {
        folder = lastSeparator == 0 ? "/" : ".";
    }
    auto search = std::make_unique<Search>();
    search->folder.reset(opendir(folder.c_str()));
    search->pattern = whole.Mid(lastSeparator + 1);
    if (search->folder == nullptr || !NextMatch(*search, *entry)) {
        return INVALID_HANDLE_VALUE;
    }
    return search.release();
}

BOOL FindNextFileW(HANDLE search, WIN32_FIND_DATAW* entry) {
    if (search == nullptr || search == INVALID_HANDLE_VALUE) {
        return false;
    }
    return NextMatch(*static_cast<const Search*>(search), *entry);
}

BOOL FindClose(HANDLE search) {
    if (search == nullptr || search == INVALID_HANDLE_VALUE) {
        return false;
    }
    delete static_cast<Search*>(search);
    return true;
}

std::FILE* _wfopen(LPCWSTR path, LPCWSTR mode) {
    if (CString(mode) != u"rb") {
        errno = EINVAL;
        return nullptr;
    }
    norvex::kernel::InputFile input;
    if (input.Open(ToNativePath(path))) {
        return nullptr;
    }
    const int descriptor = input.Release();
    std::FILE* file = fdopen(descriptor, "rb");
    if (file == nullptr) {
        close(descriptor);
    }
    return file;
}
