// SPDX-License-Identifier: Apache-2.0
#include "cli/KnownRules.h"

#include "service/Host.h"
#include "service/Project.h"
#include "service/RunPlan.h"
#include "service/TrustStore.h"
#include "service/session/Identity.h"

namespace norvex::cli {

std::optional<KnownRules> FindRules(const std::filesystem::path& projectFolder, std::string& error) {
    const std::filesystem::path application = service::ApplicationFolder();
    if (!service::UseConfiguration(projectFolder, application, error)) {
        return std::nullopt;
    }
    service::NothingTrusted trust;
    service::Host host(trust);
    if (const std::optional<std::string> failure = host.Start(application)) {
        error = *failure;
        return std::nullopt;
    }
    host.LoadRules();
    service::RunPlan plan;
    plan.rules = host.Rules();
    service::session::NoteModuleDigests(plan);
    KnownRules rules;
    for (const service::LoadedRule& rule : plan.rules) {
        rules.records.push_back(rule.record);
    }
    rules.failures = host.LoadFailures();
    return rules;
}

}  // namespace norvex::cli
