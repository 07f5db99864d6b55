// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/LargeMemory.h"

#include <sys/mman.h>

namespace norvex::kernel {

void AdviseLargePages(void* memory, std::size_t bytes) {
    // A kernel without large pages refuses, and ordinary ones do.
    madvise(memory, bytes, MADV_HUGEPAGE);
}

}  // namespace norvex::kernel
