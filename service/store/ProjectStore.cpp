// SPDX-License-Identifier: Apache-2.0
#include "service/store/ProjectStore.h"

#include <sqlite3.h>

#include <algorithm>
#include <cassert>
#include <map>
#include <string>
#include <utility>

#include "service/store/ProjectDatabase.h"
#include "service/store/Rows.h"

namespace norvex::service::store {

namespace {

using sqlite::Transaction;

const SystemClock kSystemClock{};

StoreError NoSuchRun(const ProjectDatabase& database, RunId run) {
    return {StoreErrorCode::NotFound,
            "There is no run " + std::to_string(run) + " in \"" + database.Path().string() + "\"."};
}

// Nothing when the run is under way.
std::optional<StoreError> WhyNotOpen(ProjectDatabase& database, RunId run) {
    sqlite::Statement status(database.Connection(), "SELECT status FROM run WHERE id = ?");
    status.Bind(run);
    if (!status.Step()) {
        return NoSuchRun(database, run);
    }
    if (status.Text(0) != rows::Word(RunStatus::Running)) {
        return StoreError{StoreErrorCode::RunNotOpen, "Run " + std::to_string(run) + " in \"" +
                                                          database.Path().string() + "\" has ended (" + status.Text(0) +
                                                          "), so nothing can be added to it."};
    }
    return std::nullopt;
}

std::optional<RunRecord> FirstRun(sqlite::Connection& connection, std::string_view condition,
                                  std::int64_t parameter = 0) {
    std::vector<RunRecord> runs = rows::ReadRuns(connection, condition, parameter);
    return runs.empty() ? std::nullopt : std::optional<RunRecord>(std::move(runs.front()));
}

// As every command does that needs it: what cannot be understood is found here as there.
void ReadEverything(sqlite::Connection& connection) {
    Transaction view(connection, Transaction::Kind::Read);
    for (const RunRecord& run : rows::ReadRuns(connection, "ORDER BY id")) {
        rows::ReadContents(connection, run);
    }
    rows::ReadTrust(connection);
    rows::ReadRemovedTrust(connection);
}

// Records a run with a finding and takes it back.
void TryToWrite(const Clock& clock, sqlite::Connection& connection) {
    if (sqlite3_db_readonly(connection.Handle(), "main") != 0) {
        return;
    }
    Transaction undone(connection, Transaction::Kind::Write);
    const RunId run = rows::InsertRun(connection, {}, clock.Now());
    Finding finding;
    finding.objects.resize(1);
    rows::WriteUnit(connection, run, {}, {finding});
    rows::InsertTrust(connection, {});
}

}  // namespace

Result<ProjectStore> ProjectStore::Open(const std::filesystem::path& projectFolder, const StoreOptions& options) {
    Result<std::unique_ptr<ProjectDatabase>> database =
        ProjectDatabase::Open(projectFolder, options.access == Access::ReadWrite, options.wait);
    if (!database) {
        return database.Error();
    }
    return ProjectStore(std::move(*database), options);
}

ProjectStore::ProjectStore(std::unique_ptr<ProjectDatabase> database, const StoreOptions& options)
    : database_(std::move(database)), clock_(options.clock == nullptr ? &kSystemClock : options.clock) {
}

ProjectStore::ProjectStore(ProjectStore&&) noexcept = default;
ProjectStore& ProjectStore::operator=(ProjectStore&&) noexcept = default;
ProjectStore::~ProjectStore() = default;

const std::filesystem::path& ProjectStore::DatabasePath() const {
    return database_->Path();
}

Status ProjectStore::CheckIntegrity() {
    return database_->Guard([&]() -> Status {
        sqlite::Statement pages(database_->Connection(), "PRAGMA integrity_check(1)");
        const std::string verdict = pages.Step() ? pages.Text(0) : "no answer";
        if (verdict != "ok") {
            // A heading may stand before what is wrong.
            throw sqlite::DatabaseFailure{SQLITE_CORRUPT, 0, verdict.substr(verdict.rfind('\n') + 1)};
        }
        sqlite::Statement references(database_->Connection(), "PRAGMA foreign_key_check");
        if (references.Step()) {
            throw sqlite::DatabaseFailure{SQLITE_CORRUPT, 0,
                                          "a row of " + references.Text(0) + " refers to one that is missing"};
        }
        ReadEverything(database_->Connection());
        TryToWrite(*clock_, database_->Connection());
        return Done{};
    });
}

Result<RunRecord> ProjectStore::BeginRun(const RunIdentity& identity) {
    return database_->Guard([&]() -> Result<RunRecord> {
        sqlite::Connection& connection = database_->Connection();
        Transaction transaction(connection, Transaction::Kind::Write);
        const RunId run = rows::InsertRun(connection, identity, clock_->Now());
        const std::string today = clock_->Today();
        sqlite::Statement trust(connection, "INSERT INTO run_trust VALUES (?, ?)");
        for (const TrustEntry& entry : rows::ReadTrust(connection)) {
            if (IsInForce(entry, today)) {
                trust.Bind(run).Bind(entry.id).Run();
            }
        }
        std::optional<RunRecord> record = FirstRun(connection, "WHERE id = ?", run);
        transaction.Commit();
        return std::move(*record);
    });
}

Status ProjectStore::CommitUnit(RunId run, const UnitOutcome& outcome, const std::vector<Finding>& findings) {
    return database_->Guard([&]() -> Status {
        Transaction transaction(database_->Connection(), Transaction::Kind::Write);
        if (std::optional<StoreError> error = WhyNotOpen(*database_, run)) {
            return *error;
        }
        rows::WriteUnit(database_->Connection(), run, outcome, findings);
        transaction.Commit();
        return Done{};
    });
}

Status ProjectStore::EndRun(RunId run, RunStatus status, const std::vector<UnitOutcome>& withoutFindings) {
    assert(status != RunStatus::Running);
    return database_->Guard([&]() -> Status {
        Transaction transaction(database_->Connection(), Transaction::Kind::Write);
        if (std::optional<StoreError> error = WhyNotOpen(*database_, run)) {
            return *error;
        }
        for (const UnitOutcome& outcome : withoutFindings) {
            rows::WriteUnit(database_->Connection(), run, outcome, {});
        }
        sqlite::Statement update(database_->Connection(), "UPDATE run SET status = ?, ended_at = ? WHERE id = ?");
        update.Bind(rows::Word(status)).Bind(clock_->Now()).Bind(run).Run();
        transaction.Commit();
        return Done{};
    });
}

Status ProjectStore::ReopenRun(RunId run) {
    return database_->Guard([&]() -> Status {
        Transaction transaction(database_->Connection(), Transaction::Kind::Write);
        const std::optional<RunRecord> record = FirstRun(database_->Connection(), "WHERE id = ?", run);
        if (!record) {
            return NoSuchRun(*database_, run);
        }
        if (record->status == RunStatus::Complete) {
            return StoreError{StoreErrorCode::RunNotOpen, "Run " + std::to_string(run) + " in \"" +
                                                              database_->Path().string() +
                                                              "\" is complete: there is nothing to resume."};
        }
        sqlite::Statement update(database_->Connection(), "UPDATE run SET status = ?, ended_at = '' WHERE id = ?");
        update.Bind(rows::Word(RunStatus::Running)).Bind(run).Run();
        transaction.Commit();
        return Done{};
    });
}

Result<std::optional<RunRecord>> ProjectStore::FindOpenRun() {
    return database_->Guard([&]() -> Result<std::optional<RunRecord>> {
        Transaction view(database_->Connection(), Transaction::Kind::Read);
        return FirstRun(database_->Connection(),
                        "WHERE status <> 'complete' AND id > coalesce((SELECT max(id) FROM run WHERE status = "
                        "'complete' AND narrowed = 0), 0) ORDER BY id DESC LIMIT 1");
    });
}

Result<std::vector<RunRecord>> ProjectStore::ListRuns() {
    return database_->Guard([&]() -> Result<std::vector<RunRecord>> {
        Transaction view(database_->Connection(), Transaction::Kind::Read);
        return rows::ReadRuns(database_->Connection(), "ORDER BY id");
    });
}

Result<std::map<RunId, RunTally>> ProjectStore::TallyRuns() {
    return database_->Guard([&]() -> Result<std::map<RunId, RunTally>> {
        sqlite::Statement row(
            database_->Connection(),
            "SELECT r.id, count(DISTINCT u.id), count(f.id), coalesce(sum(f.trusted <> 0), 0) FROM run r "
            "LEFT JOIN unit u ON u.run_id = r.id LEFT JOIN finding f ON f.unit_id = u.id GROUP BY r.id");
        std::map<RunId, RunTally> tallies;
        while (row.Step()) {
            const std::int64_t trusted = row.Integer(3);
            tallies[row.Integer(0)] = {
                .units = row.Integer(1), .findings = row.Integer(2) - trusted, .trusted = trusted};
        }
        return tallies;
    });
}

Result<std::optional<RunRecord>> ProjectStore::LastCompleteRun() {
    return database_->Guard([&]() -> Result<std::optional<RunRecord>> {
        Transaction view(database_->Connection(), Transaction::Kind::Read);
        return FirstRun(database_->Connection(), "WHERE status = 'complete' AND narrowed = 0 ORDER BY id DESC LIMIT 1");
    });
}

Result<std::vector<UnitOutcome>> ProjectStore::UnitsOf(RunId run) {
    return database_->Guard([&]() -> Result<std::vector<UnitOutcome>> {
        Transaction view(database_->Connection(), Transaction::Kind::Read);
        if (!FirstRun(database_->Connection(), "WHERE id = ?", run)) {
            return NoSuchRun(*database_, run);
        }
        return rows::ReadUnits(database_->Connection(), run);
    });
}

Result<RunContents> ProjectStore::LoadRun(RunId run) {
    return database_->Guard([&]() -> Result<RunContents> {
        Transaction view(database_->Connection(), Transaction::Kind::Read);
        const std::optional<RunRecord> record = FirstRun(database_->Connection(), "WHERE id = ?", run);
        if (!record) {
            return NoSuchRun(*database_, run);
        }
        return rows::ReadContents(database_->Connection(), *record);
    });
}

Result<RunDiff> ProjectStore::Diff(RunId older, RunId newer) {
    const Result<RunContents> before = LoadRun(older);
    if (!before) {
        return before.Error();
    }
    const Result<RunContents> after = LoadRun(newer);
    if (!after) {
        return after.Error();
    }
    return DiffRuns(*before, *after);
}

Result<std::vector<std::string>> ProjectStore::FirstReported(const std::vector<FindingName>& findings, RunId last) {
    return database_->Guard([&]() -> Result<std::vector<std::string>> {
        Transaction view(database_->Connection(), Transaction::Kind::Read);
        sqlite::Statement row(database_->Connection(),
                              "SELECT r.started_at, count(*) FROM finding f JOIN unit u ON u.id = f.unit_id JOIN run r "
                              "ON r.id = u.run_id WHERE f.feature_code = ? AND r.id <= ? GROUP BY r.id ORDER BY r.id");
        // Of each code the times from which on a run had it once, twice, ...
        std::map<std::string_view, std::vector<std::string>> firstTimes;
        std::vector<std::string> times;
        for (const FindingName& finding : findings) {
            const auto [known, isNew] = firstTimes.try_emplace(finding.featureCode);
            if (isNew) {
                row.Bind(finding.featureCode).Bind(last);
                while (row.Step()) {
                    const auto count = static_cast<std::size_t>(row.Integer(1));
                    known->second.resize(std::max(known->second.size(), count), row.Text(0));
                }
                row.Reset();
            }
            const auto occurrence = static_cast<std::size_t>(finding.occurrence);
            times.push_back(occurrence < known->second.size() ? known->second[occurrence] : std::string());
        }
        return times;
    });
}

Result<std::int64_t> ProjectStore::PruneRuns(std::int64_t keep) {
    return database_->Guard([&]() -> Result<std::int64_t> {
        Transaction transaction(database_->Connection(), Transaction::Kind::Write);
        sqlite::Statement remove(
            database_->Connection(),
            "DELETE FROM run WHERE id NOT IN (SELECT id FROM run ORDER BY id DESC LIMIT max(?, 0)) "
            "AND id <> coalesce((SELECT max(id) FROM run WHERE status = 'complete' AND narrowed = "
            "0), 0)");
        remove.Bind(keep).Run();
        const std::int64_t removed = database_->Connection().ChangedRows();
        transaction.Commit();
        return removed;
    });
}

}  // namespace norvex::service::store
