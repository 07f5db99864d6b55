// SPDX-License-Identifier: Apache-2.0
#include <map>
#include <string>
#include <utility>

#include "service/store/ProjectDatabase.h"
#include "service/store/ProjectStore.h"
#include "service/store/Rows.h"
#include "service/store/TrustEffects.h"
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
    TrustEffects effects(connection, contents ? &*contents : nullptr);
    for (TrustListing& listing : listings) {
        effects.Count(listing);
    }
    return listings;
}

// What decides whether two entries accept the same thing, as SameTarget has it.
std::vector<std::string> TargetOf(const TrustEntry& entry) {
    if (entry.kind == TrustKind::Finding) {
        return {entry.featureCode};
    }
    // No code is as long as this list, so that kinds stay apart.
    return {std::string(rows::Word(entry.kind)), entry.rule, entry.specialty, entry.floor, entry.subCategory};
}

// Adds entries to those that the project has, which it reads once. Requires: a transaction that writes.
class TrustAdder {
  public:
    TrustAdder(sqlite::Connection& connection, std::string today)
        : connection_(connection),
          today_(std::move(today)),
          unitOfCode_(connection,
                      "SELECT u.floor, u.specialty, u.rule FROM finding f JOIN unit u ON u.id = f.unit_id WHERE "
                      "f.feature_code = ? ORDER BY u.run_id DESC, u.floor, u.specialty, u.rule LIMIT 1") {
        for (TrustEntry& entry : rows::ReadTrust(connection_)) {
            there_[TargetOf(entry)].push_back(std::move(entry));
        }
    }

    // Adds the entry, in place of expired ones with the same target. Returns: the entry that already accepts the same
    // thing and that this one cannot outlast, or nothing when the entry was added; `id` is then its id.
    std::optional<TrustEntry> AddUnlessThere(TrustEntry entry, TrustId& id) {
        std::vector<TrustEntry>& same = there_[TargetOf(entry)];
        for (const TrustEntry& other : same) {
            // What has expired does not come into force by another entry that has expired too.
            if (IsInForce(other, today_) || !IsInForce(entry, today_)) {
                return other;
            }
        }
        FillInUnit(entry);
        id = rows::InsertTrust(connection_, entry);
        for (const TrustEntry& other : same) {
            rows::MarkTrustRemoved(connection_, other.id, today_, entry.person,
                                   "renewed as trust " + std::to_string(id));
        }
        entry.id = id;
        same = {std::move(entry)};
        return std::nullopt;
    }

  private:
    // Gives a finding that names only its code the unit of the newest run that reported it.
    void FillInUnit(TrustEntry& entry) {
        if (entry.kind != TrustKind::Finding || !entry.rule.empty()) {
            return;
        }
        unitOfCode_.Bind(entry.featureCode);
        if (unitOfCode_.Step()) {
            entry.floor = unitOfCode_.Text(0);
            entry.specialty = unitOfCode_.Text(1);
            entry.rule = unitOfCode_.Text(2);
        }
        unitOfCode_.Reset();
    }

    sqlite::Connection& connection_;
    std::string today_;
    sqlite::Statement unitOfCode_;
    std::map<std::vector<std::string>, std::vector<TrustEntry>> there_;  // by target, in the order of ids
};

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
        if (const auto there = TrustAdder(database_->Connection(), today).AddUnlessThere(complete, id)) {
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
    return entries ? AddAllTrust(*entries) : entries.Error();
}

Result<ProjectStore::ImportCounts> ProjectStore::AddAllTrust(const std::vector<TrustEntry>& entries) {
    for (const TrustEntry& entry : entries) {
        if (const std::optional<std::string> fault = FaultOf(entry)) {
            return StoreError{StoreErrorCode::InvalidInput, *fault};
        }
    }
    return database_->Guard([&]() -> Result<ImportCounts> {
        Transaction transaction(database_->Connection(), Transaction::Kind::Write);
        TrustAdder adder(database_->Connection(), clock_->Today());
        ImportCounts counts;
        for (const TrustEntry& entry : entries) {
            TrustId id = 0;
            const bool there = adder.AddUnlessThere(entry, id).has_value();
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
