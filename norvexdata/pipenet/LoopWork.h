// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace norvex::pipenet {

// What one listing of loops took, in counts that do not depend on the machine.
struct LoopWork {
    // Walks begun, one per pipe that could lie on a loop when its turn came.
    std::uint64_t searches = 0;
    // List entries that those walks looked at.
    std::uint64_t edgesVisited = 0;
    // Pipes that were split into blocks, counted once for each time.
    std::uint64_t edgesSplit = 0;
};

}  // namespace norvex::pipenet
