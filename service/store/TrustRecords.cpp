// SPDX-License-Identifier: Apache-2.0
#include "service/store/TrustRecords.h"

#include <algorithm>
#include <utility>

#include "service/json/ReadJson.h"
#include "service/store/Clock.h"

namespace norvex::service::store {

namespace {

bool IsBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// "_" and the 32 lower-case hexadecimal digits of an MD5 digest.
bool IsFeatureCode(std::string_view text) {
    return text.size() == 33 && text[0] == '_' &&
           text.substr(1).find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

bool RuleMatches(const TrustEntry& entry, std::string_view rule, std::string_view specialty) {
    return entry.rule == rule && (entry.specialty.empty() || entry.specialty == specialty);
}

std::string Quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

std::string Counted(std::int64_t findings) {
    return std::to_string(findings) + (findings == 1 ? " finding" : " findings");
}

std::optional<std::string> TargetFaultOf(const TrustEntry& entry) {
    switch (entry.kind) {
        case TrustKind::WholeRule:
            if (IsBlank(entry.rule)) {
                return "A trusted rule needs the rule's name.";
            }
            if (!entry.floor.empty() || !entry.subCategory.empty() || !entry.featureCode.empty()) {
                return "A trusted rule has neither floor nor sub-category nor feature code.";
            }
            break;
        case TrustKind::SubCategory:
            if (IsBlank(entry.rule) || IsBlank(entry.floor) || IsBlank(entry.subCategory)) {
                return "A trusted sub-category needs a rule, a floor and the sub-category's name.";
            }
            if (!entry.featureCode.empty()) {
                return "A trusted sub-category has no feature code.";
            }
            break;
        case TrustKind::Finding:
            if (!IsFeatureCode(entry.featureCode)) {
                return "A trusted finding needs a feature code, \"_\" and 32 digits or letters a to f, not " +
                       json::QuotedBriefly(entry.featureCode) + ".";
            }
            if (!entry.subCategory.empty()) {
                return "A trusted finding has no sub-category.";
            }
            break;
    }
    return std::nullopt;
}

}  // namespace

bool IsInForce(const TrustEntry& entry, std::string_view today) {
    return entry.expiresOn.empty() || today <= entry.expiresOn;
}

std::optional<std::string> FaultOf(const TrustEntry& entry) {
    if (std::optional<std::string> fault = TargetFaultOf(entry)) {
        return fault;
    }
    if (IsBlank(entry.reason)) {
        return "Trust needs a reason.";
    }
    if (IsBlank(entry.person)) {
        return "Trust needs the name of the person who answers for it.";
    }
    if (!IsDate(entry.addedOn)) {
        return "The day on which trust was given must be written YYYY-MM-DD, not " +
               json::QuotedBriefly(entry.addedOn) + ".";
    }
    if (!entry.expiresOn.empty() && !IsDate(entry.expiresOn)) {
        return "The day on which trust expires must be written YYYY-MM-DD, not " +
               json::QuotedBriefly(entry.expiresOn) + ".";
    }
    if (!entry.expiresOn.empty() && entry.expiresOn < entry.addedOn) {
        return "Trust given on " + entry.addedOn + " cannot expire earlier, on " + entry.expiresOn + ".";
    }
    return std::nullopt;
}

bool SameTarget(const TrustEntry& left, const TrustEntry& right) {
    if (left.kind != right.kind) {
        return false;
    }
    if (left.kind == TrustKind::Finding) {
        return left.featureCode == right.featureCode;
    }
    return left.rule == right.rule && left.specialty == right.specialty && left.floor == right.floor &&
           left.subCategory == right.subCategory;
}

bool CoversUnit(const TrustEntry& entry, const UnitKey& unit) {
    if (entry.kind == TrustKind::Finding || !RuleMatches(entry, unit.rule, unit.specialty)) {
        return false;
    }
    return entry.kind == TrustKind::WholeRule || entry.floor == unit.floor;
}

bool Hides(const TrustEntry& entry, const UnitKey& unit, const Finding& finding) {
    if (entry.kind == TrustKind::Finding) {
        return entry.featureCode == finding.featureCode;
    }
    if (!CoversUnit(entry, unit)) {
        return false;
    }
    return entry.kind == TrustKind::WholeRule ||
           std::any_of(finding.objects.begin(), finding.objects.end(),
                       [&](const FindingObject& object) { return object.subCategory == entry.subCategory; });
}

std::string TargetText(const TrustEntry& entry) {
    const std::string specialty = entry.specialty.empty() ? "" : " in " + entry.specialty;
    switch (entry.kind) {
        case TrustKind::WholeRule:
            return "rule " + entry.rule + specialty;
        case TrustKind::SubCategory:
            return "sub-category " + Quoted(entry.subCategory) + " on floor " + Quoted(entry.floor) + " of rule " +
                   entry.rule + specialty;
        case TrustKind::Finding:
            return entry.rule.empty() ? "finding " + entry.featureCode
                                      : "finding " + entry.featureCode + " of rule " + entry.rule;
    }
    return {};
}

bool IsIdle(const TrustListing& listing) {
    return listing.expired || listing.effect == TrustEffect::Stale;
}

std::vector<std::string> TrustNotices(const std::vector<TrustListing>& listings) {
    std::vector<std::string> notices;
    const auto signature = [](const TrustEntry& entry) {
        return "Trust " + std::to_string(entry.id) + " (" + TargetText(entry) + ", given by " + entry.person + " on " +
               entry.addedOn + ": " + Quoted(entry.reason) + ")";
    };
    for (const TrustListing& each : listings) {
        if (each.expired) {
            notices.push_back(signature(each.entry) + " expired on " + each.entry.expiresOn +
                              " and no longer applies: " +
                              (each.effect == TrustEffect::NotLookedAt ? "what it hid comes back"
                               : each.findings == 0                    ? "nothing is left for it to hide"
                               : each.findings == 1                    ? "1 finding comes back"
                                                                       : Counted(each.findings) + " come back") +
                              ".");
        }
    }
    for (const TrustListing& each : listings) {
        if (!each.expired && each.effect == TrustEffect::Stale) {
            notices.push_back(signature(each.entry) + " is stale: it hid nothing in the last complete run.");
        }
    }
    return notices;
}

}  // namespace norvex::service::store
