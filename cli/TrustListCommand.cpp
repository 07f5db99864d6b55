// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "cli/ExitCode.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Terminal.h"
#include "cli/TrustCommands.h"
#include "report/TrustReport.h"

namespace norvex::cli {
namespace {

using service::store::Access;
using service::store::ProjectStore;
using service::store::Result;
using service::store::RunId;
using service::store::RunRecord;
using service::store::StoreErrorCode;
using service::store::TrustListing;

struct ListOptions {
    ProjectChoice choice;
    std::optional<std::string> json;
    bool noColour = false;
};

int Show(const std::vector<TrustListing>& listings, RunId lastRun, const ListOptions& options, WholeFile& file) {
    if (options.json == "-") {
        return WriteOut(report::TrustJson(listings, lastRun)) ? kClean : kIncomplete;
    }
    if (options.json) {
        if (const std::optional<std::string> failure = file.Commit(report::TrustJson(listings, lastRun))) {
            Complain(*failure);
            return kIncomplete;
        }
    }
    return WriteOut(report::TrustText(listings, lastRun, StyleOfOutput(options.noColour))) ? kClean : kIncomplete;
}

int List(const ListOptions& options) {
    Result<ProjectStore> project = OpenChosen(options.choice, Access::ReadOnly);
    if (!project && project.Error().code != StoreErrorCode::NothingStored) {
        return Refuse(project.Error());
    }
    WholeFile file;
    if (const std::optional<std::string> failure =
            OpenOutputs(FilesToKeep(options.choice, project), OutputsOf(options.json, file))) {
        Complain(*failure);
        return kUnusable;
    }
    if (!project) {
        return Show({}, 0, options, file);
    }
    const Result<std::vector<TrustListing>> listings = project->ListTrust();
    const Result<std::optional<RunRecord>> last = project->LastCompleteRun();
    if (!listings || !last) {
        return Refuse(!listings ? listings.Error() : last.Error());
    }
    return Show(*listings, *last ? (**last).id : 0, options, file);
}

}  // namespace

Command AddTrustList(CLI::App& trust) {
    const auto options = std::make_shared<ListOptions>();
    CLI::App* command =
        trust.add_subcommand("list", "Show what is trusted: what, why, who, since and until when, and what it hides");
    AddProjectChoice(*command, options->choice);
    command
        ->add_option("--json", options->json,
                     "Write the list as JSON to FILE; - writes it to standard output in place of the text")
        ->type_name("FILE");
    AddNoColour(*command, options->noColour);
    return {command, [options] { return List(*options); }};
}

}  // namespace norvex::cli
