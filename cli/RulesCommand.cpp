// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <memory>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Terminal.h"
#include "report/Table.h"
#include "service/Host.h"
#include "service/Project.h"
#include "service/TrustStore.h"
#include "service/Words.h"

namespace norvex::cli {
namespace {

int Rules(bool noColour) {
    service::NothingTrusted trust;
    service::Host host(trust);
    const std::filesystem::path application = service::ApplicationFolder();
    std::string error;
    if (!service::UseConfiguration(application, application, error)) {
        Complain(error);
        return kUnusable;
    }
    if (const std::optional<std::string> failure = host.Start(application)) {
        Complain(*failure);
        return kIncomplete;
    }
    host.LoadRules();
    report::Table table({{"Rule"}, {"Name"}, {"Version"}, {"Module"}, {"Specialties"}, {"What it looks for"}});
    for (const service::LoadedRule& rule : host.Rules()) {
        std::vector<std::string> glosses;
        for (const std::string& specialty : rule.record.specialties) {
            const std::string_view gloss = service::SpecialtyGloss(specialty);
            glosses.emplace_back(gloss.empty() ? specialty : gloss);
        }
        table.AddRow({{rule.record.shortName, report::Tone::Strong},
                      {rule.record.name},
                      {rule.record.version},
                      {rule.record.module},
                      {glosses.empty() ? "all" : service::Joined(glosses)},
                      {rule.record.title}});
    }
    const bool delivered = WriteOut(table.ToText(StyleOfOutput(noColour)));
    for (const std::string& failure : host.LoadFailures()) {
        Complain(failure);
    }
    return delivered && host.LoadFailures().empty() ? kClean : kIncomplete;
}

}  // namespace

Command AddRules(CLI::App& app) {
    const auto noColour = std::make_shared<bool>(false);
    CLI::App* command = app.add_subcommand("rules", "List the rules that a check runs");
    AddNoColour(*command, *noColour);
    command->footer(kExitCodes);
    return {command, [noColour] { return Rules(*noColour); }};
}

}  // namespace norvex::cli
