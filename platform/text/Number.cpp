// SPDX-License-Identifier: Apache-2.0
#include "platform/text/Number.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>

namespace norvex::text {

namespace {

// The text as far as it is ASCII; no other character can be part of a number.
std::string LeadingAscii(std::u16string_view text) {
    const auto end = std::ranges::find_if(text, [](char16_t unit) { return unit >= 0x80; });
    std::string narrow;
    std::transform(text.begin(), end, std::back_inserter(narrow),
                   [](char16_t unit) { return static_cast<char>(unit); });
    return narrow;
}

// The exponent behind an "e", its own sign allowed; where digits do not fit, one beyond any length of a text.
std::int64_t Exponent(std::string_view digits) {
    constexpr std::int64_t kBeyond = std::int64_t{1} << 40;
    const bool isNegative = digits.starts_with('-');
    digits.remove_prefix(isNegative || digits.starts_with('+') ? 1 : 0);
    std::int64_t value = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    value = result.ec == std::errc::result_out_of_range ? kBeyond : std::min(value, kBeyond);
    return isNegative ? -value : value;
}

// Whether a number that no double holds is too small for one rather than too large: whether its first digit that counts
// stands behind the point once the exponent has moved it. Such numbers are so far from 1 that a digit's width does not
// matter. The text is the number alone, without a sign.
bool IsTooSmall(std::string_view number) {
    const std::size_t mark = std::min(number.find_first_of("eE"), number.size());
    const std::int64_t exponent = mark < number.size() ? Exponent(number.substr(mark + 1)) : 0;
    const std::string_view digits = number.substr(0, mark);
    const auto point = static_cast<std::int64_t>(std::min(digits.find('.'), digits.size()));
    const auto first = static_cast<std::int64_t>(digits.find_first_not_of("0."));
    return point - first + exponent <= 0;
}

}  // namespace

double LeadingNumber(const CString& text) {
    CString trimmed = text;
    const std::string narrow = LeadingAscii(ViewToNul(trimmed.TrimLeft()));
    std::string_view rest = narrow;
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
    if (result.ec == std::errc::invalid_argument) {
        return 0.0;
    }
    if (result.ec == std::errc::result_out_of_range) {
        const std::string_view number(rest.data(), static_cast<std::size_t>(result.ptr - rest.data()));
        value = IsTooSmall(number) ? 0.0 : std::numeric_limits<double>::infinity();
    }
    return isNegative ? -value : value;
}

}  // namespace norvex::text
