// SPDX-License-Identifier: Apache-2.0
// What large lists of trust cost, counted in statements of the database and the rows that they give.
#include <fmt/format.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdint>
#include <random>

#include "StoreSupport.h"
#include "service/store/TrustExchange.h"

namespace norvex::test {
namespace {

using namespace norvex::service::store;

// Counts the statements that begin and the rows that they give, on every connection that is opened while this lives.
class DatabaseWork {
  public:
    DatabaseWork() {
        s_steps = 0;
        sqlite3_auto_extension(reinterpret_cast<void (*)()>(Watch));
    }
    DatabaseWork(const DatabaseWork&) = delete;
    DatabaseWork& operator=(const DatabaseWork&) = delete;
    ~DatabaseWork() { sqlite3_cancel_auto_extension(reinterpret_cast<void (*)()>(Watch)); }

    static std::uint64_t Steps() { return s_steps; }

  private:
    static int Watch(sqlite3* database, const char**, const sqlite3_api_routines*) {
        return sqlite3_trace_v2(
            database, SQLITE_TRACE_STMT | SQLITE_TRACE_ROW,
            [](unsigned, void*, void*, void*) {
                ++s_steps;
                return 0;
            },
            nullptr);
    }

    static inline std::uint64_t s_steps = 0;
};

std::string CodeNumbered(std::size_t number) {
    return fmt::format("_{:032x}", number);
}

std::string DocumentOf(std::size_t entries) {
    std::vector<TrustEntry> list;
    for (std::size_t number = 0; number < entries; ++number) {
        TrustEntry entry = TrustedFinding(CodeNumbered(number));
        entry.addedOn = "2026-03-01";
        list.push_back(entry);
    }
    return TrustDocument(list);
}

std::uint64_t WorkOfImport(std::size_t entries) {
    const ProjectFolder folder;
    const DatabaseWork work;
    ProjectStore project = OpenStore(folder);
    EXPECT_EQ(Expect(project.ImportTrust(DocumentOf(entries), "trust.json")).added, static_cast<std::int64_t>(entries));
    return work.Steps();
}

// Twice the input must not take noticeably more than twice the work.
void ExpectLinear(const std::vector<std::uint64_t>& doubling) {
    for (std::size_t i = 1; i < doubling.size(); ++i) {
        EXPECT_LE(doubling[i] * 10, doubling[i - 1] * 22) << "after " << doubling[i - 1];
    }
}

TEST(TrustBounds, AnImportTakesWorkInProportionToTheDocument) {
    ExpectLinear({WorkOfImport(200), WorkOfImport(400), WorkOfImport(800)});
}

// A run with a finding of its own code in each of many units, some of which could not be looked at, before it one that
// saw all; and as many entries, for findings that nobody has ever reported.
std::uint64_t WorkOfListing(std::size_t size) {
    const ProjectFolder folder;
    const DatabaseWork work;
    ProjectStore project = OpenStore(folder);
    EXPECT_TRUE(project.ImportTrust(DocumentOf(size), "trust.json").Ok());
    for (const UnitResult result : {UnitResult::Failed, UnitResult::Crashed}) {
        const RunId run = Expect(project.BeginRun(Identity())).id;
        for (std::size_t number = 0; number < size / 10; ++number) {
            const UnitKey unit{fmt::format("floor {}", number), "给排水", "CCheckPipeLoop"};
            EXPECT_TRUE(
                project.CommitUnit(run, Outcome(unit, result), {FindingOf(CodeNumbered(1000000 + number))}).Ok());
        }
        EXPECT_TRUE(project.EndRun(run, RunStatus::Complete).Ok());
    }
    const std::uint64_t before = work.Steps();
    EXPECT_EQ(Expect(project.ListTrust()).size(), size);
    return work.Steps() - before;
}

TEST(TrustBounds, AListTakesWorkInProportionToEntriesAndFindings) {
    ExpectLinear({WorkOfListing(100), WorkOfListing(200), WorkOfListing(400)});
}

// All findings of both runs have one code, as those of a rule that leaves the objects out of it.
std::uint64_t WorkOfFirstReports(std::size_t size) {
    const ProjectFolder folder;
    const DatabaseWork work;
    ProjectStore project = OpenStore(folder);
    for (int run = 0; run < 2; ++run) {
        const RunId id = Expect(project.BeginRun(Identity())).id;
        EXPECT_TRUE(
            project.CommitUnit(id, Outcome(kUnit, UnitResult::Failed), std::vector<Finding>(size, FindingOf(Code(1))))
                .Ok());
        EXPECT_TRUE(project.EndRun(id, RunStatus::Complete).Ok());
    }
    std::vector<FindingName> names;
    for (std::size_t number = 0; number < size; ++number) {
        names.push_back({Code(1), static_cast<int>(number)});
    }
    const std::uint64_t before = work.Steps();
    EXPECT_EQ(Expect(project.FirstReported(names, 2)).size(), size);
    return work.Steps() - before;
}

TEST(TrustBounds, FirstReportsAreAskedForOnceForEachCode) {
    EXPECT_EQ(WorkOfFirstReports(10), WorkOfFirstReports(1000));
}

}  // namespace
}  // namespace norvex::test
