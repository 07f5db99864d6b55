// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <unistd.h>
#include <iostream>
#include <memory>
#include <set>

#include "cli/ExitCode.h"
#include "cli/Output.h"
#include "cli/TrustCommands.h"
#include "report/DisplayText.h"
#include "report/bcf/ProposeTrust.h"
#include "report/bcf/ReadBcf.h"
#include "service/Words.h"

namespace norvex::cli {
namespace {

using report::bcf::Proposal;
using report::bcf::Proposals;
using report::bcf::ReadArchive;
using service::store::Access;
using service::store::ProjectStore;
using service::store::Result;
using service::store::RunContents;
using service::store::RunRecord;
using service::store::StoredFinding;
using service::store::StoreError;
using service::store::StoreErrorCode;
using service::store::TrustEntry;
using service::store::TrustId;
using service::store::TrustView;

struct ImportBcfOptions {
    ProjectChoice choice;
    std::string file;
    std::vector<std::string> statuses;
    std::string reason;
    std::string person;
    bool takesAll = false;
    bool isDryRun = false;
};

enum class Answer { Yes, No, Quit };

std::string Counted(std::size_t count, std::string_view singular, std::string_view plural) {
    return fmt::format("{} {}", count, count == 1 ? singular : plural);
}

// The findings of the newest run, then those of the last complete one where that is another.
Result<std::vector<StoredFinding>> KnownFindings(ProjectStore& project) {
    const Result<std::vector<RunRecord>> runs = project.ListRuns();
    const Result<std::optional<RunRecord>> complete = project.LastCompleteRun();
    if (!runs || !complete) {
        return runs ? complete.Error() : runs.Error();
    }
    if (runs->empty()) {
        return StoreError{StoreErrorCode::InvalidInput,
                          "The project has no run yet, so no topic can be recognised; check the model first."};
    }
    std::vector<StoredFinding> findings;
    std::set<service::store::RunId> ids{runs->back().id};
    if (*complete) {
        ids.insert((**complete).id);
    }
    for (auto id = ids.rbegin(); id != ids.rend(); ++id) {
        const Result<RunContents> contents = project.LoadRun(*id);
        if (!contents) {
            return contents.Error();
        }
        findings.insert(findings.end(), contents->findings.begin(), contents->findings.end());
    }
    return findings;
}

std::string ProposalText(const Proposal& proposal) {
    std::string text = fmt::format("{} ({})\n", report::Sanitised(proposal.title), report::Sanitised(proposal.status));
    text += fmt::format("  Finding  {}\n", report::Sanitised(proposal.sentence));
    text += fmt::format("  Code     {}\n", report::Sanitised(proposal.entry.featureCode));
    text += fmt::format("  Reason   {}\n", report::Sanitised(proposal.entry.reason));
    text += fmt::format("  Person   {}, {}\n", report::Sanitised(proposal.entry.person), proposal.entry.addedOn);
    if (proposal.findings > 1) {
        text +=
            fmt::format("  Note     {} findings have this code; all of them would be trusted.\n", proposal.findings);
    }
    if (proposal.topicFindings > 1) {
        text +=
            fmt::format("  Note     The topic is about {} findings; this is one of them.\n", proposal.topicFindings);
    }
    return text;
}

// What else there was in the archive.
std::string RestText(const Proposals& found) {
    std::string text;
    for (const std::string& sentence : found.leftOut) {
        text += "Left out: " + report::Sanitised(sentence) + "\n";
    }
    if (found.trusted > 0) {
        text += fmt::format("{} trusted already.\n", Counted(found.trusted, "finding is", "findings are"));
    }
    if (found.open > 0) {
        text += fmt::format("{} not accepted.\n", Counted(found.open, "topic is", "topics are"));
    }
    return text;
}

// Asks on the terminal until it is told; the end of the input means to stop.
Answer Ask() {
    for (std::string line;;) {
        if (!WriteOut("Trust it? y(es), n(o), q(uit): ") || !std::getline(std::cin, line)) {
            return Answer::Quit;
        }
        if (line == "y" || line == "yes") {
            return Answer::Yes;
        }
        if (line == "n" || line == "no") {
            return Answer::No;
        }
        if (line == "q" || line == "quit") {
            return Answer::Quit;
        }
    }
}

// Shows each proposal and adds those that are wanted: at once those that are answered for one by one, all of them
// together otherwise. Returns the exit code.
int Take(ProjectStore& project, const Proposals& found, const ImportBcfOptions& options) {
    std::size_t added = 0;
    int exitCode = kClean;
    std::vector<TrustEntry> all;
    for (const Proposal& proposal : found.proposals) {
        if (!WriteOut(ProposalText(proposal))) {
            return kIncomplete;
        }
        if (options.takesAll && !options.isDryRun) {
            all.push_back(proposal.entry);
            continue;
        }
        const Answer answer = options.isDryRun ? Answer::No : Ask();
        if (answer == Answer::Quit) {
            break;
        }
        if (answer == Answer::Yes) {
            const Result<TrustId> id = project.AddTrust(proposal.entry);
            if (!id) {
                exitCode = Refuse(id.Error());
                break;
            }
            ++added;
        }
    }
    if (!all.empty()) {
        const Result<ProjectStore::ImportCounts> counts = project.AddAllTrust(all);
        added = counts ? static_cast<std::size_t>(counts->added) : 0;
        exitCode = counts ? kClean : Refuse(counts.Error());
    }
    const std::string proposed = Counted(found.proposals.size(), "entry", "entries");
    const std::string outcome =
        options.isDryRun ? fmt::format("{} would be proposed; nothing was added.\n", proposed)
                         : fmt::format("{} proposed, {} added; trust holds from the next check on.\n", proposed, added);
    return WriteOut(RestText(found) + outcome) ? exitCode : kIncomplete;
}

int ImportBcf(const ImportBcfOptions& options) {
    if (!options.isDryRun && !options.takesAll && (isatty(STDIN_FILENO) != 1 || isatty(STDOUT_FILENO) != 1)) {
        Complain("There is no terminal to ask on: --all takes every proposal, --dry-run only shows them.");
        return kUnusable;
    }
    const ReadArchive archive = report::bcf::ReadBcfFile(options.file);
    if (!archive.error.empty()) {
        Complain(archive.error);
        return kUnusable;
    }
    Result<ProjectStore> project = OpenChosen(options.choice, options.isDryRun ? Access::ReadOnly : Access::ReadWrite);
    if (!project) {
        return Refuse(project.Error());
    }
    const Result<std::vector<StoredFinding>> findings = KnownFindings(*project);
    const Result<TrustView> inForce = project->TrustInForce();
    if (!findings || !inForce) {
        return Refuse(findings ? inForce.Error() : findings.Error());
    }
    const Proposals found =
        ProposeTrust(archive.topics, *findings, *inForce,
                     {.statuses = options.statuses.empty() ? report::bcf::AcceptedStatuses() : options.statuses,
                      .reason = options.reason,
                      .person = options.person,
                      .today = service::store::SystemClock().Today()});
    const int exitCode = Take(*project, found, options);
    for (const std::string& problem : archive.problems) {
        Complain(problem);
    }
    return exitCode == kClean && !archive.problems.empty() ? kIncomplete : exitCode;
}

}  // namespace

Command AddTrustImportBcf(CLI::App& trust) {
    const auto options = std::make_shared<ImportBcfOptions>();
    CLI::App* command = trust.add_subcommand(
        "import-bcf", "Accept the findings whose topics a person closed in another program, asking for each");
    command->add_option("FILE", options->file, "A BCF archive, as norvex check --bcf writes it and programs change it")
        ->required()
        ->type_name("");
    command->add_flag("--all", options->takesAll, "Take every proposal without asking");
    command->add_flag("--dry-run", options->isDryRun, "Only show what would be proposed");
    command
        ->add_option("--status", options->statuses,
                     fmt::format("Topics of this status are accepted; may be given several times. Default: {}",
                                 service::Joined(report::bcf::AcceptedStatuses())))
        ->type_name("NAME")
        ->allow_extra_args(false);
    command
        ->add_option("--reason", options->reason,
                     "Why topics without a comment are accepted; without it they are left out")
        ->type_name("TEXT");
    AddPerson(*command, options->person);
    AddProjectChoice(*command, options->choice);
    return {command, [options] { return ImportBcf(*options); }};
}

}  // namespace norvex::cli
