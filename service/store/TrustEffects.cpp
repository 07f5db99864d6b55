// SPDX-License-Identifier: Apache-2.0
#include "service/store/TrustEffects.h"

#include <algorithm>
#include <set>

#include "service/store/Rows.h"

namespace norvex::service::store {

TrustEffects::TrustEffects(sqlite::Connection& connection, const RunContents* last)
    : connection_(connection), last_(last) {
    if (last_ == nullptr) {
        return;
    }
    trustOfRun_.emplace(last_->run.id, TrustView(last_->trust));
    units_.reserve(last_->units.size());
    for (const UnitOutcome& outcome : last_->units) {
        const std::size_t position = units_.size();
        positions_.emplace(outcome.unit, position);
        unitsOfRule_[outcome.unit.rule].push_back(position);
        unitsOfRuleAndFloor_[{outcome.unit.rule, outcome.unit.floor}].push_back(position);
        units_.push_back({&outcome, {}, {}});
    }
    for (const StoredFinding& finding : last_->findings) {
        if (const auto unit = positions_.find(finding.unit); unit != positions_.end()) {
            Add(units_[unit->second].tally, finding.finding);
            ++countsByCode_[finding.finding.featureCode];
        }
    }
}

void TrustEffects::Count(TrustListing& listing) {
    if (last_ == nullptr) {
        return;
    }
    const bool unknown = listing.entry.kind == TrustKind::Finding ? CountFinding(listing) : CountUnits(listing);
    if (listing.lookedAtIn == 0 && (listing.findings > 0 || !unknown)) {
        listing.lookedAtIn = last_->run.id;
    }
    listing.effect = listing.findings > 0 ? TrustEffect::Hides
                     : unknown            ? TrustEffect::NotLookedAt
                                          : TrustEffect::Stale;
}

void TrustEffects::Add(Tally& tally, const Finding& finding) {
    ++tally.all;
    ++tally.byCode[finding.featureCode];
    std::set<std::string_view> subCategories;
    for (const FindingObject& object : finding.objects) {
        if (subCategories.insert(object.subCategory).second) {
            ++tally.bySubCategory[object.subCategory];
        }
    }
}

std::int64_t TrustEffects::CountOf(const std::map<std::string_view, std::int64_t>& counts, std::string_view name) {
    const auto found = counts.find(name);
    return found == counts.end() ? 0 : found->second;
}

std::int64_t TrustEffects::CountIn(const Tally& tally, const TrustEntry& entry) {
    switch (entry.kind) {
        case TrustKind::WholeRule:
            return tally.all;
        case TrustKind::SubCategory:
            return CountOf(tally.bySubCategory, entry.subCategory);
        case TrustKind::Finding:
            return CountOf(tally.byCode, entry.featureCode);
    }
    return 0;
}

// A trusted finding counts wherever it turns up; only where it is known to belong may it be out of sight.
bool TrustEffects::CountFinding(TrustListing& listing) {
    const TrustEntry& entry = listing.entry;
    ++steps_;
    listing.findings = CountOf(countsByCode_, entry.featureCode);
    if (entry.rule.empty()) {
        const Anywhere& unseen = UnseenAnywhere();
        listing.findings += CountOf(unseen.more, entry.featureCode);
        listing.lookedAtIn = unseen.newest;
        return unseen.isUnknown;
    }
    const auto position = positions_.find({entry.floor, entry.specialty, entry.rule});
    if (position == positions_.end()) {
        return false;
    }
    Unit& unit = units_[position->second];
    const Sight& sight = SightOf(unit);
    if (sight.run != 0 && sight.run != last_->run.id) {
        listing.findings += CountIn(*sight.tally, entry) - CountIn(unit.tally, entry);
        listing.lookedAtIn = sight.run;
    }
    return sight.run == 0;
}

bool TrustEffects::CountUnits(TrustListing& listing) {
    bool unknown = false;
    for (const std::size_t position : UnitsOf(listing.entry)) {
        ++steps_;
        Unit& unit = units_[position];
        const Sight& sight = SightOf(unit);
        listing.findings += CountIn(sight.run == 0 ? unit.tally : *sight.tally, listing.entry);
        if (sight.run != 0 && sight.run != last_->run.id) {
            listing.lookedAtIn = std::max(listing.lookedAtIn, sight.run);
        }
        unknown = unknown || sight.run == 0;
    }
    return unknown;
}

std::vector<std::size_t> TrustEffects::UnitsOf(const TrustEntry& entry) const {
    std::vector<std::size_t> covered;
    const auto take = [&](const auto& lists, const auto& key) {
        if (const auto found = lists.find(key); found != lists.end()) {
            std::copy_if(found->second.begin(), found->second.end(), std::back_inserter(covered),
                         [&](std::size_t position) { return CoversUnit(entry, units_[position].outcome->unit); });
        }
    };
    if (entry.kind == TrustKind::WholeRule) {
        take(unitsOfRule_, std::string_view(entry.rule));
    } else {
        take(unitsOfRuleAndFloor_, std::pair(std::string_view(entry.rule), std::string_view(entry.floor)));
    }
    return covered;
}

const TrustEffects::Sight& TrustEffects::SightOf(Unit& unit) {
    if (!unit.sight) {
        ++steps_;
        unit.sight =
            ShowsAll(last_->run.id, *unit.outcome) ? Sight{last_->run.id, &unit.tally} : LookBack(unit.outcome->unit);
    }
    return *unit.sight;
}

// The newest earlier run of the same model that shows the whole unit.
TrustEffects::Sight TrustEffects::LookBack(const UnitKey& unit) {
    rows::EarlierUnits earlier(connection_, unit, last_->run.id, last_->run.identity.modelPath);
    while (earlier.Next()) {
        ++steps_;
        if (earlier.WasModelReadWholly() && ShowsAll(earlier.Run(), earlier.Outcome())) {
            auto& [findings, tally] = earlier_[unit];
            findings = rows::ReadFindingsOfUnit(connection_, earlier.Run(), unit);
            for (const Finding& finding : findings) {
                Add(tally, finding);
            }
            return {earlier.Run(), &tally};
        }
    }
    return {};
}

// Whether the unit's findings are all there are: it was looked at to the end, and no trust kept the rule from seeing
// its entities.
bool TrustEffects::ShowsAll(RunId run, const UnitOutcome& outcome) {
    if (outcome.looksThroughTrust) {
        return IsVisited(outcome);
    }
    if (outcome.result == UnitResult::Skipped || outcome.result == UnitResult::Crashed ||
        outcome.result == UnitResult::Cancelled) {
        return false;
    }
    const auto [trust, isNew] = trustOfRun_.try_emplace(run);
    if (isNew) {
        trust->second = TrustView(rows::ReadTrustOfRun(connection_, run));
    }
    return !trust->second.CoversUnit(outcome.unit);
}

const TrustEffects::Anywhere& TrustEffects::UnseenAnywhere() {
    if (anywhere_) {
        return *anywhere_;
    }
    anywhere_ = Anywhere{};
    for (Unit& unit : units_) {
        const Sight& sight = SightOf(unit);
        if (sight.run == last_->run.id) {
            continue;
        }
        if (sight.run == 0) {
            anywhere_->isUnknown = true;
            continue;
        }
        anywhere_->newest = std::max(anywhere_->newest, sight.run);
        for (const auto& [code, count] : sight.tally->byCode) {
            anywhere_->more[code] += count;
        }
        for (const auto& [code, count] : unit.tally.byCode) {
            anywhere_->more[code] -= count;
        }
    }
    return *anywhere_;
}

}  // namespace norvex::service::store
