// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "report/CheckReport.h"
#include "tests/report/SampleReport.h"

namespace {

using Json = nlohmann::json;
using norvex::report::CheckJson;
using norvex::report::CheckText;
using norvex::report::TextStyle;
using norvex::report::Times;
using norvex::service::Outcome;
using norvex::service::RunReport;
using norvex::test::SampleReport;

Json JsonOf(const RunReport& report, Times times = Times::Omit) {
    return Json::parse(CheckJson(report, times));
}

// Two rules on so many floors; all passed but for one that crashed.
RunReport ManyFloors(int count) {
    RunReport report;
    report.rules.resize(2);
    report.rules[0].name = "CCheckOne";
    report.rules[1].name = "CCheckTwo";
    for (int floor = 0; floor < count; ++floor) {
        report.floors.emplace_back().name = fmt::format("F{}", floor);
        for (const auto& rule : report.rules) {
            report.tasks.push_back({.rule = rule.name,
                                    .floor = report.floors.back().name,
                                    .specialty = "消防",
                                    .outcome = Outcome::Passed,
                                    .examined = 10,
                                    .reason = {},
                                    .duration = std::chrono::milliseconds{5}});
        }
    }
    report.tasks.back().outcome = Outcome::Crashed;
    return report;
}

TEST(CheckReport, DoesNotCallNotApplicableWhatCouldNotBeLookedAt) {
    RunReport report = ManyFloors(1);
    report.tasks[0].outcome = Outcome::NotApplicable;
    report.tasks[0].examined = 0;
    report.tasks[0].notExamined = 5;
    report.tasks[0].reason = "nothing says how they are joined";
    const std::string text = CheckText(report, TextStyle{.width = 200});
    EXPECT_NE(
        text.find("CCheckOne  F0     not examined         0         0  消防 (fire) none of 5 examined, because nothing "
                  "says how they are joined\n"),
        std::string::npos)
        << text;
    EXPECT_EQ(text.find("not applicable"), std::string::npos) << text;
}

TEST(CheckReport, CountsEachWarningAboutTheFileOnce) {
    RunReport report = ManyFloors(1);
    report.model.notices = {{"note", "no-storey", 7, 1, "#3 lies on no storey."},
                            {"warning", "no-storey", 0, 0, "1 of 4 elements lies on no storey."}};
    report.model.noticeCount = 9;
    report.model.warningCount = 1;
    const std::string text = CheckText(report, TextStyle{});
    EXPECT_NE(text.find("warning: 1 of 4 elements lies on no storey.\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("about the file"), std::string::npos) << text;
    report.model.warningCount = 4;
    EXPECT_NE(CheckText(report, TextStyle{}).find("3 more warnings about the file; norvex inspect lists them.\n"),
              std::string::npos)
        << "those that were not kept are counted too";
}

TEST(CheckReport, SaysOnceWhichElementsOfTheModelNoRuleLooksAt) {
    RunReport report = ManyFloors(2);
    report.specialties = {"给排水", "消防", "弱电", "电气"};
    report.rules[0].specialties = {"给排水"};
    report.rules[1].specialties = {"消防", "给排水"};
    report.model.elementsOfSpecialties = {{"给排水", 9}, {"消防", 4}, {"电气", 24}, {"暖通", 5}};
    const std::string sentence = "No rule of this run looks at these elements of the model: 24 of 电气 (electrical).\n";
    const std::string text = CheckText(report, TextStyle{});
    ASSERT_NE(text.find(sentence), std::string::npos) << "what was not asked for, or has no elements, is left out\n"
                                                      << text;
    EXPECT_EQ(text.find(sentence, text.find(sentence) + 1), std::string::npos);
    EXPECT_EQ(JsonOf(report)["scope"]["withoutRule"], (Json{{{"specialty", "电气"}, {"elements", 24}}}));
    report.rules[0].specialties = {};
    EXPECT_EQ(CheckText(report, TextStyle{}).find("No rule"), std::string::npos) << "a rule for every specialty";
    EXPECT_EQ(JsonOf(report)["scope"]["withoutRule"], Json::array());
}

TEST(CheckJson, TellsRunIdentityNoveltyAndAcceptance) {
    const Json json = JsonOf(SampleReport());
    EXPECT_EQ(json["run"], (Json{{"number", 12}, {"resumed", false}}));
    EXPECT_EQ(json["scope"]["rules"][0]["md5"], std::string(32, 'b'));
    EXPECT_EQ(json["scope"]["rules"][0]["howToFix"], "Remove the pipe that is drawn twice.");
    const Json& findings = json["findings"];
    EXPECT_EQ(findings[0]["novelty"], "new");
    EXPECT_EQ(findings[1]["novelty"], "persisting");
    EXPECT_EQ(findings[2]["novelty"], nullptr);
    EXPECT_EQ(findings[1]["occurrence"], 1);
    EXPECT_EQ(findings[0]["acceptance"], nullptr);
    EXPECT_EQ(findings[2]["acceptance"]["person"], "Li \"Wei\"");
    EXPECT_EQ(findings[2]["acceptance"]["expiresOn"], "2027-01-01");
    EXPECT_EQ(findings[0]["objects"][0]["subCategory"], "水管");
    EXPECT_EQ(json["comparison"]["run"], 11);
    EXPECT_EQ(json["comparison"]["gone"][0]["sentence"], "A ring that is gone.");
    EXPECT_EQ(json["comparison"]["hidden"].size(), 1U);
    EXPECT_EQ(json["comparison"]["notVisited"], 3);
    EXPECT_EQ(json["acceptances"][1]["state"], "expired");
    EXPECT_EQ(json["acceptances"][1]["findings"], 2);
    RunReport first = SampleReport();
    first.run = 0;
    first.comparison.reset();
    EXPECT_EQ(JsonOf(first)["run"]["number"], nullptr);
    EXPECT_EQ(JsonOf(first)["comparison"], nullptr);
}

TEST(CheckJson, TellsTimesOnlyWhenAsked) {
    RunReport slower = SampleReport();
    slower.startedAt = "2027-01-01T00:00:00Z";
    slower.comparison->startedAt = "2026-12-31T00:00:00Z";
    for (auto& task : slower.tasks) {
        task.duration *= 2;
    }
    EXPECT_EQ(CheckJson(slower), CheckJson(SampleReport()));
    const Json timed = JsonOf(SampleReport(), Times::Show);
    EXPECT_EQ(timed["run"]["startedAt"], "2026-03-01T08:30:00Z");
    EXPECT_EQ(timed["outcomes"][0]["milliseconds"], 2.5);
    EXPECT_EQ(timed["comparison"]["startedAt"], "2026-02-27T08:30:00Z");
}

TEST(CheckText, SaysWhatChangedSinceTheRunBefore) {
    const std::string text = CheckText(SampleReport(), TextStyle());
    EXPECT_NE(text.find("suspected, new"), std::string::npos) << text;
    EXPECT_NE(text.find("\nSince run 11 of 2026-02-27T08:30:00Z\n"
                        "1 new, 1 persisting, 1 gone.\n"
                        "1 finding lies where the earlier run did not look; it may have been there before.\n"
                        "1 other finding is not looked for any more, because a rule or sub-category is trusted now.\n"
                        "3 findings lie where this run did not look or had nothing to look at; their fate is unknown.\n"
                        "The model is another one.\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("A ring that is gone."), std::string::npos);
    RunReport first = SampleReport();
    first.comparison.reset();
    EXPECT_EQ(CheckText(first, TextStyle()).find("Since run"), std::string::npos);
}

TEST(CheckText, CountsWhatIsGoneWhenThereIsMuch) {
    RunReport report = SampleReport();
    report.comparison->gone.resize(25, report.comparison->gone[0]);
    const std::string text = CheckText(report, TextStyle());
    EXPECT_NE(text.find("15 more findings are gone; norvex diff lists them.\n"), std::string::npos) << text;
}

TEST(CheckText, NamesWhoAcceptedAndWhatHasExpired) {
    RunReport report = SampleReport();
    report.findings[2].acceptance->reason = "Heated floor.";
    report.acceptances[0].state = norvex::service::AcceptanceState::Stale;
    const std::string text = CheckText(report, TextStyle());
    EXPECT_NE(text.find("Trusted by Li \"Wei\" since 2026-02-28 until 2027-01-01: Heated floor.\n"), std::string::npos)
        << text;
    TextStyle brief;
    brief.brief = true;
    for (const std::string& each : {text, CheckText(report, brief)}) {
        EXPECT_NE(
            each.find("Expired: trust entry 5 (the rule pipe-loop) by Li ended on 2026-01-01; 2 findings are back.\n"),
            std::string::npos)
            << each;
        EXPECT_NE(each.find("Stale: trust entry 4 (the finding _ccc) by Li \"Wei\" hides nothing any more.\n"),
                  std::string::npos)
            << each;
    }
}

TEST(CheckText, ListsTimesAndRatesWhenAsked) {
    const RunReport report = ManyFloors(2);
    EXPECT_EQ(CheckText(report, TextStyle()).find("Milliseconds"), std::string::npos);
    const std::string text = CheckText(report, TextStyle(), {.allOutcomes = false, .times = Times::Show});
    EXPECT_NE(text.find("Time that rules took\n"
                        "  Milliseconds  Examined  Entities/s  Rule       Floor\n"
                        "           5.0        10        2000  CCheckOne  F0\n"
                        "           5.0        10        2000  CCheckOne  F1\n"
                        "           5.0        10        2000  CCheckTwo  F0\n"
                        "           5.0        10        2000  CCheckTwo  F1\n"
                        "          20.0        40        2000  all        all\n"),
              std::string::npos)
        << text;
}

TEST(CheckText, CutsALongListOfOutcomesToWhatNeedsAttention) {
    const std::string few = CheckText(ManyFloors(30), TextStyle());
    EXPECT_NE(few.find("CCheckOne  F29"), std::string::npos);
    const std::string many = CheckText(ManyFloors(31), TextStyle());
    EXPECT_EQ(many.find("CCheckOne  F"), std::string::npos);
    EXPECT_NE(many.find("CCheckTwo  F30    crashed"), std::string::npos) << many;
    EXPECT_NE(many.find("  61 other rules on floors passed, 0 not applicable; --outcomes lists them.\n"),
              std::string::npos)
        << many;
    const std::string all = CheckText(ManyFloors(31), TextStyle(), {.allOutcomes = true, .times = Times::Omit});
    EXPECT_NE(all.find("CCheckOne  F29"), std::string::npos);
    EXPECT_EQ(all.find("--outcomes"), std::string::npos);
}

TEST(CheckText, ListsOutcomesOfABriefReportWhenAsked) {
    TextStyle brief;
    brief.brief = true;
    EXPECT_EQ(CheckText(ManyFloors(2), brief).find("What was examined"), std::string::npos);
    EXPECT_NE(CheckText(ManyFloors(2), brief, {.allOutcomes = true, .times = Times::Omit}).find("What was examined"),
              std::string::npos);
}

}  // namespace
