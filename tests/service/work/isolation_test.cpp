// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <unistd.h>

#include <fmt/format.h>
#include <csignal>
#include <functional>
#include <stdexcept>
#include <thread>

#include "report/CheckReport.h"
#include "service/work/Wire.h"
#include "tests/service/work/Runs.h"

extern "C" const char* __tsan_default_options() {
    return kStopAtTheFirstRace;
}

namespace {

using namespace norvex::test;
using norvex::service::Outcome;
using norvex::service::RunReport;
using norvex::service::TaskRecord;

constexpr const char* kWater = "给排水";

// A building with one floor on which a rule misbehaves, between two on which it does not.
RunReport RunWithFloor(const std::string& name, norvex::service::RunSettings settings = {}) {
    DrawingFloors floors = FloorsWithWater({"below", name, "above"});
    return RunModules(floors, {"CrashingRule", "CheckPipeLoop"}, std::move(settings));
}

// What is promised whatever the rule did there: it is the outcome of that rule on that floor and of nothing else, what
// it had found is kept, and the run says that it is incomplete.
void ExpectCrashOnly(const RunReport& report, const std::string& floor, const std::string& reason) {
    const TaskRecord crashed = TaskOf(report, "CCheckCrashing", floor, kWater);
    EXPECT_EQ(crashed.outcome, Outcome::Crashed);
    EXPECT_EQ(crashed.reason.find(reason), 0U) << crashed.reason;
    EXPECT_EQ(crashed.findings, 1U);
    for (const char* other : {"below", "above"}) {
        EXPECT_EQ(TaskOf(report, "CCheckCrashing", other, kWater).outcome, Outcome::Failed) << other;
    }
    for (const std::string& every : {std::string("below"), floor, std::string("above")}) {
        EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", every, kWater).outcome, Outcome::Passed) << every;
    }
    EXPECT_EQ(report.findings.size(), 3U);
    ASSERT_EQ(report.incomplete.size(), 1U);
    EXPECT_NE(report.incomplete[0].find("CCheckCrashing"), std::string::npos) << report.incomplete[0];
    EXPECT_NE(report.incomplete[0].find(floor), std::string::npos) << report.incomplete[0];
}

TEST(Isolation, ASegmentationFaultIsAnOutcome) {
    ExpectCrashOnly(RunWithFloor("segfault"), "segfault", "signal 11 (SIGSEGV)");
}

TEST(Isolation, EndingTheProcessIsAnOutcome) {
    ExpectCrashOnly(RunWithFloor("exit"), "exit", "exit(0)");
}

TEST(Isolation, AnAbortIsAnOutcome) {
    ExpectCrashOnly(RunWithFloor("abort"), "abort", "signal 6 (SIGABRT)");
}

TEST(Isolation, ATerminationIsAnOutcome) {
    ExpectCrashOnly(RunWithFloor("terminate"), "terminate", "signal 6 (SIGABRT)");
}

TEST(Isolation, BeingKilledAsWhenMemoryRunsOutIsAnOutcome) {
    ExpectCrashOnly(RunWithFloor("killed"), "killed",
                    "signal 9 (SIGKILL), which the system sends when memory runs out");
}

TEST(Isolation, TakingAllMemoryIsAnOutcome) {
    ExpectCrashOnly(RunWithFloor("hog"), "hog", "");
}

TEST(Isolation, AnExceptionThatLeavesTheModuleIsAnOutcome) {
    DrawingFloors floors = FloorsWithWater({"1F"});
    const RunReport report = RunModules(floors, {"BorderRule", "CheckPipeLoop"});
    const TaskRecord crashed = TaskOf(report, "CCheckBorder", "1F", kWater);
    EXPECT_EQ(crashed.outcome, Outcome::Crashed);
    EXPECT_EQ(crashed.reason, "it let an exception escape: out of bounds");
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "1F", kWater).outcome, Outcome::Passed);
}

TEST(Isolation, AHangEndsWithTheBudget) {
    const auto budget = std::chrono::milliseconds(500);
    ExpectCrashOnly(RunWithFloor("hang", {.budget = budget}), "hang", "no end within its budget of 0.5 s");
}

TEST(Isolation, AHangThatSaysItsProgressEndsWithTheBudget) {
    const auto budget = std::chrono::milliseconds(500);
    const RunReport report = RunWithFloor("hang politely", {.budget = budget});
    ExpectCrashOnly(report, "hang politely", "no end within its budget of 0.5 s");
    EXPECT_GE(TaskOf(report, "CCheckCrashing", "hang politely", kWater).duration, budget);
}

TEST(Isolation, ReportingWithoutEndIsAnOutcome) {
    const RunReport report = RunWithFloor("flood", {.mostFindings = 1000});
    const TaskRecord flood = TaskOf(report, "CCheckCrashing", "flood", kWater);
    EXPECT_EQ(flood.outcome, Outcome::Crashed);
    EXPECT_EQ(flood.reason, "it reported more than 1000 findings");
    EXPECT_EQ(flood.findings, 1000U);
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "flood", kWater).outcome, Outcome::Passed);
    EXPECT_EQ(TaskOf(report, "CCheckCrashing", "above", kWater).outcome, Outcome::Failed);
    EXPECT_EQ(report.findings.size(), 1002U);
}

std::string InHexadecimal(const std::string& bytes) {
    std::string text;
    for (const char byte : bytes) {
        text += fmt::format("{:02x}", static_cast<unsigned char>(byte));
    }
    return text;
}

// The rule sends these bytes to the service itself, after one finding, and then goes on as if nothing had been.
void ExpectRefused(const std::string& bytes, const std::string& reason, int times = 1) {
    const std::string floor = "sends " + InHexadecimal(bytes);
    ExpectCrashOnly(RunWithFloor(fmt::format("{} times {}", floor, times)), fmt::format("{} times {}", floor, times),
                    reason);
}

constexpr const char* kUnreadable = "its worker sent what cannot be read";
constexpr const char* kNonsense = "its worker sent what no worker sends";

TEST(Isolation, SendingWhatCannotBeReadIsAnOutcome) {
    ExpectRefused("\xFF", kUnreadable, 100);
    // A length, and then lists in lists in lists, as a general format has them, as many as that length.
    ExpectRefused(std::string("\x9F\x9F\x9F\0", 4), kUnreadable, 0x9F9F9F / 4 + 2);
    ExpectRefused(std::string("\x07\0\0\0\x82\xFA\x61\x61\x9E\x54\xF4", 11), kUnreadable);
}

TEST(Isolation, SendingWhatNoWorkerSendsIsAnOutcome) {
    using namespace norvex::service::work;
    const Moment now{};
    for (const Message& message :
         {Message(FloorEntered{}), Message(TaskBegun{0, now}), Message(TaskBegun{1, now}), Message(TaskBegun{5, now}),
          Message(TaskBegun{~std::size_t{0}, now}), Message(FloorDone{})}) {
        ExpectRefused(Encode(message), kNonsense);
    }
    ExpectRefused(Encode(WorkerFailed{"it says so"}), "it says so");
}

TEST(Isolation, EndingTwiceIsTheOutcomeThatCameFirst) {
    using namespace norvex::service::work;
    const std::string end = Encode(TaskEnded{NS_NORVEX::eRuleDone, 3, 0, "", Moment{}});
    const std::string floor = "sends " + InHexadecimal(end);
    const RunReport report = RunWithFloor(floor);
    EXPECT_EQ(TaskOf(report, "CCheckCrashing", floor, kWater).outcome, Outcome::Failed);
    EXPECT_EQ(TaskOf(report, "CCheckCrashing", floor, kWater).examined, 3U);
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", floor, kWater).outcome, Outcome::Passed);
    EXPECT_TRUE(report.incomplete.empty());
}

TEST(Isolation, ReportingHugeTextsWithoutEndIsAnOutcome) {
    const RunReport report = RunWithFloor("flood of long texts", {.mostFindingBytes = 8U << 20U});
    const TaskRecord flood = TaskOf(report, "CCheckCrashing", "flood of long texts", kWater);
    EXPECT_EQ(flood.outcome, Outcome::Crashed);
    EXPECT_EQ(flood.reason, "it reported findings of more than 8388608 bytes");
    EXPECT_EQ(flood.findings, 8U) << "the first one and seven of a mebibyte and some bytes";
    EXPECT_EQ(TaskOf(report, "CCheckCrashing", "above", kWater).outcome, Outcome::Failed);
}

TEST(Isolation, ReportingATextWithoutEndIsAnOutcome) {
    ExpectCrashOnly(RunWithFloor("endless text"), "endless text", "it reported more than fits into one message");
}

TEST(Isolation, CuttingTheConnectionIsAnOutcome) {
    DrawingFloors floors = FloorsWithWater({"below", "close everything", "above"});
    const RunReport report = RunModules(floors, {"CrashingRule"});
    EXPECT_EQ(TaskOf(report, "CCheckCrashing", "close everything", kWater).outcome, Outcome::Crashed);
    EXPECT_EQ(TaskOf(report, "CCheckCrashing", "above", kWater).outcome, Outcome::Failed);
}

TEST(Isolation, ReadsAsCrashedWithItsReason) {
    const RunReport report = RunWithFloor("segfault");
    const std::string text = norvex::report::CheckText(report, {});
    EXPECT_NE(text.find("crashed: signal 11 (SIGSEGV)"), std::string::npos) << text;
}

// A floor whose drawing does what its maker says.
class BadDrawing final : public norvex::service::FloorSource {
  public:
    BadDrawing(DrawingFloors& floors, std::function<void()> onSecond)
        : m_floors(floors), m_onSecond(std::move(onSecond)) {}
    const std::vector<norvex::service::FloorRecord>& Floors() const override { return m_floors.Floors(); }
    const std::vector<CString>& Paths() const override { return m_floors.Paths(); }
    AcDbDatabase& Open(std::size_t floor) override {
        if (floor == 1) {
            m_onSecond();
        }
        return m_floors.Open(floor);
    }

  private:
    DrawingFloors& m_floors;
    std::function<void()> m_onSecond;
};

RunReport RunWithDrawing(std::function<void()> onSecond) {
    DrawingFloors drawings = FloorsWithWater({"1F", "2F", "3F"});
    BadDrawing floors(drawings, std::move(onSecond));
    norvex::service::NothingTrusted trust;
    norvex::service::Host host(trust);
    EXPECT_EQ(host.Start(norvex::service::ApplicationFolder()), std::nullopt);
    host.LoadRules();
    std::string error;
    const auto plan = norvex::service::MakeRunPlan({.floors = {}, .specialties = {}, .rules = {"pipe-loop"}}, floors,
                                                   host.Rules(), error);
    SilentObserver observer;
    norvex::service::RunControl control;
    return norvex::service::ExecuteRun(host, floors, *plan, {}, observer, control,
                                       {.budget = std::chrono::milliseconds(500)});
}

TEST(Isolation, ACrashWhileAFloorIsDrawnIsTheOutcomeOfThatFloor) {
    const RunReport report = RunWithDrawing([] { kill(getpid(), SIGKILL); });
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "1F", kWater).outcome, Outcome::Passed);
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "2F", kWater).outcome, Outcome::Crashed);
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "2F", kWater).reason,
              "signal 9 (SIGKILL), which the system sends when memory runs out, while its floor was drawn");
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "3F", kWater).outcome, Outcome::Passed);
}

TEST(Isolation, AStandstillWhileAFloorIsDrawnEndsWithTheBudget) {
    const RunReport report = RunWithDrawing([] { raise(SIGSTOP); });
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "2F", kWater).reason,
              "no end within its budget of 0.5 s, while its floor was drawn");
}

TEST(Isolation, AnExceptionWhileAFloorIsDrawnIsTheOutcomeOfThatFloor) {
    const RunReport report = RunWithDrawing([] { throw std::runtime_error("no such block"); });
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "2F", kWater).reason,
              "it let an exception escape: no such block, while its floor was drawn");
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "3F", kWater).outcome, Outcome::Passed);
}

TEST(Isolation, AHangWhileAFloorIsDrawnEndsWithTheBudget) {
    const RunReport report = RunWithDrawing([] { std::this_thread::sleep_for(std::chrono::hours(1)); });
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "2F", kWater).reason,
              "no end within its budget of 0.5 s, while its floor was drawn");
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "3F", kWater).outcome, Outcome::Passed);
}

}  // namespace
