// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "service/work/ControlSocket.h"
#include "service/work/RunControl.h"
#include "service/work/Stopwatch.h"
#include "service/work/Worker.h"
#include "service/work/WorkerProcess.h"

namespace norvex::service::work {

// Hears what becomes of the tasks, which are named by their index in the plan. Every task that is begun ends in exactly
// one of the three ways; duration is the time that it had, pauses not included.
class PoolListener {
  public:
    virtual ~PoolListener() = default;
    virtual void OnBegun(std::size_t task) = 0;
    virtual void OnProgress(std::size_t task, int percent) = 0;
    virtual void OnFound(std::size_t task, FindingRecord finding) = 0;
    // The rule itself came to an end.
    virtual void OnEnded(std::size_t task, const TaskEnded& end, std::chrono::microseconds duration) = 0;
    // The rule did not; reason is a clause. A task that could not even be begun breaks without having begun.
    virtual void OnBroken(std::size_t task, const std::string& reason, std::chrono::microseconds duration) = 0;
    // The run was cancelled, and the rule did not end by itself.
    virtual void OnKilled(std::size_t task, std::chrono::microseconds duration) = 0;
    // The run was paused, continued or cancelled.
    virtual void OnWish() = 0;
    // How the run stands, for whoever asks: lines of text.
    virtual std::string Status() const = 0;
};

struct FloorWork {
    std::size_t floor = 0;          // index into RunPlan::floors
    std::deque<std::size_t> tasks;  // not empty, ascending
    bool wasEntered = false;        // by an earlier worker, so that this one need not wait for its turn
};

struct PoolSettings {
    std::size_t jobs = 1;  // not 0
    std::chrono::milliseconds budget{};
    const ControlSocket* socket = nullptr;  // may be null
    std::size_t mostFindings = 0;           // of a task
    std::size_t mostFindingBytes = 0;       // of a task, as they are sent
};

// Has floors checked by worker processes, several side by side, and obeys the user's wishes. A worker is made for every
// floor, and another one when it broke. Where the system gives fewer processes or threads, fewer work side by side.
// What a worker sends that no worker sends is the outcome of what it was doing, as a crash is. All of it on the calling
// thread, the only one of the process.
class WorkerPool {
  public:
    WorkerPool(const WorkerScope& scope, PoolSettings settings, RunControl& control, PoolListener& listener)
        : m_scope(scope), m_settings(settings), m_control(control), m_listener(listener), m_jobs(settings.jobs) {}

    // Returns when every task has ended or the run was cancelled; no worker is left then. Floors are begun in the given
    // order.
    void Run(std::deque<FloorWork> floors);

  private:
    struct Active {
        FloorWork work;
        std::unique_ptr<WorkerProcess> process;
        MessageReader reader;
        Stopwatch time;  // of what it does now: drawing its floor, a task, or the way from one to the next
        std::optional<std::size_t> task;
        std::size_t findings = 0;  // of the task
        std::size_t findingBytes = 0;
        Stopwatch::Clock::time_point startedAt = Stopwatch::Clock::now();
        bool isFloorEntered = false;
        bool hasEndedATask = false;
        bool isFloorHeld = false;
        bool isWaiting = false;  // its check thread waits for the stop/continue event
        bool isStopped = false;  // by a signal, because it did not come to wait
        bool isClosed = false;   // nothing more will arrive from it
        bool isKilled = false;   // by the service
        bool isHeard = true;     // false: what it still says counts for nothing
        bool hasFailed = false;  // by its own word
        bool isDone = false;
        std::string failure;  // why it was killed, unless the run was cancelled

        bool IsQuiet() const { return isWaiting || isStopped; }
    };

    void ObeyWishes();
    void PauseAll();
    void ContinueAll();
    bool SuspendWhenQuiet();
    void HoldOrLetInFloors();
    void CancelAll();
    void StartWorkers();
    bool StartWorker(FloorWork work);
    void Wait();
    int MillisecondsToWait() const;
    WorkerProcess::Received Read(Active& worker);
    void ReadToTheEnd(Active& worker);
    std::optional<Message> NextMessage(Active& worker);
    // Each returns false when no worker says that, or not then.
    bool Take(Active& worker, const FloorEntered& said);
    bool Take(Active& worker, const TaskBegun& said);
    bool Take(Active& worker, const TaskProgress& said);
    bool Take(Active& worker, TaskFound& said);
    bool Take(Active& worker, const TaskEnded& said);
    bool Take(Active& worker, const CheckWaits& said);
    bool Take(Active& worker, const CheckGoesOn& said);
    bool Take(Active& worker, const FloorDone& said);
    bool Take(Active& worker, const WorkerFailed& said);
    void EnforceDeadlines();
    std::chrono::steady_clock::duration TimeLeft(const Active& worker) const;
    void Kill(Active& worker, std::string failure);
    void Disbelieve(Active& worker, std::string failure);
    void Bury(Active& worker);
    void GiveUpFloor(FloorWork& work, const std::string& reason);
    std::vector<int> DescriptorsOfOthers() const;

    const WorkerScope& m_scope;
    PoolSettings m_settings;
    RunControl& m_control;
    PoolListener& m_listener;
    std::size_t m_jobs;  // as many as are asked for, or as the system gives
    std::deque<FloorWork> m_waiting;
    std::list<Active> m_active;
    bool m_isPaused = false;
    bool m_isCancelled = false;
    bool m_isSuspending = false;
    std::chrono::steady_clock::time_point m_pausedAt;
    std::chrono::steady_clock::time_point m_cancelledAt;
};

}  // namespace norvex::service::work
