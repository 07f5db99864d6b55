// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <ctime>
#include <filesystem>

#include "Stands.h"
#include "norvexdata/common/ComMethod.h"
#include "platform/kernel/NativePath.h"
#include "support/ModuleBytes.h"
#include "support/TemporaryFolder.h"

using norvex::contract::Narrow;
using norvex::kernel::FromNativePath;

namespace {

namespace fs = std::filesystem;

std::string Stamp(std::time_t moment) {
    std::tm local = {};
    localtime_r(&moment, &local);
    char text[16] = {};
    std::strftime(text, sizeof(text), "%y%m%d%H%M%S", &local);
    return text;
}

CString HostPath(const fs::path& path) {
    return FromNativePath(path.string());
}

class ResultFileContract : public norvex::contract::CleanRun {
  protected:
    ResultFileContract() { UseProject(folder.Path()); }

    static void UseProject(const fs::path& path) {
        norvex::datamng::ProjectData project;
        project.folder = HostPath(path);
        norvex::datamng::SetCurrentProject(project);
    }
    // Whether the name is the given specialty's at a second that passed meanwhile.
    void ExpectResultName(const CString& specialty, const CString& tag) const {
        CNorvexData::s_strCurSpec = specialty;
        const std::time_t before = std::time(nullptr);
        const CString name = CComMethod::GetResultFileName();
        // time() reads a clock that may be a tick behind the one that names are made from.
        const std::time_t after = std::time(nullptr) + 1;
        std::vector<CString> possible;
        for (std::time_t moment = before; moment <= after; ++moment) {
            possible.push_back(HostPath(folder.Path()) + L"\\NxResult\\NxResult" + tag +
                               CString(Stamp(moment).c_str()) + L".xml");
        }
        EXPECT_NE(std::find(possible.begin(), possible.end(), name), possible.end()) << norvex::text::ToUtf8(name);
    }
    // Names of the listed files, sorted; every one must lie in the result folder.
    std::vector<std::string> Listed() const {
        std::vector<std::string> files;
        CComMethod::GetResultFileList(files);
        const std::string prefix = Narrow(HostPath(folder.Path()) + L"\\NxResult\\");
        for (std::string& file : files) {
            EXPECT_EQ(file.substr(0, prefix.size()), prefix);
            file.erase(0, prefix.size());
        }
        std::sort(files.begin(), files.end());
        return files;
    }

    TemporaryFolder folder;
};

class InventoryContract : public norvex::contract::CleanRun {
  protected:
    InventoryContract() { norvex::profile::SetDirectories({HostPath(folder.Path()), L""}); }

    static std::vector<std::string> Titles() {
        CZRArray<NS_NORVEX::DllInfo> modules;
        CComMethod::GetDllInfo(modules);
        std::vector<std::string> titles;
        for (const NS_NORVEX::DllInfo& module : modules) {
            titles.push_back(module.strDllName);
        }
        std::sort(titles.begin(), titles.end());
        return titles;
    }

    TemporaryFolder folder;
};

using Lines = std::vector<std::string>;

}  // namespace

// --- result and guide files ---

TEST_F(ResultFileContract, EachSpecialtyHasItsTag) {
    const std::map<CString, CString> tags = {{L"电气", L"(Elec)"},  {L"弱电", L"(Leak)"}, {L"暖通", L"(Hvac)"},
                                             {L"给排水", L"(Wsd)"}, {L"消防", L"(Fp)"},   {L"", L""},
                                             {L"消防 ", L""},       {L"fp", L""}};
    for (const auto& [specialty, tag] : tags) {
        CNorvexData::s_strCurSpec = specialty;
        EXPECT_EQ(CComMethod::ZRAbbreviatedSpec(), tag);
    }
}

TEST_F(ResultFileContract, TheNameCarriesTagAndLocalTime) {
    ExpectResultName(L"消防", L"(Fp)");
    ExpectResultName(L"弱电", L"(Leak)");
    ExpectResultName(L"其他", L"");
}

TEST_F(ResultFileContract, AskingForAResultNameMakesItsFolderAndNoFile) {
    CComMethod::GetResultFileName();
    EXPECT_TRUE(fs::is_directory(folder.Path() / "NxResult"));
    EXPECT_TRUE(fs::is_empty(folder.Path() / "NxResult"));
    CComMethod::GetResultFileName();
}

TEST_F(ResultFileContract, OnlyOneLevelOfFoldersIsMadeAndTheNameComesAllTheSame) {
    UseProject(folder.Path() / "missing");
    const CString name = CComMethod::GetResultFileName();
    EXPECT_EQ(name.Find(HostPath(folder.Path() / "missing") + L"\\NxResult\\NxResult"), 0);
    EXPECT_FALSE(fs::exists(folder.Path() / "missing"));
}

TEST_F(ResultFileContract, AnUnknownSpecialtyListsNothing) {
    folder.Write("NxResult/NxResult240315093005.xml", "");
    CNorvexData::s_strCurSpec = L"其他";
    EXPECT_TRUE(Listed().empty());
}

TEST_F(ResultFileContract, OnlyNamesTenCharactersLongerThanTheirBeginningAreListed) {
    folder.Write("NxResult/NxResult(Fp)1.xml", "");
    folder.Write("NxResult/NxResult(Fp)12345.xml", "");
    folder.Write("NxResult/NxResult(Fp)123456.xml", "");
    folder.Write("NxResult/NxResult(Fp)240315093005.xml", "");
    CNorvexData::s_strCurSpec = L"消防";
    EXPECT_EQ(Listed(), (Lines{"NxResult(Fp)123456.xml", "NxResult(Fp)240315093005.xml"}));
}

TEST_F(ResultFileContract, OtherSpecialtiesFoldersBelowAndOtherNamesAreNotListed) {
    folder.Write("NxResult/NxResult(Elec)240315093005.xml", "");
    folder.Write("NxResult/NxResult(Fp)240315093005.xml", "");
    folder.Write("NxResult/nxresult(Fp)240315093005.xml", "");
    folder.Write("NxResult/.NxResult(Fp)240315093005.xml", "");
    folder.Write("NxResult/xNxResult(Fp)240315093005.xml", "");
    folder.Write("NxResult/NxResult(Fp)240315093005.txt", "");
    folder.Write("NxResult/sub/NxResult(Fp)240315093006.xml", "");
    folder.Write("NxResult(Fp)240315093007.xml", "");
    CNorvexData::s_strCurSpec = L"消防";
    EXPECT_EQ(Listed(), (Lines{"NxResult(Fp)240315093005.xml"}));
}

TEST_F(ResultFileContract, ListedPathsAreAppendedInTheCodePageAndInTheOrderOfTheFolder) {
    const fs::path project = folder.Path() / "项目";
    for (int index = 0; index < 20; ++index) {
        folder.Write("项目/NxResult/NxResult(Hvac)2403150930" + std::to_string(index + 10) + ".xml", "");
    }
    UseProject(project);
    CNorvexData::s_strCurSpec = L"暖通";
    Lines expected = {"old"};
    for (const fs::directory_entry& entry : fs::directory_iterator(project / "NxResult")) {
        expected.push_back(Narrow(HostPath(entry.path())));
    }
    Lines files = {"old"};
    CComMethod::GetResultFileList(files);
    EXPECT_EQ(files, expected);
    EXPECT_NE(files[1].find("\xCF\xEE\xC4\xBF"), std::string::npos);
}

TEST_F(ResultFileContract, AMissingResultFolderListsNothingAndIsNotMade) {
    CNorvexData::s_strCurSpec = L"消防";
    EXPECT_TRUE(Listed().empty());
    EXPECT_FALSE(fs::exists(folder.Path() / "NxResult"));
}

TEST_F(ResultFileContract, TheGuideFileIsSharedAndItsFoldersAreMade) {
    CNorvexData::s_strCurSpec = L"消防";
    const CString first = CComMethod::CreateGuideFileName();
    EXPECT_EQ(first, HostPath(folder.Path()) + L"\\ProjectAssist\\NxResult\\Guide.xml");
    EXPECT_TRUE(fs::is_directory(folder.Path() / "ProjectAssist" / "NxResult"));
    EXPECT_FALSE(fs::exists(folder.Path() / "ProjectAssist" / "NxResult" / "Guide.xml"));
    CNorvexData::s_strCurSpec = L"电气";
    EXPECT_EQ(CComMethod::CreateGuideFileName(), first);
}

// --- module inventory ---

TEST_F(InventoryContract, AMissingOrEmptyFolderLeavesTheListAsItWas) {
    CZRArray<NS_NORVEX::DllInfo> modules;
    modules.append({"old", "", ""});
    CComMethod::GetDllInfo(modules);
    EXPECT_EQ(modules.length(), 1);
    fs::create_directory(folder.Path() / "Norvex");
    CComMethod::GetDllInfo(modules);
    ASSERT_EQ(modules.length(), 1);
    EXPECT_EQ(modules[0].strDllName, "old");
}

TEST_F(InventoryContract, FoldersAndOtherFilesAreNotListed) {
    folder.Write("Norvex/A.Arx", "a");
    folder.Write("Norvex/Folder.Arx/Inner.Arx", "b");
    folder.Write("Norvex/C.dll", "c");
    folder.Write("Norvex/D.Arx.bak", "c");
    folder.Write("E.Arx", "c");
    EXPECT_EQ(Titles(), (Lines{"A"}));
}

TEST_F(InventoryContract, TitlesLoseTheirLastExtensionAndAreInTheCodePage) {
    folder.Write("Norvex/My.Rule.Arx", "a");
    folder.Write("Norvex/管.Arx", "a");
    EXPECT_EQ(Titles(), (Lines{"My.Rule", "\xB9\xDC"}));
}

TEST_F(InventoryContract, EveryModuleIsListedInTheOrderOfTheFolderWithNameDigestAndVersion) {
    const std::string versioned = norvex::test::WindowsModule(norvex::test::VersionResource({3, 1, 20, 5}));
    folder.Write("Norvex/Plain.Arx", "abc");
    folder.Write("Norvex/Versioned.Arx", versioned);
    CZRArray<NS_NORVEX::DllInfo> modules;
    CComMethod::GetDllInfo(modules);
    Lines expected;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder.Path() / "Norvex")) {
        expected.push_back(entry.path().stem().string());
    }
    ASSERT_EQ(modules.length(), 2);
    for (int index = 0; index < 2; ++index) {
        const NS_NORVEX::DllInfo& module = modules[index];
        EXPECT_EQ(module.strDllName, expected[static_cast<std::size_t>(index)]);
        const bool isPlain = module.strDllName == "Plain";
        EXPECT_EQ(module.strVersion, isPlain ? "" : "3.1.20.5");
        EXPECT_EQ(module.strMd5.size(), 32U);
        EXPECT_EQ(module.strMd5 == "900150983cd24fb0d6963f7d28e17f72", isPlain);
    }
    CComMethod::GetDllInfo(modules);
    EXPECT_EQ(modules.length(), 4);
}

TEST_F(InventoryContract, DigestsAreThoseOfTheBytes) {
    const auto digest = [&](const std::string& bytes) {
        return CComMethod::GetModuleMD5(HostPath(folder.Write("file", bytes)));
    };
    EXPECT_EQ(digest(""), L"d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(digest("abc"), L"900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(CComMethod::GetModuleMD5(HostPath(folder.Path() / "missing")), L"");
    EXPECT_EQ(digest(std::string(1023, '\0')), L"ee4325c998d610499ef9749837313581");
    EXPECT_EQ(digest(std::string(1024, '\0')), L"0f343b0931126a20f133d67c2b018a3b");
    EXPECT_EQ(digest(std::string(1025, '\0')), L"0ad4cf7b35f62b8ff9c73f481594fbdd");
    EXPECT_EQ(digest(std::string(2048, '\0')), L"c99a74c555371a433d121f551d6c6398");
    EXPECT_EQ(digest(std::string(5000, '\0')), L"6bf95a48f366bdf8af3a198c7b723c77");
}

TEST_F(InventoryContract, AVersionIsReadFromBothHalvesOfBothParts) {
    const std::string bytes = norvex::test::WindowsModule(norvex::test::VersionResource({65535, 0, 1, 40000}));
    CString version = L"before";
    EXPECT_TRUE(CComMethod::GetFileVersion(HostPath(folder.Write("file", bytes)), version));
    EXPECT_EQ(version, L"65535.0.1.40000");
}

TEST_F(InventoryContract, WithoutAVersionTheTextStaysAsItWas) {
    CString version = L"before";
    EXPECT_FALSE(CComMethod::GetFileVersion(HostPath(folder.Write("file", "no module")), version));
    EXPECT_FALSE(CComMethod::GetFileVersion(HostPath(folder.Path() / "missing"), version));
    EXPECT_FALSE(CComMethod::GetFileVersion(HostPath(folder.Write("empty", "")), version));
    EXPECT_EQ(version, L"before");
}
