// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "norvexdata/Export.h"
#include "platform/arx/AcRx.h"

// The module's application object. It registers no classes, commands or functions, so every message finds empty tables;
// it asks for no unloading and no drawing awareness, because rule modules hold pointers into the module's state for the
// life of the process.
class CNorvexDataApp : public AcRxArxApp {};

// The two functions that the host looks up by name.
extern "C" NORVEXDATA_API AcRx::AppRetCode acrxEntryPoint(AcRx::AppMsgCode msg, void* appId);
extern "C" NORVEXDATA_API int acrxGetApiVersion();
