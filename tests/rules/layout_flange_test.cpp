// SPDX-License-Identifier: Apache-2.0
#include "tests/rules/RuleOnDrawing.h"

namespace {

using norvex::Drawing;
using norvex::service::Outcome;
using norvex::service::RunReport;
using norvex::service::Severity;
using norvex::test::RunOnFloor;
using norvex::test::TaskOf;

const char* const kRule = "CCheckLayoutFlange";
const char* const kTank = "给排水\\设备\\水箱\\Tank";
const char* const kPipe65 = "给排水\\管线\\管道\\DN65";

// Handle 1: equipment, handle 2: a pipe that leads away from it. The caller says what is joined.
Drawing TankAndPipe(const char* equipment, const char* pipe, const char* joined) {
    Drawing drawing;
    drawing.node({0, 0, 0}, equipment).property(kPropertyGlobalId, "tank").property(kPropertyJoined, joined);
    drawing.pipe({750, 0, 0}, {3000, 0, 0}, pipe).property(kPropertyGlobalId, "pipe");
    return drawing;
}

// Handle 3, where the pipe of TankAndPipe begins.
Drawing& Fitting(Drawing& drawing, const char* path, const char* joined) {
    return drawing.fitting({750, 0, 0}, path).property(kPropertyJoined, joined);
}

TEST(LayoutFlangeRule, NamesTheTankAndThePipe) {
    const RunReport report = RunOnFloor(TankAndPipe(kTank, kPipe65, "2"));
    ASSERT_EQ(report.findings.size(), 1U);
    const auto& finding = report.findings.front();
    EXPECT_EQ(finding.rule, kRule);
    EXPECT_EQ(finding.severity, Severity::Suspected);
    EXPECT_EQ(finding.category, "建模遗漏");
    EXPECT_EQ(finding.location, "定位:构件定位:1:构件错误:1,2-修复:管道连接方式修改:1,2");
    EXPECT_TRUE(finding.sentence.starts_with("Tank \"Tank\" is met by the pipe")) << finding.sentence;
    EXPECT_EQ(TaskOf(report, kRule, "1F", "给排水").outcome, Outcome::Failed);
}

TEST(LayoutFlangeRule, PassesATankWithAFlange) {
    Drawing drawing = TankAndPipe(kTank, kPipe65, "3");
    Fitting(drawing, "给排水\\附件\\管件\\法兰 DN65", "1,2");
    const RunReport report = RunOnFloor(std::move(drawing));
    EXPECT_TRUE(report.findings.empty());
    const auto task = TaskOf(report, kRule, "1F", "给排水");
    EXPECT_EQ(task.outcome, Outcome::Passed);
    EXPECT_EQ(task.examined, 1U);
}

TEST(LayoutFlangeRule, LooksThroughBendsButNotThroughValves) {
    Drawing bend = TankAndPipe(kTank, kPipe65, "3");
    Fitting(bend, "给排水\\附件\\管件\\弯头 DN65", "1,2");
    EXPECT_EQ(RunOnFloor(std::move(bend)).findings.size(), 1U);
    Drawing valve = TankAndPipe(kTank, kPipe65, "3");
    Fitting(valve, "给排水\\附件\\阀门\\闸阀 DN65", "1,2");
    EXPECT_TRUE(RunOnFloor(std::move(valve)).findings.empty());
}

TEST(LayoutFlangeRule, CountsAFlangeAtTheNearEndOnly) {
    Drawing near = TankAndPipe(kTank, kPipe65, "2");
    Fitting(near, "给排水\\附件\\管件\\Flange DN65", "2");
    EXPECT_TRUE(RunOnFloor(std::move(near)).findings.empty());
    Drawing far = TankAndPipe(kTank, kPipe65, "2");
    far.fitting({3000, 0, 0}, "给排水\\附件\\管件\\Flange DN65").property(kPropertyJoined, "2");
    EXPECT_EQ(RunOnFloor(std::move(far)).findings.size(), 1U);
}

TEST(LayoutFlangeRule, TakesAPipeThatSaysItIsFlanged) {
    Drawing drawing = TankAndPipe(kTank, kPipe65, "2");
    drawing.property(kPropertyConnectionType, "FLANGED");
    EXPECT_TRUE(RunOnFloor(std::move(drawing)).findings.empty());
}

TEST(LayoutFlangeRule, LeavesSmallPipesToTheirThreads) {
    EXPECT_TRUE(RunOnFloor(TankAndPipe(kTank, "给排水\\管线\\管道\\DN40", "2")).findings.empty());
    EXPECT_EQ(RunOnFloor(TankAndPipe(kTank, "给排水\\管线\\管道\\DN50", "2")).findings.size(), 1U);
}

TEST(LayoutFlangeRule, FindsPipesNearEquipmentThatDoesNotSayWhatIsJoined) {
    Drawing drawing;
    drawing.node({0, 0, 0}, "给排水\\设备\\水泵\\P1").pipe({99, 0, 0}, {3000, 0, 0}, kPipe65);
    drawing.pipe({-101, 0, 0}, {-3000, 0, 0}, kPipe65);
    const RunReport report = RunOnFloor(std::move(drawing));
    ASSERT_EQ(report.findings.size(), 1U);
    EXPECT_TRUE(report.findings.front().sentence.starts_with("Equipment \"P1\"")) << report.findings.front().sentence;
}

TEST(LayoutFlangeRule, TakesSizeAndWordsFromTheConfiguration) {
    const std::string configuration =
        "<rule className=\"CCheckLayoutFlange\"><checkitems><group name=\"smallest diameter\"><entry "
        "name=\"80\"/></group>"
        "<group name=\"flange words\"><entry name=\"bride\"/></group></checkitems><kind name=\"waterbox\">"
        "<specialty name=\"给排水\"><group name=\"equipment\"><entry name=\"设备\"><v>水箱</v></entry></group>"
        "<group name=\"pipe\"><entry name=\"管线\"><v>管道</v></entry></group></specialty></kind></rule>";
    EXPECT_TRUE(RunOnFloor(TankAndPipe(kTank, kPipe65, "2"), configuration).findings.empty());
    EXPECT_EQ(RunOnFloor(TankAndPipe(kTank, "给排水\\管线\\管道\\DN80", "2"), configuration).findings.size(), 1U);
    Drawing drawing = TankAndPipe(kTank, "给排水\\管线\\管道\\DN80", "3");
    Fitting(drawing, "给排水\\附件\\管件\\Bride DN80", "1,2");
    EXPECT_TRUE(RunOnFloor(std::move(drawing), configuration).findings.empty());
}

TEST(LayoutFlangeRule, HasNothingToSayWithoutEquipment) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {1000, 0, 0}, kPipe65);
    const RunReport report = RunOnFloor(std::move(drawing));
    EXPECT_EQ(TaskOf(report, kRule, "1F", "给排水").outcome, Outcome::NotApplicable);
}

TEST(LayoutFlangeRule, SaysThatAHeapOfPipesTellsNothing) {
    Drawing drawing;
    drawing.node({0, 0, 0}, "给排水\\设备\\水泵\\P1");
    for (int i = 0; i < 1025; ++i) {
        drawing.pipe({0, 0, 0}, {3000, 10.0 * i, 0}, kPipe65);
    }
    const RunReport report = RunOnFloor(std::move(drawing));
    EXPECT_TRUE(report.findings.empty());
    EXPECT_EQ(TaskOf(report, kRule, "1F", "给排水").notExamined, 1U);
}

}  // namespace
