// SPDX-License-Identifier: Apache-2.0
#include "service/session/Identity.h"

#include <fmt/format.h>
#include <array>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "norvexdata/common/ComMethod.h"
#include "platform/datamng/ProjectFile.h"
#include "platform/kernel/InputFile.h"
#include "platform/text/CodePage.h"
#include "platform/text/Utf8.h"
#include "service/Sha256.h"

namespace norvex::service::session {

void NoteModuleDigests(RunPlan& plan) {
    CZRArray<NS_NORVEX::DllInfo> modules;
    CComMethod::GetDllInfo(modules);
    // The inventory names files by their title, in narrow text.
    std::map<std::string, std::string> digests;
    for (int i = 0; i < modules.length(); ++i) {
        digests[modules[i].strDllName] = modules[i].strMd5;
    }
    for (LoadedRule& rule : plan.rules) {
        const std::string title = std::filesystem::path(rule.record.module).stem().string();
        rule.record.md5 = digests[text::WideToNarrow(text::FromUtf8(title))];
    }
}

namespace {

// Reads a file a block at a time; nothing when it cannot be read.
template <typename Take>
void ForEachBlock(const std::filesystem::path& path, Take take) {
    kernel::InputFile file;
    if (file.Open(path)) {
        return;
    }
    std::array<char, 64 * 1024> block;
    for (std::optional<std::size_t> count; (count = file.Read(block.data(), block.size())).value_or(0) > 0;) {
        take(std::string_view(block.data(), *count));
    }
}

}  // namespace

std::string ConfigurationDigest(const std::filesystem::path& configurationFile, const datamng::ProjectData& project) {
    std::size_t size = 0;
    ForEachBlock(configurationFile, [&size](std::string_view block) { size += block.size(); });
    Sha256 digest;
    // The size keeps the two texts apart.
    digest.Add(fmt::format("{}:", size));
    ForEachBlock(configurationFile, [&digest](std::string_view block) { digest.Add(block); });
    digest.Add(datamng::WriteProjectData(project));
    return digest.Finish();
}

store::RunIdentity IdentityOf(const RunPlan& plan, const FloorSource& source, const ModelRecord& model,
                              std::string configurationDigest, std::string programVersion) {
    store::RunIdentity identity;
    std::error_code ignored;
    const std::filesystem::path path = std::filesystem::absolute(model.path, ignored).lexically_normal();
    identity.modelPath = path.empty() ? model.path : path.string();
    identity.modelDigest = model.sha256;
    const std::uintmax_t size = std::filesystem::file_size(model.path, ignored);
    identity.modelSize = ignored ? 0 : static_cast<std::int64_t>(size);
    identity.modelRead =
        model.lostInstances > 0 || model.isCutOff ? store::ModelRead::Partly : store::ModelRead::Wholly;
    identity.configurationDigest = std::move(configurationDigest);
    identity.programVersion = std::move(programVersion);
    for (const std::size_t floor : plan.floors) {
        identity.floors.push_back(source.Floors()[floor].name);
    }
    for (const CString& specialty : plan.specialties) {
        identity.specialties.push_back(text::ToUtf8(specialty));
    }
    for (const LoadedRule& rule : plan.rules) {
        identity.rules.push_back({rule.record.name, rule.record.module, rule.record.md5, rule.record.version});
    }
    identity.narrowed = plan.narrowed;
    return identity;
}

}  // namespace norvex::service::session
