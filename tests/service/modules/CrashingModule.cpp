// SPDX-License-Identifier: Apache-2.0
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "norvexdata/Export.h"
#include "norvexdata/state/NorvexRule.h"
#include "platform/arx/AcRx.h"

// Does when it is initialised what the environment says: NORVEX_TEST_LOADING is "crash", "exit" or "hang".
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
