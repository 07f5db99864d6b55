// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <random>
#include <thread>

#include "tests/service/store/StoreSupport.h"
#include "tests/service/support/Program.h"

using namespace norvex::test;
using Json = nlohmann::json;

namespace {

class Memory : public Program {
  protected:
    // Four floors; a ring of water pipes on the lowest.
    static PipeModel FourFloors() {
        PipeModel model;
        model.Storey("1层", 0).System("Cold water", "DOMESTICCOLDWATER").Ring({0, 0, 2500});
        for (int floor = 2; floor <= 4; ++floor) {
            model.Storey(std::to_string(floor) + "层", floor * 3000)
                .Pipe({0, 0, floor * 3000.0}, {900, 0, floor * 3000.0});
        }
        return model;
    }

    store::ProjectStore Project() const { return std::move(*store::ProjectStore::Open(ProjectPath())); }

    // What is being written, or was when its process was killed, wherever the program writes.
    std::vector<std::string> UnfinishedFiles() const {
        std::vector<std::string> files;
        for (const std::filesystem::path& folder : {m_folder.Path(), std::filesystem::path(ProjectPath())}) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
                const std::string name = entry.path().filename().string();
                if (name.ends_with(".part") || name.starts_with("norvex-new-")) {
                    files.push_back(entry.path().string());
                }
            }
        }
        return files;
    }
};

// A report without what differs between two runs that find the same: which run it is, and what it follows.
Json WithoutRun(const std::string& text) {
    Json json = Json::parse(text);
    for (const char* field : {"run", "startedAt", "resumed", "comparison", "acceptances"}) {
        json.erase(field);
    }
    return json;
}

TEST_F(Memory, KeepsARunWithItsScopeAndFindings) {
    const std::string model = Model(FourFloors());
    ASSERT_EQ(Check(model).exitCode, 1);
    store::ProjectStore project = Project();
    const auto runs = Expect(project.ListRuns());
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(runs[0].status, store::RunStatus::Complete);
    EXPECT_EQ(runs[0].identity.modelPath, model);
    EXPECT_EQ(runs[0].identity.modelDigest.size(), 64U);
    EXPECT_EQ(runs[0].identity.modelSize, static_cast<std::int64_t>(FileText(model).size()));
    EXPECT_EQ(runs[0].identity.floors, (std::vector<std::string>{"1层", "2层", "3层", "4层"}));
    ASSERT_FALSE(runs[0].identity.rules.empty());
    for (const store::RuleModule& rule : runs[0].identity.rules) {
        EXPECT_EQ(rule.md5.size(), 32U) << rule.file;
    }
    const store::RunContents contents = Expect(project.LoadRun(runs[0].id));
    ASSERT_EQ(contents.findings.size(), 1U);
    EXPECT_EQ(contents.findings[0].unit.rule, "CCheckPipeLoop");
    EXPECT_EQ(contents.findings[0].finding.objects.size(), 4U);
}

TEST_F(Memory, LetsTheRulesSeeWhatIsAccepted) {
    const std::string model = Model(FourFloors());
    ASSERT_EQ(Check(model).exitCode, 1);
    {
        store::ProjectStore project = Project();
        Expect(project.AddTrust(TrustedFinding(Expect(project.LoadRun(1)).findings[0].finding.featureCode)));
    }
    const ProcessResult trusted = Check(model, {"--json", "-"});
    EXPECT_EQ(trusted.exitCode, 0) << trusted.err;
    EXPECT_EQ(Json::parse(trusted.out)["findings"][0]["trusted"], true);
    EXPECT_EQ(Check(model, {"--no-memory"}).exitCode, 0) << "what is accepted holds for a run that is not kept, too";
    EXPECT_EQ(Expect(Project().ListRuns()).size(), 2U);
}

TEST_F(Memory, WritesNothingWhenItIsToldSo) {
    const ProcessResult result = Check(Model(FourFloors()), {"--no-memory"});
    EXPECT_EQ(result.exitCode, 1) << result.err;
    EXPECT_FALSE(std::filesystem::exists(ProjectPath()));
    EXPECT_FALSE(std::filesystem::exists(Path("state")));
}

TEST_F(Memory, DoesNotTakeARunThatLackedPartsOfItsModelForAWholeOne) {
    ASSERT_EQ(Check(Model(FourFloors())).exitCode, 1);
    PipeModel broken;
    broken.Storey("1层", 0).System("Cold water", "DOMESTICCOLDWATER").Pipe({0, 0, 2500}, {900, 0, 2500});
    broken.Line("#9000=IFCPIPESEGMENT('x',$,((;");
    ASSERT_EQ(Check(Model(std::move(broken))).exitCode, 3);
    {
        store::ProjectStore project = Project();
        const auto runs = Expect(project.ListRuns());
        ASSERT_EQ(runs.size(), 2U);
        EXPECT_EQ(runs[1].status, store::RunStatus::Partial);
        const store::RunDiff diff = Expect(project.Diff(1, 2));
        EXPECT_TRUE(diff.gone.empty()) << "the ring may stand in what could not be read";
        EXPECT_EQ(diff.notVisited.size(), 1U);
    }
    const ProcessResult again = Check(Model(FourFloors()), {"--json", "-"});
    const Json json = Json::parse(again.out);
    EXPECT_EQ(json["comparison"]["run"], 1) << "later runs are compared with the last whole one";
}

TEST_F(Memory, CallsNothingGoneWhenARuleCrashedOnAModelThatWasNotReadWholly) {
    UseModules({"CrashingRule"});
    ASSERT_EQ(Check(Model(FourFloors()), {"--rule", "pipe-loop"}).exitCode, 1);
    PipeModel broken;
    broken.Storey("1层", 0).System("Cold water", "DOMESTICCOLDWATER").Pipe({0, 0, 2500}, {900, 0, 2500});
    broken.Storey("abort", 3000).System("Cold water", "DOMESTICCOLDWATER").Pipe({0, 0, 5500}, {900, 0, 5500});
    broken.Line("#9000=IFCPIPESEGMENT('x',$,((;");
    ASSERT_EQ(Check(Model(std::move(broken))).exitCode, 3);
    const ProcessResult diff = Run({"diff", "--project", ProjectPath(), "--from", "1", "--to", "2"});
    EXPECT_NE(diff.out.find(" 0 gone."), std::string::npos) << diff.out << diff.err;
    EXPECT_NE(diff.out.find("Parts of the model could not be read; 1 finding that is no longer found may be about"),
              std::string::npos)
        << diff.out;
    const Json report = Json::parse(Run({"report", "--project", ProjectPath(), "--json", "-"}).out);
    const auto lost = std::count_if(report["incomplete"].begin(), report["incomplete"].end(), [](const Json& sentence) {
        return sentence.get<std::string>().find("could not be read") != std::string::npos;
    });
    EXPECT_EQ(lost, 1) << report["incomplete"].dump(1);
    EXPECT_GE(report["incomplete"].size(), 2U) << "the crash is told beside it";
}

class Resume : public Memory {
  protected:
    void SetUp() override {
        UseModules({"SlowRule"});
        m_model = Model(FourFloors());
    }

    // Starts a check and kills it when it has remembered something and has more to do.
    void KillInTheMiddle(const std::vector<std::string>& arguments = {}) {
        std::vector<std::string> command{"check", m_model, "--project", ProjectPath()};
        command.insert(command.end(), arguments.begin(), arguments.end());
        for (int attempt = 0; attempt < 20; ++attempt) {
            RunningProcess check(Command(command), InFolder([] {}));
            for (std::size_t done = 0; done == 0 && IsRunning(check);) {
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
                done = UnitsOfOpenRun();
            }
            check.Signal(SIGKILL);
            if (check.Wait() == 128 + SIGKILL && UnitsOfOpenRun() > 0) {
                return;
            }
        }
        FAIL() << "the program always came to its end before it could be killed";
    }

    // How many units the interrupted run, or the one under way, has remembered; the project is
    // closed again, because a process that makes others must not have it open.
    std::size_t UnitsOfOpenRun() const {
        auto project = store::ProjectStore::Open(ProjectPath(), {.access = store::Access::ReadOnly});
        if (!project) {
            return 0;
        }
        const auto open = project->FindOpenRun();
        return open && *open ? Expect(project->UnitsOf((*open)->id)).size() : 0;
    }

    bool HasOpenRun() const {
        auto project = store::ProjectStore::Open(ProjectPath(), {.access = store::Access::ReadOnly});
        return project && Expect(project->FindOpenRun()).has_value();
    }

    static bool IsRunning(const RunningProcess& process) {
        siginfo_t state{};
        return waitid(P_PID, static_cast<id_t>(process.Id()), &state, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               state.si_pid == 0;
    }

    void ExpectRefusal(const std::string& reason, const std::vector<std::string>& arguments = {}) {
        std::vector<std::string> all = arguments;
        all.push_back("--resume");
        const ProcessResult result = Check(m_model, all);
        EXPECT_EQ(result.exitCode, 2) << result.out;
        ExpectOneSentence(result.err);
        EXPECT_NE(result.err.find("cannot be resumed"), std::string::npos) << result.err;
        EXPECT_NE(result.err.find(reason), std::string::npos) << result.err;
        EXPECT_EQ(result.out, "");
    }

    std::string m_model;
};

TEST_F(Resume, EndsWithTheResultOfARunThatWasNotInterrupted) {
    const Json whole = WithoutRun(Run({"check", m_model, "--project", Path("other"), "--json", "-"}).out);
    KillInTheMiddle();
    const std::size_t done = UnitsOfOpenRun();
    const ProcessResult resumed = Check(m_model, {"--resume", "--json", Path("a.json")});
    EXPECT_EQ(resumed.exitCode, 1) << resumed.err;
    Json json = WithoutRun(FileText(Path("a.json")));
    EXPECT_EQ(json["projectFolder"], ProjectPath());
    json["projectFolder"] = Path("other");
    EXPECT_EQ(json.dump(1), whole.dump(1));
    const std::size_t all = json["outcomes"].size();
    EXPECT_NE(resumed.err.find(fmt::format("checked {0}/{0}: ", all - done)), std::string::npos)
        << "what was done is not done again\n"
        << resumed.err;
    store::ProjectStore project = Project();
    const auto runs = Expect(project.ListRuns());
    ASSERT_EQ(runs.size(), 1U) << "it is the same run";
    EXPECT_EQ(runs[0].status, store::RunStatus::Complete);
    EXPECT_EQ(Expect(project.UnitsOf(1)).size(), all);
}

TEST_F(Resume, GoesOnAfterACancel) {
    RunningProcess check(Command({"check", m_model, "--project", ProjectPath()}), InFolder([] {}));
    while (UnitsOfOpenRun() == 0 && IsRunning(check)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    check.Signal(SIGINT);
    ASSERT_EQ(check.Wait(), 3);
    ASSERT_EQ(Expect(Project().ListRuns())[0].status, store::RunStatus::Cancelled);
    const ProcessResult resumed = Check(m_model, {"--resume", "--json", "-"});
    EXPECT_EQ(resumed.exitCode, 1) << resumed.err;
    const Json whole = WithoutRun(Run({"check", m_model, "--project", Path("other"), "--json", "-"}).out);
    EXPECT_EQ(WithoutRun(resumed.out)["findings"], whole["findings"]);
    EXPECT_EQ(WithoutRun(resumed.out)["totals"], whole["totals"]);
}

TEST_F(Resume, LeavesAnInterruptedRunAloneUnlessAsked) {
    KillInTheMiddle();
    const ProcessResult fresh = Check(m_model, {"--quiet"});
    EXPECT_EQ(fresh.exitCode, 1);
    ExpectOneSentence(fresh.err);
    EXPECT_NE(fresh.err.find("was interrupted"), std::string::npos) << fresh.err;
    EXPECT_NE(fresh.err.find("--resume"), std::string::npos) << fresh.err;
    const auto runs = Expect(Project().ListRuns());
    EXPECT_EQ(runs[runs.size() - 2].status, store::RunStatus::Running);
    EXPECT_EQ(runs.back().status, store::RunStatus::Complete);
}

TEST_F(Resume, SaysWhenThereIsNothingToResume) {
    const ProcessResult never = Check(m_model, {"--resume"});
    EXPECT_EQ(never.exitCode, 2);
    ExpectOneSentence(never.err);
    EXPECT_NE(never.err.find("nothing to resume"), std::string::npos) << never.err;
    ASSERT_EQ(Check(m_model).exitCode, 1);
    const ProcessResult complete = Check(m_model, {"--resume"});
    EXPECT_EQ(complete.exitCode, 2);
    EXPECT_NE(complete.err.find("nothing to resume"), std::string::npos) << complete.err;
}

TEST_F(Resume, RefusesAnotherModel) {
    KillInTheMiddle();
    WriteFile(m_model, FileText(m_model) + "\n");
    ExpectRefusal("house.ifc\" has changed");
}

TEST_F(Resume, RefusesAnotherConfiguration) {
    KillInTheMiddle();
    std::filesystem::copy(std::filesystem::path(m_program).parent_path() / "NorvexConfig.xml",
                          std::filesystem::path(ProjectPath()) / "NorvexConfig.xml");
    WriteFile(std::filesystem::path(ProjectPath()) / "NorvexConfig.xml",
              FileText(std::filesystem::path(ProjectPath()) / "NorvexConfig.xml") + "<!-- changed -->");
    ExpectRefusal("the configuration has changed");
}

TEST_F(Resume, RefusesAnotherBuildOfARuleModule) {
    KillInTheMiddle();
    const std::filesystem::path module = std::filesystem::path(m_program).parent_path() / "Norvex" / "SlowRule.Arx";
    // What stands behind a shared library's last section changes its digest and nothing else.
    std::ofstream(module, std::ios::binary | std::ios::app) << "x";
    ExpectRefusal("the rule module SlowRule.Arx has changed");
}

TEST_F(Resume, RefusesAnotherScope) {
    KillInTheMiddle();
    ExpectRefusal("other floors are to be checked", {"--floor", "1层"});
    ExpectRefusal("the rule CCheckPipeLoop is no longer part of it", {"--rule", "slow"});
}

// Kills the program at a hundred moments spread over the length of its run and a little beyond, while trust is given
// beside it.
TEST_F(Resume, SurvivesAKillAtAHundredRandomMoments) {
    // The death of a process takes nothing of what it has written, so the project may lie in memory; on a disk that is
    // busy otherwise, the hundred runs would wait for minutes.
    setenv("TMPDIR", "/dev/shm", 1);
    const TemporaryFolder inMemory;
    unsetenv("TMPDIR");
    m_projects = inMemory.Path();
    const std::vector<std::string> check{"--rule", "slow", "--rule", "pipe-loop", "--json", Path("a.json")};
    std::vector<std::string> resume = check;
    resume.push_back("--resume");
    std::vector<std::string> command{"check", m_model, "--project", ProjectPath()};
    command.insert(command.end(), check.begin(), check.end());
    ASSERT_EQ(Check(m_model, check).exitCode, 1);
    // A remembered check may wait for the next second to name its result files; the run itself is over before.
    std::vector<std::string> forgotten = check;
    forgotten.push_back("--no-memory");
    const auto begin = std::chrono::steady_clock::now();
    ASSERT_EQ(Check(m_model, forgotten).exitCode, 1);
    const auto length = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begin);
    ASSERT_EQ(Check(m_model, check).exitCode, 1);
    const Json whole = WithoutRun(FileText(Path("a.json")));
    std::mt19937 random(20260301);
    std::uniform_int_distribution<std::int64_t> delay(0, length.count() * 5 / 4);
    int killed = 0;
    int resumed = 0;
    for (int round = 0; round < 100; ++round) {
        std::string code = fmt::format("_{:032x}", round);
        {
            RunningProcess running(Command(command), InFolder([] {}));
            const auto moment = std::chrono::steady_clock::now() + std::chrono::microseconds(delay(random));
            Expect(Project().AddTrust(TrustedFinding(code)));
            std::this_thread::sleep_until(moment);
            running.Signal(SIGKILL);
            killed += running.Wait() == 128 + SIGKILL ? 1 : 0;
        }
        const bool isOpen = HasOpenRun();
        const ProcessResult after = Check(m_model, isOpen ? resume : check);
        ASSERT_EQ(after.exitCode, 1) << after.err;
        ASSERT_EQ(WithoutRun(FileText(Path("a.json"))).dump(1), whole.dump(1)) << "after kill " << round;
        resumed += isOpen ? 1 : 0;
        ASSERT_EQ(UnfinishedFiles(), std::vector<std::string>{}) << "after kill " << round;
        store::ProjectStore project = Project();
        ASSERT_TRUE(project.CheckIntegrity().Ok());
        ASSERT_EQ(Expect(project.ListTrust()).size(), static_cast<std::size_t>(round) + 1) << "after kill " << round;
    }
    // How many fall where depends on the machine's other work; these bounds only make sure that kills were tried.
    EXPECT_GE(killed, 40) << "too many runs came to their end before they could be killed";
    EXPECT_GE(resumed, 3) << "too few kills fell into the run itself";
}

}  // namespace
