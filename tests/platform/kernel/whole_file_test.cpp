// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/WholeFile.h"

#include "support/TemporaryFolder.h"
#include "support/WithoutPrivileges.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <fstream>
#include <iterator>

namespace {

using norvex::kernel::WholeFile;
namespace fs = std::filesystem;

std::string TextOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::size_t EntriesOf(const fs::path& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

TEST(WholeFile, AppearsUnderItsNameOnlyWhenItIsWhole) {
    const TemporaryFolder folder;
    const fs::path path = folder.Path() / "result.xml";
    WholeFile file;
    ASSERT_EQ(file.Open(path), std::nullopt);
    EXPECT_FALSE(fs::exists(path));
    ASSERT_EQ(file.Commit("all of it"), std::nullopt);
    EXPECT_EQ(TextOf(path), "all of it");
    EXPECT_EQ(EntriesOf(folder.Path()), 1U);
}

TEST(WholeFile, LeavesNothingWhenItIsNotCommitted) {
    const TemporaryFolder folder;
    { EXPECT_EQ(WholeFile().Open(folder.Path() / "result.xml"), std::nullopt); }
    EXPECT_EQ(EntriesOf(folder.Path()), 0U);
}

TEST(WholeFile, KeepsWhatWasThereWhenTheDiskHasNoRoom) {
    const TemporaryFolder folder;
    const fs::path path = folder.Write("result.xml", "old");
    std::signal(SIGXFSZ, SIG_IGN);
    constexpr rlimit kRoom{1000, RLIM_INFINITY};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &kRoom), 0);
    {
        WholeFile file;
        ASSERT_EQ(file.Open(path), std::nullopt);
        EXPECT_EQ(file.Commit(std::string(2000, 'x')),
                  "The file " + path.string() + " cannot be written: File too large.");
    }
    EXPECT_EQ(TextOf(path), "old");
    EXPECT_EQ(EntriesOf(folder.Path()), 1U);
}

TEST(WholeFile, SaysWhyItCannotBeOpened) {
    const TemporaryFolder folder;
    const fs::path path = folder.Path() / "no folder" / "result.xml";
    EXPECT_EQ(WholeFile().Open(path), "The file " + path.string() + " cannot be written: No such file or directory.");
    EXPECT_EQ(WholeFile().Open(folder.Path() / ""), "\"" + folder.Path().string() + "/\" names no file to write to.");
    fs::permissions(folder.Path(), fs::perms::owner_read | fs::perms::owner_exec);
    const WithoutPrivileges asOthers;
    EXPECT_NE(WholeFile().Open(folder.Path() / "result.xml"), std::nullopt);
}

TEST(WholeFile, NeverTakesThePlaceOfAnotherWhenItIsToBeNew) {
    const TemporaryFolder folder;
    const fs::path path = folder.Path() / "result.xml";
    bool isTaken = true;
    {
        WholeFile first;
        ASSERT_EQ(first.Open(path), std::nullopt);
        EXPECT_EQ(first.CommitNew("first", isTaken), std::nullopt);
        EXPECT_FALSE(isTaken);
    }
    {
        WholeFile second;
        ASSERT_EQ(second.Open(path), std::nullopt);
        EXPECT_EQ(second.CommitNew("second", isTaken), std::nullopt);
        EXPECT_TRUE(isTaken);
    }
    EXPECT_EQ(TextOf(path), "first");
    EXPECT_EQ(EntriesOf(folder.Path()), 1U);
}

TEST(WholeFile, TakesThePlaceOfALinkOrFollowsIt) {
    const TemporaryFolder folder;
    const fs::path path = folder.Write("there/result.xml", "old");
    const fs::path link = folder.Path() / "link.xml";
    fs::create_symlink("there/next.xml", folder.Path() / "dangling.xml");
    fs::create_symlink("there/result.xml", link);
    {
        WholeFile followed;
        ASSERT_EQ(followed.Open(link, WholeFile::Links::Follow), std::nullopt);
        ASSERT_EQ(followed.Commit("followed"), std::nullopt);
        WholeFile next;
        ASSERT_EQ(next.Open(folder.Path() / "dangling.xml", WholeFile::Links::Follow), std::nullopt);
        ASSERT_EQ(next.Commit("next"), std::nullopt);
    }
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(TextOf(path), "followed");
    EXPECT_EQ(TextOf(folder.Path() / "there" / "next.xml"), "next");
    WholeFile replaced;
    ASSERT_EQ(replaced.Open(link), std::nullopt);
    ASSERT_EQ(replaced.Commit("replaced"), std::nullopt);
    EXPECT_FALSE(fs::is_symlink(link));
    EXPECT_EQ(TextOf(path), "followed");
}

TEST(WholeFile, MayHaveANameAsLongAsTheFileSystemAllows) {
    const TemporaryFolder folder;
    WholeFile file;
    ASSERT_EQ(file.Open(folder.Path() / std::string(255, 'x')), std::nullopt);
    EXPECT_EQ(file.Commit("text"), std::nullopt);
}

TEST(WholeFile, WritesIntoAPipeDirectly) {
    EXPECT_EQ(WholeFile().Open("/dev/null"), std::nullopt);
    WholeFile full;
    ASSERT_EQ(full.Open("/dev/full"), std::nullopt);
    EXPECT_EQ(full.Commit("text"), "The file /dev/full cannot be written: No space left on device.");
}

}  // namespace
