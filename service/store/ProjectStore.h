// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "service/store/Clock.h"
#include "service/store/RunDiff.h"
#include "service/store/RunRecords.h"
#include "service/store/Status.h"
#include "service/store/TrustRecords.h"

namespace norvex::service::store {

class ProjectDatabase;

// The database's name in the project folder.
inline constexpr const char* kDatabaseFileName = "norvex.db";

enum class Access : std::uint8_t {
    ReadWrite,
    // Works in a project that cannot be written to; every change is refused.
    ReadOnly,
};

struct StoreOptions {
    Access access = Access::ReadWrite;
    // How long to wait for another process that holds the database. Five seconds outlast any single change of ours.
    std::chrono::milliseconds wait{5000};
    // Borrowed for the life of the store; null: the computer's clock.
    const Clock* clock = nullptr;
};

// The memory of one project: its check runs and what its users have trusted. Several processes may have the same
// project open. A change is on the disk when its operation returns, and holds wholly or not at all, whatever becomes of
// the process. One object: one thread at a time, and never across fork().
//
// Errors: any operation may give Locked, Damaged, DiskFull or Failed; changes of a store opened for reading give
// ReadOnly. What an operation adds to these stands with it. Nothing is thrown except for memory.
class ProjectStore {
  public:
    // Opens the project's database and, for writing, makes it where there is none. A damaged, foreign or newer file is
    // left as it is. Errors: NoProject, NothingStored, ReadOnly, Foreign, NewerVersion.
    static Result<ProjectStore> Open(const std::filesystem::path& projectFolder, const StoreOptions& options = {});

    ProjectStore(ProjectStore&&) noexcept;
    ProjectStore& operator=(ProjectStore&&) noexcept;
    ~ProjectStore();

    const std::filesystem::path& DatabasePath() const;

    // Reads every page and every row of the database and, when it was opened for writing, tries to add rows, which are
    // not kept: what passes here is called damaged nowhere else. Errors: Damaged.
    Status CheckIntegrity();

    // ---- Runs ----

    // Records the start of a run together with the trust that is in force today and holds for the whole run.
    Result<RunRecord> BeginRun(const RunIdentity& identity);
    // Records how a unit ended and everything that was found in it, in place of an earlier outcome of the same unit in
    // this run. Errors: NotFound, RunNotOpen.
    Status CommitUnit(RunId run, const UnitOutcome& outcome, const std::vector<Finding>& findings);
    // Records the end of a run, and with it how units ended in which nothing was found. Requires: status is not
    // Running. Errors: NotFound, RunNotOpen.
    Status EndRun(RunId run, RunStatus status, const std::vector<UnitOutcome>& withoutFindings = {});
    // Opens a run again that was killed or ended before it was complete. Errors: NotFound; RunNotOpen for a complete
    // run.
    Status ReopenRun(RunId run);

    // The newest run that is not complete, if it is newer than every complete run that was not narrowed; what a resume
    // goes on with. A run under way in another process is among them: hold the RunLock before asking.
    Result<std::optional<RunRecord>> FindOpenRun();
    // Newest last.
    Result<std::vector<RunRecord>> ListRuns();
    // Of every run.
    Result<std::map<RunId, RunTally>> TallyRuns();
    // The newest complete run that was not narrowed.
    Result<std::optional<RunRecord>> LastCompleteRun();
    // The outcomes of a run's units, sorted by unit: what a resumed run need not do again (IsDone). Errors: NotFound.
    Result<std::vector<UnitOutcome>> UnitsOf(RunId run);
    // Errors: NotFound.
    Result<RunContents> LoadRun(RunId run);
    // Errors: NotFound.
    Result<RunDiff> Diff(RunId older, RunId newer);
    // When the findings were first reported: for each the start of the oldest run up to `last` that has its code more
    // often than its occurrence says; empty when no run has.
    Result<std::vector<std::string>> FirstReported(const std::vector<FindingName>& findings, RunId last);
    // Forgets the oldest runs until `keep` are left; the last complete run that was not narrowed always stays.
    // Returns: how many were forgotten.
    Result<std::int64_t> PruneRuns(std::int64_t keep);

    // ---- Trust ----

    // Accepts something. The id is given by the database; an empty addedOn becomes today; a finding without a rule gets
    // the unit of the newest run that reported it. An expired entry with the same target is replaced and stays on
    // record as removed. Errors: InvalidInput, AlreadyTrusted.
    Result<TrustId> AddTrust(const TrustEntry& entry);
    // Every entry that was not removed, by id, expired ones included, with what it does now.
    Result<std::vector<TrustListing>> ListTrust();
    // Every entry that was removed, by id.
    Result<std::vector<RemovedTrustEntry>> RemovedTrust();
    // Takes entries out of force, all or none; they stay on record with person and reason. Errors: NotFound,
    // InvalidInput.
    Status RemoveTrust(const std::vector<TrustId>& ids, std::string_view person, std::string_view reason);
    // Removes all expired and stale entries. Returns: them. Errors: InvalidInput.
    Result<std::vector<TrustListing>> PruneTrust(std::string_view person);

    // The entries that were not removed, expired ones included, as a JSON document (TrustExchange.h).
    Result<std::string> ExportTrust();
    struct ImportCounts {
        std::int64_t added = 0;
        // Trusted already by an entry with the same target.
        std::int64_t alreadyThere = 0;
    };
    // Adds the entries, all or none, with new ids. Errors: InvalidInput.
    Result<ImportCounts> AddAllTrust(const std::vector<TrustEntry>& entries);
    // Adds the entries of such a document, all or none, with new ids. `source` names it in messages. Errors:
    // InvalidInput.
    Result<ImportCounts> ImportTrust(std::string_view document, std::string_view source);

    // What is in force today.
    Result<TrustView> TrustInForce();
    // What holds for a run. Errors: NotFound.
    Result<TrustView> TrustOfRun(RunId run);

  private:
    ProjectStore(std::unique_ptr<ProjectDatabase> database, const StoreOptions& options);

    std::unique_ptr<ProjectDatabase> database_;
    const Clock* clock_;
};

// Moves the project's database, whatever state it is in, to norvex-damaged-1.db (the first number that is free) beside
// it together with its log, so that the next Open makes a new one. Nothing is overwritten. Requires: no process has it
// open. Returns: the new path. Errors: NothingStored, Failed.
Result<std::filesystem::path> SetAsideDatabase(const std::filesystem::path& projectFolder);

}  // namespace norvex::service::store
