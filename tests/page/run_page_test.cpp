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
