// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace norvex::report::bcf {

// A picture of rows of pixels 0x00RRGGBB.
struct Pixels {
    const std::uint32_t* first = nullptr;  // borrowed
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t stride = 0;  // pixels from one row to the next
};

// The picture as PNG. Colours keep five bits of each channel, which nobody sees in a drawing of lines and which nearly
// always leaves few enough of them for a palette: half the size, and a quarter of the time, of full colour.
std::string EncodePng(const Pixels& pixels);

}  // namespace norvex::report::bcf
