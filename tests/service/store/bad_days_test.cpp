// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <sched.h>
#include <sqlite3.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include <array>
#include <chrono>
#include <fstream>
#include <iterator>
#include <random>
#include <thread>

#include "ChildProcess.h"
#include "StoreSupport.h"
#include "service/store/RunLock.h"
#include "service/store/Schema.h"

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

// A connection without the store's care, for playing other programs.
class RawDatabase {
  public:
    explicit RawDatabase(const fs::path& path) { sqlite3_open(path.c_str(), &handle_); }
    RawDatabase(const RawDatabase&) = delete;
    RawDatabase& operator=(const RawDatabase&) = delete;
    ~RawDatabase() { sqlite3_close(handle_); }

    bool Run(const char* statements) {
        return sqlite3_exec(handle_, statements, nullptr, nullptr, nullptr) == SQLITE_OK;
    }

  private:
    sqlite3* handle_ = nullptr;
};

// A project with a run of many findings and ten trust entries, closed properly.
void Fill(const ProjectFolder& folder) {
    ProjectStore project = OpenStore(folder);
    const RunRecord run = Expect(project.BeginRun(Identity()));
    Expect(project.CommitUnit(run.id, Outcome(kUnit, UnitResult::Failed), std::vector(300, FindingOf(Code(1)))));
    Expect(project.EndRun(run.id, RunStatus::Complete));
    for (int number = 0; number < 10; ++number) {
        Expect(project.AddTrust(TrustedFinding(Code(number))));
    }
}

std::string ErrorSentence(const ProjectFolder& folder, StoreErrorCode code, const StoreOptions& options = {}) {
    const auto opened = ProjectStore::Open(folder.Path(), options);
    if (opened) {
        ADD_FAILURE() << "the database could be opened";
        return {};
    }
    EXPECT_EQ(opened.Error().code, code) << opened.Error().sentence;
    return opened.Error().sentence;
}

std::string Quoted(const fs::path& path) {
    return "\"" + path.string() + "\"";
}

void Flip(std::string& bytes, std::size_t from, std::size_t count) {
    for (std::size_t i = from; i < from + count; ++i) {
        bytes.at(i) = static_cast<char>(~bytes.at(i));
    }
}

// Acts as a user without special rights until it goes; root may write everywhere.
class OrdinaryUser {
  public:
    OrdinaryUser() {
        if (geteuid() == 0) {
            wasRoot_ = seteuid(65534) == 0;
        }
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
    ~OrdinaryUser() {
        if (wasRoot_ && seteuid(0) != 0) {
            std::abort();
        }
    }

  private:
    bool wasRoot_ = false;
};

}  // namespace

TEST(BadDays, AMissingProjectFolderIsNamed) {
    const auto opened = ProjectStore::Open("/nowhere/我的 项目");
    ASSERT_EQ(CodeOf(opened), StoreErrorCode::NoProject);
    EXPECT_EQ(opened.Error().sentence, "The project folder \"/nowhere/我的 项目\" does not exist.");
    const ProjectFolder folder;
    Write(folder.Path() / "file", "x");
    EXPECT_EQ(CodeOf(ProjectStore::Open(folder.Path() / "file")), StoreErrorCode::NoProject);
    EXPECT_EQ(CodeOf(RunLock::Acquire(folder.Path() / "none")), StoreErrorCode::NoProject);
}

TEST(BadDays, ReadingAProjectWithoutRunsMakesNoFile) {
    const ProjectFolder folder;
    EXPECT_EQ(ErrorSentence(folder, StoreErrorCode::NothingStored, {.access = Access::ReadOnly}),
              "Nothing has been recorded in the project folder " + Quoted(folder.Path()) + " yet.");
    EXPECT_TRUE(fs::is_empty(folder.Path()));
}

TEST(BadDays, ADatabaseThatWasTruncatedToNothingIsDamagedAndNotANewOne) {
    const ProjectFolder folder;
    Fill(folder);
    Write(folder.Database(), "");
    for (const Access access : {Access::ReadOnly, Access::ReadWrite}) {
        EXPECT_EQ(ErrorSentence(folder, StoreErrorCode::Damaged, {.access = access}),
                  "The project database " + Quoted(folder.Database()) +
                      " is damaged (the file is empty); it was left as it is. Put a backup in its place or set it "
                      "aside to begin a new one.");
        EXPECT_EQ(fs::file_size(folder.Database()), 0U);
    }
    Expect(SetAsideDatabase(folder.Path()));
    Expect(OpenStore(folder).AddTrust(TrustedFinding(Code(1))));
}

// Whoever looks while a project's first database is made sees none or a whole one, also when its maker is killed.
TEST(BadDays, ANewDatabaseIsThereWhollyOrNotAtAll) {
    std::mt19937 random(4);
    const auto begin = std::chrono::steady_clock::now();
    {
        const ProjectFolder folder;
        OpenStore(folder);
    }
    const auto length = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begin);
    std::uniform_int_distribution<std::int64_t> delay(0, length.count() * 3 / 2);
    for (int round = 0; round < 40; ++round) {
        const ProjectFolder folder;
        ChildProcess maker([&](int ready) {
            Say(ready, "ready");
            (void)ProjectStore::Open(folder.Path()).Ok();
            pause();
            return 0;
        });
        ASSERT_EQ(maker.ReadLine(), "ready");
        const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(delay(random));
        while (std::chrono::steady_clock::now() < end) {
            std::error_code absent;
            const std::uintmax_t size = fs::file_size(folder.Database(), absent);
            ASSERT_TRUE(absent || size > 0);
        }
        maker.Kill();
        Expect(OpenStore(folder).AddTrust(TrustedFinding(Code(1))));
    }
}

TEST(BadDays, ALockedDatabaseEndsInOneSentenceAfterTheWait) {
    const ProjectFolder folder;
    Fill(folder);
    ChildProcess other([&](int ready) {
        RawDatabase database(folder.Database());
        if (!database.Run("BEGIN EXCLUSIVE")) {
            return 1;
        }
        Say(ready, "locked");
        pause();
        return 0;
    });
    ASSERT_EQ(other.ReadLine(), "locked");
    auto project = Expect(ProjectStore::Open(folder.Path(), {.wait = std::chrono::milliseconds(300)}));
    EXPECT_EQ(Expect(project.ListTrust()).size(), 10U) << "reading goes on";
    const auto begin = std::chrono::steady_clock::now();
    const Result<TrustId> added = project.AddTrust(TrustedRule("R"));
    const auto waited = std::chrono::steady_clock::now() - begin;
    ASSERT_EQ(CodeOf(added), StoreErrorCode::Locked);
    EXPECT_EQ(added.Error().sentence, "The project database " + Quoted(folder.Database()) +
                                          " was in use by another process for the whole 300 ms that were waited; "
                                          "nothing was changed.");
    EXPECT_GE(waited, std::chrono::milliseconds(250));
    EXPECT_LT(waited, std::chrono::seconds(20));
    other.Kill();
    Expect(project.AddTrust(TrustedRule("R")));
}

TEST(BadDays, ADatabaseThatNobodyElseMayEvenReadIsLockedToo) {
    const ProjectFolder folder;
    Fill(folder);
    ChildProcess other([&](int ready) {
        RawDatabase database(folder.Database());
        if (!database.Run("PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; COMMIT")) {
            return 1;
        }
        Say(ready, "locked");
        pause();
        return 0;
    });
    ASSERT_EQ(other.ReadLine(), "locked");
    EXPECT_FALSE(ErrorSentence(folder, StoreErrorCode::Locked, {.wait = std::chrono::milliseconds(200)}).empty());
    other.Kill();
    EXPECT_EQ(Expect(OpenStore(folder).ListTrust()).size(), 10U);
}

TEST(BadDays, AShortLockIsWaitedFor) {
    const ProjectFolder folder;
    Fill(folder);
    ChildProcess other([&](int ready) {
        RawDatabase database(folder.Database());
        database.Run("BEGIN EXCLUSIVE");
        Say(ready, "locked");
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        return database.Run("COMMIT") ? 0 : 1;
    });
    ASSERT_EQ(other.ReadLine(), "locked");
    Expect(OpenStore(folder).AddTrust(TrustedRule("R")));
    EXPECT_EQ(other.Wait(), 0);
}

TEST(BadDays, ManyProcessesOnOneNewProjectLoseNothing) {
    constexpr int kProcesses = 6;
    constexpr int kEntries = 20;
    const ProjectFolder folder;
    std::vector<std::unique_ptr<ChildProcess>> writers;
    for (int process = 0; process < kProcesses; ++process) {
        writers.push_back(std::make_unique<ChildProcess>([&, process](int report) {
            auto project = ProjectStore::Open(folder.Path(), {.wait = std::chrono::seconds(60)});
            if (!project) {
                Say(report, project.Error().sentence);
                return 1;
            }
            const auto run = project->BeginRun(Identity());
            for (int number = 0; number < kEntries; ++number) {
                const std::string name = std::to_string(process) + "-" + std::to_string(number);
                const auto added = project->AddTrust(TrustedRule(name));
                if (!added || !project->CommitUnit(run->id, Outcome({name, "", ""}, UnitResult::Passed), {})) {
                    Say(report, added ? "unit" : added.Error().sentence);
                    return 2;
                }
            }
            return project->EndRun(run->id, RunStatus::Complete) ? 0 : 3;
        }));
    }
    for (const auto& writer : writers) {
        EXPECT_EQ(writer->ReadToEnd(), "");
        EXPECT_EQ(writer->Wait(), 0);
    }
    ProjectStore project = OpenStore(folder);
    EXPECT_EQ(Expect(project.ListTrust()).size(), std::size_t{kProcesses * kEntries});
    const std::vector<RunRecord> runs = Expect(project.ListRuns());
    ASSERT_EQ(runs.size(), std::size_t{kProcesses});
    for (const RunRecord& run : runs) {
        EXPECT_EQ(Expect(project.UnitsOf(run.id)).size(), std::size_t{kEntries});
    }
    Expect(project.CheckIntegrity());
}

TEST(BadDays, OneProcessAtATimeChecksAProject) {
    const ProjectFolder folder;
    ChildProcess other([&](int ready) {
        const auto lock = RunLock::Acquire(folder.Path());
        Say(ready, lock ? "locked" : lock.Error().sentence);
        pause();
        return 0;
    });
    ASSERT_EQ(other.ReadLine(), "locked");
    const auto refused = RunLock::Acquire(folder.Path(), std::chrono::milliseconds(50));
    ASSERT_EQ(CodeOf(refused), StoreErrorCode::ProjectBusy);
    EXPECT_EQ(refused.Error().sentence, "The project " + Quoted(folder.Path()) + " is being checked by process " +
                                            std::to_string(other.Id()) + "; try again when it has finished.");
    other.Kill();
    EXPECT_TRUE(RunLock::Acquire(folder.Path()).Ok()) << "the lock goes with its process, even when that is killed";
    EXPECT_TRUE(RunLock::Acquire(folder.Path()).Ok()) << "and with its object";
}

TEST(BadDays, ADamagedDatabaseIsNamedAndLeftAsItIs) {
    const ProjectFolder folder;
    Fill(folder);
    const std::string good = Bytes(folder.Database());
    ASSERT_GT(good.size(), std::size_t{40960});
    struct Case {
        const char* name;
        std::string bytes;
    };
    std::vector<Case> cases{{"text", "This is no database, whatever its name says."},
                            {"short", "SQLite"},
                            {"truncated", good.substr(0, good.size() / 2)},
                            {"header", good},
                            {"pages", good}};
    Flip(cases[3].bytes, 0, 16);
    // From the second page to the end, so that some page in use is hit whatever the layout.
    for (std::size_t page = 4096; page + 64 < good.size(); page += 4096) {
        Flip(cases[4].bytes, page, 64);
    }
    for (const Case& each : cases) {
        Write(folder.Database(), each.bytes);
        const std::string sentence = ErrorSentence(folder, StoreErrorCode::Damaged);
        EXPECT_NE(sentence.find("The project database " + Quoted(folder.Database()) + " is damaged ("),
                  std::string::npos)
            << each.name;
        EXPECT_NE(sentence.find("it was left as it is."), std::string::npos) << each.name;
        EXPECT_EQ(sentence.find('\n'), std::string::npos);
        EXPECT_EQ(Bytes(folder.Database()), each.bytes) << each.name;
    }
}

TEST(BadDays, ALogWithoutItsDatabaseIsNotThrownAway) {
    const ProjectFolder folder;
    const fs::path log = folder.Database().string() + "-wal";
    std::string logBytes;
    {
        ProjectStore project = OpenStore(folder);
        Expect(project.AddTrust(TrustedFinding(Code(1))));
        logBytes = Bytes(log);
        ASSERT_FALSE(logBytes.empty());
    }
    for (const bool empty : {true, false}) {
        fs::remove(folder.Database());
        if (empty) {
            Write(folder.Database(), "");
        }
        Write(log, logBytes);
        EXPECT_FALSE(ErrorSentence(folder, StoreErrorCode::Damaged).empty());
        EXPECT_EQ(Bytes(log), logBytes);
    }
}

TEST(BadDays, ADamagedDatabaseCanBeSetAsideAndIsNeverOverwritten) {
    const ProjectFolder folder;
    EXPECT_EQ(CodeOf(SetAsideDatabase(folder.Path())), StoreErrorCode::NothingStored);
    const fs::path log = folder.Database().string() + "-wal";
    for (const char* content : {"first", "second"}) {
        Write(folder.Database(), content);
        Write(log, std::string("log of ") + content);
        EXPECT_FALSE(ErrorSentence(folder, StoreErrorCode::Damaged).empty());
        const fs::path aside = Expect(SetAsideDatabase(folder.Path()));
        EXPECT_EQ(Bytes(aside), content);
        EXPECT_EQ(Bytes(aside.string() + "-wal"), std::string("log of ") + content);
        Expect(OpenStore(folder).AddTrust(TrustedFinding(Code(1))));
        Expect(OpenStore(folder).RemoveTrust({1}, "p", "r"));
        fs::remove(folder.Database());
    }
    EXPECT_EQ(Bytes(folder.Path() / "norvex-damaged-1.db"), "first");
    EXPECT_EQ(Bytes(folder.Path() / "norvex-damaged-2.db"), "second");
}

// Random damage to a sound file: an error or an answer, and a refused file keeps its bytes.
TEST(BadDays, RandomDamageNeverEndsInACrash) {
    const ProjectFolder folder;
    Fill(folder);
    const std::string good = Bytes(folder.Database());
    std::mt19937 random(99);
    int refused = 0;
    for (int round = 0; round < 300; ++round) {
        std::string bytes = good;
        for (auto count = 1 + random() % 20; count > 0; --count) {
            // Half of the damage goes to the headers of pages, where it hurts.
            const std::size_t place =
                random() % 2 == 0 ? random() % bytes.size() : random() % (bytes.size() / 4096) * 4096 + random() % 128;
            bytes[place] = static_cast<char>(random());
        }
        if (random() % 4 == 0) {
            bytes.resize(random() % bytes.size());
        }
        fs::remove(folder.Database().string() + "-wal");
        fs::remove(folder.Database().string() + "-shm");
        Write(folder.Database(), bytes);
        auto opened = ProjectStore::Open(folder.Path());
        if (!opened) {
            ++refused;
            ASSERT_EQ(Bytes(folder.Database()), bytes) << opened.Error().sentence;
            continue;
        }
        if (const auto runs = opened->ListRuns(); runs.Ok() && !runs->empty()) {
            (void)opened->LoadRun(runs->front().id).Ok();
        }
        (void)opened->ListTrust().Ok();
        (void)opened->AddTrust(TrustedRule("R")).Ok();
    }
    EXPECT_GT(refused, 150);
}

TEST(BadDays, ADatabaseOfANewerVersionIsLeftAsItIs) {
    const ProjectFolder folder;
    Fill(folder);
    ASSERT_TRUE(RawDatabase(folder.Database()).Run("PRAGMA user_version = 99"));
    const std::string bytes = Bytes(folder.Database());
    EXPECT_EQ(
        ErrorSentence(folder, StoreErrorCode::NewerVersion),
        "The project database " + Quoted(folder.Database()) +
            " was written by a newer version of norvex (format 99, this one knows up to 2); it was left as it is.");
    EXPECT_EQ(Bytes(folder.Database()), bytes);
}

TEST(BadDays, ADatabaseOfAnotherProgramIsLeftAsItIs) {
    const ProjectFolder folder;
    ASSERT_TRUE(RawDatabase(folder.Database()).Run("CREATE TABLE cookies (name TEXT)"));
    const std::string bytes = Bytes(folder.Database());
    EXPECT_EQ(ErrorSentence(folder, StoreErrorCode::Foreign),
              "The file " + Quoted(folder.Database()) +
                  " belongs to another program; it was left as it is. Move it away to begin a project database.");
    EXPECT_EQ(Bytes(folder.Database()), bytes);
}

TEST(BadDays, AReadOnlyProjectCanBeReadButNotWritten) {
    const ProjectFolder folder;
    Fill(folder);
    fs::permissions(folder.Database(), fs::perms{0444});
    fs::permissions(folder.Path(), fs::perms{0555});
    {
        const OrdinaryUser user;
        const std::string folderName = Quoted(folder.Path());
        EXPECT_EQ(ErrorSentence(folder, StoreErrorCode::ReadOnly),
                  "The project folder " + folderName + " cannot be written to, so nothing can be recorded there.");
        auto project = Expect(ProjectStore::Open(folder.Path(), {.access = Access::ReadOnly}));
        EXPECT_EQ(Expect(project.ListTrust()).size(), 10U);
        EXPECT_EQ(Expect(project.LoadRun(1)).findings.size(), 300U);
        EXPECT_EQ(CodeOf(project.AddTrust(TrustedRule("R"))), StoreErrorCode::ReadOnly);
        EXPECT_EQ(CodeOf(project.BeginRun(Identity())), StoreErrorCode::ReadOnly);
        EXPECT_EQ(CodeOf(RunLock::Acquire(folder.Path())), StoreErrorCode::ReadOnly);
    }
    fs::permissions(folder.Path(), fs::perms{0755});
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path()), {}), 1) << "reading leaves nothing behind";
}

TEST(BadDays, AReadOnlyProjectOfAKilledWriterSaysWhatToDo) {
    const ProjectFolder folder;
    {
        ChildProcess writer([&](int ready) {
            auto project = ProjectStore::Open(folder.Path());
            const bool added = project && project->AddTrust(TrustedFinding(Code(1)));
            Say(ready, added ? "added" : "failed");
            pause();
            return 0;
        });
        ASSERT_EQ(writer.ReadLine(), "added");
    }
    fs::remove(folder.Database().string() + "-shm");
    ASSERT_TRUE(fs::exists(folder.Database().string() + "-wal"));
    fs::permissions(folder.Path(), fs::perms{0555});
    {
        const OrdinaryUser user;
        EXPECT_EQ(ErrorSentence(folder, StoreErrorCode::ReadOnly, {.access = Access::ReadOnly}),
                  "The project database " + Quoted(folder.Database()) +
                      " was not closed properly and the project folder cannot be written to; open it once with the "
                      "right to write.");
    }
    fs::permissions(folder.Path(), fs::perms{0755});
    auto project = Expect(ProjectStore::Open(folder.Path(), {.access = Access::ReadOnly}));
    EXPECT_EQ(Expect(project.ListTrust()).size(), 1U);
}

namespace {

// Adds entries until there is no room. Returns: how many were added; none after them may be there.
std::size_t AddUntilFull(ProjectStore& project, const fs::path& database) {
    std::size_t added = 0;
    for (int number = 0; number < 100000; ++number) {
        TrustEntry entry = TrustedRule(std::to_string(number));
        entry.reason = std::string(2000, 'r');
        const auto result = project.AddTrust(entry);
        if (!result) {
            EXPECT_EQ(result.Error().code, StoreErrorCode::DiskFull) << result.Error().sentence;
            EXPECT_EQ(result.Error().sentence, "There is no room left on the disk for the project database " +
                                                   Quoted(database) + "; what was recorded before is kept.");
            return added;
        }
        ++added;
    }
    ADD_FAILURE() << "the disk did not fill up";
    return added;
}

}  // namespace

TEST(BadDays, AFullDiskKeepsWhatWasCommitted) {
    const ProjectFolder folder;
    // A small disk of this process's own, which goes with it.
    if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", folder.Path().c_str(), "tmpfs", 0, "size=2m") != 0) {
        GTEST_SKIP()
            << "SKIPPED: mounting needs root; a limit on file sizes stands in for a full disk in another test.";
    }
    std::size_t added = 0;
    Write(folder.Path() / "ballast", std::string(200000, 'x'));
    {
        ProjectStore project = OpenStore(folder);
        added = AddUntilFull(project, folder.Database());
        EXPECT_GT(added, 50U);
        EXPECT_EQ(Expect(project.ListTrust()).size(), added);
        fs::remove(folder.Path() / "ballast");
        Expect(project.AddTrust(TrustedRule("after the clean-up")));
    }
    {
        ProjectStore project = OpenStore(folder);
        Expect(project.CheckIntegrity());
        EXPECT_EQ(Expect(project.ListTrust()).size(), added + 1);
    }
    umount(folder.Path().c_str());
}

TEST(BadDays, ALimitOnFileSizesIsLikeAFullDisk) {
    const ProjectFolder folder;
    struct rlimit before {};
    getrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, SIG_IGN);
    ProjectStore project = OpenStore(folder);
    struct rlimit small = before;
    small.rlim_cur = 600000;
    setrlimit(RLIMIT_FSIZE, &small);
    const std::size_t added = AddUntilFull(project, folder.Database());
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_GT(added, 20U);
    EXPECT_EQ(Expect(project.ListTrust()).size(), added);
    Expect(project.AddTrust(TrustedRule("after the clean-up")));
    Expect(project.CheckIntegrity());
}

TEST(BadDays, AFullDiskAtTheVeryBeginningLeavesNothingHalfMade) {
    const ProjectFolder folder;
    struct rlimit before {};
    getrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, SIG_IGN);
    struct rlimit small = before;
    small.rlim_cur = 20000;
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_FALSE(ErrorSentence(folder, StoreErrorCode::DiskFull).empty());
    setrlimit(RLIMIT_FSIZE, &before);
    Expect(OpenStore(folder).AddTrust(TrustedFinding(Code(1))));
}

TEST(Migration, RunsEveryStepOrNone) {
    const ProjectFolder folder;
    sqlite::Connection connection(folder.Database().string(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, 1000);
    const std::array<MigrationStep, 1> first{{{1, "CREATE TABLE a (x); INSERT INTO a VALUES (1);"}}};
    Migrate(connection, first);
    const std::array<MigrationStep, 3> broken{
        {first[0], {2, "ALTER TABLE a ADD COLUMN y DEFAULT 5;"}, {3, "CREATE TABLE a (x);"}}};
    EXPECT_THROW(Migrate(connection, broken), sqlite::DatabaseFailure);
    EXPECT_EQ(sqlite::QueryInteger(connection, "PRAGMA user_version"), 1);
    EXPECT_EQ(sqlite::QueryInteger(connection, "SELECT count(*) FROM pragma_table_info('a')"), 1);
    const std::array<MigrationStep, 2> good{{broken[0], broken[1]}};
    Migrate(connection, good);
    Migrate(connection, good);
    EXPECT_EQ(sqlite::QueryInteger(connection, "PRAGMA user_version"), 2);
    EXPECT_EQ(sqlite::QueryInteger(connection, "SELECT x + y FROM a"), 6);
    EXPECT_EQ(sqlite::QueryInteger(connection, "PRAGMA application_id"), kApplicationId);
}

namespace {

// A database as the first version of the tables had it, with a complete, a partial, a cancelled and a complete run.
void FillVersion1(const ProjectFolder& folder) {
    sqlite::Connection connection(folder.Database().string(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, 1000);
    Migrate(connection, MigrationSteps().first(1));
    connection.Execute(
        "INSERT INTO run (status, model_path, model_digest, model_size, configuration_digest, program_version, "
        "narrowed, started_at, ended_at, clock_went_back) VALUES "
        "('complete', 'house.ifc', 'd1', 9, 'c1', '0.1.0', 0, '2026-03-01T08:30:00Z', '2026-03-01T08:31:00Z', 0), "
        "('partial', 'house.ifc', 'd1', 9, 'c1', '0.1.0', 0, '2026-03-02T08:30:00Z', '2026-03-02T08:31:00Z', 0), "
        "('cancelled', 'house.ifc', 'd1', 9, 'c1', '0.1.0', 0, '2026-03-03T08:30:00Z', '2026-03-03T08:31:00Z', 0), "
        "('complete', 'house.ifc', 'd1', 9, 'c1', '0.1.0', 0, '2026-03-04T08:30:00Z', '2026-03-04T08:31:00Z', 0);"
        "INSERT INTO unit SELECT NULL, id, '3层', '给排水', 'CCheckPipeLoop', 'passed', 4, 0, 5, '', 0 FROM run;"
        "INSERT INTO finding SELECT NULL, id, 0, '_11111111111111111111111111111111', 'c', 's', 'ERR_SUSPECTED', 't', "
        "'l', 1, 2, 3, 0 FROM unit WHERE run_id = 1;");
}

// What the runs of such a database come to.
void ExpectRunsOfVersion1(ProjectStore& project) {
    std::vector<ModelRead> reads;
    for (const RunRecord& run : Expect(project.ListRuns())) {
        reads.push_back(run.identity.modelRead);
    }
    EXPECT_EQ(reads, (std::vector{ModelRead::Wholly, ModelRead::Unknown, ModelRead::Unknown, ModelRead::Wholly}));
    EXPECT_EQ(Expect(project.Diff(1, 2)).gone.size(), 0U) << "nobody knows what run 2 could read";
    EXPECT_EQ(Expect(project.Diff(1, 3)).gone.size(), 0U);
    EXPECT_EQ(Expect(project.Diff(1, 4)).gone.size(), 1U);
}

}  // namespace

TEST(Migration, ReadsADatabaseOfTheFirstVersionWithoutChangingIt) {
    const ProjectFolder folder;
    FillVersion1(folder);
    const std::string bytes = Bytes(folder.Database());
    {
        ProjectStore project = Expect(ProjectStore::Open(folder.Path(), {.access = Access::ReadOnly}));
        ExpectRunsOfVersion1(project);
        Expect(project.CheckIntegrity());
    }
    EXPECT_EQ(Bytes(folder.Database()), bytes);
}

TEST(Migration, BringsADatabaseOfTheFirstVersionUpToDate) {
    const ProjectFolder folder;
    FillVersion1(folder);
    ProjectStore project = OpenStore(folder);
    ExpectRunsOfVersion1(project);
    RunIdentity identity = Identity();
    identity.modelRead = ModelRead::Partly;
    EXPECT_EQ(Expect(project.BeginRun(identity)).identity, identity);
    Expect(project.CheckIntegrity());
    sqlite::Connection connection(folder.Database().string(), SQLITE_OPEN_READONLY, 1000);
    EXPECT_EQ(sqlite::QueryInteger(connection, "PRAGMA user_version"), 2);
}
