// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <map>

#include "tests/service/support/Program.h"

using namespace norvex::test;
namespace fs = std::filesystem;

namespace {

// No slip on the command line costs a file that somebody needs.
class Outputs : public Program {
  protected:
    void SetUp() override {
        PipeModel building;
        building.Storey("1层", 0).System("Cold water", "DOMESTICCOLDWATER").Ring({0, 0, 2500});
        m_model = Model(building, "own.ifc");
        ASSERT_EQ(Check(m_model, {"--quiet"}).exitCode, 1);
    }

    // Path and content of all that lies in the test's folder, but for what readers of a database share, and an empty
    // log.
    std::map<std::string, std::string> Everything() const {
        std::map<std::string, std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(m_folder.Path())) {
            const std::string name = entry.path().string();
            const std::string text = entry.is_regular_file() ? FileText(entry.path()) : "";
            if (!name.ends_with("-shm") && !(name.ends_with("-wal") && text.empty())) {
                files[name] = text;
            }
        }
        return files;
    }

    // One sentence, exit code 2, and nothing changed.
    void ExpectRefused(
        const std::vector<std::string>& arguments, const std::string& reason,
        const std::function<void()>& inChild = [] {}) const {
        const auto before = Everything();
        const ProcessResult result = Run(arguments, inChild);
        const std::string call = testing::PrintToString(arguments);
        EXPECT_EQ(result.exitCode, 2) << call << result.out << result.err;
        EXPECT_EQ(result.out, "") << call;
        ExpectOneSentence(result.err);
        EXPECT_NE(result.err.find(reason), std::string::npos) << call << result.err;
        EXPECT_TRUE(Everything() == before) << call;
    }

    std::string InProject(const std::string& name) const { return ProjectPath() + "/" + name; }

    // Every command with an option that names a file, the name left out.
    std::vector<std::vector<std::string>> Writers(const std::string& name) const {
        const std::vector<std::string> check{"check", m_model, "--project", ProjectPath(), "--quiet"};
        const std::vector<std::string> report{"report", "--project", ProjectPath()};
        std::vector<std::vector<std::string>> calls{
            {"inspect", m_model, "--json", name},
            {"diff", "--project", ProjectPath(), "--json", name},
            {"trust", "list", "--project", ProjectPath(), "--json", name},
            {"trust", "export", "--project", ProjectPath(), "--to", name},
        };
        for (const char* option : {"--json", "--sarif", "--html", "--bcf"}) {
            for (std::vector<std::string> call : {check, report}) {
                call.insert(call.end(), {option, name});
                calls.push_back(call);
            }
        }
        return calls;
    }

    std::string m_model;
};

TEST_F(Outputs, AreNeverTheModel) {
    fs::create_symlink("own.ifc", m_folder / "link.json");
    fs::create_hard_link(m_model, m_folder / "twin.json");
    fs::create_directory_symlink(m_folder.Path(), m_folder / "folder");
    for (const std::string& name :
         {m_model, Path("link.json"), Path("twin.json"), Path("folder/own.ifc"), Path("./state/../own.ifc")}) {
        for (const std::vector<std::string>& call : Writers(name)) {
            ExpectRefused(call, "\"" + name + "\" is the model and is not overwritten");
        }
    }
}

TEST_F(Outputs, AreNeverWhatTheProjectKeeps) {
    fs::create_symlink(InProject("norvex.db"), m_folder / "link.json");
    fs::create_hard_link(InProject("ProjectData.xml"), m_folder / "twin.json");
    fs::path result;
    for (const auto& entry : fs::directory_iterator(InProject("NxResult"))) {
        result = entry.path();
    }
    ASSERT_FALSE(result.empty());
    fs::create_hard_link(result, m_folder / "result.json");
    for (const std::string& name :
         {InProject("norvex.db"), InProject("norvex.db-wal"), InProject("norvex.db-shm"),
          InProject("norvex.db-journal"), InProject("norvex.lock"), InProject("control.socket"),
          InProject("NorvexConfig.xml"), InProject("ProjectData.xml"), InProject("ifc-mapping.tsv"),
          InProject("NxResult/new.xml"), result.string(), InProject("ProjectAssist/NxResult/Guide.xml"),
          Path("link.json"), Path("twin.json"), Path("result.json")}) {
        ExpectRefused({"check", m_model, "--project", ProjectPath(), "--bcf", name}, "belongs to what norvex keeps");
        ExpectRefused({"report", "--project", ProjectPath(), "--json", name}, "belongs to what norvex keeps");
    }
    for (const std::vector<std::string>& call : Writers(InProject("norvex.db"))) {
        ExpectRefused(call, call.front() == "inspect" ? "is a database" : "belongs to what norvex keeps");
    }
    ExpectRefused({"check", m_model, "--no-memory", "--project", ProjectPath(), "--json", InProject("norvex.lock")},
                  "belongs to what norvex keeps");
}

TEST_F(Outputs, AreNotWhatAProjectWouldKeepThatIsNotThereYet) {
    ExpectRefused({"check", m_model, "--project", Path("new"), "--json", Path("new/norvex.db")}, "belongs to what");
    ExpectRefused({"check", m_model, "--json", Path("new/norvex.db"), "--project", Path("x/../new/")},
                  "belongs to what");
}

TEST_F(Outputs, ReplaceNoOtherModelAndNoOtherDatabase) {
    WriteFile(Path("other.ifc"), "\xEF\xBB\xBF\nISO-10303-21;\nHEADER;\n");
    ASSERT_EQ(Run({"check", m_model, "--project", Path("other")}).exitCode, 1);
    for (const std::vector<std::string>& call : Writers(Path("other.ifc"))) {
        ExpectRefused(call, "is a building model and is not overwritten");
    }
    for (const std::vector<std::string>& call : Writers(Path("other/norvex.db"))) {
        ExpectRefused(call, "is a database and is not overwritten");
    }
}

TEST_F(Outputs, AreNeverAFileThatShipsWithTheProgram) {
    UseModules({});
    ExpectRefused({"check", m_model, "--project", ProjectPath(), "--json", Path("app/NorvexConfig.xml")},
                  "is a file of the program");
}

TEST_F(Outputs, AreNotOneFileUnderTwoNames) {
    WriteFile(Path("a"), "earlier");
    fs::create_symlink("a", Path("link"));
    fs::create_hard_link(Path("a"), Path("twin"));
    fs::create_symlink("not there yet", Path("dangling"));
    for (const auto& [first, second] :
         {std::pair("a", "a"), std::pair("a", "link"), std::pair("twin", "a"), std::pair("new", "new"),
          std::pair("new", "./new"), std::pair("dangling", "not there yet")}) {
        ExpectRefused({"check", m_model, "--project", ProjectPath(), "--json", Path(first), "--html", Path(second)},
                      "are one file, which takes one report");
        ExpectRefused({"report", "--project", ProjectPath(), "--sarif", Path(first), "--bcf", Path(second)},
                      "are one file, which takes one report");
    }
}

TEST_F(Outputs, AreNotWhereTheShellPutsStandardOutput) {
    WriteFile(Path("log"), "");
    const auto into = [&](const std::string& name, int descriptor, int flags) {
        return [path = Path(name), descriptor, flags] { dup2(open(path.c_str(), O_WRONLY | flags), descriptor); };
    };
    ExpectRefused({"check", m_model, "--project", ProjectPath(), "--json", Path("log")},
                  "and standard output are one file", into("log", STDOUT_FILENO, 0));
    const ProcessResult log = Run({"check", m_model, "--project", ProjectPath(), "--json", Path("log")},
                                  into("log", STDERR_FILENO, O_APPEND));
    EXPECT_EQ(log.exitCode, 2);
    EXPECT_NE(FileText(Path("log")).find("and standard error are one file"), std::string::npos);
    ExpectRefused({"check", m_model, "--project", ProjectPath()}, "standard output goes to is the model",
                  into("own.ifc", STDOUT_FILENO, O_APPEND));
    ExpectRefused({"report", "--project", ProjectPath()}, "standard output goes to is the model",
                  into("own.ifc", STDOUT_FILENO, O_APPEND));
}

TEST_F(Outputs, MayReplaceAnEarlierReportAndFollowALink) {
    for (int round = 0; round < 2; ++round) {
        for (std::vector<std::string> call : Writers(Path("report"))) {
            EXPECT_LE(Run(call).exitCode, call.front() == "diff" ? 2 : 1) << testing::PrintToString(call);
        }
    }
    WriteFile(Path("a"), "earlier");
    fs::create_symlink("a", Path("link"));
    ASSERT_EQ(
        Check(m_model, {"--json", Path("link"), "--html", Path("page"), "--sarif", "/dev/null", "--bcf", "/dev/null"})
            .exitCode,
        1);
    EXPECT_TRUE(fs::is_symlink(Path("link")));
    EXPECT_TRUE(nlohmann::json::accept(FileText(Path("a"))));
}

// ulimit -f
std::function<void()> WithFilesOf(rlim_t bytes) {
    return [bytes] {
        const rlimit limit{bytes, bytes};
        setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, SIG_DFL);
    };
}

TEST_F(Outputs, SayWhenTheyAreLargerThanTheSystemAllows) {
    // Less than any report, and more than what readers of a database share but less than a page.
    const std::function<void()> kSmallFiles = WithFilesOf(512);
    const std::function<void()> kPageDoesNotFit = WithFilesOf(40'000);
    WriteFile(Path("a"), "earlier");
    const auto before = Everything();
    const std::vector<std::string> check{"check", m_model, "--no-memory", "--project", Path("none"), "--quiet"};
    std::vector<std::pair<std::vector<std::string>, std::function<void()>>> calls{
        {{"inspect", m_model, "--json", Path("a")}, kSmallFiles},
        {{"report", "--project", ProjectPath(), "--html", Path("a")}, kPageDoesNotFit},
    };
    for (const char* option : {"--json", "--sarif", "--html", "--bcf"}) {
        calls.push_back({check, kSmallFiles});
        calls.back().first.insert(calls.back().first.end(), {option, Path("a")});
    }
    for (const auto& [call, limit] : calls) {
        const ProcessResult result = Run(call, limit);
        EXPECT_EQ(result.exitCode, 3) << testing::PrintToString(call) << result.err;
        EXPECT_NE(result.err.find("The file " + Path("a") + " cannot be written: File too large."), std::string::npos)
            << result.err;
        EXPECT_TRUE(Everything() == before) << testing::PrintToString(call);
    }
    const ProcessResult known = Check(m_model, {"--quiet"}, kSmallFiles);
    EXPECT_EQ(known.exitCode, 3);
    ExpectOneSentence(known.err);
    const ProcessResult fresh = Run({"check", m_model, "--project", Path("fresh"), "--quiet"}, kSmallFiles);
    EXPECT_EQ(fresh.exitCode, 3);
    ExpectOneSentence(fresh.err);
    for (const auto& [name, text] : Everything()) {
        EXPECT_TRUE(before.contains(name) || name.find("/fresh") != std::string::npos) << name;
        EXPECT_EQ(name.find("norvex-new-"), std::string::npos) << name;
    }
}

}  // namespace
