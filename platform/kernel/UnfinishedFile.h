// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"

#include <filesystem>
#include <initializer_list>
#include <string_view>

// Files under a name of their own while they are being made. Whoever makes one holds a lock on it, and the lock goes
// with the process however that ends: one without a lock is nobody's any more. Process numbers say nothing, because
// folders are shared between computers.
namespace norvex::kernel {

// What the names of such files have in common; between the two stands what makes each name different.
struct UnfinishedName {
    std::string_view before;
    std::string_view after;
};

// One that this process makes. Any thread; one at a time.
class NORVEX_PLATFORM_API UnfinishedFile {
  public:
    UnfinishedFile() = default;
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    // Closes the file and removes its name, unless it was kept.
    ~UnfinishedFile();

    // Makes a new, empty file in the folder, with the permissions that the process's mask leaves of `mode`. Requires:
    // not called before. Returns 0 or the error number.
    int Make(const std::filesystem::path& folder, const UnfinishedName& name, unsigned mode);
    // Whether it was made and is neither kept nor removed yet.
    bool IsThere() const { return !m_path.empty(); }
    // Open for reading and writing while the object lives; negative before it was made.
    int Descriptor() const { return m_descriptor; }
    const std::filesystem::path& Path() const { return m_path; }
    // The file has another name by now.
    void Keep();

  private:
    int Create(const std::filesystem::path& folder, const UnfinishedName& name, unsigned mode);

    std::filesystem::path m_path;  // empty: not made, or kept
    int m_descriptor = -1;
};

// Removes from a folder the files of such names that nobody makes any more, each with the files beside it whose names
// have one of the endings. What cannot be told, or may not be removed, stays.
NORVEX_PLATFORM_API void RemoveAbandonedFiles(const std::filesystem::path& folder, const UnfinishedName& name,
                                              std::initializer_list<const char*> endings = {});

// Removes the unfinished files of this process, for one that is about to end without destroying them. May be called in
// a signal handler.
NORVEX_PLATFORM_API void RemoveUnfinishedFiles();

}  // namespace norvex::kernel
