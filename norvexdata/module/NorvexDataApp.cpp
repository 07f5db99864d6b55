// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/module/NorvexDataApp.h"

namespace {

CNorvexDataApp g_application;

}  // namespace

AcRx::AppRetCode acrxEntryPoint(AcRx::AppMsgCode msg, void* appId) {
    return g_application.acrxEntryPoint(msg, appId);
}

int acrxGetApiVersion() {
    return kAcRxApiVersion;
}
