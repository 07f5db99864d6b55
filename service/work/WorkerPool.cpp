// SPDX-License-Identifier: Apache-2.0
#include "service/work/WorkerPool.h"

#include <poll.h>

#include <fmt/format.h>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <new>
#include <thread>
#include <utility>

namespace norvex::service::work {
namespace {

using Clock = std::chrono::steady_clock;

// What a check gets to come to a point where it waits or ends by itself; most rules get there within a millisecond. A
// run has to end within 200 ms of the wish, and killing the process of a large model takes some of that.
constexpr std::chrono::milliseconds kGrace{60};

// What one process can have sent before it ended fits into its socket, which holds far less; a process that it has left
// behind may send for ever.
constexpr int kMostReadsAtTheEnd = 64;

constexpr std::size_t kNotWatched = ~std::size_t{0};

constexpr const char* kUnreadable = "its worker sent what cannot be read";
constexpr const char* kTooMuch = "there was not enough memory for what it reported";
constexpr const char* kNonsense = "its worker sent what no worker sends";
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
            worker.time.Restart(Clock::now());
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
    while (!m_isPaused && !m_isCancelled && m_active.size() < m_jobs && !m_waiting.empty()) {
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
    m_jobs = m_active.size();
    return false;
}

std::vector<int> WorkerPool::DescriptorsOfOthers() const {
    std::vector<int> descriptors{m_control.News()};
    if (m_settings.socket != nullptr) {
        descriptors.insert(descriptors.end(), {m_settings.socket->Requests(), m_settings.socket->Folder()});
    }
    for (const Active& worker : m_active) {
        if (worker.process != nullptr) {
            for (const int descriptor : {worker.process->Socket(), worker.process->End()}) {
                if (descriptor >= 0) {
                    descriptors.push_back(descriptor);
                }
            }
        }
    }
    return descriptors;
}

void WorkerPool::Wait() {
    std::vector<pollfd> polled;
    const auto watch = [&](int descriptor) {
        if (descriptor < 0) {
            return kNotWatched;
        }
        polled.push_back({descriptor, POLLIN, 0});
        return polled.size() - 1;
    };
    watch(m_control.News());
    const std::size_t requests = watch(m_settings.socket == nullptr ? -1 : m_settings.socket->Requests());
    std::vector<std::pair<std::size_t, std::size_t>> places;  // of each worker's socket and end
    for (const Active& worker : m_active) {
        const std::size_t socket = watch(worker.isClosed ? -1 : worker.process->Socket());
        places.emplace_back(socket, watch(worker.process->End()));
    }
    const bool isTold = poll(polled.data(), polled.size(), MillisecondsToWait()) >= 0 || errno == EINTR;
    if (!isTold) {
        // The system cannot say who has news, for want of memory; so everybody is asked, now and then.
        std::this_thread::sleep_for(WorkerProcess::kLookAgain);
    }
    const auto hasNews = [&](std::size_t place) {
        return !isTold || (place != kNotWatched && polled[place].revents != 0);
    };
    if (requests != kNotWatched && hasNews(requests)) {
        m_settings.socket->Serve(m_control, [this] { return m_listener.Status(); });
    }
    auto place = places.begin();
    for (auto worker = m_active.begin(); worker != m_active.end(); ++place) {
        const bool mayHaveEnded = place->second == kNotWatched || hasNews(place->second);
        if (mayHaveEnded && worker->process->HasEnded()) {
            ReadToTheEnd(*worker);
            Bury(*worker);
            worker = m_active.erase(worker);
            continue;
        }
        if (hasNews(place->first)) {
            Read(*worker);
        }
        ++worker;
    }
}

// Until the nearest deadline; -1 when there is none.
int WorkerPool::MillisecondsToWait() const {
    auto least = Clock::duration::max();
    for (const Active& worker : m_active) {
        least = std::min(least, TimeLeft(worker));
        if (worker.process->End() < 0) {
            least = std::min<Clock::duration>(least, WorkerProcess::kLookAgain);
        }
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
    return worker.isFloorHeld ? Clock::duration::max() : m_settings.budget - worker.time.Elapsed(Clock::now());
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

// Whatever else it says is no longer listened to.
void WorkerPool::Disbelieve(Active& worker, std::string failure) {
    worker.isHeard = false;
    worker.reader = {};
    if (worker.failure.empty()) {
        Kill(worker, std::move(failure));
    }
}

void WorkerPool::ReadToTheEnd(Active& worker) {
    for (int i = 0; i < kMostReadsAtTheEnd && Read(worker) == WorkerProcess::Received::Some; ++i) {
    }
}

// Memory that runs out over what a worker says is for that worker to answer for.
WorkerProcess::Received WorkerPool::Read(Active& worker) {
    auto received = WorkerProcess::Received::Some;
    try {
        received = worker.process->Receive(worker.reader);
    } catch (const std::bad_alloc&) {
        Disbelieve(worker, kTooMuch);
    }
    worker.isClosed = received == WorkerProcess::Received::Last;
    while (std::optional<Message> message = NextMessage(worker)) {
        if (!std::visit([&](auto& said) { return Take(worker, said); }, *message)) {
            Disbelieve(worker, kNonsense);
        }
    }
    if (!worker.isHeard) {
        worker.reader = {};
    } else if (worker.reader.IsBroken()) {
        Disbelieve(worker, kUnreadable);
    }
    return received;
}

// Nothing when there is none that counts.
std::optional<Message> WorkerPool::NextMessage(Active& worker) {
    try {
        if (std::optional<Message> message = worker.isHeard ? worker.reader.Next() : std::nullopt) {
            return message;
        }
    } catch (const std::bad_alloc&) {
        Disbelieve(worker, kTooMuch);
    }
    return std::nullopt;
}

bool WorkerPool::Take(Active& worker, const FloorEntered&) {
    if (worker.isFloorEntered || worker.isDone) {
        return false;
    }
    worker.isFloorEntered = true;
    worker.isFloorHeld = false;
    worker.time.Restart(Clock::now());
    return true;
}

bool WorkerPool::Take(Active& worker, const TaskBegun& said) {
    if (!worker.isFloorEntered || worker.isDone || worker.task || worker.work.tasks.empty() ||
        worker.work.tasks.front() != said.index) {
        return false;
    }
    worker.task = said.index;
    worker.work.tasks.pop_front();
    worker.findings = 0;
    worker.findingBytes = 0;
    worker.time.Restart(std::max(said.at, worker.startedAt));
    m_listener.OnBegun(said.index);
    return true;
}

bool WorkerPool::Take(Active& worker, const TaskProgress& said) {
    if (worker.task) {
        m_listener.OnProgress(*worker.task, said.percent);
    }
    return worker.task.has_value();
}

bool WorkerPool::Take(Active& worker, TaskFound& said) {
    if (!worker.task) {
        return false;
    }
    worker.findings += 1;
    worker.findingBytes += worker.reader.Size();
    if (worker.findings > m_settings.mostFindings) {
        Disbelieve(worker, fmt::format("it reported more than {} findings", m_settings.mostFindings));
    } else if (worker.findingBytes > m_settings.mostFindingBytes) {
        Disbelieve(worker, fmt::format("it reported findings of more than {} bytes", m_settings.mostFindingBytes));
    } else {
        try {
            m_listener.OnFound(*worker.task, std::move(said.finding));
        } catch (const std::bad_alloc&) {
            Disbelieve(worker, kTooMuch);
        }
    }
    return true;
}

bool WorkerPool::Take(Active& worker, const TaskEnded& said) {
    if (!worker.task) {
        return false;
    }
    m_listener.OnEnded(*worker.task, said, Microseconds(worker.time.Elapsed(said.at)));
    worker.task.reset();
    worker.hasEndedATask = true;
    worker.time.Restart(Clock::now());
    // What it went on to before its end came is not what it is ended for.
    worker.isHeard = worker.isHeard && !worker.isKilled;
    return true;
}

bool WorkerPool::Take(Active& worker, const CheckWaits&) {
    worker.isWaiting = true;
    return !worker.isDone;
}

bool WorkerPool::Take(Active& worker, const CheckGoesOn&) {
    worker.isWaiting = false;
    return !worker.isDone;
}

bool WorkerPool::Take(Active& worker, const FloorDone&) {
    const bool isExpected = !worker.task && !worker.isDone && (worker.work.tasks.empty() || m_isCancelled);
    worker.isDone = true;
    return isExpected;
}

bool WorkerPool::Take(Active& worker, const WorkerFailed& said) {
    worker.hasFailed = true;
    Disbelieve(worker, said.reason);
    return true;
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
    } else if (worker.hasFailed && !worker.isFloorEntered && m_active.size() > 1) {
        // It could not even begin, because others have what it needs.
        m_jobs = m_active.size() - 1;
    } else if (!worker.hasEndedATask && !m_isCancelled && !worker.work.tasks.empty()) {
        GiveUpFloor(worker.work, worker.isFloorEntered ? reason + kWhileDrawn : reason);
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
