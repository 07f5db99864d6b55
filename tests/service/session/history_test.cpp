// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <sstream>

#include "tests/service/store/StoreSupport.h"
#include "tests/service/support/Program.h"

using namespace norvex::test;
using Json = nlohmann::json;

namespace {

// What norvex runs and norvex diff tell of the runs before.
class History : public Program {
  protected:
    // Two floors with four pipes each, which close a ring where it is wanted. Every pipe keeps its GlobalId.
    std::string Building(bool ringBelow, bool ringAbove) const {
        PipeModel model;
        model.Storey("1层", 0).System("Cold water", "DOMESTICCOLDWATER");
        AddPipes(model, 0, ringBelow);
        model.Storey("2层", 3000);
        AddPipes(model, 3000, ringAbove);
        return Model(std::move(model));
    }

    static void AddPipes(PipeModel& model, double z, bool isRing) {
        model.Pipe({0, 0, z}, {1000, 0, z}).Pipe({1000, 0, z}, {1000, 1000, z}).Pipe({1000, 1000, z}, {0, 1000, z});
        if (isRing) {
            model.Pipe({0, 1000, z}, {0, 0, z});
        } else {
            model.Pipe({0, 1000, z}, {0, 2000, z});
        }
    }

    ProcessResult Diff(std::vector<std::string> arguments = {}) const {
        arguments.insert(arguments.begin(), {"diff", "--project", ProjectPath()});
        return Run(arguments);
    }
    Json DiffJson(std::vector<std::string> arguments = {}) const {
        arguments.insert(arguments.end(), {"--json", "-"});
        const ProcessResult result = Diff(arguments);
        EXPECT_TRUE(Json::accept(result.out)) << result.out << result.err;
        return Json::parse(result.out);
    }
};

TEST_F(History, DiffSaysWhatIsNewPersistingAndGone) {
    ASSERT_EQ(Check(Building(true, false)).exitCode, 1);
    ASSERT_EQ(Check(Building(true, true)).exitCode, 1);
    const Json first = DiffJson();
    EXPECT_EQ(first["format"], "norvex-diff");
    EXPECT_EQ(first["from"]["run"], 1);
    EXPECT_EQ(first["to"]["run"], 2);
    ASSERT_EQ(first["new"].size(), 1U);
    EXPECT_EQ(first["new"][0]["floor"], "2层");
    ASSERT_EQ(first["persisting"].size(), 1U);
    EXPECT_EQ(first["persisting"][0]["floor"], "1层");
    EXPECT_EQ(Diff().exitCode, 1) << "something new that counts";

    ASSERT_EQ(Check(Building(false, true)).exitCode, 1);
    const ProcessResult second = Diff();
    EXPECT_EQ(second.exitCode, 0) << second.out;
    EXPECT_NE(second.out.find("Gone (1)"), std::string::npos) << second.out;
    EXPECT_NE(second.out.find("0 new, 1 persisting, 1 gone."), std::string::npos) << second.out;
    const Json whole = DiffJson({"--from", "1", "--to", "3"});
    EXPECT_EQ(whole["new"].size(), 1U);
    EXPECT_EQ(whole["gone"].size(), 1U);
    EXPECT_EQ(whole["persisting"].size(), 0U);
}

TEST_F(History, ANarrowedRunNeverCallsGoneWhatItDidNotVisit) {
    ASSERT_EQ(Check(Building(true, true)).exitCode, 1);
    const ProcessResult narrowed = Check(Building(false, false), {"--floor", "1层", "--json", Path("a.json")});
    EXPECT_EQ(narrowed.exitCode, 0) << narrowed.err;
    const Json comparison = Json::parse(FileText(Path("a.json")))["comparison"];
    ASSERT_EQ(comparison["gone"].size(), 1U);
    EXPECT_EQ(comparison["gone"][0]["floor"], "1层");
    EXPECT_EQ(comparison["notVisited"], 1);
    const Json diff = DiffJson({"--to", "2"});
    EXPECT_EQ(diff["gone"].size(), 1U);
    EXPECT_EQ(diff["notVisited"], 1);
}

TEST_F(History, DiffNeedsTwoRuns) {
    const ProcessResult unknown = Run({"diff"});
    EXPECT_EQ(unknown.exitCode, 2);
    ExpectOneSentence(unknown.err);
    EXPECT_NE(unknown.err.find("No project has been checked yet"), std::string::npos) << unknown.err;
    ASSERT_EQ(Check(Building(true, false)).exitCode, 1);
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{}, {"--from", "7"}, {"--to", "7"}, {"--fail-on", "x"}}) {
        const ProcessResult result = Diff(arguments);
        EXPECT_EQ(result.exitCode, 2);
        ExpectOneSentence(result.err);
        EXPECT_EQ(result.out, "");
    }
}

TEST_F(History, DiffWantsTheEarlierRunFirst) {
    ASSERT_EQ(Check(Building(true, false)).exitCode, 1);
    ASSERT_EQ(Check(Building(true, true)).exitCode, 1);
    const auto refused = [&](const std::vector<std::string>& arguments, const std::string& sentence) {
        const ProcessResult result = Diff(arguments);
        EXPECT_EQ(result.exitCode, 2) << result.out;
        EXPECT_EQ(result.err, "norvex: " + sentence + "\n");
        EXPECT_EQ(result.out, "");
    };
    const std::string backwards = "Run 2 is later than run 1: --from takes the earlier run, --to the later one.";
    refused({"--from", "2", "--to", "1"}, backwards);
    refused({"--from", "2", "--to", "1", "--json", "-"}, backwards);
    refused({"--from", "2"}, "Run 2 cannot be compared with itself; norvex runs lists the others.");
    const ProcessResult unknown = Diff({"--from", "9", "--to", "1"});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_NE(unknown.err.find("There is no run 9"), std::string::npos) << unknown.err;
}

TEST_F(History, DiffSaysWhatIsTrustedByNowAndWhatNoLongerIs) {
    ASSERT_EQ(Check(Building(true, true)).exitCode, 1);
    ASSERT_EQ(Run({"trust", "add", "--project", ProjectPath(), "--finding", "1", "--person", "R. Meyer", "--reason",
                   "a heating ring"})
                  .exitCode,
              0);
    ASSERT_EQ(Check(Building(true, true)).exitCode, 1);
    const ProcessResult accepted = Diff();
    EXPECT_EQ(accepted.exitCode, 0) << accepted.err;
    EXPECT_NE(accepted.out.find("Still there, trusted now (1)"), std::string::npos) << accepted.out;
    EXPECT_NE(accepted.out.find("a heating ring"), std::string::npos) << accepted.out;
    EXPECT_NE(
        accepted.out.find("0 new, 2 persisting, 0 gone.\n1 persisting finding is trusted now and was not before."),
        std::string::npos)
        << accepted.out;
    const Json json = DiffJson();
    ASSERT_EQ(json["trustedNow"].size(), 1U);
    EXPECT_EQ(json["trustedNow"][0]["number"], 1);
    EXPECT_EQ(json["noLongerTrusted"], Json::array());
    EXPECT_EQ(json["persisting"].size(), 2U);

    ASSERT_EQ(Run({"trust", "remove", "1", "--project", ProjectPath(), "--reason", "not a ring"}).exitCode, 0);
    ASSERT_EQ(Check(Building(true, true)).exitCode, 1);
    const ProcessResult back = Diff();
    EXPECT_NE(back.out.find("Still there, no longer trusted (1)"), std::string::npos) << back.out;
    EXPECT_NE(back.out.find("1 persisting finding was trusted before and is not now."), std::string::npos) << back.out;
    EXPECT_EQ(DiffJson()["noLongerTrusted"].size(), 1U);
    const ProcessResult same = Diff({"--from", "1", "--to", "3"});
    EXPECT_EQ(same.out.find("trusted"), std::string::npos) << same.out;
}

TEST_F(History, RunsAreListedWithNumberStatusScopeAndFindings) {
    ASSERT_EQ(Check(Building(true, true)).exitCode, 1);
    ASSERT_EQ(Check(Building(true, true), {"--floor", "1层"}).exitCode, 1);
    const ProcessResult result = Run({"runs"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_NE(result.out.find(ProjectPath()), std::string::npos) << result.out;
    std::vector<std::string> lines;
    std::istringstream text(result.out);
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    ASSERT_EQ(lines.size(), 4U) << result.out;
    EXPECT_NE(lines[2].find("complete"), std::string::npos);
    EXPECT_NE(lines[2].find("everything"), std::string::npos);
    EXPECT_NE(lines[3].find("1 floor, 5 specialties"), std::string::npos) << lines[3];
}

TEST_F(History, KeepForgetsTheOldestRuns) {
    const std::string model = Building(true, false);
    for (int run = 0; run < 4; ++run) {
        ASSERT_EQ(Check(model).exitCode, 1);
    }
    const ProcessResult result = Run({"runs", "--keep", "2"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_NE(result.out.find("2 runs were forgotten."), std::string::npos) << result.out;
    auto project = std::move(*store::ProjectStore::Open(ProjectPath()));
    const auto runs = Expect(project.ListRuns());
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_EQ(runs[0].id, 3);
    EXPECT_EQ(Run({"runs", "--keep", "-1"}).exitCode, 2);
}

TEST_F(History, IsFoundByModelByFolderOrAsTheLastOne) {
    const std::string model = Building(true, false);
    ASSERT_EQ(Run({"check", model}).exitCode, 1);
    ASSERT_EQ(Check(model).exitCode, 1);
    const std::string last = Run({"runs"}).out;
    EXPECT_NE(last.find(ProjectPath()), std::string::npos) << last;
    EXPECT_NE(Run({"runs", model}).out.find(Path("state") + "/norvex/house-"), std::string::npos);
    EXPECT_NE(Run({"runs", "--project", ProjectPath()}).out.find(ProjectPath()), std::string::npos);
    const ProcessResult unknown = Run({"runs", "--project", Path("nowhere")});
    EXPECT_EQ(unknown.exitCode, 2);
    ExpectOneSentence(unknown.err);
    const ProcessResult unchecked = Run({"runs", Path("other.ifc")});
    EXPECT_EQ(unchecked.exitCode, 2);
    ExpectOneSentence(unchecked.err);
    std::filesystem::remove_all(ProjectPath());
    const ProcessResult gone = Run({"runs"});
    EXPECT_EQ(gone.exitCode, 2);
    ExpectOneSentence(gone.err);
    EXPECT_NE(gone.err.find("no longer there"), std::string::npos) << gone.err;
}

}  // namespace
