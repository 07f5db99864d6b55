// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace norvex::report {

// How text for people is to look.
struct TextStyle {
    // Columns of a line.
    std::size_t width = 100;
    // Escape sequences for colours and emphasis may be used.
    bool colour = false;
    // Findings and totals only.
    bool brief = false;
};

}  // namespace norvex::report
