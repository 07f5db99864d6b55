// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <map>
#include <random>
#include <thread>

#include "FaultyProgram.h"
#include "service/store/TrustExchange.h"

using namespace norvex::test;

namespace {

std::string CodeOf(int number) {
    return fmt::format("_{:032x}", number);
}

class KillsLong : public FaultyProgram {
  protected:
    enum class Action { Check, Resume, NewProject, AddTrust, RemoveTrust, ImportTrust };
    static constexpr std::array kNames{"check",     "check --resume", "first check",
                                       "trust add", "trust remove",   "trust import"};
    // Entries of one document: all of them are imported, or none.
    static constexpr int kEntries = 40;
    // None of those that the checks here run.
    static constexpr const char* kAcceptedRule = "pipe-link";

    std::vector<std::string> CommandOf(Action action) {
        switch (action) {
            case Action::Resume: {
                std::vector<std::string> arguments = Arguments();
                arguments.push_back("--resume");
                return arguments;
            }
            case Action::NewProject: {
                std::vector<std::string> arguments = Arguments();
                *std::find(arguments.begin(), arguments.end(), ProjectPath()) = NewProject();
                return arguments;
            }
            case Action::AddTrust:
                return {"trust",       "add",      "--project", ProjectPath(), "--rule",
                        kAcceptedRule, "--person", "somebody",  "--reason",    "a reason"};
            case Action::RemoveTrust:
                return {"trust",    "remove",   "--project", ProjectPath(), std::to_string(m_lastId),
                        "--person", "somebody", "--reason",  "a reason"};
            case Action::ImportTrust:
                WriteFile(Path("trust.json"), Document());
                return {"trust", "import", Path("trust.json"), "--project", ProjectPath()};
            case Action::Check:
                break;
        }
        return Arguments();
    }

    std::string NewProject() const { return (m_inMemory->Path() / "new").string(); }

    std::string Document() const {
        std::vector<store::TrustEntry> entries;
        for (int number = m_next; number < m_next + kEntries; ++number) {
            store::TrustEntry entry = TrustedFinding(CodeOf(number));
            entry.rule = "CCheckPipeLoop";
            entry.addedOn = "2026-03-01";
            entries.push_back(entry);
        }
        return store::TrustDocument(entries);
    }

    // The codes in force, by the entry's number; of the accepted rule the rule's name.
    std::map<store::TrustId, std::string> Trust() const {
        std::map<store::TrustId, std::string> codes;
        for (const store::TrustListing& listing :
             Expect(Expect(store::ProjectStore::Open(ProjectPath())).ListTrust())) {
            codes[listing.entry.id] = listing.entry.featureCode + listing.entry.rule;
        }
        return codes;
    }

    bool HasOpenRun() const {
        return Expect(Expect(store::ProjectStore::Open(ProjectPath())).FindOpenRun()).has_value();
    }

    // Starts the program with a clock that no earlier run has seen, so that none waits for the next second.
    void Begin(FaultPage& page, std::optional<RunningProcess>& running, Action action) {
        page.State().clockAhead += 2;
        running.emplace(Command(CommandOf(action)), InFolder([&] { page.Preload(); }));
    }

    // How long an action takes when nothing ends it.
    std::chrono::microseconds LengthOf(FaultPage& page, Action action) {
        std::optional<RunningProcess> running;
        const auto begin = std::chrono::steady_clock::now();
        Begin(page, running, action);
        EXPECT_LE(running->Wait(), 1) << kNames[static_cast<std::size_t>(action)];
        return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - begin);
    }

    // What holds of the entries after a kill, given those of before.
    void ExpectTrustWholeAfter(Action action, const std::map<store::TrustId, std::string>& before) {
        const std::map<store::TrustId, std::string> after = Trust();
        const std::size_t added = action == Action::AddTrust ? 1 : action == Action::ImportTrust ? kEntries : 0;
        const std::size_t removed = action == Action::RemoveTrust ? 1 : 0;
        ASSERT_TRUE(after.size() == before.size() || after.size() == before.size() + added - removed)
            << before.size() << " entries became " << after.size();
        for (const auto& [id, code] : before) {
            const auto found = after.find(id);
            ASSERT_TRUE(found != after.end() || (action == Action::RemoveTrust && id == m_lastId)) << "entry " << id;
            ASSERT_TRUE(found == after.end() || found->second == code);
        }
        m_next += kEntries;
        TakeNext(after);
    }

    // What the next removal takes: the accepted rule, which cannot be accepted twice, else the newest entry.
    void TakeNext(const std::map<store::TrustId, std::string>& entries) {
        const auto rule =
            std::find_if(entries.begin(), entries.end(), [](const auto& entry) { return entry.second[0] != '_'; });
        m_isRuleAccepted = rule != entries.end();
        m_lastId = m_isRuleAccepted ? rule->first : entries.empty() ? 0 : entries.rbegin()->first;
    }

    // A check that nothing ends finds what it should and cleans up.
    void ExpectGoodCheck(FaultPage& page) {
        for (const std::string& project : {ProjectPath(), NewProject()}) {
            std::vector<std::string> arguments = Arguments();
            *std::find(arguments.begin(), arguments.end(), ProjectPath()) = project;
            page.State().clockAhead += 2;
            const ProcessResult result = Run(arguments, [&] { page.Preload(); });
            ASSERT_EQ(result.exitCode, 1) << result.err;
            ASSERT_EQ(Findings(Out("a.json")), m_expected);
            ASSERT_TRUE(Expect(store::ProjectStore::Open(project)).CheckIntegrity().Ok());
        }
        ASSERT_EQ(Leftovers(), std::set<std::string>());
    }

    int m_next = 1;
    bool m_isRuleAccepted = false;
    store::TrustId m_lastId = 0;
};

// Nothing that was said to be kept is lost, nothing is there in half, nothing stays behind, and the next run is right.
TEST_F(KillsLong, LoseNothingAtAThousandMoments) {
    Learn();
    FaultPage page(m_folder / "faults");
    std::filesystem::create_directories(NewProject());
    std::map<Action, std::chrono::microseconds> lengths;
    for (const Action action : {Action::Check, Action::NewProject, Action::AddTrust, Action::ImportTrust}) {
        const std::map<store::TrustId, std::string> before = Trust();
        lengths[action] = LengthOf(page, action);
        ExpectTrustWholeAfter(action, before);
    }
    lengths[Action::RemoveTrust] = LengthOf(page, Action::RemoveTrust);
    TakeNext(Trust());
    lengths[Action::Resume] = lengths[Action::Check];
    std::mt19937 random(20261122);
    std::map<Action, int> killed;
    int kills = 0;
    for (int round = 0; kills < 1000; ++round) {
        ASSERT_LT(round, 5000) << "too many runs came to their end before they could be killed";
        auto action = static_cast<Action>(random() % kNames.size());
        if (action == Action::Resume && !HasOpenRun()) {
            action = Action::Check;
        }
        if (action == Action::AddTrust && m_isRuleAccepted) {
            action = Action::RemoveTrust;
        }
        if (action == Action::NewProject) {
            std::filesystem::remove_all(NewProject());
        }
        SCOPED_TRACE(fmt::format("round {}: {}", round, kNames[static_cast<std::size_t>(action)]));
        const std::map<store::TrustId, std::string> before = Trust();
        std::optional<RunningProcess> running;
        Begin(page, running, action);
        std::uniform_int_distribution<std::int64_t> delay(0, lengths[action].count() * 11 / 10);
        std::this_thread::sleep_for(std::chrono::microseconds(delay(random)));
        running->Signal(SIGKILL);
        const bool isKilled = running->Wait() == 128 + SIGKILL;
        kills += isKilled ? 1 : 0;
        killed[action] += isKilled ? 1 : 0;
        ExpectTrustWholeAfter(action, before);
        if (round % 10 == 9) {
            ExpectGoodCheck(page);
        }
        if (HasFatalFailure()) {
            return;
        }
    }
    ExpectGoodCheck(page);
    for (const auto& [action, count] : killed) {
        std::cout << kNames[static_cast<std::size_t>(action)] << ": killed " << count << " times\n";
        EXPECT_GT(count, 30);
    }
}

}  // namespace
