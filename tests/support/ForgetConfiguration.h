// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "norvexdata/config/NorvexConfig.h"

// For tests and fuzzing that read more than one configuration in a process, which the module itself never does.

namespace norvex::test {

// The one place of the language where the name of a private member may be written is an explicit instantiation; this
// one hands the pointer to the configuration's state over.
template <NorvexConfigState* NorvexConfig::*kState>
struct ConfigurationState {
    friend NorvexConfigState& StateOf(NorvexConfig& config) { return *(config.*kState); }
};
NorvexConfigState& StateOf(NorvexConfig& config);
template struct ConfigurationState<&NorvexConfig::m_pState>;

// Drops what was loaded, so that the next Instance() loads the file again. Sections that somebody still holds stay.
inline void ForgetConfiguration() {
    // Asked for once only: without a configuration, asking loads the file.
    static NorvexConfig& config = NorvexConfig::Instance();
    StateOf(config) = NorvexConfigState();
}

}  // namespace norvex::test
