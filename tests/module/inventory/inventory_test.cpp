// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/common/ComMethod.h"
#include "platform/kernel/NativePath.h"
#include "platform/profile/ZrOwProfile.h"
#include "support/ModuleBytes.h"
#include "support/Narrow.h"
#include "support/TemporaryFolder.h"
#include "support/TextPrinter.h"
#include "support/WithoutPrivileges.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using norvex::kernel::FromNativePath;
using norvex::test::ElfModule;
using norvex::test::Narrow;
using norvex::test::VersionResource;
using norvex::test::WindowsModule;

constexpr const char* kDigestOfNothing = "d41d8cd98f00b204e9800998ecf8427e";
constexpr const char* kDigestOfAbc = "900150983cd24fb0d6963f7d28e17f72";

CString HostPath(const fs::path& path) {
    return FromNativePath(path.native());
}

class ModuleInventory : public testing::Test {
  protected:
    ModuleInventory() { norvex::profile::SetDirectories({HostPath(m_application), L""}); }

    // The inventory as "name md5 version" lines, sorted.
    static std::vector<std::string> Lines() {
        CZRArray<NS_NORVEX::DllInfo> modules;
        CComMethod::GetDllInfo(modules);
        std::vector<std::string> lines;
        for (const NS_NORVEX::DllInfo& module : modules) {
            lines.push_back(module.strDllName + " " + module.strMd5 + " " + module.strVersion);
        }
        std::sort(lines.begin(), lines.end());
        return lines;
    }

    fs::path WriteModule(const fs::path& name, std::string_view bytes) {
        return m_folder.Write(m_application / "Norvex" / name, bytes);
    }

    TemporaryFolder m_folder;
    fs::path m_application = m_folder.Path() / "应用 目录";
};

TEST_F(ModuleInventory, IsUnchangedByAMissingOrEmptyFolder) {
    CZRArray<NS_NORVEX::DllInfo> modules;
    modules.append({"kept", "", ""});
    CComMethod::GetDllInfo(modules);
    fs::create_directories(m_application / "Norvex");
    CComMethod::GetDllInfo(modules);
    ASSERT_EQ(modules.length(), 1);
    EXPECT_EQ(modules[0].strDllName, "kept");
}

TEST_F(ModuleInventory, GivesTitleDigestAndVersion) {
    const std::string bytes = WindowsModule(VersionResource({3, 1, 20, 5}));
    const CString path = HostPath(WriteModule("管道 检查.v2.Arx", bytes));
    EXPECT_EQ(Lines(), std::vector<std::string>{Narrow(L"管道 检查.v2 ") + Narrow(CComMethod::GetModuleMD5(path)) +
                                                " 3.1.20.5"});
}

TEST_F(ModuleInventory, MatchesTheExtensionWhateverItsLetterCase) {
    for (const char* name : {"a.Arx", "b.arx", "c.ARX", "x.arxx", "y.Arx.bak", "arx", "z.so", "sub/d.Arx"}) {
        WriteModule(name, "abc");
    }
    const std::string rest = std::string(" ") + kDigestOfAbc + " ";
    EXPECT_EQ(Lines(), (std::vector<std::string>{"a" + rest, "b" + rest, "c" + rest}));
}

TEST_F(ModuleInventory, LeavesOutFoldersOfThatName) {
    fs::create_directories(m_application / "Norvex" / "X.Arx");
    EXPECT_TRUE(Lines().empty());
    fs::create_directory_symlink(m_application / "Norvex" / "X.Arx", m_application / "Norvex" / "link.Arx");
    EXPECT_TRUE(Lines().empty());
    WriteModule("Y.Arx", "abc");
    EXPECT_EQ(Lines().size(), 1U);
}

TEST_F(ModuleInventory, ListsAnEmptyFile) {
    WriteModule("empty.Arx", "");
    EXPECT_EQ(Lines(), std::vector<std::string>{std::string("empty ") + kDigestOfNothing + " "});
}

TEST_F(ModuleInventory, ListsWhatCannotBeReadWithoutDigestAndVersion) {
    const fs::path path = WriteModule("secret.Arx", WindowsModule(VersionResource({1, 2, 3, 4})));
    fs::permissions(path, fs::perms::none);
    fs::permissions(m_folder.Path(), fs::perms(0755));
    ASSERT_EQ(mkfifo((m_application / "Norvex" / "pipe.Arx").c_str(), 0600), 0);
    fs::create_symlink("nowhere", m_application / "Norvex" / "dangling.Arx");
    const WithoutPrivileges guard;
    EXPECT_EQ(Lines(), (std::vector<std::string>{"dangling  ", "pipe  ", "secret  "}));
}

TEST_F(ModuleInventory, AppendsInTheOrderOfTheFileSystem) {
    for (int index = 0; index < 20; ++index) {
        WriteModule("m" + std::to_string(index * 13 % 20) + ".Arx", "");
    }
    std::vector<std::string> expected{"kept"};
    for (const auto& entry : fs::directory_iterator(m_application / "Norvex")) {
        expected.push_back(entry.path().stem().string());
    }
    CZRArray<NS_NORVEX::DllInfo> modules;
    modules.append({"kept", "", ""});
    CComMethod::GetDllInfo(modules);
    std::vector<std::string> names;
    for (const NS_NORVEX::DllInfo& module : modules) {
        names.push_back(module.strDllName);
    }
    EXPECT_EQ(names, expected);
}

TEST_F(ModuleInventory, KeepsAModuleWhoseNameIsNoText) {
    WriteModule("\xFF.Arx", "abc");
    EXPECT_EQ(Lines(), std::vector<std::string>{std::string("? ") + kDigestOfAbc + " "});
}

TEST_F(ModuleInventory, LooksBelowTheApplicationFolderAlone) {
    norvex::profile::SetDirectories({L"", HostPath(m_application)});
    WriteModule("a.Arx", "abc");
    EXPECT_TRUE(Lines().empty());
}

TEST(ModuleMd5, IsTheDigestOfTheWholeFile) {
    const TemporaryFolder folder;
    EXPECT_EQ(CComMethod::GetModuleMD5(HostPath(folder.Write("empty", ""))), kDigestOfNothing);
    EXPECT_EQ(CComMethod::GetModuleMD5(HostPath(folder.Write("abc", "abc"))), kDigestOfAbc);
    // Digests, by another implementation, of so many letters "a" around the size of a block.
    const std::vector<std::pair<std::size_t, const char*>> digests{{1023, "e3e210ff5dfc9da789cdbee262348db6"},
                                                                   {1024, "c9a34cfc85d982698c6ac89f76071abd"},
                                                                   {1025, "ae187e1febee2a150b64849c32d566ca"},
                                                                   {2048, "b7ea2d21ad2ef3e28085d30247603e0b"}};
    for (const auto& [size, digest] : digests) {
        EXPECT_EQ(CComMethod::GetModuleMD5(HostPath(folder.Write("a", std::string(size, 'a')))), digest) << size;
    }
}

TEST(ModuleMd5, IsEmptyForWhatCannotBeRead) {
    const TemporaryFolder folder;
    EXPECT_EQ(CComMethod::GetModuleMD5(HostPath(folder.Path() / "missing")), L"");
    EXPECT_EQ(CComMethod::GetModuleMD5(HostPath(folder.Path())), L"");
    EXPECT_EQ(CComMethod::GetModuleMD5(L""), L"");
}

TEST(ModuleVersion, IsTheFileVersionInFourDecimalNumbers) {
    const TemporaryFolder folder;
    CString version;
    EXPECT_TRUE(CComMethod::GetFileVersion(HostPath(folder.Write("w", WindowsModule(VersionResource({3, 1, 20, 5})))),
                                           version));
    EXPECT_EQ(version, L"3.1.20.5");
    EXPECT_TRUE(CComMethod::GetFileVersion(
        HostPath(folder.Write("e", ElfModule(VersionResource({0, 65535, 0, 40000})))), version));
    EXPECT_EQ(version, L"0.65535.0.40000");
}

TEST(ModuleVersion, IsFoundInAModuleThatIsLargerThanAQuarterOfAGigabyte) {
    const TemporaryFolder folder;
    constexpr std::uint32_t kSize = 300U << 20;
    // A hole but for its two ends: it takes no room on the disk.
    const fs::path file = folder.Write("large.Arx", norvex::test::WindowsHeaders(kSize));
    fs::resize_file(file, kSize);
    std::ofstream(file, std::ios::binary | std::ios::app)
        << WindowsModule(VersionResource({3, 1, 20, 5})).substr(norvex::test::kPeResources);
    CString version;
    ASSERT_TRUE(CComMethod::GetFileVersion(HostPath(file), version));
    EXPECT_EQ(version, L"3.1.20.5");
}

TEST(ModuleVersion, LeavesTheTextAloneWhenThereIsNone) {
    const TemporaryFolder folder;
    CString version = L"before";
    EXPECT_FALSE(CComMethod::GetFileVersion(HostPath(folder.Write("empty", "")), version));
    EXPECT_FALSE(CComMethod::GetFileVersion(HostPath(folder.Write("text", "MZ but no module")), version));
    EXPECT_FALSE(CComMethod::GetFileVersion(HostPath(folder.Write("none", ElfModule(""))), version));
    EXPECT_FALSE(CComMethod::GetFileVersion(HostPath(folder.Path()), version));
    EXPECT_FALSE(CComMethod::GetFileVersion(HostPath(folder.Path() / "missing"), version));
    EXPECT_EQ(version, L"before");
}

TEST(ModuleVersion, IsWrittenIntoModulesThatTheBuildMakes) {
    CString version;
    ASSERT_TRUE(CComMethod::GetFileVersion(HostPath(NORVEX_VERSIONED_MODULE), version));
    EXPECT_EQ(version, L"3.1.20.65535");
}

TEST(ModuleVersion, IsWrittenIntoRulesThatAreBuiltWithoutSayingOne) {
    CString version;
    ASSERT_TRUE(CComMethod::GetFileVersion(HostPath(NORVEX_RULE_MODULE), version));
    EXPECT_EQ(version, NORVEX_PROJECT_VERSION ".0");
}

TEST(ModuleVersion, SurvivesStrip) {
    const TemporaryFolder folder;
    const std::string stripped = (folder.Path() / "stripped.Arx").string();
    ASSERT_EQ(std::system((std::string(NORVEX_STRIP) + " -o " + stripped + " " + NORVEX_VERSIONED_MODULE).c_str()), 0);
    CString version;
    ASSERT_TRUE(CComMethod::GetFileVersion(HostPath(stripped), version));
    EXPECT_EQ(version, L"3.1.20.65535");
}

}  // namespace
