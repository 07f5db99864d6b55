// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/UnfinishedFile.h"

#include "platform/kernel/WholeFile.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <set>

namespace {

using namespace norvex::kernel;
namespace fs = std::filesystem;

constexpr UnfinishedName kName{"made-", ".half"};

std::set<std::string> EntriesOf(const fs::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.insert(entry.path().filename());
    }
    return names;
}

// Another process that makes a file in the folder and is killed when this object goes.
class Maker {
  public:
    explicit Maker(const fs::path& folder) {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        m_process = fork();
        if (m_process == 0) {
            UnfinishedFile file;
            const char ready = file.Make(folder, kName, 0600) == 0 ? 'y' : 'n';
            static_cast<void>(!write(ends[1], &ready, 1));
            pause();
            _exit(0);
        }
        char ready = 0;
        EXPECT_EQ(read(ends[0], &ready, 1), 1);
        EXPECT_EQ(ready, 'y');
        close(ends[0]);
        close(ends[1]);
    }
    ~Maker() { Kill(); }
    void Kill() {
        if (m_process > 0) {
            kill(m_process, SIGKILL);
            waitpid(m_process, nullptr, 0);
            m_process = 0;
        }
    }

  private:
    pid_t m_process;
};

TEST(UnfinishedFile, GoesWithItsObjectUnlessItIsKept) {
    const TemporaryFolder folder;
    fs::path kept;
    {
        UnfinishedFile dropped;
        ASSERT_EQ(dropped.Make(folder.Path(), kName, 0600), 0);
        UnfinishedFile file;
        ASSERT_EQ(file.Make(folder.Path(), kName, 0600), 0);
        EXPECT_EQ(EntriesOf(folder.Path()).size(), 2U);
        kept = file.Path();
        file.Keep();
    }
    EXPECT_EQ(EntriesOf(folder.Path()), std::set<std::string>{kept.filename()});
}

TEST(UnfinishedFile, SaysWhyItCannotBeMade) {
    UnfinishedFile file;
    EXPECT_EQ(file.Make("/nowhere", kName, 0600), ENOENT);
    EXPECT_FALSE(file.IsThere());
}

TEST(AbandonedFiles, AreThoseWhoseMakerIsGone) {
    const TemporaryFolder folder;
    UnfinishedFile own;
    ASSERT_EQ(own.Make(folder.Path(), kName, 0600), 0);
    Maker other(folder.Path());
    const std::set<std::string> both = EntriesOf(folder.Path());
    ASSERT_EQ(both.size(), 2U);
    RemoveAbandonedFiles(folder.Path(), kName);
    EXPECT_EQ(EntriesOf(folder.Path()), both);
    other.Kill();
    EXPECT_EQ(EntriesOf(folder.Path()), both);
    RemoveAbandonedFiles(folder.Path(), kName);
    EXPECT_EQ(EntriesOf(folder.Path()), std::set<std::string>{own.Path().filename()});
}

TEST(AbandonedFiles, TakeWithThemWhatLiesBesideThem) {
    const TemporaryFolder folder;
    folder.Write("made-1.half", "");
    folder.Write("made-1.half-log", "");
    folder.Write("made-2.half-log", "nobody can tell whose");
    RemoveAbandonedFiles(folder.Path(), kName, {"-log"});
    EXPECT_EQ(EntriesOf(folder.Path()), std::set<std::string>{"made-2.half-log"});
}

TEST(AbandonedFiles, AreTakenForNothingElse) {
    const TemporaryFolder folder;
    const std::set<std::string> names{"made-.half",    "made-mine.half", "made-1.whole",
                                      "a made-1.half", "made-2.half",    "made-3.half"};
    for (const std::string& name : names) {
        if (name == "made-2.half") {
            fs::create_directory(folder.Path() / name);
        } else if (name == "made-3.half") {
            fs::create_symlink("made-.half", folder.Path() / name);
        } else {
            folder.Write(name, "");
        }
    }
    RemoveAbandonedFiles(folder.Path(), kName);
    EXPECT_EQ(EntriesOf(folder.Path()), names);
}

TEST(AbandonedFiles, LetGoOfNoFileThatHasItsNameByNow) {
    const TemporaryFolder folder;
    folder.Write("final", "whole");
    fs::create_hard_link(folder.Path() / "final", folder.Path() / "made-1.half");
    RemoveAbandonedFiles(folder.Path(), kName);
    EXPECT_EQ(EntriesOf(folder.Path()), std::set<std::string>{"final"});
}

TEST(AbandonedFiles, AreRemovedByTheNextWholeFileOfTheFolder) {
    const TemporaryFolder folder;
    for (int count = 0; count < 3; ++count) {
        const pid_t process = fork();
        if (process == 0) {
            WholeFile file;
            _exit(file.Open(folder.Path() / ("a" + std::to_string(count))) ? 1 : 0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(process, &status, 0), process);
        ASSERT_EQ(status, 0);
    }
    ASSERT_EQ(EntriesOf(folder.Path()).size(), 1U) << "each has removed what the one before it left";
    WholeFile file;
    ASSERT_EQ(file.Open(folder.Path() / "b"), std::nullopt);
    WholeFile second;
    ASSERT_EQ(second.Open(folder.Path() / "c"), std::nullopt);
    ASSERT_EQ(file.Commit("b"), std::nullopt);
    ASSERT_EQ(second.Commit("c"), std::nullopt);
    EXPECT_EQ(EntriesOf(folder.Path()), (std::set<std::string>{"b", "c"}));
}

}  // namespace
