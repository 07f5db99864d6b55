// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/KnownRules.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/ProjectChoice.h"
#include "cli/Terminal.h"
#include "report/DiffReport.h"
#include "service/Verdict.h"
#include "service/session/StoredReport.h"

namespace norvex::cli {
namespace {

using service::store::ProjectStore;
using service::store::RunId;

constexpr const char* kFooter =
    "Examples:\n"
    "  norvex diff                        the two latest complete runs of the project checked last\n"
    "  norvex diff house.ifc --from 3     since run 3; norvex runs lists them\n"
    "  norvex diff --json - | jq .new\n\n"
    "Exit codes:\n"
    "  0  nothing new that counts\n"
    "  1  at least one new finding, not trusted and as grave as --fail-on says\n"
    "  2  wrong use, or no two runs to compare\n"
    "  3  the result could not be delivered";

struct DiffOptions {
    ProjectChoice choice;
    std::optional<RunId> from;
    std::optional<RunId> to;
    std::string failOn = "suspected";
    std::optional<std::string> json;
    bool noColour = false;
};

int Unusable(const std::string& sentence) {
    Complain(sentence);
    return kUnusable;
}

// The later and the earlier run that are meant. Errors: nothing, and error is one sentence.
std::optional<std::pair<RunId, RunId>> ChosenRuns(ProjectStore& project, const DiffOptions& options,
                                                  std::string& error) {
    std::optional<RunId> to = options.to;
    if (!to) {
        const auto last = project.LastCompleteRun();
        if (!last || !*last) {
            error = last ? fmt::format("No complete run of the whole project is remembered in \"{}\".",
                                       project.DatabasePath().string())
                         : Advised(last.Error());
            return std::nullopt;
        }
        to = (**last).id;
    }
    std::optional<RunId> from = options.from;
    if (!from) {
        const auto before = service::session::CompleteRunBefore(project, *to);
        if (!before || !*before) {
            error = before ? fmt::format("Before run {} there is no complete run of the whole project to compare with.",
                                         *to)
                           : Advised(before.Error());
            return std::nullopt;
        }
        from = *before;
    }
    return std::pair(*to, *from);
}

// Why the two runs cannot stand to each other as earlier and later one; nothing when they can.
std::optional<std::string> WhyNotInOrder(RunId to, RunId from) {
    if (from == to) {
        return fmt::format("Run {} cannot be compared with itself; norvex runs lists the others.", to);
    }
    if (from > to) {
        return fmt::format("Run {} is later than run {}: --from takes the earlier run, --to the later one.", from, to);
    }
    return std::nullopt;
}

bool Deliver(const service::RunReport& report, const DiffOptions& options, WholeFile& file) {
    if (options.json == "-") {
        return WriteOut(report::DiffJson(report));
    }
    if (options.json) {
        if (const std::optional<std::string> failure = file.Commit(report::DiffJson(report))) {
            Complain(*failure);
            return false;
        }
    }
    return WriteOut(report::DiffText(report, StyleOfOutput(options.noColour)));
}

bool HasNewThatCounts(const service::RunReport& report, service::FailOn failOn) {
    service::RunReport added = report;
    added.incomplete.clear();
    std::erase_if(added.findings,
                  [](const service::FindingRecord& finding) { return finding.novelty != service::Novelty::New; });
    return service::Judge(added, failOn) == service::Verdict::Findings;
}

int Diff(const DiffOptions& options) {
    const std::optional<service::FailOn> failOn = service::FailOnOfName(options.failOn);
    if (!failOn) {
        return Unusable(
            fmt::format("There is no severity \"{}\"; there is: confirmed, suspected, remind, never.", options.failOn));
    }
    std::string error;
    std::optional<ProjectStore> project = OpenChosenProject(options.choice, service::store::Access::ReadOnly, error);
    if (!project) {
        return Unusable(error);
    }
    WholeFile file;
    if (const std::optional<std::string> failure =
            OpenOutputs(FilesToKeep(options.choice, *project), OutputsOf(options.json, file))) {
        return Unusable(*failure);
    }
    const auto runs = ChosenRuns(*project, options, error);
    if (!runs) {
        return Unusable(error);
    }
    const std::optional<KnownRules> rules = FindRules(project->DatabasePath().parent_path(), error);
    if (!rules) {
        return Unusable(error);
    }
    const auto& [to, from] = *runs;
    const auto report = service::session::StoredReport(*project, to, from, rules->records);
    if (!report) {
        return Unusable(Advised(report.Error()));
    }
    // Asked last, so that a run that is not there is called that.
    if (const std::optional<std::string> reason = WhyNotInOrder(to, from)) {
        return Unusable(*reason);
    }
    if (!Deliver(*report, options, file)) {
        return kIncomplete;
    }
    return HasNewThatCounts(*report, *failOn) ? kFindings : kClean;
}

}  // namespace

Command AddDiff(CLI::App& app) {
    const auto options = std::make_shared<DiffOptions>();
    CLI::App* command =
        app.add_subcommand("diff", "Say which findings are new, persisting and gone between two runs of a project");
    AddProjectChoice(*command, options->choice);
    command->add_option("--from", options->from, "The earlier run. Default: the newest complete one before the later")
        ->check(WholeNumber(1))
        ->type_name("N");
    command->add_option("--to", options->to, "The later run. Default: the newest complete one")
        ->check(WholeNumber(1))
        ->type_name("N");
    command->add_option("--json", options->json, "Write it as JSON to FILE; - writes it to standard output")
        ->type_name("FILE");
    command
        ->add_option("--fail-on", options->failOn,
                     "The mildest severity of a new finding that makes the exit code 1: confirmed, suspected, remind "
                     "or never. Default: suspected")
        ->type_name("SEVERITY");
    AddNoColour(*command, options->noColour);
    command->footer(kFooter);
    return {command, [options] { return Diff(*options); }};
}

}  // namespace norvex::cli
