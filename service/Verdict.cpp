// SPDX-License-Identifier: Apache-2.0
#include "service/Verdict.h"

#include <fmt/format.h>
#include <algorithm>
#include <map>
#include <string_view>

namespace norvex::service {
namespace {

// One sentence for each rule that could look at nothing of what it is about: it has not found that all is well.
void NoteBlindRules(RunReport& report) {
    struct Sums {
        std::size_t examined = 0;
        std::size_t notExamined = 0;
        std::string reason;
    };
    std::map<std::string_view, Sums> sums;
    for (const TaskRecord& task : report.tasks) {
        Sums& sum = sums[task.rule];
        sum.examined += task.examined;
        sum.notExamined += task.notExamined;
        sum.reason = sum.reason.empty() && task.notExamined > 0 ? task.reason : sum.reason;
    }
    for (const RuleRecord& rule : report.rules) {
        const auto& [examined, notExamined, reason] = sums[rule.name];
        if (examined == 0 && notExamined > 0) {
            const std::string what = notExamined == 1 ? "not look at the one entity"
                                                      : fmt::format("look at none of the {} entities", notExamined);
            report.incomplete.push_back(fmt::format("Rule {} could {} that it is about, because {}.",
                                                    rule.shortName.empty() ? rule.name : rule.shortName, what, reason));
        }
    }
}

}  // namespace

std::optional<FailOn> FailOnOfName(std::string_view name) {
    if (name == "confirmed") {
        return FailOn::Confirmed;
    }
    if (name == "suspected") {
        return FailOn::Suspected;
    }
    if (name == "remind") {
        return FailOn::Remind;
    }
    if (name == "never") {
        return FailOn::Never;
    }
    return std::nullopt;
}

void NoteWhatWasNotRead(RunReport& report) {
    if (report.model.lostInstances > 0) {
        report.incomplete.push_back(fmt::format("{} of the model could not be read, so they were not checked.",
                                                report.model.lostInstances == 1
                                                    ? std::string("1 instance")
                                                    : fmt::format("{} instances", report.model.lostInstances)));
    }
    if (report.model.isCutOff) {
        report.incomplete.push_back("The model is cut off at its end; what may have followed was not checked.");
    }
}

void NoteWhatIsMissing(RunReport& report) {
    NoteWhatWasNotRead(report);
    const auto cancelled = std::count_if(report.tasks.begin(), report.tasks.end(),
                                         [](const TaskRecord& task) { return task.outcome == Outcome::Cancelled; });
    if (cancelled > 0) {
        report.incomplete.push_back(
            fmt::format("The run was cancelled, so this report is partial: {} of {} checks were not done.", cancelled,
                        report.tasks.size()));
    }
    const bool didAnything = std::any_of(report.tasks.begin(), report.tasks.end(), [](const TaskRecord& task) {
        return task.examined > 0 || task.findings > 0 || task.outcome == Outcome::Skipped;
    });
    const std::size_t before = report.incomplete.size();
    if (cancelled == 0) {
        NoteBlindRules(report);
    }
    if (!didAnything && cancelled == 0 && report.incomplete.size() == before) {
        report.incomplete.push_back("Nothing was examined: no rule found anything in the model that it is about.");
    }
}

std::vector<SpecialtyCount> SpecialtiesWithoutRule(const RunReport& report) {
    std::vector<SpecialtyCount> counts;
    for (const std::string& specialty : report.specialties) {
        const bool hasRule = std::any_of(report.rules.begin(), report.rules.end(), [&](const RuleRecord& rule) {
            return rule.specialties.empty() ||
                   std::find(rule.specialties.begin(), rule.specialties.end(), specialty) != rule.specialties.end();
        });
        const auto elements = report.model.elementsOfSpecialties.find(specialty);
        if (!hasRule && elements != report.model.elementsOfSpecialties.end()) {
            counts.push_back({specialty, elements->second});
        }
    }
    return counts;
}

Verdict Judge(const RunReport& report, FailOn failOn) {
    if (!report.incomplete.empty()) {
        return Verdict::Incomplete;
    }
    const bool hasFindings =
        std::any_of(report.findings.begin(), report.findings.end(), [&](const FindingRecord& finding) {
            return !finding.trusted && failOn != FailOn::Never &&
                   static_cast<int>(finding.severity) <= static_cast<int>(failOn);
        });
    return hasFindings ? Verdict::Findings : Verdict::Clean;
}

}  // namespace norvex::service
