// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "service/store/RunDiff.h"
#include "service/store/Sqlite.h"
#include "service/store/TrustRecords.h"

// Internal to the store: throws DatabaseFailure.

namespace norvex::service::store {

// Counts what entries of trust hide. What it finds out about a unit it keeps, so that the work grows with the entries
// and with what the runs left behind, not with one times the other.
class TrustEffects {
  public:
    // `last` is the last complete run; null when there is none. Both are borrowed.
    TrustEffects(sqlite::Connection& connection, const RunContents* last);

    // Sets what the entry of the listing does. Requires: nothing of it was set before.
    void Count(TrustListing& listing);

    // Units and counts looked at so far.
    std::uint64_t Steps() const { return steps_; }

  private:
    // The findings of one unit in one run.
    struct Tally {
        std::int64_t all = 0;
        std::map<std::string_view, std::int64_t> byCode;
        // Findings with an object of the sub-category.
        std::map<std::string_view, std::int64_t> bySubCategory;
    };

    // Where the findings of a unit were seen that trust or a crash keeps from the last run.
    struct Sight {
        // The last run itself, an earlier one, or 0 where none saw the unit whole.
        RunId run = 0;
        const Tally* tally = nullptr;
    };

    struct Unit {
        const UnitOutcome* outcome = nullptr;
        Tally tally;
        std::optional<Sight> sight;  // once it was asked for
    };

    // What the unseen units of the last run come to for entries that may be about any of them.
    struct Anywhere {
        bool isUnknown = false;
        RunId newest = 0;
        // By code: findings of earlier runs less those of the last one, in the same units.
        std::map<std::string_view, std::int64_t> more;
    };

    static void Add(Tally& tally, const Finding& finding);
    static std::int64_t CountOf(const std::map<std::string_view, std::int64_t>& counts, std::string_view name);
    // Of the entry's own kind.
    static std::int64_t CountIn(const Tally& tally, const TrustEntry& entry);

    // Units that an entry about a rule or sub-category covers, by position.
    std::vector<std::size_t> UnitsOf(const TrustEntry& entry) const;
    const Sight& SightOf(Unit& unit);
    Sight LookBack(const UnitKey& unit);
    bool ShowsAll(RunId run, const UnitOutcome& outcome);
    const Anywhere& UnseenAnywhere();

    // Each sets findings and lookedAtIn. Returns: whether some unit was seen by no run.
    bool CountFinding(TrustListing& listing);
    bool CountUnits(TrustListing& listing);

    sqlite::Connection& connection_;
    const RunContents* last_;
    std::vector<Unit> units_;
    std::map<UnitKey, std::size_t> positions_;
    std::map<std::string_view, std::vector<std::size_t>> unitsOfRule_;
    std::map<std::pair<std::string_view, std::string_view>, std::vector<std::size_t>> unitsOfRuleAndFloor_;
    std::map<std::string_view, std::int64_t> countsByCode_;
    std::optional<Anywhere> anywhere_;
    std::map<RunId, TrustView> trustOfRun_;
    // Findings of earlier runs, and their tallies; both stay where they are.
    std::map<UnitKey, std::pair<std::vector<Finding>, Tally>> earlier_;
    std::uint64_t steps_ = 0;
};

}  // namespace norvex::service::store
