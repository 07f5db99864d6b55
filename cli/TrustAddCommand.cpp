// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <memory>

#include "cli/ExitCode.h"
#include "cli/KnownRules.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/TrustCommands.h"
#include "report/DisplayText.h"
#include "service/Host.h"
#include "service/Project.h"
#include "service/TrustRequest.h"

namespace norvex::cli {
namespace {

using service::store::Access;
using service::store::ProjectStore;
using service::store::Result;
using service::store::TrustId;

struct AddOptions {
    ProjectChoice choice;
    service::TrustRequest request;
    bool noColour = false;
};

int Unusable(const std::string& sentence) {
    Complain(sentence);
    return kUnusable;
}

int Add(const AddOptions& options) {
    std::string error;
    const std::optional<std::filesystem::path> folder = ChosenProject(options.choice, error);
    if (!folder) {
        return Unusable(error);
    }
    Result<ProjectStore> project = ProjectStore::Open(*folder, {.access = Access::ReadWrite});
    if (!project) {
        return Refuse(project.Error());
    }
    const std::filesystem::path application = service::ApplicationFolder();
    const std::optional<datamng::ProjectData> data = service::ReadProjectData(*folder, application, error);
    const std::optional<KnownRules> rules = data ? FindRules(*folder, error) : std::nullopt;
    if (!rules) {
        return Unusable(error);
    }
    const Result<service::TrustNames> names = service::NamesFor(*project, rules->records, *data);
    if (!names) {
        return Refuse(names.Error());
    }
    const Result<service::RequestedTrust> wanted = service::ReadTrustRequest(options.request, *names, *project);
    if (!wanted) {
        return Refuse(wanted.Error());
    }
    const Result<TrustId> id = project->AddTrust(wanted->entry);
    if (!id) {
        return Refuse(id.Error());
    }
    const std::string sentence = wanted->sentence.empty() ? "" : report::Sanitised(wanted->sentence) + "\n";
    return WriteOut("Trusted from the next check on:\n" + sentence) && ShowTrust(*project, {*id}, options.noColour)
               ? kClean
               : kIncomplete;
}

}  // namespace

Command AddTrustAdd(CLI::App& trust) {
    const auto options = std::make_shared<AddOptions>();
    service::TrustRequest& request = options->request;
    CLI::App* command =
        trust.add_subcommand("add", "Accept a rule, a sub-category of components on a floor, or one finding");
    command
        ->add_option("--finding", request.finding,
                     "The finding with this number in the last report, or with the feature code that begins so")
        ->type_name("NUMBER|CODE");
    command->add_option("--rule", request.rule, "The rule, as norvex rules names it")->type_name("NAME");
    command
        ->add_option("--specialty", request.specialty,
                     "Trust the rule in this specialty only: water, fire, hvac, electrical, low-voltage, or its "
                     "Chinese name")
        ->type_name("NAME");
    command->add_option("--floor", request.floor, "Trust the rule on this floor only, for components of --sub-category")
        ->type_name("NAME");
    command
        ->add_option("--sub-category", request.subCategory,
                     "The components that the rule is not to look at, such as 管道")
        ->type_name("NAME");
    command->add_option("--reason", request.reason, "Why it is accepted")->required()->type_name("TEXT");
    AddPerson(*command, request.person);
    command->add_option("--expires", request.expiresOn, "The last day on which it holds. Default: it holds for good")
        ->type_name("YYYY-MM-DD");
    AddNoColour(*command, options->noColour);
    AddProjectChoice(*command, options->choice);
    return {command, [options] { return Add(*options); }};
}

}  // namespace norvex::cli
