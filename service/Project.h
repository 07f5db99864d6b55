// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "platform/datamng/ProjectData.h"
#include "service/FloorSource.h"

namespace norvex::service {

// The NorvexConfig.xml that a run uses: the project's own, or else the one that ships in the application folder,
// whether it is there or not.
std::filesystem::path ConfigurationFile(const std::filesystem::path& projectFolder,
                                        const std::filesystem::path& applicationFolder);

// Tells the module where rules find their configuration: the project's own NorvexConfig.xml, or else the one that ships
// in the application folder. Errors: false, and error is one sentence, when the project's is no readable document; a
// missing one is no error. Once in a process, before rules are loaded.
bool UseConfiguration(const std::filesystem::path& projectFolder, const std::filesystem::path& applicationFolder,
                      std::string& error);

// The project's data as it lies there: the catalogue that ships and what the project's file adds. Errors: nothing, and
// error is one sentence.
std::optional<datamng::ProjectData> ReadProjectData(const std::filesystem::path& projectFolder,
                                                    const std::filesystem::path& applicationFolder, std::string& error);

// The project's data: the catalogue that ships, what the project's file adds, and the categories of the model. When it
// may write, writes the file anew if the model holds more than it says. Errors: nothing, and error is one sentence.
std::optional<datamng::ProjectData> LoadProjectData(const std::filesystem::path& projectFolder,
                                                    const std::filesystem::path& applicationFolder,
                                                    const FloorSource& source, bool mayWrite, std::string& error);

}  // namespace norvex::service
