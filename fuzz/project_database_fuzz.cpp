// SPDX-License-Identifier: Apache-2.0
#include "fuzz/MemoryFolder.h"
#include "fuzz/Promise.h"
#include "service/store/ProjectStore.h"
#include "service/store/RunTrust.h"
#include "service/store/TrustExchange.h"

#include <sqlite3.h>

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <vector>

// Whatever the bytes of a project's database are, it is refused with one sentence and left as it is, or everything that
// is kept in it can be asked for, and what is written into it is there afterwards.

namespace {

using namespace norvex::fuzz;
using namespace norvex::service::store;

constexpr std::size_t kMostRuns = 8;  // of a database that are looked at

void CheckError(const StoreError& error) {
    Require(!error.sentence.empty() && error.sentence.ends_with('.'), "an error is a sentence");
    Require(error.code != StoreErrorCode::InvalidInput && error.code != StoreErrorCode::ProjectBusy,
            "a file is to blame for nothing that a caller did");
}

// Returns: whether there is a value; there is an error of the file's otherwise.
template <class Value>
bool Told(const Result<Value>& result) {
    if (!result) {
        CheckError(result.Error());
    }
    return result.Ok();
}

void CheckContents(const RunContents& contents) {
    Require(std::is_sorted(contents.units.begin(), contents.units.end(),
                           [](const UnitOutcome& left, const UnitOutcome& right) { return left.unit < right.unit; }),
            "units are sorted");
    Require(
        std::is_sorted(contents.findings.begin(), contents.findings.end(),
                       [](const StoredFinding& left, const StoredFinding& right) { return left.unit < right.unit; }),
        "findings are sorted by unit");
    for (const StoredFinding& finding : contents.findings) {
        Require(finding.occurrence >= 0, "occurrences count from 0");
    }
    for (const UnitOutcome& outcome : contents.units) {
        IsVisited(outcome);
        IsDone(outcome.result);
    }
}

std::size_t OlderOnes(const RunDiff& diff) {
    return diff.persisting.size() + diff.gone.size() + diff.hidden.size() + diff.notVisited.size();
}

void CheckDiff(const RunContents& older, const RunContents& newer) {
    const RunDiff diff = DiffRuns(older, newer);
    Require(OlderOnes(diff) == older.findings.size(), "every finding of the older run is somewhere");
    Require(diff.persisting.size() + diff.added.size() == newer.findings.size(),
            "every finding of the newer run is somewhere");
}

void CheckRuns(ProjectStore& store) {
    const Result<std::vector<RunRecord>> runs = store.ListRuns();
    const Result<std::map<RunId, RunTally>> tallies = store.TallyRuns();
    Told(store.FindOpenRun());
    Told(store.LastCompleteRun());
    if (!Told(runs)) {
        return;
    }
    Require(!Told(tallies) || tallies->size() == runs->size(), "every run has a tally");
    std::optional<RunContents> older;
    for (std::size_t i = runs->size() > kMostRuns ? runs->size() - kMostRuns : 0; i < runs->size(); ++i) {
        const RunId run = (*runs)[i].id;
        if (const Result<TrustView> trust = store.TrustOfRun(run); Told(trust)) {
            RunTrust view(*trust);
            view.StatusOf("CCheckPipeLoop", "\xB8\xF8\xC5\xC5\xCB\xAE");
            view.FloorsOf("CCheckPipeLoop", "\xB8\xF8\xC5\xC5\xCB\xAE");
        }
        const Result<RunContents> contents = store.LoadRun(run);
        if (Told(contents)) {
            CheckContents(*contents);
            std::vector<FindingName> names;
            for (const StoredFinding& stored : contents->findings) {
                names.push_back({stored.finding.featureCode, stored.occurrence});
            }
            const Result<std::vector<std::string>> times = store.FirstReported(names, run);
            Require(!Told(times) || times->size() == names.size(), "every finding has a time");
            CheckDiff(older ? *older : *contents, *contents);
            older = *contents;
        }
    }
}

void CheckTrust(ProjectStore& store) {
    Told(store.RemovedTrust());
    Told(store.TrustInForce());
    if (const Result<std::vector<TrustListing>> listings = store.ListTrust(); Told(listings)) {
        TrustNotices(*listings);
    }
    const Result<std::string> document = store.ExportTrust();
    if (Told(document)) {
        // A row that no program of ours writes may give an entry that may not be stored.
        const Result<std::vector<TrustEntry>> read = ReadTrustDocument(*document, "export");
        Require(read || read.Error().sentence.find("entry") != std::string::npos, "an export is a trust document");
    }
}

// A run is begun, filled and ended, and is there afterwards.
void CheckWriting(const std::filesystem::path& folder) {
    Result<ProjectStore> store = ProjectStore::Open(folder, {.wait = std::chrono::milliseconds(0)});
    if (!Told(store)) {
        return;
    }
    RunIdentity identity;
    identity.modelPath = "house.ifc";
    identity.floors = {"1F"};
    const Result<RunRecord> run = store->BeginRun(identity);
    if (!Told(run)) {
        return;
    }
    UnitOutcome outcome{{"1F", "water", "CCheckPipeLoop"}, UnitResult::Failed, 2, 0, {}, "", false};
    Finding finding;
    finding.featureCode = "_" + std::string(32, 'a');
    finding.objects = {{"1F", "", "Pipe", "pipe"}};
    if (!Told(store->CommitUnit(run->id, outcome, {finding})) || !Told(store->EndRun(run->id, RunStatus::Complete))) {
        return;
    }
    const Result<RunContents> contents = store->LoadRun(run->id);
    if (Told(contents)) {
        Require(contents->findings.size() == 1 && contents->findings[0].finding == finding &&
                    contents->run.identity == identity && contents->run.status == RunStatus::Complete,
                "what was written is there");
    }
    Told(store->PruneRuns(1));
}

// The folder of all inputs. Memory is limited: a page that claims to be a large row is not believed.
class Project {
  public:
    Project() : m_path(m_folder.Path() / kDatabaseFileName) {
        sqlite3_hard_heap_limit64(std::int64_t{256} << 20U);
        std::filesystem::create_directories(m_folder.Path());
    }

    const std::filesystem::path& Folder() const { return m_folder.Path(); }

    void Hold(std::string_view bytes) const {
        for (const char* suffix : {"-wal", "-shm", "-journal"}) {
            unlink((m_path.string() + suffix).c_str());
        }
        MemoryFile(m_path).Replace(bytes);
    }

    std::string Bytes() const {
        std::string bytes(std::filesystem::file_size(m_path), '\0');
        const int descriptor = open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
        Require(pread(descriptor, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()),
                "a file can be read");
        close(descriptor);
        return bytes;
    }

  private:
    MemoryFolder m_folder;
    std::filesystem::path m_path;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Project& project = *new Project();
    const std::string_view bytes = TextOf(data, size);
    project.Hold(bytes);
    bool isReadable = false;
    {
        Result<ProjectStore> store =
            ProjectStore::Open(project.Folder(), {.access = Access::ReadOnly, .wait = std::chrono::milliseconds(0)});
        isReadable = Told(store);
        if (isReadable && Told(store->CheckIntegrity())) {
            CheckRuns(*store);
            CheckTrust(*store);
        }
    }
    Require(project.Bytes() == bytes, "what is only read stays as it is");
    if (isReadable) {
        CheckWriting(project.Folder());
    }
    return 0;
}
