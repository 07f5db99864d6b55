// SPDX-License-Identifier: Apache-2.0
#include "service/CheckRun.h"

#include <malloc.h>
#include <sched.h>

#include <fmt/format.h>
#include <algorithm>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "norvexdata/state/NorvexData.h"
#include "norvexdata/state/Vocabulary.h"
#include "platform/text/CodePage.h"
#include "platform/text/Utf8.h"
#include "service/Words.h"
#include "service/store/FloorNames.h"
#include "service/work/WorkerPool.h"

namespace norvex::service {
namespace {

// Finished; the module itself only knows 0, not checked, and 1, being checked.
constexpr auto kCategoryChecked = static_cast<NS_NORVEX::CategoryStatus>(2);

// The pieces of an attribute-name path; empty unless there are four.
std::vector<CString> SplitPath(const CString& path) {
    std::vector<CString> pieces;
    int start = 0;
    for (CString piece = path.Tokenize(u"\\", start); start >= 0; piece = path.Tokenize(u"\\", start)) {
        pieces.push_back(piece);
    }
    return pieces.size() == 4 ? pieces : std::vector<CString>();
}

std::size_t Processors() {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    return sched_getaffinity(0, sizeof allowed, &allowed) == 0 ? static_cast<std::size_t>(CPU_COUNT(&allowed)) : 1;
}

// Whether a rule passed is not for the rule to say: it follows from what it looked at and reported.
void Conclude(const work::TaskEnded& end, TaskRecord& task) {
    task.examined = end.examined;
    task.notExamined = end.notExamined;
    task.reason = end.reason;
    if (end.end == NS_NORVEX::eRuleCrashed) {
        task.outcome = Outcome::Crashed;
    } else if (end.end == NS_NORVEX::eRuleCancelled) {
        task.outcome = Outcome::Cancelled;
        task.reason = "the run was cancelled meanwhile";
    } else if (end.end == NS_NORVEX::eRuleTrusted) {
        task.outcome = Outcome::Skipped;
        task.reason = "the whole rule is trusted";
    } else if (task.findings > task.reminders) {
        task.outcome = Outcome::Failed;
    } else if (task.examined > 0 || task.reminders > 0) {
        task.outcome = Outcome::Passed;
    } else {
        task.outcome = Outcome::NotApplicable;
        if (task.reason.empty()) {
            task.reason = "nothing there that the rule is about";
        }
    }
}

class Run final : public work::PoolListener {
  public:
    Run(Host& host, FloorSource& source, const RunPlan& plan, const datamng::ProjectData& project,
        RunObserver& observer, RunControl& control, RunSettings settings)
        : m_host(host),
          m_source(source),
          m_plan(plan),
          m_project(project),
          m_observer(observer),
          m_control(control),
          m_settings(std::move(settings)),
          m_results(plan.tasks.size()) {}

    RunReport Execute();

    void OnBegun(std::size_t index) override;
    void OnProgress(std::size_t index, int percent) override;
    void OnFound(std::size_t index, FindingRecord finding) override;
    void OnEnded(std::size_t index, const work::TaskEnded& end, std::chrono::microseconds duration) override;
    void OnBroken(std::size_t index, const std::string& reason, std::chrono::microseconds duration) override;
    void OnKilled(std::size_t index, std::chrono::microseconds duration) override;
    void OnWish() override { m_observer.OnWish(); }
    std::string Status() const override;

  private:
    // How far a task is: nothing, begun, or ended.
    struct Progress {
        TaskResult result;
        int percent = 0;
        bool isBegun = false;
        bool isEnded = false;
    };

    void SetScope();
    void TakeOverFinished();
    void SettleWithoutSpecialty();
    std::deque<work::FloorWork> WorkLeft() const;
    void CancelTheRest();
    void Begin(std::size_t index);
    void End(std::size_t index);
    void Count(const PlannedTask& planned, const TaskRecord& task) const;
    static void Count(const FindingRecord& finding);
    void CloseCategory(const std::string& category) const;
    void Merge();
    void CollectTotals();

    Host& m_host;
    FloorSource& m_source;
    const RunPlan& m_plan;
    const datamng::ProjectData& m_project;
    RunObserver& m_observer;
    RunControl& m_control;
    RunSettings m_settings;
    RunReport m_report;
    std::vector<Progress> m_results;  // by index of the task
};

RunReport Run::Execute() {
    SetScope();
    TakeOverFinished();
    SettleWithoutSpecialty();
    work::WorkerScope scope{m_host, m_source, m_plan, m_project, {}};
    for (const FloorRecord& floor : m_report.floors) {
        scope.moduleFloors.push_back(text::FromUtf8(store::ModuleFloorName(floor.name)));
    }
    std::deque<work::FloorWork> floors = WorkLeft();
    // What reading the model has left behind goes back to the system, so that no worker's copy of it is looked after.
    malloc_trim(0);
    const std::size_t jobs = m_settings.jobs == 0 ? Processors() : m_settings.jobs;
    work::WorkerPool(scope,
                     {.jobs = std::max<std::size_t>(jobs, 1),
                      .budget = m_settings.budget,
                      .socket = m_settings.socket,
                      .mostFindings = m_settings.mostFindings,
                      .mostFindingBytes = m_settings.mostFindingBytes},
                     m_control, *this)
        .Run(std::move(floors));
    CancelTheRest();
    CNorvexData::s_strCurCategory = CString();
    CNorvexData::s_bCheckFinish = true;
    Merge();
    CollectTotals();
    return std::move(m_report);
}

// Floors and selection as the module wants them, in narrow text; a name that code page 936 cannot hold is then put in
// as it is, so that its entities are not passed over.
void Run::SetScope() {
    CNorvexData::ClearCheckData();
    std::vector<std::string> floors;
    for (const std::size_t floor : m_plan.floors) {
        m_report.floors.push_back(m_source.Floors()[floor]);
        floors.push_back(text::WideToNarrow(text::FromUtf8(store::ModuleFloorName(m_report.floors.back().name))));
    }
    SelectionMap selection;
    for (const CString& path : m_source.Paths()) {
        if (const std::vector<CString> pieces = SplitPath(path); !pieces.empty()) {
            selection[pieces[1]].insert(pieces[2]);
        }
    }
    std::vector<NS_NORVEX::ComponentInfo> components;
    for (const auto& [category, subCategories] : selection) {
        NS_NORVEX::ComponentInfo component{text::WideToNarrow(category), {}};
        for (const CString& subCategory : subCategories) {
            component.aryItems.append(text::WideToNarrow(subCategory));
        }
        components.push_back(component);
    }
    CNorvexData::GetCheckRegion(floors, components);
    for (const auto& [category, subCategories] : selection) {
        CNorvexData::s_strSmallMemMap[category].insert(subCategories.begin(), subCategories.end());
    }
    CNorvexData::s_iTotalRuleNum = static_cast<int>(m_plan.tasks.size());
    datamng::SetCurrentProject(m_project);
    for (const CString& specialty : m_plan.specialties) {
        m_report.specialties.push_back(text::ToUtf8(specialty));
    }
    for (const LoadedRule& rule : m_plan.rules) {
        m_report.rules.push_back(rule.record);
    }
    m_report.narrowed = m_plan.narrowed;
    for (std::size_t index = 0; index < m_results.size(); ++index) {
        const PlannedTask& planned = m_plan.tasks[index];
        TaskRecord& task = m_results[index].result.task;
        task.rule = m_plan.rules[planned.rule].record.name;
        task.floor = m_report.floors[planned.floor].name;
        task.specialty = planned.specialty ? m_report.specialties[*planned.specialty] : std::string();
    }
}

// What was done before counts as if it had been done now.
void Run::TakeOverFinished() {
    for (auto& [index, result] : m_settings.finished) {
        Progress& progress = m_results.at(index);
        progress.result = std::move(result);
        for (const FindingRecord& finding : progress.result.findings) {
            Count(finding);
        }
        End(index);
    }
}

// No worker is needed to see that a rule has nothing to say about what is checked.
void Run::SettleWithoutSpecialty() {
    for (std::size_t index = 0; index < m_results.size() && !m_control.IsCancelled(); ++index) {
        const PlannedTask& planned = m_plan.tasks[index];
        if (!planned.specialty && !m_results[index].isEnded) {
            Begin(index);
            m_results[index].result.task.reason =
                "the rule is about " + Joined(m_plan.rules[planned.rule].record.specialties) + " only";
            End(index);
            m_observer.OnTaskEnd(index, m_results[index].result);
        }
    }
}

std::deque<work::FloorWork> Run::WorkLeft() const {
    std::deque<work::FloorWork> floors;
    for (std::size_t index = 0; index < m_results.size(); ++index) {
        if (m_results[index].isEnded) {
            continue;
        }
        const std::size_t floor = m_plan.tasks[index].floor;
        if (floors.empty() || floors.back().floor != floor) {
            floors.push_back({floor, {}});
        }
        floors.back().tasks.push_back(index);
    }
    return floors;
}

void Run::CancelTheRest() {
    for (std::size_t index = 0; index < m_results.size(); ++index) {
        if (!m_results[index].isEnded) {
            Begin(index);
            TaskRecord& task = m_results[index].result.task;
            task.outcome = Outcome::Cancelled;
            task.reason = "the run was cancelled before";
            End(index);
            m_observer.OnTaskEnd(index, m_results[index].result);
        }
    }
}

void Run::Begin(std::size_t index) {
    Progress& progress = m_results[index];
    if (!std::exchange(progress.isBegun, true)) {
        m_observer.OnTask(index, progress.result.task);
    }
}

void Run::End(std::size_t index) {
    const PlannedTask& planned = m_plan.tasks[index];
    m_results[index].isEnded = true;
    Count(planned, m_results[index].result.task);
    CNorvexData::s_iCurRuleNum += 1;
    CloseCategory(m_plan.rules[planned.rule].record.category);
}

// The shared state shows what was begun last; several tasks may be under way.
void Run::OnBegun(std::size_t index) {
    const PlannedTask& planned = m_plan.tasks[index];
    CNorvexData::s_strCurFloor = text::FromUtf8(store::ModuleFloorName(m_report.floors[planned.floor].name));
    CNorvexData::s_strCurSpec = m_plan.specialties[*planned.specialty];
    CNorvexData::s_strCurCategory = text::FromUtf8(m_plan.rules[planned.rule].record.category);
    Begin(index);
}

void Run::OnProgress(std::size_t index, int percent) {
    m_results[index].percent = percent;
    m_observer.OnTaskProgress(index, percent);
}

std::string Run::Status() const {
    const auto done = static_cast<std::size_t>(CNorvexData::s_iCurRuleNum);
    std::string text = fmt::format("{}{}: {} of {} checks done\n",
                                   m_control.IsCancelled() ? "cancelling"
                                   : m_control.IsPaused()  ? "paused"
                                                           : "running",
                                   m_control.AreFloorsHeld() ? ", floors are held" : "", done, m_results.size());
    for (const Progress& progress : m_results) {
        if (progress.isBegun && !progress.isEnded) {
            const TaskRecord& task = progress.result.task;
            text += fmt::format("{}, {}, {}: {} %\n", task.rule, task.floor, task.specialty, progress.percent);
        }
    }
    return text;
}

void Run::OnFound(std::size_t index, FindingRecord finding) {
    TaskResult& result = m_results[index].result;
    finding.rule = result.task.rule;
    finding.floor = result.task.floor;
    finding.specialty = result.task.specialty;
    // Kept before it is counted, so that memory that runs out leaves no count without its finding.
    const FindingRecord& kept = result.findings.emplace_back(std::move(finding));
    if (kept.trusted) {
        ++result.task.trusted;
    } else {
        ++result.task.findings;
        result.task.reminders += kept.severity == Severity::Remind ? 1 : 0;
    }
    Count(kept);
}

void Run::OnEnded(std::size_t index, const work::TaskEnded& end, std::chrono::microseconds duration) {
    TaskResult& result = m_results[index].result;
    Conclude(end, result.task);
    result.task.duration = duration;
    End(index);
    m_observer.OnTaskEnd(index, result);
}

void Run::OnBroken(std::size_t index, const std::string& reason, std::chrono::microseconds duration) {
    Begin(index);
    TaskResult& result = m_results[index].result;
    result.task.outcome = Outcome::Crashed;
    result.task.reason = reason;
    result.task.duration = duration;
    End(index);
    m_observer.OnTaskEnd(index, result);
}

void Run::OnKilled(std::size_t index, std::chrono::microseconds duration) {
    OnEnded(index, {.end = NS_NORVEX::eRuleCancelled, .examined = 0, .notExamined = 0, .reason = {}, .at = {}},
            duration);
}

// The workers' counts are theirs; the shared state of the run gets them from what they said.
void Run::Count(const PlannedTask& planned, const TaskRecord& task) const {
    if (planned.specialty && task.outcome != Outcome::Skipped) {
        CNorvexData::AddCheckResultCount(text::FromUtf8(m_plan.rules[planned.rule].record.category), CString(),
                                         STR_ERR_CONFIRMED, 0, static_cast<int>(task.examined));
    }
}

void Run::Count(const FindingRecord& finding) {
    if (!finding.trusted) {
        CNorvexData::AddCheckResultCount(text::FromUtf8(finding.category), text::FromUtf8(finding.subCategory),
                                         WordOfSeverity(finding.severity), 1, 0);
    }
}

// A category is checked when no task of it is left.
void Run::CloseCategory(const std::string& category) const {
    for (std::size_t index = 0; index < m_results.size(); ++index) {
        if (!m_results[index].isEnded && m_plan.rules[m_plan.tasks[index].rule].record.category == category) {
            return;
        }
    }
    CNorvexData::SetCheckingState(text::FromUtf8(category), kCategoryChecked);
}

// The report in the order of the plan, whoever was first.
void Run::Merge() {
    std::map<std::string, std::size_t> occurrences;
    for (Progress& progress : m_results) {
        const TaskRecord& task = m_report.tasks.emplace_back(std::move(progress.result.task));
        for (FindingRecord& finding : progress.result.findings) {
            FindingRecord& taken = m_report.findings.emplace_back(std::move(finding));
            taken.number = m_report.findings.size();
            taken.occurrence = occurrences[taken.featureCode]++;
        }
        if (task.outcome == Outcome::Crashed) {
            m_report.incomplete.push_back(fmt::format("Rule {} crashed on floor \"{}\", {}: {}.", task.rule, task.floor,
                                                      task.specialty, task.reason));
        }
    }
}

void Run::CollectTotals() {
    for (const auto& [category, state] : CNorvexData::s_CheckStateMap) {
        CategoryTotal total;
        total.category = text::ToUtf8(category);
        total.checks = static_cast<std::size_t>(std::max(state.iCheckNum, 0));
        total.confirmed = static_cast<std::size_t>(std::max(state.iConfirmedNum, 0));
        total.suspected = static_cast<std::size_t>(std::max(state.iSuspectedNum, 0));
        total.reminders = static_cast<std::size_t>(std::max(state.iRemindNum, 0));
        if (const auto found = CNorvexData::s_sSubCategoryMap.find(category);
            found != CNorvexData::s_sSubCategoryMap.end()) {
            for (const SSubCategory& subCategory : found->second) {
                total.subCategories.emplace_back(text::ToUtf8(subCategory.strName),
                                                 static_cast<std::size_t>(std::max(subCategory.iCount, 0)));
            }
        }
        m_report.totals.push_back(std::move(total));
    }
}

}  // namespace

RunReport ExecuteRun(Host& host, FloorSource& source, const RunPlan& plan, const datamng::ProjectData& project,
                     RunObserver& observer, RunControl& control, RunSettings settings) {
    return Run(host, source, plan, project, observer, control, std::move(settings)).Execute();
}

}  // namespace norvex::service
