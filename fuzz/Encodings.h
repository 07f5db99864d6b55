// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/text/CString.h"
#include "platform/text/Utf8.h"

#include <string>
#include <string_view>

// XML documents in the encodings that hide their text from a look at their bytes.

namespace norvex::fuzz {

enum class Encoding { Utf8, Utf16Little, Utf16Big };

// By the byte order mark.
inline Encoding EncodingOf(std::string_view bytes) {
    return bytes.starts_with("\xFF\xFE")   ? Encoding::Utf16Little
           : bytes.starts_with("\xFE\xFF") ? Encoding::Utf16Big
                                           : Encoding::Utf8;
}

inline std::string ToEncoding(std::string_view utf8, Encoding encoding) {
    if (encoding == Encoding::Utf8) {
        return std::string(utf8);
    }
    const bool isLittle = encoding == Encoding::Utf16Little;
    std::string bytes = isLittle ? "\xFF\xFE" : "\xFE\xFF";
    const CString wide = text::FromUtf8(utf8);
    for (const char16_t unit : text::View(wide)) {
        const auto low = static_cast<char>(unit & 0xFF);
        const auto high = static_cast<char>(unit >> 8);
        bytes += isLittle ? low : high;
        bytes += isLittle ? high : low;
    }
    return bytes;
}

// Without the byte order mark.
inline std::string FromEncoding(std::string_view bytes, Encoding encoding) {
    if (encoding == Encoding::Utf8) {
        return std::string(bytes);
    }
    const std::size_t lowAt = encoding == Encoding::Utf16Little ? 0 : 1;
    std::u16string units;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
        const unsigned low = static_cast<unsigned char>(bytes[i + lowAt]);
        const unsigned high = static_cast<unsigned char>(bytes[i + 1 - lowAt]);
        units += static_cast<char16_t>(high << 8U | low);
    }
    return text::ToUtf8(text::ToCString(units));
}

}  // namespace norvex::fuzz
