// SPDX-License-Identifier: Apache-2.0
#include "report/FindingText.h"

#include <gtest/gtest.h>

#include <utility>

using namespace norvex;
using report::FindingText;
using report::ShellWord;

namespace {

service::RunReport OneLoop() {
    service::RunReport report;
    report.run = 12;
    report.startedAt = "2026-03-02T08:30:00Z";
    report.rules.resize(1);
    report.rules[0].name = "CCheckPipeLoop";
    report.rules[0].shortName = "pipe-loop";
    report.rules[0].why = "Water stands still in a loop.\n\nIt goes bad there.";
    report.rules[0].howToFix = "Take one pipe away.";
    service::FindingRecord& finding = report.findings.emplace_back();
    finding.number = 4;
    finding.rule = "CCheckPipeLoop";
    finding.floor = "2层";
    finding.specialty = "给排水";
    finding.category = "建模合理性";
    finding.subCategory = "管道闭合成环";
    finding.severity = service::Severity::Suspected;
    finding.sentence = "2 pipes form a closed loop.";
    finding.location = "定位:构件定位:1:构件错误:2AE,2D0";
    finding.featureCode = "_4c4ac1da42c2523d42e6d4e55e0a7dce";
    finding.objects = {
        {.handle = "2AE", .globalId = "0epFhrO_7Qo9CMwelx0D0K", .name = "Pipe \x1B[2J", .subCategory = "管道"}};
    finding.place = service::Place{5030, 2190, 2800};
    return report;
}

}  // namespace

TEST(FindingText, TellsTheWholeFinding) {
    const service::RunReport report = OneLoop();
    EXPECT_EQ(
        FindingText(report, report.findings[0], {.trustCommand = "norvex trust add --finding _4c4a"}, {.width = 60}),
        "Finding 4 of run 12 of 2026-03-02 08:30 UTC\n"
        "suspected · 建模合理性 · 管道闭合成环 · rule pipe-loop\n"
        "\n"
        "What\n"
        "  2 pipes form a closed loop.\n"
        "\n"
        "Why the rule cares\n"
        "  Water stands still in a loop.\n"
        "  It goes bad there.\n"
        "\n"
        "Where\n"
        "  floor 2层, 给排水 (water)\n"
        "  middle of its objects: x 5.03, y 2.19, z 2.80 m\n"
        "  Handle  GlobalId                Sub-category  Name\n"
        "  2AE     0epFhrO_7Qo9CMwelx0D0K  管道          Pipe \\x1B[2J\n"
        "\n"
        "How to fix it\n"
        "  Take one pipe away.\n"
        "\n"
        "How to accept it\n"
        "  norvex trust add --finding _4c4a\n"
        "\n"
        "Location string\n"
        "  定位:构件定位:1:构件错误:2AE,2D0\n"
        "\n"
        "Feature code\n"
        "  _4c4ac1da42c2523d42e6d4e55e0a7dce\n");
}

TEST(FindingText, KnowsNoPlaceAtMinusZero) {
    service::RunReport report = OneLoop();
    report.findings[0].place = service::Place{-0.3, -0.0, -5.1};
    const std::string text = FindingText(report, report.findings[0], {}, {.width = 60});
    EXPECT_NE(text.find("x 0.00, y 0.00, z -0.01 m"), std::string::npos) << text;
}

TEST(FindingText, TellsHowItStandsToTheRunBeforeAndToTrust) {
    service::RunReport report = OneLoop();
    const auto text = [&](bool isGone = false) {
        return FindingText(report, report.findings[0], {.isGone = isGone, .trustCommand = {}}, {.width = 200});
    };
    EXPECT_EQ(text().find("How it stands"), std::string::npos) << "nothing is known";
    EXPECT_EQ(text().find("How to accept it"), std::string::npos);
    report.comparison.emplace();
    report.comparison->run = 11;
    report.comparison->startedAt = "2026-03-01T08:30:00Z";
    EXPECT_NE(text().find("Nobody can tell whether it is new: run 11 of 2026-03-01 08:30 UTC did not look there."),
              std::string::npos);
    report.findings[0].novelty = service::Novelty::New;
    EXPECT_NE(text().find("New: run 11 of 2026-03-01 08:30 UTC did not find it."), std::string::npos);
    report.findings[0].novelty = service::Novelty::Persisting;
    EXPECT_NE(text().find("Persisting: run 11 of 2026-03-01 08:30 UTC found it too."), std::string::npos);
    EXPECT_NE(text(true).find("Gone: run 12 of 2026-03-02 08:30 UTC looked and did not find it any more."),
              std::string::npos);
    EXPECT_EQ(text(true).find("Finding 4 of run 11 of"), 0U) << "its number is that of the earlier run";
    report.findings[0].trusted = true;
    report.findings[0].acceptance = service::Acceptance{3, "ring main", "Ada", "2026-02-01", "2026-09-01"};
    EXPECT_NE(text().find("Accepted by Ada on 2026-02-01 (trust 3), until 2026-09-01: ring main"), std::string::npos);
    report.findings[0].trusted = false;
    report.findings[0].expired = std::exchange(report.findings[0].acceptance, std::nullopt);
    EXPECT_NE(text().find("Was accepted by Ada on 2026-02-01 (trust 3), which expired on 2026-09-01: ring main"),
              std::string::npos);
}

TEST(ShellWord, QuotesWhatAShellWouldTakeApart) {
    EXPECT_EQ(ShellWord("_4c4a"), "_4c4a");
    EXPECT_EQ(ShellWord("/home/ada/house"), "/home/ada/house");
    EXPECT_EQ(ShellWord(""), "''");
    EXPECT_EQ(ShellWord("two words"), "'two words'");
    EXPECT_EQ(ShellWord("$(rm -r ~)"), "'$(rm -r ~)'");
    EXPECT_EQ(ShellWord("it's"), "'it'\\''s'");
    EXPECT_EQ(ShellWord("二号楼"), "'二号楼'");
}
