// SPDX-License-Identifier: Apache-2.0
#include "service/work/WorkerPool.h"

#include <poll.h>

#include <fmt/format.h>
#include <algorithm>
#include <csignal>
#include <cstring>
#include <type_traits>
#include <utility>

namespace norvex::service::work {
namespace {

using Clock = std::chrono::steady_clock;

// What a check gets to come to a point where it waits or ends by itself; most rules get there within a millisecond. A
// run has to end within 200 ms of the wish, and killing the process of a large model takes some of that.
constexpr std::chrono::milliseconds kGrace{60};

constexpr const char* kWhileDrawn = ", while its floor was drawn";

std::chrono::microseconds Microseconds(Clock::duration duration) {
    return std::chrono::duration_cast<std::chrono::microseconds>(duration);
}

std::string OverBudget(std::chrono::milliseconds budget) {
    return fmt::format("no end within its budget of {:g} s", std::chrono::duration<double>(budget).count());
}

}  // namespace

void WorkerPool::Run(std::deque<FloorWork> floors) {
    m_waiting = std::move(floors);
    for (;;) {
        ObeyWishes();
        StartWorkers();
        if (m_active.empty() && (m_waiting.empty() || m_isCancelled)) {
            return;
        }
        if (SuspendWhenQuiet()) {
            continue;
        }
        Wait();
        EnforceDeadlines();
    }
}

void WorkerPool::ObeyWishes() {
    m_control.ClearNews();
    if (m_control.IsCancelled()) {
        CancelAll();
    }
    if (m_control.TakeSuspension() && !m_isCancelled) {
        m_isSuspending = true;
    }
    if ((m_control.IsPaused() || m_isSuspending) && !m_isCancelled) {
        PauseAll();
    } else {
        ContinueAll();
    }
    HoldOrLetInFloors();
}

void WorkerPool::PauseAll() {
    if (std::exchange(m_isPaused, true)) {
        return;
    }
    m_pausedAt = Clock::now();
    for (Active& worker : m_active) {
        worker.time.Pause();
        worker.process->Send(Order::Pause);
    }
    m_listener.OnWish();
}

void WorkerPool::ContinueAll() {
    if (!std::exchange(m_isPaused, false)) {
        return;
    }
    for (Active& worker : m_active) {
        worker.time.Continue();
        worker.isWaiting = false;
        worker.process->Send(Order::Continue);
        if (std::exchange(worker.isStopped, false)) {
            worker.process->Signal(SIGCONT);
        }
    }
    m_listener.OnWish();
}

// Job control: the shell gets its terminal back when this process stops, and continues it by SIGCONT. Returns whether
// it was stopped meanwhile.
bool WorkerPool::SuspendWhenQuiet() {
    if (!m_isSuspending ||
        !std::all_of(m_active.begin(), m_active.end(), [](const Active& worker) { return worker.IsQuiet(); })) {
        return false;
    }
    raise(SIGSTOP);
    m_isSuspending = false;
    m_listener.OnWish();
    return true;
}

void WorkerPool::HoldOrLetInFloors() {
    const bool areHeld = m_control.AreFloorsHeld() && !m_isCancelled;
    for (Active& worker : m_active) {
        const bool isHeld = areHeld && !worker.isFloorEntered && !worker.work.wasEntered;
        if (isHeld && !worker.isFloorHeld) {
            worker.process->Send(Order::HoldFloor);
            worker.isFloorHeld = true;
        }
        if (worker.isFloorHeld && (!isHeld || m_control.TakeFloor())) {
            worker.process->Send(Order::EnterFloor);
            worker.isFloorHeld = false;
            worker.work.wasEntered = true;
        }
    }
}

void WorkerPool::CancelAll() {
    if (std::exchange(m_isCancelled, true)) {
        return;
    }
    m_isSuspending = false;
    m_cancelledAt = Clock::now();
    for (Active& worker : m_active) {
        worker.process->Send(Order::Cancel);
    }
    m_listener.OnWish();
}

void WorkerPool::StartWorkers() {
    while (!m_isPaused && !m_isCancelled && m_active.size() < m_settings.jobs && !m_waiting.empty()) {
        FloorWork work = std::move(m_waiting.front());
        m_waiting.pop_front();
        if (!StartWorker(std::move(work))) {
            return;
        }
    }
}

// Returns false when no process can be had now.
bool WorkerPool::StartWorker(FloorWork work) {
    Active& worker = m_active.emplace_back();
    worker.work = std::move(work);
    const bool isHeld = m_control.AreFloorsHeld() && !worker.work.wasEntered && !m_control.TakeFloor();
    worker.isFloorHeld = isHeld;
    worker.work.wasEntered = !isHeld;
    const std::vector<std::size_t> tasks(worker.work.tasks.begin(), worker.work.tasks.end());
    int error = 0;
    worker.process = WorkerProcess::Start(
        DescriptorsOfOthers(),
        [&](int socket) {
            RunWorker(m_scope, worker.work.floor, tasks, {.isPaused = false, .isFloorHeld = isHeld}, socket);
        },
        error);
    if (worker.process != nullptr) {
        return true;
    }
    FloorWork unstarted = std::move(worker.work);
    m_active.pop_back();
    if (m_active.empty()) {
        GiveUpFloor(unstarted, fmt::format("no process can be started: {}", std::strerror(error)));
        return true;
    }
    m_waiting.push_front(std::move(unstarted));
    return false;
}

std::vector<int> WorkerPool::DescriptorsOfOthers() const {
    std::vector<int> descriptors{m_control.News()};
    if (m_settings.socket != nullptr) {
        descriptors.insert(descriptors.end(), {m_settings.socket->Requests(), m_settings.socket->Folder()});
    }
    for (const Active& worker : m_active) {
        if (worker.process != nullptr) {
            descriptors.push_back(worker.process->Socket());
            descriptors.push_back(worker.process->End());
        }
    }
    return descriptors;
}

void WorkerPool::Wait() {
    const int requests = m_settings.socket == nullptr ? -1 : m_settings.socket->Requests();
    std::vector<pollfd> polled{{m_control.News(), POLLIN, 0}, {requests, POLLIN, 0}};
    for (const Active& worker : m_active) {
        polled.push_back({worker.isClosed ? -1 : worker.process->Socket(), POLLIN, 0});
        polled.push_back({worker.process->End(), POLLIN, 0});
    }
    if (poll(polled.data(), polled.size(), MillisecondsToWait()) <= 0) {
        return;
    }
    if (polled[1].revents != 0) {
        m_settings.socket->Serve(m_control, [this] { return m_listener.Status(); });
    }
    std::size_t next = 2;
    for (auto worker = m_active.begin(); worker != m_active.end();) {
        const bool hasNews = polled[next].revents != 0;
        const bool hasEnded = polled[next + 1].revents != 0;
        next += 2;
        if (hasNews || hasEnded) {
            Read(*worker);
        }
        if (hasEnded) {
            Bury(*worker);
            worker = m_active.erase(worker);
        } else {
            ++worker;
        }
    }
}

// Until the nearest deadline; -1 when there is none.
int WorkerPool::MillisecondsToWait() const {
    auto least = Clock::duration::max();
    for (const Active& worker : m_active) {
        least = std::min(least, TimeLeft(worker));
    }
    if (least == Clock::duration::max()) {
        return -1;
    }
    constexpr std::chrono::milliseconds kMost = std::chrono::hours{1};
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(std::max(least, Clock::duration::zero()));
    return static_cast<int>(std::min(wait, kMost).count());
}

// Until something has to be done about the worker.
Clock::duration WorkerPool::TimeLeft(const Active& worker) const {
    if (worker.isKilled) {
        return Clock::duration::max();
    }
    if (m_isCancelled) {
        return m_cancelledAt + kGrace - Clock::now();
    }
    if (m_isPaused) {
        return worker.IsQuiet() ? Clock::duration::max() : m_pausedAt + kGrace - Clock::now();
    }
    return worker.isFloorEntered ? m_settings.budget - worker.time.Elapsed(Clock::now()) : Clock::duration::max();
}

void WorkerPool::EnforceDeadlines() {
    for (Active& worker : m_active) {
        if (TimeLeft(worker) > Clock::duration::zero()) {
            continue;
        }
        if (m_isCancelled) {
            Kill(worker, {});
        } else if (m_isPaused) {
            worker.process->Signal(SIGSTOP);
            worker.isStopped = true;
        } else {
            Kill(worker, OverBudget(m_settings.budget));
        }
    }
}

void WorkerPool::Kill(Active& worker, std::string failure) {
    worker.isKilled = true;
    worker.failure = std::move(failure);
    worker.process->Signal(SIGKILL);
}

void WorkerPool::Read(Active& worker) {
    worker.isClosed = !worker.process->Receive(worker.reader);
    while (std::optional<Message> message = worker.reader.Next()) {
        if (!Take(worker, *message)) {
            Kill(worker, "its worker sent what no worker sends");
            return;
        }
    }
    if (worker.reader.IsBroken() && !worker.isKilled) {
        Kill(worker, "its worker sent what cannot be read");
    }
}

bool WorkerPool::Take(Active& worker, Message& message) {
    const auto take = [&](auto& said) {
        using Said = std::decay_t<decltype(said)>;
        if constexpr (std::is_same_v<Said, FloorEntered>) {
            worker.isFloorEntered = true;
            worker.isFloorHeld = false;
            worker.time.Restart(Clock::now());
        } else if constexpr (std::is_same_v<Said, TaskBegun>) {
            if (worker.task || worker.work.tasks.empty() || worker.work.tasks.front() != said.index) {
                return false;
            }
            worker.task = said.index;
            worker.work.tasks.pop_front();
            worker.findings = 0;
            worker.time.Restart(said.at);
            m_listener.OnBegun(said.index);
        } else if constexpr (std::is_same_v<Said, TaskProgress>) {
            if (worker.task) {
                m_listener.OnProgress(*worker.task, std::clamp(said.percent, 0, 100));
            }
        } else if constexpr (std::is_same_v<Said, TaskFound>) {
            if (worker.task && worker.findings < m_settings.mostFindings) {
                ++worker.findings;
                m_listener.OnFound(*worker.task, std::move(said.finding));
            } else if (worker.task && !worker.isKilled) {
                Kill(worker, fmt::format("it reported more than {} findings", m_settings.mostFindings));
            }
        } else if constexpr (std::is_same_v<Said, TaskEnded>) {
            if (!worker.task) {
                return false;
            }
            m_listener.OnEnded(*worker.task, said, Microseconds(worker.time.Elapsed(said.at)));
            worker.task.reset();
            worker.hasEndedATask = true;
            worker.time.Restart(Clock::now());
        } else if constexpr (std::is_same_v<Said, CheckWaits>) {
            worker.isWaiting = true;
        } else if constexpr (std::is_same_v<Said, CheckGoesOn>) {
            worker.isWaiting = false;
        }
        return true;
    };
    return std::visit(take, message);
}

// A process that ended on the way from one task to the next takes neither with it: whatever the one before left in its
// memory, the next one begins in a new process.
void WorkerPool::Bury(Active& worker) {
    const int status = worker.process->Wait();
    const bool isCancelled = m_isCancelled && worker.isKilled && worker.failure.empty();
    const std::string reason = worker.failure.empty() ? EndInWords(status) : worker.failure;
    if (worker.task && isCancelled) {
        m_listener.OnKilled(*worker.task, Microseconds(worker.time.Elapsed(Clock::now())));
    } else if (worker.task) {
        m_listener.OnBroken(*worker.task, reason, Microseconds(worker.time.Elapsed(Clock::now())));
    } else if (!worker.hasEndedATask && !m_isCancelled && !worker.work.tasks.empty()) {
        GiveUpFloor(worker.work, reason + kWhileDrawn);
        return;
    }
    if (!worker.work.tasks.empty() && !m_isCancelled) {
        m_waiting.push_front(std::move(worker.work));
    }
}

void WorkerPool::GiveUpFloor(FloorWork& work, const std::string& reason) {
    for (const std::size_t task : work.tasks) {
        m_listener.OnBroken(task, reason, {});
    }
}

}  // namespace norvex::service::work
