// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/service/support/Program.h"

using namespace norvex::test;
using Json = nlohmann::json;

namespace {

// What norvex report and norvex show make of runs that norvex check has left in the project.
class StoredRun : public Program {
  protected:
    static PipeModel TwoFloors() {
        PipeModel model;
        model.Storey("1层", 0).System("Cold water", "DOMESTICCOLDWATER").Ring({0, 0, 2500});
        model.Storey("2层", 3000).Pipe({0, 0, 6000}, {900, 0, 6000});
        return model;
    }
    // The same without the ring.
    static PipeModel Repaired() {
        PipeModel model;
        model.Storey("1层", 0).System("Cold water", "DOMESTICCOLDWATER").Pipe({0, 0, 2500}, {900, 0, 2500});
        model.Storey("2层", 3000).Pipe({0, 0, 6000}, {900, 0, 6000});
        return model;
    }

    Json CheckJson(const std::string& model) const { return Json::parse(Check(model, {"--json", "-"}).out); }

    ProcessResult OfProject(std::vector<std::string> arguments) const {
        arguments.insert(arguments.end(), {"--project", ProjectPath()});
        return Run(arguments);
    }

    void ExpectRefused(const std::vector<std::string>& arguments, const std::string& reason) const {
        const ProcessResult result = OfProject(arguments);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_TRUE(result.out.empty()) << result.out;
        ExpectOneSentence(result.err);
        EXPECT_NE(result.err.find(reason), std::string::npos) << result.err;
    }
};

// The line of the text below a title.
std::string LineBelow(const std::string& text, const std::string& title) {
    const std::size_t begin = text.find("\n" + title + "\n");
    if (begin == std::string::npos) {
        return {};
    }
    const std::size_t line = begin + title.size() + 2;
    return text.substr(line, text.find('\n', line) - line);
}

TEST_F(StoredRun, IsShownOneFindingWhole) {
    const Json finding = CheckJson(Model(TwoFloors()))["findings"][0];
    const ProcessResult shown = OfProject({"show", "1"});
    EXPECT_EQ(shown.exitCode, 0) << shown.err;
    EXPECT_EQ(shown.out.find("Finding 1 of run 1 of "), 0U) << shown.out;
    EXPECT_EQ(LineBelow(shown.out, "Location string"), "  " + finding["location"].get<std::string>());
    EXPECT_EQ(LineBelow(shown.out, "Feature code"), "  " + finding["featureCode"].get<std::string>());
    EXPECT_EQ(LineBelow(shown.out, "Where"), "  floor 1层, 给排水 (water)");
    EXPECT_NE(shown.out.find("\n  middle of its objects: x "), std::string::npos) << shown.out;
    ASSERT_EQ(finding["objects"].size(), 4U);
    for (const Json& object : finding["objects"]) {
        EXPECT_NE(shown.out.find(object["globalId"].get<std::string>()), std::string::npos);
    }
    EXPECT_EQ(OfProject({"show", finding["featureCode"].get<std::string>().substr(0, 7)}).out, shown.out);
}

TEST_F(StoredRun, PrintsTheCommandThatAcceptsAFinding) {
    const std::string model = Model(TwoFloors());
    ASSERT_EQ(Check(model).exitCode, 1);
    std::string command = LineBelow(OfProject({"show", "1"}).out, "How to accept it");
    ASSERT_EQ(command.find("  norvex trust add "), 0U) << command;
    command.replace(0, std::string("  norvex").size(), "'" + m_program + "'");
    const ProcessResult added = RunProcess({"/bin/sh", "-c", command + " --person Ada"}, InFolder([] {}));
    ASSERT_EQ(added.exitCode, 0) << command << "\n" << added.err;
    EXPECT_EQ(Check(model).exitCode, 0);
    const std::string accepted = OfProject({"show", "1"}).out;
    EXPECT_NE(LineBelow(accepted, "How it stands"), "");
    EXPECT_NE(accepted.find("Accepted by Ada on "), std::string::npos) << accepted;
    EXPECT_EQ(LineBelow(accepted, "How to accept it"), "");
}

TEST_F(StoredRun, ShowsWhatIsGone) {
    const std::string code = CheckJson(Model(TwoFloors()))["findings"][0]["featureCode"];
    ASSERT_EQ(Check(Model(Repaired())).exitCode, 0);
    const ProcessResult gone = OfProject({"show", code});
    EXPECT_EQ(gone.exitCode, 0) << gone.err;
    EXPECT_EQ(gone.out.find("Finding of run 1 of "), 0U) << gone.out;
    EXPECT_NE(LineBelow(gone.out, "How it stands").find("Gone: run 2 of "), std::string::npos) << gone.out;
    EXPECT_EQ(OfProject({"show", "1", "--run", "1"}).exitCode, 0) << "the earlier run still has it";
}

TEST_F(StoredRun, SaysWhatIsNotThere) {
    ExpectRefused({"report"}, "");
    ASSERT_EQ(Check(Model(TwoFloors())).exitCode, 1);
    ExpectRefused({"show", "2"}, "Run 1 has no finding 2; it has 1");
    ExpectRefused({"show", "_zz"}, "has no finding \"_zz\"");
    ExpectRefused({"show", "1", "--run", "5"}, "There is no run 5");
    ExpectRefused({"report", "--run", "first"}, "\"first\" names no run");
    ExpectRefused({"report", "--html", Path("no folder/report.html")}, "no folder/report.html");
}

TEST_F(StoredRun, IsReportedAsTheCheckReportedIt) {
    const std::string model = Model(TwoFloors());
    ASSERT_EQ(Check(model).exitCode, 1);
    const ProcessResult checked = Check(model, {"--json", Path("check.json"), "--html", Path("check.html")});
    ASSERT_EQ(checked.exitCode, 1) << checked.err;
    const ProcessResult reported = OfProject({"report", "--json", Path("report.json"), "--html", Path("report.html")});
    EXPECT_EQ(reported.exitCode, 0) << reported.err;
    EXPECT_EQ(reported.out, "Run 2 is in " + Path("report.html") + ".\nRun 2 is in " + Path("report.json") + ".\n");
    EXPECT_EQ(FileText(Path("report.json")), FileText(Path("check.json")));
    EXPECT_TRUE(FileText(Path("report.html")) == FileText(Path("check.html")));
    EXPECT_EQ(OfProject({"report"}).out, checked.out);
}

TEST_F(StoredRun, IsReportedWithoutAPlanOnceItsModelHasChanged) {
    const std::string model = Model(TwoFloors());
    const Json checked = CheckJson(model);
    Model(Repaired());
    const ProcessResult reported = OfProject({"report", "--json", "-", "--html", Path("report.html")});
    EXPECT_EQ(reported.exitCode, 0);
    ExpectOneSentence(reported.err);
    EXPECT_NE(reported.err.find(model + "\" is not the one that was checked any more"), std::string::npos);
    EXPECT_EQ(Json::parse(reported.out)["findings"], checked["findings"]);
    EXPECT_EQ(Json::parse(reported.out)["outcomes"], checked["outcomes"]);
    EXPECT_NE(FileText(Path("report.html")), "");
    std::filesystem::remove(model);
    EXPECT_NE(OfProject({"report"}).err.find("cannot be read any more"), std::string::npos);
}

}  // namespace
