// SPDX-License-Identifier: Apache-2.0
#include "cli/Cancel.h"

#include <csignal>

namespace norvex::cli {
namespace {

std::atomic<bool> g_isCancelled{false};
static_assert(std::atomic<bool>::is_always_lock_free, "A signal handler may only touch lock-free atomics.");

void OnSignal(int) {
    g_isCancelled = true;
}

}  // namespace

const std::atomic<bool>& CancelOnSignals() {
    struct sigaction action {};
    action.sa_handler = OnSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    return g_isCancelled;
}

}  // namespace norvex::cli
