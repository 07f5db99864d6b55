// SPDX-License-Identifier: Apache-2.0
#include <pwd.h>
#include <unistd.h>

#include <fmt/format.h>
#include <algorithm>
#include <memory>

#include "cli/ExitCode.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Terminal.h"
#include "cli/TrustCommands.h"
#include "report/DisplayText.h"
#include "report/TrustReport.h"

namespace norvex::cli {
namespace {

using service::store::Access;
using service::store::ProjectStore;
using service::store::Result;
using service::store::RunRecord;
using service::store::StoreError;
using service::store::StoreErrorCode;
using service::store::TrustEntry;
using service::store::TrustId;
using service::store::TrustListing;

constexpr const char* kExamples =
    "Examples:\n"
    "  norvex trust add --finding 2 --reason \"agreed with the owner\" --expires 2027-03-31\n"
    "  norvex trust add --rule pipe-loop --floor 3层 --sub-category 管道 --reason \"heating ring\"\n"
    "  norvex trust add house.ifc --rule pipe-link --specialty water --reason \"not in this project\"\n"
    "  norvex trust list                  what is trusted, and what each entry hides now\n"
    "  norvex trust remove 3 --reason \"fixed in the model\"\n"
    "  norvex trust prune --dry-run       what has expired or hides nothing any more\n"
    "  norvex trust export --to trust.json\n"
    "  norvex trust import trust.json\n"
    "  norvex trust import-bcf findings.bcfzip     what people closed in a building program, one by one\n\n"
    "Trust holds from the next check on. A project is named by its model or by --project; without either it is\n"
    "the one checked last.";

// Empty when the system does not know the user.
std::string UserName() {
    const passwd* user = getpwuid(getuid());
    if (user == nullptr) {
        return "";
    }
    // The first field of the comment is the full name.
    const std::string comment = user->pw_gecos == nullptr ? "" : user->pw_gecos;
    const std::string name = comment.substr(0, comment.find(','));
    return name.find_first_not_of(' ') == std::string::npos ? user->pw_name : name;
}

}  // namespace

void AddPerson(CLI::App& command, std::string& person) {
    person = UserName();
    command
        .add_option("--person", person, fmt::format("Who answers for it. Default: the name of the user, {}", person))
        ->type_name("NAME");
}

Result<ProjectStore> OpenChosen(const ProjectChoice& choice, Access access) {
    std::string error;
    const std::optional<std::filesystem::path> folder = ChosenProject(choice, error);
    if (!folder) {
        return StoreError{StoreErrorCode::InvalidInput, error};
    }
    return ProjectStore::Open(*folder, {.access = access});
}

KeptFiles FilesToKeep(const ProjectChoice& choice, Result<ProjectStore>& project) {
    std::string ignored;
    return project ? FilesToKeep(choice, *project) : FilesToKeep(choice, *ChosenProject(choice, ignored));
}

bool ShowTrust(ProjectStore& project, const std::vector<TrustId>& ids, bool noColour) {
    Result<std::vector<TrustListing>> listings = project.ListTrust();
    const Result<std::optional<RunRecord>> last = project.LastCompleteRun();
    if (!listings || !last) {
        Complain(!listings ? listings.Error().sentence : last.Error().sentence);
        return false;
    }
    std::erase_if(*listings, [&](const TrustListing& each) {
        return !ids.empty() && std::find(ids.begin(), ids.end(), each.entry.id) == ids.end();
    });
    return WriteOut(report::TrustText(*listings, *last ? (**last).id : 0, StyleOfOutput(noColour)));
}

std::string TrustLines(std::string_view before, const std::vector<TrustEntry>& entries) {
    std::string lines;
    for (const TrustEntry& entry : entries) {
        lines += report::Sanitised(fmt::format("{} trust {}: {} ({}, {}: \"{}\")", before, entry.id,
                                               service::store::TargetText(entry), entry.person, entry.addedOn,
                                               entry.reason)) +
                 "\n";
    }
    return lines;
}

Command AddTrust(CLI::App& app) {
    CLI::App* command =
        app.add_subcommand("trust", "Accept findings, so that later checks report them without counting them");
    command->require_subcommand(1);
    command->footer(kExamples);
    const auto commands = std::make_shared<std::vector<Command>>(std::vector<Command>{
        AddTrustAdd(*command), AddTrustList(*command), AddTrustRemove(*command), AddTrustPrune(*command),
        AddTrustExport(*command), AddTrustImport(*command), AddTrustImportBcf(*command)});
    return {command, [commands] {
                return std::find_if(commands->begin(), commands->end(),
                                    [](const Command& each) { return each.app->parsed(); })
                    ->run();
            }};
}

}  // namespace norvex::cli
