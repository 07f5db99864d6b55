// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <fmt/format.h>
#include <linux/capability.h>
#include <sqlite3.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>

#include <csignal>

#include "tests/service/support/Program.h"

using namespace norvex::test;
namespace fs = std::filesystem;
using Json = nlohmann::json;

namespace {

// Whatever is named as an input, and whatever stands in it: one sentence, and no terminal is steered by it.
class Inputs : public Program {
  protected:
    static PipeModel Ring(const std::string& name = "Cold water") {
        PipeModel building;
        building.Storey("1层", 0).System(name, "DOMESTICCOLDWATER").Ring({0, 0, 2500});
        return building;
    }

    std::string Pipe(const std::string& name) const {
        EXPECT_EQ(mkfifo(Path(name).c_str(), 0600), 0);
        return Path(name);
    }

    // Ends by a signal, in place of waiting for ever.
    ProcessResult RunBriefly(const std::vector<std::string>& arguments) const {
        return Run(arguments, [] {
            const itimerval limit{{0, 0}, {10, 0}};
            setitimer(ITIMER_REAL, &limit, nullptr);
        });
    }

    void ExpectRefused(const std::vector<std::string>& arguments, const std::string& reason) const {
        const ProcessResult result = RunBriefly(arguments);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(arguments) << result.err;
        EXPECT_EQ(result.out, "");
        ExpectOneSentence(result.err);
        EXPECT_NE(result.err.find(reason), std::string::npos) << testing::PrintToString(arguments) << result.err;
    }

    void Alter(const char* statements) const {
        sqlite3* database = nullptr;
        ASSERT_EQ(sqlite3_open((ProjectPath() + "/norvex.db").c_str(), &database), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(database, statements, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
        sqlite3_close(database);
    }
};

TEST_F(Inputs, AreRegularFilesOnly) {
    ASSERT_EQ(Check(Model(Ring())).exitCode, 1);
    for (const std::string& name : {Pipe("pipe"), std::string("/dev/zero"), m_folder.Path().string()}) {
        const std::string reason = "no file but a folder, a pipe or a device";
        ExpectRefused({"check", name, "--project", ProjectPath()}, reason);
        ExpectRefused({"inspect", name}, reason);
        ExpectRefused({"report", name, "--project", ProjectPath(), "--html", Path("a.html")}, reason);
        ExpectRefused({"trust", "import", name, "--project", ProjectPath()}, reason);
        ExpectRefused({"trust", "import-bcf", name, "--all", "--project", ProjectPath()}, reason);
    }
}

TEST_F(Inputs, AreRegularFilesOnlyInTheProjectToo) {
    const std::string model = Model(Ring());
    for (const std::string& target : {Pipe("pipe"), std::string("/dev/zero"), m_folder.Path().string()}) {
        for (const char* name : {"norvex.db", "norvex.lock", "NorvexConfig.xml", "ProjectData.xml"}) {
            fs::create_directory(ProjectPath());
            fs::create_symlink(target, fs::path(ProjectPath()) / name);
            const ProcessResult result = RunBriefly({"check", model, "--project", ProjectPath(), "--quiet"});
            EXPECT_EQ(result.exitCode, 2) << name << " " << target << result.err;
            ExpectOneSentence(result.err);
            EXPECT_LT(RunBriefly({"runs", "--project", ProjectPath()}).exitCode, 128) << name << " " << target;
            EXPECT_LT(RunBriefly({"trust", "list", "--project", ProjectPath()}).exitCode, 128) << name;
            fs::remove_all(ProjectPath());
        }
    }
    fs::create_directories(m_folder / "state/norvex");
    fs::create_symlink("/dev/zero", m_folder / "state/norvex/last-project");
    ExpectRefused({"runs"}, "No project has been checked yet");
}

TEST_F(Inputs, HaveAModelThatIsReplacedByAPipeRefusedByTheReport) {
    const std::string model = Model(Ring());
    ASSERT_EQ(Check(model).exitCode, 1);
    fs::remove(model);
    Pipe("house.ifc");
    ExpectRefused({"report", "--project", ProjectPath()}, "no file but a folder, a pipe or a device");
}

TEST_F(Inputs, HaveNoEmptyProject) {
    const std::string model = Model(Ring());
    for (const std::vector<std::string>& call : std::vector<std::vector<std::string>>{{"check", model},
                                                                                      {"report"},
                                                                                      {"runs"},
                                                                                      {"show", "1"},
                                                                                      {"diff"},
                                                                                      {"control", "status"},
                                                                                      {"trust", "list"}}) {
        std::vector<std::string> named = call;
        named.insert(named.end(), {"--project", ""});
        ExpectRefused(named, "--project names no folder");
    }
    ExpectRefused({"check", Path("no model"), "--project", ""}, "--project names no folder");
}

TEST_F(Inputs, HaveNoNumberTakenForAnother) {
    ASSERT_EQ(Check(Model(Ring())).exitCode, 1);
    const std::string most = "9223372036854775807";
    const std::string project = ProjectPath();
    for (const std::vector<std::string>& call : std::vector<std::vector<std::string>>{
             {"report", "--run"}, {"show", "1", "--run"}, {"diff", "--from"}, {"diff", "--to"}}) {
        std::vector<std::string> named = call;
        named.insert(named.end(), {most, "--project", project});
        ExpectRefused(named, "There is no run " + most);
        for (const char* wrong : {"9223372036854775808", "-1", "0x1", "1.5", ""}) {
            named[call.size()] = wrong;
            ExpectRefused(named, wrong);
        }
    }
    ExpectRefused({"runs", "--keep", "9223372036854775808", "--project", project}, "\"9223372036854775808\"");
    EXPECT_EQ(Run({"runs", "--keep", most, "--project", project}).exitCode, 0);
}

TEST_F(Inputs, HaveADatabaseWhoseNumbersAreUsedUpCalledDamagedByAll) {
    const std::string model = Model(Ring());
    ASSERT_EQ(Check(model).exitCode, 1);
    Alter(
        "PRAGMA foreign_keys = OFF; UPDATE run SET id = 9223372036854775807;"
        "UPDATE run_floor SET run_id = 9223372036854775807; UPDATE run_specialty SET run_id = 9223372036854775807;"
        "UPDATE run_rule SET run_id = 9223372036854775807; UPDATE unit SET run_id = 9223372036854775807");
    EXPECT_EQ(Run({"report", "--project", ProjectPath(), "--html", Path("a.html"), "--bcf", Path("a.bcf")}).exitCode,
              0);
    ExpectRefused({"check", model, "--project", ProjectPath(), "--quiet"}, "is damaged (the table run has used");
    EXPECT_EQ(Run({"runs", "--project", ProjectPath(), "--set-aside-damaged"}).exitCode, 0);
    EXPECT_EQ(Check(model).exitCode, 1);
}

TEST_F(Inputs, HaveACheckOfAnotherUserNotTakenForNone) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "SKIPPED: giving a file to another user needs root.";
    }
    ASSERT_EQ(Check(Model(Ring())).exitCode, 1);
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = ProjectPath() + "/control.socket";
    ASSERT_LT(path.size(), sizeof address.sun_path);
    path.copy(address.sun_path, path.size());
    ASSERT_EQ(bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    constexpr uid_t kNobody = 65534;
    ASSERT_EQ(chown(path.c_str(), kNobody, kNobody), 0);
    ASSERT_EQ(chmod(path.c_str(), 0600), 0);
    // Root passes over permissions, unless the programs that it starts may not.
    const ProcessResult result =
        Run({"control", "status", "--project", ProjectPath()}, [] { prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE); });
    close(socket);
    EXPECT_EQ(result.exitCode, 3);
    ExpectOneSentence(result.err);
    EXPECT_NE(result.err.find("cannot be asked: Permission denied."), std::string::npos) << result.err;
}

// Control characters of both kinds and marks that turn the writing direction, as a model, a rule and a person may have
// them.
TEST_F(Inputs, SteerNoTerminal) {
    const std::string model = Model(Ring("a\\X2\\009B\\X0\\2J\\X2\\202E\\X0\\b\\X\\1B[2J\\X2\\007F\\X0\\"));
    const std::string person = "p\u009b2Jq\u202er";
    std::vector<std::vector<std::string>> calls{
        {"check", model},
        {"check", model, "--json", "-", "--timing"},
        {"check", model, "--sarif", "-"},
        {"trust", "add", "--finding", "1", "--person", person, "--reason", person},
        {"trust", "list"},
        {"trust", "list", "--json", "-"},
        {"trust", "export"},
        {"check", model, "--outcomes"},
        {"check", model, "--json", "-"},
        {"report"},
        {"report", "--json", "-"},
        {"report", "--sarif", "-"},
        {"diff"},
        {"diff", "--json", "-"},
        {"show", "1"},
        {"runs"},
        {"trust", "remove", "1", "--person", person, "--reason", person},
    };
    for (std::vector<std::string>& call : calls) {
        call.insert(call.end(), {"--project", ProjectPath()});
    }
    calls.push_back({"inspect", model});
    calls.push_back({"inspect", model, "--json", "-"});
    calls.push_back({"check", Path("none" + person)});
    calls.push_back({"runs", "--project", Path(person)});
    calls.push_back({"diff", "--from", person});
    calls.push_back({person});
    std::size_t visible = 0;
    for (const std::vector<std::string>& call : calls) {
        const ProcessResult result = Run(call);
        const std::string text = result.out + result.err;
        for (const char* mark : {"\u009b", "\u202e", "\x1b", "\x7f"}) {
            EXPECT_EQ(text.find(mark), std::string::npos) << testing::PrintToString(call) << "\n" << text;
        }
        visible += text.find("\\x9B") != std::string::npos || text.find("\\u009b") != std::string::npos ? 1 : 0;
        if (!result.out.empty() && result.out.front() == '{') {
            EXPECT_TRUE(Json::accept(result.out)) << testing::PrintToString(call);
        }
    }
    EXPECT_GT(visible, 15U);
    // What was escaped is still the same text.
    ASSERT_EQ(
        Run({"trust", "add", "--rule", "pipe-link", "--project", ProjectPath(), "--person", person, "--reason", person})
            .exitCode,
        0);
    const Json document = Json::parse(Run({"trust", "export", "--project", ProjectPath()}).out);
    EXPECT_EQ(document["entries"][0]["reason"], person);
}

TEST_F(Inputs, HaveLongTextsCutAndSaySo) {
    const std::string model = Model(Ring(std::string(3'000'000, 'n')));
    const ProcessResult result = Check(model, {"--json", Path("a.json"), "--sarif", Path("a.sarif"), "--html",
                                               Path("a.html"), "--bcf", Path("a.bcf")});
    EXPECT_EQ(result.exitCode, 1) << result.err;
    EXPECT_NE(result.out.find("A text of 3000000 bytes is longer than the "), std::string::npos)
        << result.out.substr(0, 2000);
    EXPECT_LT(result.out.size(), 100'000U);
    for (const char* name : {"a.json", "a.sarif", "a.html", "a.bcf"}) {
        EXPECT_LT(fs::file_size(Path(name)), 500'000U) << name;
    }
}

}  // namespace
