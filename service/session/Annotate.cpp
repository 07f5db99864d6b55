// SPDX-License-Identifier: Apache-2.0
#include "service/session/Annotate.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>
#include <string_view>
#include <utility>

#include "service/session/Convert.h"

namespace norvex::service::session {
namespace {

// A report's run as the store has it, and which finding of the report each of its findings is.
struct Contents {
    store::RunContents run;
    std::vector<std::size_t> indices;
};

Contents ContentsOf(const RunReport& report, const store::RunRecord& run, const std::vector<store::TrustEntry>& trust) {
    Contents contents;
    contents.run.run = run;
    contents.run.trust = trust;
    for (const TaskRecord& task : report.tasks) {
        contents.run.units.push_back(StoredOutcome(task));
    }
    std::sort(contents.run.units.begin(), contents.run.units.end(),
              [](const store::UnitOutcome& left, const store::UnitOutcome& right) { return left.unit < right.unit; });
    contents.indices.resize(report.findings.size());
    std::iota(contents.indices.begin(), contents.indices.end(), std::size_t{0});
    std::stable_sort(contents.indices.begin(), contents.indices.end(), [&](std::size_t left, std::size_t right) {
        return UnitOf(report.findings[left]) < UnitOf(report.findings[right]);
    });
    for (const std::size_t index : contents.indices) {
        contents.run.findings.push_back({.unit = UnitOf(report.findings[index]),
                                         .finding = StoredFindingOf(report.findings[index]),
                                         .occurrence = 0});
    }
    // They are sorted by unit already, so that they stay in the order of the indices.
    store::NumberOccurrences(contents.run.findings);
    return contents;
}

// What an earlier run was about.
class EarlierScope {
  public:
    explicit EarlierScope(const store::RunContents& before)
        : m_identity(before.run.identity), m_floors(m_identity.floors.begin(), m_identity.floors.end()) {
        for (const store::UnitOutcome& outcome : before.units) {
            m_results.emplace(outcome.unit, outcome.result);
        }
        for (const store::RuleModule& rule : m_identity.rules) {
            m_rules.insert(rule.rule);
        }
    }

    // Whether a finding would be in the earlier run if it had been there: the run looked, or there was nothing to look
    // at, or the floor did not exist.
    bool WouldKnow(const store::NewFinding& added) const {
        if (added.olderRunLooked) {
            return true;
        }
        if (m_identity.modelRead != store::ModelRead::Wholly) {
            return false;
        }
        const store::UnitKey& unit = added.finding.unit;
        if (const auto result = m_results.find(unit); result != m_results.end()) {
            return result->second == store::UnitResult::NotApplicable;
        }
        return m_rules.contains(unit.rule) && !m_floors.contains(unit.floor) && !m_identity.narrowed;
    }

  private:
    const store::RunIdentity& m_identity;
    std::set<std::string_view> m_floors;
    std::set<std::string_view> m_rules;
    std::map<store::UnitKey, store::UnitResult> m_results;
};

std::vector<FindingRecord> RecordsOf(const std::vector<store::StoredFinding>& findings) {
    std::vector<FindingRecord> records;
    for (const store::StoredFinding& finding : findings) {
        records.push_back(FindingOf(finding));
    }
    return records;
}

void Compare(RunReport& report, const Contents& contents, const store::RunContents& before) {
    // Code and occurrence tell the findings of one run apart.
    std::map<std::pair<std::string_view, int>, std::size_t> indexOf;
    for (std::size_t i = 0; i < contents.indices.size(); ++i) {
        const store::StoredFinding& finding = contents.run.findings[i];
        indexOf[{finding.finding.featureCode, finding.occurrence}] = contents.indices[i];
    }
    const auto recordOf = [&](const store::StoredFinding& finding) -> FindingRecord& {
        return report.findings[indexOf.at({finding.finding.featureCode, finding.occurrence})];
    };
    const store::RunDiff diff = store::DiffRuns(before, contents.run);
    for (const store::PersistingFinding& persisting : diff.persisting) {
        FindingRecord& record = recordOf(persisting.newer);
        record.novelty = Novelty::Persisting;
        record.trustChanged = persisting.older.finding.trusted != persisting.newer.finding.trusted;
    }
    const EarlierScope scope(before);
    for (const store::NewFinding& added : diff.added) {
        recordOf(added.finding).novelty = scope.WouldKnow(added) ? Novelty::New : Novelty::Unknown;
    }
    Comparison comparison;
    comparison.run = before.run.id;
    comparison.startedAt = before.run.startedAt;
    comparison.gone = RecordsOf(diff.gone);
    comparison.hidden = RecordsOf(diff.hidden);
    comparison.notVisited = diff.notVisited.size();
    comparison.remarks = diff.remarks;
    report.comparison = std::move(comparison);
}

AcceptanceState StateOf(const store::TrustListing& listing) {
    if (listing.expired) {
        return AcceptanceState::Expired;
    }
    switch (listing.effect) {
        case store::TrustEffect::Hides:
            return AcceptanceState::Hides;
        case store::TrustEffect::Stale:
            return AcceptanceState::Stale;
        case store::TrustEffect::NotLookedAt:
            return AcceptanceState::NotLookedAt;
    }
    return AcceptanceState::NotLookedAt;
}

}  // namespace

void Annotate(RunReport& report, const store::RunRecord& run, const std::vector<store::TrustEntry>& trust,
              const store::RunContents* before) {
    report.run = run.id;
    report.startedAt = run.startedAt;
    const Contents contents = ContentsOf(report, run, trust);
    const store::TrustView view(trust);
    for (std::size_t i = 0; i < contents.indices.size(); ++i) {
        const store::StoredFinding& stored = contents.run.findings[i];
        FindingRecord& record = report.findings[contents.indices[i]];
        record.occurrence = static_cast<std::size_t>(stored.occurrence);
        const store::TrustEntry* entry = record.trusted ? view.HiddenBy(stored.unit, stored.finding) : nullptr;
        record.acceptance = entry == nullptr ? std::nullopt : std::optional(AcceptanceOf(*entry));
    }
    if (before != nullptr) {
        Compare(report, contents, *before);
    }
}

void NoteExpired(RunReport& report, const std::vector<store::TrustListing>& listings) {
    std::vector<store::TrustEntry> entries;
    for (const store::TrustListing& listing : listings) {
        if (listing.expired) {
            entries.push_back(listing.entry);
        }
    }
    const store::TrustView expired(std::move(entries));
    for (FindingRecord& record : report.findings) {
        const bool mayBeBack = !record.trusted && !expired.Entries().empty();
        const store::TrustEntry* hid = mayBeBack ? expired.HiddenBy(UnitOf(record), StoredFindingOf(record)) : nullptr;
        record.expired = hid == nullptr ? std::nullopt : std::optional(AcceptanceOf(*hid));
    }
}

std::vector<AcceptanceRecord> AcceptanceRecords(const std::vector<store::TrustListing>& listings) {
    std::vector<AcceptanceRecord> records;
    for (const store::TrustListing& listing : listings) {
        records.push_back({.acceptance = AcceptanceOf(listing.entry),
                           .target = store::TargetText(listing.entry),
                           .state = StateOf(listing),
                           .findings = static_cast<std::size_t>(listing.findings)});
    }
    return records;
}

}  // namespace norvex::service::session
