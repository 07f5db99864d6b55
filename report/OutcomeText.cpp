// SPDX-License-Identifier: Apache-2.0
#include "report/OutcomeText.h"

#include <fmt/format.h>
#include <chrono>
#include <map>
#include <utility>
#include <vector>

#include "report/Phrases.h"
#include "report/Table.h"
#include "service/Words.h"

namespace norvex::report {
namespace {

using service::Outcome;
using service::RunReport;
using service::TaskRecord;

// Rules on floors shown one by one before what went well is only counted: two screens full.
constexpr std::size_t kShownOutcomes = 60;

Tone ToneOf(Outcome outcome) {
    switch (outcome) {
        case Outcome::Passed:
            return Tone::Green;
        case Outcome::Failed:
        case Outcome::Crashed:
            return Tone::Red;
        case Outcome::NotApplicable:
        case Outcome::Skipped:
        case Outcome::Cancelled:
            return Tone::Faint;
    }
    return Tone::Plain;
}

// What the tasks of one rule on one floor come to: the gravest outcome, and what each specialty had.
struct RuleOnFloor {
    Outcome outcome = Outcome::NotApplicable;
    std::size_t examined = 0;
    std::size_t notExamined = 0;
    std::size_t findings = 0;
    bool hasTrusted = false;
    std::chrono::microseconds duration{0};
    std::string details;
};

// By names of rule and floor.
using Outcomes = std::map<std::pair<std::string, std::string>, RuleOnFloor>;

// Whether a rule could look at nothing of what is there and concerns it; that it is not applicable would be untrue.
bool LookedAtNothing(Outcome outcome, std::size_t notExamined) {
    return outcome == Outcome::NotApplicable && notExamined > 0;
}

int Gravity(Outcome outcome) {
    switch (outcome) {
        case Outcome::NotApplicable:
            return 0;
        case Outcome::Skipped:
            return 1;
        case Outcome::Passed:
            return 2;
        case Outcome::Failed:
            return 3;
        case Outcome::Cancelled:
            return 4;
        case Outcome::Crashed:
            return 5;
    }
    return 0;
}

void Add(const TaskRecord& task, RuleOnFloor& sum) {
    if (Gravity(task.outcome) > Gravity(sum.outcome)) {
        sum.outcome = task.outcome;
    }
    sum.examined += task.examined;
    sum.notExamined += task.notExamined;
    sum.findings += task.findings;
    sum.hasTrusted = sum.hasTrusted || task.trusted > 0;
    sum.duration += task.duration;
    std::string detail = SpecialtyLabel(task.specialty);
    detail += detail.empty() ? "" : " ";
    detail += LookedAtNothing(task.outcome, task.notExamined)
                  ? fmt::format("none of {} examined, because {}", task.notExamined, task.reason)
                  : std::string(service::OutcomeName(task.outcome));
    if (task.outcome == Outcome::Crashed) {
        detail += ": " + task.reason;
    }
    if (task.examined > 0) {
        detail += fmt::format(", {} examined", task.examined);
    }
    if (LookedAtNothing(task.outcome, task.notExamined)) {
        // Said above.
    } else if (task.notExamined > 0) {
        detail += fmt::format(", {} not, because {}", task.notExamined, task.reason);
    } else if (!task.reason.empty() && task.outcome != Outcome::NotApplicable && task.outcome != Outcome::Crashed) {
        detail += ", " + task.reason;
    } else if (task.specialty.empty()) {
        detail += ", " + task.reason;
    }
    if (task.reminders > 0) {
        detail += ", " + Counted(task.reminders, "reminder", "reminders");
    }
    if (task.trusted > 0) {
        detail += fmt::format(", {} trusted", task.trusted);
    }
    sum.details += (sum.details.empty() ? "" : "; ") + detail;
}

Outcomes OutcomesOf(const RunReport& report) {
    Outcomes outcomes;
    for (const TaskRecord& task : report.tasks) {
        Add(task, outcomes[{task.rule, task.floor}]);
    }
    return outcomes;
}

// Whether a person should see it even when there is much to see.
bool NeedsAttention(const RuleOnFloor& sum) {
    return (sum.outcome != Outcome::Passed && sum.outcome != Outcome::NotApplicable) || sum.notExamined > 0 ||
           sum.findings > 0 || sum.hasTrusted;
}

std::vector<Table::Cell> TimeRow(const std::string& rule, const std::string& floor, const RuleOnFloor& sum) {
    constexpr double kMicrosecondsPerMillisecond = 1000.0;
    constexpr double kMicrosecondsPerSecond = 1000000.0;
    const auto microseconds = static_cast<double>(sum.duration.count());
    const auto examined = static_cast<double>(sum.examined);
    return {{fmt::format("{:.1f}", microseconds / kMicrosecondsPerMillisecond)},
            {std::to_string(sum.examined)},
            {microseconds > 0 ? fmt::format("{:.0f}", examined * kMicrosecondsPerSecond / microseconds) : "-"},
            {rule},
            {floor}};
}

}  // namespace

std::string OutcomesText(const RunReport& report, const TextStyle& style, bool showsAll) {
    Outcomes outcomes = OutcomesOf(report);
    Table table({{"Rule"},
                 {"Floor"},
                 {"Outcome"},
                 {"Examined", Table::Align::Right},
                 {"Findings", Table::Align::Right},
                 {"By specialty"}});
    const bool isCut = !showsAll && report.rules.size() * report.floors.size() > kShownOutcomes;
    std::size_t passed = 0;
    std::size_t notApplicable = 0;
    for (const service::RuleRecord& rule : report.rules) {
        for (const service::FloorRecord& floor : report.floors) {
            const RuleOnFloor& sum = outcomes[{rule.name, floor.name}];
            if (isCut && !NeedsAttention(sum)) {
                ++(sum.outcome == Outcome::Passed ? passed : notApplicable);
                continue;
            }
            table.AddRow(
                {{ShortNameOf(report, rule.name)},
                 {floor.name},
                 {LookedAtNothing(sum.outcome, sum.notExamined) ? "not examined"
                                                                : std::string(service::OutcomeName(sum.outcome)),
                  ToneOf(sum.outcome)},
                 {std::to_string(sum.examined)},
                 {std::to_string(sum.findings)},
                 {sum.details}});
        }
    }
    std::string text = table.ToText(style);
    if (passed + notApplicable > 0) {
        text += fmt::format("  {} passed, {} not applicable; --outcomes lists them.\n",
                            Counted(passed, "other rule on a floor", "other rules on floors"), notApplicable);
    }
    return text.empty() ? "" : Heading("What was examined", style) + text;
}

std::string TimesText(const RunReport& report, const TextStyle& style) {
    Outcomes outcomes = OutcomesOf(report);
    Table table({{"Milliseconds", Table::Align::Right},
                 {"Examined", Table::Align::Right},
                 {"Entities/s", Table::Align::Right},
                 {"Rule"},
                 {"Floor"}});
    RuleOnFloor all;
    for (const service::RuleRecord& rule : report.rules) {
        for (const service::FloorRecord& floor : report.floors) {
            const RuleOnFloor& sum = outcomes[{rule.name, floor.name}];
            table.AddRow(TimeRow(ShortNameOf(report, rule.name), floor.name, sum));
            all.examined += sum.examined;
            all.duration += sum.duration;
        }
    }
    table.AddRow(TimeRow("all", "all", all));
    return Heading("Time that rules took", style) + table.ToText(style);
}

}  // namespace norvex::report
