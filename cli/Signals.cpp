// SPDX-License-Identifier: Apache-2.0
#include "cli/Signals.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <string_view>

#include "cli/ExitCode.h"
#include "platform/kernel/UnfinishedFile.h"

namespace norvex::cli {
namespace {

constexpr std::array kEnding{SIGINT, SIGTERM, SIGHUP};
constexpr std::string_view kInterrupted = "norvex: Interrupted before there was a result; nothing was written.\n";
constexpr std::string_view kInterruptedAgain = "norvex: Interrupted again; not all of the result was delivered.\n";

// Supervisors signal a process and then its whole group; that is one wish.
constexpr std::int64_t kSameWishMilliseconds = 50;

service::RunControl* g_control = nullptr;
std::atomic<std::int64_t> g_cancelledAt{0};
static_assert(std::atomic<std::int64_t>::is_always_lock_free, "A signal handler may only touch lock-free atomics.");

std::int64_t Milliseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

[[noreturn]] void End(std::string_view sentence) {
    kernel::RemoveUnfinishedFiles();
    // A terminal that is held and a pipe that nobody reads must not keep the process; nobody is left to tell when
    // standard error fails too.
    pollfd error{STDERR_FILENO, POLLOUT, 0};
    if (poll(&error, 1, 0) == 1) {
        static_cast<void>(!write(STDERR_FILENO, sentence.data(), sentence.size()));
    }
    _exit(kIncomplete);
}

void Handle(int signal, void (*handler)(int)) {
    struct sigaction before {};
    sigaction(signal, nullptr, &before);
    if (signal == SIGHUP && before.sa_handler == SIG_IGN) {
        return;
    }
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
    // Who started the process, or a module, may have held it back.
    sigset_t held;
    sigemptyset(&held);
    sigaddset(&held, signal);
    sigprocmask(SIG_UNBLOCK, &held, nullptr);
}

void OnCancel(int) {
    const std::int64_t now = Milliseconds();
    if (!g_control->IsCancelled()) {
        g_cancelledAt = now;
        g_control->Cancel();
    } else if (now - g_cancelledAt >= kSameWishMilliseconds) {
        End(kInterruptedAgain);
    }
}

}  // namespace

void EndOnSignals() {
    for (const int signal : kEnding) {
        Handle(signal, [](int) { End(kInterrupted); });
    }
}

void ControlBySignals(service::RunControl& control) {
    g_control = &control;
    for (const int signal : kEnding) {
        Handle(signal, OnCancel);
    }
    Handle(SIGTSTP, [](int) { g_control->Suspend(); });
    Handle(SIGUSR1, [](int) { g_control->Pause(); });
    Handle(SIGUSR2, [](int) { g_control->Continue(); });
}

}  // namespace norvex::cli
