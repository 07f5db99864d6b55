// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <new>
#include <stdexcept>
#include <system_error>

#include "platform/kernel/WholeFile.h"
#include "service/work/ControlSocket.h"
#include "service/work/Rehearsal.h"
#include "service/work/WorkerProcess.h"
#include "support/DeniedCalls.h"
#include "tests/service/store/ChildProcess.h"
#include "tests/service/work/Runs.h"

// For a copy of this process to take away. Not inlined, because the compiler then takes free for the partner of another
// new.
static bool g_hasMemory = true;

[[gnu::noinline]] void* operator new(std::size_t size) {
    void* memory = g_hasMemory ? std::malloc(size) : nullptr;
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

using namespace norvex::test;
using norvex::service::Outcome;
using norvex::service::RunReport;
using norvex::service::TaskRecord;
using norvex::service::work::EndInWords;
using norvex::service::work::MessageReader;
using norvex::service::work::Rehearse;
using norvex::service::work::WorkerFailed;
using norvex::service::work::WorkerProcess;

constexpr const char* kWater = "给排水";

// Skips a test on a system that does not let processes give up calls.
#define NEEDS(denied)                                                      \
    if (!(denied)) {                                                       \
        GTEST_SKIP() << "SKIPPED the system does not let calls be denied"; \
    }

// Something on the stack of this process that is to be destroyed once, and not in a copy.
class Mark {
  public:
    explicit Mark(std::filesystem::path file) : m_file(std::move(file)) {}
    Mark(const Mark&) = delete;
    Mark& operator=(const Mark&) = delete;
    ~Mark() {
        if (getpid() != m_owner) {
            WriteFile(m_file, "destroyed in a copy");
        }
    }

  private:
    std::filesystem::path m_file;
    pid_t m_owner = getpid();
};

// What a worker said of its failure, and how it ended.
struct Failure {
    std::string reason;
    std::string end;
};

Failure FailureOf(const std::function<void()>& work) {
    int error = 0;
    const auto process = WorkerProcess::Start(
        {}, [&](int) { work(); }, error);
    EXPECT_NE(process, nullptr) << error;
    EXPECT_TRUE(process->EndsWithin(std::chrono::seconds(10)));
    MessageReader reader;
    process->Receive(reader);
    const auto said = reader.Next();
    Failure failure;
    if (said && std::holds_alternative<WorkerFailed>(*said)) {
        failure.reason = std::get<WorkerFailed>(*said).reason;
    }
    failure.end = EndInWords(process->Wait());
    return failure;
}

TEST(WorkerProcess, NothingLeavesItButItsEnd) {
    const TemporaryFolder folder;
    norvex::kernel::WholeFile output;
    ASSERT_EQ(output.Open(folder / "report.json"), std::nullopt);
    static std::filesystem::path atExit;
    atExit = folder / "at-exit";
    static pid_t owner = getpid();
    std::atexit([] {
        if (getpid() != owner) {
            WriteFile(atExit, "run in a copy");
        }
    });
    const std::vector<std::pair<std::function<void()>, std::string>> works{
        {[] { throw std::runtime_error("no such table"); }, "it let an exception escape: no such table"},
        {[] { throw std::runtime_error("b\xC3t"); }, "it let an exception escape: b\xEF\xBF\xBDt"},
        {[] { throw std::bad_alloc(); }, "there was not enough memory"},
        {[] { throw 1; }, "it let an exception of unknown kind escape"},
        {[] { std::exit(5); }, ""},
    };
    for (const auto& [work, reason] : works) {
        const Mark mark(folder / "stack");
        const Failure failure = FailureOf(work);
        EXPECT_EQ(failure.reason, reason);
        EXPECT_EQ(failure.end, reason.empty() ? "exit(5)" : "exit(70)");
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "stack")) << "the stack of this process was unwound in a copy";
    EXPECT_FALSE(std::filesystem::exists(atExit)) << "what this process does at its end was done in a copy";
    EXPECT_EQ(output.Commit("whole"), std::nullopt) << "its unfinished output is gone";
    EXPECT_EQ(FileText(folder / "report.json"), "whole");
}

TEST(WorkerProcess, SaysThatMemoryRanOutWithoutTakingAny) {
    const Failure failure = FailureOf([] {
        const std::runtime_error error("no such table");
        g_hasMemory = false;
        throw error;
    });
    EXPECT_EQ(failure.reason, "there was not enough memory");
    EXPECT_EQ(failure.end, "exit(70)");
}

TEST(WorkerProcess, IsWaitedForWhenItsStarterIgnoredChildren) {
    std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(FailureOf([] { _exit(7); }).end, "exit(7)");
    EXPECT_EQ(FailureOf([] { raise(SIGKILL); }).end.find("signal 9 (SIGKILL)"), 0U);
}

TEST(Rehearsal, SaysWhatEscaped) {
    EXPECT_EQ(Rehearse([] {}, std::chrono::seconds(10)), "");
    EXPECT_EQ(Rehearse([] { throw std::runtime_error("no licence"); }, std::chrono::seconds(10)),
              "it let an exception escape: no licence");
    EXPECT_EQ(Rehearse([] { _exit(0); }, std::chrono::seconds(10)), "it ended with exit(0)");
}

// Loads the crashing rule, and then takes something away from this process before it runs the rule on these floors.
RunReport RunWithout(const std::vector<std::string>& names, const std::function<bool()>& takeAway,
                     norvex::service::RunSettings settings = {}) {
    DrawingFloors floors = FloorsWithWater(names);
    ApplicationFolderCopy application;
    application.With(TestModule("CrashingRule"));
    norvex::service::NothingTrusted trust;
    norvex::service::Host host(trust);
    EXPECT_EQ(host.Start(application.Path()), std::nullopt);
    host.LoadRules();
    std::string error;
    const auto plan = norvex::service::MakeRunPlan({}, floors, host.Rules(), error);
    EXPECT_EQ(error, "");
    SilentObserver observer;
    norvex::service::RunControl control;
    if (!takeAway()) {
        return {};
    }
    return norvex::service::ExecuteRun(host, floors, *plan, {}, observer, control, std::move(settings));
}

void ExpectAllCrashed(const RunReport& report, const std::string& reason) {
    ASSERT_EQ(report.tasks.size(), 3U);
    EXPECT_EQ(report.incomplete.size(), 3U);
    EXPECT_TRUE(report.findings.empty());
    for (const TaskRecord& task : report.tasks) {
        EXPECT_EQ(task.outcome, Outcome::Crashed) << task.floor;
        EXPECT_EQ(task.reason, reason) << task.floor;
    }
}

TEST(Faults, AThreadThatCannotBeStartedIsAnOutcome) {
    const RunReport report = RunWithout({"1F", "2F", "3F"}, [] { return DenyThreads(EAGAIN); });
    NEEDS(!report.tasks.empty());
    ExpectAllCrashed(report, "no thread can be started for it: Resource temporarily unavailable");
}

TEST(Faults, AThreadThatCannotBeStartedSideBySideIsAnOutcome) {
    const RunReport report = RunWithout({"1F", "2F", "3F"}, [] { return DenyThreads(EAGAIN); }, {.jobs = 3});
    NEEDS(!report.tasks.empty());
    ExpectAllCrashed(report, "no thread can be started for it: Resource temporarily unavailable");
}

TEST(Faults, AProcessThatCannotBeStartedIsAnOutcome) {
    const RunReport report = RunWithout({"1F", "2F", "3F"}, [] { return DenyProcesses(EAGAIN); }, {.jobs = 3});
    NEEDS(!report.tasks.empty());
    ExpectAllCrashed(report, "no process can be started: Resource temporarily unavailable");
}

TEST(Faults, ASocketThatCannotBeMadeIsAnOutcome) {
    const RunReport report = RunWithout({"1F", "2F", "3F"}, [] { return DenyCalls({SYS_socketpair}, EMFILE); });
    NEEDS(!report.tasks.empty());
    ExpectAllCrashed(report, "no process can be started: Too many open files");
}

// Lets this process open only so many files more.
bool LimitFiles(int more) {
    const int next = open("/dev/null", O_RDONLY);
    close(next);
    const rlimit limit{static_cast<rlim_t>(next + more), static_cast<rlim_t>(next + more)};
    return setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

TEST(Faults, FewerWorkSideBySideWhenFilesRunOut) {
    if (NORVEX_SANITIZED) {
        GTEST_SKIP()
            << "SKIPPED: a sanitizer opens files of its own to look at an object, and calls it broken without.";
    }
    const std::vector<std::string> floors{"1F", "2F", "3F", "4F", "segfault", "6F"};
    // A worker takes two files, and a third one while it is started.
    for (const int more : {3, 4, 5, 6, 7, 8}) {
        ChildProcess run([&](int out) {
            const RunReport report = RunWithout(floors, [&] { return LimitFiles(more); }, {.jobs = 6});
            Say(out, std::to_string(report.findings.size()));
            Say(out, std::to_string(report.incomplete.size()));
            return 0;
        });
        EXPECT_EQ(run.ReadLine(), "6") << more;
        EXPECT_EQ(run.ReadLine(), "1") << more << ": the rule that crashes, and nothing else";
    }
}

// What is promised of a worker holds on a system that does not let its end be watched.
void ExpectToWorkUnwatched(int error) {
    const std::vector<std::string> floors{"1F", "segfault", "exit", "hang", "close everything", "6F"};
    const RunReport report = RunWithout(floors, [&] { return DenyCalls({SYS_pidfd_open}, error); },
                                        {.jobs = 2, .budget = std::chrono::milliseconds(300)});
    NEEDS(!report.tasks.empty());
    EXPECT_FALSE(WorkerProcess::CanBeWatched());
    EXPECT_EQ(TaskOf(report, "CCheckCrashing", "1F", kWater).outcome, Outcome::Failed);
    EXPECT_EQ(TaskOf(report, "CCheckCrashing", "segfault", kWater).reason, "signal 11 (SIGSEGV)");
    EXPECT_EQ(TaskOf(report, "CCheckCrashing", "exit", kWater).reason, "exit(0)");
    EXPECT_EQ(TaskOf(report, "CCheckCrashing", "hang", kWater).reason, "no end within its budget of 0.3 s");
    EXPECT_EQ(TaskOf(report, "CCheckCrashing", "close everything", kWater).outcome, Outcome::Crashed);
    EXPECT_EQ(TaskOf(report, "CCheckCrashing", "6F", kWater).outcome, Outcome::Failed);
    EXPECT_EQ(report.findings.size(), floors.size());
    EXPECT_EQ(Rehearse([] { pause(); }, std::chrono::milliseconds(100)), "it did not end within 0.1 s");
    EXPECT_EQ(Rehearse([] { _exit(4); }, std::chrono::seconds(10)), "it ended with exit(4)");
}

TEST(Faults, WorkersNeedNotBeWatchedOnAnOldSystem) {
    ExpectToWorkUnwatched(ENOSYS);
}

TEST(Faults, WorkersNeedNotBeWatchedInAStrictContainer) {
    ExpectToWorkUnwatched(EPERM);
}

TEST(Faults, ARunThatCannotBeAskedIsNotTakenForNone) {
    const TemporaryFolder folder;
    std::string error;
    const auto socket = norvex::service::ControlSocket::Open(folder.Path(), error);
    ASSERT_NE(socket, nullptr) << error;
    for (const int more : {0, 1}) {
        ChildProcess asker([&](int out) {
            LimitFiles(more);
            const norvex::service::ControlAnswer answer = norvex::service::AskRun(folder.Path(), "status");
            Say(out, answer.isRunning ? "running" : answer.whyUnknown);
            return 0;
        });
        EXPECT_EQ(asker.ReadLine(), "Too many open files");
    }
    EXPECT_EQ(norvex::service::AskRun(folder / "nowhere", "status").whyUnknown, "");
}

TEST(Faults, NewsThatCannotBeWaitedForIsLookedFor) {
    const RunReport report =
        RunWithout({"1F", "segfault", "3F"}, [] { return DenyCalls({SYS_poll}, ENOMEM); }, {.jobs = 2});
    NEEDS(!report.tasks.empty());
    EXPECT_EQ(report.findings.size(), 3U);
    EXPECT_EQ(TaskOf(report, "CCheckCrashing", "segfault", kWater).reason, "signal 11 (SIGSEGV)");
}

}  // namespace
