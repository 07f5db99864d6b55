// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

namespace norvex::cli {

// From now on the first interrupt or termination signal only sets the flag; a second one ends the process as usual.
// Returns the flag, which lives as long as the process.
const std::atomic<bool>& CancelOnSignals();

}  // namespace norvex::cli
