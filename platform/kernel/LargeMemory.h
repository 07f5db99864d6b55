// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <limits>
#include <new>
#include <vector>

#include "platform/Export.h"

namespace norvex::kernel {

// Size of the pages that large arrays are best made of, in bytes.
inline constexpr std::size_t kLargePage = std::size_t{1} << 21;

// Asks the system to back the memory, which starts and ends on borders of large pages, with large pages when it is
// first written. Without them the first pass over a large array takes longer than the work on it. The system may not
// have them; nothing but speed depends on it.
NORVEX_PLATFORM_API void AdviseLargePages(void* memory, std::size_t bytes);

// Allocates arrays of a large page or more in whole large pages, and smaller ones as std::allocator does.
template <class Element>
class LargeAllocator {
  public:
    using value_type = Element;

    LargeAllocator() = default;
    template <class Other>
    LargeAllocator(const LargeAllocator<Other>&) noexcept {}

    // Throws std::bad_alloc.
    Element* allocate(std::size_t count) {
        if (count > (std::numeric_limits<std::size_t>::max() - kLargePage) / sizeof(Element)) {
            throw std::bad_array_new_length();
        }
        if (!IsLarge(count)) {
            return static_cast<Element*>(::operator new(count * sizeof(Element)));
        }
        const std::size_t bytes = (count * sizeof(Element) + kLargePage - 1) / kLargePage * kLargePage;
        void* const memory = ::operator new(bytes, std::align_val_t{kLargePage});
        AdviseLargePages(memory, bytes);
        return static_cast<Element*>(memory);
    }
    void deallocate(Element* elements, std::size_t count) noexcept {
        if (IsLarge(count)) {
            ::operator delete(elements, std::align_val_t{kLargePage});
        } else {
            ::operator delete(elements);
        }
    }

    friend bool operator==(const LargeAllocator&, const LargeAllocator&) { return true; }

  private:
    static_assert(alignof(Element) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);

    static bool IsLarge(std::size_t count) { return count * sizeof(Element) >= kLargePage; }
};

template <class Element>
using LargeVector = std::vector<Element, LargeAllocator<Element>>;

}  // namespace norvex::kernel
