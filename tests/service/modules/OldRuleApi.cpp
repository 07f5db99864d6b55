// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/Export.h"
#include "norvexdata/state/NorvexRule.h"
#include "platform/arx/AcRx.h"

// A rule module built for an earlier rule interface.
extern "C" NORVEXDATA_API AcRx::AppRetCode acrxEntryPoint(AcRx::AppMsgCode, void*) {
    return AcRx::kRetOK;
}
extern "C" NORVEXDATA_API int acrxGetApiVersion() {
    return kAcRxApiVersion;
}
extern "C" NORVEXDATA_API int norvexGetRuleApiVersion() {
    return kNorvexRuleApiVersion - 1;
}
