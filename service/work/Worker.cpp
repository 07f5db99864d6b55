// SPDX-License-Identifier: Apache-2.0
#include "service/work/Worker.h"

#include <malloc.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>

#include "norvexdata/entities/GetZrOwEntityPtrVec.h"
#include "norvexdata/module/ThreadManagement.h"
#include "norvexdata/state/NorvexData.h"
#include "platform/kernel/Synchronization.h"
#include "platform/text/Utf8.h"
#include "service/Words.h"
#include "service/work/Wire.h"
#include "service/work/WorkerProcess.h"

namespace norvex::service::work {
namespace {

FindingRecord RecordOf(const NS_NORVEX::Finding& finding) {
    FindingRecord record;
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
    const AcGePoint3d& place = finding.ptPlace;
    if (finding.bHasPlace && std::isfinite(place.x) && std::isfinite(place.y) && std::isfinite(place.z)) {
        record.place = Place{place.x, place.y, place.z};
    }
    record.trusted = finding.bTrusted;
    return record;
}

// Lets one thread at a time send and touch the cancel flag.
class WriteResult {
  public:
    WriteResult() { CThreadManagement::WaitForWriteResultEvent(); }
    WriteResult(const WriteResult&) = delete;
    WriteResult& operator=(const WriteResult&) = delete;
    ~WriteResult() { CThreadManagement::SetWriteResultEvent(); }
};

bool IsCancelled() {
    const WriteResult turn;
    return CThreadManagement::GetIsUserCancle();
}

// The check thread's side of the worker.
class FloorCheck final : public RuleListener {
  public:
    FloorCheck(const WorkerScope& scope, std::size_t floor, int socket)
        : m_scope(scope), m_project(scope.project), m_floor(floor), m_socket(socket) {}

    void Execute(const std::vector<std::size_t>& tasks);

    void OnFinding(const NS_NORVEX::Finding& finding) override { Send(TaskFound{RecordOf(finding)}); }
    bool OnProgress(int done, int total) override;

  private:
    void Send(const Message& message) const;
    void EnterFloor() const;
    void EnterSpecialty(std::size_t specialty);
    void Check(std::size_t index);
    void WaitWhilePaused() const;

    const WorkerScope& m_scope;
    datamng::ProjectData m_project;
    std::size_t m_floor;
    int m_socket;
    std::optional<std::size_t> m_specialty;
    int m_percent = 0;  // last sent
};

void FloorCheck::Execute(const std::vector<std::size_t>& tasks) {
    CThreadManagement::WaitForChangeFloorEvent();
    WaitWhilePaused();
    if (!IsCancelled()) {
        EnterFloor();
        for (const std::size_t index : tasks) {
            EnterSpecialty(*m_scope.plan.tasks[index].specialty);
            WaitWhilePaused();
            if (IsCancelled()) {
                break;
            }
            Check(index);
        }
        CGetZrOwEntityPtrVec::Delete();
        m_scope.host.CloseDrawing();
    }
    Send(FloorDone{});
}

void FloorCheck::Send(const Message& message) const {
    const std::string bytes = Encode(message);
    if (bytes.size() > kMostMessageBytes) {
        FailAndEnd(m_socket, "it reported more than fits into one message");
    }
    const WriteResult turn;
    if (!SendAll(m_socket, bytes)) {
        _exit(0);
    }
}

void FloorCheck::EnterFloor() const {
    Send(FloorEntered{});
    m_scope.host.OpenDrawing(m_scope.source.Open(m_scope.plan.floors[m_floor]));
    m_scope.host.Service().SetWithoutPlace(m_scope.source.WithoutPlace(m_scope.plan.floors[m_floor]));
    CNorvexData::s_strCurFloor = m_scope.moduleFloors[m_floor];
}

void FloorCheck::EnterSpecialty(std::size_t specialty) {
    if (m_specialty == specialty) {
        return;
    }
    CGetZrOwEntityPtrVec::Delete();
    m_specialty = specialty;
    CNorvexData::s_strCurSpec = m_scope.plan.specialties[specialty];
    m_project.currentSpecialty = CNorvexData::s_strCurSpec;
    datamng::SetCurrentProject(m_project);
}

// A rule finds the counts of its own task alone, and a progress that follows from the plan, so that nothing it reads
// depends on which tasks ran before in this process.
void FloorCheck::Check(std::size_t index) {
    const LoadedRule& rule = m_scope.plan.rules[m_scope.plan.tasks[index].rule];
    CNorvexData::s_CheckStateMap.clear();
    CNorvexData::s_sSubCategoryMap.clear();
    CNorvexData::s_iCurRuleNum = static_cast<int>(index);
    CNorvexData::s_strCurCategory = text::FromUtf8(rule.record.category);
    m_percent = 0;
    Send(TaskBegun{index, std::chrono::steady_clock::now()});
    NS_NORVEX::RuleResult result;
    m_scope.host.Service().SetListener(this);
    try {
        rule.rule->Check(result);
    } catch (const std::exception& error) {
        result.eEnd = NS_NORVEX::eRuleCrashed;
        result.strReason = u"it let an exception escape: " + text::FromUtf8(error.what());
    } catch (...) {
        result.eEnd = NS_NORVEX::eRuleCrashed;
        result.strReason = u"it let an exception of unknown kind escape";
    }
    m_scope.host.Service().SetListener(nullptr);
    if (result.eEnd < NS_NORVEX::eRuleDone || result.eEnd > NS_NORVEX::eRuleCrashed) {
        result.strReason.Format(u"it ended in a way that there is not: %d", static_cast<int>(result.eEnd));
        result.eEnd = NS_NORVEX::eRuleCrashed;
    }
    Send(TaskEnded{.end = result.eEnd,
                   .examined = static_cast<std::size_t>(std::max(result.iExamined, 0)),
                   .notExamined = static_cast<std::size_t>(std::max(result.iNotExamined, 0)),
                   .reason = text::ToUtf8(result.strReason),
                   .at = std::chrono::steady_clock::now()});
}

bool FloorCheck::OnProgress(int done, int total) {
    const int percent = total <= 0 ? 0 : static_cast<int>(std::int64_t{std::clamp(done, 0, total)} * 100 / total);
    if (percent > m_percent) {
        m_percent = percent;
        Send(TaskProgress{percent});
    }
    WaitWhilePaused();
    return !IsCancelled();
}

void FloorCheck::WaitWhilePaused() const {
    if (WaitForSingleObject(CThreadManagement::s_hStopSignal, 0) == WAIT_TIMEOUT) {
        Send(CheckWaits{});
        CThreadManagement::WaitForStopContinueEvent();
        Send(CheckGoesOn{});
    }
}

// The control thread's side of the worker.
void Obey(Order order) {
    switch (order) {
        case Order::Pause:
            CThreadManagement::ResetStopContinueEvent();
            return;
        case Order::Continue:
            CThreadManagement::SetStopContinueEvent();
            return;
        case Order::HoldFloor:
            CThreadManagement::ResetChangeFloorEvent();
            return;
        case Order::EnterFloor:
            CThreadManagement::SetChangeFloorEvent();
            return;
        case Order::Cancel: {
            {
                const WriteResult turn;
                CThreadManagement::SetIsUserCancle(true);
            }
            // A check thread that waits has to see it.
            CThreadManagement::SetStopContinueEvent();
            CThreadManagement::SetChangeFloorEvent();
            return;
        }
    }
}

void MakeCoordination(WorkerStart start) {
    CThreadManagement::SetWriteResultEvent();
    CThreadManagement::SetStopContinueEvent();
    CThreadManagement::SetChangeFloorEvent();
    if (start.isPaused) {
        CThreadManagement::ResetStopContinueEvent();
    }
    if (start.isFloorHeld) {
        CThreadManagement::ResetChangeFloorEvent();
    }
    CThreadManagement::SetIsUserCancle(false);
}

// A floor's drawing is hundreds of thousands of small objects, all made by the check thread and none given back before
// the process ends. Left to itself, the C library gives that thread a heap of its own that asks the system for every
// few pages, and gives large arrays back at once to get them, cleared again, the next time.
void PrepareHeap() {
    constexpr int kGrowth = 16 << 20;
    constexpr int kLargeArray = 64 << 20;
    mallopt(M_ARENA_MAX, 1);
    mallopt(M_TOP_PAD, kGrowth);
    mallopt(M_TRIM_THRESHOLD, 16 * kGrowth);
    mallopt(M_MMAP_THRESHOLD, kLargeArray);
}

}  // namespace

void RunWorker(const WorkerScope& scope, std::size_t floor, const std::vector<std::size_t>& tasks, WorkerStart start,
               int socket) {
    PrepareHeap();
    MakeCoordination(start);
    FloorCheck check(scope, floor, socket);
    // What a thread's handle is to those who wait for it: signalled when the thread has ended.
    const HANDLE hasEnded = CreateEventW(nullptr, true, false, nullptr);
    CThreadManagement::s_cRunningThread = hasEnded;
    CThreadManagement::s_cPreNoDoneThread = nullptr;
    const auto work = [&] {
        CThreadManagement::s_cRunningThreadId = static_cast<DWORD>(gettid());
        check.Execute(tasks);
        SetEvent(hasEnded);
    };
    try {
        std::thread([&] { WorkAndEnd(socket, std::cref(work)); }).detach();
    } catch (const std::system_error& error) {
        FailAndEnd(socket, "no thread can be started for it: ", error.code().message());
    }
    for (;;) {
        char byte = 0;
        const ssize_t count = recv(socket, &byte, 1, 0);
        if (count == 1) {
            Obey(static_cast<Order>(byte));
        } else if (count == 0 || errno != EINTR) {
            _exit(0);
        }
    }
}

}  // namespace norvex::service::work
