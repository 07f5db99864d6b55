// SPDX-License-Identifier: Apache-2.0
#include "service/ProjectFiles.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <system_error>

namespace norvex::service {
namespace {

namespace fs = std::filesystem;

// With what SQLite puts beside the first, and what a new or a damaged one is called.
constexpr std::array<std::string_view, 3> kBeginnings{"norvex.db", "norvex-new-", "norvex-damaged-"};
constexpr std::array<std::string_view, 5> kNames{"norvex.lock", "control.socket", "NorvexConfig.xml", "ProjectData.xml",
                                                 "ifc-mapping.tsv"};
// As the module names them: result files in the first, guides in the second.
constexpr std::array<std::string_view, 2> kFolders{"NxResult", "ProjectAssist"};

bool IsOwnName(std::string_view name) {
    return std::find(kNames.begin(), kNames.end(), name) != kNames.end() ||
           std::find(kFolders.begin(), kFolders.end(), name) != kFolders.end() ||
           std::any_of(kBeginnings.begin(), kBeginnings.end(),
                       [&](std::string_view beginning) { return name.starts_with(beginning); });
}

}  // namespace

bool IsProjectFile(const fs::path& projectFolder, const fs::path& file) {
    const fs::path below = file.lexically_relative(projectFolder);
    if (below.empty() || below == "." || *below.begin() == "..") {
        return false;
    }
    const std::string first = below.begin()->string();
    const bool isDeeper = std::next(below.begin()) != below.end();
    return isDeeper ? std::find(kFolders.begin(), kFolders.end(), first) != kFolders.end() : IsOwnName(first);
}

std::vector<fs::path> ProjectFiles(const fs::path& projectFolder) {
    std::vector<fs::path> files;
    std::error_code failure;
    for (fs::directory_iterator entry(projectFolder, failure), end; entry != end; entry.increment(failure)) {
        if (IsOwnName(entry->path().filename().string())) {
            files.push_back(entry->path());
        }
    }
    for (const std::string_view folder : kFolders) {
        for (fs::recursive_directory_iterator entry(projectFolder / folder, failure), end; entry != end;
             entry.increment(failure)) {
            files.push_back(entry->path());
        }
    }
    return files;
}

}  // namespace norvex::service
