// SPDX-License-Identifier: Apache-2.0
#include "service/work/WorkerProcess.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fmt/format.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

#include "platform/text/Utf8.h"

namespace norvex::service::work {
namespace {

constexpr std::size_t kReadAtOnce = 64U * 1024U;
// Pieces of that size. A process that never stops sending must not keep the service from anything else.
constexpr int kPiecesAtOnce = 16;

// Exit code of a worker that could not go on. Nobody reads it but who looks at the system's own records: the service is
// told in words.
constexpr int kFailed = 70;

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

bool g_canBeWatched = true;

void EndAtOnce(int status, void*) {
    _exit(status);
}

// Made by the service, so that a worker that gets no memory can still say so.
const std::string& NoMemory() {
    static const std::string message = Encode(WorkerFailed{"there was not enough memory"});
    return message;
}

void BecomeWorker(pid_t service, const std::vector<int>& notNeeded, int socket) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != service) {
        _exit(0);
    }
    for (const int signal : kSignalsOfTheService) {
        std::signal(signal, SIG_IGN);
    }
    // The service's own handler would take its files away.
    std::set_terminate(std::abort);
    for (const int descriptor : notNeeded) {
        close(descriptor);
    }
    if (on_exit(EndAtOnce, nullptr) != 0) {
        SendAll(socket, NoMemory());
        _exit(kFailed);
    }
}

}  // namespace

bool SendAll(int socket, std::string_view bytes) noexcept {
    while (!bytes.empty()) {
        const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(sent < 0 ? 0 : static_cast<std::size_t>(sent));
    }
    return true;
}

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

void FailAndEnd(int socket, std::string_view clause, std::string_view detail) noexcept {
    try {
        // What an exception says need not be UTF-8.
        SendAll(socket, Encode(WorkerFailed{std::string(clause) + text::ToUtf8(text::FromUtf8(detail))}));
    } catch (...) {
        SendAll(socket, NoMemory());
    }
    _exit(kFailed);
}

void WorkAndEnd(int socket, const std::function<void()>& work) noexcept {
    try {
        work();
    } catch (const std::bad_alloc&) {
        SendAll(socket, NoMemory());
        _exit(kFailed);
    } catch (const std::exception& error) {
        FailAndEnd(socket, "it let an exception escape: ", error.what());
    } catch (...) {
        FailAndEnd(socket, "it let an exception of unknown kind escape");
    }
    _exit(0);
}

bool WorkerProcess::CanBeWatched() {
    return g_canBeWatched;
}

std::unique_ptr<WorkerProcess> WorkerProcess::Start(const std::vector<int>& notNeeded,
                                                    const std::function<void(int socket)>& work, int& error) {
    std::unique_ptr<WorkerProcess> started(new WorkerProcess);
    NoMemory();
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        error = errno;
        return nullptr;
    }
    started->m_socket = Descriptor(ends[0]);
    const Descriptor theirs(ends[1]);
    // Who started this process may have told the system not to keep the ends of its children.
    std::signal(SIGCHLD, SIG_DFL);
    // What is still in the buffers would be written by both processes otherwise.
    std::fflush(nullptr);
    const pid_t service = getpid();
    {
        const WithoutSignals guard;
        started->m_process = fork();
        error = errno;
        if (started->m_process == 0) {
            BecomeWorker(service, notNeeded, theirs.Number());
        }
    }
    if (started->m_process == 0) {
        close(started->Socket());
        const auto all = [&] { work(theirs.Number()); };
        WorkAndEnd(theirs.Number(), std::cref(all));
    }
    if (started->m_process < 0) {
        return nullptr;
    }
    started->m_end = Descriptor(static_cast<int>(syscall(SYS_pidfd_open, started->m_process, 0)));
    // Old systems do not know the call, and some containers forbid what they do not know.
    g_canBeWatched = g_canBeWatched && (started->End() >= 0 || (errno != ENOSYS && errno != EPERM));
    return started;
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

bool WorkerProcess::HasEnded() const {
    siginfo_t end{};
    while (waitid(P_PID, static_cast<id_t>(m_process), &end, WEXITED | WNOHANG | WNOWAIT) != 0) {
        if (errno != EINTR) {
            // There is no such process any more.
            return true;
        }
    }
    return end.si_pid != 0;
}

bool WorkerProcess::EndsWithin(std::chrono::milliseconds budget) const {
    const auto deadline = std::chrono::steady_clock::now() + budget;
    pollfd end{End(), POLLIN, 0};
    while (!HasEnded()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return false;
        }
        // A negative descriptor is passed over, and the wait then only takes its time.
        poll(&end, 1, static_cast<int>(End() < 0 ? std::min(left, kLookAgain).count() : left.count()));
    }
    return true;
}

WorkerProcess::Received WorkerProcess::Receive(MessageReader& reader) const {
    std::array<char, kReadAtOnce> buffer;
    for (int piece = 0; piece < kPiecesAtOnce;) {
        const ssize_t count = recv(Socket(), buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (count > 0) {
            reader.Add({buffer.data(), static_cast<std::size_t>(count)});
            ++piece;
        } else if (count == 0) {
            return Received::Last;
        } else if (errno != EINTR) {
            return errno == EAGAIN ? Received::All : Received::Last;
        }
    }
    return Received::Some;
}

int WorkerProcess::Wait() {
    int status = 0;
    while (waitpid(m_process, &status, 0) < 0 && errno == EINTR) {
    }
    m_process = -1;
    return status;
}

}  // namespace norvex::service::work
