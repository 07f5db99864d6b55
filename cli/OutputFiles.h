// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/Output.h"

namespace norvex::cli {

// Files that no report may take the place of, by what they are and not by how they are called: a link to one is the
// same file.
class KeptFiles {
  public:
    void AddModel(const std::filesystem::path& model);
    // All that norvex keeps in a project's folder, which need not exist yet.
    void AddProject(const std::filesystem::path& folder);
    // What ships with the program and can be changed.
    void AddApplication(const std::filesystem::path& folder);

    // Why a report must not be written there, as a clause that goes on after the file's name; nothing when it may.
    std::optional<std::string> WhyNot(const std::filesystem::path& output) const;
    // The same for standard output, as a sentence.
    std::optional<std::string> WhyNotStandardOutput() const;

  private:
    std::optional<std::string> WhyNot(const struct stat* status, const std::filesystem::path& place) const;

    std::vector<std::pair<std::filesystem::path, std::string>> m_files;  // and what each is
    std::vector<std::filesystem::path> m_projects;
};

// A file that the user names for a report.
struct OutputFile {
    WholeFile& file;
    std::filesystem::path path;
};

// What is named by an option that stands for standard output with "-", which is none, and may be left out.
std::vector<OutputFile> OutputsOf(const std::optional<std::string>& path, WholeFile& file);

// Opens them all, the only way in which a file that a user names is written. Nothing is touched unless each may be
// written: it is none of the kept files, no other output of the call, and no model or database of another project.
// Returns a sentence otherwise. An earlier report may be overwritten.
std::optional<std::string> OpenOutputs(const KeptFiles& kept, const std::vector<OutputFile>& outputs);

}  // namespace norvex::cli
