// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "service/store/RunRecords.h"

// What users have accepted, and what that means for a run. Plain values; text is UTF-8.

namespace norvex::service::store {

using TrustId = std::int64_t;

enum class TrustKind : std::uint8_t {
    WholeRule,    // the rule looks at nothing, in one specialty or in all
    SubCategory,  // the rule does not see one component sub-category on one floor
    Finding,      // one finding, known by its feature code, is not counted
};

// One acceptance. Which of rule, specialty, floor, subCategory and featureCode are meant depends on the kind: a whole
// rule has rule and perhaps specialty; a sub-category has rule, floor, subCategory and perhaps specialty; a finding has
// its feature code and, when a run of the project has reported it, the unit where it was found.
struct TrustEntry {
    // Given by the database and never used again.
    TrustId id = 0;
    TrustKind kind = TrustKind::Finding;
    std::string rule;
    // Empty: every specialty.
    std::string specialty;
    // The floor's label (FloorNames.h).
    std::string floor;
    std::string subCategory;
    std::string featureCode;
    // Who accepted it and why; never blank.
    std::string reason;
    std::string person;
    // Days, "2026-03-01". The entry still holds on the day it expires; empty: it does not expire.
    std::string addedOn;
    std::string expiresOn;

    bool operator==(const TrustEntry&) const = default;
};

// A removed entry stays on record.
struct RemovedTrustEntry {
    TrustEntry entry;
    std::string removedOn;
    std::string removedBy;
    std::string removedBecause;

    bool operator==(const RemovedTrustEntry&) const = default;
};

// How much of a rule is trusted; the numbers are those of NS_NORVEX::TrustStatus.
enum class RuleTrust : std::int32_t { None = 0, All = 1, Part = 2 };

enum class TrustEffect : std::uint8_t {
    Hides,        // at least one finding
    Stale,        // nothing, although all that it speaks of was looked at
    NotLookedAt,  // no complete run has looked behind it, so nobody can tell
};

// An entry with what it does now.
struct TrustListing {
    TrustEntry entry;
    bool expired = false;
    TrustEffect effect = TrustEffect::NotLookedAt;
    // Findings that match it; of an expired entry: that come back.
    std::int64_t findings = 0;
    // The run in which they were counted: the last complete one, or the newest earlier one of the same model that
    // looked behind the trusted rule or sub-category; 0 when nothing was looked at.
    RunId lookedAtIn = 0;
};

// Whether the entry holds on this day.
bool IsInForce(const TrustEntry& entry, std::string_view today);

// Why the entry must not be stored, as one sentence; nothing when it may. Does not look at the id.
std::optional<std::string> FaultOf(const TrustEntry& entry);

// Whether the two accept the same thing, whoever did it and why.
bool SameTarget(const TrustEntry& left, const TrustEntry& right);

// Whether an entry that takes entities away from a rule (whole rule or sub-category) speaks of the unit. Never true for
// a single finding.
bool CoversUnit(const TrustEntry& entry, const UnitKey& unit);

// Whether the finding is one that the entry hides. A sub-category is met by any object of the finding.
bool Hides(const TrustEntry& entry, const UnitKey& unit, const Finding& finding);

// Returns: the entry in words, such as `sub-category "给水管" on floor "3层" of rule CCheckPipeLink`.
std::string TargetText(const TrustEntry& entry);

// Whether the entry does nothing any more: it has expired, or it is stale.
bool IsIdle(const TrustListing& listing);

// One sentence for each entry that a person must hear of: first those that have expired, then the stale ones.
std::vector<std::string> TrustNotices(const std::vector<TrustListing>& listings);

// Entries, most often those that hold for one run, and the answers that a rule gets from them. An answer looks at the
// entries that speak of what is asked about and at no others. Answers are those of Hides and CoversUnit.
class TrustView {
  public:
    TrustView() = default;
    explicit TrustView(std::vector<TrustEntry> entries);

    const std::vector<TrustEntry>& Entries() const { return entries_; }

    // A whole rule outweighs its parts.
    RuleTrust StatusOf(std::string_view rule, std::string_view specialty) const;
    // Floor label to its trusted sub-categories; a floor that is present has at least one, because to the module an
    // empty list means all of them.
    std::map<std::string, std::set<std::string>> Parameters(std::string_view rule, std::string_view specialty) const;
    bool IsFindingTrusted(std::string_view featureCode) const;

    // The first entry that hides the finding; null when none does. Owned by this view.
    const TrustEntry* HiddenBy(const UnitKey& unit, const Finding& finding) const;
    // Whether an entry takes entities of the unit away from its rule.
    bool CoversUnit(const UnitKey& unit) const;

    // How often something was looked up so far: what answers cost, whatever the number of entries.
    std::uint64_t Lookups() const { return lookups_; }

  private:
    // What is said of a rule in one specialty or in all; entries are known by their position.
    struct OfRule {
        std::optional<std::size_t> whole;
        // Floor, then sub-category.
        std::map<std::string, std::map<std::string, std::size_t, std::less<>>, std::less<>> floors;
    };

    // What is said of the rule in this specialty, and in all of them; null where nothing is.
    std::pair<const OfRule*, const OfRule*> Find(std::string_view rule, std::string_view specialty) const;

    std::vector<TrustEntry> entries_;
    std::map<std::string, std::size_t, std::less<>> codes_;
    // By rule and specialty; an empty specialty stands for all.
    std::map<std::pair<std::string, std::string>, OfRule> rules_;
    mutable std::uint64_t lookups_ = 0;
};

}  // namespace norvex::service::store
