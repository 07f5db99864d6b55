// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace norvex::cli {

// What norvex ends with. Scripts depend on the numbers.
enum ExitCode : int {
    kClean = 0,       // done, and nothing found that counts
    kFindings = 1,    // done, and something found
    kUnusable = 2,    // wrong use or unreadable input; nothing was checked
    kIncomplete = 3,  // not everything could be checked, or the result could not be delivered
};

}  // namespace norvex::cli
