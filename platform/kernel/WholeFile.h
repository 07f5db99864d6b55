// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/kernel/UnfinishedFile.h"
#include "platform/text/CString.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace norvex::kernel {

// A file that is written whole or not at all: under another name in the same folder, norvex-*.part, and renamed once
// its bytes are on the disk. Whoever reads it meanwhile sees the old content or the new one, and after a loss of power
// there is one of the two. What is no regular file, such as a pipe or a device, is written directly. One thread at a
// time.
class NORVEX_PLATFORM_API WholeFile {
  public:
    // What becomes of a link under the file's name: the file takes its place, or it stays and what it leads to is
    // written.
    enum class Links : std::uint8_t { Replace, Follow };

    WholeFile() = default;
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;
    // Removes what was not committed.
    ~WholeFile();

    // Removes from the folder what killed processes have left of such files. Requires: not called before. Returns a
    // sentence when the file cannot be written.
    std::optional<std::string> Open(const std::filesystem::path& path, Links links = Links::Replace);
    // Requires: Open succeeded; once. Returns a sentence when the file could not be written; what was there before
    // stays then.
    std::optional<std::string> Commit(std::string_view bytes);
    // As Commit, but never in place of another file: isTaken tells that there is one by now, which stays; nothing was
    // written then.
    std::optional<std::string> CommitNew(std::string_view bytes, bool& isTaken);

  private:
    enum class Replace : std::uint8_t { Yes, No };

    // Returns 0 or the error number.
    int Publish(std::string_view bytes, Replace replace);
    std::string Failure(int code) const;

    std::filesystem::path m_path;    // as it was named
    std::filesystem::path m_target;  // where it is written
    UnfinishedFile m_unfinished;     // not there: written directly, or published
    int m_descriptor = -1;           // of what is written directly
};

// Writes a whole file by the host's path. Its folder must exist. Returns false when it could not be written; an old
// content is then still there.
NORVEX_PLATFORM_API bool WriteWholeFile(const CString& path, std::string_view bytes);

// Where a file of this name is when its links are followed: the folder without links, and the last name in it, also
// when there is no such file yet. The path itself when its folder cannot be found.
NORVEX_PLATFORM_API std::filesystem::path FollowLinks(const std::filesystem::path& path);

// Removes from a folder what killed processes have left of WholeFiles.
NORVEX_PLATFORM_API void RemoveAbandonedWholeFiles(const std::filesystem::path& folder);

}  // namespace norvex::kernel
