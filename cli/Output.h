// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace norvex::cli {

// Makes sure that standard input, output and error are open files, so that no other file takes their numbers; writing
// to one that the caller has closed fails. Call it first.
void KeepStandardFiles();

// Writes text to standard output. Returns false, and says so on standard error, when not all of it could be written.
bool WriteOut(std::string_view text);

// "norvex: sentence" on standard error, control characters made visible.
void Complain(std::string_view sentence);

// A file that is written whole or not at all: under another name beside it, then renamed. What is no regular file, such
// as a pipe or a device, is written directly.
class WholeFile {
  public:
    WholeFile() = default;
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;
    // Removes what was not committed.
    ~WholeFile();

    // Returns a sentence when the file cannot be written.
    std::optional<std::string> Open(const std::filesystem::path& path);
    // Requires: Open succeeded. Returns a sentence when the file could not be written; what was there before stays
    // then.
    std::optional<std::string> Commit(std::string_view text);

  private:
    std::optional<std::string> Failure(int code) const;

    std::filesystem::path m_path;
    std::filesystem::path m_temporary;  // empty: written directly
    int m_descriptor = -1;
};

}  // namespace norvex::cli
