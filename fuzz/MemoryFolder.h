// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "fuzz/Promise.h"

// Files for doors that open a path themselves. They lie in memory: no input costs an access to the disk.

namespace norvex::fuzz {

// A folder of this process: in TMPDIR when that is set, which fuzz/run.py does and cleans up, else on a file system in
// memory where there is one. It goes away when the process ends as usual, which a fuzzing library does not let it.
class MemoryFolder {
  public:
    MemoryFolder() {
        std::error_code error;
        const std::filesystem::path memory = "/dev/shm";
        const bool isChosen = std::getenv("TMPDIR") != nullptr;
        const std::filesystem::path parent =
            !isChosen && access(memory.c_str(), W_OK) == 0 ? memory : std::filesystem::temp_directory_path(error);
        std::string name = (parent / "norvex-fuzz-XXXXXX").string();
        Require(mkdtemp(name.data()) != nullptr, "a folder can be made");
        Folder() = name;
        // Targets keep their folders for the life of the process and in static objects that nobody destroys.
        std::atexit([] {
            std::error_code ignored;
            std::filesystem::remove_all(Folder(), ignored);
        });
    }

    const std::filesystem::path& Path() const { return Folder(); }

  private:
    static std::filesystem::path& Folder() {
        static std::filesystem::path& folder = *new std::filesystem::path();
        return folder;
    }
};

// A file whose content is replaced for each input.
class MemoryFile {
  public:
    explicit MemoryFile(const std::filesystem::path& path)
        : m_descriptor(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
        Require(m_descriptor >= 0, "a file can be made");
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { close(m_descriptor); }

    void Replace(std::string_view bytes) const {
        Require(ftruncate(m_descriptor, 0) == 0 &&
                    pwrite(m_descriptor, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()),
                "a file can be written");
    }

  private:
    int m_descriptor;
};

}  // namespace norvex::fuzz
