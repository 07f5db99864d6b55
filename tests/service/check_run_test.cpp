// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <fmt/format.h>
#include <algorithm>

#include "norvexdata/entities/GetZrOwEntityPtrVec.h"
#include "norvexdata/state/NorvexData.h"
#include "platform/text/CodePage.h"
#include "tests/service/support/RunFixture.h"

namespace {

using namespace norvex::test;
using norvex::Drawing;
using norvex::service::Outcome;
using norvex::service::RunReport;
using norvex::service::Severity;

DrawingFloors ThreeFloorsWithWater() {
    DrawingFloors floors;
    for (const char* name : {"1F", "2F", "3F"}) {
        Drawing drawing;
        drawing.pipe({0, 0, 0}, {1000, 0, 0}, kWaterPipe.c_str());
        floors.Add(name, std::move(drawing));
    }
    return floors;
}

// Runs a rule that reports the state it sees, in sentences of "name=value" pairs.
RunReport RunWitness(DrawingFloors& floors) {
    ApplicationFolderCopy application;
    application.With(TestModule("WitnessRule"));
    return RunEverything(floors, application.Path());
}

bool Says(const norvex::service::FindingRecord& finding, const std::string& pair) {
    return (finding.sentence + " ").find(" " + pair + " ") != std::string::npos;
}

// Notes the progress that the shared state shows whenever a task begins or ends.
class RateWatcher : public SilentObserver {
  public:
    void OnTask(std::size_t, const norvex::service::TaskRecord&) override { Note(); }
    void OnTaskEnd(std::size_t, const norvex::service::TaskResult&) override { Note(); }

    std::vector<int> rates;

  private:
    void Note() { rates.push_back(CNorvexData::GetCheckRuleRate()); }
};

TEST(CheckRun, PassesOnlyWhereSomethingWasExamined) {
    DrawingFloors floors;
    floors.Add("1F", Drawing());
    RunReport report = RunShippedRules(floors);
    for (const auto& task : report.tasks) {
        EXPECT_EQ(task.outcome, Outcome::NotApplicable) << task.specialty;
    }
    norvex::service::NoteWhatIsMissing(report);
    EXPECT_EQ(norvex::service::Judge(report, norvex::service::FailOn::Suspected), norvex::service::Verdict::Incomplete);
}

TEST(CheckRun, CountsInTheSharedStateWhatItReports) {
    Drawing drawing;
    AddSquare(drawing, kWaterPipe, 0, "a");
    AddSquare(drawing, kWaterPipe, 5000, "b");
    AddSquare(drawing, kFirePipe, 10000, "c");
    DrawingFloors floors;
    floors.Add("1F", std::move(drawing));
    const RunReport report = RunShippedRules(floors);
    EXPECT_EQ(report.findings.size(), 3U);
    int errors = 0;
    int checks = 0;
    CNorvexData::GetCheckResultCount(errors, checks);
    EXPECT_EQ(errors, 3);
    EXPECT_EQ(checks, 12);
    // The other rules, which have no configuration here, count nothing under their own check kinds.
    for (const auto& total : report.totals) {
        const bool loops = total.category == "建模合理性";
        EXPECT_EQ(total.suspected, loops ? 2U : 0U) << total.category;
        EXPECT_EQ(total.reminders, loops ? 1U : 0U) << total.category;
        EXPECT_EQ(total.checks, loops ? 12U : 0U) << total.category;
        ASSERT_EQ(total.subCategories.size(), loops ? 1U : 0U) << total.category;
        if (loops) {
            EXPECT_EQ(total.subCategories[0].second, 3U);
        }
    }
    EXPECT_EQ(report.totals.size(), 3U);
    EXPECT_TRUE(CNorvexData::s_bCheckFinish);
    EXPECT_EQ(CNorvexData::s_CheckStateMap.begin()->second.eStatus, 2);
}

TEST(CheckRun, MakesEachFloorTheWorkingDatabaseInItsTurn) {
    DrawingFloors floors = ThreeFloorsWithWater();
    const RunReport report = RunWitness(floors);
    ASSERT_EQ(report.findings.size(), 6U) << "two specialties on three floors";
    for (std::size_t i = 0; i < report.findings.size(); ++i) {
        const std::string database = fmt::format("database={}", static_cast<const void*>(&floors.Open(i / 2)));
        EXPECT_TRUE(Says(report.findings[i], database)) << report.findings[i].sentence << ", wanted " << database;
    }
    EXPECT_EQ(acdbHostApplicationServices()->workingDatabase(), nullptr);
    for (const std::size_t floor : {0U, 1U, 2U}) {
        EXPECT_EQ(floors.Open(floor).openCount(), 0);
    }
}

TEST(CheckRun, ProgressRisesToAHundredAndNoFurther) {
    for (const std::size_t jobs : {1U, 3U}) {
        DrawingFloors floors = ThreeFloorsWithWater();
        norvex::service::NothingTrusted trust;
        RateWatcher watcher;
        norvex::service::RunControl control;
        RunEverything(floors, norvex::service::ApplicationFolder(), trust, watcher, control, {.jobs = jobs});
        ASSERT_FALSE(watcher.rates.empty());
        EXPECT_TRUE(std::is_sorted(watcher.rates.begin(), watcher.rates.end()));
        EXPECT_EQ(watcher.rates.back(), 100);
    }
}

TEST(CheckRun, ShowsARuleTheStateOfItsOwnTask) {
    DrawingFloors floors = ThreeFloorsWithWater();
    const RunReport report = RunWitness(floors);
    ASSERT_EQ(report.findings.size(), 6U) << "two specialties on three floors";
    for (const auto& finding : report.findings) {
        for (const std::string& pair :
             {"floor=" + finding.floor, "specialty=" + finding.specialty, "category=" + finding.category,
              std::string("errors=0"), std::string("thread=known"), std::string("objects=made")}) {
            EXPECT_TRUE(Says(finding, pair)) << pair << " in " << finding.sentence;
        }
    }
    EXPECT_TRUE(Says(report.findings[5], "rate=83")) << report.findings[5].sentence;
}

TEST(CheckRun, DropsTheCollectionOfEachFloor) {
    DrawingFloors floors;
    Drawing first;
    first.pipe({0, 0, 0}, {1000, 0, 0}, kWaterPipe.c_str());
    Drawing second;
    AddSquare(second, kWaterPipe, 0, "b");
    floors.Add("1F", std::move(first)).Add("2F", std::move(second));
    const RunReport report = RunShippedRules(floors);
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "1F", "给排水").examined, 1U);
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "2F", "给排水").examined, 4U);
    EXPECT_EQ(CGetZrOwEntityPtrVec::s_cInstance, nullptr);
}

TEST(CheckRun, SelectsNamesThatTheCodePageCannotHold) {
    DrawingFloors floors;
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {1000, 0, 0}, "给排水\\管线\\Wärmeöl\\DN50");
    floors.Add("1F", std::move(drawing));
    RunShippedRules(floors);
    EXPECT_EQ(CNorvexData::s_strSmallMemMap[L"管线"].count(L"Wärmeöl"), 1U);
}

TEST(CheckRun, TellsTheProjectWhichSpecialtyIsChecked) {
    DrawingFloors floors;
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {1000, 0, 0}, kWaterPipe.c_str());
    drawing.pipe({0, 0, 500}, {1000, 0, 500}, kFirePipe.c_str());
    floors.Add("1F", std::move(drawing));
    const RunReport report = RunWitness(floors);
    ASSERT_EQ(report.findings.size(), 2U);
    EXPECT_NE(report.findings[0].specialty, report.findings[1].specialty);
    for (const auto& finding : report.findings) {
        EXPECT_TRUE(Says(finding, "project=" + finding.specialty)) << finding.sentence;
        EXPECT_TRUE(Says(finding, "folder=\\tmp\\project")) << finding.sentence;
    }
}

TEST(CheckRun, GoesOnAfterARuleThatThrows) {
    ApplicationFolderCopy application;
    application.With(TestModule("ThrowingRule")).With(ShippedRule("CheckPipeLoop"));
    DrawingFloors floors = ThreeFloorsWithWater();
    const RunReport report = RunEverything(floors, application.Path());
    const auto crashed = TaskOf(report, "CCheckThrowing", "2F", "给排水");
    EXPECT_EQ(crashed.outcome, Outcome::Crashed);
    EXPECT_EQ(crashed.reason, "no such table");
    EXPECT_EQ(TaskOf(report, "CCheckThrowing", "3F", "给排水").outcome, Outcome::Passed);
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "2F", "给排水").outcome, Outcome::Passed);
    ASSERT_EQ(report.incomplete.size(), 1U);
    EXPECT_NE(report.incomplete[0].find("CCheckThrowing"), std::string::npos);
    EXPECT_NE(report.incomplete[0].find("2F"), std::string::npos);
}

// Cancels as soon as the rule says how far it is.
class Canceller : public SilentObserver {
  public:
    explicit Canceller(norvex::service::RunControl& control) : m_control(control) {}
    void OnTaskProgress(std::size_t, int) override { m_control.Cancel(); }

  private:
    norvex::service::RunControl& m_control;
};

TEST(CheckRun, KeepsWhatWasFoundWhenItIsCancelled) {
    ApplicationFolderCopy application;
    application.With(TestModule("EndlessRule"));
    DrawingFloors floors = ThreeFloorsWithWater();
    norvex::service::NothingTrusted trust;
    norvex::service::RunControl control;
    Canceller canceller(control);
    RunReport report = RunEverything(floors, application.Path(), trust, canceller, control);
    ASSERT_EQ(report.findings.size(), 1U);
    EXPECT_EQ(report.findings[0].severity, Severity::Confirmed);
    for (const auto& task : report.tasks) {
        EXPECT_EQ(task.outcome, Outcome::Cancelled);
    }
    norvex::service::NoteWhatIsMissing(report);
    EXPECT_EQ(norvex::service::Judge(report, norvex::service::FailOn::Never), norvex::service::Verdict::Incomplete);
}

// Trusts what a test says.
class GivenTrust final : public norvex::service::TrustStore {
  public:
    NS_NORVEX::TrustStatus StatusOf(const std::string& rule, const std::string&) override {
        return rule == wholeRule  ? NS_NORVEX::eTrustAll
               : floors.isEmpty() ? NS_NORVEX::eTrustNone
                                  : NS_NORVEX::eTrustPart;
    }
    CZRArray<NS_NORVEX::ComponentInfo>& FloorsOf(const std::string&, const std::string&) override { return floors; }
    bool IsFindingTrusted(const std::string& code) override { return code == finding; }

    std::string wholeRule;
    CZRArray<NS_NORVEX::ComponentInfo> floors;
    std::string finding;
};

RunReport RunWithTrust(GivenTrust& trust) {
    Drawing drawing;
    AddSquare(drawing, kWaterPipe, 0, "a");
    DrawingFloors floors;
    floors.Add("1F", std::move(drawing));
    SilentObserver observer;
    norvex::service::RunControl control;
    return RunEverything(floors, norvex::service::ApplicationFolder(), trust, observer, control);
}

TEST(CheckRun, SkipsARuleThatIsTrustedAsAWhole) {
    GivenTrust trust;
    trust.wholeRule = "CCheckPipeLoop";
    const RunReport report = RunWithTrust(trust);
    EXPECT_TRUE(report.findings.empty());
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "1F", "给排水").outcome, Outcome::Skipped);
}

TEST(CheckRun, LeavesOutASubCategoryThatIsTrustedOnTheFloor) {
    GivenTrust trust;
    NS_NORVEX::ComponentInfo floor{"1F", {}};
    floor.aryItems.append(norvex::text::WideToNarrow(L"管道"));
    trust.floors.append(floor);
    const RunReport report = RunWithTrust(trust);
    EXPECT_TRUE(report.findings.empty());
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "1F", "给排水").outcome, Outcome::NotApplicable);
}

TEST(CheckRun, ShowsATrustedFindingWithoutCountingIt) {
    GivenTrust nothing;
    const RunReport before = RunWithTrust(nothing);
    ASSERT_EQ(before.findings.size(), 1U);
    GivenTrust trust;
    trust.finding = before.findings[0].featureCode;
    RunReport report = RunWithTrust(trust);
    ASSERT_EQ(report.findings.size(), 1U);
    EXPECT_TRUE(report.findings[0].trusted);
    const auto task = TaskOf(report, "CCheckPipeLoop", "1F", "给排水");
    EXPECT_EQ(task.outcome, Outcome::Passed);
    EXPECT_EQ(task.trusted, 1U);
    for (const auto& total : report.totals) {
        EXPECT_EQ(total.suspected, 0U) << total.category;
    }
    norvex::service::NoteWhatIsMissing(report);
    EXPECT_EQ(norvex::service::Judge(report, norvex::service::FailOn::Remind), norvex::service::Verdict::Clean);
}

}  // namespace
