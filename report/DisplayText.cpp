// SPDX-License-Identifier: Apache-2.0
#include "report/DisplayText.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <fmt/format.h>
#include <cstdint>

#include "platform/text/TerminalText.h"

namespace norvex::report {
namespace {

constexpr UChar32 kReplacement = 0xFFFD;

// The code point at position, which moves behind it; U+FFFD for an ill-formed sequence.
UChar32 NextCharacter(std::string_view utf8, std::size_t& position) {
    auto index = static_cast<std::int32_t>(position);
    UChar32 character = 0;
    U8_NEXT_OR_FFFD(reinterpret_cast<const std::uint8_t*>(utf8.data()), index, static_cast<std::int32_t>(utf8.size()),
                    character);
    position = static_cast<std::size_t>(index);
    return character;
}

std::size_t CharacterWidth(UChar32 character) {
    switch (u_charType(character)) {
        case U_NON_SPACING_MARK:
        case U_ENCLOSING_MARK:
        case U_FORMAT_CHAR:
            return 0;
        default:
            break;
    }
    const int width = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

// One piece that is not broken: a word, a single wide character, or blanks.
struct Piece {
    std::string_view text;
    std::size_t width = 0;
    bool isBlank = false;
};

std::vector<Piece> PiecesOf(std::string_view utf8) {
    std::vector<Piece> pieces;
    bool mayGrow = false;
    for (std::size_t position = 0; position < utf8.size();) {
        const std::size_t start = position;
        const UChar32 character = NextCharacter(utf8, position);
        const std::size_t width = CharacterWidth(character);
        const bool isBlank = character == ' ';
        if ((mayGrow && width < 2 && pieces.back().isBlank == isBlank) || (width == 0 && !pieces.empty())) {
            Piece& last = pieces.back();
            last.text = utf8.substr(static_cast<std::size_t>(last.text.data() - utf8.data()),
                                    last.text.size() + position - start);
            last.width += width;
        } else {
            pieces.push_back({utf8.substr(start, position - start), width, isBlank});
            mayGrow = width < 2;
        }
    }
    return pieces;
}

// Cuts a word wider than a line into parts that fit.
std::vector<Piece> CutToWidth(const Piece& word, std::size_t width) {
    std::vector<Piece> parts;
    for (std::size_t position = 0; position < word.text.size();) {
        const std::size_t start = position;
        const std::size_t columns = CharacterWidth(NextCharacter(word.text, position));
        if (parts.empty() || parts.back().width + columns > width) {
            parts.push_back({word.text.substr(start, 0), 0, false});
        }
        Piece& part = parts.back();
        part.text = word.text.substr(static_cast<std::size_t>(part.text.data() - word.text.data()),
                                     part.text.size() + position - start);
        part.width += columns;
    }
    return parts;
}

}  // namespace

std::string Sanitised(std::string_view utf8) {
    std::string safe;
    for (std::size_t position = 0; position < utf8.size();) {
        const std::size_t start = position;
        const UChar32 character = NextCharacter(utf8, position);
        if (text::ActsOnTerminal(static_cast<char32_t>(character))) {
            safe += character <= 0xFF ? fmt::format("\\x{:02X}", static_cast<unsigned>(character))
                                      : fmt::format("\\u{:04X}", static_cast<unsigned>(character));
        } else if (character == kReplacement) {
            safe += "\xEF\xBF\xBD";
        } else {
            safe += utf8.substr(start, position - start);
        }
    }
    return safe;
}

std::size_t DisplayWidth(std::string_view utf8) {
    std::size_t width = 0;
    for (std::size_t position = 0; position < utf8.size();) {
        width += CharacterWidth(NextCharacter(utf8, position));
    }
    return width;
}

std::vector<std::string> Wrapped(std::string_view utf8, std::size_t width) {
    std::vector<std::string> lines(1);
    std::size_t used = 0;
    std::string blanks;
    for (const Piece& piece : PiecesOf(utf8)) {
        if (piece.isBlank) {
            blanks = piece.text;
            continue;
        }
        for (const Piece& part : piece.width > width ? CutToWidth(piece, width) : std::vector<Piece>{piece}) {
            if (used > 0 && used + blanks.size() + part.width > width) {
                lines.emplace_back();
                used = 0;
            } else if (used > 0) {
                lines.back() += blanks;
                used += blanks.size();
            }
            blanks.clear();
            lines.back() += part.text;
            used += part.width;
        }
    }
    return lines;
}

std::string MetresText(double millimetres) {
    constexpr double kMillimetresPerMetre = 1000.0;
    const std::string text = fmt::format("{:.2f}", millimetres / kMillimetresPerMetre);
    return text == "-0.00" ? "0.00" : text;
}

}  // namespace norvex::report
