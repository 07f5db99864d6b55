// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sched.h>
#include <sqlite3.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <regex>
#include <thread>

#include "tests/service/store/StoreSupport.h"
#include "tests/service/support/Program.h"

using namespace norvex::test;
using Json = nlohmann::json;

namespace {

// What the program says and keeps when something around it is not as it should be.
class ProgramOnABadDay : public Program {
  protected:
    void SetUp() override { m_model = Model(Building(4)); }

    // Floors with a pipe each, and a ring of pipes on the lowest.
    static PipeModel Building(int floors) {
        PipeModel model;
        model.Storey("1层", 0).System("Cold water", "DOMESTICCOLDWATER").Ring({0, 0, 2500});
        for (int floor = 2; floor <= floors; ++floor) {
            model.Storey(fmt::format("{}层", floor), floor * 3000.0)
                .Pipe({0, 0, floor * 3000.0}, {900, 0, floor * 3000.0});
        }
        return model;
    }

    // From now on a check takes so long that a test comes in time for the middle of it, also on a busy computer.
    void UseSlowCheck() {
        UseModules({"SlowRule"});
        m_model = Model(Building(40));
    }

    // A project with one complete run and one trust entry in it.
    void UseProjectWithMemory() {
        ASSERT_EQ(Check(m_model).exitCode, 1);
        Expect(Project().AddTrust(TrustedRule("CCheckPipeLink")));
    }

    store::ProjectStore Project() const { return std::move(*store::ProjectStore::Open(ProjectPath())); }

    void ExpectMemoryOfOneRun() const {
        store::ProjectStore project = Project();
        EXPECT_TRUE(project.CheckIntegrity().Ok());
        EXPECT_EQ(Expect(project.ListRuns()).size(), 1U);
        EXPECT_EQ(Expect(project.ListTrust()).size(), 1U);
    }

    // Nothing was checked, and one sentence says why.
    void ExpectRefusal(const ProcessResult& result, const std::string& reason) const {
        EXPECT_EQ(result.exitCode, 2) << result.out << result.err;
        ExpectOneSentence(result.err);
        EXPECT_NE(result.err.find(reason), std::string::npos) << result.err;
        EXPECT_EQ(result.out, "");
    }

    // Waits until a check has remembered the first of its tasks.
    void AwaitFirstUnit() const {
        for (int tries = 0; tries < 5000; ++tries) {
            auto project = store::ProjectStore::Open(ProjectPath(), {.access = store::Access::ReadOnly});
            if (project) {
                const auto open = project->FindOpenRun();
                if (open && *open && !Expect(project->UnitsOf((*open)->id)).empty()) {
                    return;
                }
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        ADD_FAILURE() << "the check did not begin";
    }

    std::string Database() const { return ProjectPath() + "/norvex.db"; }

    std::string m_model;
};

// Keeps everybody else from writing to a database while it lives.
class WriteLock {
  public:
    // The process is stopped at a moment at which it does not write itself, and goes on once the lock is there.
    WriteLock(const std::string& database, const RunningProcess& process) {
        sqlite3_open(database.c_str(), &m_handle);
        for (int tries = 0; tries < 1000; ++tries) {
            process.Signal(SIGSTOP);
            const bool isLocked = sqlite3_exec(m_handle, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) == SQLITE_OK;
            process.Signal(SIGCONT);
            if (isLocked) {
                return;
            }
            std::this_thread::sleep_for(std::chrono::microseconds(300));
        }
        ADD_FAILURE() << "the database was never free";
    }
    explicit WriteLock(const std::string& database) {
        sqlite3_open(database.c_str(), &m_handle);
        EXPECT_EQ(sqlite3_exec(m_handle, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
    }
    WriteLock(const WriteLock&) = delete;
    WriteLock& operator=(const WriteLock&) = delete;
    ~WriteLock() { sqlite3_close(m_handle); }

  private:
    sqlite3* m_handle = nullptr;
};

TEST_F(ProgramOnABadDay, ChecksNothingWhenTheDiskIsFullFromTheBeginning) {
    UseProjectWithMemory();
    const ProcessResult result = Check(m_model, {}, [] {
        const rlimit limit{512, 512};
        setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, SIG_DFL);
    });
    EXPECT_EQ(result.exitCode, 3) << result.out << result.err;
    ExpectOneSentence(result.err);
    EXPECT_NE(result.err.find("no room left on the disk"), std::string::npos) << result.err;
    EXPECT_EQ(result.out, "");
    ExpectMemoryOfOneRun();
}

TEST_F(ProgramOnABadDay, DeliversTheReportWhenTheDiskBecomesFullAndGoesOnWhenThereIsRoom) {
    UseSlowCheck();
    std::filesystem::create_directory(ProjectPath());
    // A small disk of this process and its children, which goes with them.
    if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", ProjectPath().c_str(), "tmpfs", 0, "size=16m") != 0) {
        GTEST_SKIP() << "SKIPPED: mounting a small disk needs root.";
    }
    const std::string ballast = ProjectPath() + "/ballast";
    std::string errors = Path("errors");
    RunningProcess check(
        Command({"check", m_model, "--project", ProjectPath(), "--rule", "slow", "--json", Path("a.json"), "--quiet"}),
        InFolder([&] { dup2(open(errors.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO); }));
    AwaitFirstUnit();
    check.Signal(SIGSTOP);
    {
        std::ofstream file(ballast, std::ios::binary);
        while (file << std::string(4096, 'x') << std::flush) {
        }
    }
    check.Signal(SIGCONT);
    EXPECT_EQ(check.Wait(), 3);
    EXPECT_NE(FileText(errors).find("Not all of run 1 is remembered: There is no room left on the disk"),
              std::string::npos)
        << FileText(errors);
    const Json delivered = Json::parse(FileText(Path("a.json")));
    EXPECT_EQ(delivered["complete"], true);

    std::filesystem::remove(ballast);
    const ProcessResult resumed = Check(m_model, {"--resume", "--rule", "slow", "--json", Path("b.json")});
    EXPECT_EQ(resumed.exitCode, 1) << resumed.err;
    const Json whole = Json::parse(FileText(Path("b.json")));
    EXPECT_EQ(whole["findings"], delivered["findings"]);
    EXPECT_EQ(whole["outcomes"], delivered["outcomes"]);
    EXPECT_EQ(Expect(Project().ListRuns())[0].status, store::RunStatus::Complete);
    umount(ProjectPath().c_str());
}

TEST_F(ProgramOnABadDay, SaysThatAProjectIsReadOnlyAndChecksItWithoutMemory) {
    UseProjectWithMemory();
    ASSERT_EQ(chmod(m_folder.Path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(ProjectPath().c_str(), 0555), 0);
    const auto asOrdinaryUser = [] {
        // Root passes over permissions, unless the programs that it starts may not. Another user could perhaps not even
        // reach the program.
        if (geteuid() == 0 && prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE) != 0) {
            _exit(99);
        }
    };
    const ProcessResult refused = Check(m_model, {}, asOrdinaryUser);
    ExpectRefusal(refused, "cannot be written to");
    EXPECT_NE(refused.err.find("--no-memory"), std::string::npos) << refused.err;
    const ProcessResult checked = Check(m_model, {"--no-memory", "--json", "-"}, asOrdinaryUser);
    EXPECT_EQ(checked.exitCode, 1) << checked.err;
    EXPECT_EQ(Json::parse(checked.out)["acceptances"].size(), 1U) << "what is accepted holds";
    ASSERT_EQ(chmod(ProjectPath().c_str(), 0755), 0);
    ExpectMemoryOfOneRun();
}

TEST_F(ProgramOnABadDay, ChecksNothingWhenTheDatabaseStaysLocked) {
    UseProjectWithMemory();
    {
        const WriteLock lock(Database());
        ExpectRefusal(Check(m_model), "another process");
    }
    ExpectMemoryOfOneRun();
}

TEST_F(ProgramOnABadDay, DeliversTheReportWhenTheDatabaseBecomesLocked) {
    UseSlowCheck();
    RunningProcess check(
        Command({"check", m_model, "--project", ProjectPath(), "--rule", "slow", "--json", Path("a.json")}),
        InFolder([] {}));
    AwaitFirstUnit();
    {
        const WriteLock lock(Database(), check);
        EXPECT_EQ(check.Wait(), 3);
    }
    EXPECT_EQ(Json::parse(FileText(Path("a.json")))["complete"], true);
    const ProcessResult resumed = Check(m_model, {"--resume", "--rule", "slow", "--json", Path("b.json")});
    EXPECT_EQ(resumed.exitCode, 1) << resumed.err;
    EXPECT_EQ(Json::parse(FileText(Path("b.json")))["findings"], Json::parse(FileText(Path("a.json")))["findings"]);
}

TEST_F(ProgramOnABadDay, SaysHowToSetADamagedDatabaseAside) {
    UseProjectWithMemory();
    std::string bytes = FileText(Database());
    const std::string sound = bytes;
    bytes.replace(0, 4096, std::string(4096, '?'));
    WriteFile(Database(), bytes);
    ExpectRefusal(Check(m_model), "norvex runs --set-aside-damaged");
    ExpectRefusal(Run({"trust", "list", "--project", ProjectPath()}), "norvex runs --set-aside-damaged");
    EXPECT_EQ(FileText(Database()), bytes) << "it is left as it is";

    const ProcessResult moved = Run({"runs", "--project", ProjectPath(), "--set-aside-damaged"});
    EXPECT_EQ(moved.exitCode, 0) << moved.err;
    EXPECT_EQ(FileText(ProjectPath() + "/norvex-damaged-1.db"), bytes);
    EXPECT_EQ(Check(m_model).exitCode, 1);
    EXPECT_EQ(Expect(Project().ListRuns()).size(), 1U);

    const ProcessResult again = Run({"runs", "--project", ProjectPath(), "--set-aside-damaged"});
    ExpectRefusal(again, "is sound; nothing was moved");
}

TEST_F(ProgramOnABadDay, IsIncompleteWithARuleModuleForAnotherVersion) {
    UseModules({"OldRuleApi"});
    const ProcessResult result = Check(m_model, {"--json", Path("a.json")});
    EXPECT_EQ(result.exitCode, 3) << result.err;
    EXPECT_NE(result.out.find("Incomplete: Rule module OldRuleApi.Arx cannot be used: it was built for version"),
              std::string::npos)
        << result.out;
    EXPECT_EQ(Json::parse(FileText(Path("a.json")))["findings"].size(), 1U) << "the other rules have checked";
}

TEST_F(ProgramOnABadDay, LetsOneCheckOfAProjectRunAtATime) {
    UseSlowCheck();
    RunningProcess first(Command({"check", m_model, "--project", ProjectPath(), "--rule", "slow"}), InFolder([] {}));
    AwaitFirstUnit();
    first.Signal(SIGSTOP);
    const std::string busy = fmt::format("is being checked by process {}", first.Id());
    ExpectRefusal(Check(m_model), busy);
    ExpectRefusal(Check(m_model, {"--resume"}), busy);
    WriteFile(Path("no model.ifc"), "This is no model.");
    ExpectRefusal(Check(Path("no model.ifc"), {"--resume"}), busy);
    EXPECT_NE(Check(Path("no model.ifc"), {"--no-memory"}).err.find("no model.ifc"), std::string::npos)
        << "what writes nothing need not wait";
    const ProcessResult listed = Run({"runs", "--project", ProjectPath()});
    EXPECT_EQ(listed.exitCode, 0) << listed.err;
    EXPECT_NE(listed.out.find("under way"), std::string::npos) << listed.out;
    first.Signal(SIGCONT);
    EXPECT_EQ(first.Wait(), 1);
    const auto runs = Expect(Project().ListRuns());
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(runs[0].status, store::RunStatus::Complete);
}

TEST_F(ProgramOnABadDay, OrdersRunsByNumberWhenTheClockJumpsBack) {
    UseProjectWithMemory();
    {
        SetClock future;
        future.day = "2099-01-01";
        auto project = std::move(*store::ProjectStore::Open(ProjectPath(), {.clock = &future}));
        const auto identity = Expect(project.ListRuns())[0].identity;
        const store::RunId run = Expect(project.BeginRun(identity)).id;
        Expect(project.EndRun(run, store::RunStatus::Complete));
    }
    const ProcessResult result = Check(m_model, {"--quiet", "--json", Path("a.json")});
    EXPECT_EQ(result.exitCode, 1);
    ExpectOneSentence(result.err);
    EXPECT_NE(result.err.find("The computer's clock says"), std::string::npos) << result.err;
    const Json json = Json::parse(FileText(Path("a.json")));
    EXPECT_EQ(json["run"]["number"], 3);
    EXPECT_EQ(json["comparison"]["run"], 2) << "the run before is the one with the number before";
    const ProcessResult listed = Run({"runs", "--project", ProjectPath()});
    EXPECT_NE(listed.out.find("a clock was wrong"), std::string::npos) << listed.out;
}

TEST_F(ProgramOnABadDay, BringsExpiredTrustBackLoudly) {
    ASSERT_EQ(Check(m_model).exitCode, 1);
    {
        SetClock past;
        past.day = "2020-01-01";
        auto project = std::move(*store::ProjectStore::Open(ProjectPath(), {.clock = &past}));
        store::TrustEntry entry = TrustedFinding(Expect(project.LoadRun(1)).findings[0].finding.featureCode);
        entry.expiresOn = "2020-06-30";
        Expect(project.AddTrust(entry));
    }
    const ProcessResult result = Check(m_model, {"--quiet"});
    EXPECT_EQ(result.exitCode, 1);
    // Long lines are wrapped.
    const std::string out = std::regex_replace(result.out, std::regex("\\s+"), " ");
    EXPECT_NE(out.find("Expired: trust entry 1"), std::string::npos) << result.out;
    EXPECT_NE(out.find("ended on 2020-06-30; 1 finding is back."), std::string::npos) << result.out;
}

TEST_F(ProgramOnABadDay, WorksInAPathWithBlanksAndChinese) {
    const std::string folder = Path("我的 项目/机电 (final) 'v2'");
    std::filesystem::create_directories(folder);
    std::filesystem::copy(m_model, folder + "/模型 1.ifc");
    const std::string model = folder + "/模型 1.ifc";
    ASSERT_EQ(Run({"check", model, "--project", folder + "/数据 库"}).exitCode, 1);
    ASSERT_EQ(Run({"check", model, "--project", folder + "/数据 库"}).exitCode, 1);
    const ProcessResult diff = Run({"diff"});
    EXPECT_EQ(diff.exitCode, 0) << diff.err;
    EXPECT_NE(diff.out.find(folder + "/数据 库"), std::string::npos) << "the project checked last\n" << diff.out;
    EXPECT_NE(diff.out.find("0 new, 1 persisting, 0 gone."), std::string::npos) << diff.out;
}

}  // namespace
