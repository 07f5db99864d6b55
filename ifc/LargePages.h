// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <vector>

namespace norvex::ifc {

// Asks the system to back memory that is not written yet with large pages where whole ones of them fit into it. The
// first pass over a model's text, or over an array for each of its instances, otherwise takes a fault for every four
// kilobytes. The system may not have them; nothing but speed depends on it.
void AdviseLargePages(void* memory, std::size_t bytes);

// As vector.reserve(), in large pages. Requires: the vector is empty.
template <typename Element>
void ReserveInLargePages(std::vector<Element>& vector, std::size_t count) {
    vector.reserve(count);
    AdviseLargePages(vector.data(), vector.capacity() * sizeof(Element));
}

// As vector.assign(), in large pages.
template <typename Element>
void AssignInLargePages(std::vector<Element>& vector, std::size_t count, const Element& value) {
    vector.clear();
    ReserveInLargePages(vector, count);
    vector.assign(count, value);
}

}  // namespace norvex::ifc
