// SPDX-License-Identifier: Apache-2.0
#include "report/bcf/XmlWriter.h"

#include <fmt/format.h>
#include <unicode/utf8.h>
#include <algorithm>
#include <cmath>
#include <cstdint>

namespace norvex::report::bcf {
namespace {

// The production Char of XML 1.0.
bool IsXmlCharacter(UChar32 character) {
    return character == '\t' || character == '\n' || character == '\r' || (character >= 0x20 && character <= 0xD7FF) ||
           (character >= 0xE000 && character <= 0xFFFD) || character >= 0x10000;
}

bool IsBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

std::string Escaped(std::string_view text, bool isAttribute) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            case '\r':
                escaped += "&#13;";
                break;
            case '\t':
            case '\n':
                escaped += isAttribute ? fmt::format("&#{};", static_cast<int>(character)) : std::string(1, character);
                break;
            default:
                escaped += character;
        }
    }
    return escaped;
}

std::string Written(std::string_view text, bool isAttribute) {
    return IsBlank(text) ? "-" : Escaped(XmlText(text), isAttribute);
}

}  // namespace

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

XmlWriter::XmlWriter() : m_text("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n") {
}

void XmlWriter::EndTag() {
    if (!m_levels.empty() && !m_levels.back().hasContent) {
        m_levels.back().hasContent = true;
        m_text += ">\n";
    }
}

void XmlWriter::Open(std::string_view name) {
    EndTag();
    m_text += fmt::format("{:{}}<{}", "", 2 * m_levels.size(), name);
    m_levels.push_back({std::string(name)});
}

void XmlWriter::Attribute(std::string_view name, std::string_view value) {
    m_text += fmt::format(" {}=\"{}\"", name, Written(value, true));
}

void XmlWriter::Close() {
    const Level level = m_levels.back();
    m_levels.pop_back();
    m_text += level.hasContent ? fmt::format("{:{}}</{}>\n", "", 2 * m_levels.size(), level.name) : "/>\n";
}

void XmlWriter::Leaf(std::string_view name, std::string_view text) {
    EndTag();
    m_text += fmt::format("{0:{1}}<{2}>{3}</{2}>\n", "", 2 * m_levels.size(), name, Written(text, false));
}

void XmlWriter::Leaf(std::string_view name, double value) {
    // A thousandth of a millimetre where lengths are metres; no "-0".
    constexpr double kSteps = 1e6;
    Leaf(name, fmt::format("{}", std::round(value * kSteps) / kSteps + 0.0));
}

}  // namespace norvex::report::bcf
