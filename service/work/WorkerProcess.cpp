// SPDX-License-Identifier: Apache-2.0
#include "service/work/WorkerProcess.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fmt/format.h>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace norvex::service::work {
namespace {

constexpr std::size_t kReadAtOnce = 64U * 1024U;

// Signals that a terminal or a supervisor sends to all processes of a job. They are meant for the service, which tells
// its workers.
constexpr std::array kSignalsOfTheService{SIGINT, SIGTERM, SIGHUP, SIGTSTP, SIGTTIN, SIGTTOU, SIGUSR1, SIGUSR2};

// Holds back all signals of the calling thread while it lives.
class WithoutSignals {
  public:
    WithoutSignals() {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_SETMASK, &all, &m_before);
    }
    WithoutSignals(const WithoutSignals&) = delete;
    WithoutSignals& operator=(const WithoutSignals&) = delete;
    ~WithoutSignals() { sigprocmask(SIG_SETMASK, &m_before, nullptr); }

  private:
    sigset_t m_before;
};

void EndAtOnce(int status, void*) {
    _exit(status);
}

void BecomeWorker(pid_t service, const std::vector<int>& notNeeded) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != service) {
        _exit(0);
    }
    for (const int signal : kSignalsOfTheService) {
        std::signal(signal, SIG_IGN);
    }
    for (const int descriptor : notNeeded) {
        close(descriptor);
    }
    on_exit(EndAtOnce, nullptr);
}

}  // namespace

std::string EndInWords(int status) {
    if (WIFEXITED(status)) {
        return fmt::format("exit({})", WEXITSTATUS(status));
    }
    const int signal = WTERMSIG(status);
    const char* name = sigabbrev_np(signal);
    std::string words =
        name == nullptr ? fmt::format("signal {}", signal) : fmt::format("signal {} (SIG{})", signal, name);
    if (signal == SIGKILL) {
        words += ", which the system sends when memory runs out";
    }
    return words;
}

std::unique_ptr<WorkerProcess> WorkerProcess::Start(const std::vector<int>& notNeeded,
                                                    const std::function<void(int socket)>& work, int& error) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        error = errno;
        return nullptr;
    }
    Descriptor ours(ends[0]);
    const Descriptor theirs(ends[1]);
    // What is still in the buffers would be written by both processes otherwise.
    std::fflush(nullptr);
    const pid_t service = getpid();
    pid_t process = -1;
    {
        const WithoutSignals guard;
        process = fork();
        error = errno;
        if (process == 0) {
            BecomeWorker(service, notNeeded);
        }
    }
    if (process == 0) {
        close(ours.Number());
        work(theirs.Number());
        _exit(0);
    }
    if (process < 0) {
        return nullptr;
    }
    Descriptor end(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
    error = errno;
    const bool canHearItsEnd = end.Number() >= 0;
    std::unique_ptr<WorkerProcess> started(new WorkerProcess(process, std::move(ours), std::move(end)));
    return canHearItsEnd ? std::move(started) : nullptr;
}

WorkerProcess::~WorkerProcess() {
    if (m_process > 0) {
        Signal(SIGKILL);
        Wait();
    }
}

void WorkerProcess::Send(Order order) const {
    const char byte = static_cast<char>(order);
    // A worker that has just ended need not hear it.
    static_cast<void>(send(m_socket.Number(), &byte, 1, MSG_NOSIGNAL | MSG_DONTWAIT));
}

void WorkerProcess::Signal(int signal) const {
    kill(m_process, signal);
}

bool WorkerProcess::Receive(MessageReader& reader) const {
    std::array<char, kReadAtOnce> buffer;
    for (;;) {
        const ssize_t count = recv(m_socket.Number(), buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (count > 0) {
            reader.Add({buffer.data(), static_cast<std::size_t>(count)});
        } else if (count == 0) {
            return false;
        } else if (errno != EINTR) {
            return errno == EAGAIN;
        }
    }
}

int WorkerProcess::Wait() {
    int status = 0;
    while (waitpid(m_process, &status, 0) < 0 && errno == EINTR) {
    }
    m_process = -1;
    return status;
}

}  // namespace norvex::service::work
