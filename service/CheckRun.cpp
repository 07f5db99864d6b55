// SPDX-License-Identifier: Apache-2.0
#include "service/CheckRun.h"

#include <fmt/format.h>
#include <algorithm>
#include <chrono>
#include <map>
#include <utility>
#include <vector>

#include "norvexdata/entities/GetZrOwEntityPtrVec.h"
#include "norvexdata/state/NorvexData.h"
#include "norvexdata/state/Vocabulary.h"
#include "platform/text/CodePage.h"
#include "platform/text/Utf8.h"
#include "service/Words.h"
#include "service/store/FloorNames.h"

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

FindingRecord RecordOf(const NS_NORVEX::Finding& finding, const TaskRecord& task) {
    FindingRecord record;
    record.rule = task.rule;
    record.floor = task.floor;
    record.specialty = task.specialty;
    record.category = text::ToUtf8(finding.strCategory);
    record.subCategory = text::ToUtf8(finding.strSubCategory);
    record.severity = SeverityOfWord(finding.strSeverity);
    record.sentence = text::ToUtf8(finding.strSentence);
    record.location = text::ToUtf8(finding.strLocation);
    record.featureCode = text::ToUtf8(finding.strFeatureCode);
    for (const NS_NORVEX::FindingObject& object : finding.vecObjects) {
        record.objects.push_back({.handle = text::ToUtf8(object.strHandle),
                                  .globalId = text::ToUtf8(object.strGlobalId),
                                  .name = text::ToUtf8(object.strName),
                                  .subCategory = text::ToUtf8(object.strSubCategory)});
    }
    if (finding.bHasPlace) {
        record.place = Place{finding.ptPlace.x, finding.ptPlace.y, finding.ptPlace.z};
    }
    record.trusted = finding.bTrusted;
    return record;
}

class Run final : public RuleListener {
  public:
    Run(Host& host, FloorSource& source, const RunPlan& plan, const datamng::ProjectData& project,
        RunObserver& observer, const std::atomic<bool>& cancel, RunSettings settings)
        : m_host(host),
          m_source(source),
          m_plan(plan),
          m_observer(observer),
          m_cancel(cancel),
          m_settings(std::move(settings)),
          m_project(project) {}

    RunReport Execute();

    void OnFinding(const NS_NORVEX::Finding& finding) override;
    bool OnProgress(int done, int total) override;

  private:
    void SetScope();
    void EnterFloor(std::size_t floor);
    void EnterSpecialty(const CString& specialty);
    void LeaveSpecialty();
    void RunTask(const PlannedTask& planned);
    void TakeOver(const PlannedTask& planned, const TaskResult& result);
    void Add(const TaskResult& result);
    void Ask(const LoadedRule& rule, TaskRecord& task);
    void Conclude(const NS_NORVEX::RuleResult& result, TaskRecord& task) const;
    void CloseCategories(std::size_t nextTask);
    void CollectTotals();

    Host& m_host;
    FloorSource& m_source;
    const RunPlan& m_plan;
    RunObserver& m_observer;
    const std::atomic<bool>& m_cancel;
    RunSettings m_settings;
    datamng::ProjectData m_project;
    RunReport m_report;
    TaskResult* m_current = nullptr;
    bool m_isFloorOpen = false;
    bool m_isSpecialtySet = false;
};

RunReport Run::Execute() {
    SetScope();
    m_host.Service().SetListener(this);
    const PlannedTask* before = nullptr;
    for (const PlannedTask& task : m_plan.tasks) {
        const bool isNewFloor = before == nullptr || before->floor != task.floor;
        if (isNewFloor) {
            LeaveSpecialty();
            EnterFloor(task.floor);
        }
        if (task.specialty && (isNewFloor || before->specialty != task.specialty)) {
            LeaveSpecialty();
            EnterSpecialty(m_plan.specialties[*task.specialty]);
        }
        RunTask(task);
        CloseCategories(m_report.tasks.size());
        before = &task;
    }
    LeaveSpecialty();
    if (m_isFloorOpen) {
        m_host.CloseDrawing();
    }
    m_host.Service().SetListener(nullptr);
    CNorvexData::s_strCurCategory = CString();
    CNorvexData::s_bCheckFinish = true;
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
}

void Run::EnterFloor(std::size_t floor) {
    if (m_isFloorOpen) {
        m_host.CloseDrawing();
    }
    m_host.OpenDrawing(m_source.Open(m_plan.floors[floor]));
    m_isFloorOpen = true;
    CNorvexData::s_strCurFloor = text::FromUtf8(store::ModuleFloorName(m_report.floors[floor].name));
}

void Run::EnterSpecialty(const CString& specialty) {
    CNorvexData::s_strCurSpec = specialty;
    m_project.currentSpecialty = specialty;
    datamng::SetCurrentProject(m_project);
    m_isSpecialtySet = true;
}

void Run::LeaveSpecialty() {
    if (m_isSpecialtySet) {
        CGetZrOwEntityPtrVec::Delete();
        m_isSpecialtySet = false;
    }
}

void Run::RunTask(const PlannedTask& planned) {
    const std::size_t index = m_report.tasks.size();
    if (const auto finished = m_settings.finished.find(index); finished != m_settings.finished.end()) {
        TakeOver(planned, finished->second);
        return;
    }
    const LoadedRule& rule = m_plan.rules[planned.rule];
    TaskResult result;
    TaskRecord& task = result.task;
    task.rule = rule.record.name;
    task.floor = m_report.floors[planned.floor].name;
    task.specialty = planned.specialty ? m_report.specialties[*planned.specialty] : std::string();
    m_observer.OnTask(index, task);
    if (m_cancel) {
        task.outcome = Outcome::Cancelled;
        task.reason = "the run was cancelled before";
    } else if (!planned.specialty) {
        task.reason = "the rule is about " + Joined(rule.record.specialties) + " only";
    } else {
        CNorvexData::s_strCurCategory = text::FromUtf8(rule.record.category);
        m_current = &result;
        const auto start = std::chrono::steady_clock::now();
        Ask(rule, task);
        task.duration = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
        m_current = nullptr;
    }
    CNorvexData::s_iCurRuleNum += 1;
    m_observer.OnTaskEnd(index, result);
    Add(result);
}

// What was done before counts as if it had been done now.
void Run::TakeOver(const PlannedTask& planned, const TaskResult& result) {
    CNorvexData::AddCheckResultCount(text::FromUtf8(m_plan.rules[planned.rule].record.category), CString(),
                                     STR_ERR_CONFIRMED, 0, static_cast<int>(result.task.examined));
    for (const FindingRecord& finding : result.findings) {
        if (!finding.trusted) {
            CNorvexData::AddCheckResultCount(text::FromUtf8(finding.category), text::FromUtf8(finding.subCategory),
                                             WordOfSeverity(finding.severity), 1, 0);
        }
    }
    CNorvexData::s_iCurRuleNum += 1;
    Add(result);
}

void Run::Add(const TaskResult& result) {
    m_report.tasks.push_back(result.task);
    for (const FindingRecord& finding : result.findings) {
        m_report.findings.push_back(finding);
        m_report.findings.back().number = m_report.findings.size();
    }
}

void Run::Ask(const LoadedRule& rule, TaskRecord& task) {
    NS_NORVEX::RuleResult result;
    try {
        rule.rule->Check(result);
    } catch (...) {
        result.eEnd = NS_NORVEX::eRuleCrashed;
        result.strReason = u"it let an exception escape";
    }
    Conclude(result, task);
    if (task.outcome == Outcome::Crashed) {
        m_report.incomplete.push_back(fmt::format("Rule {} crashed on floor \"{}\", {}: {}.", task.rule, task.floor,
                                                  task.specialty, task.reason));
    }
}

// Whether a rule passed is not for the rule to say: it follows from what it looked at and reported.
void Run::Conclude(const NS_NORVEX::RuleResult& result, TaskRecord& task) const {
    task.examined = static_cast<std::size_t>(std::max(result.iExamined, 0));
    task.notExamined = static_cast<std::size_t>(std::max(result.iNotExamined, 0));
    task.reason = text::ToUtf8(result.strReason);
    if (result.eEnd == NS_NORVEX::eRuleCrashed) {
        task.outcome = Outcome::Crashed;
    } else if (result.eEnd == NS_NORVEX::eRuleCancelled) {
        task.outcome = Outcome::Cancelled;
        task.reason = "the run was cancelled meanwhile";
    } else if (result.eEnd == NS_NORVEX::eRuleTrusted) {
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

void Run::OnFinding(const NS_NORVEX::Finding& finding) {
    TaskRecord& task = m_current->task;
    const FindingRecord& record = m_current->findings.emplace_back(RecordOf(finding, task));
    if (record.trusted) {
        ++task.trusted;
    } else {
        ++task.findings;
        task.reminders += record.severity == Severity::Remind ? 1 : 0;
    }
}

bool Run::OnProgress(int done, int total) {
    const int percent = total <= 0 ? 0 : static_cast<int>(std::int64_t{std::clamp(done, 0, total)} * 100 / total);
    m_observer.OnTaskProgress(m_report.tasks.size(), percent);
    return !m_cancel;
}

// A category is checked when no task of it is left.
void Run::CloseCategories(std::size_t nextTask) {
    const std::string& category = m_plan.rules[m_plan.tasks[nextTask - 1].rule].record.category;
    const auto isSame = [&](const PlannedTask& task) { return m_plan.rules[task.rule].record.category == category; };
    if (std::none_of(m_plan.tasks.begin() + static_cast<std::ptrdiff_t>(nextTask), m_plan.tasks.end(), isSame)) {
        CNorvexData::SetCheckingState(text::FromUtf8(category), kCategoryChecked);
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
                     RunObserver& observer, const std::atomic<bool>& cancel, RunSettings settings) {
    return Run(host, source, plan, project, observer, cancel, std::move(settings)).Execute();
}

}  // namespace norvex::service
