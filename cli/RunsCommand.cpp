// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <memory>
#include <optional>
#include <string>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/ProjectChoice.h"
#include "cli/Terminal.h"
#include "report/DisplayText.h"
#include "report/Table.h"
#include "service/store/ProjectStore.h"
#include "service/store/RunLock.h"

namespace norvex::cli {
namespace {

using service::store::Access;
using service::store::CheckState;
using service::store::ProjectStore;
using service::store::RunIdentity;
using service::store::RunLock;
using service::store::RunRecord;
using service::store::RunStatus;
using service::store::StoreErrorCode;

constexpr const char* kFooter =
    "Examples:\n"
    "  norvex runs                        of the project checked last\n"
    "  norvex runs house.ifc --keep 20    forgets the oldest; the last complete run always stays\n"
    "  norvex runs --set-aside-damaged    when norvex says that the project's database is damaged\n\n"
    "Exit codes:\n"
    "  0  done\n"
    "  2  wrong use, or no such project\n"
    "  3  it could not be done, or the result could not be delivered";

struct RunsOptions {
    ProjectChoice choice;
    std::optional<std::int64_t> keep;
    bool setAside = false;
    bool noColour = false;
};

int Unusable(const std::string& sentence) {
    Complain(sentence);
    return kUnusable;
}

// Only the newest run can be the one under way.
std::string StatusText(const RunRecord& run, bool isNewest, CheckState check) {
    switch (run.status) {
        case RunStatus::Running:
            return !isNewest || check == CheckState::None ? "interrupted"
                   : check == CheckState::UnderWay        ? "under way"
                                                          : "under way or interrupted";
        case RunStatus::Complete:
            return "complete";
        case RunStatus::Partial:
            return "partial";
        case RunStatus::Cancelled:
            return "cancelled";
    }
    return {};
}

std::string Counted(std::size_t count, std::string_view one, std::string_view many) {
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

std::string ScopeText(const RunIdentity& scope) {
    if (!scope.narrowed) {
        return "everything";
    }
    return fmt::format("{}, {}, {}", Counted(scope.floors.size(), "floor", "floors"),
                       Counted(scope.specialties.size(), "specialty", "specialties"),
                       Counted(scope.rules.size(), "rule", "rules"));
}

int List(const std::filesystem::path& folder, bool noColour) {
    service::store::StoreOptions options;
    options.access = Access::ReadOnly;
    auto project = ProjectStore::Open(folder, options);
    if (!project) {
        return Refuse(project.Error());
    }
    const auto runs = project->ListRuns();
    const auto tallies = project->TallyRuns();
    if (!runs || !tallies) {
        return Refuse(!runs ? runs.Error() : tallies.Error());
    }
    const CheckState check = RunLock::StateOf(folder);
    report::Table table({{"Run", report::Table::Align::Right},
                         {"Begun"},
                         {"Status"},
                         {"Checks done", report::Table::Align::Right},
                         {"Findings", report::Table::Align::Right},
                         {"Trusted", report::Table::Align::Right},
                         {"Scope"},
                         {"Model"}});
    for (const RunRecord& run : *runs) {
        const auto& tally = tallies->at(run.id);
        table.AddRow(
            {{std::to_string(run.id), report::Tone::Strong},
             {run.clockWentBack ? run.startedAt + " (before an earlier run: a clock was wrong)" : run.startedAt},
             {StatusText(run, run.id == runs->back().id, check)},
             {std::to_string(tally.units)},
             {std::to_string(tally.findings)},
             {std::to_string(tally.trusted)},
             {ScopeText(run.identity)},
             {std::filesystem::path(run.identity.modelPath).filename().string()}});
    }
    const std::string head = fmt::format("Project  {}\n", report::Sanitised(folder.string()));
    const std::string text = runs->empty() ? "No run is remembered.\n" : table.ToText(StyleOfOutput(noColour));
    return WriteOut(head + text) ? kClean : kIncomplete;
}

int Keep(const std::filesystem::path& folder, std::int64_t keep) {
    const auto lock = RunLock::Acquire(folder);
    if (!lock) {
        return Refuse(lock.Error());
    }
    auto project = ProjectStore::Open(folder);
    if (!project) {
        return Refuse(project.Error());
    }
    const auto forgotten = project->PruneRuns(keep);
    if (!forgotten) {
        return Refuse(forgotten.Error());
    }
    return WriteOut(
               fmt::format("{} forgotten.\n", Counted(static_cast<std::size_t>(*forgotten), "run was", "runs were")))
               ? kClean
               : kIncomplete;
}

// Why the project's database is to be set aside; nothing when it is sound. A code of another kind stops it.
std::optional<service::store::StoreError> DamageOf(const std::filesystem::path& folder) {
    service::store::StoreOptions options;
    options.access = Access::ReadOnly;
    // Read first: what is not there, or of another program, is not to be opened for writing.
    if (const auto project = ProjectStore::Open(folder, options); !project) {
        return project.Error();
    }
    // Then as a check opens it, so that both see the same.
    auto project = ProjectStore::Open(folder);
    if (!project && project.Error().code == StoreErrorCode::ReadOnly) {
        project = ProjectStore::Open(folder, options);
    }
    if (!project) {
        return project.Error();
    }
    const service::store::Status whole = project->CheckIntegrity();
    return whole ? std::nullopt : std::optional(whole.Error());
}

int SetAside(const std::filesystem::path& folder) {
    const auto lock = RunLock::Acquire(folder);
    if (!lock) {
        return Refuse(lock.Error());
    }
    const std::optional<service::store::StoreError> damage = DamageOf(folder);
    if (!damage) {
        return Unusable(
            fmt::format("The database of the project \"{}\" is sound; nothing was moved.", folder.string()));
    }
    if (damage->code != StoreErrorCode::Damaged) {
        return Refuse(*damage);
    }
    const auto moved = service::store::SetAsideDatabase(folder);
    if (!moved) {
        return Refuse(moved.Error());
    }
    return WriteOut(fmt::format("The damaged database was moved to \"{}\"; the next check begins a new one.\n",
                                report::Sanitised(moved->string())))
               ? kClean
               : kIncomplete;
}

int Runs(const RunsOptions& options) {
    std::string error;
    const std::optional<std::filesystem::path> folder = ChosenProject(options.choice, error);
    if (!folder) {
        return Unusable(error);
    }
    if (options.setAside) {
        return SetAside(*folder);
    }
    if (options.keep) {
        if (const int end = Keep(*folder, *options.keep); end != kClean) {
            return end;
        }
    }
    return List(*folder, options.noColour);
}

}  // namespace

Command AddRuns(CLI::App& app) {
    const auto options = std::make_shared<RunsOptions>();
    CLI::App* command = app.add_subcommand("runs", "List the check runs that a project remembers");
    AddProjectChoice(*command, options->choice);
    CLI::Option* keep =
        command
            ->add_option("--keep", options->keep,
                         "Forget the oldest runs until N are left; the last complete run of the whole project stays")
            ->check(WholeNumber(0))
            ->type_name("N");
    command
        ->add_flag("--set-aside-damaged", options->setAside,
                   "Move a damaged database to another name in the project folder, so that the next check begins a new "
                   "one")
        ->excludes(keep);
    AddNoColour(*command, options->noColour);
    command->footer(kFooter);
    return {command, [options] { return Runs(*options); }};
}

}  // namespace norvex::cli
