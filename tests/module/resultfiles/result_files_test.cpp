// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/common/ComMethod.h"
#include "norvexdata/state/NorvexData.h"
#include "platform/datamng/ProjectData.h"
#include "platform/kernel/NativePath.h"
#include "support/Narrow.h"
#include "support/TemporaryFolder.h"
#include "support/TextPrinter.h"
#include "support/WithoutPrivileges.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using norvex::kernel::FromNativePath;
using norvex::kernel::ToNativePath;
using norvex::test::Narrow;

// A project whose folder has Chinese characters and a blank in its name.
class ResultFiles : public testing::Test {
  protected:
    ResultFiles() {
        fs::create_directory(m_project);
        SetProject(m_project);
        CNorvexData::s_strCurSpec = L"消防";
    }

    static void SetProject(const fs::path& folder) {
        norvex::datamng::ProjectData data;
        data.folder = FromNativePath(folder.native());
        norvex::datamng::SetCurrentProject(data);
    }

    // Makes these files in the result folder.
    void WriteResults(std::initializer_list<const char*> names) {
        for (const char* name : names) {
            m_folder.Write(m_project / "NxResult" / name, "");
        }
    }

    // The listed files, sorted; the order of the file system is tested on its own.
    static std::vector<std::string> Listed() {
        std::vector<std::string> files;
        CComMethod::GetResultFileList(files);
        std::sort(files.begin(), files.end());
        return files;
    }

    std::string InResultFolder(const wchar_t* name) const {
        return Narrow(FromNativePath((m_project / "NxResult").native()) + L"\\" + name);
    }

    TemporaryFolder m_folder;
    fs::path m_project = m_folder.Path() / "一号楼 B座";
};

TEST_F(ResultFiles, CarryTheTagOfTheCurrentSpecialty) {
    const std::vector<std::pair<CString, CString>> tags{
        {L"电气", L"(Elec)"}, {L"弱电", L"(Leak)"}, {L"暖通", L"(Hvac)"}, {L"给排水", L"(Wsd)"},
        {L"消防", L"(Fp)"},   {L"建筑", L""},       {L"", L""},           {L"消防 ", L""}};
    for (const auto& [specialty, tag] : tags) {
        CNorvexData::s_strCurSpec = specialty;
        EXPECT_EQ(CComMethod::ZRAbbreviatedSpec(), tag);
    }
}

TEST_F(ResultFiles, AreNamedByTagAndLocalTimeInTheResultFolder) {
    setenv("TZ", "Asia/Shanghai", 1);
    const std::time_t before = std::time(nullptr);
    const CString path = CComMethod::GetResultFileName();
    // std::time() may lag behind the finer clock that stamps the name by one tick of the kernel's.
    const std::time_t after = std::time(nullptr) + 1;
    const CString expected = FromNativePath(m_project.native()) + L"\\NxResult\\NxResult(Fp)";
    ASSERT_EQ(path.Left(expected.GetLength()), expected);
    ASSERT_EQ(path.Right(4), L".xml");
    std::vector<CString> stamps;
    for (std::time_t time = before; time <= after; ++time) {
        char stamp[13];
        std::strftime(stamp, sizeof(stamp), "%y%m%d%H%M%S", std::localtime(&time));
        stamps.emplace_back(stamp);
    }
    const CString stamp = path.Mid(expected.GetLength(), path.GetLength() - expected.GetLength() - 4);
    EXPECT_NE(std::find(stamps.begin(), stamps.end(), stamp), stamps.end()) << Narrow(stamp);
}

TEST_F(ResultFiles, HaveNoTagForASpecialtyOutsideTheTable) {
    CNorvexData::s_strCurSpec = L"建筑";
    const std::string native = ToNativePath(CComMethod::GetResultFileName());
    EXPECT_TRUE(std::regex_search(native, std::regex("/NxResult/NxResult[0-9]{12}\\.xml$"))) << native;
    WriteResults({"NxResult240315093005.xml", "NxResult(Fp)240315093005.xml"});
    EXPECT_TRUE(Listed().empty());
}

TEST_F(ResultFiles, HaveTheSameNameWithinOneSecond) {
    // A second may end between the two calls, but not every time.
    bool same = false;
    for (int attempt = 0; attempt < 5 && !same; ++attempt) {
        same = CComMethod::GetResultFileName() == CComMethod::GetResultFileName();
    }
    EXPECT_TRUE(same);
}

TEST_F(ResultFiles, GetTheirFolderMadeOneLevelOnly) {
    CComMethod::GetResultFileName();
    EXPECT_TRUE(fs::is_directory(m_project / "NxResult"));
    EXPECT_FALSE(fs::exists(m_project / "ProjectAssist"));
    SetProject(m_folder.Path() / "missing");
    EXPECT_FALSE(CComMethod::GetResultFileName().IsEmpty());
    EXPECT_FALSE(fs::exists(m_folder.Path() / "missing"));
}

TEST_F(ResultFiles, AreNamedAllTheSameWhenTheProjectIsReadOnly) {
    fs::permissions(m_folder.Path(), fs::perms(0755));
    fs::permissions(m_project, fs::perms(0555));
    const WithoutPrivileges guard;
    const CString path = CComMethod::GetResultFileName();
    EXPECT_EQ(path.Right(4), L".xml");
    EXPECT_EQ(CComMethod::CreateGuideFileName().Right(10), L"\\Guide.xml");
    EXPECT_TRUE(Listed().empty());
    EXPECT_FALSE(fs::exists(m_project / "NxResult"));
}

TEST_F(ResultFiles, LeaveAFileInTheFoldersPlaceAlone) {
    m_folder.Write(m_project / "NxResult", "not a folder");
    EXPECT_EQ(CComMethod::GetResultFileName().Right(4), L".xml");
    EXPECT_TRUE(Listed().empty());
    EXPECT_EQ(fs::file_size(m_project / "NxResult"), 12U);
}

TEST_F(ResultFiles, AreListedWithTheirFullPath) {
    WriteResults({"NxResult(Fp)240315093005.xml"});
    EXPECT_EQ(Listed(), std::vector<std::string>{InResultFolder(L"NxResult(Fp)240315093005.xml")});
}

TEST_F(ResultFiles, AreListedForTheCurrentSpecialtyAlone) {
    WriteResults({"NxResult(Elec)240315093005.xml", "NxResult(Fp)240315093005.xml", "nxresult(Fp)240315093005.xml",
                  "NxResult(FP)240315093005.xml", "NxResult240315093005.xml"});
    EXPECT_EQ(Listed(), std::vector<std::string>{InResultFolder(L"NxResult(Fp)240315093005.xml")});
    CNorvexData::s_strCurSpec = L"电气";
    EXPECT_EQ(Listed(), std::vector<std::string>{InResultFolder(L"NxResult(Elec)240315093005.xml")});
}

TEST_F(ResultFiles, AreNotListedWithFewerThanTenCharactersBehindThePrefix) {
    WriteResults({"NxResult(Fp)1.xml", "NxResult(Fp)12345.xml", "NxResult(Fp)123456.xml", "NxResult(Fp).xml"});
    EXPECT_EQ(Listed(), std::vector<std::string>{InResultFolder(L"NxResult(Fp)123456.xml")});
}

TEST_F(ResultFiles, AreNotListedWithAnotherExtensionOrInASubfolder) {
    WriteResults({"NxResult(Fp)240315093005.xmlx", "NxResult(Fp)240315093005.xml.bak", "NxResult(Fp)240315093005",
                  "sub/NxResult(Fp)240315093005.xml", ".NxResult(Fp)240315093005.xml", "NxResult(Fp)240315093006.XML"});
    EXPECT_EQ(Listed(), std::vector<std::string>{InResultFolder(L"NxResult(Fp)240315093006.XML")});
}

TEST_F(ResultFiles, AreAppendedInTheOrderOfTheFileSystem) {
    for (int index = 0; index < 30; ++index) {
        m_folder.Write(m_project / "NxResult" / ("NxResult(Fp)" + std::to_string(1000000 + index * 37 % 30) + ".xml"),
                       "");
    }
    std::vector<std::string> expected{"kept"};
    for (const auto& entry : fs::directory_iterator(m_project / "NxResult")) {
        expected.push_back(Narrow(FromNativePath(entry.path().native())));
    }
    std::vector<std::string> files{"kept"};
    CComMethod::GetResultFileList(files);
    EXPECT_EQ(files, expected);
}

TEST_F(ResultFiles, AreNotListedWithoutAFolderOrAMatch) {
    EXPECT_TRUE(Listed().empty());
    EXPECT_FALSE(fs::exists(m_project / "NxResult"));
    WriteResults({"notes.txt"});
    EXPECT_TRUE(Listed().empty());
}

TEST_F(ResultFiles, AreListedInCodePage936EvenWhenTheirNamesAreNoText) {
    WriteResults(
        {"NxResult(Fp)\xFF"
         "40315093005.xml",
         "NxResult(Fp)\xF0\x9F\x98\x80"
         "0315093005.xml"});
    // What the code page does not know becomes "?", one for each code unit.
    EXPECT_EQ(Listed(), (std::vector<std::string>{InResultFolder(L"NxResult(Fp)?40315093005.xml"),
                                                  InResultFolder(L"NxResult(Fp)??0315093005.xml")}));
}

TEST_F(ResultFiles, HaveAGuideBesideThemThatAllRunsShare) {
    const CString path = CComMethod::CreateGuideFileName();
    EXPECT_EQ(path, FromNativePath(m_project.native()) + L"\\ProjectAssist\\NxResult\\Guide.xml");
    EXPECT_TRUE(fs::is_directory(m_project / "ProjectAssist" / "NxResult"));
    EXPECT_FALSE(fs::exists(ToNativePath(path)));
    CNorvexData::s_strCurSpec = L"电气";
    EXPECT_EQ(CComMethod::CreateGuideFileName(), path);
}

}  // namespace
