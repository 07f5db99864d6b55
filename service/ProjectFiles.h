// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <filesystem>
#include <vector>

// Which files are the program's own.

namespace norvex::service {

// What ships in the application folder for people to read and change.
inline constexpr std::array kApplicationFiles{"NorvexConfig.xml", "Catalogue.xml", "ifc-mapping.tsv"};

// Whether norvex keeps a file of this name in a project: its database with what belongs to it, the lock, the control
// socket, the configuration, the mapping, the project's data, and everything in the folders of result and guide files.
// Whether there is such a file does not matter. Requires: both paths are absolute and without links.
bool IsProjectFile(const std::filesystem::path& projectFolder, const std::filesystem::path& file);

// Those that there are, folders included.
std::vector<std::filesystem::path> ProjectFiles(const std::filesystem::path& projectFolder);

}  // namespace norvex::service
