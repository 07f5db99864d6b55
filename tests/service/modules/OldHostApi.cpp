// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/Export.h"
#include "platform/arx/AcRx.h"

// A module of the host generation before.
extern "C" NORVEXDATA_API AcRx::AppRetCode acrxEntryPoint(AcRx::AppMsgCode, void*) {
    return AcRx::kRetOK;
}
extern "C" NORVEXDATA_API int acrxGetApiVersion() {
    return 17 << 16;
}
