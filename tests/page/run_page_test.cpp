// SPDX-License-Identifier: Apache-2.0
#include "report/RunPage.h"

#include <gtest/gtest.h>

using namespace norvex;

namespace {

ifc::BuildingModel TwoStoreys() {
    ifc::BuildingModel building;
    building.storeys.resize(2);
    building.storeys[0].name = "1层";
    building.storeys[1].name = "1层";
    ifc::Element pipe;
    pipe.id = 0x2F1;
    pipe.name = "Pipe";
    pipe.kind = ifc::ElementKind::Segment;
    pipe.storey = 1;
    pipe.ends = ifc::EndEvidence::Ports;
    pipe.end = {1000, 0, 0};
    pipe.placed = true;
    building.elements.push_back(pipe);
    ifc::Element lost;
    lost.id = 0x2F2;
    building.elements.push_back(lost);
    return building;
}

}  // namespace

TEST(RunPage, FindsObjectsByTheirHandlesAndFloorsByTheirNames) {
    const ifc::BuildingModel building = TwoStoreys();
    service::RunReport report;
    report.rules.resize(1);
    report.rules[0].name = "CCheckPipeLoop";
    service::FindingRecord& finding = report.findings.emplace_back();
    finding.number = 1;
    finding.rule = "CCheckPipeLoop";
    finding.floor = "1层 (2)";
    finding.severity = service::Severity::Suspected;
    finding.objects = {{.handle = "2F1", .globalId = {}, .name = {}}, {.handle = "FFFF", .globalId = {}, .name = {}}};
    std::vector<service::FloorRecord> floors(3);
    floors[0].name = "1层";
    floors[1].name = "1层 (2)";
    floors[2].name = "(no storey)";
    const report::RunPage page = report::MakeRunPage(report, building, floors);
    ASSERT_EQ(page.model.findings.size(), 1U);
    EXPECT_EQ(page.model.findings[0].objects, std::vector<std::uint32_t>{0}) << "what the building has not is left out";
    EXPECT_EQ(page.model.findings[0].floor, 1U);
    EXPECT_EQ(page.model.findings[0].severity, report::page::Severity::Suspected);
    EXPECT_EQ(page.model.floors.size(), 2U) << "what has no storey is no floor";
    EXPECT_EQ(page.model.elements[0].handle, "2F1");
    EXPECT_TRUE(page.model.elements[0].hasEnds);
    EXPECT_EQ(page.model.elements[1].floor, report::page::kNoIndex);
    EXPECT_EQ(page.model.elements[1].noFloorReason, "no relation places it");
    EXPECT_FALSE(page.model.elements[1].position.has_value());
}

TEST(RunPage, TakesTheTotalsThatTheRunCounted) {
    const ifc::BuildingModel building = TwoStoreys();
    service::RunReport report;
    report.totals.resize(2);
    report.totals[0].confirmed = 2;
    report.totals[0].suspected = 1;
    report.totals[1].confirmed = 1;
    report.totals[1].reminders = 4;
    report.tasks.resize(1);
    report.tasks[0].rule = "CCheckPipeLoop";
    report.tasks[0].trusted = 5;
    const report::RunPage page = report::MakeRunPage(report, building, {});
    EXPECT_EQ(page.model.totals.confirmed, 3U);
    EXPECT_EQ(page.model.totals.suspected, 1U);
    EXPECT_EQ(page.model.totals.reminders, 4U);
    EXPECT_EQ(page.model.totals.trusted, 5U);
    EXPECT_EQ(page.model.rules.size(), 1U) << "a rule that the report does not list is kept";
}

TEST(RunPage, TellsNoveltyAndAcceptanceOfEachFinding) {
    const ifc::BuildingModel building = TwoStoreys();
    service::RunReport report;
    report.rules.resize(1);
    report.rules[0].name = "CCheckPipeLoop";
    report.rules[0].why = "Water stands still in a loop.";
    report.rules[0].howToFix = "Take one pipe away.";
    report.findings.resize(4);
    for (std::size_t index = 0; index < report.findings.size(); ++index) {
        report.findings[index].number = index + 1;
        report.findings[index].rule = "CCheckPipeLoop";
    }
    report.findings[0].novelty = service::Novelty::New;
    report.findings[1].novelty = service::Novelty::Persisting;
    report.findings[2].trusted = true;
    report.findings[2].acceptance = service::Acceptance{7, "ring main", "Ada", "2026-03-01", "2026-09-01"};
    report.findings[3].expired = service::Acceptance{8, "until delivery", "Ben", "2026-01-01", "2026-02-01"};
    const report::RunPage page = report::MakeRunPage(report, building, {});
    using report::page::Change;
    using report::page::TrustState;
    EXPECT_EQ(page.model.findings[0].change, Change::New);
    EXPECT_EQ(page.model.findings[1].change, Change::Persisting);
    EXPECT_EQ(page.model.findings[2].change, Change::None);
    EXPECT_EQ(page.model.findings[2].trust.state, TrustState::Trusted);
    EXPECT_EQ(page.model.findings[2].trust.person, "Ada");
    EXPECT_EQ(page.model.findings[2].trust.expires, "2026-09-01");
    EXPECT_EQ(page.model.findings[3].trust.state, TrustState::Expired) << "accepted, but it counts again";
    EXPECT_EQ(page.model.findings[3].trust.reason, "until delivery");
    EXPECT_EQ(page.model.rules[0].why, "Water stands still in a loop.");
    EXPECT_EQ(page.model.rules[0].howToFix, "Take one pipe away.");
}

TEST(RunPage, ListsWhatIsGoneAndFindsItsObjectsByGlobalId) {
    ifc::BuildingModel building = TwoStoreys();
    building.elements[1].globalId = "2uPiRrw99b2TH5O9u3ryC0";
    service::RunReport report;
    report.run = 4;
    report.startedAt = "2026-03-02T08:30:00Z";
    report.comparison = service::Comparison{.run = 3,
                                            .startedAt = "2026-03-01T08:30:00Z",
                                            .gone = {},
                                            .hidden = {},
                                            .notVisited = 5,
                                            .remarks = {"Another model."}};
    service::FindingRecord& gone = report.comparison->gone.emplace_back();
    gone.number = 9;
    gone.rule = "CCheckPipeLoop";
    gone.objects = {{.handle = "2F1", .globalId = "2uPiRrw99b2TH5O9u3ryC0", .name = {}}};
    report.comparison->hidden.resize(2);
    const report::RunPage page = report::MakeRunPage(report, building, {});
    ASSERT_EQ(page.model.findings.size(), 1U);
    EXPECT_EQ(page.model.findings[0].number, 9U);
    EXPECT_EQ(page.model.findings[0].change, report::page::Change::Gone);
    EXPECT_EQ(page.model.findings[0].objects, std::vector<std::uint32_t>{1}) << "the handle means another object now";
    EXPECT_EQ(page.model.totals.gone, 1U);
    EXPECT_EQ(page.model.run.number, 4);
    EXPECT_EQ(page.model.run.startedAt, "2026-03-02T08:30:00Z");
    ASSERT_TRUE(page.model.comparison.has_value());
    EXPECT_EQ(page.model.comparison->run, 3);
    EXPECT_EQ(page.model.comparison->hidden, 2U);
    EXPECT_EQ(page.model.comparison->notVisited, 5U);
    EXPECT_EQ(page.model.comparison->remarks, std::vector<std::string>{"Another model."});
}

TEST(RunPage, ListsEveryAcceptanceWithWhatItDoes) {
    const ifc::BuildingModel building = TwoStoreys();
    service::RunReport report;
    const auto accepted = [](service::AcceptanceState state, std::size_t findings) {
        return service::AcceptanceRecord{
            {1, "agreed", "Ada", "2026-03-01", ""}, "rule CCheckPipeLoop", state, findings};
    };
    report.acceptances = {accepted(service::AcceptanceState::Hides, 2), accepted(service::AcceptanceState::Stale, 0),
                          accepted(service::AcceptanceState::NotLookedAt, 0),
                          accepted(service::AcceptanceState::Expired, 1)};
    report.model.notices = {{"warning", "repeated", 12, 300, "Line 12 repeats a GlobalId."}};
    report.model.noticeCount = 3;
    report.model.warningCount = 2;
    const report::RunPage page = report::MakeRunPage(report, building, {});
    ASSERT_EQ(page.model.trustEntries.size(), 4U);
    using report::page::TrustState;
    EXPECT_EQ(page.model.trustEntries[0].trust.state, TrustState::Trusted);
    EXPECT_EQ(page.model.trustEntries[0].hidden, 2U);
    EXPECT_EQ(page.model.trustEntries[1].trust.state, TrustState::Stale);
    EXPECT_EQ(page.model.trustEntries[2].trust.state, TrustState::NotLookedAt);
    EXPECT_EQ(page.model.trustEntries[3].trust.state, TrustState::Expired);
    ASSERT_EQ(page.model.notices.size(), 1U);
    EXPECT_EQ(page.model.notices[0].line, 12U);
    EXPECT_EQ(page.model.warningCount, 2U);
    EXPECT_EQ(page.model.noticeCount, 3U) << "those that were not kept included";
}

TEST(RunPage, TellsWhichElementsNoRuleLooksAt) {
    const ifc::BuildingModel building = TwoStoreys();
    service::RunReport report;
    report.rules.resize(1);
    report.rules[0].specialties = {"给排水"};
    report.specialties = {"给排水", "电气"};
    report.model.elementsOfSpecialties = {{"给排水", 9}, {"电气", 24}};
    const report::RunPage page = report::MakeRunPage(report, building, {});
    ASSERT_EQ(page.model.withoutRule.size(), 1U);
    EXPECT_EQ(page.model.withoutRule[0].specialty, "电气");
    EXPECT_EQ(page.model.withoutRule[0].elements, 24U);
}

TEST(RunPage, NamesTheObjectsWithoutTheBuildingAndSaysWhyNothingIsDrawn) {
    service::RunReport report;
    report.rules.resize(1);
    report.rules[0].name = "CCheckPipeLoop";
    report.floors.resize(2);
    report.floors[0].name = "1层";
    report.floors[1].name = "2层";
    report.findings.resize(2);
    for (service::FindingRecord& finding : report.findings) {
        finding.rule = "CCheckPipeLoop";
        finding.floor = "2层";
        finding.objects = {{.handle = "2F1", .globalId = "2uPiRrw99b2TH5O9u3ryC0", .name = "Pipe"}};
    }
    const report::RunPage page = report::MakeRunPageWithoutPlan(report, "The model has changed.");
    EXPECT_EQ(page.model.run.planMissing, "The model has changed.");
    ASSERT_EQ(page.model.floors.size(), 2U);
    ASSERT_EQ(page.model.elements.size(), 1U) << "one object, though two findings name it";
    EXPECT_EQ(page.model.elements[0].name, "Pipe");
    EXPECT_EQ(page.model.elements[0].globalId, "2uPiRrw99b2TH5O9u3ryC0");
    EXPECT_EQ(page.model.elements[0].floor, 1U);
    EXPECT_FALSE(page.model.elements[0].position.has_value());
    ASSERT_EQ(page.model.findings.size(), 2U);
    EXPECT_EQ(page.model.findings[1].objects, std::vector<std::uint32_t>{0});
    EXPECT_EQ(page.model.rules.size(), 1U);
}
