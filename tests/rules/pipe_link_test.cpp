// SPDX-License-Identifier: Apache-2.0
#include "tests/rules/RuleOnDrawing.h"

namespace {

using norvex::Drawing;
using norvex::service::Outcome;
using norvex::service::RunReport;
using norvex::service::Severity;
using norvex::test::RunOnFloor;
using norvex::test::TaskOf;

const char* const kRule = "CCheckPipeLinkInvalid";

// One pipe of a kind, joined as a model says; nothing said with an empty text.
Drawing OnePipe(const char* path, const char* connectionType) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {1000, 0, 0}, path).property(kPropertyGlobalId, "pipe");
    if (*connectionType != '\0') {
        drawing.property(kPropertyConnectionType, connectionType);
    }
    return drawing;
}

std::size_t FindingsOf(const char* path, const char* connectionType, const std::string& configuration = {}) {
    return RunOnFloor(OnePipe(path, connectionType), configuration).findings.size();
}

TEST(PipeLinkRule, NamesTheLinkThatAPipeMayNotHaveAndHowToRepairIt) {
    const RunReport report = RunOnFloor(OnePipe("给排水\\管线\\管道\\PP-R管 DN20", "THREADED"));
    ASSERT_EQ(report.findings.size(), 1U);
    const auto& finding = report.findings.front();
    EXPECT_EQ(finding.rule, kRule);
    EXPECT_EQ(finding.severity, Severity::Suspected);
    EXPECT_EQ(finding.category, "属性合理性");
    EXPECT_EQ(finding.location, "定位:构件定位:1:构件错误:1-修复:管道连接方式修改:1");
    EXPECT_NE(finding.sentence.find("is joined by 螺纹连接, which is not permitted for PP-R管 (permitted: 热熔连接, "
                                    "电熔连接)"),
              std::string::npos)
        << finding.sentence;
    EXPECT_EQ(TaskOf(report, kRule, "1F", "给排水").outcome, Outcome::Failed);
}

TEST(PipeLinkRule, PassesALinkThatIsPermitted) {
    const RunReport report = RunOnFloor(OnePipe("给排水\\管线\\管道\\镀锌钢管 DN50", "GROOVED"));
    EXPECT_TRUE(report.findings.empty());
    const auto task = TaskOf(report, kRule, "1F", "给排水");
    EXPECT_EQ(task.outcome, Outcome::Passed);
    EXPECT_EQ(task.examined, 1U);
}

TEST(PipeLinkRule, TakesTheDefaultWhereThePipeSaysNothing) {
    const RunReport report = RunOnFloor(OnePipe("给排水\\管线\\管道\\镀锌钢管 DN50", ""));
    EXPECT_TRUE(report.findings.empty());
    EXPECT_EQ(TaskOf(report, kRule, "1F", "给排水").examined, 1U);
}

TEST(PipeLinkRule, ReportsADefaultThatIsNotPermitted) {
    const std::string configuration =
        "<rule className=\"CCheckPipeLinkInvalid\"><checkrules><item><names><n>铜管</n></names><default>螺纹连接"
        "</default><availables><a>钎焊</a></availables></item></checkrules></rule>";
    const RunReport report = RunOnFloor(OnePipe("给排水\\管线\\管道\\铜管", ""), configuration);
    ASSERT_EQ(report.findings.size(), 1U);
    EXPECT_NE(report.findings.front().sentence.find("configuration's default"), std::string::npos);
    EXPECT_EQ(FindingsOf("给排水\\管线\\管道\\铜管", "SOLDERED", configuration), 0U);
}

TEST(PipeLinkRule, SaysThatItCouldNotLookWhereNobodySaysTheLink) {
    const RunReport report = RunOnFloor(
        OnePipe("给排水\\管线\\管道\\铜管", ""),
        "<rule className=\"CCheckPipeLinkInvalid\"><checkrules><item><names><n>铜管</n></names><availables><a>钎焊</a>"
        "</availables></item></checkrules></rule>");
    EXPECT_TRUE(report.findings.empty());
    EXPECT_EQ(TaskOf(report, kRule, "1F", "给排水").notExamined, 1U);
}

TEST(PipeLinkRule, HoldsEachOfTwoDifferentEndsAgainstTheRules) {
    EXPECT_EQ(FindingsOf("给排水\\管线\\管道\\焊接钢管 DN80", "FLANGED,WELDED"), 0U);
    EXPECT_EQ(FindingsOf("给排水\\管线\\管道\\焊接钢管 DN80", "FLANGED,THREADED"), 1U);
}

TEST(PipeLinkRule, LimitsALinkToSmallPipes) {
    EXPECT_EQ(FindingsOf("消防\\管线\\管道\\喷淋管 DN50", "THREADED"), 0U);
    EXPECT_EQ(FindingsOf("消防\\管线\\管道\\喷淋管 DN65", "THREADED"), 1U);
}

TEST(PipeLinkRule, TakesTheLongestKindInTheDetailNameElseTheSubCategory) {
    const std::string kinds =
        "<rule className=\"CCheckPipeLinkInvalid\"><checkrules>"
        "<item><names><n>钢管</n></names><availables><a>焊接</a></availables></item>"
        "<item><names><n>镀锌钢管</n></names><availables><a>螺纹连接</a></availables></item>"
        "<item><names><n>软管</n></names><availables><a>卡压连接</a></availables></item></checkrules></rule>";
    EXPECT_EQ(FindingsOf("给排水\\管线\\管道\\镀锌钢管 DN50", "THREADED", kinds), 0U);
    EXPECT_EQ(FindingsOf("给排水\\管线\\管道\\钢管 DN50", "THREADED", kinds), 1U);
    EXPECT_EQ(FindingsOf("给排水\\管线\\软管\\A7", "COMPRESSION", kinds), 0U);
    EXPECT_EQ(FindingsOf("给排水\\管线\\软管\\A7", "THREADED", kinds), 1U);
}

TEST(PipeLinkRule, ReadsThePropertyThatTheConfigurationNames) {
    const std::string configuration =
        "<rule className=\"CCheckPipeLinkInvalid\"><checkitems><group name=\"property\"><entry name=\"接口\"/></group>"
        "</checkitems><checkrules><item><names><n>铜管</n></names><availables><a>钎焊</a></availables></item>"
        "</checkrules></rule>";
    Drawing drawing = OnePipe("给排水\\管线\\管道\\铜管", "SOLDERED");
    drawing.property(L"接口", "螺纹连接");
    EXPECT_EQ(RunOnFloor(std::move(drawing), configuration).findings.size(), 1U);
}

TEST(PipeLinkRule, HasNothingToSayAboutOtherPipes) {
    const RunReport report = RunOnFloor(OnePipe("给排水\\管线\\管道\\不锈钢 DN50", "THREADED"));
    EXPECT_EQ(TaskOf(report, kRule, "1F", "给排水").outcome, Outcome::NotApplicable);
}

}  // namespace
