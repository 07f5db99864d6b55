// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/kernel/KernelTypes.h"
#include "platform/kernel/Synchronization.h"

#include <cstdio>

// Files and folders by the host's path (platform/kernel/NativePath.h). Letter case matters in paths, as this system's
// file systems have it; only the pattern of a search ignores it. Any thread; a search handle is for one thread at a
// time.

inline constexpr int MAX_PATH = 260;

inline constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x1;
inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;

// Attributes of what the path names, links followed. Returns INVALID_FILE_ATTRIBUTES when there is nothing.
NORVEX_PLATFORM_API DWORD GetFileAttributesW(LPCWSTR path);

// Makes one folder. Fails when it exists, when its parent does not, or when that may not be written.
NORVEX_PLATFORM_API BOOL CreateDirectoryW(LPCWSTR path, const SECURITY_ATTRIBUTES* attributes);

// One entry of a folder: FILE_ATTRIBUTE_DIRECTORY or FILE_ATTRIBUTE_NORMAL (links followed), and the name without
// folder. A name of this system has at most 255 bytes and so fits.
struct WIN32_FIND_DATAW {
    DWORD dwFileAttributes = 0;
    TCHAR cFileName[MAX_PATH] = {};
};

// Searches a folder, not its sub-folders, for names that match the last component of the path
// (platform/kernel/NamePattern.h), in the order of the file system; "." and ".." are entries like any other. Returns a
// handle for FindNextFileW and FindClose and fills in the first entry; INVALID_HANDLE_VALUE when nothing matches or the
// folder cannot be read. The handle is the caller's.
NORVEX_PLATFORM_API HANDLE FindFirstFileW(LPCWSTR path, WIN32_FIND_DATAW* entry);
// Fills in the next entry. Returns 0, and leaves the entry as it was, when there is none.
NORVEX_PLATFORM_API BOOL FindNextFileW(HANDLE search, WIN32_FIND_DATAW* entry);
NORVEX_PLATFORM_API BOOL FindClose(HANDLE search);

// Opens a file for binary reading; the mode is "rb". Returns null for anything that is not a regular file, cannot be
// read or does not exist, and for another mode. The caller closes it.
NORVEX_PLATFORM_API std::FILE* _wfopen(LPCWSTR path, LPCWSTR mode);
