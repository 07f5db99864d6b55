// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <map>
#include <string>
#include <utility>

#include "service/store/ProjectDatabase.h"
#include "service/store/ProjectStore.h"
#include "service/store/Rows.h"
#include "service/store/TrustExchange.h"

namespace norvex::service::store {

namespace {

using sqlite::Transaction;

bool IsBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

std::optional<StoreError> FaultOfRemoval(std::string_view person, std::string_view reason) {
    if (IsBlank(person)) {
        return StoreError{StoreErrorCode::InvalidInput,
                          "Removing trust needs the name of the person who answers for it."};
    }
    if (IsBlank(reason)) {
        return StoreError{StoreErrorCode::InvalidInput, "Removing trust needs a reason."};
    }
    return std::nullopt;
}

// Counts what one entry hides, unit by unit.
class EffectCounter {
  public:
    // `last` is the last complete run; null when there is none.
    EffectCounter(sqlite::Connection& connection, const RunContents* last) : connection_(connection), last_(last) {
        if (last_ != nullptr) {
            trustOfRun_.emplace(last_->run.id, last_->trust);
            for (const StoredFinding& finding : last_->findings) {
                findingsOf_[finding.unit].push_back(&finding.finding);
            }
        }
    }

    void Count(TrustListing& listing) {
        if (last_ == nullptr) {
            return;
        }
        bool unknown = false;
        for (const UnitOutcome& outcome : last_->units) {
            const std::int64_t here = CountIn(listing.entry, outcome.unit);
            if (!SpeaksOf(listing.entry, outcome.unit) || ShowsAll(last_->run.id, outcome)) {
                // A trusted finding counts wherever it turns up; other entries find nothing outside their units.
                listing.findings += here;
            } else if (!LookBack(listing, outcome.unit)) {
                unknown = true;
                listing.findings += here;
            }
        }
        if (listing.lookedAtIn == 0 && (listing.findings > 0 || !unknown)) {
            listing.lookedAtIn = last_->run.id;
        }
        listing.effect = listing.findings > 0 ? TrustEffect::Hides
                         : unknown            ? TrustEffect::NotLookedAt
                                              : TrustEffect::Stale;
    }

  private:
    static bool SpeaksOf(const TrustEntry& entry, const UnitKey& unit) {
        if (entry.kind != TrustKind::Finding) {
            return CoversUnit(entry, unit);
        }
        return entry.rule.empty() || UnitKey{entry.floor, entry.specialty, entry.rule} == unit;
    }

    // Whether the unit's findings are all there are: it was looked at to the end, and no trust kept the rule from
    // seeing its entities.
    bool ShowsAll(RunId run, const UnitOutcome& outcome) {
        if (outcome.looksThroughTrust) {
            return IsVisited(outcome);
        }
        if (outcome.result == UnitResult::Skipped || outcome.result == UnitResult::Crashed ||
            outcome.result == UnitResult::Cancelled) {
            return false;
        }
        const auto [trust, isNew] = trustOfRun_.try_emplace(run);
        if (isNew) {
            trust->second = rows::ReadTrustOfRun(connection_, run);
        }
        return std::none_of(trust->second.begin(), trust->second.end(),
                            [&](const TrustEntry& entry) { return CoversUnit(entry, outcome.unit); });
    }

    std::int64_t CountIn(const TrustEntry& entry, const UnitKey& unit) const {
        const auto found = findingsOf_.find(unit);
        if (found == findingsOf_.end()) {
            return 0;
        }
        return std::count_if(found->second.begin(), found->second.end(),
                             [&](const Finding* finding) { return Hides(entry, unit, *finding); });
    }

    // Counts in the newest earlier run of the same model that shows the whole unit. Returns: false when there is none.
    bool LookBack(TrustListing& listing, const UnitKey& unit) {
        sqlite::Statement row(
            connection_,
            "SELECT r.id FROM unit u JOIN run r ON r.id = u.run_id WHERE u.rule = ? AND u.specialty = "
            "? AND u.floor = ? AND r.id < ? AND r.model_path = ? ORDER BY r.id DESC");
        row.Bind(unit.rule).Bind(unit.specialty).Bind(unit.floor).Bind(last_->run.id);
        row.Bind(last_->run.identity.modelPath);
        while (row.Step()) {
            const RunId run = row.Integer(0);
            const RunContents& contents = EarlierRun(run);
            const auto outcome = std::find_if(contents.units.begin(), contents.units.end(),
                                              [&](const UnitOutcome& each) { return each.unit == unit; });
            if (outcome == contents.units.end() || contents.run.identity.modelRead != ModelRead::Wholly ||
                !ShowsAll(run, *outcome)) {
                continue;
            }
            listing.lookedAtIn = std::max(listing.lookedAtIn, run);
            listing.findings +=
                std::count_if(contents.findings.begin(), contents.findings.end(), [&](const StoredFinding& each) {
                    return each.unit == unit && Hides(listing.entry, unit, each.finding);
                });
            return true;
        }
        return false;
    }

    const RunContents& EarlierRun(RunId run) {
        const auto [place, isNew] = earlier_.try_emplace(run);
        if (isNew) {
            place->second = rows::ReadContents(connection_, rows::ReadRuns(connection_, "WHERE id = ?", run).front());
        }
        return place->second;
    }

    sqlite::Connection& connection_;
    const RunContents* last_;
    std::map<UnitKey, std::vector<const Finding*>> findingsOf_;
    std::map<RunId, std::vector<TrustEntry>> trustOfRun_;
    std::map<RunId, RunContents> earlier_;
};

std::vector<TrustListing> Listings(sqlite::Connection& connection, std::string_view today) {
    std::vector<TrustListing> listings;
    for (TrustEntry& entry : rows::ReadTrust(connection)) {
        TrustListing listing;
        listing.expired = !IsInForce(entry, today);
        listing.entry = std::move(entry);
        listings.push_back(std::move(listing));
    }
    if (listings.empty()) {
        return listings;
    }
    const std::vector<RunRecord> last =
        rows::ReadRuns(connection, "WHERE status = 'complete' AND narrowed = 0 ORDER BY id DESC LIMIT 1");
    std::optional<RunContents> contents;
    if (!last.empty()) {
        contents = rows::ReadContents(connection, last.front());
    }
    EffectCounter counter(connection, contents ? &*contents : nullptr);
    for (TrustListing& listing : listings) {
        counter.Count(listing);
    }
    return listings;
}

// Gives a finding that names only its code the unit of the newest run that reported it.
void FillInUnit(sqlite::Connection& connection, TrustEntry& entry) {
    if (entry.kind != TrustKind::Finding || !entry.rule.empty()) {
        return;
    }
    sqlite::Statement row(connection,
                          "SELECT u.floor, u.specialty, u.rule FROM finding f JOIN unit u ON u.id = f.unit_id WHERE "
                          "f.feature_code = ? ORDER BY u.run_id DESC, u.floor, u.specialty, u.rule LIMIT 1");
    row.Bind(entry.featureCode);
    if (row.Step()) {
        entry.floor = row.Text(0);
        entry.specialty = row.Text(1);
        entry.rule = row.Text(2);
    }
}

// Adds the entry, in place of expired ones with the same target. Returns: the entry that already accepts the same thing
// and that this one cannot outlast, or nothing when the entry was added; `id` is then its id.
std::optional<TrustEntry> AddUnlessThere(sqlite::Connection& connection, TrustEntry entry, std::string_view today,
                                         TrustId& id) {
    std::vector<TrustEntry> expired;
    for (TrustEntry& other : rows::ReadTrust(connection)) {
        if (!SameTarget(entry, other)) {
            continue;
        }
        // What has expired does not come into force by another entry that has expired too.
        if (IsInForce(other, today) || !IsInForce(entry, today)) {
            return std::move(other);
        }
        expired.push_back(std::move(other));
    }
    FillInUnit(connection, entry);
    id = rows::InsertTrust(connection, entry);
    for (const TrustEntry& other : expired) {
        rows::MarkTrustRemoved(connection, other.id, today, entry.person, "renewed as trust " + std::to_string(id));
    }
    return std::nullopt;
}

}  // namespace

Result<TrustId> ProjectStore::AddTrust(const TrustEntry& entry) {
    TrustEntry complete = entry;
    const std::string today = clock_->Today();
    if (complete.addedOn.empty()) {
        complete.addedOn = today;
    }
    if (const std::optional<std::string> fault = FaultOf(complete)) {
        return StoreError{StoreErrorCode::InvalidInput, *fault};
    }
    if (!IsInForce(complete, today)) {
        return StoreError{StoreErrorCode::InvalidInput,
                          "Trust that expired on " + complete.expiresOn + " would never apply."};
    }
    return database_->Guard([&]() -> Result<TrustId> {
        Transaction transaction(database_->Connection(), Transaction::Kind::Write);
        TrustId id = 0;
        if (const auto there = AddUnlessThere(database_->Connection(), complete, today, id)) {
            return StoreError{StoreErrorCode::AlreadyTrusted, "Trust " + std::to_string(there->id) + ", given by " +
                                                                  there->person + " on " + there->addedOn +
                                                                  ", already covers " + TargetText(*there) + "."};
        }
        transaction.Commit();
        return id;
    });
}

Result<std::vector<TrustListing>> ProjectStore::ListTrust() {
    return database_->Guard([&]() -> Result<std::vector<TrustListing>> {
        Transaction view(database_->Connection(), Transaction::Kind::Read);
        return Listings(database_->Connection(), clock_->Today());
    });
}

Result<std::vector<RemovedTrustEntry>> ProjectStore::RemovedTrust() {
    return database_->Guard(
        [&]() -> Result<std::vector<RemovedTrustEntry>> { return rows::ReadRemovedTrust(database_->Connection()); });
}

Status ProjectStore::RemoveTrust(const std::vector<TrustId>& ids, std::string_view person, std::string_view reason) {
    if (std::optional<StoreError> fault = FaultOfRemoval(person, reason)) {
        return *fault;
    }
    return database_->Guard([&]() -> Status {
        Transaction transaction(database_->Connection(), Transaction::Kind::Write);
        for (const TrustId id : ids) {
            if (!rows::MarkTrustRemoved(database_->Connection(), id, clock_->Today(), person, reason)) {
                return StoreError{StoreErrorCode::NotFound, "There is no trust " + std::to_string(id) + " in \"" +
                                                                database_->Path().string() +
                                                                "\"; nothing was removed."};
            }
        }
        transaction.Commit();
        return Done{};
    });
}

Result<std::vector<TrustListing>> ProjectStore::PruneTrust(std::string_view person) {
    if (std::optional<StoreError> fault = FaultOfRemoval(person, "pruned")) {
        return *fault;
    }
    return database_->Guard([&]() -> Result<std::vector<TrustListing>> {
        Transaction transaction(database_->Connection(), Transaction::Kind::Write);
        const std::string today = clock_->Today();
        std::vector<TrustListing> pruned;
        for (TrustListing& listing : Listings(database_->Connection(), today)) {
            if (IsIdle(listing)) {
                rows::MarkTrustRemoved(database_->Connection(), listing.entry.id, today, person,
                                       listing.expired ? "expired" : "stale");
                pruned.push_back(std::move(listing));
            }
        }
        transaction.Commit();
        return pruned;
    });
}

Result<std::string> ProjectStore::ExportTrust() {
    return database_->Guard(
        [&]() -> Result<std::string> { return TrustDocument(rows::ReadTrust(database_->Connection())); });
}

Result<ProjectStore::ImportCounts> ProjectStore::ImportTrust(std::string_view document, std::string_view source) {
    const Result<std::vector<TrustEntry>> entries = ReadTrustDocument(document, source);
    if (!entries) {
        return entries.Error();
    }
    return database_->Guard([&]() -> Result<ImportCounts> {
        Transaction transaction(database_->Connection(), Transaction::Kind::Write);
        ImportCounts counts;
        for (const TrustEntry& entry : *entries) {
            TrustId id = 0;
            const bool there = AddUnlessThere(database_->Connection(), entry, clock_->Today(), id).has_value();
            (there ? counts.alreadyThere : counts.added) += 1;
        }
        transaction.Commit();
        return counts;
    });
}

Result<TrustView> ProjectStore::TrustInForce() {
    return database_->Guard([&]() -> Result<TrustView> {
        std::vector<TrustEntry> entries = rows::ReadTrust(database_->Connection());
        const std::string today = clock_->Today();
        std::erase_if(entries, [&](const TrustEntry& entry) { return !IsInForce(entry, today); });
        return TrustView(std::move(entries));
    });
}

Result<TrustView> ProjectStore::TrustOfRun(RunId run) {
    return database_->Guard([&]() -> Result<TrustView> {
        Transaction view(database_->Connection(), Transaction::Kind::Read);
        if (rows::ReadRuns(database_->Connection(), "WHERE id = ?", run).empty()) {
            return StoreError{StoreErrorCode::NotFound,
                              "There is no run " + std::to_string(run) + " in \"" + database_->Path().string() + "\"."};
        }
        return TrustView(rows::ReadTrustOfRun(database_->Connection(), run));
    });
}

}  // namespace norvex::service::store
