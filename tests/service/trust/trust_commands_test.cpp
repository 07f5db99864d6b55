// SPDX-License-Identifier: Apache-2.0
// norvex trust, the program itself, on a project whose runs the test has written.
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "support/Process.h"
#include "tests/service/store/StoreSupport.h"

namespace {

using namespace norvex::test;
using namespace norvex::service::store;
using Json = nlohmann::json;

bool Holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// A project with one complete run: a water loop on 3层, the same code twice on 4层, and another one there.
class TrustCommands : public testing::Test {
  protected:
    TrustCommands() {
        RunIdentity identity = Identity();
        identity.rules.push_back({"CCheckPipeLink", "CheckPipeLink.Arx", "bb", "1.0.0.0"});
        Record(identity, {{Outcome(kUnit, UnitResult::Failed), {FindingOf(Code(1))}},
                          {Outcome(kOtherFloor, UnitResult::Failed),
                           {FindingOf(Code(2)), FindingOf(Code(2), {"b"}), FindingOf(Code(3))}}});
    }

    void Record(const RunIdentity& identity,
                const std::vector<std::pair<UnitOutcome, std::vector<Finding>>>& units) const {
        ProjectStore store = OpenStore(m_project);
        const RunRecord run = Expect(store.BeginRun(identity));
        for (const auto& [outcome, findings] : units) {
            Expect(store.CommitUnit(run.id, outcome, findings));
        }
        Expect(store.EndRun(run.id, RunStatus::Complete));
    }

    // norvex trust ..., on the project.
    ProcessResult Trust(std::vector<std::string> arguments, const std::string& input = "/dev/null") const {
        arguments.insert(arguments.begin(), {NORVEX_PROGRAM, "trust"});
        arguments.insert(arguments.end(), {"--project", m_project.Path().string()});
        return RunProcess(arguments, [&] { dup2(open(input.c_str(), O_RDONLY), STDIN_FILENO); });
    }

    void ExpectRefused(const std::vector<std::string>& arguments, const std::string& sentence) const {
        const ProcessResult result = Trust(arguments);
        EXPECT_EQ(result.exitCode, 2) << result.out;
        EXPECT_EQ(result.err, "norvex: " + sentence + "\n");
        EXPECT_EQ(result.out, "");
    }

    Json List() const { return Json::parse(Trust({"list", "--json", "-"}).out).at("entries"); }

    ProjectFolder m_project;
};

TEST_F(TrustCommands, AcceptAFindingByItsNumberInTheLastReport) {
    const ProcessResult result =
        Trust({"add", "--finding", "2", "--reason", "agreed", "--person", "李工", "--expires", "2999-12-31"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(Holds(result.out, "Pipes form a loop.")) << "what was accepted can be read again: " << result.out;
    EXPECT_TRUE(Holds(result.out, "hides 2 findings")) << result.out;
    const Json entry = List().at(0);
    EXPECT_EQ(entry.at("kind"), "finding");
    EXPECT_EQ(entry.at("featureCode"), Code(2));
    EXPECT_EQ(entry.at("floor"), "4层");
    EXPECT_EQ(entry.at("reason"), "agreed");
    EXPECT_EQ(entry.at("person"), "李工");
    EXPECT_EQ(entry.at("expires"), "2999-12-31");
    EXPECT_EQ(entry.at("state"), "hides");
    EXPECT_EQ(entry.at("findings"), 2);
    EXPECT_EQ(entry.at("countedInRun"), 1);
}

TEST_F(TrustCommands, NumberFindingsInTheOrderOfTheRunNotOfTheNames) {
    RunIdentity identity = Identity();
    identity.floors = {"B1", "1F"};
    identity.specialties = {"消防", "给排水"};
    identity.rules = {{"CCheckPipeLoop", "", "", ""}, {"CCheckPipeLink", "", "", ""}};
    const auto unit = [](const char* floor, const char* specialty, const char* rule) {
        return Outcome({floor, specialty, rule}, UnitResult::Failed);
    };
    Record(identity, {{unit("1F", "消防", "CCheckPipeLink"), {FindingOf(Code(5))}},
                      {unit("B1", "给排水", "CCheckPipeLink"), {FindingOf(Code(4))}},
                      {unit("B1", "消防", "CCheckPipeLink"), {FindingOf(Code(3))}},
                      {unit("B1", "消防", "CCheckPipeLoop"), {FindingOf(Code(1)), FindingOf(Code(2))}}});
    for (int number = 1; number <= 5; ++number) {
        ASSERT_EQ(Trust({"add", "--finding", std::to_string(number), "--reason", "r"}).exitCode, 0);
    }
    const Json entries = List();
    for (int number = 1; number <= 5; ++number) {
        EXPECT_EQ(entries.at(static_cast<std::size_t>(number - 1)).at("featureCode"), Code(number));
    }
}

TEST_F(TrustCommands, AcceptAFindingByTheBeginningOfItsCode) {
    EXPECT_EQ(Trust({"add", "--finding", "_3", "--reason", "r"}).exitCode, 0);
    EXPECT_EQ(Trust({"add", "--finding", Code(1), "--reason", "r"}).exitCode, 0);
    EXPECT_EQ(List().at(0).at("featureCode"), Code(3));
    EXPECT_EQ(List().at(1).at("featureCode"), Code(1));
    std::string sibling = Code(1);
    sibling.back() = '2';
    Record(Identity(), {{Outcome(kUnit, UnitResult::Failed), {FindingOf(Code(1)), FindingOf(sibling)}}});
    ExpectRefused({"add", "--finding", "_11", "--reason", "r"},
                  "The code \"_11\" is not long enough: " + Code(1) + " and " + sibling + " begin so.");
    EXPECT_EQ(Trust({"add", "--finding", "_2", "--reason", "r"}).exitCode, 0) << "of an older run";
}

TEST_F(TrustCommands, AcceptARuleAndASubCategoryByTheNamesThatPeopleUse) {
    EXPECT_EQ(Trust({"add", "--rule", "pipe-loop", "--specialty", "FIRE", "--reason", "rings"}).exitCode, 0);
    EXPECT_EQ(
        Trust({"add", "--rule", "pipe-link", "--floor", "3层", "--sub-category", "管道", "--reason", "old"}).exitCode,
        0);
    const Json entries = List();
    EXPECT_EQ(entries.at(0).at("kind"), "rule");
    EXPECT_EQ(entries.at(0).at("rule"), "CCheckPipeLoop");
    EXPECT_EQ(entries.at(0).at("specialty"), "消防");
    EXPECT_EQ(entries.at(1).at("kind"), "sub-category");
    EXPECT_EQ(entries.at(1).at("rule"), "CCheckPipeLinkInvalid");
    EXPECT_EQ(entries.at(1).at("floor"), "3层");
    EXPECT_EQ(entries.at(1).at("subCategory"), "管道");
}

TEST_F(TrustCommands, TakeTheUserForThePersonUnlessTheyNameOne) {
    ASSERT_EQ(Trust({"add", "--finding", "1", "--reason", "r"}).exitCode, 0);
    EXPECT_NE(List().at(0).at("person"), "");
    ExpectRefused({"add", "--finding", "2", "--reason", "r", "--person", " "},
                  "Trust needs the name of the person who answers for it.");
}

TEST_F(TrustCommands, NameWhatExistsWhenSomethingDoesNot) {
    const std::vector<std::string> why{"--reason", "r"};
    const auto add = [&](std::vector<std::string> what) {
        what.insert(what.begin(), "add");
        what.insert(what.end(), why.begin(), why.end());
        return what;
    };
    ExpectRefused(
        add({"--rule", "pipe-lop"}),
        "There is no rule \"pipe-lop\"; there is: layout-flange (CCheckLayoutFlange), pipe-diameter "
        "(CCheckPipeDiameter), pipe-link (CCheckPipeLinkInvalid), pipe-loop (CCheckPipeLoop), CCheckPipeLink.");
    ExpectRefused(add({"--rule", "pipe-loop", "--floor", "9层", "--sub-category", "管道"}),
                  "There is no floor \"9层\"; there is: 3层, 4层.");
    const ProcessResult subCategory = Trust(add({"--rule", "pipe-loop", "--floor", "3层", "--sub-category", "Rohre"}));
    EXPECT_EQ(subCategory.exitCode, 2);
    EXPECT_TRUE(Holds(subCategory.err, "There is no sub-category \"Rohre\"; there is: 管道, ")) << subCategory.err;
    ExpectRefused(
        add({"--rule", "pipe-loop", "--specialty", "gas"}),
        "There is no specialty \"gas\"; there is: 给排水 (water), 消防 (fire), 暖通 (hvac), 电气 (electrical), "
        "弱电 (low-voltage).");
    ExpectRefused(add({"--finding", "5"}), "There is no finding 5: those of the last run, 1, are numbered 1 to 4.");
    ExpectRefused(add({"--finding", "_9"}), "No run of this project has found anything with the code \"_9\".");
    ExpectRefused(add({"--finding", "first"}),
                  "A finding is named by its number in the last report, or by its code, which begins with \"_\"; "
                  "\"first\" is neither.");
    EXPECT_TRUE(List().empty());
}

TEST_F(TrustCommands, RefuseWhatNobodyCouldAccountFor) {
    ExpectRefused({"add", "--finding", "1", "--reason", " "}, "Trust needs a reason.");
    ExpectRefused({"add", "--finding", "1"}, "--reason is required (norvex --help explains).");
    ExpectRefused({"add", "--finding", "1", "--reason", "r", "--expires", "31.12.2999"},
                  "The day on which trust expires must be written YYYY-MM-DD, not \"31.12.2999\".");
    ExpectRefused({"add", "--reason", "r"},
                  "What is to be trusted: a --rule, a --rule with a --floor and a --sub-category, or a --finding?");
    ExpectRefused({"add", "--rule", "pipe-loop", "--floor", "3层", "--reason", "r"},
                  "A floor needs a --sub-category that is trusted on it.");
    ExpectRefused({"add", "--rule", "pipe-loop", "--sub-category", "管道", "--reason", "r"},
                  "A sub-category needs the --floor on which it is trusted.");
    ExpectRefused({"add", "--finding", "1", "--rule", "pipe-loop", "--reason", "r"},
                  "A finding is accepted by itself, without rule, specialty, floor and sub-category.");
    const ProcessResult past = Trust({"add", "--finding", "1", "--reason", "r", "--expires", "2020-01-01"});
    EXPECT_EQ(past.exitCode, 2);
    EXPECT_TRUE(List().empty());
}

TEST_F(TrustCommands, SayThatSomethingIsTrustedAlready) {
    ASSERT_EQ(Trust({"add", "--finding", "1", "--reason", "r", "--person", "A"}).exitCode, 0);
    const ProcessResult again = Trust({"add", "--finding", Code(1), "--reason", "s", "--person", "B"});
    EXPECT_EQ(again.exitCode, 2);
    EXPECT_TRUE(Holds(again.err, "Trust 1, given by A on ")) << again.err;
}

TEST_F(TrustCommands, ListNothingWhereNothingIsTrusted) {
    EXPECT_EQ(Trust({"list"}).out, "Nothing is trusted in this project.\n");
    const ProjectFolder unchecked;
    const ProcessResult result = RunProcess({NORVEX_PROGRAM, "trust", "list", "--project", unchecked.Path().string()});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, "Nothing is trusted in this project.\n");
    EXPECT_FALSE(std::filesystem::exists(unchecked.Database())) << "looking leaves nothing behind";
}

// One entry of each state.
std::string Document() {
    return R"({"format": "norvex-trust", "version": 1, "entries": [
        {"kind": "finding", "featureCode": ")" +
           Code(1) +
           R"(", "reason": "expired long ago", "person": "Li", "added": "2020-01-01", "expires": "2020-02-01"},
        {"kind": "finding", "featureCode": ")" +
           Code(2) + R"(", "reason": "agreed", "person": "Li", "added": "2020-01-01"},
        {"kind": "finding", "featureCode": ")" +
           Code(7) + R"(", "reason": "gone since", "person": "Li", "added": "2020-01-01"},
        {"kind": "sub-category", "rule": "CCheckPipeLoop", "floor": "3层", "subCategory": "给水管",
         "reason": "ring", "person": "Li", "added": "2020-01-01"}]})";
}

TEST_F(TrustCommands, ShowWhatHidesWhatIsStaleAndLoudlyWhatHasExpired) {
    WriteFile(m_project.Path() / "in.json", Document());
    const ProcessResult import = Trust({"import", (m_project.Path() / "in.json").string()});
    EXPECT_EQ(import.exitCode, 0) << import.err;
    EXPECT_EQ(import.out, "4 entries added; 0 entries trusted already and left out.\n");
    const ProcessResult list = Trust({"list"});
    EXPECT_EQ(list.exitCode, 0) << list.err;
    for (const std::string part :
         {"EXPIRED", "hides 2 findings", "stale", "hides 1 finding ", "\"agreed\"", "2020-02-01", "for good",
          "4 entries of trust: 3 in force (1 stale), 1 expired; norvex trust prune removes what is stale or "
          "expired."}) {
        EXPECT_TRUE(Holds(list.out, part)) << part << "\n" << list.out;
    }
    std::string flat = list.out;
    std::replace(flat.begin(), flat.end(), '\n', ' ');
    EXPECT_TRUE(Holds(flat, "expired on 2020-02-01 and no longer applies: 1 finding comes back.")) << list.out;
    EXPECT_TRUE(Holds(flat, "is stale: it hid nothing in the last complete run.")) << list.out;
    const Json entries = List();
    EXPECT_EQ(entries.at(0).at("state"), "expired");
    EXPECT_EQ(entries.at(0).at("findings"), 1);
    EXPECT_EQ(entries.at(1).at("state"), "hides");
    EXPECT_EQ(entries.at(2).at("state"), "stale");
    EXPECT_EQ(entries.at(3).at("state"), "hides");
}

TEST_F(TrustCommands, SayWhenOnlyAnOlderRunLookedBehindTrust) {
    WriteFile(m_project.Path() / "in.json", Document());
    ASSERT_EQ(Trust({"import", (m_project.Path() / "in.json").string()}).exitCode, 0);
    Record(Identity(), {{Outcome(kUnit, UnitResult::Passed), {}}, {Outcome(kOtherFloor, UnitResult::Passed), {}}});
    EXPECT_TRUE(Holds(Trust({"list"}).out, "hid 1 finding in run 1")) << "run 2 could not see the trusted components";
    EXPECT_EQ(List().at(3).at("countedInRun"), 1);
    EXPECT_EQ(List().at(1).at("state"), "stale") << "run 2 looked for the finding and it is gone";
}

TEST_F(TrustCommands, RemoveByNumberAndSayWhatWasRemoved) {
    ASSERT_EQ(Trust({"add", "--finding", "1", "--reason", "agreed", "--person", "A"}).exitCode, 0);
    ASSERT_EQ(Trust({"add", "--rule", "pipe-loop", "--reason", "rings", "--person", "A"}).exitCode, 0);
    const ProcessResult missing = Trust({"remove", "1", "9", "--reason", "fixed"});
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_TRUE(Holds(missing.err, "There is no trust 9 in ")) << missing.err;
    EXPECT_EQ(List().size(), 2U) << "all or none";
    const ProcessResult result = Trust({"remove", "2", "1", "2", "--reason", "fixed", "--person", "B"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(result.out.starts_with("Removed trust 1: finding " + Code(1) + " of rule CCheckPipeLoop (A, "))
        << result.out;
    EXPECT_TRUE(Holds(result.out, "\nRemoved trust 2: rule CCheckPipeLoop (A, ")) << result.out;
    EXPECT_TRUE(List().empty());
    ProjectStore store = OpenStore(m_project);
    const std::vector<RemovedTrustEntry> removed = Expect(store.RemovedTrust());
    ASSERT_EQ(removed.size(), 2U);
    EXPECT_EQ(removed[0].removedBy, "B");
    EXPECT_EQ(removed[0].removedBecause, "fixed");
    EXPECT_EQ(Trust({"remove", "1"}).exitCode, 2) << "without a reason";
    EXPECT_EQ(Trust({"remove", "--reason", "r"}).exitCode, 2) << "without a number";
}

TEST_F(TrustCommands, PruneWhatIsStaleOrExpiredAndNothingWhenAskedOnlyToSay) {
    WriteFile(m_project.Path() / "in.json", Document());
    ASSERT_EQ(Trust({"import", (m_project.Path() / "in.json").string()}).exitCode, 0);
    const ProcessResult rehearsal = Trust({"prune", "--dry-run"});
    EXPECT_TRUE(Holds(rehearsal.out, "Would remove expired trust 1: finding " + Code(1))) << rehearsal.out;
    EXPECT_TRUE(Holds(rehearsal.out, "Would remove stale trust 3: finding " + Code(7))) << rehearsal.out;
    EXPECT_EQ(List().size(), 4U);
    const ProcessResult result = Trust({"prune", "--person", "B"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(Holds(result.out, "Removed expired trust 1: ")) << result.out;
    EXPECT_TRUE(Holds(result.out, "Removed stale trust 3: ")) << result.out;
    const Json entries = List();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries.at(0).at("id"), 2);
    EXPECT_EQ(entries.at(1).at("id"), 4);
    EXPECT_EQ(Trust({"prune"}).out, "No trust is stale or expired.\n");
}

TEST_F(TrustCommands, CarryTrustFromOneProjectToAnother) {
    WriteFile(m_project.Path() / "in.json", Document());
    ASSERT_EQ(Trust({"import", "-"}, (m_project.Path() / "in.json").string()).exitCode, 0);
    const std::string file = (m_project.Path() / "out.json").string();
    ASSERT_EQ(Trust({"export", "--to", file}).exitCode, 0);
    EXPECT_EQ(Trust({"export"}).out, FileText(file));
    EXPECT_EQ(Json::parse(FileText(file)).at("entries").size(), 4U);
    EXPECT_EQ(Trust({"import", file}).out, "0 entries added; 4 entries trusted already and left out.\n");
    const ProjectFolder other;
    const ProcessResult result =
        RunProcess({NORVEX_PROGRAM, "trust", "import", file, "--project", other.Path().string()});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(RunProcess({NORVEX_PROGRAM, "trust", "export", "--project", other.Path().string()}).out, FileText(file));
}

TEST_F(TrustCommands, ImportADocumentWhollyOrNotAtAll) {
    std::string broken = Document();
    broken.insert(broken.rfind("\"reason\""), "\"reasn\": \"x\", ");
    WriteFile(m_project.Path() / "in.json", broken);
    const ProcessResult result = Trust({"import", (m_project.Path() / "in.json").string()});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(Holds(result.err, "in.json")) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_TRUE(List().empty());
    EXPECT_EQ(Trust({"import", "/nowhere/trust.json"}).exitCode, 2);
    EXPECT_EQ(Trust({"import", m_project.Path().string()}).exitCode, 2) << "a folder";
}

// The program that this process becomes next cannot pass over file permissions, even as root.
void ObeyPermissions() {
    prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE);
}

TEST_F(TrustCommands, ListAndExportInAProjectThatCannotBeWritten) {
    ASSERT_EQ(Trust({"add", "--finding", "1", "--reason", "r"}).exitCode, 0);
    const auto readOnly = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {NORVEX_PROGRAM, "trust"});
        arguments.insert(arguments.end(), {"--project", m_project.Path().string()});
        return RunProcess(arguments, [] { ObeyPermissions(); });
    };
    chmod(m_project.Path().c_str(), 0555);
    for (const auto& entry : std::filesystem::directory_iterator(m_project.Path())) {
        chmod(entry.path().c_str(), 0444);
    }
    EXPECT_TRUE(Holds(readOnly({"list"}).out, "hides 1 finding"));
    EXPECT_TRUE(Holds(readOnly({"export"}).out, Code(1)));
    const ProcessResult add = readOnly({"add", "--finding", "2", "--reason", "r", "--person", "Li"});
    EXPECT_EQ(add.exitCode, 2);
    EXPECT_EQ(std::count(add.err.begin(), add.err.end(), '\n'), 1) << add.err;
    chmod(m_project.Path().c_str(), 0755);
    EXPECT_EQ(List().size(), 1U);
}

}  // namespace
