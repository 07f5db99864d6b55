// SPDX-License-Identifier: Apache-2.0
#include "ifc/LargePages.h"

#include <sys/mman.h>

#include <cstdint>

namespace norvex::ifc {

namespace {

constexpr std::uintptr_t kLargePage = std::uintptr_t{1} << 21;

}  // namespace

void AdviseLargePages(void* memory, std::size_t bytes) {
    const auto begin = reinterpret_cast<std::uintptr_t>(memory);
    const std::uintptr_t first = (begin + kLargePage - 1) / kLargePage * kLargePage;
    const std::uintptr_t end = (begin + bytes) / kLargePage * kLargePage;
    if (first < end) {
        // A kernel without large pages refuses, and ordinary ones do.
        madvise(static_cast<char*>(memory) + (first - begin), end - first, MADV_HUGEPAGE);
    }
}

}  // namespace norvex::ifc
