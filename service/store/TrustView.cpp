// SPDX-License-Identifier: Apache-2.0
#include "service/store/TrustRecords.h"

#include <string>
#include <utility>

namespace norvex::service::store {

namespace {

// The smaller of two positions, as far as there are any.
void TakeFirst(std::optional<std::size_t>& first, std::optional<std::size_t> other) {
    if (other && (!first || *other < *first)) {
        first = other;
    }
}

}  // namespace

TrustView::TrustView(std::vector<TrustEntry> entries) : entries_(std::move(entries)) {
    for (std::size_t position = 0; position < entries_.size(); ++position) {
        const TrustEntry& entry = entries_[position];
        if (entry.kind == TrustKind::Finding) {
            codes_.emplace(entry.featureCode, position);
            continue;
        }
        OfRule& rule = rules_[{entry.rule, entry.specialty}];
        if (entry.kind == TrustKind::WholeRule) {
            rule.whole = rule.whole ? rule.whole : position;
        } else {
            rule.floors[entry.floor].emplace(entry.subCategory, position);
        }
    }
}

std::pair<const TrustView::OfRule*, const TrustView::OfRule*> TrustView::Find(std::string_view rule,
                                                                              std::string_view specialty) const {
    const auto find = [&](std::string_view in) -> const OfRule* {
        ++lookups_;
        const auto found = rules_.find({std::string(rule), std::string(in)});
        return found == rules_.end() ? nullptr : &found->second;
    };
    return {specialty.empty() ? nullptr : find(specialty), find({})};
}

const TrustEntry* TrustView::HiddenBy(const UnitKey& unit, const Finding& finding) const {
    std::optional<std::size_t> first;
    ++lookups_;
    if (const auto code = codes_.find(finding.featureCode); code != codes_.end()) {
        first = code->second;
    }
    const auto [here, everywhere] = Find(unit.rule, unit.specialty);
    for (const OfRule* rule : {here, everywhere}) {
        if (rule == nullptr) {
            continue;
        }
        TakeFirst(first, rule->whole);
        const auto floor = rule->floors.find(unit.floor);
        if (floor == rule->floors.end()) {
            continue;
        }
        for (const FindingObject& object : finding.objects) {
            ++lookups_;
            const auto subCategory = floor->second.find(object.subCategory);
            TakeFirst(first, subCategory == floor->second.end() ? std::nullopt : std::optional(subCategory->second));
        }
    }
    return first ? &entries_[*first] : nullptr;
}

bool TrustView::CoversUnit(const UnitKey& unit) const {
    const auto [here, everywhere] = Find(unit.rule, unit.specialty);
    const auto covers = [&](const OfRule* rule) {
        return rule != nullptr && (rule->whole || rule->floors.contains(unit.floor));
    };
    return covers(here) || covers(everywhere);
}

bool TrustView::IsFindingTrusted(std::string_view featureCode) const {
    ++lookups_;
    return codes_.contains(featureCode);
}

RuleTrust TrustView::StatusOf(std::string_view rule, std::string_view specialty) const {
    const auto [here, everywhere] = Find(rule, specialty);
    if ((here != nullptr && here->whole) || (everywhere != nullptr && everywhere->whole)) {
        return RuleTrust::All;
    }
    return here != nullptr || everywhere != nullptr ? RuleTrust::Part : RuleTrust::None;
}

std::map<std::string, std::set<std::string>> TrustView::Parameters(std::string_view rule,
                                                                   std::string_view specialty) const {
    std::map<std::string, std::set<std::string>> floors;
    const auto [here, everywhere] = Find(rule, specialty);
    for (const OfRule* each : {here, everywhere}) {
        if (each == nullptr) {
            continue;
        }
        for (const auto& [floor, subCategories] : each->floors) {
            std::set<std::string>& names = floors[floor];
            for (const auto& [name, position] : subCategories) {
                ++lookups_;
                names.insert(name);
            }
        }
    }
    return floors;
}

}  // namespace norvex::service::store
