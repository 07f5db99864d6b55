// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <memory>
#include <set>

#include "cli/ExitCode.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/TrustCommands.h"

namespace norvex::cli {
namespace {

using service::store::Access;
using service::store::ProjectStore;
using service::store::Result;
using service::store::Status;
using service::store::TrustEntry;
using service::store::TrustId;
using service::store::TrustListing;

struct RemoveOptions {
    ProjectChoice choice;
    std::set<TrustId> ids;
    std::string reason;
    std::string person;
};

struct PruneOptions {
    ProjectChoice choice;
    std::string person;
    bool isDryRun = false;
};

int Remove(const RemoveOptions& options) {
    Result<ProjectStore> project = OpenChosen(options.choice, Access::ReadWrite);
    if (!project) {
        return Refuse(project.Error());
    }
    const Result<std::vector<TrustListing>> listings = project->ListTrust();
    if (!listings) {
        return Refuse(listings.Error());
    }
    const Status removed =
        project->RemoveTrust({options.ids.begin(), options.ids.end()}, options.person, options.reason);
    if (!removed) {
        return Refuse(removed.Error());
    }
    std::vector<TrustEntry> entries;
    for (const TrustListing& listing : *listings) {
        if (options.ids.contains(listing.entry.id)) {
            entries.push_back(listing.entry);
        }
    }
    return WriteOut(TrustLines("Removed", entries)) ? kClean : kIncomplete;
}

// Entries that a pruning removes, or would remove.
Result<std::vector<TrustListing>> IdleTrust(ProjectStore& project, const PruneOptions& options) {
    if (!options.isDryRun) {
        return project.PruneTrust(options.person);
    }
    Result<std::vector<TrustListing>> listings = project.ListTrust();
    if (listings) {
        std::erase_if(*listings, [](const TrustListing& each) { return !service::store::IsIdle(each); });
    }
    return listings;
}

int Prune(const PruneOptions& options) {
    Result<ProjectStore> project = OpenChosen(options.choice, Access::ReadWrite);
    if (!project) {
        return Refuse(project.Error());
    }
    const Result<std::vector<TrustListing>> idle = IdleTrust(*project, options);
    if (!idle) {
        return Refuse(idle.Error());
    }
    std::string text;
    for (const TrustListing& listing : *idle) {
        const std::string what = listing.expired ? "expired" : "stale";
        text += TrustLines((options.isDryRun ? "Would remove " : "Removed ") + what, {listing.entry});
    }
    return WriteOut(text.empty() ? "No trust is stale or expired.\n" : text) ? kClean : kIncomplete;
}

}  // namespace

Command AddTrustRemove(CLI::App& trust) {
    const auto options = std::make_shared<RemoveOptions>();
    CLI::App* command =
        trust.add_subcommand("remove", "Take trust back; what was removed stays on record with person and reason");
    // Words that are no numbers are left for the model.
    command->validate_positionals();
    command->add_option("ID", options->ids, "Numbers, as norvex trust list shows them")
        ->required()
        ->type_name("")
        ->check(WholeNumber(1));
    command->add_option("--reason", options->reason, "Why it is taken back")->required()->type_name("TEXT");
    AddPerson(*command, options->person);
    AddProjectChoice(*command, options->choice);
    return {command, [options] { return Remove(*options); }};
}

Command AddTrustPrune(CLI::App& trust) {
    const auto options = std::make_shared<PruneOptions>();
    CLI::App* command = trust.add_subcommand(
        "prune", "Remove what has expired, and what hid nothing although the last complete check looked everywhere");
    command->add_flag("--dry-run", options->isDryRun, "Only say what would be removed");
    AddPerson(*command, options->person);
    AddProjectChoice(*command, options->choice);
    return {command, [options] { return Prune(*options); }};
}

}  // namespace norvex::cli
