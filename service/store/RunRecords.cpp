// SPDX-License-Identifier: Apache-2.0
#include "service/store/RunRecords.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <tuple>

namespace norvex::service::store {

namespace {

std::string Quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

const RuleModule* FindRule(const std::vector<RuleModule>& rules, std::string_view name) {
    const auto found =
        std::find_if(rules.begin(), rules.end(), [&](const RuleModule& each) { return each.rule == name; });
    return found == rules.end() ? nullptr : &*found;
}

// Appends a clause for each rule that is missing, new or came from another module.
void DescribeRules(const RunIdentity& earlier, const RunIdentity& now, std::vector<std::string>& clauses) {
    for (const RuleModule& before : earlier.rules) {
        const RuleModule* after = FindRule(now.rules, before.rule);
        if (after == nullptr) {
            clauses.push_back("the rule " + before.rule + " is no longer part of it");
        } else if (after->md5 != before.md5 || after->version != before.version || after->file != before.file) {
            std::string clause = "the rule module " + before.file + " has changed";
            if (after->version != before.version) {
                clause += " from version " + before.version + " to " + after->version;
            }
            // A module with several rules is told of once.
            if (std::find(clauses.begin(), clauses.end(), clause) == clauses.end()) {
                clauses.push_back(clause);
            }
        }
    }
    for (const RuleModule& after : now.rules) {
        if (FindRule(earlier.rules, after.rule) == nullptr) {
            clauses.push_back("the rule " + after.rule + " has been added to it");
        }
    }
}

std::string Joined(const std::vector<std::string>& clauses) {
    std::string text;
    for (std::size_t i = 0; i < clauses.size(); ++i) {
        const bool last = i + 1 == clauses.size();
        text += (i == 0 ? "" : last ? " and " : ", ") + clauses[i];
    }
    return text;
}

// What orders findings of equal code inside a unit. Handles come last: they change with every export.
auto OccurrenceKey(const Finding& finding) {
    std::vector<std::string_view> objects;
    for (const FindingObject& object : finding.objects) {
        objects.push_back(object.globalId);
    }
    std::sort(objects.begin(), objects.end());
    return std::tuple(std::string_view(finding.category), std::string_view(finding.subCategory), std::move(objects),
                      std::string_view(finding.severity), std::string_view(finding.sentence),
                      std::string_view(finding.location));
}

}  // namespace

bool IsVisited(const UnitOutcome& outcome) {
    return outcome.result == UnitResult::Passed || outcome.result == UnitResult::Failed ||
           (outcome.result == UnitResult::Skipped && outcome.looksThroughTrust);
}

bool IsDone(UnitResult result) {
    return result != UnitResult::Cancelled;
}

std::optional<std::string> ChangeThatPreventsResume(const RunIdentity& earlier, const RunIdentity& now) {
    std::vector<std::string> clauses;
    if (earlier.modelDigest != now.modelDigest || earlier.modelSize != now.modelSize) {
        clauses.push_back("the model " + Quoted(now.modelPath) + " has changed");
    }
    if (earlier.configurationDigest != now.configurationDigest) {
        clauses.push_back("the configuration has changed");
    }
    DescribeRules(earlier, now, clauses);
    if (earlier.programVersion != now.programVersion) {
        clauses.push_back("the program has changed from version " + earlier.programVersion + " to " +
                          now.programVersion);
    }
    if (earlier.floors != now.floors) {
        clauses.push_back("other floors are to be checked");
    }
    if (earlier.specialties != now.specialties) {
        clauses.push_back("other specialties are to be checked");
    }
    if (clauses.empty()) {
        return std::nullopt;
    }
    return "The interrupted run cannot be resumed: since it began, " + Joined(clauses) + ".";
}

void NumberOccurrences(std::vector<StoredFinding>& findings) {
    std::stable_sort(findings.begin(), findings.end(),
                     [](const StoredFinding& left, const StoredFinding& right) { return left.unit < right.unit; });
    std::map<std::string_view, std::vector<StoredFinding*>> byCode;
    for (StoredFinding& finding : findings) {
        byCode[finding.finding.featureCode].push_back(&finding);
    }
    for (auto& [code, equal] : byCode) {
        if (equal.size() > 1) {
            std::stable_sort(equal.begin(), equal.end(), [](const StoredFinding* left, const StoredFinding* right) {
                if (left->unit != right->unit) {
                    return left->unit < right->unit;
                }
                return OccurrenceKey(left->finding) < OccurrenceKey(right->finding);
            });
        }
        int occurrence = 0;
        for (StoredFinding* finding : equal) {
            finding->occurrence = occurrence++;
        }
    }
}

}  // namespace norvex::service::store
