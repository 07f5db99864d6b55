// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <set>
#include <vector>

#include "Faults.h"
#include "tests/service/store/StoreSupport.h"
#include "tests/service/support/Program.h"

// Requires: NORVEX_FAULT_SHIM names the shim.

namespace norvex::test {

// The shim's page of a program that is started with it.
class FaultPage {
  public:
    explicit FaultPage(std::filesystem::path path) : m_path(std::move(path)) {
        WriteFile(m_path, std::string(sizeof(FaultState), '\0'));
        const int descriptor = open(m_path.c_str(), O_RDWR | O_CLOEXEC);
        m_state = static_cast<FaultState*>(
            mmap(nullptr, sizeof(FaultState), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0));
        close(descriptor);
        m_state->plan = {};
    }
    FaultPage(const FaultPage&) = delete;
    FaultPage& operator=(const FaultPage&) = delete;
    ~FaultPage() { munmap(m_state, sizeof(FaultState)); }

    FaultState& State() { return *m_state; }
    // In the child, before the program begins.
    void Preload() const {
        setenv("LD_PRELOAD", NORVEX_FAULT_SHIM, 1);
        setenv("NORVEX_FAULTS", m_path.c_str(), 1);
    }

  private:
    std::filesystem::path m_path;
    FaultState* m_state = nullptr;
};

// A whole check of a small building with every output, disturbed and undisturbed. The project lies in memory: nothing
// here is about what a disk does.
class FaultyProgram : public Program {
  protected:
    using Json = nlohmann::json;

    struct Disturbed {
        ProcessResult result;
        std::uint64_t failed = 0;
        std::array<std::uint64_t, static_cast<std::size_t>(Call::Count)> calls{};
        std::string story;  // the plan in words
    };

    void SetUp() override {
        setenv("TMPDIR", "/dev/shm", 1);
        m_inMemory.emplace();
        unsetenv("TMPDIR");
        m_projects = m_inMemory->Path();
        PipeModel model;
        model.Storey("1层", 0).System("Cold water", "DOMESTICCOLDWATER").Ring({0, 0, 2500});
        model.Storey("2层", 3000).Ring({0, 0, 5500});
        m_model = Model(std::move(model));
    }

    std::vector<std::string> Arguments() const {
        return {"check",  m_model,         "--project", ProjectPath(), "--rule",  "pipe-loop",
                "--rule", "pipe-diameter", "-j",        "2",           "--json",  Out("a.json"),
                "--html", Out("a.html"),   "--bcf",     Out("a.bcf"),  "--sarif", Out("a.sarif")};
    }
    std::string Out(const std::string& name) const { return (m_inMemory->Path() / "out" / name).string(); }

    // Everything that a check writes, and the project, as they were before the first check.
    void Forget() const {
        std::filesystem::remove_all(ProjectPath());
        std::filesystem::remove_all(m_inMemory->Path() / "out");
        std::filesystem::remove_all(Path("state"));
        std::filesystem::create_directories(m_inMemory->Path() / "out");
    }

    // `secondsAhead`: a project whose last run began in this second makes the next one wait.
    Disturbed RunDisturbed(const std::vector<std::string>& arguments, const FaultPlan& plan,
                           std::int64_t secondsAhead = 0) const {
        FaultPage page(m_folder / "faults");
        page.State().plan = plan;
        page.State().clockAhead = secondsAhead;
        Disturbed run;
        run.result = Run(arguments, [&] { page.Preload(); });
        run.failed = page.State().failed;
        for (std::size_t call = 0; call < run.calls.size(); ++call) {
            run.calls[call] = page.State().calls[call];
        }
        if (plan.call != Call::Count) {
            run.story = fmt::format("{} {}{}: {}", kCallNames[static_cast<std::size_t>(plan.call)], plan.from,
                                    plan.times == 1 ? "" : " and later ones",
                                    plan.error == 0 ? "only half" : std::strerror(plan.error));
        }
        return run;
    }

    // The findings of a report, which must be whole; nothing when there is no report.
    static std::optional<Json> Findings(const std::string& file) {
        const Json report = Json::parse(FileText(file), nullptr, false);
        return report.is_discarded() ? std::nullopt : std::optional(report["findings"]);
    }

    // What stands in the folders that has no business there.
    std::set<std::string> Leftovers() const {
        std::set<std::string> names;
        for (const std::filesystem::path& root : {std::filesystem::path(ProjectPath()), m_inMemory->Path() / "out"}) {
            std::error_code none;
            for (const auto& entry : std::filesystem::recursive_directory_iterator(root, none)) {
                const std::string name = entry.path().filename().string();
                if (name.ends_with(".part") || name.starts_with("norvex-new-") || name == "control.socket" ||
                    name.ends_with("-wal") || name.ends_with("-journal")) {
                    names.insert(name);
                }
            }
        }
        return names;
    }

    // What holds for a check whose call failed, whichever it was: it ended by itself, said what happened when the
    // report is not whole, and lost nothing for the next one.
    void ExpectOrder(const FaultPlan& plan) {
        Forget();
        const Disturbed run = RunDisturbed(Arguments(), plan);
        SCOPED_TRACE(run.story + "\nexit code " + std::to_string(run.result.exitCode) + ", said:\n" + run.result.err +
                     run.result.out);
        if (run.failed == 0) {
            return;
        }
        ++m_struck;
        ASSERT_GE(run.result.exitCode, 0);
        ASSERT_LE(run.result.exitCode, 3) << "ended by a signal, or without control";
        const std::optional<Json> findings = Findings(Out("a.json"));
        if (run.result.exitCode <= 1) {
            EXPECT_EQ(run.result.exitCode, 1);
            ASSERT_TRUE(findings.has_value()) << "it says that all is well, and there is no report";
            EXPECT_EQ(*findings, *m_expected);
        } else {
            // What could not be delivered or begun is said at once; what was not checked stands in the report. When no
            // write succeeds any more, nothing can be said.
            const bool isMute = plan.call == Call::Write && plan.times != 1;
            EXPECT_TRUE(isMute || run.result.err.find("norvex: ") != std::string::npos ||
                        run.result.out.find("Incomplete") != std::string::npos)
                << "nothing was said";
        }
        for (const char* name : {"a.json", "a.html", "a.bcf", "a.sarif"}) {
            if (std::filesystem::exists(Out(name))) {
                EXPECT_GT(std::filesystem::file_size(Out(name)), 0U) << name << " is empty";
            }
        }
        const Disturbed next = RunDisturbed(Arguments(), {}, 10);
        ASSERT_EQ(next.result.exitCode, 1) << "the next check: " << next.result.err;
        EXPECT_EQ(Findings(Out("a.json")), m_expected);
        EXPECT_EQ(Leftovers(), std::set<std::string>()) << "after the next check";
        auto project = store::ProjectStore::Open(ProjectPath());
        ASSERT_TRUE(project.Ok());
        EXPECT_TRUE(project->CheckIntegrity().Ok());
    }

    // Runs an undisturbed check: what is expected of all others, and how often each call is made.
    void Learn() {
        Forget();
        const Disturbed run = RunDisturbed(Arguments(), {});
        ASSERT_EQ(run.result.exitCode, 1) << run.result.err;
        m_expected = Findings(Out("a.json"));
        ASSERT_TRUE(m_expected.has_value());
        ASSERT_EQ(m_expected->size(), 2U);
        m_calls = run.calls;
    }

    // Lets calls of each kind fail: all of them where there are at most `most`, else so many, evenly spread.
    void ExpectOrderWhenCallsFail(std::uint64_t most) {
        struct Kind {
            Call call;
            std::vector<int> errors;
        };
        const std::vector<Kind> kinds{{Call::Open, {ENOSPC, EMFILE}}, {Call::Read, {EIO}},
                                      {Call::Write, {ENOSPC, EIO}},   {Call::Sync, {EIO}},
                                      {Call::Resize, {ENOSPC}},       {Call::Rename, {EIO}},
                                      {Call::Remove, {EIO}},          {Call::MakeFolder, {ENOSPC}},
                                      {Call::Lock, {ENOLCK}},         {Call::Fork, {EAGAIN}},
                                      {Call::Thread, {EAGAIN}},       {Call::Pipe, {EMFILE}},
                                      {Call::Socket, {EMFILE}}};
        for (const Kind& kind : kinds) {
            const std::uint64_t count = m_calls[static_cast<std::size_t>(kind.call)];
            const std::uint64_t step = std::max<std::uint64_t>(1, (count + most - 1) / most);
            for (const int error : kind.errors) {
                for (std::uint64_t nth = 1; nth <= count; nth += step) {
                    ExpectOrder({.call = kind.call, .from = nth, .times = 1, .every = 1, .error = error});
                    if (HasFatalFailure()) {
                        return;
                    }
                }
                // A disk that stays full, a limit that stays reached.
                ExpectOrder({.call = kind.call,
                             .from = 1 + count / 2,
                             .times = std::numeric_limits<std::uint64_t>::max(),
                             .every = 1,
                             .error = error});
            }
        }
        std::cout << m_struck << " checks had a call that failed\n";
    }

    std::optional<TemporaryFolder> m_inMemory;
    std::string m_model;
    std::optional<Json> m_expected;
    std::array<std::uint64_t, static_cast<std::size_t>(Call::Count)> m_calls{};
    std::size_t m_struck = 0;
};

}  // namespace norvex::test
