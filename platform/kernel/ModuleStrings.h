// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/kernel/KernelTypes.h"

// The string resources of the modules in the process. Any thread.

// A module in the process: the address that it is loaded at.
using HINSTANCE = void*;

// One string of a module's resources.
struct NORVEX_MODULE_STRING {
    UINT id;
    LPCWSTR text;
};

// A module that has string resources defines an array of them by this, with a null text behind the last:
//     NORVEX_MODULE_STRINGS = {{7, u"JIANCHA"}, {0, nullptr}};
#define NORVEX_MODULE_STRINGS \
    extern "C" __attribute__((visibility("default"))) const NORVEX_MODULE_STRING norvexModuleStrings[]

namespace norvex::kernel {

// The module whose code or static data lies at the address; null for anything else, such as what was allocated.
NORVEX_PLATFORM_API HINSTANCE InstanceAt(const void* address) noexcept;

}  // namespace norvex::kernel

// Copies a string resource, cut to what the buffer holds, and a NUL behind it. Returns: how many units were copied, the
// NUL not counted; 0, and the buffer as it was, when the module has no such string or there is no room for one unit.
NORVEX_PLATFORM_API int LoadStringW(HINSTANCE instance, UINT id, LPWSTR buffer, int size);
