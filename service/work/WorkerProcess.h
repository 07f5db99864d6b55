// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "service/work/Descriptor.h"
#include "service/work/Wire.h"

namespace norvex::service::work {

// How a process ended, for a person: "signal 11 (SIGSEGV)" or "exit(3)". Requires: a status of waitpid.
std::string EndInWords(int status);

// Sends all of the bytes, however many calls it takes. Returns false when nobody listens any more.
bool SendAll(int socket, std::string_view bytes) noexcept;

// What the thread of a worker does at its base: works, and then ends the process. An exception ends it as well, after
// it was said over the socket as WorkerFailed; there is nobody above who could take it.
[[noreturn]] void WorkAndEnd(int socket, const std::function<void()>& work) noexcept;

// Ends a worker that cannot go on. The service is told why: a clause, and what it ends with.
[[noreturn]] void FailAndEnd(int socket, std::string_view clause, std::string_view detail = {}) noexcept;

// A copy of this process that works and never returns, with a socket between the two. It dies with this process, hears
// no signal of the terminal, and ends at once when what it runs calls exit or lets an exception escape, so that nothing
// of this process is flushed, destroyed or removed twice. Requires: this process has one thread.
class WorkerProcess {
  public:
    // notNeeded are descriptors of this process that the new one closes first. Errors: null, and error is the system's
    // error number.
    static std::unique_ptr<WorkerProcess> Start(const std::vector<int>& notNeeded,
                                                const std::function<void(int socket)>& work, int& error);
    // False when the system was found to have no descriptors of processes; see End.
    static bool CanBeWatched();

    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;
    // Kills the process when it still runs.
    ~WorkerProcess();

    int Socket() const { return m_socket.Number(); }
    // Can be read from when the process has ended. -1: the system gives no such descriptor, and HasEnded has to be
    // asked every kLookAgain.
    int End() const { return m_end.Number(); }
    static constexpr std::chrono::milliseconds kLookAgain{20};
    bool HasEnded() const;
    // Waits until the process has ended, but not longer than that. Returns whether it has.
    bool EndsWithin(std::chrono::milliseconds budget) const;

    void Send(Order order) const;
    void Signal(int signal) const;

    enum class Received : std::uint8_t {
        All,   // there was no more just now
        Some,  // there may be more
        Last,  // nothing more will come
    };
    // Takes over what has arrived, without waiting; not all of it when a process sends faster than it is read.
    Received Receive(MessageReader& reader) const;
    // Waits for the end of the process. Returns the status that waitpid has. Called once.
    int Wait();

  private:
    WorkerProcess() = default;

    pid_t m_process = -1;
    Descriptor m_socket;
    Descriptor m_end;
};

}  // namespace norvex::service::work
