// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <sys/time.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <nlohmann/json.hpp>

#include "tests/report/SarifSchema.h"
#include "tests/report/XmlSchema.h"
#include "tests/service/support/PipeModel.h"

namespace {

using Json = nlohmann::json;
using norvex::test::FileText;
using norvex::test::PipeModel;
using norvex::test::ProcessResult;
using norvex::test::Selected;
using norvex::test::TemporaryFolder;
using norvex::test::WriteFile;
using Texts = std::vector<std::string>;
namespace fs = std::filesystem;

// norvex with a model of two rings, whose names are as ugly as IFC can write them, and a project for it.
class ReportFiles : public testing::Test {
  protected:
    ReportFiles() {
        PipeModel model;
        model.Storey("3\\X2\\5C42\\X0\\ \\X\\1B[2J\\X2\\D800\\X0\\", 0)
            .System("<script>\"{{0}}\" [x](http://y) \\X\\01", "DOMESTICCOLDWATER")
            .Ring({0, 0, 2500})
            .System("Sprinkler", "FIREPROTECTION")
            .Ring({5000, 0, 2500});
        WriteFile(m_folder / "house.ifc", model.Text());
    }

    std::string Path(const std::string& name) const { return (m_folder / name).string(); }

    ProcessResult Check(std::vector<std::string> options) const {
        const std::vector<std::string> start = {NORVEX_PROGRAM, "check", Path("house.ifc"), "--project",
                                                Path("project")};
        options.insert(options.begin(), start.begin(), start.end());
        return norvex::test::RunProcess(options, [&] { setenv("XDG_STATE_HOME", Path("state").c_str(), 1); });
    }

    std::vector<fs::path> Results() const {
        std::vector<fs::path> paths;
        for (const auto& entry : fs::directory_iterator(m_folder / "project" / "NxResult")) {
            paths.push_back(entry.path());
        }
        std::sort(paths.begin(), paths.end());
        return paths;
    }

    TemporaryFolder m_folder;
};

TEST_F(ReportFiles, OfEachRunStayInItsProject) {
    const fs::path guide = m_folder / "project" / "ProjectAssist" / "NxResult" / "Guide.xml";
    for (std::size_t run = 1; run <= 3; ++run) {
        ASSERT_EQ(Check({"--quiet"}).exitCode, 1);
        const std::vector<fs::path> results = Results();
        EXPECT_EQ(results.size(), 2 * run) << "water and fire, and none of an earlier run is gone";
        const std::string text = FileText(guide);
        EXPECT_EQ(norvex::test::SchemaErrors(NORVEX_RESULT_SCHEMA, text), "");
        const Texts files = Selected(text, "//r:specialty/@file");
        ASSERT_EQ(files.size(), 2U);
        for (const std::string& file : files) {
            EXPECT_TRUE(fs::exists(m_folder / "project" / file)) << file;
        }
        EXPECT_EQ(Selected(text, "/r:guide/r:totals/@suspected"), Texts{"1"});
        EXPECT_EQ(Selected(text, "/r:guide/r:totals/@remind"), Texts{"1"});
    }
    for (const fs::path& path : Results()) {
        const std::string text = FileText(path);
        EXPECT_EQ(norvex::test::SchemaErrors(NORVEX_RESULT_SCHEMA, text), "") << path;
        EXPECT_EQ(Selected(text, "//r:findings/r:finding").size(), 1U) << path;
        EXPECT_TRUE(Selected(text, "//r:scope/r:floor/@name").at(0).starts_with("3层 \\x1B[2J")) << path;
    }
}

TEST_F(ReportFiles, ThatCannotBeWrittenAreToldOfAndTheRestIsDelivered) {
    fs::create_directory(m_folder / "project");
    WriteFile(m_folder / "project" / "NxResult", "no folder");
    const ProcessResult result = Check({"--quiet", "--json", Path("report.json")});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(result.err.starts_with("norvex: The file ")) << result.err;
    EXPECT_TRUE(result.err.ends_with(" cannot be written: Not a directory.\n")) << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_NE(result.out.find("2 findings"), std::string::npos);
    EXPECT_EQ(Json::parse(FileText(Path("report.json")))["findings"].size(), 2U);
}

// The timer ends the program without a chance to tidy up, at moments from its start to beyond its end.
TEST_F(ReportFiles, AreWholeOrNotThereHoweverTheProgramEnds) {
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(Check({"--quiet"}).exitCode, 1);
    const auto wholeRun = std::chrono::steady_clock::now() - start;
    constexpr int kMoments = 60;
    int killed = 0;
    for (int moment = 1; moment <= kMoments; ++moment) {
        const std::string project = Path("project " + std::to_string(moment));
        const auto delay =
            std::chrono::duration_cast<std::chrono::microseconds>(wholeRun * moment / (kMoments * 5 / 6));
        const ProcessResult result =
            norvex::test::RunProcess({NORVEX_PROGRAM, "check", Path("house.ifc"), "--project", project}, [&] {
                setenv("XDG_STATE_HOME", Path("state").c_str(), 1);
                const itimerval timer{{}, {delay.count() / 1000000, delay.count() % 1000000}};
                setitimer(ITIMER_REAL, &timer, nullptr);
            });
        killed += result.exitCode == 128 + SIGALRM ? 1 : 0;
        bool hasGuide = false;
        std::error_code ignored;
        for (const auto& entry : fs::recursive_directory_iterator(project, ignored)) {
            const std::string name = entry.path().filename().string();
            if (entry.path().extension() == ".xml" && (name == "Guide.xml" || name.starts_with("NxResult("))) {
                EXPECT_EQ(norvex::test::SchemaErrors(NORVEX_RESULT_SCHEMA, FileText(entry.path())), "") << entry.path();
                hasGuide = hasGuide || name == "Guide.xml";
            }
        }
        EXPECT_TRUE(hasGuide || result.exitCode != 1) << "a run that ended by itself";
    }
    EXPECT_GT(killed, 0);
}

TEST_F(ReportFiles, HoldTheSameFindingsInEveryForm) {
    ASSERT_EQ(Check({"--json", Path("a.json"), "--sarif", Path("a.sarif")}).exitCode, 1);
    const Json json = Json::parse(FileText(Path("a.json")));
    const Json sarif = Json::parse(FileText(Path("a.sarif")))["runs"][0];
    ASSERT_EQ(json["findings"].size(), 2U);
    ASSERT_EQ(sarif["results"].size(), 2U);
    Texts codes;
    for (std::size_t index = 0; index < 2; ++index) {
        codes.push_back(json["findings"][index]["featureCode"]);
        EXPECT_EQ(sarif["results"][index]["partialFingerprints"]["norvexFeatureCode/v1"], codes.back());
    }
    Texts written;
    for (const fs::path& path : Results()) {
        const Texts found = Selected(FileText(path), "//r:findings/r:finding/@featureCode");
        written.insert(written.end(), found.begin(), found.end());
    }
    std::sort(codes.begin(), codes.end());
    std::sort(written.begin(), written.end());
    EXPECT_EQ(written, codes);
}

TEST_F(ReportFiles, AreValidSarifWhateverTheModelSays) {
    NORVEX_REQUIRE_SHARED(norvex::test::kSarifSchema);
    const ProcessResult result = Check({"--format", "sarif"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(norvex::test::SarifErrors(result.out), "");
    const ProcessResult cut = Check({"--format", "sarif", "--rule", "layout-flange"});
    EXPECT_EQ(cut.exitCode, 3) << "nothing that the rule is about";
    EXPECT_EQ(norvex::test::SarifErrors(cut.out), "");
    EXPECT_EQ(Json::parse(cut.out)["runs"][0]["invocations"][0]["executionSuccessful"], false);
}

TEST_F(ReportFiles, GoToStandardOutputInOneForm) {
    EXPECT_TRUE(Json::parse(Check({"--format", "json"}).out).contains("findings"));
    EXPECT_TRUE(Json::parse(Check({"--json", "-"}).out).contains("findings"));
    EXPECT_TRUE(Json::parse(Check({"--sarif", "-"}).out).contains("runs"));
    EXPECT_TRUE(Json::parse(Check({"--format", "json", "--json", "-"}).out).contains("findings"));
    EXPECT_NE(Check({"--format", "text"}).out.find("What was examined"), std::string::npos);
    for (const std::vector<std::string>& options : std::vector<std::vector<std::string>>{
             {"--format", "xml"}, {"--format", "sarif", "--json", "-"}, {"--json", "-", "--sarif", "-"}}) {
        const ProcessResult result = Check(options);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        EXPECT_TRUE(result.err.starts_with("norvex: ")) << result.err;
    }
}

TEST_F(ReportFiles, TellInEveryFormWhatWasAcceptedAndWhatIsNew) {
    ASSERT_EQ(Check({"--quiet"}).exitCode, 1);
    const ProcessResult trust =
        norvex::test::RunProcess({NORVEX_PROGRAM, "trust", "add", "--project", Path("project"), "--finding", "1",
                                  "--reason", "Meant to be a ring.", "--person", "Li", "--expires", "2999-12-31"},
                                 [&] { setenv("XDG_STATE_HOME", Path("state").c_str(), 1); });
    ASSERT_EQ(trust.exitCode, 0) << trust.err;
    const ProcessResult again = Check({"--json", Path("a.json"), "--sarif", Path("a.sarif")});
    EXPECT_EQ(again.exitCode, 0) << again.err << "what counts is accepted";
    EXPECT_NE(again.out.find("0 new, 2 persisting, 0 gone."), std::string::npos) << again.out;
    const Json finding = Json::parse(FileText(Path("a.json")))["findings"][0];
    EXPECT_EQ(finding["acceptance"]["reason"], "Meant to be a ring.");
    EXPECT_EQ(finding["novelty"], "persisting");
    const Json results = Json::parse(FileText(Path("a.sarif")))["runs"][0]["results"];
    EXPECT_EQ(results[0]["suppressions"][0]["properties"]["person"], "Li");
    EXPECT_EQ(results[1]["suppressions"], Json::array());
    EXPECT_EQ(results[0]["baselineState"], "unchanged");
    const std::string guide = FileText(m_folder / "project" / "ProjectAssist" / "NxResult" / "Guide.xml");
    EXPECT_EQ(Selected(guide, "//r:acceptance/@state"), Texts{"hides"});
    const std::string water =
        FileText(m_folder / "project" / Selected(guide, "//r:specialty[@tag='(Wsd)']/@file").at(0));
    EXPECT_EQ(norvex::test::SchemaErrors(NORVEX_RESULT_SCHEMA, water), "");
    EXPECT_EQ(Selected(water, "/r:result/r:run/@number"), Texts{"2"});
    EXPECT_EQ(Selected(water, "//r:findings/r:finding/r:trust"), Texts{"Meant to be a ring."});
    EXPECT_EQ(Selected(water, "//r:findings/r:finding/@novelty"), Texts{"persisting"});
    EXPECT_EQ(Selected(water, "/r:result/r:totals/@trusted"), Texts{"1"});
    EXPECT_EQ(Selected(water, "//r:rule[@shortName='pipe-loop']/@md5").at(0).size(), 32U);
}

TEST_F(ReportFiles, OfARunThatIsNotRememberedAreOnlyThoseAskedFor) {
    EXPECT_EQ(Check({"--no-memory", "--json", Path("a.json")}).exitCode, 1);
    EXPECT_FALSE(fs::exists(m_folder / "project"));
    EXPECT_EQ(Json::parse(FileText(Path("a.json")))["run"]["number"], nullptr);
}

TEST_F(ReportFiles, AreTheSameBytesHoweverManyFloorsAreCheckedSideBySide) {
    for (const char* format : {"json", "sarif"}) {
        Texts reports;
        for (const char* jobs : {"1", "2", "4"}) {
            fs::remove_all(m_folder / "project");
            reports.push_back(norvex::test::RunProcess({NORVEX_PROGRAM, "check", NORVEX_SAMPLE, "--project",
                                                        Path("project"), "--jobs", jobs, "--format", format},
                                                       [&] { setenv("XDG_STATE_HOME", Path("state").c_str(), 1); })
                                  .out);
        }
        EXPECT_GT(reports[0].size(), 10000U);
        EXPECT_EQ(reports[1], reports[0]) << format;
        EXPECT_EQ(reports[2], reports[0]) << format;
    }
}

TEST_F(ReportFiles, TellTimesOnlyWhenAsked) {
    const ProcessResult timed = Check({"--timing", "--json", Path("timed.json")});
    EXPECT_NE(timed.out.find("Entities/s"), std::string::npos);
    EXPECT_TRUE(Json::parse(FileText(Path("timed.json")))["outcomes"][0].contains("milliseconds"));
    const ProcessResult plain = Check({"--json", Path("plain.json")});
    EXPECT_EQ(plain.out.find("Entities/s"), std::string::npos);
    EXPECT_EQ(FileText(Path("plain.json")).find("milliseconds"), std::string::npos);
}

TEST_F(ReportFiles, ListOutcomesOfAQuietRunWhenAsked) {
    EXPECT_EQ(Check({"--quiet"}).out.find("What was examined"), std::string::npos);
    EXPECT_NE(Check({"--quiet", "--outcomes"}).out.find("What was examined"), std::string::npos);
}

}  // namespace
