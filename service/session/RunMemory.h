// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "service/CheckRun.h"
#include "service/TrustStore.h"
#include "service/store/ProjectStore.h"
#include "service/store/RunLock.h"
#include "service/store/RunTrust.h"

namespace norvex::service::session {

// What a check does with the project's memory.
enum class MemoryUse : std::uint8_t {
    Remember,  // records a new run
    Resume,    // goes on with the interrupted one
    ReadOnly,  // writes nothing, but uses what is accepted, and compares
};

// A run's connection to the memory of its project. Nothing is checked unless it opens and begins; after that, what
// cannot be remembered does not stop the run, but is told at its end. Check thread only, and never in a child process.
class RunMemory {
  public:
    // Keeps other checks of the project away, unless it only reads. Errors: those of RunLock and ProjectStore.
    static store::Result<std::unique_ptr<RunMemory>> Open(const std::filesystem::path& projectFolder, MemoryUse use);

    // What is accepted; nothing before the run begins.
    TrustStore& Trust() { return m_trust; }

    // Begins the run, or goes on with the interrupted one. Errors: those of ProjectStore; NothingToResume, a change
    // that prevents it, as InvalidInput.
    store::Status Begin(const store::RunIdentity& identity);

    // What is done already of a resumed run, by index into the plan's tasks.
    std::map<std::size_t, TaskResult> Finished(const RunPlan& plan, const FloorSource& source);

    // Keeps what one task came to.
    void Remember(const TaskResult& result);

    // Ends the run and writes into its report what the project knows.
    void Conclude(RunReport& report);

    // Writes into a concluded report when each finding was first reported; what wants to know that asks for it.
    void NoteFirstReported(RunReport& report);

    // One sentence for each thing that the user should hear of, though it stops nothing.
    const std::vector<std::string>& Remarks() const { return m_remarks; }
    // One sentence that says what could not be remembered or looked up; nothing when all could.
    const std::optional<std::string>& Failure() const { return m_failure; }

  private:
    // Answers with what holds for the run once that is known.
    class LateTrust final : public TrustStore {
      public:
        void Set(store::TrustView view) { m_trust.emplace(std::move(view)); }
        NS_NORVEX::TrustStatus StatusOf(const std::string& rule, const std::string& specialty) override;
        CZRArray<NS_NORVEX::ComponentInfo>& FloorsOf(const std::string& rule, const std::string& specialty) override;
        bool IsFindingTrusted(const std::string& featureCode) override;

      private:
        std::optional<store::RunTrust> m_trust;
        NothingTrusted m_nothing;
    };

    explicit RunMemory(MemoryUse use) : m_use(use) {}

    store::Status BeginNew(const store::RunIdentity& identity);
    store::Status GoOn(const store::RunIdentity& identity);
    store::Status TakeTrust(store::Result<store::TrustView> view);
    store::Status ChooseBaseline();
    void RemarkOnOpenRun();
    void Fail(std::string what, const store::StoreError& error);

    MemoryUse m_use;
    std::optional<store::RunLock> m_lock;
    std::optional<store::ProjectStore> m_store;  // nothing: the project has no memory yet, and it is only read
    LateTrust m_trust;
    std::vector<store::TrustEntry> m_trustEntries;
    store::RunRecord m_run;
    std::optional<store::RunContents> m_done;  // of a resumed run, what was done before
    std::optional<store::RunId> m_baseline;    // the run that this one is compared with
    std::vector<std::string> m_remarks;
    std::optional<std::string> m_failure;
    std::vector<store::UnitOutcome> m_cancelled;  // not kept yet
};

// Passes on what a run tells to another observer, and lets the memory keep every finished task first.
class RememberingObserver final : public RunObserver {
  public:
    RememberingObserver(RunMemory& memory, RunObserver& next) : m_memory(memory), m_next(next) {}

    void OnTask(std::size_t index, const TaskRecord& task) override { m_next.OnTask(index, task); }
    void OnTaskProgress(std::size_t index, int percent) override { m_next.OnTaskProgress(index, percent); }
    void OnTaskEnd(std::size_t index, const TaskResult& result) override {
        m_memory.Remember(result);
        m_next.OnTaskEnd(index, result);
    }
    void OnWish() override { m_next.OnWish(); }

  private:
    RunMemory& m_memory;
    RunObserver& m_next;
};

}  // namespace norvex::service::session
