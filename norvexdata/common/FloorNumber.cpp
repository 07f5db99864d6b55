// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/common/detail/FloorNumber.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>
#include <system_error>

namespace norvex::common {

namespace {

// The text as far as it is ASCII; no other character can be part of a number.
std::string LeadingAscii(std::u16string_view text) {
    const auto end = std::find_if(text.begin(), text.end(), [](char16_t unit) { return unit >= 0x80; });
    std::string narrow;
    std::transform(text.begin(), end, std::back_inserter(narrow),
                   [](char16_t unit) { return static_cast<char>(unit); });
    return narrow;
}

// Whether a number that no double holds is too small for it rather than too large. Its text has no sign in front.
bool IsTooSmall(std::string_view number) {
    const std::size_t firstNonZero = number.find_first_not_of('0');
    return number.find('-') != std::string_view::npos || number.substr(firstNonZero).starts_with('.');
}

}  // namespace

double LeadingNumber(std::u16string_view text) {
    const std::string narrow = LeadingAscii(text);
    std::string_view rest = narrow;
    rest.remove_prefix(std::min(rest.find_first_not_of(" \t\n\v\f\r"), rest.size()));
    const bool isNegative = rest.starts_with('-');
    if (isNegative || rest.starts_with('+')) {
        rest.remove_prefix(1);
    }
    // Keeps out the words for infinity and not-a-number, and a second sign.
    if (rest.find_first_of(".0123456789") != 0) {
        return 0.0;
    }
    double value = 0.0;
    const std::from_chars_result result = std::from_chars(rest.data(), rest.data() + rest.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        const std::string_view number(rest.data(), static_cast<std::size_t>(result.ptr - rest.data()));
        value = IsTooSmall(number) ? 0.0 : std::numeric_limits<double>::infinity();
    }
    return isNegative ? -value : value;
}

int FloorGrade(double number) {
    constexpr double kLowest = std::numeric_limits<int>::min();
    constexpr double kHighest = std::numeric_limits<int>::max();
    constexpr double kGradesPerFloor = 10.0;
    return static_cast<int>(std::clamp(number * kGradesPerFloor, kLowest, kHighest));
}

}  // namespace norvex::common
