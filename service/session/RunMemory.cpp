// SPDX-License-Identifier: Apache-2.0
#include "service/session/RunMemory.h"

#include <fmt/format.h>
#include <algorithm>
#include <utility>

#include "platform/text/Utf8.h"
#include "service/session/Annotate.h"
#include "service/session/Convert.h"
#include "service/session/StoredReport.h"

namespace norvex::service::session {
namespace {

using store::Done;
using store::RunStatus;
using store::StoreError;
using store::StoreErrorCode;

// How a run ended, from what its tasks came to and what the report says is missing: parts of the model, rule modules.
RunStatus StatusOf(const RunReport& report) {
    const auto has = [&](Outcome outcome) {
        return std::any_of(report.tasks.begin(), report.tasks.end(),
                           [&](const TaskRecord& task) { return task.outcome == outcome; });
    };
    return has(Outcome::Cancelled)                               ? RunStatus::Cancelled
           : has(Outcome::Crashed) || !report.incomplete.empty() ? RunStatus::Partial
                                                                 : RunStatus::Complete;
}

// Whether something of the run is left to do.
bool IsInterrupted(const store::RunRecord& run) {
    return run.status == RunStatus::Running || run.status == RunStatus::Cancelled;
}

std::string ClockSentence(const store::RunRecord& run) {
    return fmt::format(
        "The computer's clock says {}, which is before an earlier run of the project began; one of the two times is "
        "wrong. Runs are ordered by their numbers.",
        run.startedAt);
}

}  // namespace

NS_NORVEX::TrustStatus RunMemory::LateTrust::StatusOf(const std::string& rule, const std::string& specialty) {
    return m_trust ? m_trust->StatusOf(rule, specialty) : m_nothing.StatusOf(rule, specialty);
}

CZRArray<NS_NORVEX::ComponentInfo>& RunMemory::LateTrust::FloorsOf(const std::string& rule,
                                                                   const std::string& specialty) {
    return m_trust ? m_trust->FloorsOf(rule, specialty) : m_nothing.FloorsOf(rule, specialty);
}

bool RunMemory::LateTrust::IsFindingTrusted(const std::string& featureCode) {
    return m_trust && m_trust->IsFindingTrusted(featureCode);
}

store::Result<std::unique_ptr<RunMemory>> RunMemory::Open(const std::filesystem::path& projectFolder, MemoryUse use) {
    std::unique_ptr<RunMemory> memory(new RunMemory(use));
    store::StoreOptions options;
    if (use == MemoryUse::ReadOnly) {
        options.access = store::Access::ReadOnly;
    } else {
        store::Result<store::RunLock> lock = store::RunLock::Acquire(projectFolder);
        if (!lock) {
            return lock.Error();
        }
        memory->m_lock.emplace(std::move(*lock));
    }
    store::Result<store::ProjectStore> opened = store::ProjectStore::Open(projectFolder, options);
    if (opened) {
        memory->m_store.emplace(std::move(*opened));
    } else if (use != MemoryUse::ReadOnly || (opened.Error().code != StoreErrorCode::NothingStored &&
                                              opened.Error().code != StoreErrorCode::NoProject)) {
        return opened.Error();
    }
    return memory;
}

store::Status RunMemory::Begin(const store::RunIdentity& identity) {
    if (!m_store) {
        return Done{};
    }
    if (store::Status chosen = ChooseBaseline(); !chosen) {
        return chosen;
    }
    switch (m_use) {
        case MemoryUse::Remember:
            return BeginNew(identity);
        case MemoryUse::Resume:
            return GoOn(identity);
        case MemoryUse::ReadOnly:
            m_run.identity = identity;
            return TakeTrust(m_store->TrustInForce());
    }
    return Done{};
}

store::Status RunMemory::BeginNew(const store::RunIdentity& identity) {
    RemarkOnOpenRun();
    store::Result<store::RunRecord> run = m_store->BeginRun(identity);
    if (!run) {
        return run.Error();
    }
    m_run = std::move(*run);
    if (m_run.clockWentBack) {
        m_remarks.push_back(ClockSentence(m_run));
    }
    return TakeTrust(m_store->TrustOfRun(m_run.id));
}

store::Status RunMemory::GoOn(const store::RunIdentity& identity) {
    store::Result<std::optional<store::RunRecord>> open = m_store->FindOpenRun();
    if (!open) {
        return open.Error();
    }
    if (!*open || !IsInterrupted(**open)) {
        return StoreError{StoreErrorCode::InvalidInput,
                          fmt::format("There is nothing to resume in \"{}\": no run of it was interrupted.",
                                      m_store->DatabasePath().parent_path().string())};
    }
    m_run = std::move(**open);
    if (const std::optional<std::string> change = store::ChangeThatPreventsResume(m_run.identity, identity)) {
        return StoreError{StoreErrorCode::InvalidInput, *change};
    }
    store::Result<store::RunContents> done = m_store->LoadRun(m_run.id);
    if (!done) {
        return done.Error();
    }
    m_done.emplace(std::move(*done));
    if (store::Status reopened = m_store->ReopenRun(m_run.id); !reopened) {
        return reopened;
    }
    return TakeTrust(m_store->TrustOfRun(m_run.id));
}

store::Status RunMemory::TakeTrust(store::Result<store::TrustView> view) {
    if (!view) {
        return view.Error();
    }
    m_trustEntries = view->Entries();
    m_trust.Set(std::move(*view));
    return Done{};
}

// Chosen before the run begins, so that it is never the run itself; a run that is resumed is newer than it.
store::Status RunMemory::ChooseBaseline() {
    const store::Result<std::optional<store::RunRecord>> last = m_store->LastCompleteRun();
    if (!last) {
        return last.Error();
    }
    if (*last) {
        m_baseline = (*last)->id;
    }
    return Done{};
}

void RunMemory::RemarkOnOpenRun() {
    const store::Result<std::optional<store::RunRecord>> open = m_store->FindOpenRun();
    if (open && *open && IsInterrupted(**open)) {
        m_remarks.push_back(
            fmt::format("Run {} of the project, begun {}, was interrupted; it stays as it is, and --resume in place of "
                        "a new run would have gone on with it.",
                        (*open)->id, (*open)->startedAt));
    }
}

std::map<std::size_t, TaskResult> RunMemory::Finished(const RunPlan& plan, const FloorSource& source) {
    std::map<std::size_t, TaskResult> finished;
    if (!m_done) {
        return finished;
    }
    std::map<store::UnitKey, std::vector<const store::StoredFinding*>> findings;
    for (const store::StoredFinding& finding : m_done->findings) {
        findings[finding.unit].push_back(&finding);
    }
    std::map<store::UnitKey, const store::UnitOutcome*> outcomes;
    for (const store::UnitOutcome& outcome : m_done->units) {
        if (store::IsDone(outcome.result)) {
            outcomes[outcome.unit] = &outcome;
        }
    }
    for (std::size_t index = 0; index < plan.tasks.size(); ++index) {
        const PlannedTask& task = plan.tasks[index];
        const store::UnitKey unit{source.Floors()[plan.floors[task.floor]].name,
                                  task.specialty ? text::ToUtf8(plan.specialties[*task.specialty]) : std::string(),
                                  plan.rules[task.rule].record.name};
        if (const auto done = outcomes.find(unit); done != outcomes.end()) {
            finished.emplace(index, ResultOf(*done->second, findings[unit]));
        }
    }
    return finished;
}

void RunMemory::Remember(const TaskResult& result) {
    // Once something is missing, the run stays open, and what follows would only wait for the same trouble again.
    if (!m_store || m_use == MemoryUse::ReadOnly || m_failure) {
        return;
    }
    // Nothing is lost when these wait for the end of the run, and a cancelled run has to end soon.
    if (result.task.outcome == Outcome::Cancelled && result.findings.empty()) {
        m_cancelled.push_back(StoredOutcome(result.task));
        return;
    }
    const store::Status kept =
        m_store->CommitUnit(m_run.id, StoredOutcome(result.task), StoredFindings(result.findings));
    if (!kept) {
        Fail(fmt::format("Not all of run {} is remembered", m_run.id), kept.Error());
    }
}

void RunMemory::Conclude(RunReport& report) {
    report.resumed = m_done.has_value();
    if (!m_store) {
        Annotate(report, m_run, {}, nullptr);
        return;
    }
    if (m_use != MemoryUse::ReadOnly && !m_failure) {
        if (const store::Status ended = m_store->EndRun(m_run.id, StatusOf(report), m_cancelled); !ended) {
            Fail(fmt::format("The end of run {} is not remembered", m_run.id), ended.Error());
        }
    }
    std::optional<store::RunContents> before;
    if (m_baseline) {
        store::Result<store::RunContents> loaded = m_store->LoadRun(*m_baseline);
        if (loaded) {
            before.emplace(std::move(*loaded));
        } else {
            Fail(fmt::format("The run is not compared with run {}", *m_baseline), loaded.Error());
        }
    }
    Annotate(report, m_run, m_trustEntries, before ? &*before : nullptr);
    if (const store::Result<std::vector<store::TrustListing>> listings = m_store->ListTrust()) {
        report.acceptances = AcceptanceRecords(*listings);
        NoteExpired(report, *listings);
    } else {
        Fail("What is accepted in the project is not in the report", listings.Error());
    }
}

void RunMemory::NoteFirstReported(RunReport& report) {
    if (!m_store) {
        return;
    }
    if (const store::Status noted = session::NoteFirstReported(*m_store, report); !noted) {
        Fail("When findings were first reported is not known", noted.Error());
    }
}

// The first failure is the one that explains the others.
void RunMemory::Fail(std::string what, const StoreError& error) {
    if (!m_failure) {
        m_failure = fmt::format("{}: {}", what, error.sentence);
    }
}

}  // namespace norvex::service::session
