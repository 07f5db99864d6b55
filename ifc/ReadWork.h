// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace norvex::ifc {

// What reading a model took, in steps and not in time: the same for the same bytes on every machine. Each grows at most
// in proportion to the file, whatever in it refers to what.
struct ReadWork {
    std::uint64_t textBytes = 0;   // text of instances that was gone through for what it holds, each time anew
    std::uint64_t shapeSteps = 0;  // items of shapes that were visited, and parts and runs that were copied
    std::uint64_t gridCells = 0;   // cells that bodies were put into
    std::uint64_t candidates = 0;  // ends, ports and bodies that were held against an end
};

}  // namespace norvex::ifc
