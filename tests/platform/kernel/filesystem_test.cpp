// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/FileSystem.h"

#include "platform/kernel/LocalTime.h"
#include "platform/kernel/NativePath.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace {

using norvex::kernel::FromNativePath;
using norvex::kernel::ToNativePath;

CString HostPath(const std::filesystem::path& path) {
    return FromNativePath(path.native());
}

std::vector<CString> Found(const CString& pattern) {
    std::vector<CString> names;
    WIN32_FIND_DATAW entry;
    HANDLE search = FindFirstFileW(pattern, &entry);
    if (search == INVALID_HANDLE_VALUE) {
        return names;
    }
    do {
        names.emplace_back(entry.cFileName);
    } while (FindNextFileW(search, &entry));
    EXPECT_TRUE(FindClose(search));
    return names;
}

TEST(FileSearch, FindsNamesWhateverTheirLetterCase) {
    const TemporaryFolder folder;
    for (const char* name : {"a.Arx", "b.arx", "c.ARX", "x.arxx", "arx", "d.Arx.bak", "子/e.Arx"}) {
        folder.Write(name, "");
    }
    const auto found = Found(HostPath(folder.Path()) + L"\\*.Arx");
    EXPECT_EQ(std::set<CString>(found.begin(), found.end()), (std::set<CString>{L"a.Arx", L"b.arx", L"c.ARX"}));
    EXPECT_EQ(found.size(), 3U);
}

TEST(FileSearch, ComesInTheOrderOfTheFileSystem) {
    const TemporaryFolder folder;
    std::vector<CString> expected;
    for (int index = 0; index < 50; ++index) {
        folder.Write("f" + std::to_string(index * 7919 % 50) + ".xml", "");
    }
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        expected.push_back(FromNativePath(entry.path().filename().native()));
    }
    EXPECT_EQ(Found(HostPath(folder.Path()) + L"\\*.xml"), expected);
}

TEST(FileSearch, ReportsFoldersAsSuch) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.Path() / "X.Arx");
    WIN32_FIND_DATAW entry;
    HANDLE search = FindFirstFileW(HostPath(folder.Path()) + L"\\*.Arx", &entry);
    ASSERT_NE(search, INVALID_HANDLE_VALUE);
    EXPECT_EQ(entry.dwFileAttributes, FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_FALSE(FindNextFileW(search, &entry));
    FindClose(search);
}

TEST(FileSearch, KeepsNamesThatAreNoText) {
    const TemporaryFolder folder;
    folder.Write("\xFF\xFE \\.xml", "x");
    const auto found = Found(HostPath(folder.Path()) + L"\\*.xml");
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(ToNativePath(found[0]), "\xFF\xFE \\.xml");
    std::FILE* file = _wfopen(HostPath(folder.Path()) + L"\\" + found[0], u"rb");
    ASSERT_NE(file, nullptr);
    std::fclose(file);
}

TEST(FileSearch, HasRoomForTheLongestName) {
    const TemporaryFolder folder;
    folder.Write(std::string(251, 'n') + ".xml", "");
    ASSERT_EQ(Found(HostPath(folder.Path()) + L"\\*.xml").size(), 1U);
}

TEST(FileSearch, FindsNothingWhereThereIsNothing) {
    const TemporaryFolder folder;
    EXPECT_TRUE(Found(HostPath(folder.Path()) + L"\\missing\\*.xml").empty());
    EXPECT_TRUE(Found(HostPath(folder.Path()) + L"\\*.xml").empty());
    EXPECT_EQ(Found(HostPath(folder.Path()) + L"\\*").size(), 2U);
    EXPECT_FALSE(FindClose(INVALID_HANDLE_VALUE));
    EXPECT_FALSE(FindClose(nullptr));
}

TEST(Folder, IsMadeOneLevelAtATime) {
    const TemporaryFolder folder;
    const CString parent = HostPath(folder.Path()) + L"\\一号楼 B座";
    EXPECT_FALSE(CreateDirectoryW(parent + L"\\NxResult", nullptr));
    EXPECT_TRUE(CreateDirectoryW(parent, nullptr));
    EXPECT_FALSE(CreateDirectoryW(parent, nullptr));
    EXPECT_TRUE(CreateDirectoryW(parent + L"\\NxResult", nullptr));
    EXPECT_TRUE(std::filesystem::is_directory(folder.Path() / "一号楼 B座" / "NxResult"));
}

TEST(FileAttributes, TellFilesFromFoldersAndFromNothing) {
    const TemporaryFolder folder;
    const CString file = HostPath(folder.Write("f", ""));
    EXPECT_EQ(GetFileAttributesW(file) & FILE_ATTRIBUTE_DIRECTORY, 0U);
    EXPECT_EQ(GetFileAttributesW(HostPath(folder.Path())) & FILE_ATTRIBUTE_DIRECTORY, FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(GetFileAttributesW(file + L"x"), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetFileAttributesW(u""), INVALID_FILE_ATTRIBUTES);
}

TEST(BinaryFile, OpensRegularFilesOnly) {
    const TemporaryFolder folder;
    const CString file = HostPath(folder.Write("f", "abc"));
    std::FILE* opened = _wfopen(file, u"rb");
    ASSERT_NE(opened, nullptr);
    EXPECT_EQ(std::fgetc(opened), 'a');
    std::fclose(opened);
    EXPECT_EQ(_wfopen(file, u"wb"), nullptr);
    EXPECT_EQ(_wfopen(HostPath(folder.Path()), u"rb"), nullptr);
    EXPECT_EQ(_wfopen(file + L"x", u"rb"), nullptr);
}

TEST(BinaryFile, DoesNotWaitForTheOtherEndOfAPipe) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder.Path() / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(_wfopen(HostPath(folder.Path()) + L"\\pipe", u"rb"), nullptr);
}

TEST(LocalTime, IsTheTimeOfTheProcessesZone) {
    const auto hourIn = [](const char* zone) {
        setenv("TZ", zone, 1);
        SYSTEMTIME time{};
        GetLocalTime(&time);
        return time.wHour * 60 + time.wMinute;
    };
    const int utc = hourIn("UTC");
    const int shanghai = hourIn("UTC-8");
    const int ahead = (shanghai - utc + 24 * 60) % (24 * 60);
    EXPECT_GE(ahead, 8 * 60);
    EXPECT_LE(ahead, 8 * 60 + 1);
}

}  // namespace
