// SPDX-License-Identifier: Apache-2.0
#include <vector>

#include "sdk/rule/Joints.h"
#include "tests/rules/RuleOnDrawing.h"

namespace {

using norvex::Drawing;
using norvex::service::Outcome;
using norvex::service::RunReport;
using norvex::service::Severity;
using norvex::test::RunOnFloor;
using norvex::test::TaskOf;

const char* const kRule = "CCheckPipeDiameter";
const char* const kPipe25 = "给排水\\管线\\管道\\DN25";

// A valve between two pipes, which end at it.
Drawing ValveBetween(const char* valve, const char* left, const char* right) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {1000, 0, 0}, left).property(kPropertyGlobalId, "left");
    drawing.pipe({1000, 0, 0}, {2000, 0, 0}, right).property(kPropertyGlobalId, "right");
    drawing.fitting({1000, 0, 0}, valve).property(kPropertyGlobalId, "valve");
    return drawing;
}

TEST(PipeDiameterRule, NamesTheValveAndThePipesThatDiffer) {
    const RunReport report = RunOnFloor(ValveBetween("给排水\\附件\\阀门\\闸阀 DN32", kPipe25, kPipe25));
    ASSERT_EQ(report.findings.size(), 1U);
    const auto& finding = report.findings.front();
    EXPECT_EQ(finding.rule, kRule);
    EXPECT_EQ(finding.subCategory, "水管与附件管径不一致");
    EXPECT_EQ(finding.severity, Severity::Suspected);
    EXPECT_EQ(finding.location, "定位:构件定位:1:构件错误:3,1,2-修复:水管与附件管径不一致:3,1,2");
    EXPECT_NE(finding.sentence.find("DN32"), std::string::npos) << finding.sentence;
    EXPECT_NE(finding.sentence.find("DN25"), std::string::npos) << finding.sentence;
    EXPECT_EQ(finding.objects.size(), 3U);
}

TEST(PipeDiameterRule, NamesOnlyThePipeThatDiffers) {
    const RunReport report = RunOnFloor(ValveBetween("给排水\\附件\\阀门\\DN25", kPipe25, "给排水\\管线\\管道\\DN20"));
    ASSERT_EQ(report.findings.size(), 1U);
    ASSERT_EQ(report.findings.front().objects.size(), 2U);
    EXPECT_EQ(report.findings.front().objects[1].globalId, "right");
}

TEST(PipeDiameterRule, PassesAValveThatFits) {
    const RunReport report = RunOnFloor(ValveBetween("给排水\\附件\\阀门\\DN25", kPipe25, kPipe25));
    EXPECT_TRUE(report.findings.empty());
    const auto task = TaskOf(report, kRule, "1F", "给排水");
    EXPECT_EQ(task.outcome, Outcome::Passed);
    EXPECT_EQ(task.examined, 3U);
}

TEST(PipeDiameterRule, GoesByWhatTheModelSaysIsJoined) {
    // The pipes end in one point with the valve, but a reducer stands between the second one and the valve.
    Drawing drawing = ValveBetween("给排水\\附件\\阀门\\DN25", kPipe25, "给排水\\管线\\管道\\DN20");
    drawing.property(kPropertyJoined, "1,4");
    EXPECT_TRUE(RunOnFloor(std::move(drawing)).findings.empty());
}

TEST(PipeDiameterRule, PrefersThePropertyToTheName) {
    Drawing drawing = ValveBetween("给排水\\附件\\阀门\\DN32", kPipe25, kPipe25);
    drawing.property(kPropertyNominalDiameter, "25");
    EXPECT_TRUE(RunOnFloor(std::move(drawing)).findings.empty());
}

TEST(PipeDiameterRule, ReportsAPipeOfWhichNothingTellsTheDiameter) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {1000, 0, 0}, "暖通\\管线\\管道\\Heating pipe").property(kPropertyGlobalId, "bare");
    drawing.pipe({0, 5, 0}, {1000, 5, 0}, "暖通\\管线\\管道\\Heating pipe").property(kPropertyOuterDiameter, "26.9");
    const RunReport report = RunOnFloor(std::move(drawing));
    ASSERT_EQ(report.findings.size(), 1U);
    EXPECT_EQ(report.findings.front().subCategory, "管径缺失");
    EXPECT_EQ(report.findings.front().objects[0].globalId, "bare");
    EXPECT_EQ(report.findings.front().location, "定位:构件定位:1:构件错误:1");
}

TEST(PipeDiameterRule, SaysWhichValvesItCouldNotCompare) {
    const RunReport report = RunOnFloor(ValveBetween("给排水\\附件\\阀门\\闸阀", kPipe25, kPipe25));
    EXPECT_TRUE(report.findings.empty());
    EXPECT_EQ(TaskOf(report, kRule, "1F", "给排水").notExamined, 1U);
}

TEST(PipeDiameterRule, LeavesDuctsAlone) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {1000, 0, 0}, "暖通\\管线\\风管\\400x200");
    const RunReport report = RunOnFloor(std::move(drawing));
    EXPECT_EQ(TaskOf(report, kRule, "1F", "暖通").outcome, Outcome::NotApplicable);
}

TEST(PipeDiameterRule, KeepsItsFeatureCodeWhenTheModelIsExportedAgain) {
    const RunReport before = RunOnFloor(ValveBetween("给排水\\附件\\阀门\\DN32", kPipe25, kPipe25));
    Drawing again;
    again.handle(700).fitting({1000, 0, 0}, "给排水\\附件\\阀门\\DN32").property(kPropertyGlobalId, "valve");
    again.pipe({2000, 0, 0}, {1000, 0, 0}, kPipe25).property(kPropertyGlobalId, "right");
    again.pipe({1000, 0, 0}, {0, 0, 0}, kPipe25).property(kPropertyGlobalId, "left");
    const RunReport after = RunOnFloor(std::move(again));
    ASSERT_EQ(before.findings.size(), 1U);
    ASSERT_EQ(after.findings.size(), 1U);
    EXPECT_EQ(before.findings.front().featureCode, after.findings.front().featureCode);
    EXPECT_NE(before.findings.front().location, after.findings.front().location);
}

// Pipes that end in one point, and as many valves on it.
Drawing Heap(int count, const char* valve) {
    Drawing drawing;
    for (int i = 0; i < count; ++i) {
        drawing.pipe({0, 0, 0}, {1000, 10.0 * i, 0}, kPipe25);
    }
    for (int i = 0; i < count; ++i) {
        drawing.fitting({0, 0, 0}, valve);
    }
    return drawing;
}

TEST(PipeDiameterRule, SaysThatAHeapOfPipesTellsNothing) {
    const int count = static_cast<int>(norvex::rule::Joints::kMostLooks) + 1;
    const RunReport report = RunOnFloor(Heap(count, "给排水\\附件\\阀门\\闸阀 DN32"));
    EXPECT_TRUE(report.findings.empty());
    EXPECT_EQ(TaskOf(report, kRule, "1F", "给排水").notExamined, static_cast<unsigned>(count));
    EXPECT_EQ(TaskOf(report, kRule, "1F", "给排水").examined, static_cast<unsigned>(count));
}

TEST(PipeDiameterRule, LooksAtABoundedNumberOfPipesForEachValve) {
    using norvex::rule::Joints;
    for (const int count : {550, 1100}) {
        Drawing drawing = Heap(count, "给排水\\附件\\阀门\\闸阀 DN32");
        const std::vector<ZrOwEntity*> entities = drawing.entities();
        const Joints joints(entities);
        for (int round = 0; round < 2; ++round) {
            for (const ZrOwEntity* entity : entities) {
                joints.Of(*entity);
            }
        }
        EXPECT_LE(joints.Looks(), 2U * (Joints::kMostLooks + 1U) * static_cast<unsigned>(count));
        EXPECT_EQ(joints.IsCrowded(*entities.back()), count > static_cast<int>(Joints::kMostLooks));
    }
}

}  // namespace
