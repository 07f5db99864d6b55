// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "norvexdata/pipenet/detail/PipeNetwork.h"

class ZrOwEntity;

namespace norvex::pipenet {

// The order in which to take the pipes of a list so that pipes near each other in space are near each other in memory:
// each position of the list once. Empty when the list's own order does as well, or the list is too short to matter.
// Entries may be null or no pipes.
kernel::LargeVector<Index> OrderInSpace(const std::vector<ZrOwEntity*>& entities);
// Asks for the memory of the entity, which may be null, ahead of reading it.
inline void ReadEarly(const ZrOwEntity* entity) {
    if (entity == nullptr) {
        return;
    }
    // An entity spans about three cache lines; its class stands in the first, its points in the last.
    const char* start = reinterpret_cast<const char*>(entity);
    __builtin_prefetch(start);
    __builtin_prefetch(start + 64);
    __builtin_prefetch(start + 128);
}

}  // namespace norvex::pipenet
