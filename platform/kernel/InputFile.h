// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace norvex::kernel {

// A file that somebody else made, opened for reading. Only regular files are: a folder, a pipe or a device is refused
// at once, without waiting for whoever might write into it and without reading what has no end. One thread at a time.
class NORVEX_PLATFORM_API InputFile {
  public:
    InputFile() = default;
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    ~InputFile();

    // Requires: not called before. Returns a clause that says why not: "there is no such file". errno tells it too.
    std::optional<std::string> Open(const std::filesystem::path& path);
    // In bytes, when it was opened. Requires: Open succeeded, as of all that follows.
    std::uint64_t Size() const { return m_size; }
    // Reads on, up to `most` bytes or the end. Returns how many were read; nothing when the system refused, as errno
    // says.
    std::optional<std::size_t> Read(char* bytes, std::size_t most);
    // Hands over the descriptor, which the caller closes. Nothing is read here any more.
    int Release();

  private:
    int m_descriptor = -1;
    std::uint64_t m_size = 0;
};

// The first bytes of a file, `most` at most: what has one byte more than it may have is asked for with one more.
// Errors: nothing, and why is a clause such as "there is no such file".
NORVEX_PLATFORM_API std::optional<std::string> ReadInputFile(const std::filesystem::path& path, std::size_t most,
                                                             std::string& why);

}  // namespace norvex::kernel
