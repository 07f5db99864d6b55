// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace norvex::report {

// The production Char of XML 1.0. What is no character at all, and negative, is none of XML's either.
constexpr bool IsXmlCharacter(std::int32_t character) {
    return character == '\t' || character == '\n' || character == '\r' || (character >= 0x20 && character <= 0xD7FF) ||
           (character >= 0xE000 && character <= 0xFFFD) || character >= 0x10000;
}

}  // namespace norvex::report
