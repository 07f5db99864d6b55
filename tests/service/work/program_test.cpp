// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <pty.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <nlohmann/json.hpp>

#include "support/DeniedCalls.h"
#include "tests/service/support/PipeModel.h"
#include "tests/service/support/RunFixture.h"
#include "tests/service/work/User.h"

namespace {

using namespace norvex::test;
using Json = nlohmann::json;

// norvex with a rule that does what the floor's name says, on a model with such floors, while it runs.
class RunningProgram : public testing::Test {
  protected:
    RunningProgram() {
        const std::filesystem::path built = std::filesystem::path(NORVEX_PROGRAM).parent_path();
        std::filesystem::create_directories(m_folder / "app/Norvex");
        for (const auto& entry : std::filesystem::directory_iterator(built)) {
            if (!entry.is_directory()) {
                std::filesystem::copy(entry.path(), m_folder / "app" / entry.path().filename(),
                                      std::filesystem::copy_options::copy_symlinks);
            }
        }
        std::filesystem::copy(TestModule("CrashingRule"), m_folder / "app/Norvex/CrashingRule.Arx");
    }
    ~RunningProgram() override {
        if (m_process > 0) {
            kill(m_process, SIGKILL);
            waitpid(m_process, nullptr, 0);
        }
    }

    std::string Path(const std::string& name) const { return (m_folder / name).string(); }
    std::string Text(const std::string& name) const { return FileText(m_folder / name); }

    void WriteModel(const std::vector<std::string>& floors) const {
        PipeModel model;
        for (const std::string& floor : floors) {
            model.Storey(floor, 0).System("Cold water", "DOMESTICCOLDWATER").Pipe({0, 0, 0}, {1000, 0, 0});
        }
        WriteFile(m_folder / "house.ifc", model.Text());
    }

    // Standard output goes to a file, or to the given descriptor; so does standard error. inChild runs in the new
    // process before the program.
    void Start(
        const std::string& project, int output = -1, int error = -1, const std::function<void()>& inChild = [] {}) {
        m_project = Path(project);
        m_process = fork();
        if (m_process == 0) {
            dup2(output >= 0 ? output : open(Path("out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
            dup2(error >= 0 ? error : open(Path("err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
            inChild();
            execl(Path("app/norvex").c_str(), "norvex", "check", Path("house.ifc").c_str(), "--project",
                  m_project.c_str(), "--json", Path("a.json").c_str(), "-j", "2", "--rule-timeout", "100", nullptr);
            _exit(127);
        }
    }
    // Until a line of the status begins so.
    bool WaitForStatus(const std::string& begin) const {
        return Eventually([&] { return Control("status").out.find(begin) != std::string::npos; });
    }
    ProcessResult Control(const std::string& wish) const {
        return RunProcess({Path("app/norvex"), "control", wish, "--project", m_project});
    }
    int End() {
        int status = 0;
        waitpid(m_process, &status, 0);
        m_process = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    std::vector<std::string> UnfinishedFiles() const {
        std::vector<std::string> files;
        for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path())) {
            if (entry.path().extension() == ".part") {
                files.push_back(entry.path().filename());
            }
        }
        return files;
    }

    TemporaryFolder m_folder;
    std::string m_project;
    pid_t m_process = -1;
};

TEST_F(RunningProgram, ObeysWhatNorvexControlWishes) {
    WriteModel({"hang politely"});
    Start("project");
    ASSERT_TRUE(WaitForStatus("CCheckCrashing, hang politely, 给排水: ")) << Control("status").err;
    EXPECT_EQ(Control("status").out.find("running: 0 of "), 0U) << Control("status").out;
    EXPECT_EQ(Control("pause").out.find("paused: 0 of "), 0U);
    EXPECT_EQ(Control("hold-floors").out.find("paused, floors are held: "), 0U);
    EXPECT_EQ(Control("release-floors").out.find("paused: "), 0U);
    EXPECT_EQ(Control("continue").out.find("running: "), 0U);
    EXPECT_EQ(Control("cancel").out.find("cancelling: "), 0U);
    EXPECT_EQ(End(), 3);
    const Json json = Json::parse(Text("a.json"));
    EXPECT_EQ(json["complete"], false);
    EXPECT_EQ(json["findings"].size(), 1U);
    EXPECT_NE(Text("out").find("this report is partial"), std::string::npos) << Text("out");
    const ProcessResult late = Control("status");
    EXPECT_EQ(late.exitCode, 2);
    EXPECT_NE(late.err.find("No check of the project"), std::string::npos) << late.err;
}

TEST_F(RunningProgram, CanBeControlledInAProjectOfALongChineseName) {
    WriteModel({"hang politely"});
    std::string project = "项目 ";
    for (int i = 0; i < 20; ++i) {
        project += "给排水";
    }
    Start(project + "/" + project);
    ASSERT_TRUE(WaitForStatus("running: "));
    EXPECT_EQ(Control("cancel").exitCode, 0);
    EXPECT_EQ(End(), 3);
}

TEST_F(RunningProgram, IsForItsUserAlone) {
    WriteModel({"hang politely"});
    Start("project");
    ASSERT_TRUE(WaitForStatus("running: "));
    struct stat file {};
    ASSERT_EQ(stat(Path("project/control.socket").c_str(), &file), 0);
    EXPECT_TRUE(S_ISSOCK(file.st_mode));
    EXPECT_EQ(file.st_mode & 0777, 0600U);
    Control("cancel");
    End();
    EXPECT_NE(stat(Path("project/control.socket").c_str(), &file), 0) << "it stays behind";
}

TEST_F(RunningProgram, ReplacesTheSocketOfARunThatWasKilled) {
    WriteModel({"hang politely"});
    Start("project");
    ASSERT_TRUE(WaitForStatus("running: "));
    kill(m_process, SIGKILL);
    End();
    ASSERT_TRUE(std::filesystem::exists(Path("project/control.socket")));
    EXPECT_EQ(Control("status").exitCode, 2);
    Start("project");
    ASSERT_TRUE(WaitForStatus("running: "));
    Control("cancel");
    EXPECT_EQ(End(), 3);
}

TEST_F(RunningProgram, IsStoppedByTheTerminalAndGoesOn) {
    WriteModel({"hang politely", "hang"});
    Start("project");
    ASSERT_TRUE(WaitForStatus("CCheckCrashing, hang, 给排水: "));
    const std::vector<pid_t> workers = ChildrenOf(m_process);
    ASSERT_EQ(workers.size(), 2U);
    kill(m_process, SIGTSTP);
    int status = 0;
    ASSERT_EQ(waitpid(m_process, &status, WUNTRACED), m_process);
    EXPECT_TRUE(WIFSTOPPED(status)) << "so that the shell gets its terminal back";
    long before = 0;
    long after = 0;
    for (const pid_t worker : workers) {
        before += StateOf(worker).ticks;
    }
    Sleep(300);
    for (const pid_t worker : workers) {
        after += StateOf(worker).ticks;
    }
    EXPECT_LE(after - before, 1) << "its workers use the processor";
    kill(m_process, SIGCONT);
    for (const pid_t worker : workers) {
        const long stopped = StateOf(worker).ticks;
        EXPECT_TRUE(Eventually([&] { return StateOf(worker).ticks > stopped; })) << "it does not go on";
    }
    EXPECT_TRUE(WaitForStatus("running: "));
    kill(m_process, SIGINT);
    EXPECT_EQ(End(), 3);
}

TEST_F(RunningProgram, IsStoppedByTheTerminalWhileItIsPaused) {
    WriteModel({"hang politely"});
    Start("project");
    ASSERT_TRUE(WaitForStatus("CCheckCrashing, hang politely, 给排水: "));
    kill(m_process, SIGUSR1);
    ASSERT_TRUE(WaitForStatus("paused: "));
    // Its worker has come to wait by then, so that nothing but the wish itself can wake it.
    Sleep(300);
    kill(m_process, SIGTSTP);
    int status = 0;
    EXPECT_TRUE(Eventually([&] { return waitpid(m_process, &status, WUNTRACED | WNOHANG) == m_process; }));
    EXPECT_TRUE(WIFSTOPPED(status)) << "the shell does not get its terminal back";
    kill(m_process, SIGCONT);
    EXPECT_TRUE(WaitForStatus("paused: ")) << "it was continued by the terminal, not by who paused it";
    kill(m_process, SIGUSR2);
    EXPECT_TRUE(WaitForStatus("running: "));
    kill(m_process, SIGINT);
    EXPECT_EQ(End(), 3);
}

TEST_F(RunningProgram, PausesAndContinuesBySignals) {
    WriteModel({"hang politely"});
    Start("project");
    ASSERT_TRUE(WaitForStatus("running: "));
    kill(m_process, SIGUSR1);
    EXPECT_TRUE(WaitForStatus("paused: "));
    kill(m_process, SIGUSR2);
    EXPECT_TRUE(WaitForStatus("running: "));
    kill(m_process, SIGTERM);
    EXPECT_EQ(End(), 3);
    EXPECT_NE(Text("err").find("paused\ngoing on\n"), std::string::npos) << Text("err");
}

TEST_F(RunningProgram, EndsCleanlyWhenItIsInterruptedWhileItReadsTheModel) {
    PipeModel model;
    model.Storey("1F", 0);
    for (int i = 0; i < 60'000; ++i) {
        model.Pipe({0, i * 10.0, 0}, {1000, i * 10.0, 0});
    }
    WriteFile(m_folder / "house.ifc", model.Text());
    Start("project");
    ASSERT_TRUE(Eventually([&] { return !UnfinishedFiles().empty(); }));
    kill(m_process, SIGINT);
    EXPECT_EQ(End(), 3);
    EXPECT_EQ(Text("err"), "norvex: Interrupted before there was a result; nothing was written.\n");
    EXPECT_EQ(UnfinishedFiles(), std::vector<std::string>());
    EXPECT_FALSE(std::filesystem::exists(Path("a.json")));
}

// A pipe that is full and that nobody reads.
class FullPipe {
  public:
    FullPipe() {
        if (pipe2(m_ends.data(), O_CLOEXEC) != 0) {
            std::abort();
        }
        fcntl(m_ends[1], F_SETFL, O_NONBLOCK);
        while (write(m_ends[1], "x", 1) == 1) {
        }
        fcntl(m_ends[1], F_SETFL, 0);
    }
    FullPipe(const FullPipe&) = delete;
    FullPipe& operator=(const FullPipe&) = delete;
    ~FullPipe() {
        close(m_ends[0]);
        close(m_ends[1]);
    }
    int End() const { return m_ends[1]; }

  private:
    std::array<int, 2> m_ends{};
};

TEST_F(RunningProgram, EndsAtOnceAtTheSecondInterrupt) {
    WriteModel({"hang politely"});
    // The program cannot end by itself.
    const FullPipe pipe;
    Start("project", pipe.End());
    ASSERT_TRUE(WaitForStatus("running: "));
    kill(m_process, SIGINT);
    Sleep(500);
    EXPECT_EQ(waitpid(m_process, nullptr, WNOHANG), 0) << "the first interrupt lets it deliver its result";
    kill(m_process, SIGINT);
    EXPECT_EQ(End(), 3);
    EXPECT_NE(Text("err").find("Interrupted again"), std::string::npos) << Text("err");
    EXPECT_EQ(UnfinishedFiles(), std::vector<std::string>());
}

TEST_F(RunningProgram, LeavesNoUnfinishedFileOfAReportThatIsInterrupted) {
    WriteModel({"1F"});
    Start("project");
    ASSERT_EQ(End(), 1);
    // Nobody reads from the pipe, so that it cannot be opened.
    ASSERT_EQ(mkfifo(Path("page.html").c_str(), 0600), 0);
    m_process = fork();
    if (m_process == 0) {
        dup2(open(Path("err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
        execl(Path("app/norvex").c_str(), "norvex", "report", "--project", m_project.c_str(), "--json",
              Path("b.json").c_str(), "--html", Path("page.html").c_str(), nullptr);
        _exit(127);
    }
    ASSERT_TRUE(Eventually([&] { return !UnfinishedFiles().empty(); })) << Text("err");
    kill(m_process, SIGTERM);
    EXPECT_EQ(End(), 3) << Text("err");
    EXPECT_EQ(UnfinishedFiles(), std::vector<std::string>());
}

// Whether the program ends by itself, within ten seconds. The budget for loading a module is as long.
bool EndsSoon(pid_t process, int& exitCode) {
    int status = 0;
    const bool hasEnded = Eventually([&] { return waitpid(process, &status, WNOHANG) == process; });
    exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return hasEnded;
}

TEST_F(RunningProgram, EndsAtOnceThoughNobodyReadsWhatItSays) {
    WriteModel({"hang politely"});
    const FullPipe pipe;
    Start("project", pipe.End(), pipe.End());
    ASSERT_TRUE(Eventually([&] { return !UnfinishedFiles().empty(); }));
    Sleep(300);
    kill(m_process, SIGTERM);
    Sleep(100);
    kill(m_process, SIGTERM);
    int exitCode = -1;
    ASSERT_TRUE(EndsSoon(m_process, exitCode));
    m_process = -1;
    EXPECT_EQ(exitCode, 3);
    EXPECT_EQ(UnfinishedFiles(), std::vector<std::string>());
}

TEST_F(RunningProgram, EndsAtTheFirstInterruptWhileAModuleHangs) {
    WriteModel({"1F"});
    std::filesystem::copy(TestModule("CrashingModule"), m_folder / "app/Norvex/CrashingModule.Arx");
    Start("project", -1, -1, [] { setenv("NORVEX_TEST_LOADING", "hang", 1); });
    // The copy in which the module is tried.
    ASSERT_TRUE(Eventually([&] { return !ChildrenOf(m_process).empty(); }));
    const std::vector<pid_t> copies = ChildrenOf(m_process);
    kill(m_process, SIGINT);
    EXPECT_EQ(End(), 3);
    EXPECT_EQ(Text("err"), "norvex: Interrupted before there was a result; nothing was written.\n");
    EXPECT_EQ(UnfinishedFiles(), std::vector<std::string>());
    EXPECT_FALSE(std::filesystem::exists(Path("a.json")));
    for (const pid_t copy : copies) {
        EXPECT_TRUE(Eventually([&] { return StateOf(copy).state.empty() || StateOf(copy).state == "Z"; }));
    }
}

TEST_F(RunningProgram, IsEndedBySignalsThoughAModuleHeldThemBack) {
    WriteModel({"hang politely"});
    std::filesystem::copy(TestModule("CrashingModule"), m_folder / "app/Norvex/CrashingModule.Arx");
    Start("project", -1, -1, [] { setenv("NORVEX_TEST_LOADING", "ignore signals", 1); });
    ASSERT_TRUE(WaitForStatus("running: "));
    kill(m_process, SIGTERM);
    int exitCode = -1;
    ASSERT_TRUE(EndsSoon(m_process, exitCode));
    m_process = -1;
    EXPECT_EQ(exitCode, 3);
}

TEST_F(RunningProgram, IsEndedBySignalsThoughItsStarterHeldThemBack) {
    WriteModel({"hang politely"});
    Start("project", -1, -1, [] {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_BLOCK, &all, nullptr);
    });
    ASSERT_TRUE(WaitForStatus("running: "));
    kill(m_process, SIGTERM);
    int exitCode = -1;
    ASSERT_TRUE(EndsSoon(m_process, exitCode));
    m_process = -1;
    EXPECT_EQ(exitCode, 3);
}

// The program on a system that lacks something, to its end.
class ProgramWithout : public RunningProgram {
  protected:
    int ExitCodeWithout(const std::function<bool()>& takeAway) {
        WriteModel({"1F", "2F"});
        Start("project", -1, -1, [&] {
            if (!takeAway()) {
                _exit(126);
            }
        });
        return End();
    }
};

constexpr int kCannotDeny = 126;

TEST_F(ProgramWithout, WatchedProcessesSaysSoOnceAndChecksAll) {
    const int exitCode = ExitCodeWithout([] { return DenyCalls({SYS_pidfd_open}, ENOSYS); });
    if (exitCode == kCannotDeny) {
        GTEST_SKIP() << "SKIPPED the system does not let calls be denied";
    }
    EXPECT_EQ(exitCode, 1);
    const std::string error = Text("err");
    const std::size_t at = error.find("pidfd_open");
    ASSERT_NE(at, std::string::npos) << error;
    EXPECT_EQ(error.find("pidfd_open", at + 1), std::string::npos) << error;
    const Json json = Json::parse(Text("a.json"));
    EXPECT_EQ(json["complete"], true);
    EXPECT_EQ(json["findings"].size(), 2U);
}

TEST_F(ProgramWithout, ThreadsWritesItsReportAndSaysWhatIsMissing) {
    const int exitCode = ExitCodeWithout([] { return DenyThreads(EAGAIN); });
    if (exitCode == kCannotDeny) {
        GTEST_SKIP() << "SKIPPED the system does not let calls be denied";
    }
    EXPECT_EQ(exitCode, 3);
    EXPECT_EQ(UnfinishedFiles(), std::vector<std::string>());
    const Json json = Json::parse(Text("a.json"));
    EXPECT_EQ(json["complete"], false);
    EXPECT_NE(Text("a.json").find("no thread can be started for it: Resource temporarily unavailable"),
              std::string::npos);
}

TEST_F(ProgramWithout, ProcessesSaysSoAndEndsAsIncomplete) {
    const int exitCode = ExitCodeWithout([] { return DenyProcesses(EAGAIN); });
    if (exitCode == kCannotDeny) {
        GTEST_SKIP() << "SKIPPED the system does not let calls be denied";
    }
    EXPECT_EQ(exitCode, 3) << Text("err");
    EXPECT_EQ(UnfinishedFiles(), std::vector<std::string>());
    EXPECT_NE((Text("err") + Text("out")).find("Resource temporarily unavailable"), std::string::npos) << Text("err");
}

TEST_F(ProgramWithout, ChildrenThatItsStarterWaitsForChecksAll) {
    EXPECT_EQ(ExitCodeWithout([] { return std::signal(SIGCHLD, SIG_IGN) != SIG_ERR; }), 1);
    EXPECT_EQ(Json::parse(Text("a.json"))["complete"], true);
}

// The percentages that a redrawn line showed, and whether it ever said a text.
std::vector<int> PercentagesIn(const std::string& screen) {
    std::vector<int> percentages;
    for (std::size_t at = screen.find("] "); at != std::string::npos; at = screen.find("] ", at + 1)) {
        percentages.push_back(std::atoi(screen.c_str() + at + 2));
    }
    return percentages;
}

TEST_F(RunningProgram, ShowsOnATerminalWhatIsBeingCheckedAndHowFarItIs) {
    WriteModel({"half a second", "half a second ", "1F", "2F"});
    int terminal = -1;
    m_process = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (m_process == 0) {
        setenv("TERM", "xterm", 1);
        execl(Path("app/norvex").c_str(), "norvex", "check", Path("house.ifc").c_str(), "--project",
              Path("project").c_str(), "-j", "2", nullptr);
        _exit(127);
    }
    std::string screen;
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = read(terminal, buffer.data(), buffer.size())) > 0;) {
        screen.append(buffer.data(), static_cast<std::size_t>(count));
    }
    close(terminal);
    EXPECT_EQ(End(), 1) << screen;
    const std::vector<int> percentages = PercentagesIn(screen.substr(0, screen.find("Findings")));
    ASSERT_GT(percentages.size(), 3U) << screen;
    EXPECT_TRUE(std::is_sorted(percentages.begin(), percentages.end())) << screen;
    EXPECT_LE(percentages.back(), 100);
    EXPECT_NE(screen.find("CCheckCrashing, half a second, 给排水"), std::string::npos) << screen;
}

}  // namespace
