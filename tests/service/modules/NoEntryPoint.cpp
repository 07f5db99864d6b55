// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/Export.h"
#include "norvexdata/state/NorvexData.h"

// Stands on a module that exports the host's two functions, and exports none itself.
extern "C" NORVEXDATA_API int notTheEntryPoint() {
    return CNorvexData::s_iCurRuleNum;
}
