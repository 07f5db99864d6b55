// SPDX-License-Identifier: Apache-2.0
#include "service/Project.h"

#include <fmt/format.h>

#include "norvexdata/config/NorvexConfig.h"
#include "platform/datamng/ProjectFile.h"
#include "platform/kernel/NativePath.h"
#include "platform/profile/ZrOwProfile.h"
#include "platform/text/Utf8.h"

namespace norvex::service {
namespace {

constexpr const char* kConfigurationName = "NorvexConfig.xml";
constexpr const char* kCatalogueName = "Catalogue.xml";

CString HostPath(const std::filesystem::path& path) {
    return kernel::FromNativePath(std::filesystem::absolute(path).lexically_normal().native());
}

}  // namespace

std::filesystem::path ConfigurationFile(const std::filesystem::path& projectFolder,
                                        const std::filesystem::path& applicationFolder) {
    std::error_code ignored;
    const std::filesystem::path own = projectFolder / kConfigurationName;
    return std::filesystem::exists(own, ignored) ? own : applicationFolder / kConfigurationName;
}

bool UseConfiguration(const std::filesystem::path& projectFolder, const std::filesystem::path& applicationFolder,
                      std::string& error) {
    const std::filesystem::path used = ConfigurationFile(projectFolder, applicationFolder);
    profile::SetDirectories({HostPath(applicationFolder), HostPath(used.parent_path())});
    std::error_code ignored;
    if (std::filesystem::exists(used, ignored) && !NorvexConfig::Instance().IsValid()) {
        error = fmt::format("The configuration {} is no XML document that can be read.", used.string());
        return false;
    }
    return true;
}

std::optional<datamng::ProjectData> ReadProjectData(const std::filesystem::path& projectFolder,
                                                    const std::filesystem::path& applicationFolder,
                                                    std::string& error) {
    datamng::ProjectReadResult loaded =
        datamng::LoadProject(HostPath(projectFolder), HostPath(applicationFolder / kCatalogueName));
    if (!loaded.data) {
        const std::string place = loaded.line > 0 ? fmt::format(":{}", loaded.line) : "";
        error = fmt::format("{}{}: {}", kernel::ToNativePath(loaded.path), place, loaded.sentence);
    }
    return std::move(loaded.data);
}

std::optional<datamng::ProjectData> LoadProjectData(const std::filesystem::path& projectFolder,
                                                    const std::filesystem::path& applicationFolder,
                                                    const FloorSource& source, bool mayWrite, std::string& error) {
    std::optional<datamng::ProjectData> data = ReadProjectData(projectFolder, applicationFolder, error);
    if (!data) {
        return std::nullopt;
    }
    const std::string before = datamng::WriteProjectData(*data);
    for (const CString& path : source.Paths()) {
        data->AddAttribute(path);
    }
    if (mayWrite && datamng::WriteProjectData(*data) != before &&
        !datamng::WriteProjectFile(HostPath(projectFolder), *data)) {
        error = fmt::format("The project folder {} cannot be written; name another with --project DIR.",
                            projectFolder.string());
        return std::nullopt;
    }
    return data;
}

}  // namespace norvex::service
