// SPDX-License-Identifier: Apache-2.0
#include "service/session/Annotate.h"
#include "service/session/Convert.h"
#include "service/session/StoredReport.h"
#include "tests/service/store/StoreSupport.h"

using namespace norvex::test;
using namespace norvex::service;
using namespace norvex::service::session;
using store::UnitResult;

namespace {

FindingRecord WholeFinding() {
    FindingRecord finding;
    finding.rule = "CCheckPipeLoop";
    finding.floor = "3层";
    finding.specialty = "给排水";
    finding.category = "建模合理性";
    finding.subCategory = "管道闭合成环";
    finding.severity = Severity::Remind;
    finding.sentence = "A\nsentence with \x01 in it";
    finding.location = "定位:构件定位:1:构件错误:3F8";
    finding.featureCode = Code(1);
    finding.objects = {{"3F8", "guid-1", "pipe \"1\"", "给水管"}, {"404", "", "", ""}};
    finding.place = Place{1.5, -2.25, 1e-300};
    finding.trusted = true;
    return finding;
}

TaskRecord Task(const std::string& floor, norvex::service::Outcome outcome,
                const std::string& rule = "CCheckPipeLoop") {
    TaskRecord task;
    task.rule = rule;
    task.floor = floor;
    task.specialty = "给排水";
    task.outcome = outcome;
    return task;
}

FindingRecord On(const std::string& floor, const std::string& code, const std::string& globalId) {
    FindingRecord finding = WholeFinding();
    finding.floor = floor;
    finding.featureCode = code;
    finding.objects = {{"3F8", globalId, "pipe", "给水管"}};
    finding.severity = Severity::Suspected;
    finding.trusted = false;
    return finding;
}

// A run of the two floors, with findings on the first.
RunReport Report(std::vector<FindingRecord> findings) {
    RunReport report;
    report.tasks = {Task("3层", norvex::service::Outcome::Failed), Task("4层", norvex::service::Outcome::Passed)};
    report.findings = std::move(findings);
    return report;
}

// The project's memory of such a run.
store::RunContents Before(const std::vector<store::StoredFinding>& findings) {
    store::RunContents contents;
    contents.run.id = 7;
    contents.run.startedAt = "2026-03-01T08:30:00Z";
    contents.run.identity = Identity();
    contents.units = {norvex::test::Outcome(kUnit, UnitResult::Failed),
                      norvex::test::Outcome(kOtherFloor, UnitResult::Passed)};
    contents.findings = findings;
    return contents;
}

store::RunRecord RunOf(store::RunId id) {
    store::RunRecord run;
    run.id = id;
    run.startedAt = "2026-03-02T08:30:00Z";
    run.identity = Identity();
    return run;
}

TEST(Convert, BringsEveryFieldOfAFindingBack) {
    const FindingRecord finding = WholeFinding();
    const FindingRecord back = FindingOf({UnitOf(finding), StoredFindingOf(finding), 3});
    EXPECT_EQ(back.rule, finding.rule);
    EXPECT_EQ(back.floor, finding.floor);
    EXPECT_EQ(back.specialty, finding.specialty);
    EXPECT_EQ(back.category, finding.category);
    EXPECT_EQ(back.subCategory, finding.subCategory);
    EXPECT_EQ(back.severity, finding.severity);
    EXPECT_EQ(back.sentence, finding.sentence);
    EXPECT_EQ(back.location, finding.location);
    EXPECT_EQ(back.featureCode, finding.featureCode);
    ASSERT_EQ(back.objects.size(), 2U);
    EXPECT_EQ(back.objects[0].handle, "3F8");
    EXPECT_EQ(back.objects[0].globalId, "guid-1");
    EXPECT_EQ(back.objects[0].name, "pipe \"1\"");
    EXPECT_EQ(back.objects[0].subCategory, "给水管");
    EXPECT_EQ(back.objects[1].handle, "404");
    ASSERT_TRUE(back.place);
    EXPECT_EQ(back.place->x, 1.5);
    EXPECT_EQ(back.place->y, -2.25);
    EXPECT_EQ(back.place->z, 1e-300);
    EXPECT_TRUE(back.trusted);
    EXPECT_EQ(back.occurrence, 3U);
    for (const Severity severity : {Severity::Confirmed, Severity::Suspected, Severity::Remind}) {
        FindingRecord each = finding;
        each.severity = severity;
        EXPECT_EQ(FindingOf({UnitOf(each), StoredFindingOf(each), 0}).severity, severity);
    }
}

TEST(Convert, BringsEveryOutcomeBackWithItsReasonAndCounts) {
    for (const auto outcome :
         {norvex::service::Outcome::Passed, norvex::service::Outcome::Failed, norvex::service::Outcome::NotApplicable,
          norvex::service::Outcome::Skipped, norvex::service::Outcome::Crashed, norvex::service::Outcome::Cancelled}) {
        TaskRecord task = Task("3层", outcome);
        task.examined = 12;
        task.notExamined = 3;
        task.reason = "it let an exception escape";
        task.duration = std::chrono::microseconds{1234};
        FindingRecord reminder = WholeFinding();
        reminder.trusted = false;
        const store::StoredFinding first{UnitOf(task), StoredFindingOf(reminder), 0};
        const store::StoredFinding second{UnitOf(task), StoredFindingOf(WholeFinding()), 1};
        const TaskResult back = ResultOf(StoredOutcome(task), {&first, &second});
        EXPECT_EQ(back.task.rule, task.rule);
        EXPECT_EQ(back.task.floor, task.floor);
        EXPECT_EQ(back.task.specialty, task.specialty);
        EXPECT_EQ(back.task.outcome, outcome);
        EXPECT_EQ(back.task.examined, 12U);
        EXPECT_EQ(back.task.notExamined, 3U);
        EXPECT_EQ(back.task.reason, task.reason);
        EXPECT_EQ(back.task.duration, task.duration);
        EXPECT_EQ(back.task.findings, 1U) << "one of the two is trusted";
        EXPECT_EQ(back.task.reminders, 1U);
        EXPECT_EQ(back.task.trusted, 1U);
        EXPECT_EQ(back.findings.size(), 2U);
    }
}

TEST(Comparison, TellsNewFromPersistingAndGone) {
    RunReport report = Report({On("3层", Code(1), "guid-1"), On("3层", Code(2), "guid-2")});
    const store::RunContents before =
        Before({{kUnit, FindingOf(Code(2), {"guid-2"}), 0}, {kOtherFloor, FindingOf(Code(3), {"guid-3"}), 0}});
    Annotate(report, RunOf(8), {}, &before);
    EXPECT_EQ(report.run, 8);
    EXPECT_EQ(report.findings[0].novelty, Novelty::New);
    EXPECT_EQ(report.findings[1].novelty, Novelty::Persisting);
    ASSERT_TRUE(report.comparison);
    EXPECT_EQ(report.comparison->run, 7);
    ASSERT_EQ(report.comparison->gone.size(), 1U);
    EXPECT_EQ(report.comparison->gone[0].featureCode, Code(3));
    EXPECT_EQ(report.comparison->gone[0].floor, "4层");
}

TEST(Comparison, CallsNothingGoneWhereTheRunDidNotLook) {
    RunReport report = Report({});
    report.tasks[1].outcome = norvex::service::Outcome::Cancelled;
    const store::RunContents before = Before({{kOtherFloor, FindingOf(Code(3)), 0}});
    Annotate(report, RunOf(8), {}, &before);
    EXPECT_TRUE(report.comparison->gone.empty());
    EXPECT_EQ(report.comparison->notVisited, 1U);
}

TEST(Comparison, CallsNothingGoneWhenPartsOfTheModelAreLost) {
    RunReport report = Report({});
    store::RunRecord run = RunOf(8);
    run.identity.modelRead = store::ModelRead::Partly;
    const store::RunContents before = Before({{kUnit, FindingOf(Code(3)), 0}});
    Annotate(report, run, {}, &before);
    EXPECT_TRUE(report.comparison->gone.empty());
    EXPECT_EQ(report.comparison->notVisited, 1U);
    EXPECT_EQ(report.comparison->remarks.size(), 1U);
}

TEST(Comparison, CallsNothingNewThatTheEarlierRunCouldNotHaveFound) {
    RunReport report = Report({On("3层", Code(1), "guid-1")});
    store::RunContents before = Before({});
    before.units[0].result = UnitResult::Crashed;
    Annotate(report, RunOf(8), {}, &before);
    EXPECT_EQ(report.findings[0].novelty, Novelty::Unknown);
    before.units[0].result = UnitResult::NotApplicable;
    Annotate(report, RunOf(8), {}, &before);
    EXPECT_EQ(report.findings[0].novelty, Novelty::New) << "there was nothing to look at";
    before.run.identity.modelRead = store::ModelRead::Partly;
    Annotate(report, RunOf(8), {}, &before);
    EXPECT_EQ(report.findings[0].novelty, Novelty::Unknown) << "or it could not be read";
}

TEST(Comparison, IsNotThereWithoutAnEarlierRun) {
    RunReport report = Report({On("3层", Code(1), "guid-1")});
    Annotate(report, RunOf(1), {}, nullptr);
    EXPECT_FALSE(report.comparison);
    EXPECT_EQ(report.findings[0].novelty, Novelty::Unknown);
}

TEST(Comparison, NumbersEqualCodesWithoutRegardToTheOrderOfReporting) {
    RunReport one = Report({On("3层", Code(1), "guid-1"), On("3层", Code(1), "guid-2")});
    RunReport other = Report({On("3层", Code(1), "guid-2"), On("3层", Code(1), "guid-1")});
    Annotate(one, RunOf(1), {}, nullptr);
    Annotate(other, RunOf(1), {}, nullptr);
    EXPECT_EQ(one.findings[0].occurrence, 0U);
    EXPECT_EQ(one.findings[1].occurrence, 1U);
    EXPECT_EQ(other.findings[0].occurrence, 1U);
    EXPECT_EQ(other.findings[1].occurrence, 0U);
}

TEST(Acceptances, StandWithTheFindingsThatTheyHide) {
    FindingRecord trusted = On("3层", Code(1), "guid-1");
    trusted.trusted = true;
    RunReport report = Report({trusted, On("3层", Code(2), "guid-2")});
    store::TrustEntry entry = TrustedFinding(Code(1));
    entry.id = 5;
    entry.addedOn = "2026-03-01";
    Annotate(report, RunOf(1), {entry}, nullptr);
    ASSERT_TRUE(report.findings[0].acceptance);
    EXPECT_EQ(report.findings[0].acceptance->entry, 5);
    EXPECT_EQ(report.findings[0].acceptance->person, "李工");
    EXPECT_EQ(report.findings[0].acceptance->reason, "agreed with the owner");
    EXPECT_EQ(report.findings[0].acceptance->addedOn, "2026-03-01");
    EXPECT_FALSE(report.findings[1].acceptance);
}

TEST(Acceptances, AreRememberedByTheFindingsThatAreBack) {
    FindingRecord trusted = On("3层", Code(1), "guid-1");
    trusted.trusted = true;
    RunReport report = Report({trusted, On("3层", Code(1), "guid-2"), On("3层", Code(2), "guid-3")});
    store::TrustListing listing;
    listing.entry = TrustedFinding(Code(1));
    listing.entry.expiresOn = "2026-03-01";
    NoteExpired(report, {listing});
    EXPECT_FALSE(report.findings[1].expired) << "it still holds";
    listing.expired = true;
    NoteExpired(report, {listing});
    EXPECT_FALSE(report.findings[0].expired) << "another acceptance hides it";
    ASSERT_TRUE(report.findings[1].expired);
    EXPECT_EQ(report.findings[1].expired->expiresOn, "2026-03-01");
    EXPECT_FALSE(report.findings[2].expired);
}

TEST(StoredReport, NumbersFindingsInTheOrderOfTheRun) {
    const ProjectFolder folder;
    store::ProjectStore project = OpenStore(folder);
    store::RunIdentity identity = Identity();
    // The upper floor comes first in this run, whatever the bytes of the names say.
    identity.floors = {"4层", "3层"};
    const store::RunId run = Expect(project.BeginRun(identity)).id;
    Expect(project.CommitUnit(run, norvex::test::Outcome(kUnit, UnitResult::Failed), {FindingOf(Code(1))}));
    Expect(project.CommitUnit(run, norvex::test::Outcome(kOtherFloor, UnitResult::Failed),
                              {FindingOf(Code(3)), FindingOf(Code(2))}));
    Expect(project.EndRun(run, store::RunStatus::Complete));
    RuleRecord known;
    known.name = "CCheckPipeLoop";
    known.shortName = "pipe-loop";
    known.category = "建模合理性";
    known.why = "Water turns in it.";
    const RunReport report = Expect(StoredReport(project, run, {known}));
    ASSERT_EQ(report.findings.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(report.findings[i].number, i + 1);
        EXPECT_EQ(report.findings[i].featureCode, Code(static_cast<int>(3 - i)));
    }
    ASSERT_EQ(report.tasks.size(), 2U);
    EXPECT_EQ(report.tasks[0].floor, "4层");
    EXPECT_EQ(report.tasks[0].findings, 2U);
    ASSERT_EQ(report.rules.size(), 1U);
    EXPECT_EQ(report.rules[0].why, "Water turns in it.");
    EXPECT_EQ(report.rules[0].md5, "aa");
    EXPECT_EQ(report.rules[0].version, "1.0.0.0") << "as it was then";
    EXPECT_TRUE(report.incomplete.empty());
    ASSERT_EQ(report.totals.size(), 1U);
    EXPECT_EQ(report.totals[0].checks, 24U);
    EXPECT_FALSE(report.comparison);
}

TEST(StoredReport, SaysWhatARunThatWasKilledCannotVouchFor) {
    const ProjectFolder folder;
    store::ProjectStore project = OpenStore(folder);
    const store::RunId run = Expect(project.BeginRun(Identity())).id;
    Expect(project.CommitUnit(run, norvex::test::Outcome(kUnit, UnitResult::Passed), {}));
    const RunReport report = Expect(StoredReport(project, run, {}));
    ASSERT_EQ(report.incomplete.size(), 1U);
    EXPECT_EQ(report.incomplete[0], "The run is under way or was interrupted; 1 check is done so far.");
}

TEST(StoredReport, IsFoundByNumberOrAsTheLast) {
    const ProjectFolder folder;
    store::ProjectStore project = OpenStore(folder);
    EXPECT_EQ(CodeOf(ChosenRun(project, "last")), store::StoreErrorCode::NotFound);
    const store::RunId first = Expect(project.BeginRun(Identity())).id;
    const store::RunId second = Expect(project.BeginRun(Identity())).id;
    EXPECT_EQ(Expect(ChosenRun(project, "last")), second);
    EXPECT_EQ(Expect(ChosenRun(project, std::to_string(first))), first);
    EXPECT_EQ(CodeOf(ChosenRun(project, "99")), store::StoreErrorCode::NotFound);
    EXPECT_EQ(CodeOf(ChosenRun(project, "1x")), store::StoreErrorCode::InvalidInput);
}

}  // namespace
