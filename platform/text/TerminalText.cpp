// SPDX-License-Identifier: Apache-2.0
#include "platform/text/TerminalText.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>

namespace norvex::text {

namespace {

// From here on a byte may belong to such a character.
bool MayAct(char byte) {
    return static_cast<unsigned char>(byte) >= 0x7F;
}

}  // namespace

bool ActsOnTerminal(char32_t character) {
    const auto point = static_cast<UChar32>(character);
    switch (u_charType(point)) {
        case U_CONTROL_CHAR:
        case U_LINE_SEPARATOR:
        case U_PARAGRAPH_SEPARATOR:
            return true;
        default:
            return u_hasBinaryProperty(point, UCHAR_BIDI_CONTROL) != 0;
    }
}

std::string SafeJson(std::string json) {
    if (std::none_of(json.begin(), json.end(), MayAct)) {
        return json;
    }
    std::string safe;
    safe.reserve(json.size());
    for (std::size_t position = 0; position < json.size();) {
        const std::size_t start = position;
        if (!MayAct(json[position])) {
            safe += json[position++];
            continue;
        }
        // One character has at most four bytes; the whole text may have more than the counter holds.
        const auto window = static_cast<std::int32_t>(std::min<std::size_t>(json.size() - position, U8_MAX_LENGTH));
        std::int32_t length = 0;
        UChar32 character = 0;
        U8_NEXT_OR_FFFD(reinterpret_cast<const std::uint8_t*>(json.data()) + start, length, window, character);
        position += static_cast<std::size_t>(length);
        if (ActsOnTerminal(static_cast<char32_t>(character))) {
            constexpr std::string_view kDigits = "0123456789abcdef";
            safe += "\\u";
            // All of them lie below U+10000.
            for (int shift = 12; shift >= 0; shift -= 4) {
                safe += kDigits[static_cast<std::size_t>(character >> shift) & 0xFU];
            }
        } else {
            safe.append(json, start, position - start);
        }
    }
    return safe;
}

}  // namespace norvex::text
