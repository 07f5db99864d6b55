// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <sys/stat.h>

#include "norvexdata/state/NorvexData.h"
#include "service/Project.h"
#include "tests/service/support/RunFixture.h"

namespace {

using norvex::service::Host;
using norvex::test::ApplicationFolderCopy;
using norvex::test::ShippedRule;
using norvex::test::TestModule;

// Loads one module beside the shipped rule; returns the complaints.
std::vector<std::string> ComplaintsAbout(const std::filesystem::path& module, std::size_t expectedRules = 1) {
    ApplicationFolderCopy application;
    application.With(ShippedRule("CheckPipeLoop")).With(module);
    norvex::service::NothingTrusted trust;
    Host host(trust);
    EXPECT_EQ(host.Start(application.Path()), std::nullopt);
    host.LoadRules();
    EXPECT_EQ(host.Rules().size(), expectedRules);
    return host.LoadFailures();
}

TEST(Host, SharesItsStateWithTheModuleThatItLoads) {
    norvex::service::NothingTrusted trust;
    {
        Host host(trust);
        ASSERT_EQ(host.Start(norvex::service::ApplicationFolder()), std::nullopt);
        EXPECT_EQ(CNorvexData::GetNorvexService(), &host.Service());
    }
    EXPECT_EQ(CNorvexData::GetNorvexService(), nullptr);
}

TEST(Host, RefusesASecondCopyOfTheModule) {
    const norvex::test::TemporaryFolder folder;
    for (const char* name : {"NorvexData.arx"}) {
        std::filesystem::copy(norvex::service::ApplicationFolder() / name, folder / name);
    }
    norvex::service::NothingTrusted trust;
    Host host(trust);
    const std::optional<std::string> failure = host.Start(folder.Path());
    ASSERT_TRUE(failure.has_value());
    EXPECT_NE(failure->find("is not the module that this program runs on"), std::string::npos) << *failure;
}

TEST(Host, SaysWhenTheModuleIsMissing) {
    const norvex::test::TemporaryFolder folder;
    norvex::service::NothingTrusted trust;
    Host host(trust);
    const std::optional<std::string> failure = host.Start(folder.Path());
    ASSERT_TRUE(failure.has_value());
    EXPECT_NE(failure->find("NorvexData.arx cannot be loaded"), std::string::npos) << *failure;
}

TEST(Host, FindsTheRulesThatShip) {
    norvex::service::NothingTrusted trust;
    Host host(trust);
    ASSERT_EQ(host.Start(norvex::service::ApplicationFolder()), std::nullopt);
    host.LoadRules();
    EXPECT_TRUE(host.LoadFailures().empty());
    ASSERT_EQ(host.Rules().size(), 4U);
    EXPECT_EQ(host.Rules()[0].record.name, "CCheckLayoutFlange");
    EXPECT_EQ(host.Rules()[1].record.name, "CCheckPipeDiameter");
    EXPECT_EQ(host.Rules()[2].record.name, "CCheckPipeLinkInvalid");
    const auto& loop = host.Rules()[3].record;
    EXPECT_EQ(loop.name, "CCheckPipeLoop");
    EXPECT_EQ(loop.shortName, "pipe-loop");
    EXPECT_EQ(loop.module, "CheckPipeLoop.Arx");
    EXPECT_EQ(std::count(loop.version.begin(), loop.version.end(), '.'), 3);
}

TEST(Host, RefusesAModuleOfAnotherHostApi) {
    const auto complaints = ComplaintsAbout(TestModule("OldHostApi"));
    ASSERT_EQ(complaints.size(), 1U);
    EXPECT_EQ(complaints[0],
              "Rule module OldHostApi.Arx cannot be used: it was built for host API 17.0, and this host has 18.0.");
}

TEST(Host, RefusesAModuleOfAnotherRuleInterface) {
    const auto complaints = ComplaintsAbout(TestModule("OldRuleApi"));
    ASSERT_EQ(complaints.size(), 1U);
    EXPECT_NE(complaints[0].find("OldRuleApi.Arx cannot be used: it was built for version 2 of the rule interface"),
              std::string::npos)
        << complaints[0];
}

TEST(Host, DoesNotTakeTheEntryPointOfAnotherModuleForTheRulesOwn) {
    const auto complaints = ComplaintsAbout(TestModule("NoEntryPoint"));
    ASSERT_EQ(complaints.size(), 1U);
    EXPECT_NE(complaints[0].find("it does not export acrxEntryPoint"), std::string::npos) << complaints[0];
}

TEST(Host, RefusesASecondRuleOfOneName) {
    const auto complaints = ComplaintsAbout(TestModule("NamesakeRule"));
    ASSERT_EQ(complaints.size(), 1U);
    EXPECT_EQ(complaints[0],
              "Rule module NamesakeRule.Arx cannot be used: its rule CCheckPipeLoop is already there from "
              "CheckPipeLoop.Arx.");
}

// A rule package may bring more than its rule. What the host says about a file of this name among the rules, and
// whether the file was loaded.
void ExpectRefusedUnloaded(const std::filesystem::path& source, const char* name, const std::string& complaint) {
    ApplicationFolderCopy application;
    application.With(ShippedRule("CheckPipeLoop"));
    const std::filesystem::path file = application.Path() / "Norvex" / name;
    std::filesystem::copy_file(source, file);
    CNorvexData::s_iCurRuleNum = 7;
    CNorvexData::AddCheckResultCount(L"category", L"kind", L"ERR_CONFIRMED", 5, 7);
    {
        norvex::service::NothingTrusted trust;
        Host host(trust);
        ASSERT_EQ(host.Start(application.Path()), std::nullopt);
        host.LoadRules();
        EXPECT_EQ(host.LoadFailures(), std::vector<std::string>{complaint});
        EXPECT_EQ(host.Rules().size(), 1U);
    }
    EXPECT_EQ(dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << name;
    int errors = 0;
    int checks = 0;
    CNorvexData::GetCheckResultCount(errors, checks);
    EXPECT_EQ(errors, 5);
    EXPECT_EQ(CNorvexData::s_iCurRuleNum, 7);
    CNorvexData::ClearCheckData();
}

TEST(Host, RefusesACopyOfTheModuleAmongTheRulesWithoutLoadingIt) {
    for (const std::string name : {"NorvexData.arx", "norvexdata.ARX", "NorvexData (2).Arx"}) {
        ExpectRefusedUnloaded(norvex::service::ApplicationFolder() / "NorvexData.arx", name.c_str(),
                              "Rule module " + name +
                                  " cannot be used: it is a second copy of NorvexData.arx, which is loaded already; "
                                  "take it out of the folder.");
    }
}

TEST(Host, RefusesACopyOfThePlatformAmongTheRulesWithoutLoadingIt) {
    ExpectRefusedUnloaded(norvex::service::ApplicationFolder() / "libNorvexPlatform.so", "Platform.Arx",
                          "Rule module Platform.Arx cannot be used: it is a second copy of libNorvexPlatform.so, which "
                          "is loaded already; take it out of the folder.");
}

TEST(Host, RefusesAFileThatHasTheNameOfTheModuleWhateverItHolds) {
    ExpectRefusedUnloaded(ShippedRule("CheckPipeLink"), "NORVEXDATA.arx",
                          "Rule module NORVEXDATA.arx cannot be used: it is a second copy of NorvexData.arx, which is "
                          "loaded already; take it out of the folder.");
}

TEST(Host, LoadsOneFileUnderTwoNamesOnce) {
    for (const bool isHardLink : {true, false}) {
        ApplicationFolderCopy application;
        application.With(ShippedRule("CheckPipeLoop"));
        const std::filesystem::path rules = application.Path() / "Norvex";
        if (isHardLink) {
            std::filesystem::create_hard_link(rules / "CheckPipeLoop.Arx", rules / "checkpipeloop.ARX");
        } else {
            std::filesystem::create_symlink("CheckPipeLoop.Arx", rules / "checkpipeloop.ARX");
        }
        norvex::service::NothingTrusted trust;
        Host host(trust);
        ASSERT_EQ(host.Start(application.Path()), std::nullopt);
        host.LoadRules();
        EXPECT_EQ(host.Rules().size(), 1U);
        EXPECT_EQ(host.LoadFailures(),
                  std::vector<std::string>{"Rule module checkpipeloop.ARX cannot be used: it is the same file as "
                                           "CheckPipeLoop.Arx, which is loaded already."});
    }
}

TEST(Host, RefusesTheModuleItselfAmongTheRules) {
    ApplicationFolderCopy application;
    std::filesystem::create_symlink("../NorvexData.arx", application.Path() / "Norvex" / "Data.Arx");
    norvex::service::NothingTrusted trust;
    Host host(trust);
    ASSERT_EQ(host.Start(application.Path()), std::nullopt);
    host.LoadRules();
    EXPECT_EQ(
        host.LoadFailures(),
        std::vector<std::string>{
            "Rule module Data.Arx cannot be used: it is the same file as NorvexData.arx, which is loaded already."});
}

TEST(Host, RefusesAFileThatIsNoModule) {
    const norvex::test::TemporaryFolder folder;
    norvex::test::WriteFile(folder / "Text.ARX", "not a module");
    const auto complaints = ComplaintsAbout(folder / "Text.ARX");
    ASSERT_EQ(complaints.size(), 1U);
    EXPECT_EQ(complaints[0].find("Rule module Text.ARX cannot be used: "), 0U) << complaints[0];
    EXPECT_EQ(complaints[0].find(folder.Path().string()), std::string::npos) << complaints[0];
}

TEST(Host, RefusesAModuleThatWasCopiedHalfway) {
    const std::string whole = norvex::test::FileText(norvex::test::ShippedRule("CheckPipeLoop"));
    const norvex::test::TemporaryFolder folder;
    for (const std::size_t size : {std::size_t{10}, std::size_t{100}, std::size_t{20'000}, whole.size() / 2}) {
        norvex::test::WriteFile(folder / "Half.Arx", whole.substr(0, size));
        const auto complaints = ComplaintsAbout(folder / "Half.Arx");
        ASSERT_EQ(complaints.size(), 1U) << size;
        EXPECT_EQ(complaints[0].find("Rule module Half.Arx cannot be used: it is "), 0U) << complaints[0];
    }
}

TEST(Host, DoesNotWaitForAPipeAmongTheModules) {
    ApplicationFolderCopy application;
    ASSERT_EQ(mkfifo((application.Path() / "Norvex" / "Pipe.Arx").c_str(), 0600), 0);
    norvex::service::NothingTrusted trust;
    Host host(trust);
    ASSERT_EQ(host.Start(application.Path()), std::nullopt);
    host.LoadRules();
    ASSERT_EQ(host.LoadFailures().size(), 1U);
    EXPECT_NE(host.LoadFailures()[0].find("Pipe.Arx"), std::string::npos);
}

// Loads a module that does on loading what it is told; returns the complaints.
std::vector<std::string> ComplaintsWhenLoadingIsTo(const char* wish) {
    setenv("NORVEX_TEST_LOADING", wish, 1);
    ApplicationFolderCopy application;
    application.With(ShippedRule("CheckPipeLoop")).With(TestModule("CrashingModule"));
    norvex::service::NothingTrusted trust;
    Host host(trust);
    EXPECT_EQ(host.Start(application.Path()), std::nullopt);
    host.LoadRules(std::chrono::milliseconds(500));
    EXPECT_EQ(host.Rules().size(), 1U);
    return host.LoadFailures();
}

TEST(Host, LeavesOutAModuleThatCrashesWhileItIsLoaded) {
    const std::vector<std::string> expected{
        "Rule module CrashingModule.Arx cannot be used: when it was loaded, it ended with signal 6 (SIGABRT)."};
    EXPECT_EQ(ComplaintsWhenLoadingIsTo("crash"), expected);
}

TEST(Host, LeavesOutAModuleThatEndsTheProcessWhileItIsLoaded) {
    const std::vector<std::string> expected{
        "Rule module CrashingModule.Arx cannot be used: when it was loaded, it ended with exit(0)."};
    EXPECT_EQ(ComplaintsWhenLoadingIsTo("exit"), expected);
}

TEST(Host, LeavesOutAModuleThatHangsWhileItIsLoaded) {
    const std::vector<std::string> expected{
        "Rule module CrashingModule.Arx cannot be used: when it was loaded, it did not end within 0.5 s."};
    EXPECT_EQ(ComplaintsWhenLoadingIsTo("hang"), expected);
}

TEST(Host, LeavesOutAModuleThatLetsAnExceptionEscapeWhileItIsLoaded) {
    const std::string begin = "Rule module CrashingModule.Arx cannot be used: when it was loaded, ";
    EXPECT_EQ(ComplaintsWhenLoadingIsTo("throw"),
              std::vector<std::string>{begin + "it let an exception escape: no licence."});
    EXPECT_EQ(ComplaintsWhenLoadingIsTo("throw an int"),
              std::vector<std::string>{begin + "it let an exception of unknown kind escape."});
    EXPECT_EQ(ComplaintsWhenLoadingIsTo("run out of memory"),
              std::vector<std::string>{begin + "there was not enough memory."});
}

TEST(Project, RefusesAShippedConfigurationThatCannotBeRead) {
    const norvex::test::TemporaryFolder project;
    const norvex::test::TemporaryFolder application;
    norvex::test::WriteFile(application / "NorvexConfig.xml", "<unfinished");
    std::string error;
    EXPECT_FALSE(norvex::service::UseConfiguration(project.Path(), application.Path(), error));
    EXPECT_NE(error.find((application / "NorvexConfig.xml").string()), std::string::npos) << error;
}

TEST(Host, SaysWhenThereIsNoFolderOfRules) {
    ApplicationFolderCopy application;
    std::filesystem::remove(application.Path() / "Norvex");
    norvex::service::NothingTrusted trust;
    Host host(trust);
    ASSERT_EQ(host.Start(application.Path()), std::nullopt);
    host.LoadRules();
    ASSERT_EQ(host.LoadFailures().size(), 1U);
    EXPECT_NE(host.LoadFailures()[0].find("cannot be read: No such file or directory"), std::string::npos);
}

}  // namespace
