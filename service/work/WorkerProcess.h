// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "service/work/Descriptor.h"
#include "service/work/Wire.h"

namespace norvex::service::work {

// How a process ended, for a person: "signal 11 (SIGSEGV)" or "exit(3)". Requires: a status of waitpid.
std::string EndInWords(int status);

// A copy of this process that works and never returns, with a socket between the two. It dies with this process, hears
// no signal of the terminal, and ends at once when what it runs calls exit, so that nothing of this process is flushed
// or destroyed twice. Requires: this process has one thread.
class WorkerProcess {
  public:
    // notNeeded are descriptors of this process that the new one closes first. Errors: null, and error is the system's
    // error number.
    static std::unique_ptr<WorkerProcess> Start(const std::vector<int>& notNeeded,
                                                const std::function<void(int socket)>& work, int& error);
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;
    // Kills the process when it still runs.
    ~WorkerProcess();

    int Socket() const { return m_socket.Number(); }
    // Can be read from when the process has ended.
    int End() const { return m_end.Number(); }

    void Send(Order order) const;
    void Signal(int signal) const;
    // Takes over what has arrived, without waiting. Returns false when nothing more will come.
    bool Receive(MessageReader& reader) const;
    // Waits for the end of the process. Returns the status that waitpid has. Called once.
    int Wait();

  private:
    WorkerProcess(pid_t process, Descriptor socket, Descriptor end)
        : m_process(process), m_socket(std::move(socket)), m_end(std::move(end)) {}

    pid_t m_process;
    Descriptor m_socket;
    Descriptor m_end;
};

}  // namespace norvex::service::work
