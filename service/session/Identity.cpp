// SPDX-License-Identifier: Apache-2.0
#include "service/session/Identity.h"

#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <map>
#include <utility>

#include "norvexdata/common/ComMethod.h"
#include "platform/datamng/ProjectFile.h"
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

std::string ConfigurationDigest(const std::filesystem::path& configurationFile, const datamng::ProjectData& project) {
    std::ifstream file(configurationFile, std::ios::binary);
    const std::string configuration{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    Sha256 digest;
    // The size keeps the two texts apart.
    digest.Add(fmt::format("{}:", configuration.size()));
    digest.Add(configuration);
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
