// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace norvex::state {

// Counts have 32 bits and wrap, as the machine's own arithmetic does; no pair of values traps.

inline std::int32_t WrappingAdd(std::int32_t left, std::int32_t right) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(left) + static_cast<std::uint32_t>(right));
}

// Returns: (done * 100) / total, truncated toward zero and not limited to 100; 0 for a total of 0.
inline std::int32_t ProgressPercent(std::int32_t done, std::int32_t total) {
    const auto hundredfold = static_cast<std::int32_t>(static_cast<std::uint32_t>(done) * 100U);
    switch (total) {
        case 0:
            return 0;
        case -1:
            // The one quotient that does not fit, INT32_MIN / -1, wraps to itself.
            return static_cast<std::int32_t>(0U - static_cast<std::uint32_t>(hundredfold));
        default:
            return hundredfold / total;
    }
}

}  // namespace norvex::state
