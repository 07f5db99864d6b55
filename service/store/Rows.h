// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "service/store/RunDiff.h"
#include "service/store/RunRecords.h"
#include "service/store/Sqlite.h"
#include "service/store/TrustRecords.h"

// Internal to the store: rows of the tables as plain values and back. Everything here throws DatabaseFailure.

namespace norvex::service::store::rows {

std::string_view Word(RunStatus status);
std::string_view Word(UnitResult result);
std::string_view Word(TrustKind kind);
// Returns: nothing for an unknown word.
std::optional<TrustKind> TrustKindOf(std::string_view word);

// Runs of which `condition` holds, in that order; it may refer to one integer parameter.
std::vector<RunRecord> ReadRuns(sqlite::Connection& connection, std::string_view condition, std::int64_t parameter = 0);
RunId InsertRun(sqlite::Connection& connection, const RunIdentity& identity, std::string_view startedAt);

std::vector<UnitOutcome> ReadUnits(sqlite::Connection& connection, RunId run);
// Replaces the unit and its findings.
void WriteUnit(sqlite::Connection& connection, RunId run, const UnitOutcome& outcome,
               const std::vector<Finding>& findings);
// How one unit ended in the runs of one model that came before another run, newest first.
class EarlierUnits {
  public:
    EarlierUnits(sqlite::Connection& connection, const UnitKey& unit, RunId before, std::string_view modelPath);

    // Goes to the next one. Returns: false when there is none.
    bool Next();
    RunId Run() const;
    UnitOutcome Outcome() const;
    bool WasModelReadWholly() const;

  private:
    sqlite::Statement row_;
};

// Findings of a unit in a run, in the order in which they were reported.
std::vector<Finding> ReadFindingsOfUnit(sqlite::Connection& connection, RunId run, const UnitKey& unit);
// All that a run left behind. Requires: the run exists.
RunContents ReadContents(sqlite::Connection& connection, const RunRecord& run);

// Entries that were not removed, by id.
std::vector<TrustEntry> ReadTrust(sqlite::Connection& connection);
// Entries that hold for a run, by id, removed since or not.
std::vector<TrustEntry> ReadTrustOfRun(sqlite::Connection& connection, RunId run);
std::vector<RemovedTrustEntry> ReadRemovedTrust(sqlite::Connection& connection);
TrustId InsertTrust(sqlite::Connection& connection, const TrustEntry& entry);
// Returns: false when there is no such entry, or it was removed before.
bool MarkTrustRemoved(sqlite::Connection& connection, TrustId id, std::string_view day, std::string_view person,
                      std::string_view reason);

}  // namespace norvex::service::store::rows
