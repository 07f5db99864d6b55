// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "service/RunReport.h"

namespace norvex::test {

// What a model may put into a name: markup, quotes, control characters, a NUL, bytes that are no UTF-8 (a surrogate
// among them), characters that XML 1.0 forbids, and signs with a meaning of their own in other formats.
inline std::string UglyText() {
    using namespace std::string_literals;
    return "<script>alert('\"&amp;]]>')</script> 给水管\t\r\n \x01\x1B[2J\0 \\x41 {0} [x](http://y) \xFF\xED\xA0\x80 \xEF\xBF\xBF \xF0\x9F\x9A\xB0"s;
}

// A run with something of everything: two specialties, all outcomes, a trusted finding, a comparison, acceptances.
inline service::RunReport SampleReport() {
    using service::Outcome;
    using service::Severity;
    service::RunReport report;
    report.toolVersion = "1.2.3";
    report.model = {.path = "models/house 给水.ifc",
                    .sha256 = std::string(64, 'a'),
                    .schema = "IFC4",
                    .project = UglyText(),
                    .lengthUnit = "MILLIMETRE",
                    .lostInstances = 0,
                    .isCutOff = false,
                    .elements = 7,
                    .elementsWithoutStorey = 1,
                    .segmentsWithoutEnds = 0,
                    .noticeCount = 0,
                    .notices = {}};
    report.run = 12;
    report.startedAt = "2026-03-01T08:30:00Z";
    report.floors = {
        {.name = "3层南区", .elevation = 6400.25, .elements = 6, .withoutPlace = 1, .withoutStorey = false},
        {.name = UglyText(), .elevation = {}, .elements = 1, .withoutPlace = 0, .withoutStorey = true}};
    report.specialties = {"给排水", "消防", "电气"};
    report.rules = {{.name = "CCheckPipeLoop",
                     .shortName = "pipe-loop",
                     .title = "Closed loops",
                     .category = "建模合理性",
                     .version = "1.0.0.0",
                     .module = "CheckPipeLoop.Arx",
                     .specialties = {},
                     .md5 = std::string(32, 'b'),
                     .why = "A tree of pipes must not close a ring.",
                     .howToFix = "Remove the pipe that is drawn twice."},
                    {.name = "CCheckLayoutFlange",
                     .shortName = "layout-flange",
                     .title = "",
                     .category = "建模遗漏",
                     .version = "",
                     .module = "CheckLayoutFlange.Arx",
                     .specialties = {"给排水"}}};
    const auto task = [&](const char* rule, std::size_t floor, const char* specialty, Outcome outcome,
                          std::size_t examined, const std::string& reason) -> service::TaskRecord& {
        report.tasks.push_back({.rule = rule,
                                .floor = report.floors[floor].name,
                                .specialty = specialty,
                                .outcome = outcome,
                                .examined = examined,
                                .reason = reason,
                                .duration = std::chrono::microseconds{2500}});
        return report.tasks.back();
    };
    task("CCheckPipeLoop", 0, "给排水", Outcome::Failed, 5, "").findings = 2;
    report.tasks.back().reminders = 1;
    report.tasks.back().trusted = 1;
    report.tasks.back().notExamined = 1;
    report.tasks.back().reason = "1 pipe has no ends";
    task("CCheckLayoutFlange", 0, "给排水", Outcome::Crashed, 0, UglyText());
    task("CCheckPipeLoop", 1, "给排水", Outcome::Cancelled, 0, "the run was cancelled before");
    task("CCheckLayoutFlange", 1, "给排水", Outcome::Skipped, 0, "the whole rule is trusted");
    task("CCheckPipeLoop", 0, "消防", Outcome::Passed, 3, "");
    task("CCheckPipeLoop", 0, "电气", Outcome::NotApplicable, 0, "nothing there that the rule is about");
    task("CCheckLayoutFlange", 0, "", Outcome::NotApplicable, 0, "the rule is about 给排水 only");

    const auto finding = [&](Severity severity, const std::string& sentence) {
        service::FindingRecord record;
        record.number = report.findings.size() + 1;
        record.rule = "CCheckPipeLoop";
        record.floor = report.floors[0].name;
        record.specialty = "给排水";
        record.category = "建模合理性";
        record.subCategory = "管道闭合成环";
        record.severity = severity;
        record.sentence = sentence;
        record.location = "定位:构件定位:1:构件错误:2F1,2F2";
        record.featureCode = "_" + std::string(32, 'c');
        record.objects = {
            {.handle = "2F1", .globalId = "0iqPoVcbmB$mgksTW4_Ep1", .name = UglyText(), .subCategory = "水管"},
            {.handle = "2F2", .globalId = "", .name = ""}};
        return record;
    };
    report.findings.push_back(finding(Severity::Suspected, UglyText()));
    report.findings.back().place = service::Place{1000.5, -2.0004, 1e7};
    report.findings.back().novelty = service::Novelty::New;
    report.findings.push_back(finding(Severity::Remind, "A ring."));
    report.findings.back().occurrence = 1;
    report.findings.back().novelty = service::Novelty::Persisting;
    report.findings.push_back(finding(Severity::Confirmed, "An accepted ring."));
    report.findings.back().trusted = true;
    report.findings.back().occurrence = 2;
    const service::Acceptance acceptance{4, UglyText(), "Li \"Wei\"", "2026-02-28", "2027-01-01"};
    report.findings.back().acceptance = acceptance;
    report.totals = {{"建模合理性", 8, 0, 1, 1, {{"管道闭合成环", 2}}}, {"建模遗漏", 0, 0, 0, 0, {}}};
    report.incomplete = {"The run was cancelled; 1 of 7 checks was not done."};
    service::Comparison& comparison = report.comparison.emplace();
    comparison.run = 11;
    comparison.startedAt = "2026-02-27T08:30:00Z";
    comparison.gone = {finding(Severity::Suspected, "A ring that is gone.")};
    comparison.gone.back().number = 0;
    comparison.gone.back().featureCode = "_" + std::string(32, 'd');
    comparison.hidden = {finding(Severity::Suspected, "A ring that nobody looked for.")};
    comparison.notVisited = 3;
    comparison.remarks = {"The model is another one."};
    report.acceptances = {
        {acceptance, "the finding _ccc", service::AcceptanceState::Hides, 1},
        {{5, "Old.", "Li", "2025-01-01", "2026-01-01"}, "the rule pipe-loop", service::AcceptanceState::Expired, 2}};
    return report;
}

}  // namespace norvex::test
