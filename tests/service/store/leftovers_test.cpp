// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>

#include "ChildProcess.h"
#include "StoreSupport.h"
#include "service/store/RunLock.h"
#include "support/WithoutPrivileges.h"

using namespace norvex::test;
using namespace norvex::service::store;

namespace fs = std::filesystem;

namespace {

std::string Bytes(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Write(const fs::path& path, std::string_view bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

// The names in the folder that begin so.
std::size_t CountOf(const fs::path& folder, std::string_view beginning) {
    std::size_t count = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        count += entry.path().filename().string().starts_with(beginning) ? 1 : 0;
    }
    return count;
}

void Fill(const ProjectFolder& folder) {
    ProjectStore project = OpenStore(folder);
    const RunRecord run = Expect(project.BeginRun(Identity()));
    Expect(project.CommitUnit(run.id, Outcome(kUnit, UnitResult::Failed), std::vector(300, FindingOf(Code(1)))));
    Expect(project.EndRun(run.id, RunStatus::Complete));
    for (int number = 0; number < 10; ++number) {
        Expect(project.AddTrust(TrustedFinding(Code(number))));
    }
}

// A database that a program changed with a rollback journal when it was killed.
void LeaveChangeUnfinished(const ProjectFolder& folder) {
    ChildProcess writer([&](int ready) {
        sqlite3* database = nullptr;
        sqlite3_open(folder.Database().c_str(), &database);
        // So small a cache that half of the change is in the file before it ends.
        const bool changed = sqlite3_exec(database,
                                          "PRAGMA journal_mode = DELETE; PRAGMA cache_size = 2; BEGIN IMMEDIATE;"
                                          "UPDATE finding SET sentence = sentence || ' half of it'; DELETE FROM trust",
                                          nullptr, nullptr, nullptr) == SQLITE_OK;
        Say(ready, changed ? "changed" : "failed");
        pause();
        return 0;
    });
    ASSERT_EQ(writer.ReadLine(), "changed");
    writer.Kill();
    ASSERT_GT(fs::file_size(folder.Database().string() + "-journal"), 0U);
}

// What checking and working with the project calls damaged, if anything does.
bool IsCalledDamaged(const ProjectFolder& folder) {
    const auto isDamage = [](const auto& result) {
        return !result.Ok() && result.Error().code == StoreErrorCode::Damaged;
    };
    auto opened = ProjectStore::Open(folder.Path());
    if (!opened) {
        return isDamage(opened);
    }
    bool damaged = false;
    const auto note = [&](const auto& result) { damaged = damaged || isDamage(result); };
    const auto runs = opened->ListRuns();
    note(runs);
    note(opened->TallyRuns());
    note(opened->FindOpenRun());
    note(opened->LastCompleteRun());
    if (runs.Ok()) {
        for (const RunRecord& run : *runs) {
            note(opened->LoadRun(run.id));
        }
    }
    note(opened->ListTrust());
    note(opened->TrustInForce());
    const auto begun = opened->BeginRun(Identity());
    note(begun);
    if (begun.Ok()) {
        note(opened->CommitUnit(begun->id, Outcome(kUnit, UnitResult::Failed), {FindingOf(Code(1))}));
        note(opened->EndRun(begun->id, RunStatus::Complete));
    }
    note(opened->AddTrust(TrustedRule("R")));
    return damaged;
}

bool IsSound(const ProjectFolder& folder) {
    auto opened = ProjectStore::Open(folder.Path());
    return opened.Ok() && opened->CheckIntegrity().Ok();
}

}  // namespace

TEST(Leftovers, OfAnUnfinishedChangeAreUndoneByWhoOnlyReads) {
    const ProjectFolder folder;
    Fill(folder);
    LeaveChangeUnfinished(folder);
    auto project = Expect(ProjectStore::Open(folder.Path(), {.access = Access::ReadOnly}));
    EXPECT_EQ(Expect(project.ListTrust()).size(), 10U);
    const RunContents contents = Expect(project.LoadRun(1));
    EXPECT_EQ(contents.findings[299].finding.sentence, contents.findings[0].finding.sentence);
    EXPECT_EQ(contents.findings[0].finding.sentence, FindingOf(Code(1)).sentence);
}

TEST(Leftovers, OfAnUnfinishedChangeAreNamedWhereTheyCannotBeUndone) {
    const ProjectFolder folder;
    Fill(folder);
    LeaveChangeUnfinished(folder);
    const std::string bytes = Bytes(folder.Database());
    fs::permissions(folder.Path(), fs::perms{0555});
    {
        const WithoutPrivileges asOthers;
        const auto opened = ProjectStore::Open(folder.Path(), {.access = Access::ReadOnly});
        ASSERT_EQ(CodeOf(opened), StoreErrorCode::ReadOnly);
        EXPECT_EQ(opened.Error().sentence,
                  "The project database \"" + folder.Database().string() +
                      "\" was not closed properly and the project folder cannot be written to; open it once with the "
                      "right to write.");
    }
    fs::permissions(folder.Path(), fs::perms{0755});
    EXPECT_EQ(Bytes(folder.Database()), bytes);
}

TEST(Leftovers, OfNewDatabasesAreRemovedByTheNextWriter) {
    std::mt19937 random(11);
    const ProjectFolder folder;
    for (int round = 0; round < 60; ++round) {
        for (const char* ending : {"", "-journal", "-wal", "-shm"}) {
            fs::remove(folder.Database().string() + ending);
        }
        {
            ChildProcess maker([&](int ready) {
                Say(ready, "ready");
                return ProjectStore::Open(folder.Path()).Ok() ? 0 : 1;
            });
            ASSERT_EQ(maker.ReadLine(), "ready");
            usleep(static_cast<useconds_t>(random() % 8000));
        }
        EXPECT_FALSE(fs::exists(folder.Database().string() + "-journal"));
    }
    // However many of them were killed in the middle.
    Write(folder.Path() / "norvex-new-4711-0815.db", "half of it");
    Write(folder.Path() / "norvex-new-4711-0815.db-wal", "and its log");
    OpenStore(folder);
    EXPECT_EQ(CountOf(folder.Path(), "norvex-new-"), 0U);
}

TEST(Leftovers, OfASwitchToTheLogAreNeverThere) {
    const ProjectFolder folder;
    OpenStore(folder);
    const std::string bytes = Bytes(folder.Database());
    // The format's versions for writing and reading: 2 is the write-ahead log.
    EXPECT_EQ(bytes.at(18), 2);
    EXPECT_EQ(bytes.at(19), 2);
    EXPECT_EQ(CountOf(folder.Path(), ""), 1U);
}

// Random damage to a sound file.
TEST(Damage, IsCalledDamageByWhoeverAsks) {
    const ProjectFolder folder;
    Fill(folder);
    const std::string good = Bytes(folder.Database());
    std::mt19937 random(17);
    int damaged = 0;
    for (int round = 0; round < 250; ++round) {
        std::string bytes = good;
        for (auto count = 1 + random() % 3; count > 0; --count) {
            const std::size_t place =
                random() % 2 == 0 ? random() % bytes.size() : random() % (bytes.size() / 4096) * 4096 + random() % 128;
            bytes[place] = static_cast<char>(random());
        }
        const auto restore = [&] {
            for (const char* ending : {"-wal", "-shm", "-journal"}) {
                fs::remove(folder.Database().string() + ending);
            }
            Write(folder.Database(), bytes);
        };
        restore();
        const bool isSound = IsSound(folder);
        restore();
        if (IsCalledDamaged(folder)) {
            ++damaged;
            EXPECT_FALSE(isSound) << "round " << round;
        }
    }
    EXPECT_GT(damaged, 50);
}

TEST(Damage, IsWhatNoRowOfOursHasAndNoTableOfOursIs) {
    for (const char* change : {
             "PRAGMA ignore_check_constraints = ON; UPDATE run SET status = 'odd'",
             "UPDATE sqlite_sequence SET seq = 9223372036854775807 WHERE name = 'run'",
             "UPDATE sqlite_sequence SET seq = 9223372036854775807 WHERE name = 'trust'",
             "ALTER TABLE finding RENAME COLUMN sentence TO words",
             "DROP TABLE run_trust",
             "PRAGMA user_version = 1",
             "PRAGMA foreign_keys = OFF; DELETE FROM run; DELETE FROM sqlite_sequence",
         }) {
        const ProjectFolder folder;
        Fill(folder);
        sqlite3* database = nullptr;
        sqlite3_open(folder.Database().c_str(), &database);
        ASSERT_EQ(sqlite3_exec(database, change, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
        sqlite3_close(database);
        EXPECT_FALSE(IsSound(folder)) << change;
        EXPECT_TRUE(IsCalledDamaged(folder) || std::string_view(change).find("DELETE") != std::string_view::npos)
            << change;
    }
}

// A number that no program of ours writes as a flag says yes wherever it is read.
TEST(Tallies, CountFlagsWhateverTheirNumbers) {
    const ProjectFolder folder;
    Fill(folder);
    sqlite3* database = nullptr;
    sqlite3_open(folder.Database().c_str(), &database);
    ASSERT_EQ(sqlite3_exec(database,
                           "UPDATE finding SET trusted = -9223372036854775808 WHERE id = 1;"
                           "UPDATE finding SET trusted = 9223372036854775807 WHERE id IN (2, 3)",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(database);
    ProjectStore project = OpenStore(folder);
    const auto tallies = Expect(project.TallyRuns());
    ASSERT_EQ(tallies.size(), 1U);
    EXPECT_EQ(tallies.begin()->second.trusted, 3);
    EXPECT_EQ(tallies.begin()->second.findings, 297);
    const RunContents contents = Expect(project.LoadRun(tallies.begin()->first));
    EXPECT_EQ(std::ranges::count_if(contents.findings, [](const auto& each) { return each.finding.trusted; }), 3);
}

TEST(Lock, IsOutOfReachOfWhoMayOnlyRead) {
    const ProjectFolder folder;
    fs::permissions(folder.Path(), fs::perms{0755});
    const fs::path lock = folder.Path() / "norvex.lock";
    umask(022);
    for (const bool fromBefore : {false, true}) {
        fs::remove(lock);
        if (fromBefore) {
            Write(lock, "");
            fs::permissions(lock, fs::perms{0644});
        }
        const auto held = RunLock::Acquire(folder.Path());
        ASSERT_TRUE(held.Ok());
        const WithoutPrivileges asOthers;
        EXPECT_LT(open(lock.c_str(), O_RDONLY), 0) << fromBefore;
        EXPECT_LT(open(lock.c_str(), O_WRONLY), 0) << fromBefore;
        EXPECT_EQ(RunLock::StateOf(folder.Path()), CheckState::Unknown);
    }
}

TEST(Lock, OfSomebodyWhoChecksNothingIsNotCalledACheck) {
    const ProjectFolder folder;
    Write(folder.Path() / "norvex.lock", "");
    ChildProcess reader([&](int ready) {
        struct flock shared {};
        shared.l_type = F_RDLCK;
        const int descriptor = open((folder.Path() / "norvex.lock").c_str(), O_RDONLY);
        Say(ready, fcntl(descriptor, F_SETLK, &shared) == 0 ? "locked" : "failed");
        pause();
        return 0;
    });
    ASSERT_EQ(reader.ReadLine(), "locked");
    const auto refused = RunLock::Acquire(folder.Path());
    ASSERT_EQ(CodeOf(refused), StoreErrorCode::ProjectBusy);
    EXPECT_EQ(refused.Error().sentence, "The project \"" + folder.Path().string() +
                                            "\" cannot be checked while process " + std::to_string(reader.Id()) +
                                            ", which is no check, has a lock on \"norvex.lock\"; end it, or try again "
                                            "later.");
    EXPECT_EQ(RunLock::StateOf(folder.Path()), CheckState::None);
}

TEST(Lock, IsARegularFileOrNone) {
    const ProjectFolder folder;
    const fs::path lock = folder.Path() / "norvex.lock";
    ASSERT_EQ(mkfifo(lock.c_str(), 0600), 0);
    EXPECT_EQ(CodeOf(RunLock::Acquire(folder.Path())), StoreErrorCode::Failed);
    EXPECT_FALSE(RunLock::HeldElsewhere(folder.Path()).has_value());
    fs::remove(lock);
    Write(folder.Path() / "other", "");
    fs::permissions(folder.Path() / "other", fs::perms{0644});
    fs::create_symlink("other", lock);
    EXPECT_EQ(CodeOf(RunLock::Acquire(folder.Path())), StoreErrorCode::Failed);
    EXPECT_EQ(fs::status(folder.Path() / "other").permissions(), fs::perms{0644});
}
