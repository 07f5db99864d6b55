// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <set>

#include "norvexdata/trust/ErrorFeatureCode.h"
#include "service/Project.h"
#include "tests/service/support/RunFixture.h"

namespace {

using norvex::Drawing;
using norvex::service::Outcome;
using norvex::service::RunReport;
using norvex::service::Severity;
using norvex::test::AddSquare;
using norvex::test::DrawingFloors;
using norvex::test::kFirePipe;
using norvex::test::kWaterPipe;
using norvex::test::RunShippedRules;
using norvex::test::TaskOf;

DrawingFloors OneFloor(Drawing drawing) {
    DrawingFloors floors;
    floors.Add("1F", std::move(drawing));
    return floors;
}

TEST(PipeLoopRule, SuspectsALoopOfWaterPipes) {
    Drawing drawing;
    AddSquare(drawing, kWaterPipe, 0, "side");
    DrawingFloors floors = OneFloor(std::move(drawing));
    const RunReport report = RunShippedRules(floors);

    ASSERT_EQ(report.findings.size(), 1U);
    const auto& finding = report.findings.front();
    EXPECT_EQ(finding.rule, "CCheckPipeLoop");
    EXPECT_EQ(finding.severity, Severity::Suspected);
    EXPECT_EQ(finding.category, "建模合理性");
    EXPECT_EQ(finding.specialty, "给排水");
    EXPECT_EQ(finding.floor, "1F");
    EXPECT_EQ(finding.location, "定位:构件定位:1:构件错误:1,2,3,4");
    EXPECT_EQ(finding.featureCode.size(), 33U);
    EXPECT_EQ(finding.featureCode.front(), '_');
    ASSERT_EQ(finding.objects.size(), 4U);
    EXPECT_EQ(finding.objects[0].globalId, "side0");
    ASSERT_TRUE(finding.place.has_value());
    EXPECT_EQ(finding.place->x, 500.0);
    EXPECT_EQ(finding.place->y, 500.0);
    EXPECT_NE(finding.sentence.find("4 pipes"), std::string::npos) << finding.sentence;
    EXPECT_NE(finding.sentence.find("\"1F\""), std::string::npos) << finding.sentence;
    EXPECT_NE(finding.sentence.find("4.00 m"), std::string::npos) << finding.sentence;
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "1F", "给排水").outcome, Outcome::Failed);
}

TEST(PipeLoopRule, NamesTheSystemsOfTheLoop) {
    Drawing drawing;
    AddSquare(drawing, kWaterPipe, 0, "side");
    for (std::size_t side = 0; side < 4; ++side) {
        drawing.at<ZrOwEntity>(side)->SetSysCode(side == 0 ? L"给排水\\Cold water" : L"给排水\\Hot water");
    }
    DrawingFloors floors = OneFloor(std::move(drawing));
    const RunReport report = RunShippedRules(floors);
    ASSERT_EQ(report.findings.size(), 1U);
    EXPECT_NE(report.findings.front().sentence.find("of the systems \"Cold water\", \"Hot water\""), std::string::npos)
        << report.findings.front().sentence;
}

TEST(PipeLoopRule, SaysOfTwoPipesThatTheyJoinTheSameJoints) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {1000, 0, 0}, kWaterPipe.c_str());
    drawing.pipe({0, 0, 0}, {1000, 0, 0}, kWaterPipe.c_str()).length(1300);
    DrawingFloors floors = OneFloor(std::move(drawing));
    const RunReport report = RunShippedRules(floors);
    ASSERT_EQ(report.findings.size(), 1U);
    EXPECT_EQ(
        report.findings.front().sentence.find("2 pipes of no named system on floor \"1F\" run between the same two "
                                              "joints and form a closed loop, 2.30 m long"),
        0U)
        << report.findings.front().sentence;
}

TEST(PipeLoopRule, OnlyRemindsOfARingOfFireMains) {
    Drawing drawing;
    AddSquare(drawing, kFirePipe, 0, "main");
    DrawingFloors floors = OneFloor(std::move(drawing));
    const RunReport report = RunShippedRules(floors);
    ASSERT_EQ(report.findings.size(), 1U);
    EXPECT_EQ(report.findings.front().severity, Severity::Remind);
    const auto task = TaskOf(report, "CCheckPipeLoop", "1F", "消防");
    EXPECT_EQ(task.outcome, Outcome::Passed);
    EXPECT_EQ(task.reminders, 1U);
}

TEST(PipeLoopRule, PassesATreeOfPipes) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {1000, 0, 0}, kWaterPipe.c_str())
        .pipe({1000, 0, 0}, {2000, 0, 0}, kWaterPipe.c_str())
        .pipe({1000, 0, 0}, {1000, 1000, 0}, kWaterPipe.c_str());
    DrawingFloors floors = OneFloor(std::move(drawing));
    const RunReport report = RunShippedRules(floors);
    EXPECT_TRUE(report.findings.empty());
    const auto task = TaskOf(report, "CCheckPipeLoop", "1F", "给排水");
    EXPECT_EQ(task.outcome, Outcome::Passed);
    EXPECT_EQ(task.examined, 3U);
}

TEST(PipeLoopRule, LeavesDuctsAlone) {
    Drawing drawing;
    AddSquare(drawing, "暖通\\管线\\风管\\400x200", 0, "duct");
    DrawingFloors floors = OneFloor(std::move(drawing));
    const RunReport report = RunShippedRules(floors);
    EXPECT_TRUE(report.findings.empty());
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "1F", "暖通").outcome, Outcome::NotApplicable);
}

TEST(PipeLoopRule, KeepsItsFeatureCodeWhenTheModelIsExportedAgain) {
    Drawing first;
    AddSquare(first, kWaterPipe, 0, "side");
    DrawingFloors firstFloors = OneFloor(std::move(first));
    const RunReport before = RunShippedRules(firstFloors);

    // The same pipes in another order, drawn the other way round, under other handles, on a floor of another name.
    Drawing second;
    const AcGePoint3d corners[] = {{0, 0, 0}, {1000, 0, 0}, {1000, 1000, 0}, {0, 1000, 0}};
    for (const int side : {2, 0, 3, 1}) {
        second.handle(static_cast<Adesk::UInt64>(900 - side))
            .pipe(corners[(side + 1) % 4], corners[side], kWaterPipe.c_str())
            .property(kPropertyGlobalId, ("side" + std::to_string(side)).c_str());
    }
    DrawingFloors secondFloors;
    secondFloors.Add("Ground floor", std::move(second));
    const RunReport after = RunShippedRules(secondFloors);

    ASSERT_EQ(before.findings.size(), 1U);
    ASSERT_EQ(after.findings.size(), 1U);
    EXPECT_EQ(before.findings.front().featureCode, after.findings.front().featureCode);
    EXPECT_NE(before.findings.front().location, after.findings.front().location);
}

// A ladder of five squares that share their rungs: no two loops may share a pipe, so which loops are reported depends
// on where the search begins.
std::multiset<std::string> CodesOfLadder(unsigned seed) {
    struct Side {
        AcGePoint3d from, to;
        std::string globalId;
    };
    std::vector<Side> sides;
    for (int i = 0; i < 6; ++i) {
        const double x = i * 1000.0;
        sides.push_back({{x, 0, 0}, {x, 1000, 0}, "rung" + std::to_string(i)});
        if (i < 5) {
            sides.push_back({{x, 0, 0}, {x + 1000, 0, 0}, "low" + std::to_string(i)});
            sides.push_back({{x, 1000, 0}, {x + 1000, 1000, 0}, "high" + std::to_string(i)});
        }
    }
    std::shuffle(sides.begin(), sides.end(), std::mt19937(seed));
    Drawing drawing;
    for (const Side& side : sides) {
        drawing.pipe(side.from, side.to, kWaterPipe.c_str()).property(kPropertyGlobalId, side.globalId.c_str());
    }
    DrawingFloors floors = OneFloor(std::move(drawing));
    std::multiset<std::string> codes;
    for (const auto& finding : RunShippedRules(floors).findings) {
        codes.insert(finding.featureCode);
    }
    return codes;
}

TEST(PipeLoopRule, FindsTheSameLoopsInAnyOrderOfThePipes) {
    const std::multiset<std::string> codes = CodesOfLadder(1);
    EXPECT_FALSE(codes.empty());
    for (unsigned seed = 2; seed < 12; ++seed) {
        EXPECT_EQ(CodesOfLadder(seed), codes) << "seed " << seed;
    }
}

TEST(PipeLoopRule, TellsLoopsWithoutGlobalIdsApartByTheirPlace) {
    Drawing drawing;
    for (const double x : {0.0, 5000.0}) {
        drawing.pipe({x, 0, 0}, {x + 1000, 0, 0}, kWaterPipe.c_str())
            .pipe({x + 1000, 0, 0}, {x, 1000, 0}, kWaterPipe.c_str())
            .pipe({x, 1000, 0}, {x, 0, 0}, kWaterPipe.c_str());
    }
    DrawingFloors floors = OneFloor(std::move(drawing));
    const RunReport report = RunShippedRules(floors);
    ASSERT_EQ(report.findings.size(), 2U);
    EXPECT_NE(report.findings[0].featureCode, report.findings[1].featureCode);
}

TEST(PipeLoopRule, LeavesOutASpurAtThePointWhereTheSearchBegan) {
    // A pipe to the point (0, 0, 0), and from there a triangle: the search begins at that point and comes back to it.
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {0, -2000, 0}, kWaterPipe.c_str())
        .pipe({0, -2000, 0}, {0, -3000, 0}, kWaterPipe.c_str())
        .pipe({0, 0, 0}, {1000, 0, 0}, kWaterPipe.c_str())
        .pipe({1000, 0, 0}, {1000, 1000, 0}, kWaterPipe.c_str())
        .pipe({1000, 1000, 0}, {0, 0, 0}, kWaterPipe.c_str());
    DrawingFloors floors = OneFloor(std::move(drawing));
    const RunReport report = RunShippedRules(floors);
    ASSERT_EQ(report.findings.size(), 1U);
    EXPECT_EQ(report.findings.front().location, "定位:构件定位:1:构件错误:3,4,5");
}

TEST(PipeLoopRule, TakesOnePipeDrawnTwiceForNoLoop) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {0, -2000, 0}, kWaterPipe.c_str())
        .pipe({0, -2000, 0}, {0, -3000, 0}, kWaterPipe.c_str())
        .pipe({0, 0, 0}, {1000, 0, 0}, kWaterPipe.c_str())
        .pipe({0, 0, 0}, {1000, 0, 0}, kWaterPipe.c_str());
    DrawingFloors floors = OneFloor(std::move(drawing));
    EXPECT_TRUE(RunShippedRules(floors).findings.empty());
}

TEST(PipeLoopRule, FindsTwoPipesOfDifferentLengthBetweenTheSamePoints) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {1000, 0, 0}, kWaterPipe.c_str())
        .pipe({0, 0, 0}, {1000, 0, 0}, kWaterPipe.c_str())
        .length(1400);
    DrawingFloors floors = OneFloor(std::move(drawing));
    EXPECT_EQ(RunShippedRules(floors).findings.size(), 1U);
}

// Two loops of pipes with the same four GlobalIds, one beside the other.
RunReport TwoLoopsOfOneIdentity(bool isSaid) {
    Drawing drawing;
    for (const double x : {0.0, 5000.0}) {
        const AcGePoint3d corners[] = {{x, 0, 0}, {x + 1000, 0, 0}, {x + 1000, 1000, 0}, {x, 1000, 0}};
        for (int side = 0; side < 4; ++side) {
            drawing.pipe(corners[side], corners[(side + 1) % 4], kWaterPipe.c_str())
                .property(kPropertyGlobalId, ("side" + std::to_string(side)).c_str());
            if (isSaid) {
                drawing.property(kPropertyGlobalIdRepeats, "1");
            }
        }
    }
    DrawingFloors floors = OneFloor(std::move(drawing));
    return RunShippedRules(floors);
}

TEST(PipeLoopRule, TellsFindingsApartWhoseGlobalIdsRepeat) {
    const RunReport report = TwoLoopsOfOneIdentity(true);
    ASSERT_EQ(report.findings.size(), 2U);
    EXPECT_NE(report.findings[0].featureCode, report.findings[1].featureCode);
    const RunReport again = TwoLoopsOfOneIdentity(true);
    EXPECT_EQ(again.findings[0].featureCode, report.findings[0].featureCode);
    EXPECT_EQ(again.findings[1].featureCode, report.findings[1].featureCode);
}

TEST(PipeLoopRule, KeepsTheCodesOfObjectsWhoseGlobalIdsAreTheirOwn) {
    Drawing drawing;
    AddSquare(drawing, kWaterPipe, 0, "side");
    DrawingFloors floors = OneFloor(std::move(drawing));
    const RunReport report = RunShippedRules(floors);
    ASSERT_EQ(report.findings.size(), 1U);
    EXPECT_EQ(report.findings[0].featureCode,
              norvex::text::ToUtf8(GetErrorFeatureCode(u"CCheckPipeLoop", L"建模合理性", L"管道闭合成环",
                                                       u"side0,side1,side2,side3", u"", u"")));
}

TEST(PipeLoopRule, SaysHowManyPipesHaveNoPlace) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {1000, 0, 0}, kWaterPipe.c_str()).pipe({5, 5, 5}, {5, 5, 5}, kWaterPipe.c_str());
    DrawingFloors floors = OneFloor(std::move(drawing));
    floors.WithoutPlace(kWaterPipe, 3).WithoutPlace(kFirePipe, 7).WithoutPlace("给排水\\附件\\阀门\\DN50", 9);
    const RunReport report = RunShippedRules(floors);
    const auto water = TaskOf(report, "CCheckPipeLoop", "1F", "给排水");
    EXPECT_EQ(water.examined, 1U);
    EXPECT_EQ(water.notExamined, 4U);
    EXPECT_EQ(water.reason,
              "the model does not say where they are, or the model does not say where their two ends are");
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "1F", "消防").notExamined, 7U);
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "1F", "暖通").notExamined, 0U);
}

TEST(PipeLoopRule, SaysHowManyPipesHaveNoTwoEnds) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {1000, 0, 0}, kWaterPipe.c_str()).pipe({5, 5, 5}, {5, 5, 5}, kWaterPipe.c_str());
    DrawingFloors floors = OneFloor(std::move(drawing));
    const auto task = TaskOf(RunShippedRules(floors), "CCheckPipeLoop", "1F", "给排水");
    EXPECT_EQ(task.examined, 1U);
    EXPECT_EQ(task.notExamined, 1U);
    EXPECT_NE(task.reason, "");
}

TEST(PipeLoopRule, LooksBeyondTheNetworksOfOneSearch) {
    Drawing drawing;
    for (int i = 0; i < 1500; ++i) {
        drawing.pipe({0, 0, i * 100.0}, {50, 0, i * 100.0}, kWaterPipe.c_str());
    }
    AddSquare(drawing, kWaterPipe, 100000, "side");
    DrawingFloors floors = OneFloor(std::move(drawing));
    const RunReport report = RunShippedRules(floors);
    EXPECT_EQ(report.findings.size(), 1U);
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "1F", "给排水").examined, 1504U);
}

TEST(PipeLoopRule, LooksAtManyLoosePipesInOneGo) {
    Drawing drawing;
    for (int i = 0; i < 30'000; ++i) {
        drawing.pipe({0, 0, i * 100.0}, {50, 0, i * 100.0}, kWaterPipe.c_str());
    }
    DrawingFloors floors = OneFloor(std::move(drawing));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(TaskOf(RunShippedRules(floors), "CCheckPipeLoop", "1F", "给排水").examined, 30'000U);
    // Less than one second on two cores of 2020; looking for each pipe in each network took ten.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(60));
}

// Writes the rule's section as the project's configuration and makes it the one in use.
void Configure(const norvex::test::TemporaryFolder& project, const std::string& section) {
    norvex::test::WriteFile(project / "NorvexConfig.xml",
                            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<norvex><rule className=\"CCheckPipeLoop\">"
                            "<checkitems>" +
                                section + "</checkitems></rule></norvex>\n");
    std::string error;
    ASSERT_TRUE(norvex::service::UseConfiguration(project.Path(), norvex::service::ApplicationFolder(), error))
        << error;
}

TEST(PipeLoopRule, TakesWhatItChecksAndHowSevereFromTheConfiguration) {
    const norvex::test::TemporaryFolder project;
    Configure(project,
              "<group name=\"暖通\"><entry name=\"管线\"><value>风管</value></entry></group>"
              "<group name=\"severity\"><entry name=\"暖通\"><value>ERR_REMIND</value></entry>"
              "<entry name=\"暖通\\管线\\风管\"><value>ERR_CONFIRMED</value></entry></group>");
    Drawing drawing;
    AddSquare(drawing, "暖通\\管线\\风管\\400x200", 0, "duct");
    AddSquare(drawing, kWaterPipe, 5000, "pipe");
    DrawingFloors floors = OneFloor(std::move(drawing));
    const RunReport report = RunShippedRules(floors);
    ASSERT_EQ(report.findings.size(), 1U);
    EXPECT_EQ(report.findings.front().specialty, "暖通");
    EXPECT_EQ(report.findings.front().severity, Severity::Confirmed);
    const auto rule = std::find_if(report.rules.begin(), report.rules.end(),
                                   [](const auto& each) { return each.name == "CCheckPipeLoop"; });
    ASSERT_NE(rule, report.rules.end());
    EXPECT_EQ(rule->specialties, (std::vector<std::string>{"暖通"}));
}

TEST(PipeLoopRule, SuspectsWhereTheConfigurationNamesNoSeverity) {
    const norvex::test::TemporaryFolder project;
    Configure(project, "<group name=\"消防\"><entry name=\"管线\"><value>管道</value></entry></group>");
    Drawing drawing;
    AddSquare(drawing, kFirePipe, 0, "main");
    DrawingFloors floors = OneFloor(std::move(drawing));
    const RunReport report = RunShippedRules(floors);
    ASSERT_EQ(report.findings.size(), 1U);
    EXPECT_EQ(report.findings.front().severity, Severity::Suspected);
}

TEST(PipeLoopRule, MeansByTheShippedConfigurationWhatIsBuiltIn) {
    const norvex::test::TemporaryFolder project;
    std::string error;
    ASSERT_TRUE(norvex::service::UseConfiguration(project.Path(), norvex::service::ApplicationFolder(), error));
    Drawing drawing;
    AddSquare(drawing, kWaterPipe, 0, "pipe");
    AddSquare(drawing, kFirePipe, 5000, "main");
    DrawingFloors floors = OneFloor(std::move(drawing));
    const RunReport report = RunShippedRules(floors);
    ASSERT_EQ(report.findings.size(), 2U);
    EXPECT_EQ(report.findings[0].severity, Severity::Suspected);
    EXPECT_EQ(report.findings[1].severity, Severity::Remind);
}

}  // namespace
