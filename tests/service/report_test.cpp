// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "report/CheckReport.h"
#include "report/DisplayText.h"
#include "report/Table.h"
#include "service/Sha256.h"

namespace {

using norvex::report::DisplayWidth;
using norvex::report::Sanitised;
using norvex::report::Table;
using norvex::report::TextStyle;
using norvex::report::Wrapped;
using norvex::service::RunReport;
using Lines = std::vector<std::string>;

TEST(DisplayText, MakesControlCharactersVisible) {
    EXPECT_EQ(Sanitised("a\x1B[31mb\nc\tü给"), "a\\x1B[31mb\\x0Ac\\x09ü给");
    EXPECT_EQ(Sanitised("\x7F\xC2\x9B"), "\\x7F\\x9B");
    EXPECT_EQ(Sanitised("abc\xE2\x80\xAE"
                        "fed"),
              "abc\\u202Efed");
    EXPECT_EQ(Sanitised("a\xE2\x80\xA8"
                        "b"),
              "a\\u2028b");
}

TEST(DisplayText, ReplacesIllFormedBytes) {
    EXPECT_EQ(Sanitised("a\xFF"
                        "b"),
              "a\xEF\xBF\xBD"
              "b");
    EXPECT_EQ(Sanitised("\xE7\xBB"), "\xEF\xBF\xBD");
}

TEST(DisplayText, CountsColumnsAsATerminalDoes) {
    EXPECT_EQ(DisplayWidth("abc"), 3U);
    EXPECT_EQ(DisplayWidth("给排水"), 6U);
    EXPECT_EQ(DisplayWidth("ｱ"), 1U);
    EXPECT_EQ(DisplayWidth("Ａ"), 2U);
    EXPECT_EQ(DisplayWidth("e\xCC\x81"), 1U);
}

TEST(DisplayText, WrapsAtBlanksAndBetweenWideCharacters) {
    EXPECT_EQ(Wrapped("one two three", 8), (Lines{"one two", "three"}));
    EXPECT_EQ(Wrapped("给排水管", 5), (Lines{"给排", "水管"}));
    EXPECT_EQ(Wrapped("abcdefgh", 3), (Lines{"abc", "def", "gh"}));
    EXPECT_EQ(Wrapped("", 3), (Lines{""}));
}

TEST(Table, AlignsColumnsOfWideCharacters) {
    Table table({{"Name"}, {"No", Table::Align::Right}, {"What"}});
    table.AddRow({{"给排水"}, {"7"}, {"x"}});
    table.AddRow({{"ab"}, {"12"}, {"y"}});
    EXPECT_EQ(table.ToText({.width = 60, .colour = false, .brief = false}),
              "  Name    No  What\n"
              "  给排水   7  x\n"
              "  ab      12  y\n");
}

TEST(Table, OneVeryLongCellPutsNoBlanksIntoOtherRows) {
    Table table({{"Floor"}, {"What"}});
    constexpr std::size_t kLong = 100000;
    table.AddRow({{std::string(kLong, 'x')}, {"long"}});
    for (int row = 0; row < 100; ++row) {
        table.AddRow({{"1"}, {"short"}});
    }
    const std::string text = table.ToText({});
    EXPECT_NE(text.find(std::string(kLong, 'x') + "  long\n"), std::string::npos);
    EXPECT_LT(text.size(), kLong + 101U * 300U);
}

TEST(Table, WrapsTheLastColumnAndTextBelowAndKeepsNotesWhole) {
    Table table({{"A"}, {"B"}});
    table.AddRow({{"1"}, {"some words that do not fit in"}});
    table.AddText("and more below the row");
    table.AddNote("定位:" + std::string(60, 'F'));
    EXPECT_EQ(table.ToText({.width = 29, .colour = false, .brief = false}),
              "  A  B\n"
              "  1  some words that do not\n"
              "     fit in\n"
              "     and more below the row\n"
              "     定位:" +
                  std::string(60, 'F') + "\n");
}

RunReport ReportWithOneFinding() {
    RunReport report;
    report.model.path = "house.ifc";
    report.floors.push_back(
        {.name = "1F\x1B[2J", .elevation = 0.0, .elements = 4, .withoutPlace = 0, .withoutStorey = false});
    report.rules.push_back({.name = "CCheckPipeLoop",
                            .shortName = "pipe-loop",
                            .title = "",
                            .category = "",
                            .version = "1.0.0.0",
                            .module = "CheckPipeLoop.Arx",
                            .specialties = {}});
    norvex::service::FindingRecord finding;
    finding.number = 1;
    finding.rule = "CCheckPipeLoop";
    finding.floor = report.floors[0].name;
    finding.severity = norvex::service::Severity::Suspected;
    finding.sentence = "A loop.";
    finding.location = "T:A:1:B:1,2";
    finding.featureCode = "_0123";
    report.findings.push_back(finding);
    return report;
}

TEST(CheckText, LetsNoEscapeSequenceOfTheModelThrough) {
    const std::string text = norvex::report::CheckText(ReportWithOneFinding(), TextStyle());
    EXPECT_EQ(text.find('\x1B'), std::string::npos);
    EXPECT_NE(text.find("1F\\x1B[2J"), std::string::npos);
}

TEST(CheckText, ShowsLocationAndFeatureCode) {
    const std::string text = norvex::report::CheckText(ReportWithOneFinding(), TextStyle());
    EXPECT_NE(text.find("T:A:1:B:1,2\n"), std::string::npos) << text;
    EXPECT_NE(text.find("_0123\n"), std::string::npos) << text;
    EXPECT_NE(text.find("1 finding: 0 confirmed, 1 suspected, 0 reminders."), std::string::npos) << text;
}

TEST(CheckText, ColoursOnlyWhenAskedTo) {
    TextStyle style;
    style.colour = true;
    EXPECT_NE(norvex::report::CheckText(ReportWithOneFinding(), style).find('\x1B'), std::string::npos);
}

TEST(CheckJson, IsValidAndKeepsTheModelsText) {
    const auto json = nlohmann::json::parse(norvex::report::CheckJson(ReportWithOneFinding()));
    EXPECT_EQ(json["format"], "norvex-check");
    EXPECT_EQ(json["findings"][0]["floor"], "1F\x1B[2J");
    EXPECT_EQ(json["findings"][0]["severity"], "suspected");
    EXPECT_EQ(json["complete"], true);
}

TEST(CheckJson, StaysValidWithIllFormedText) {
    RunReport report = ReportWithOneFinding();
    report.model.path = "\xFF.ifc";
    EXPECT_TRUE(nlohmann::json::accept(norvex::report::CheckJson(report)));
}

TEST(Sha256, GivesThePublishedDigests) {
    const auto digestOf = [](const std::string& text) {
        norvex::service::Sha256 digest;
        digest.Add(text);
        return digest.Finish();
    };
    EXPECT_EQ(digestOf(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(digestOf("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(digestOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(digestOf(std::string(1000000, 'a')), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

}  // namespace
