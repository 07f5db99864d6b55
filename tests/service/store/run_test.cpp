// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <random>

#include "StoreSupport.h"

using namespace norvex::test;
using namespace norvex::service::store;

namespace {

// One complete run of the two floors; floors without findings passed.
RunId RecordRun(ProjectStore& project, const RunIdentity& identity,
                const std::vector<std::pair<UnitOutcome, std::vector<Finding>>>& units,
                RunStatus status = RunStatus::Complete) {
    const RunRecord run = Expect(project.BeginRun(identity));
    for (const auto& [outcome, findings] : units) {
        Expect(project.CommitUnit(run.id, outcome, findings));
    }
    Expect(project.EndRun(run.id, status));
    return run.id;
}

std::vector<std::string> Codes(const std::vector<StoredFinding>& findings) {
    std::vector<std::string> codes;
    for (const StoredFinding& each : findings) {
        codes.push_back(each.finding.featureCode);
    }
    return codes;
}

}  // namespace

TEST(RunStore, GivesBackEverythingThatWasRecorded) {
    const ProjectFolder folder;
    SetClock clock;
    const RunIdentity identity = Identity();
    UnitOutcome crashed = Outcome(kOtherFloor, UnitResult::Crashed);
    crashed.reason = "crashed: 内存\n\x01";
    crashed.entitiesNotExamined = 3;
    Finding first = FindingOf(Code(1), {"b", "a"});
    first.place = {1.5, -2.25, 1e9};
    first.trusted = true;
    const Finding second = FindingOf("", {});
    RunId id = 0;
    {
        ProjectStore project = OpenStore(folder, &clock);
        const RunRecord run = Expect(project.BeginRun(identity));
        id = run.id;
        Expect(project.CommitUnit(id, Outcome(kUnit, UnitResult::Failed), {first, second}));
        Expect(project.CommitUnit(id, crashed, {}));
        clock.time = "09:00:00";
        Expect(project.EndRun(id, RunStatus::Partial));
    }
    ProjectStore project = OpenStore(folder);
    const RunContents contents = Expect(project.LoadRun(id));
    EXPECT_EQ(contents.run.identity, identity);
    EXPECT_EQ(contents.run.status, RunStatus::Partial);
    EXPECT_EQ(contents.run.startedAt, "2026-03-01T08:30:00Z");
    EXPECT_EQ(contents.run.endedAt, "2026-03-01T09:00:00Z");
    ASSERT_EQ(contents.units.size(), 2U);
    EXPECT_EQ(contents.units[0].unit, kUnit);
    EXPECT_EQ(contents.units[0].result, UnitResult::Failed);
    EXPECT_EQ(contents.units[0].entitiesExamined, 12);
    EXPECT_EQ(contents.units[0].duration, std::chrono::microseconds(1500));
    EXPECT_EQ(contents.units[1].result, UnitResult::Crashed);
    EXPECT_EQ(contents.units[1].reason, crashed.reason);
    EXPECT_EQ(contents.units[1].entitiesNotExamined, 3);
    ASSERT_EQ(contents.findings.size(), 2U);
    EXPECT_EQ(contents.findings[0].finding, first);
    EXPECT_EQ(contents.findings[1].finding, second);
}

TEST(RunStore, KeepsTextsWithNulByteForByte) {
    const ProjectFolder folder;
    ProjectStore project = OpenStore(folder);
    Finding finding = FindingOf(Code(1));
    finding.sentence = std::string("a\0b\xFFz", 5);
    const RunRecord run = Expect(project.BeginRun(Identity()));
    Expect(project.CommitUnit(run.id, Outcome(kUnit, UnitResult::Failed), {finding}));
    EXPECT_EQ(Expect(project.LoadRun(run.id)).findings.at(0).finding.sentence, finding.sentence);
}

TEST(RunStore, OrdersRunsByNumberWhenTheClockJumpsBack) {
    const ProjectFolder folder;
    SetClock clock;
    ProjectStore project = OpenStore(folder, &clock);
    const RunId first = RecordRun(project, Identity(), {});
    clock.day = "2019-12-31";
    const RunId second = RecordRun(project, Identity(), {});
    EXPECT_GT(second, first);
    const std::vector<RunRecord> runs = Expect(project.ListRuns());
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_EQ(runs[0].id, first);
    EXPECT_FALSE(runs[0].clockWentBack);
    EXPECT_EQ(runs[1].id, second);
    EXPECT_TRUE(runs[1].clockWentBack);
    EXPECT_EQ(Expect(project.LastCompleteRun())->id, second);
}

TEST(RunStore, ReplacesAUnitThatIsDoneAgain) {
    const ProjectFolder folder;
    ProjectStore project = OpenStore(folder);
    const RunRecord run = Expect(project.BeginRun(Identity()));
    Expect(project.CommitUnit(run.id, Outcome(kUnit, UnitResult::Cancelled), {FindingOf(Code(1)), FindingOf(Code(2))}));
    Expect(project.CommitUnit(run.id, Outcome(kUnit, UnitResult::Failed), {FindingOf(Code(3))}));
    const RunContents contents = Expect(project.LoadRun(run.id));
    ASSERT_EQ(contents.units.size(), 1U);
    EXPECT_EQ(contents.units[0].result, UnitResult::Failed);
    EXPECT_EQ(Codes(contents.findings), std::vector{Code(3)});
    Expect(project.CheckIntegrity());
}

TEST(RunStore, AddsNothingToARunThatHasEnded) {
    const ProjectFolder folder;
    ProjectStore project = OpenStore(folder);
    const RunId run = RecordRun(project, Identity(), {});
    EXPECT_EQ(CodeOf(project.CommitUnit(run, Outcome(kUnit, UnitResult::Passed), {})), StoreErrorCode::RunNotOpen);
    EXPECT_EQ(CodeOf(project.EndRun(run, RunStatus::Cancelled)), StoreErrorCode::RunNotOpen);
    EXPECT_EQ(CodeOf(project.ReopenRun(run)), StoreErrorCode::RunNotOpen);
    EXPECT_EQ(CodeOf(project.CommitUnit(run + 1, Outcome(kUnit, UnitResult::Passed), {})), StoreErrorCode::NotFound);
    EXPECT_EQ(CodeOf(project.LoadRun(run + 1)), StoreErrorCode::NotFound);
}

TEST(RunStore, ForgetsOldRunsButNotTheLastWholeOne) {
    const ProjectFolder folder;
    ProjectStore project = OpenStore(folder);
    const auto units = std::vector{std::pair{Outcome(kUnit, UnitResult::Failed), std::vector{FindingOf(Code(1))}}};
    RecordRun(project, Identity(), units);
    const RunId whole = RecordRun(project, Identity(), units);
    RunIdentity narrowed = Identity();
    narrowed.narrowed = true;
    RecordRun(project, narrowed, units);
    const RunId newest = RecordRun(project, narrowed, units);
    EXPECT_EQ(Expect(project.PruneRuns(1)), 2);
    const std::vector<RunRecord> runs = Expect(project.ListRuns());
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_EQ(runs[0].id, whole);
    EXPECT_EQ(runs[1].id, newest);
    EXPECT_GT(RecordRun(project, Identity(), {}), newest) << "a number must never be used again";
    Expect(project.CheckIntegrity());
}

TEST(Resume, FindsTheOpenRunAndWhatItHasDone) {
    const ProjectFolder folder;
    RunId id = 0;
    {
        ProjectStore project = OpenStore(folder);
        RecordRun(project, Identity(), {});
        EXPECT_FALSE(Expect(project.FindOpenRun()).has_value());
        const RunRecord run = Expect(project.BeginRun(Identity()));
        id = run.id;
        Expect(project.CommitUnit(id, Outcome(kUnit, UnitResult::Passed), {}));
        Expect(project.CommitUnit(id, Outcome(kOtherFloor, UnitResult::Cancelled), {}));
    }
    // The process is gone without having ended the run.
    ProjectStore project = OpenStore(folder);
    const std::optional<RunRecord> open = Expect(project.FindOpenRun());
    ASSERT_TRUE(open.has_value());
    EXPECT_EQ(open->id, id);
    EXPECT_EQ(open->status, RunStatus::Running);
    EXPECT_EQ(open->identity, Identity());
    std::vector<UnitKey> done;
    for (const UnitOutcome& unit : Expect(project.UnitsOf(id))) {
        if (IsDone(unit.result)) {
            done.push_back(unit.unit);
        }
    }
    EXPECT_EQ(done, std::vector{kUnit});
}

TEST(Resume, OpensACancelledRunAgainAndFinishesIt) {
    const ProjectFolder folder;
    ProjectStore project = OpenStore(folder);
    const RunId id = RecordRun(project, Identity(), {{Outcome(kUnit, UnitResult::Passed), {}}}, RunStatus::Cancelled);
    EXPECT_EQ(Expect(project.FindOpenRun())->id, id);
    Expect(project.ReopenRun(id));
    Expect(project.CommitUnit(id, Outcome(kOtherFloor, UnitResult::Failed), {FindingOf(Code(1))}));
    Expect(project.EndRun(id, RunStatus::Complete));
    EXPECT_FALSE(Expect(project.FindOpenRun()).has_value());
    EXPECT_EQ(Expect(project.LoadRun(id)).units.size(), 2U);
}

TEST(Resume, LeavesARunAloneThatALaterWholeRunHasOvertaken) {
    const ProjectFolder folder;
    ProjectStore project = OpenStore(folder);
    const RunId cancelled = RecordRun(project, Identity(), {}, RunStatus::Cancelled);
    RunIdentity narrowed = Identity();
    narrowed.narrowed = true;
    RecordRun(project, narrowed, {});
    EXPECT_EQ(Expect(project.FindOpenRun())->id, cancelled);
    RecordRun(project, Identity(), {});
    EXPECT_FALSE(Expect(project.FindOpenRun()).has_value());
}

TEST(Resume, KeepsTheTrustThatTheRunBeganWith) {
    const ProjectFolder folder;
    SetClock clock;
    ProjectStore project = OpenStore(folder, &clock);
    TrustEntry expiring = TrustedFinding(Code(1));
    expiring.expiresOn = "2026-03-01";
    Expect(project.AddTrust(expiring));
    const RunRecord run = Expect(project.BeginRun(Identity()));
    Expect(project.AddTrust(TrustedFinding(Code(2))));
    clock.day = "2026-03-02";
    EXPECT_TRUE(Expect(project.TrustOfRun(run.id)).IsFindingTrusted(Code(1)));
    EXPECT_FALSE(Expect(project.TrustOfRun(run.id)).IsFindingTrusted(Code(2)));
    EXPECT_FALSE(Expect(project.TrustInForce()).IsFindingTrusted(Code(1)));
    EXPECT_TRUE(Expect(project.TrustInForce()).IsFindingTrusted(Code(2)));
}

TEST(Resume, GoesOnWhenNothingChanged) {
    RunIdentity moved = Identity();
    moved.modelPath = "/elsewhere/house.ifc";
    EXPECT_EQ(ChangeThatPreventsResume(Identity(), Identity()), std::nullopt);
    EXPECT_EQ(ChangeThatPreventsResume(Identity(), moved), std::nullopt);
}

TEST(Resume, NamesWhatChanged) {
    const std::string begin = "The interrupted run cannot be resumed: since it began, ";
    RunIdentity now = Identity();
    now.modelDigest = "d2";
    EXPECT_EQ(ChangeThatPreventsResume(Identity(), now), begin + "the model \"models/house.ifc\" has changed.");
    now = Identity();
    now.configurationDigest = "c2";
    EXPECT_EQ(ChangeThatPreventsResume(Identity(), now), begin + "the configuration has changed.");
    now = Identity();
    now.rules[0].md5 = "bb";
    EXPECT_EQ(ChangeThatPreventsResume(Identity(), now), begin + "the rule module CheckPipeLoop.Arx has changed.");
    now.rules[0].version = "1.1.0.0";
    now.modelSize = 1;
    EXPECT_EQ(ChangeThatPreventsResume(Identity(), now),
              begin +
                  "the model \"models/house.ifc\" has changed and the rule module CheckPipeLoop.Arx has changed "
                  "from version 1.0.0.0 to 1.1.0.0.");
    now = Identity();
    now.rules[0].rule = "CCheckOther";
    now.floors = {"3层"};
    EXPECT_EQ(ChangeThatPreventsResume(Identity(), now),
              begin +
                  "the rule CCheckPipeLoop is no longer part of it, the rule CCheckOther has been added to it and "
                  "other floors are to be checked.");
    now = Identity();
    now.programVersion = "0.2.0";
    now.specialties = {};
    EXPECT_EQ(ChangeThatPreventsResume(Identity(), now),
              begin + "the program has changed from version 0.1.0 to 0.2.0 and other specialties are to be checked.");
}

TEST(Occurrence, CountsEqualCodesFromZeroWhateverTheOrderOfWorkers) {
    std::vector<StoredFinding> findings;
    for (const char* floor : {"1层", "2层"}) {
        for (const char* object : {"a", "b", "c"}) {
            findings.push_back({{floor, "给排水", "CCheckPipeLoop"}, FindingOf(Code(1), {object}), 0});
        }
    }
    findings.push_back({kUnit, FindingOf(Code(2)), 0});
    std::mt19937 random(20260301);
    for (int round = 0; round < 100; ++round) {
        std::shuffle(findings.begin(), findings.end(), random);
        // Inside a unit the order is the rule's; handles are another in every export.
        for (StoredFinding& each : findings) {
            each.finding.location = std::to_string(random());
        }
        NumberOccurrences(findings);
        for (const StoredFinding& each : findings) {
            const int inUnit = each.finding.objects[0].globalId[0] - 'a';
            const int expected = each.finding.featureCode == Code(2) ? 0 : (each.unit.floor == "1层" ? 0 : 3) + inUnit;
            EXPECT_EQ(each.occurrence, expected);
        }
    }
}

TEST(Occurrence, IsTheSameHoweverUnitsWereCommitted) {
    std::vector<std::vector<StoredFinding>> results;
    for (const bool reversed : {false, true}) {
        const ProjectFolder folder;
        ProjectStore project = OpenStore(folder);
        std::vector units{kUnit, kOtherFloor};
        if (reversed) {
            std::reverse(units.begin(), units.end());
        }
        const RunRecord run = Expect(project.BeginRun(Identity()));
        for (const UnitKey& unit : units) {
            Expect(project.CommitUnit(run.id, Outcome(unit, UnitResult::Failed),
                                      {FindingOf(Code(1), {"b"}), FindingOf(Code(1), {"a"})}));
        }
        results.push_back(Expect(project.LoadRun(run.id)).findings);
    }
    EXPECT_EQ(results[0], results[1]);
    ASSERT_EQ(results[0].size(), 4U);
    EXPECT_EQ(results[0][0].occurrence, 1);  // the rule reported "b" first
    EXPECT_EQ(results[0][1].occurrence, 0);
    EXPECT_EQ(results[0][2].occurrence, 3);
    EXPECT_EQ(results[0][3].occurrence, 2);
}

TEST(RunStore, KnowsWhenAFindingWasFirstReported) {
    const ProjectFolder folder;
    SetClock clock;
    ProjectStore project = OpenStore(folder, &clock);
    const auto run = [&](const char* day, const std::vector<Finding>& findings) {
        clock.day = day;
        const RunId id = Expect(project.BeginRun(Identity())).id;
        Expect(project.CommitUnit(id, Outcome(kUnit, UnitResult::Failed), findings));
        Expect(project.EndRun(id, RunStatus::Complete));
        return id;
    };
    const Finding a = FindingOf(Code(1), {"a"});
    const Finding b = FindingOf(Code(2), {"b"});
    run("2026-03-01", {a});
    const RunId second = run("2026-03-02", {b});
    const RunId third = run("2026-03-03", {a, a, b});
    const auto first = [&](RunId last) {
        return Expect(project.FirstReported({{Code(1), 0}, {Code(1), 1}, {Code(2), 0}, {Code(3), 0}}, last));
    };
    EXPECT_EQ(first(third),
              (std::vector<std::string>{"2026-03-01T08:30:00Z", "2026-03-03T08:30:00Z", "2026-03-02T08:30:00Z", ""}))
        << "what was gone in between keeps its first day, a second one of its code has its own";
    EXPECT_EQ(first(second), (std::vector<std::string>{"2026-03-01T08:30:00Z", "", "2026-03-02T08:30:00Z", ""}));
}
