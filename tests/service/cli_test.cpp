// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>

#include "support/Process.h"
#include "support/SharedData.h"
#include "tests/service/support/PipeModel.h"

namespace {

using norvex::test::FileText;
using norvex::test::PipeModel;
using norvex::test::ProcessResult;
using norvex::test::TemporaryFolder;
using norvex::test::WriteFile;
using Json = nlohmann::json;

// norvex with a folder of its own for models, results and projects.
class Norvex : public testing::Test {
  protected:
    std::string Path(const std::string& name) const { return (m_folder / name).string(); }

    std::string Model(PipeModel model, const std::string& name = "house.ifc") const {
        WriteFile(m_folder / name, model.Text());
        return Path(name);
    }

    ProcessResult Run(
        std::vector<std::string> arguments, const std::function<void()>& inChild = [] {}) const {
        arguments.insert(arguments.begin(), NORVEX_PROGRAM);
        return norvex::test::RunProcess(arguments, [&] {
            setenv("XDG_STATE_HOME", Path("state").c_str(), 1);
            inChild();
        });
    }

    TemporaryFolder m_folder;
};

PipeModel WaterLoopAndFireRing() {
    PipeModel model;
    model.Storey("1F", 0)
        .System("Cold water", "DOMESTICCOLDWATER")
        .Ring({0, 0, 2500})
        .Storey("2F", 3000)
        .System("Sprinkler", "FIREPROTECTION")
        .Ring({0, 0, 5500});
    return model;
}

PipeModel Tree() {
    PipeModel model;
    model.Storey("1F", 0)
        .System("Cold water", "DOMESTICCOLDWATER")
        .Pipe({0, 0, 0}, {1000, 0, 0})
        .Pipe({1000, 0, 0}, {1000, 1000, 0});
    return model;
}

// One line that begins with the program's name and ends as a sentence does.
void ExpectOneSentence(const std::string& text) {
    EXPECT_EQ(text.find("norvex: "), 0U) << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
    ASSERT_GE(text.size(), 2U);
    EXPECT_EQ(text[text.size() - 2], '.') << text;
}

TEST_F(Norvex, EndsWithZeroWhenNothingIsFound) {
    const std::string model = Model(Tree());
    EXPECT_EQ(Run({"check", model}).exitCode, 0);
    const ProcessResult result = Run({"check", model, "--rule", "pipe-loop"});
    EXPECT_EQ(result.exitCode, 0) << result.out << result.err;
    EXPECT_NE(result.out.find("No findings. 2 entities examined by"), std::string::npos) << result.out;
}

TEST_F(Norvex, EndsWithOneWhenSomethingIsFound) {
    const ProcessResult result = Run({"check", Model(WaterLoopAndFireRing())});
    EXPECT_EQ(result.exitCode, 1) << result.err;
    EXPECT_NE(result.out.find("2 findings: 0 confirmed, 1 suspected, 1 reminder."), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("定位:构件定位:1:构件错误:"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("\"Cold water\""), std::string::npos) << result.out;
}

TEST_F(Norvex, FailsFromTheSeverityThatIsAskedFor) {
    const std::string model = Model(WaterLoopAndFireRing());
    EXPECT_EQ(Run({"check", model, "--fail-on", "confirmed"}).exitCode, 0);
    EXPECT_EQ(Run({"check", model, "--fail-on", "suspected"}).exitCode, 1);
    EXPECT_EQ(Run({"check", model, "--fail-on", "remind"}).exitCode, 1);
    EXPECT_EQ(Run({"check", model, "--fail-on", "never"}).exitCode, 0);
    EXPECT_EQ(Run({"check", model, "--floor", "2F", "--fail-on", "suspected"}).exitCode, 0);
    EXPECT_EQ(Run({"check", model, "--floor", "2F", "--fail-on", "remind"}).exitCode, 1);
    const ProcessResult unknown = Run({"check", model, "--fail-on", "error"});
    EXPECT_EQ(unknown.exitCode, 2);
    ExpectOneSentence(unknown.err);
}

TEST_F(Norvex, NarrowsTheRun) {
    const std::string model = Model(WaterLoopAndFireRing());
    const Json json = Json::parse(
        Run({"check", "--floor", "1F", "--specialty", "water", "--rule", "pipe-loop", model, "--json", "-"}).out);
    EXPECT_TRUE(json["scope"]["narrowed"]);
    EXPECT_EQ(json["scope"]["floors"].size(), 1U);
    EXPECT_EQ(json["outcomes"].size(), 1U);
    EXPECT_EQ(json["findings"].size(), 1U);
}

TEST_F(Norvex, SaysHowMuchOfTheModelANarrowedRunLooksAt) {
    const std::string model = Model(WaterLoopAndFireRing());
    EXPECT_NE(Run({"check", model}).out.find(": 8 elements on 2 floors\n"), std::string::npos);
    const ProcessResult narrowed = Run({"check", model, "--floor", "1F"});
    EXPECT_NE(narrowed.out.find(": 4 of 8 elements on 1 floor\n"), std::string::npos) << narrowed.out;
}

TEST_F(Norvex, NamesWhatExistsWhenAnOptionNamesWhatDoesNot) {
    const std::string model = Model(WaterLoopAndFireRing());
    for (const auto& [option, value, known] : std::vector<std::array<std::string, 3>>{
             {"--floor", "9F", "1F, 2F"}, {"--specialty", "gas", "给排水 (water)"}, {"--rule", "no", "pipe-loop"}}) {
        const ProcessResult result = Run({"check", model, option, value});
        EXPECT_EQ(result.exitCode, 2) << option;
        ExpectOneSentence(result.err);
        EXPECT_NE(result.err.find(known), std::string::npos) << result.err;
        EXPECT_EQ(result.out, "");
    }
}

TEST_F(Norvex, WritesAPageThatNeedsNothingElse) {
    const std::string model = Model(WaterLoopAndFireRing());
    ASSERT_EQ(Run({"check", model, "--no-memory", "--html", Path("a.html"), "--json", Path("a.json")}).exitCode, 1);
    ASSERT_EQ(Run({"check", model, "--no-memory", "--html", Path("b.html"), "--json", "-"}).exitCode, 1);
    const std::string page = FileText(Path("a.html"));
    EXPECT_EQ(page, FileText(Path("b.html")));
    EXPECT_TRUE(page.starts_with("<!doctype html>") || page.starts_with("<!DOCTYPE html>")) << page.substr(0, 40);
    EXPECT_TRUE(std::filesystem::exists(Path("a.json")));
    for (const char* reference : {"src=\"http", "href=\"http", "@import", "url(http"}) {
        EXPECT_EQ(page.find(reference), std::string::npos) << reference;
    }
}

TEST_F(Norvex, SaysBeforeTheCheckThatAPageCannotBeWritten) {
    const ProcessResult result = Run({"check", Model(Tree()), "--html", Path("no/such/folder/a.html")});
    EXPECT_EQ(result.exitCode, 2);
    ExpectOneSentence(result.err);
    EXPECT_EQ(result.out, "");
}

TEST_F(Norvex, WritesEqualJsonForEqualInput) {
    const std::string model = Model(WaterLoopAndFireRing());
    // A run that is remembered has a number, and is compared with the one before.
    ASSERT_EQ(Run({"check", model, "--no-memory", "--json", Path("a.json")}).exitCode, 1);
    ASSERT_EQ(Run({"check", model, "--no-memory", "--json", Path("b.json")}).exitCode, 1);
    EXPECT_EQ(FileText(Path("a.json")), FileText(Path("b.json")));
    const Json json = Json::parse(FileText(Path("a.json")));
    EXPECT_EQ(json["format"], "norvex-check");
    EXPECT_EQ(json["model"]["schema"], "IFC4");
    EXPECT_EQ(json["model"]["sha256"].get<std::string>().size(), 64U);
    ASSERT_EQ(json["findings"].size(), 2U);
    EXPECT_EQ(json["findings"][0]["objects"].size(), 4U);
    EXPECT_EQ(json["findings"][0]["objects"][0]["globalId"], "0000000000000000000003");
    EXPECT_EQ(json["findings"][0]["place"]["z"], 2500.0);
    EXPECT_EQ(json["totals"]["suspected"], 1);
    EXPECT_EQ(json["totals"]["remind"], 1);
    EXPECT_EQ(json["complete"], true);
    EXPECT_EQ(json["outcomes"].size(), 24U) << "four rules, two floors, three specialties";
}

TEST_F(Norvex, PutsNothingButJsonOnStandardOutputWhenAsked) {
    const ProcessResult result = Run({"check", Model(Tree()), "--json", "-"});
    EXPECT_TRUE(Json::accept(result.out)) << result.out;
}

TEST_F(Norvex, SaysInOneSentenceWhyAModelCannotBeRead) {
    WriteFile(m_folder / "empty.ifc", "");
    WriteFile(m_folder / "text.ifc", "This is no model.\n");
    std::filesystem::create_directory(m_folder / "folder.ifc");
    for (const std::string name : {"missing.ifc", "empty.ifc", "text.ifc", "folder.ifc"}) {
        for (const std::string command : {"check", "inspect"}) {
            const ProcessResult result = Run({command, Path(name)});
            EXPECT_EQ(result.exitCode, 2) << name;
            ExpectOneSentence(result.err);
            EXPECT_NE(result.err.find(name), std::string::npos) << result.err;
            EXPECT_EQ(result.out, "") << name;
        }
    }
}

TEST_F(Norvex, IsIncompleteWhenPartsOfTheModelWereLost) {
    PipeModel model = Tree();
    model.Line("#9000=IFCPIPESEGMENT('x',$,((;");
    const ProcessResult result = Run({"check", Model(std::move(model)), "--json", Path("a.json")});
    EXPECT_EQ(result.exitCode, 3) << result.out;
    EXPECT_NE(result.out.find("Incomplete: "), std::string::npos) << result.out;
    const Json json = Json::parse(FileText(Path("a.json")));
    EXPECT_EQ(json["complete"], false);
    EXPECT_GE(json["model"]["lostInstances"], 1);
}

TEST_F(Norvex, IsIncompleteWhenTheModelIsCutOffBetweenInstances) {
    const std::string whole = Tree().Text();
    WriteFile(m_folder / "cut.ifc", whole.substr(0, whole.rfind("ENDSEC")));
    const ProcessResult result = Run({"check", Path("cut.ifc"), "--quiet"});
    EXPECT_EQ(result.exitCode, 3) << result.out;
    EXPECT_NE(result.out.find("Incomplete: The model is cut off at its end"), std::string::npos) << result.out;
}

TEST_F(Norvex, IsIncompleteWhenTwoInstancesHaveOneNumber) {
    PipeModel model = Tree();
    model.Line("#100=IFCPIPESEGMENT('x',$,'Pipe',$,$,$,$,$,$);");
    EXPECT_EQ(Run({"check", Model(std::move(model))}).exitCode, 3);
}

TEST_F(Norvex, DoesNotWaitForAPipeThatNobodyWritesTo) {
    ASSERT_EQ(mkfifo(Path("pipe.ifc").c_str(), 0600), 0);
    const ProcessResult result = norvex::test::RunProcess(
        {"/usr/bin/timeout", "20", NORVEX_PROGRAM, "check", Path("pipe.ifc"), "--project", Path("project")});
    EXPECT_EQ(result.exitCode, 2) << result.err;
    ExpectOneSentence(result.err);
}

TEST_F(Norvex, SaysWhatItCouldNotExamineAndWhy) {
    PipeModel model = Tree();
    model.Line("#9000=IFCPIPESEGMENT('nowhere',$,'Pipe',$,$,$,$,$,.RIGIDSEGMENT.);")
        .Line("#9001=IFCRELASSIGNSTOGROUP('in-system',$,$,$,(#9000),$,#9002);")
        .Line("#9002=IFCDISTRIBUTIONSYSTEM('system',$,'Hot water',$,$,$,.DOMESTICHOTWATER.);");
    const ProcessResult result = Run({"check", Model(std::move(model)), "--json", Path("a.json")});
    EXPECT_EQ(result.exitCode, 0) << result.out;
    std::map<std::string, std::string> reasons;
    const Json json = Json::parse(FileText(Path("a.json")));
    for (const Json& outcome : json.at("outcomes")) {
        if (outcome.at("notExamined").get<int>() > 0) {
            EXPECT_EQ(outcome.at("notExamined"), 1);
            EXPECT_TRUE(reasons.try_emplace(outcome.at("rule"), outcome.at("reason")).second) << outcome;
        }
    }
    const std::string reason = "the model does not say where they are";
    EXPECT_EQ(reasons,
              (std::map<std::string, std::string>{{"CCheckPipeDiameter", reason}, {"CCheckPipeLoop", reason}}));
}

TEST_F(Norvex, IsIncompleteWhenARuleCouldLookAtNothingOfWhatItIsAbout) {
    PipeModel model;
    model.Storey("1F", 0);
    model.Line("#9000=IFCPIPESEGMENT('nowhere',$,'Pipe',$,$,$,$,$,.RIGIDSEGMENT.);")
        .Line("#9001=IFCRELASSIGNSTOGROUP('in-system',$,$,$,(#9000),$,#9002);")
        .Line("#9002=IFCDISTRIBUTIONSYSTEM('system',$,'Hot water',$,$,$,.DOMESTICHOTWATER.);");
    const ProcessResult result = Run({"check", Model(std::move(model)), "--rule", "pipe-loop"});
    EXPECT_EQ(result.exitCode, 3) << result.out;
    EXPECT_NE(result.out.find("Incomplete: Rule pipe-loop could not look at the one entity that it is about, because "
                              "the model does not say where they are."),
              std::string::npos)
        << result.out;
}

TEST_F(Norvex, ExplainsEachRule) {
    const ProcessResult list = Run({"rules"});
    for (const std::string rule : {"layout-flange", "pipe-diameter", "pipe-link", "pipe-loop"}) {
        EXPECT_NE(list.out.find(rule), std::string::npos) << list.out;
        const ProcessResult page = Run({"rules", rule});
        EXPECT_EQ(page.exitCode, 0) << page.err;
        for (const std::string part : {"What it looks for\n  ", "Why\n  ", "Severity\n  ", "How to fix\n  ",
                                       "Name         CCheck", "Category     ", "Specialties  给排水 (water)",
                                       "Module       Check", "Version      " NORVEX_VERSION ".0"}) {
            EXPECT_NE(page.out.find(part), std::string::npos) << part << "\n" << page.out;
        }
        EXPECT_TRUE(std::regex_search(page.out, std::regex("\nMD5          [0-9a-fA-F]{32}\n"))) << page.out;
    }
    EXPECT_EQ(Run({"rules", "ccheckpipeloop"}).out, Run({"rules", "pipe-loop"}).out);
    const ProcessResult unknown = Run({"rules", "pipe"});
    EXPECT_EQ(unknown.exitCode, 2);
    ExpectOneSentence(unknown.err);
    EXPECT_NE(unknown.err.find("pipe-loop (CCheckPipeLoop)"), std::string::npos) << unknown.err;
}

TEST_F(Norvex, IsIncompleteWhenNoRuleHadAnythingToLookAt) {
    PipeModel model;
    model.Storey("1F", 0);
    const ProcessResult result = Run({"check", Model(std::move(model))});
    EXPECT_EQ(result.exitCode, 3) << result.out;
    EXPECT_NE(result.out.find("Nothing was examined"), std::string::npos) << result.out;
}

TEST_F(Norvex, ChecksWhatStandsOnNoStoreyAsAFloorOfItsOwn) {
    PipeModel model;
    model.System("Cold water", "DOMESTICCOLDWATER").Ring({0, 0, 0}).Storey("1F", 0).Pipe({9000, 0, 0}, {9500, 0, 0});
    const ProcessResult result = Run({"check", Model(std::move(model)), "--json", Path("a.json")});
    EXPECT_EQ(result.exitCode, 1) << result.out << result.err;
    EXPECT_NE(result.out.find("4 elements stand on no storey"), std::string::npos) << result.out;
    const Json json = Json::parse(FileText(Path("a.json")));
    ASSERT_EQ(json["scope"]["floors"].size(), 2U);
    EXPECT_EQ(json["scope"]["floors"][1]["withoutStorey"], true);
    EXPECT_EQ(json["scope"]["floors"][1]["elevation"], nullptr);
    EXPECT_EQ(json["findings"][0]["floor"], json["scope"]["floors"][1]["name"]);
}

TEST_F(Norvex, TellsFloorsOfOneNameApart) {
    PipeModel model;
    model.Storey("Level", 0)
        .System("Cold water", "DOMESTICCOLDWATER")
        .Ring({0, 0, 0})
        .Storey("Level", 3000)
        .Pipe({0, 0, 3000}, {500, 0, 3000});
    const Json json = Json::parse(Run({"check", Model(std::move(model)), "--json", "-"}).out);
    ASSERT_EQ(json["scope"]["floors"].size(), 2U);
    EXPECT_NE(json["scope"]["floors"][0]["name"], json["scope"]["floors"][1]["name"]);
}

TEST_F(Norvex, ExplainsWrongUseInOneSentence) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{}, {"chekc"}, {"check"}, {"check", "a.ifc", "--no-such-option"}}) {
        const ProcessResult result = Run(arguments);
        EXPECT_EQ(result.exitCode, 2);
        ExpectOneSentence(result.err);
    }
}

TEST_F(Norvex, NamesTheCommandsWhenItDoesNotKnowOne) {
    const ProcessResult slip = Run({"chek", "house.ifc"});
    EXPECT_EQ(slip.exitCode, 2);
    ExpectOneSentence(slip.err);
    EXPECT_NE(slip.err.find("There is no command \"chek\"; perhaps \"check\" is meant. There is: check, "),
              std::string::npos)
        << slip.err;
    const ProcessResult word = Run({"house.ifc"});
    EXPECT_EQ(word.exitCode, 2);
    EXPECT_NE(word.err.find("There is no command \"house.ifc\". There is: check, "), std::string::npos) << word.err;
}

TEST_F(Norvex, ExplainsItself) {
    const ProcessResult help = Run({"check", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    for (const char* word : {"Examples:", "Exit codes:", "--floor", "--json", "--fail-on"}) {
        EXPECT_NE(help.out.find(word), std::string::npos) << word;
    }
    const ProcessResult version = Run({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out, "norvex " NORVEX_VERSION "\n");
}

TEST_F(Norvex, ListsTheRules) {
    const ProcessResult result = Run({"rules"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    const std::string out = std::regex_replace(result.out, std::regex(" +"), " ");
    for (const char* rule : {"layout-flange CCheckLayoutFlange", "pipe-diameter CCheckPipeDiameter",
                             "pipe-link CCheckPipeLinkInvalid", "pipe-loop CCheckPipeLoop"}) {
        EXPECT_NE(out.find(rule), std::string::npos) << rule << "\n" << result.out;
    }
}

TEST_F(Norvex, UsesTheProjectFolderThatIsNamed) {
    const std::string model = Model(Tree());
    EXPECT_EQ(Run({"check", model, "--project", Path("项目 one/two")}).exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_directory(Path("项目 one/two")));
    WriteFile(m_folder / "file", "");
    const ProcessResult blocked = Run({"check", model, "--project", Path("file")});
    EXPECT_EQ(blocked.exitCode, 2);
    ExpectOneSentence(blocked.err);
}

TEST_F(Norvex, KeepsItsProjectsInTheUsersStateFolder) {
    const Json json = Json::parse(Run({"check", Model(Tree()), "--json", "-"}).out);
    const std::string project = json["projectFolder"];
    EXPECT_EQ(project.find(Path("state") + "/norvex/house-"), 0U) << project;
    EXPECT_TRUE(std::filesystem::is_directory(project));
}

TEST_F(Norvex, KeepsTheCategoriesOfTheModelInTheProject) {
    const std::string model = Model(Tree());
    ASSERT_EQ(Run({"check", model, "--project", Path("project")}).exitCode, 0);
    const std::string data = FileText(m_folder.Path() / "project" / "ProjectData.xml");
    EXPECT_NE(data.find("给排水\\管线\\管道\\"), std::string::npos) << data.substr(0, 500);
    ASSERT_EQ(Run({"check", model, "--project", Path("project")}).exitCode, 0);
    EXPECT_EQ(FileText(m_folder.Path() / "project" / "ProjectData.xml"), data);
}

TEST_F(Norvex, RefusesProjectFilesThatCannotBeRead) {
    for (const char* name : {"ProjectData.xml", "NorvexConfig.xml"}) {
        const std::string project = Path(std::string("with ") + name);
        std::filesystem::create_directory(project);
        WriteFile(std::filesystem::path(project) / name, "<unfinished");
        const ProcessResult result = Run({"check", Model(Tree()), "--project", project});
        EXPECT_EQ(result.exitCode, 2) << name;
        ExpectOneSentence(result.err);
        EXPECT_NE(result.err.find(name), std::string::npos) << result.err;
    }
}

TEST_F(Norvex, KeepsWhatWasFoundWhenItIsInterrupted) {
    // Two interrupts within one second would end the process; one cancels.
    const std::string model = Model(WaterLoopAndFireRing());
    std::filesystem::create_directories(m_folder.Path() / "app" / "Norvex");
    const std::filesystem::path from = std::filesystem::path(NORVEX_PROGRAM).parent_path();
    for (const auto& entry : std::filesystem::directory_iterator(from)) {
        if (!entry.is_directory()) {
            std::filesystem::copy(entry.path(), m_folder.Path() / "app" / entry.path().filename(),
                                  std::filesystem::copy_options::copy_symlinks);
        }
    }
    std::filesystem::copy(std::filesystem::path(NORVEX_TEST_MODULES) / "EndlessRule.Arx",
                          m_folder.Path() / "app" / "Norvex" / "EndlessRule.Arx");
    const std::string program = Path("app/norvex");
    const ProcessResult result =
        norvex::test::RunProcess({"/usr/bin/timeout", "--signal=INT", "1", program, "check", model, "-j", "1", "--json",
                                  Path("a.json"), "--project", Path("project")});
    // timeout says 124 when it had to send its signal.
    EXPECT_EQ(result.exitCode, 124) << result.err;
    const Json json = Json::parse(FileText(Path("a.json")));
    EXPECT_EQ(json["complete"], false);
    ASSERT_EQ(json["findings"].size(), 1U);
    EXPECT_EQ(json["findings"][0]["sentence"], "Found first.");
    EXPECT_EQ(json["outcomes"][0]["outcome"], "cancelled");
    EXPECT_NE(result.out.find("The run was cancelled"), std::string::npos) << result.out;
}

TEST_F(Norvex, RefusesAJsonFileThatCannotBeWrittenBeforeItChecks) {
    std::filesystem::create_directory(m_folder / "folder");
    for (const std::string& name : {Path("missing/a.json"), Path("folder"), Path("folder/"), std::string()}) {
        const ProcessResult result = Run({"check", Model(Tree()), "--json", name});
        EXPECT_EQ(result.exitCode, 2) << name;
        ExpectOneSentence(result.err);
    }
}

TEST_F(Norvex, LeavesAnOlderJsonFileAloneWhenTheNewOneDoesNotFit) {
    WriteFile(m_folder / "a.json", "older");
    const std::string model = Model(WaterLoopAndFireRing());
    // The project's files would not fit either.
    const ProcessResult result = Run({"check", model, "--quiet", "--no-memory", "--json", Path("a.json")}, [] {
        const rlimit limit{512, 512};
        setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, SIG_IGN);
    });
    EXPECT_EQ(result.exitCode, 3) << result.err;
    EXPECT_EQ(FileText(m_folder / "a.json"), "older");
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path())) {
        files += entry.path().filename().string().starts_with("a.json") ? 1 : 0;
    }
    EXPECT_EQ(files, 1U);
}

TEST_F(Norvex, SaysWhenItsOutputCannotBeDelivered) {
    const std::string model = Model(Tree());
    const ProcessResult full =
        Run({"check", model, "--quiet"}, [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
    EXPECT_EQ(full.exitCode, 3);
    ExpectOneSentence(full.err);
    const ProcessResult closed = Run({"check", model, "--quiet"}, [] { close(STDOUT_FILENO); });
    EXPECT_EQ(closed.exitCode, 3);
    ExpectOneSentence(closed.err);
    const ProcessResult gone = Run({"check", model, "--quiet"}, [] {
        int ends[2];
        if (pipe(ends) == 0) {
            close(ends[0]);
            dup2(ends[1], STDOUT_FILENO);
        }
    });
    EXPECT_EQ(gone.exitCode, 3);
    ExpectOneSentence(gone.err);
}

TEST_F(Norvex, ChecksToTheEndWhenNobodyHearsOfItsProgress) {
    const std::string model = Model(WaterLoopAndFireRing());
    const std::string report = Run({"check", model, "--no-memory"}).out;
    const auto expectReport = [&](const std::function<void()>& inChild) {
        const ProcessResult result = Run({"check", model, "--no-memory"}, inChild);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, report);
    };
    expectReport([] { dup2(open("/dev/full", O_WRONLY), STDERR_FILENO); });
    expectReport([] { close(STDERR_FILENO); });
    expectReport([] {
        int ends[2];
        if (pipe(ends) == 0) {
            close(ends[0]);
            dup2(ends[1], STDERR_FILENO);
        }
    });
}

TEST_F(Norvex, RefusesJobsAndTimesThatAreNone) {
    const std::string model = Model(Tree());
    for (const auto& [option, value] :
         {std::pair("--jobs", "-1"), std::pair("--jobs", "99999999999999999999"), std::pair("--jobs", ""),
          std::pair("--jobs", "two"), std::pair("--rule-timeout", "nan"), std::pair("--rule-timeout", "0")}) {
        const ProcessResult result = Run({"check", model, option, value});
        EXPECT_EQ(result.exitCode, 2) << option << " " << value;
        EXPECT_EQ(result.out, "") << option << " " << value;
        ExpectOneSentence(result.err);
    }
}

TEST_F(Norvex, DoesNotWriteTheReportIntoAFileThatTookAClosedNumber) {
    Run({"check", Model(Tree()), "--quiet", "--json", Path("a.json")}, [] { close(STDOUT_FILENO); });
    EXPECT_TRUE(Json::accept(FileText(Path("a.json"))));
}

TEST_F(Norvex, SpeaksPlainLinesAndNoColoursOutsideATerminal) {
    const ProcessResult result = Run({"check", Model(WaterLoopAndFireRing())});
    EXPECT_EQ(result.out.find('\x1B'), std::string::npos);
    EXPECT_EQ(result.err.find('\x1B'), std::string::npos);
    EXPECT_NE(result.err.find("checked 24/24: "), std::string::npos) << result.err;
    EXPECT_EQ(Run({"check", Model(WaterLoopAndFireRing()), "--quiet"}).err, "");
}

TEST_F(Norvex, LetsNoEscapeSequenceOfTheModelReachTheTerminal) {
    PipeModel model;
    model.Storey("1F\\X\\1B[2J", 0).System("Evil\\X\\07", "DOMESTICCOLDWATER").Ring({0, 0, 0});
    const ProcessResult result = Run({"check", Model(std::move(model))});
    EXPECT_EQ(result.exitCode, 1) << result.err;
    EXPECT_EQ((result.out + result.err).find_first_of("\x1B\x07"), std::string::npos);
    EXPECT_NE(result.out.find("1F\\x1B[2J"), std::string::npos) << result.out;
}

TEST_F(Norvex, InspectsWhatWasRead) {
    const std::string model = Model(WaterLoopAndFireRing());
    const ProcessResult text = Run({"inspect", model});
    EXPECT_EQ(text.exitCode, 0) << text.err;
    for (const char* word : {"Storeys", "Elements", "Networks (2)", "Connections", "给排水 (water)", "Cold water"}) {
        EXPECT_NE(text.out.find(word), std::string::npos) << word << "\n" << text.out;
    }
    const Json json = Json::parse(Run({"inspect", model, "--json", "-"}).out);
    EXPECT_EQ(json["counts"]["segments"], 8);
    EXPECT_EQ(json["storeys"].size(), 2U);
    EXPECT_EQ(json["networks"].size(), 2U);
}

class RealModel : public Norvex, public testing::WithParamInterface<std::string> {};

TEST_P(RealModel, IsInspectedAndChecked) {
    NORVEX_REQUIRE_SHARED("models/" + GetParam());
    const std::string model = (norvex::test::SharedDir() / "models" / GetParam()).string();
    const ProcessResult inspected = Run({"inspect", model, "--json", "-"});
    EXPECT_EQ(inspected.exitCode, 0) << inspected.err;
    EXPECT_TRUE(Json::accept(inspected.out));
    const ProcessResult checked = Run({"check", model, "--json", Path("a.json")});
    const Json json = Json::parse(FileText(Path("a.json")));
    std::size_t examined = 0;
    for (const Json& outcome : json["outcomes"]) {
        examined += outcome["examined"].get<std::size_t>();
    }
    const bool suspected = json["totals"]["suspected"] > 0;
    EXPECT_EQ(checked.exitCode, examined == 0 || json["complete"] == false ? 3 : suspected ? 1 : 0) << checked.out;
    EXPECT_EQ(json["complete"], examined > 0) << checked.out;
}

INSTANTIATE_TEST_SUITE_P(Shared, RealModel,
                         testing::Values("B01_2_HeatExchanger_Pipes.ifc", "B01_3_HeatExchanger_noPorts.ifc",
                                         "B01_4_HeatExchanger_noConnection.ifc",
                                         "B01_5_HeatExchanger_mixConnection.ifc", "B03_hvac_heating.ifc",
                                         "DDS_Heizung-Elektro_080729.ifc", "Duplex_Electrical.ifc", "HVAC-Mech.ifc",
                                         "IOS_435_cableCarrier.ifc", "bSI_air-terminal.ifc"),
                         [](const auto& instance) {
                             std::string name = instance.param;
                             std::replace_if(
                                 name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
                             return name;
                         });

}  // namespace
