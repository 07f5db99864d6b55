// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/NativePath.h"

#include <optional>

namespace norvex::kernel {

namespace {

// U+DC00 plus the byte stands for a byte that is no text, or for a backslash that separates nothing.
constexpr char16_t kEscape = 0xDC00;

bool IsEscape(char32_t character) {
    return character == kEscape + U'\\' || (character >= kEscape + 0x80 && character <= kEscape + 0xFF);
}

void AppendUtf8(std::string& bytes, char32_t character) {
    const auto append = [&](char32_t byte) { bytes.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
    if (character < 0x80) {
        append(character);
    } else if (character < 0x800) {
        append(0xC0 | character >> 6);
        append(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        append(0xE0 | character >> 12);
        append(0x80 | (character >> 6 & 0x3F));
        append(0x80 | (character & 0x3F));
    } else {
        append(0xF0 | character >> 18);
        append(0x80 | (character >> 12 & 0x3F));
        append(0x80 | (character >> 6 & 0x3F));
        append(0x80 | (character & 0x3F));
    }
}

// The character that begins the bytes, and how many of them it takes; nothing when they begin no UTF-8 sequence.
struct Decoded {
    char32_t character;
    std::size_t size;
};

std::optional<Decoded> DecodeUtf8(std::string_view bytes) {
    const auto byteAt = [&](std::size_t index) { return static_cast<unsigned char>(bytes[index]); };
    const unsigned char lead = byteAt(0);
    if (lead < 0x80) {
        return Decoded{lead, 1};
    }
    const std::size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || bytes.size() < size) {
        return std::nullopt;
    }
    char32_t character = lead & (0x7FU >> size);
    for (std::size_t index = 1; index < size; ++index) {
        if ((byteAt(index) & 0xC0) != 0x80) {
            return std::nullopt;
        }
        character = character << 6 | (byteAt(index) & 0x3FU);
    }
    // Longer than needed, a surrogate, or beyond Unicode.
    const char32_t smallest = size == 4 ? 0x10000 : size == 3 ? 0x800 : 0x80;
    if (character < smallest || (character >= 0xD800 && character <= 0xDFFF) || character > 0x10FFFF) {
        return std::nullopt;
    }
    return Decoded{character, size};
}

void AppendUtf16(std::u16string& units, char32_t character) {
    if (character < 0x10000) {
        units.push_back(static_cast<char16_t>(character));
    } else {
        units.push_back(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
        units.push_back(static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF)));
    }
}

bool IsHighSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

}  // namespace

std::string ToNativePath(const CString& hostPath) {
    const std::u16string_view units = text::ViewToNul(hostPath);
    std::string bytes;
    bytes.reserve(units.size());
    for (std::size_t index = 0; index < units.size(); ++index) {
        char32_t character = units[index];
        if (IsHighSurrogate(units[index]) && index + 1 < units.size() && IsLowSurrogate(units[index + 1])) {
            character = 0x10000 + ((character - 0xD800) << 10) + (units[++index] - 0xDC00U);
        }
        if (character == U'\\') {
            bytes.push_back('/');
        } else if (IsEscape(character)) {
            bytes.push_back(static_cast<char>(static_cast<unsigned char>(character - kEscape)));
        } else {
            AppendUtf8(bytes, character);
        }
    }
    return bytes;
}

CString FromNativePath(std::string_view nativePath) {
    std::u16string units;
    units.reserve(nativePath.size());
    while (!nativePath.empty()) {
        const auto decoded = DecodeUtf8(nativePath);
        if (!decoded) {
            units.push_back(static_cast<char16_t>(kEscape + static_cast<unsigned char>(nativePath.front())));
        } else if (decoded->character == U'/') {
            units.push_back(u'\\');
        } else if (decoded->character == U'\\') {
            units.push_back(static_cast<char16_t>(kEscape + u'\\'));
        } else {
            AppendUtf16(units, decoded->character);
        }
        nativePath.remove_prefix(decoded ? decoded->size : 1);
    }
    return text::ToCString(units);
}

}  // namespace norvex::kernel
