// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <random>
#include <set>
#include <sstream>
#include <thread>

#include "ChildProcess.h"
#include "StoreSupport.h"

using namespace norvex::test;
using namespace norvex::service::store;

namespace {

// A feature code for any number.
std::string NumberedCode(std::int64_t number) {
    std::string code = "_";
    for (int shift = 124; shift >= 0; shift -= 4) {
        code += "0123456789abcdef"[shift >= 60 ? 0 : (number >> shift) & 15];
    }
    return code;
}

UnitKey NumberedUnit(std::int64_t number) {
    return {std::to_string(number) + "层", "给排水", "CCheckPipeLoop"};
}

// Adds trust entries and units from `next` on until it is killed, and says so once each is committed. A unit has as
// many findings as its number modulo 7.
int WriteUntilKilled(const std::filesystem::path& folder, std::int64_t next, int announce) {
    auto project = ProjectStore::Open(folder);
    if (!project) {
        return 1;
    }
    Say(announce, "open");
    auto run = project->BeginRun(Identity());
    if (!run) {
        return 2;
    }
    Say(announce, "run " + std::to_string(run->id));
    for (std::int64_t number = next;; ++number) {
        if (!project->AddTrust(TrustedFinding(NumberedCode(number)))) {
            return 3;
        }
        Say(announce, "trust " + std::to_string(number));
        const std::vector<Finding> findings(static_cast<std::size_t>(number % 7), FindingOf(NumberedCode(number)));
        if (!project->CommitUnit(run->id, Outcome(NumberedUnit(number), UnitResult::Failed), findings)) {
            return 4;
        }
        Say(announce, "unit " + std::to_string(run->id) + " " + std::to_string(number));
    }
}

struct Announced {
    std::set<std::int64_t> trust;
    std::set<RunId> runs;
    std::set<std::pair<RunId, std::int64_t>> units;
    std::int64_t next = 1;

    void Take(const std::string& text) {
        std::istringstream lines(text);
        std::string line;
        while (std::getline(lines, line) && !lines.eof()) {
            std::istringstream words(line);
            std::string kind;
            std::int64_t first = 0;
            std::int64_t second = 0;
            words >> kind >> first >> second;
            if (kind == "run") {
                runs.insert(first);
            } else if (kind == "trust") {
                trust.insert(first);
            } else if (kind == "unit") {
                units.insert({first, second});
            }
        }
    }
};

// What was committed but not announced may be there too; nothing else, and no half of anything.
void ExpectEverythingAnnounced(ProjectStore& project, Announced& announced) {
    Expect(project.CheckIntegrity());
    std::set<std::string> codes;
    const std::vector<TrustListing> listings = Expect(project.ListTrust());
    for (const TrustListing& listing : listings) {
        codes.insert(listing.entry.featureCode);
    }
    ASSERT_EQ(codes.size(), listings.size());
    for (const std::int64_t number : announced.trust) {
        ASSERT_TRUE(codes.contains(NumberedCode(number))) << "trust " << number << " is lost";
    }
    ASSERT_LE(codes.size(), announced.trust.size() + 1);
    announced.next = static_cast<std::int64_t>(codes.size()) + 1;
    for (std::int64_t number = 1; number < announced.next; ++number) {
        announced.trust.insert(number);
    }
    const RunRecord last = Expect(project.ListRuns()).back();
    ASSERT_TRUE(announced.runs.empty() || last.id >= *announced.runs.rbegin());
    const RunContents contents = Expect(project.LoadRun(last.id));
    std::map<UnitKey, std::size_t> findingsOf;
    for (const UnitOutcome& unit : contents.units) {
        findingsOf[unit.unit] = 0;
    }
    for (const StoredFinding& finding : contents.findings) {
        ++findingsOf.at(finding.unit);
        ASSERT_EQ(finding.finding.objects.size(), 1U);
    }
    for (const auto& [run, number] : announced.units) {
        if (run == last.id) {
            ASSERT_TRUE(findingsOf.contains(NumberedUnit(number))) << "unit " << number << " is lost";
        }
    }
    for (const auto& [unit, count] : findingsOf) {
        ASSERT_EQ(count, static_cast<std::size_t>(std::stoll(unit.floor) % 7))
            << "unit " << unit.floor << " is in half";
    }
}

}  // namespace

// kill -9 loses nothing that was announced, over 120 kills of writers that go on in one and the same database.
TEST(Crash, LosesNothingCommittedAt120RandomMoments) {
    constexpr int kKills = 120;
    const ProjectFolder folder;
    std::mt19937 random(20260301);
    Announced announced;
    for (int round = 0; round < kKills; ++round) {
        std::string said;
        {
            ChildProcess writer(
                [&](int announce) { return WriteUntilKilled(folder.Path(), announced.next, announce); });
            ASSERT_EQ(writer.ReadLine(), "open");
            // The moment: some commits from now, and then some time into the next ones.
            for (auto commits = random() % 8; commits > 0; --commits) {
                said += writer.ReadLine() + "\n";
            }
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 10000));
            kill(writer.Id(), SIGKILL);
            said += writer.ReadToEnd();
            ASSERT_EQ(writer.Wait(), -1) << "the writer ended by itself";
        }
        announced.Take(said);
        ProjectStore project = OpenStore(folder);
        if (Expect(project.ListRuns()).empty()) {
            continue;
        }
        ExpectEverythingAnnounced(project, announced);
        if (HasFatalFailure()) {
            FAIL() << "after kill " << round + 1;
        }
        // The next writer finds the run that was cut off, as a resume would.
        ASSERT_TRUE(Expect(project.FindOpenRun()).has_value());
    }
    EXPECT_GT(announced.units.size(), std::size_t{kKills}) << "too little was written to lose any of it";
    std::cout << kKills << " kills; " << announced.trust.size() << " trust entries and " << announced.units.size()
              << " units were announced, none was lost\n";
}

// The database itself being made when the process dies.
TEST(Crash, WhileTheDatabaseIsMadeLeavesOneThatOpens) {
    std::mt19937 random(7);
    for (int round = 0; round < 40; ++round) {
        const ProjectFolder folder;
        {
            ChildProcess writer([&](int) {
                auto project = ProjectStore::Open(folder.Path());
                return project && project->AddTrust(TrustedFinding(Code(1))) ? 0 : 1;
            });
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
        }
        ProjectStore project = OpenStore(folder);
        Expect(project.CheckIntegrity());
        EXPECT_LE(Expect(project.ListTrust()).size(), 1U);
    }
}

// What the disk holds after a power failure is everything up to the last flush and perhaps some of what followed. The
// log is cut at every length from there on, so that torn writes are among them.
TEST(Crash, KeepsEveryCommittedEntryWhenTheLogIsTorn) {
    const ProjectFolder folder;
    std::vector<std::uintmax_t> sizes;
    const std::filesystem::path log = folder.Database().string() + "-wal";
    const ProjectFolder copy;
    {
        ProjectStore project = OpenStore(folder);
        for (int number = 1; number <= 8; ++number) {
            Expect(project.AddTrust(TrustedFinding(NumberedCode(number))));
            sizes.push_back(std::filesystem::file_size(log));
        }
        std::filesystem::copy(folder.Database(), copy.Path() / "database");
        std::filesystem::copy(log, copy.Path() / "log");
    }
    const std::filesystem::path cutLog = copy.Database().string() + "-wal";
    std::mt19937 random(5);
    for (std::size_t committed = 1; committed <= sizes.size(); ++committed) {
        const std::uintmax_t next = committed < sizes.size() ? sizes[committed] : sizes.back();
        for (int cut = 0; cut < 12; ++cut) {
            const std::uintmax_t length = cut == 0 || next == sizes[committed - 1]
                                              ? sizes[committed - 1]
                                              : sizes[committed - 1] + random() % (next - sizes[committed - 1]);
            std::filesystem::remove(copy.Database().string() + "-shm");
            std::filesystem::copy_file(copy.Path() / "database", copy.Database(),
                                       std::filesystem::copy_options::overwrite_existing);
            std::filesystem::copy_file(copy.Path() / "log", cutLog, std::filesystem::copy_options::overwrite_existing);
            std::filesystem::resize_file(cutLog, length);
            ProjectStore project = OpenStore(copy);
            ASSERT_EQ(Expect(project.ListTrust()).size(), committed) << "log cut at " << length;
            Expect(project.CheckIntegrity());
        }
    }
}
