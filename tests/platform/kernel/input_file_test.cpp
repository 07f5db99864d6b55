// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/InputFile.h"

#include "support/TemporaryFolder.h"
#include "support/WithoutPrivileges.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using norvex::kernel::InputFile;
using norvex::kernel::ReadInputFile;
namespace fs = std::filesystem;

constexpr std::size_t kPlenty = 1000;

std::string WhyNot(const fs::path& path) {
    std::string why;
    EXPECT_EQ(ReadInputFile(path, kPlenty, why), std::nullopt);
    return why;
}

TEST(InputFile, GivesTheBytesOfARegularFileAndNoMoreThanAreWanted) {
    const TemporaryFolder folder;
    const std::string bytes(300'000, 'x');
    const fs::path path = folder.Write("a", bytes);
    std::string why;
    EXPECT_EQ(ReadInputFile(path, 1'000'000, why), bytes);
    EXPECT_EQ(ReadInputFile(path, bytes.size(), why), bytes);
    EXPECT_EQ(ReadInputFile(path, 100'000, why), bytes.substr(0, 100'000));
    EXPECT_EQ(ReadInputFile(folder.Write("empty", ""), kPlenty, why), "");
    fs::create_symlink("a", folder.Path() / "link");
    EXPECT_EQ(ReadInputFile(folder.Path() / "link", 3, why), "xxx");
}

// Each of these would be waited for, or read without end.
TEST(InputFile, RefusesWhatIsNoRegularFileAtOnce) {
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder.Path() / "pipe").c_str(), 0600), 0);
    fs::create_symlink("pipe", folder.Path() / "link");
    for (const fs::path& path : {folder.Path() / "pipe", folder.Path() / "link", folder.Path(), fs::path("/dev/zero"),
                                 fs::path("/dev/tty"), fs::path("/dev/stdin")}) {
        if (path == "/dev/stdin" && fs::is_regular_file(path)) {
            continue;
        }
        EXPECT_EQ(WhyNot(path), "it is no file but a folder, a pipe or a device") << path;
    }
}

TEST(InputFile, SaysWhyAFileCannotBeRead) {
    const TemporaryFolder folder;
    EXPECT_EQ(WhyNot(folder.Path() / "none"), "there is no such file");
    EXPECT_EQ(WhyNot(""), "there is no such file");
    EXPECT_EQ(WhyNot(folder.Write("a", "x") / "b"), "there is no such file");
    fs::permissions(folder.Path() / "a", fs::perms::none);
    const WithoutPrivileges asOthers;
    EXPECT_EQ(WhyNot(folder.Path() / "a"), "Permission denied");
}

}  // namespace
