// SPDX-License-Identifier: Apache-2.0
#include "report/bcf/XmlText.h"

#include <fmt/format.h>
#include <unicode/utf8.h>
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "report/xml/XmlCharacter.h"

namespace norvex::report::bcf {

std::string XmlText(std::string_view utf8) {
    std::string text;
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(utf8.data());
    const auto size = static_cast<int32_t>(utf8.size());
    for (int32_t at = 0; at < size;) {
        const int32_t begin = at;
        UChar32 character = 0;
        U8_NEXT(bytes, at, size, character);
        if (character < 0) {
            text += "\xEF\xBF\xBD";
        } else if (IsXmlCharacter(character)) {
            text += utf8.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(at - begin));
        } else {
            text += character < 0x100 ? fmt::format("\\x{:02X}", character) : fmt::format("\\u{:04X}", character);
        }
    }
    return text;
}

std::string XmlLine(std::string_view utf8) {
    std::string text = XmlText(utf8);
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
    return text;
}

std::string WrittenText(std::string_view utf8) {
    const bool isBlank = utf8.find_first_not_of(" \t\r\n") == std::string_view::npos;
    return isBlank ? "-" : XmlText(utf8);
}

std::string NumberText(double value) {
    constexpr double kSteps = 1e6;
    return fmt::format("{}", std::round(value * kSteps) / kSteps + 0.0);
}

}  // namespace norvex::report::bcf
