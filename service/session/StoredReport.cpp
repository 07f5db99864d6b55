// SPDX-License-Identifier: Apache-2.0
#include "service/session/StoredReport.h"

#include <fmt/format.h>
#include <algorithm>
#include <charconv>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "service/session/Annotate.h"
#include "service/session/Convert.h"

namespace norvex::service::session {
namespace {

using store::StoreError;
using store::StoreErrorCode;

// The position of each name in the list; of a name that stands twice the first.
class Positions {
  public:
    void Add(const std::string& name) { m_positions.emplace(name, m_size++); }
    // Behind the last for a name that is not there.
    std::size_t Of(const std::string& name) const {
        const auto found = m_positions.find(name);
        return found == m_positions.end() ? m_size : found->second;
    }

  private:
    std::map<std::string_view, std::size_t> m_positions;  // names are those of the list
    std::size_t m_size = 0;
};

std::vector<RuleRecord> RulesOf(const store::RunIdentity& identity, const std::vector<RuleRecord>& known) {
    std::vector<RuleRecord> rules;
    for (const store::RuleModule& module : identity.rules) {
        const auto found =
            std::find_if(known.begin(), known.end(), [&](const RuleRecord& rule) { return rule.name == module.rule; });
        RuleRecord record = found == known.end() ? RuleRecord{} : *found;
        record.name = module.rule;
        record.module = module.file;
        record.version = module.version;
        record.md5 = module.md5;
        rules.push_back(std::move(record));
    }
    return rules;
}

// Outcomes in the order in which the run takes its tasks: floor by floor, in each specialty by specialty, in each rule
// by rule; what suits no specialty comes last on its floor.
std::vector<store::UnitOutcome> InOrderOfTheRun(const store::RunContents& contents) {
    const store::RunIdentity& scope = contents.run.identity;
    Positions floors;
    Positions specialties;
    Positions rules;
    for (const std::string& floor : scope.floors) {
        floors.Add(floor);
    }
    for (const std::string& specialty : scope.specialties) {
        specialties.Add(specialty);
    }
    for (const store::RuleModule& rule : scope.rules) {
        rules.Add(rule.rule);
    }
    const auto key = [&](const store::UnitOutcome& outcome) {
        return std::tuple(floors.Of(outcome.unit.floor), specialties.Of(outcome.unit.specialty),
                          rules.Of(outcome.unit.rule));
    };
    std::vector<store::UnitOutcome> units = contents.units;
    std::stable_sort(units.begin(), units.end(), [&](const store::UnitOutcome& left, const store::UnitOutcome& right) {
        return key(left) < key(right);
    });
    return units;
}

void AddTasks(const store::RunContents& contents, RunReport& report) {
    std::map<store::UnitKey, std::vector<const store::StoredFinding*>> findings;
    for (const store::StoredFinding& finding : contents.findings) {
        findings[finding.unit].push_back(&finding);
    }
    for (const store::UnitOutcome& outcome : InOrderOfTheRun(contents)) {
        TaskResult result = ResultOf(outcome, findings[outcome.unit]);
        report.tasks.push_back(std::move(result.task));
        for (FindingRecord& finding : result.findings) {
            finding.number = report.findings.size() + 1;
            report.findings.push_back(std::move(finding));
        }
    }
}

// As the module counts: entities under the category of their rule, findings that are not trusted under their own.
std::vector<CategoryTotal> TotalsOf(const RunReport& report) {
    std::map<std::string, CategoryTotal> totals;
    std::map<std::string, std::map<std::string, std::size_t>> kinds;
    std::map<std::string_view, std::size_t> examined;
    for (const TaskRecord& task : report.tasks) {
        examined[task.rule] += task.examined;
    }
    for (const RuleRecord& rule : report.rules) {
        if (const auto found = examined.find(rule.name); found != examined.end()) {
            totals[rule.category].checks += found->second;
        }
    }
    for (const FindingRecord& finding : report.findings) {
        if (finding.trusted) {
            continue;
        }
        CategoryTotal& total = totals[finding.category];
        ++(finding.severity == Severity::Confirmed   ? total.confirmed
           : finding.severity == Severity::Suspected ? total.suspected
                                                     : total.reminders);
        ++kinds[finding.category][finding.subCategory];
    }
    std::vector<CategoryTotal> list;
    for (auto& [category, total] : totals) {
        total.category = category;
        total.subCategories.assign(kinds[category].begin(), kinds[category].end());
        list.push_back(std::move(total));
    }
    return list;
}

void NoteWhatWasNotDone(const store::RunRecord& run, RunReport& report) {
    if (run.identity.modelRead == store::ModelRead::Partly) {
        report.incomplete.emplace_back(kModelReadPartly);
    }
    for (const TaskRecord& task : report.tasks) {
        if (task.outcome == Outcome::Crashed) {
            report.incomplete.push_back(fmt::format("Rule {} crashed on floor \"{}\", {}: {}.", task.rule, task.floor,
                                                    task.specialty, task.reason));
        }
    }
    if (run.status == store::RunStatus::Partial && report.incomplete.empty()) {
        report.incomplete.push_back(run.identity.modelRead == store::ModelRead::Wholly
                                        ? "When the run was made, a rule was missing or could look at nothing."
                                        : "When the run was made, parts of the model or rules were missing.");
    }
    if (run.status == store::RunStatus::Running) {
        report.incomplete.push_back(fmt::format(
            "The run is under way or was interrupted; {} done so far.",
            report.tasks.size() == 1 ? std::string("1 check is") : fmt::format("{} checks are", report.tasks.size())));
    } else if (run.status == store::RunStatus::Cancelled) {
        report.incomplete.push_back("The run was cancelled before it was complete.");
    }
}

RunReport BareReport(const store::RunContents& contents, const std::vector<RuleRecord>& rules) {
    const store::RunIdentity& identity = contents.run.identity;
    RunReport report;
    report.toolVersion = identity.programVersion;
    report.model.path = identity.modelPath;
    report.model.sha256 = identity.modelDigest;
    for (const std::string& floor : identity.floors) {
        report.floors.push_back({.name = floor, .elevation = std::nullopt});
    }
    report.specialties = identity.specialties;
    report.rules = RulesOf(identity, rules);
    report.narrowed = identity.narrowed;
    AddTasks(contents, report);
    report.totals = TotalsOf(report);
    NoteWhatWasNotDone(contents.run, report);
    return report;
}

}  // namespace

store::Result<store::RunId> ChosenRun(store::ProjectStore& project, std::string_view named) {
    const store::Result<std::vector<store::RunRecord>> runs = project.ListRuns();
    if (!runs) {
        return runs.Error();
    }
    if (runs->empty()) {
        return StoreError{StoreErrorCode::NotFound,
                          fmt::format("No run is remembered in \"{}\".", project.DatabasePath().string())};
    }
    if (named == "last") {
        return runs->back().id;
    }
    store::RunId number = 0;
    const auto [end, failure] = std::from_chars(named.data(), named.data() + named.size(), number);
    if (failure != std::errc() || end != named.data() + named.size()) {
        return StoreError{StoreErrorCode::InvalidInput,
                          fmt::format("\"{}\" names no run; give its number, or \"last\".", named)};
    }
    if (std::none_of(runs->begin(), runs->end(), [&](const store::RunRecord& run) { return run.id == number; })) {
        return StoreError{StoreErrorCode::NotFound, fmt::format("There is no run {} in \"{}\"; norvex runs lists them.",
                                                                number, project.DatabasePath().string())};
    }
    return number;
}

store::Result<std::optional<store::RunId>> CompleteRunBefore(store::ProjectStore& project, store::RunId run) {
    const store::Result<std::vector<store::RunRecord>> runs = project.ListRuns();
    if (!runs) {
        return runs.Error();
    }
    const auto before = std::find_if(runs->rbegin(), runs->rend(), [&](const store::RunRecord& each) {
        return each.id < run && each.status == store::RunStatus::Complete && !each.identity.narrowed;
    });
    return before == runs->rend() ? std::nullopt : std::optional(before->id);
}

store::Result<RunReport> StoredReport(store::ProjectStore& project, store::RunId run,
                                      std::optional<store::RunId> before, const std::vector<RuleRecord>& rules) {
    const store::Result<store::RunContents> contents = project.LoadRun(run);
    if (!contents) {
        return contents.Error();
    }
    std::optional<store::RunContents> earlier;
    if (before) {
        store::Result<store::RunContents> loaded = project.LoadRun(*before);
        if (!loaded) {
            return loaded.Error();
        }
        earlier.emplace(std::move(*loaded));
    }
    const store::Result<std::vector<store::TrustListing>> listings = project.ListTrust();
    if (!listings) {
        return listings.Error();
    }
    RunReport report = BareReport(*contents, rules);
    report.projectFolder = project.DatabasePath().parent_path().string();
    Annotate(report, contents->run, contents->trust, earlier ? &*earlier : nullptr);
    report.acceptances = AcceptanceRecords(*listings);
    NoteExpired(report, *listings);
    if (const store::Status noted = NoteFirstReported(project, report); !noted) {
        return noted.Error();
    }
    return report;
}

store::Result<RunReport> StoredReport(store::ProjectStore& project, store::RunId run,
                                      const std::vector<RuleRecord>& rules) {
    const store::Result<std::optional<store::RunId>> before = CompleteRunBefore(project, run);
    return before ? StoredReport(project, run, *before, rules) : before.Error();
}

store::Status NoteFirstReported(store::ProjectStore& project, RunReport& report) {
    std::vector<store::FindingName> names;
    for (const FindingRecord& finding : report.findings) {
        names.push_back({finding.featureCode, static_cast<int>(finding.occurrence)});
    }
    // A run that is not kept is later than all that are.
    const store::RunId last = report.run == 0 ? std::numeric_limits<store::RunId>::max() : report.run;
    const store::Result<std::vector<std::string>> times = project.FirstReported(names, last);
    if (!times) {
        return times.Error();
    }
    for (std::size_t index = 0; index < report.findings.size(); ++index) {
        report.findings[index].firstReportedAt = (*times)[index];
    }
    return store::Done{};
}

}  // namespace norvex::service::session
