// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace norvex::common {

// The decimal number that a text begins with, blanks and a sign before it allowed ("2.5", " +3x", "1e2"); 0 when it
// begins with none. Hexadecimal digits, "inf" and "nan" are no numbers. Independent of the locale. A number beyond what
// a double holds gives an infinity, one too small for it 0.
double LeadingNumber(std::u16string_view text);

// Ten times the number, truncated toward zero; a grade beyond 32 bits becomes the nearest one that fits, so that floors
// keep their order.
int FloorGrade(double number);

}  // namespace norvex::common
