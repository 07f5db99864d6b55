// SPDX-License-Identifier: Apache-2.0
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

#include "norvexdata/Export.h"
#include "norvexdata/state/NorvexRule.h"
#include "platform/arx/AcRx.h"

// Does when it is initialised what the environment says: NORVEX_TEST_LOADING is "crash", "exit", "hang", "throw",
// "throw an int", "run out of memory" or "ignore signals".
extern "C" NORVEXDATA_API AcRx::AppRetCode acrxEntryPoint(AcRx::AppMsgCode message, void*) {
    const char* wish = std::getenv("NORVEX_TEST_LOADING");
    if (message == AcRx::kInitAppMsg && wish != nullptr) {
        const std::string how = wish;
        if (how == "crash") {
            std::signal(SIGABRT, SIG_DFL);
            std::abort();
        } else if (how == "exit") {
            std::exit(0);
        } else if (how == "hang") {
            std::this_thread::sleep_for(std::chrono::hours(1));
        } else if (how == "throw") {
            throw std::runtime_error("no licence");
        } else if (how == "throw an int") {
            throw 1;
        } else if (how == "run out of memory") {
            throw std::bad_alloc();
        } else if (how == "ignore signals") {
            sigset_t all;
            sigfillset(&all);
            sigprocmask(SIG_BLOCK, &all, nullptr);
            std::signal(SIGINT, SIG_IGN);
            std::signal(SIGTERM, SIG_IGN);
        }
    }
    return AcRx::kRetOK;
}
extern "C" NORVEXDATA_API int acrxGetApiVersion() {
    return kAcRxApiVersion;
}
extern "C" NORVEXDATA_API int norvexGetRuleApiVersion() {
    return kNorvexRuleApiVersion;
}
