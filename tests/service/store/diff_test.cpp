// SPDX-License-Identifier: Apache-2.0
#include <map>
#include <random>

#include "StoreSupport.h"

using namespace norvex::test;
using namespace norvex::service::store;

namespace {

// A run from what its units ended with and what was found; the model is the same unless a test changes it.
struct CheckRun {
    RunContents contents;

    explicit CheckRun(const std::string& modelDigest = "d1") {
        contents.run.identity = Identity();
        contents.run.identity.modelDigest = modelDigest;
    }
    CheckRun& Unit(const UnitKey& unit, UnitResult result, const std::vector<Finding>& findings = {}) {
        contents.units.push_back(Outcome(unit, result));
        for (const Finding& finding : findings) {
            contents.findings.push_back({unit, finding, 0});
        }
        NumberOccurrences(contents.findings);
        return *this;
    }
    CheckRun& Trust(const TrustEntry& entry) {
        contents.trust.push_back(entry);
        return *this;
    }
};

// "code/objects" of each finding, in order.
std::vector<std::string> Texts(const std::vector<StoredFinding>& findings) {
    std::vector<std::string> texts;
    for (const StoredFinding& each : findings) {
        std::string text = each.finding.featureCode.substr(1, 1) + "/";
        for (const FindingObject& object : each.finding.objects) {
            text += object.globalId;
        }
        texts.push_back(text);
    }
    return texts;
}

struct Summary {
    std::vector<std::string> added = {};
    std::vector<std::string> persisting = {};
    std::vector<std::string> gone = {};
    std::vector<std::string> hidden = {};
    std::vector<std::string> notVisited = {};

    bool operator==(const Summary&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Summary& summary) {
    const auto list = [&](const char* name, const std::vector<std::string>& texts) {
        out << name << ":";
        for (const std::string& text : texts) {
            out << " " << text;
        }
        out << "; ";
    };
    list("added", summary.added);
    list("persisting", summary.persisting);
    list("gone", summary.gone);
    list("hidden", summary.hidden);
    list("not visited", summary.notVisited);
    return out;
}

Summary SummaryOf(const RunDiff& diff) {
    std::vector<StoredFinding> added;
    std::vector<StoredFinding> persisting;
    for (const NewFinding& each : diff.added) {
        added.push_back(each.finding);
    }
    for (const PersistingFinding& each : diff.persisting) {
        persisting.push_back(each.newer);
    }
    return {Texts(added), Texts(persisting), Texts(diff.gone), Texts(diff.hidden), Texts(diff.notVisited)};
}

Summary Diff(const CheckRun& older, const CheckRun& newer) {
    return SummaryOf(DiffRuns(older.contents, newer.contents));
}

const Finding kA = FindingOf(Code(1), {"a"});
const Finding kB = FindingOf(Code(2), {"b"});
const Finding kC = FindingOf(Code(3), {"c"});

}  // namespace

TEST(RunDiff, SaysNewPersistingAndGone) {
    const CheckRun older = CheckRun().Unit(kUnit, UnitResult::Failed, {kA, kB});
    const CheckRun newer = CheckRun().Unit(kUnit, UnitResult::Failed, {kB, kC});
    EXPECT_EQ(Diff(older, newer), (Summary{.added = {"3/c"}, .persisting = {"2/b"}, .gone = {"1/a"}}));
}

TEST(RunDiff, OfARunWithItselfIsAllPersisting) {
    const CheckRun run =
        CheckRun().Unit(kUnit, UnitResult::Failed, {kA, kA, kB}).Unit(kOtherFloor, UnitResult::Failed, {kA});
    EXPECT_EQ(Diff(run, run), (Summary{.persisting = {"1/a", "1/a", "2/b", "1/a"}}));
}

TEST(RunDiff, CallsNothingGoneThatTheNewerRunDidNotVisit) {
    const CheckRun older = CheckRun().Unit(kUnit, UnitResult::Failed, {kA}).Unit(kOtherFloor, UnitResult::Failed, {kB});
    // Narrowed to one floor.
    EXPECT_EQ(Diff(older, CheckRun().Unit(kUnit, UnitResult::Passed)),
              (Summary{.gone = {"1/a"}, .notVisited = {"2/b"}}));
    for (const UnitResult result :
         {UnitResult::Crashed, UnitResult::Cancelled, UnitResult::Skipped, UnitResult::NotApplicable}) {
        const CheckRun newer = CheckRun().Unit(kUnit, result).Unit(kOtherFloor, UnitResult::Failed, {kB});
        EXPECT_EQ(Diff(older, newer), (Summary{.persisting = {"2/b"}, .notVisited = {"1/a"}}));
    }
}

TEST(RunDiff, CallsNothingGoneWhenTheNewerRunLackedPartsOfItsModel) {
    const CheckRun older = CheckRun().Unit(kUnit, UnitResult::Failed, {kA, kB});
    CheckRun newer = CheckRun().Unit(kUnit, UnitResult::Failed, {kB});
    EXPECT_EQ(Diff(older, newer), (Summary{.persisting = {"2/b"}, .gone = {"1/a"}}));
    newer.contents.run.identity.modelRead = ModelRead::Partly;
    for (const RunStatus status : {RunStatus::Partial, RunStatus::Cancelled, RunStatus::Running}) {
        newer.contents.run.status = status;
        EXPECT_EQ(Diff(older, newer), (Summary{.persisting = {"2/b"}, .notVisited = {"1/a"}}));
        EXPECT_EQ(DiffRuns(older.contents, newer.contents).remarks,
                  (std::vector<std::string>{"Parts of the model could not be read; 1 finding that is no longer found "
                                            "may be about them."}));
    }
}

TEST(RunDiff, CallsNothingGoneThatACrashHidesBesidesAPartlyReadModel) {
    const CheckRun older = CheckRun().Unit(kUnit, UnitResult::Failed, {kA}).Unit(kOtherFloor, UnitResult::Failed, {kB});
    CheckRun newer = CheckRun().Unit(kUnit, UnitResult::Passed).Unit(kOtherFloor, UnitResult::Crashed);
    newer.contents.run.status = RunStatus::Partial;
    EXPECT_EQ(Diff(older, newer), (Summary{.gone = {"1/a"}, .notVisited = {"2/b"}}))
        << "a crash speaks of its own unit alone";
    newer.contents.run.identity.modelRead = ModelRead::Partly;
    EXPECT_EQ(Diff(older, newer), (Summary{.notVisited = {"1/a", "2/b"}}));
}

TEST(RunDiff, CallsNothingGoneWhenNobodyRecordedWhetherTheModelWasRead) {
    const CheckRun older = CheckRun().Unit(kUnit, UnitResult::Failed, {kA, kB});
    CheckRun newer = CheckRun().Unit(kUnit, UnitResult::Passed);
    newer.contents.run.id = 7;
    newer.contents.run.identity.modelRead = ModelRead::Unknown;
    EXPECT_EQ(Diff(older, newer), (Summary{.notVisited = {"1/a", "2/b"}}));
    EXPECT_EQ(DiffRuns(older.contents, newer.contents).remarks,
              (std::vector<std::string>{"Whether run 7 could read all of its model was not recorded; 2 findings that "
                                        "are no longer found may be about what it could not read."}));
}

TEST(RunDiff, KeepsWhatACrashedUnitStillFound) {
    const CheckRun older = CheckRun().Unit(kUnit, UnitResult::Failed, {kA, kB});
    const CheckRun newer = CheckRun().Unit(kUnit, UnitResult::Crashed, {kA});
    EXPECT_EQ(Diff(older, newer), (Summary{.persisting = {"1/a"}, .notVisited = {"2/b"}}));
}

TEST(RunDiff, TellsWhetherTheOlderRunLookedWhereANewFindingIs) {
    const CheckRun older = CheckRun().Unit(kUnit, UnitResult::Passed);
    const CheckRun newer = CheckRun().Unit(kUnit, UnitResult::Failed, {kA}).Unit(kOtherFloor, UnitResult::Failed, {kB});
    const RunDiff diff = DiffRuns(older.contents, newer.contents);
    ASSERT_EQ(diff.added.size(), 2U);
    EXPECT_TRUE(diff.added[0].olderRunLooked);
    EXPECT_FALSE(diff.added[1].olderRunLooked);
    CheckRun broken = older;
    broken.contents.run.identity.modelRead = ModelRead::Partly;
    EXPECT_FALSE(DiffRuns(broken.contents, newer.contents).added[0].olderRunLooked)
        << "the finding may stand in what could not be read then";
}

TEST(RunDiff, CountsEqualCodes) {
    const Finding nameless = FindingOf(Code(1), {});
    const CheckRun two = CheckRun().Unit(kUnit, UnitResult::Failed, {nameless, nameless});
    const CheckRun three = CheckRun().Unit(kUnit, UnitResult::Failed, {nameless, nameless, nameless});
    EXPECT_EQ(Diff(two, three), (Summary{.added = {"1/"}, .persisting = {"1/", "1/"}}));
    EXPECT_EQ(Diff(three, two), (Summary{.persisting = {"1/", "1/"}, .gone = {"1/"}}));
}

TEST(RunDiff, LetsNoFixCancelOutARegressionOfTheSameCode) {
    // The code does not name the objects: the loop through a was opened, one through c was closed.
    const CheckRun older =
        CheckRun().Unit(kUnit, UnitResult::Failed, {FindingOf(Code(1), {"a"}), FindingOf(Code(1), {"b"})});
    const CheckRun newer =
        CheckRun("d2").Unit(kUnit, UnitResult::Failed, {FindingOf(Code(1), {"b"}), FindingOf(Code(1), {"c"})});
    EXPECT_EQ(Diff(older, newer), (Summary{.added = {"1/c"}, .persisting = {"1/b"}, .gone = {"1/a"}}));
}

TEST(RunDiff, LetsNoFixOnOneFloorCancelOutARegressionOnAnother) {
    const CheckRun older = CheckRun().Unit(kUnit, UnitResult::Failed, {kA}).Unit(kOtherFloor, UnitResult::Passed);
    const CheckRun newer = CheckRun().Unit(kUnit, UnitResult::Passed).Unit(kOtherFloor, UnitResult::Failed, {kA});
    EXPECT_EQ(Diff(older, newer), (Summary{.added = {"1/a"}, .gone = {"1/a"}}));
}

TEST(RunDiff, RecognisesFindingsByCodeWhenAnExportRenamedEveryObject) {
    const CheckRun older =
        CheckRun().Unit(kUnit, UnitResult::Failed, {FindingOf(Code(1), {"a"}), FindingOf(Code(1), {"b"})});
    const CheckRun newer =
        CheckRun("d2").Unit(kUnit, UnitResult::Failed, {FindingOf(Code(1), {"x"}), FindingOf(Code(1), {"y"})});
    EXPECT_EQ(Diff(older, newer), (Summary{.persisting = {"1/x", "1/y"}}));
}

TEST(RunDiff, DoesNotCareAboutTheOrderOfObjectsOrTexts) {
    Finding reworded = FindingOf(Code(1), {"b", "a"});
    reworded.sentence = "In other words.";
    reworded.severity = "ERR_REMIND";
    const CheckRun older = CheckRun().Unit(kUnit, UnitResult::Failed, {FindingOf(Code(1), {"a", "b"})});
    EXPECT_EQ(Diff(older, CheckRun().Unit(kUnit, UnitResult::Failed, {reworded})), (Summary{.persisting = {"1/ba"}}));
}

TEST(RunDiff, CallsHiddenWhatTrustKeepsFromTheRule) {
    const CheckRun older = CheckRun().Unit(kUnit, UnitResult::Failed, {kA}).Unit(kOtherFloor, UnitResult::Failed, {kB});
    CheckRun newer = CheckRun()
                         .Unit(kUnit, UnitResult::Passed)
                         .Unit(kOtherFloor, UnitResult::Passed)
                         .Trust(TrustedSubCategory("CCheckPipeLoop", "3层", "给水管"));
    EXPECT_EQ(Diff(older, newer), (Summary{.gone = {"2/b"}, .hidden = {"1/a"}}));
    // Once the run looks behind trust, its word counts.
    newer.contents.units[0].looksThroughTrust = true;
    EXPECT_EQ(Diff(older, newer), (Summary{.gone = {"1/a", "2/b"}}));

    const CheckRun wholeRule = CheckRun()
                                   .Unit(kUnit, UnitResult::Skipped)
                                   .Unit(kOtherFloor, UnitResult::Skipped)
                                   .Trust(TrustedRule("CCheckPipeLoop"));
    EXPECT_EQ(Diff(older, wholeRule), (Summary{.hidden = {"1/a", "2/b"}}));
}

TEST(RunDiff, TakesATrustedFindingAsPersisting) {
    Finding trusted = kA;
    trusted.trusted = true;
    const CheckRun older = CheckRun().Unit(kUnit, UnitResult::Failed, {kA});
    const CheckRun newer = CheckRun().Unit(kUnit, UnitResult::Passed, {trusted}).Trust(TrustedFinding(Code(1)));
    EXPECT_EQ(Diff(older, newer), (Summary{.persisting = {"1/a"}}));
    const CheckRun fixed = CheckRun().Unit(kUnit, UnitResult::Passed).Trust(TrustedFinding(Code(1)));
    EXPECT_EQ(Diff(older, fixed), (Summary{.gone = {"1/a"}}));
}

TEST(RunDiff, RemarksOnWhatMakesRunsHardToCompare) {
    CheckRun newer;
    newer.contents.run.identity.modelPath = "other.ifc";
    newer.contents.run.identity.configurationDigest = "c2";
    newer.contents.run.identity.rules[0].md5 = "bb";
    EXPECT_EQ(DiffRuns(CheckRun().contents, newer.contents).remarks,
              (std::vector<std::string>{"The runs checked different models: \"models/house.ifc\" and \"other.ifc\".",
                                        "The configuration changed between the runs.",
                                        "The rule CCheckPipeLoop came from another build of CheckPipeLoop.Arx."}));
    EXPECT_TRUE(DiffRuns(CheckRun().contents, CheckRun().contents).remarks.empty());
}

// Random runs with few codes and objects, so that equal ones abound. What must hold is checked by counting.
TEST(RunDiff, AccountsForEveryFindingOnce) {
    std::mt19937 random(4711);
    const auto pick = [&](int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); };
    const std::vector units{kUnit, kOtherFloor, UnitKey{"5层", "消防", "CCheckPipeLoop"}};
    const auto randomRun = [&] {
        CheckRun run(pick(2) == 0 ? "d1" : "d2");
        for (const UnitKey& unit : units) {
            std::vector<Finding> findings;
            for (int count = pick(5); count > 0; --count) {
                const int object = pick(4);
                findings.push_back(FindingOf(
                    Code(pick(2)), object == 0 ? std::vector<std::string>{}
                                               : std::vector{std::string(1, static_cast<char>('a' + object))}));
            }
            if (pick(5) != 0) {
                run.Unit(unit, static_cast<UnitResult>(pick(6)), findings);
            }
        }
        if (pick(4) == 0) {
            run.Trust(TrustedSubCategory("CCheckPipeLoop", "3层", "给水管"));
        }
        return run;
    };
    for (int round = 0; round < 20000; ++round) {
        const CheckRun older = randomRun();
        const CheckRun newer = randomRun();
        const RunDiff diff = DiffRuns(older.contents, newer.contents);
        ASSERT_EQ(diff.persisting.size() + diff.gone.size() + diff.hidden.size() + diff.notVisited.size(),
                  older.contents.findings.size());
        ASSERT_EQ(diff.persisting.size() + diff.added.size(), newer.contents.findings.size());
        std::map<UnitKey, UnitResult> resultOf;
        for (const UnitOutcome& outcome : newer.contents.units) {
            resultOf[outcome.unit] = outcome.result;
        }
        for (const StoredFinding& gone : diff.gone) {
            ASSERT_TRUE(resultOf.contains(gone.unit));
            ASSERT_TRUE(resultOf[gone.unit] == UnitResult::Passed || resultOf[gone.unit] == UnitResult::Failed);
        }
        for (const PersistingFinding& same : diff.persisting) {
            ASSERT_EQ(same.older.unit, same.newer.unit);
            ASSERT_EQ(same.older.finding.featureCode, same.newer.finding.featureCode);
        }
    }
}

TEST(RunDiff, StaysLinearWithManyEqualCodes) {
    std::vector<Finding> findings;
    for (int i = 0; i < 50000; ++i) {
        findings.push_back(FindingOf(Code(1), {std::to_string(i)}));
    }
    std::vector<Finding> shifted(findings.begin() + 25000, findings.end());
    const CheckRun older = CheckRun().Unit(kUnit, UnitResult::Failed, findings);
    const CheckRun newer = CheckRun().Unit(kUnit, UnitResult::Failed, shifted);
    const RunDiff diff = DiffRuns(older.contents, newer.contents);
    EXPECT_EQ(diff.persisting.size(), 25000U);
    EXPECT_EQ(diff.gone.size(), 25000U);
}

TEST(RunDiff, WorksOnRunsOfTheDatabase) {
    const ProjectFolder folder;
    ProjectStore project = OpenStore(folder);
    std::vector<RunId> ids;
    for (const std::vector<Finding>& findings : {std::vector{kA, kB}, std::vector{kB, kC}}) {
        ids.push_back(Expect(project.BeginRun(Identity())).id);
        Expect(project.CommitUnit(ids.back(), Outcome(kUnit, UnitResult::Failed), findings));
        Expect(project.EndRun(ids.back(), RunStatus::Complete));
    }
    EXPECT_EQ(SummaryOf(Expect(project.Diff(ids[0], ids[1]))),
              (Summary{.added = {"3/c"}, .persisting = {"2/b"}, .gone = {"1/a"}}));
    EXPECT_EQ(CodeOf(project.Diff(ids[0], 99)), StoreErrorCode::NotFound);
}
