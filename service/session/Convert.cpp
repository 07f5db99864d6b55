// SPDX-License-Identifier: Apache-2.0
#include "service/session/Convert.h"

#include <cstddef>
#include <utility>

#include "service/Words.h"

namespace norvex::service::session {
namespace {

store::UnitResult ResultOf(Outcome outcome) {
    switch (outcome) {
        case Outcome::Passed:
            return store::UnitResult::Passed;
        case Outcome::Failed:
            return store::UnitResult::Failed;
        case Outcome::NotApplicable:
            return store::UnitResult::NotApplicable;
        case Outcome::Skipped:
            return store::UnitResult::Skipped;
        case Outcome::Crashed:
            return store::UnitResult::Crashed;
        case Outcome::Cancelled:
            return store::UnitResult::Cancelled;
    }
    return store::UnitResult::Cancelled;
}

Outcome OutcomeOf(store::UnitResult result) {
    switch (result) {
        case store::UnitResult::Passed:
            return Outcome::Passed;
        case store::UnitResult::Failed:
            return Outcome::Failed;
        case store::UnitResult::NotApplicable:
            return Outcome::NotApplicable;
        case store::UnitResult::Skipped:
            return Outcome::Skipped;
        case store::UnitResult::Crashed:
            return Outcome::Crashed;
        case store::UnitResult::Cancelled:
            return Outcome::Cancelled;
    }
    return Outcome::Cancelled;
}

// A word that is not ours counts as the gravest, so that nothing is played down.
Severity SeverityOf(std::string_view name) {
    for (const Severity severity : {Severity::Suspected, Severity::Remind}) {
        if (name == SeverityName(severity)) {
            return severity;
        }
    }
    return Severity::Confirmed;
}

}  // namespace

store::UnitKey UnitOf(const TaskRecord& task) {
    return {task.floor, task.specialty, task.rule};
}

store::UnitKey UnitOf(const FindingRecord& finding) {
    return {finding.floor, finding.specialty, finding.rule};
}

store::UnitOutcome StoredOutcome(const TaskRecord& task) {
    store::UnitOutcome outcome;
    outcome.unit = UnitOf(task);
    outcome.result = ResultOf(task.outcome);
    outcome.entitiesExamined = static_cast<std::int64_t>(task.examined);
    outcome.entitiesNotExamined = static_cast<std::int64_t>(task.notExamined);
    outcome.duration = task.duration;
    outcome.reason = task.reason;
    return outcome;
}

store::Finding StoredFindingOf(const FindingRecord& finding) {
    store::Finding stored;
    stored.featureCode = finding.featureCode;
    stored.category = finding.category;
    stored.subCategory = finding.subCategory;
    stored.severity = SeverityName(finding.severity);
    stored.sentence = finding.sentence;
    stored.location = finding.location;
    for (const FoundObject& object : finding.objects) {
        stored.objects.push_back({object.handle, object.globalId, object.name, object.subCategory});
    }
    if (finding.place) {
        stored.place = {finding.place->x, finding.place->y, finding.place->z};
    }
    stored.trusted = finding.trusted;
    return stored;
}

std::vector<store::Finding> StoredFindings(const std::vector<FindingRecord>& findings) {
    std::vector<store::Finding> stored;
    stored.reserve(findings.size());
    for (const FindingRecord& finding : findings) {
        stored.push_back(StoredFindingOf(finding));
    }
    return stored;
}

TaskRecord TaskOf(const store::UnitOutcome& outcome) {
    TaskRecord task;
    task.rule = outcome.unit.rule;
    task.floor = outcome.unit.floor;
    task.specialty = outcome.unit.specialty;
    task.outcome = OutcomeOf(outcome.result);
    task.examined = static_cast<std::size_t>(outcome.entitiesExamined);
    task.notExamined = static_cast<std::size_t>(outcome.entitiesNotExamined);
    task.reason = outcome.reason;
    task.duration = outcome.duration;
    return task;
}

FindingRecord FindingOf(const store::StoredFinding& stored) {
    FindingRecord finding;
    finding.rule = stored.unit.rule;
    finding.floor = stored.unit.floor;
    finding.specialty = stored.unit.specialty;
    finding.category = stored.finding.category;
    finding.subCategory = stored.finding.subCategory;
    finding.severity = SeverityOf(stored.finding.severity);
    finding.sentence = stored.finding.sentence;
    finding.location = stored.finding.location;
    finding.featureCode = stored.finding.featureCode;
    for (const store::FindingObject& object : stored.finding.objects) {
        finding.objects.push_back({object.handle, object.globalId, object.name, object.subCategory});
    }
    if (stored.finding.place) {
        const auto& [x, y, z] = *stored.finding.place;
        finding.place = Place{x, y, z};
    }
    finding.trusted = stored.finding.trusted;
    finding.occurrence = static_cast<std::size_t>(stored.occurrence);
    return finding;
}

TaskResult ResultOf(const store::UnitOutcome& outcome, const std::vector<const store::StoredFinding*>& findings) {
    TaskResult result;
    result.task = TaskOf(outcome);
    for (const store::StoredFinding* stored : findings) {
        const FindingRecord& finding = result.findings.emplace_back(FindingOf(*stored));
        if (finding.trusted) {
            ++result.task.trusted;
        } else {
            ++result.task.findings;
            result.task.reminders += finding.severity == Severity::Remind ? 1 : 0;
        }
    }
    return result;
}

Acceptance AcceptanceOf(const store::TrustEntry& entry) {
    return {.entry = entry.id,
            .reason = entry.reason,
            .person = entry.person,
            .addedOn = entry.addedOn,
            .expiresOn = entry.expiresOn};
}

}  // namespace norvex::service::session
