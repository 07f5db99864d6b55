// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>

namespace norvex::ifc::part21 {

// What a byte means outside of strings and comments.
enum class CharClass : std::uint8_t {
    Blank,    // space, tab, line ends
    Plain,    // part of a number, keyword or separator without structure: letters, digits , . + - _ $ * #
    Illegal,  // control bytes and bytes above 126: only strings and comments may hold them
    Quote,    // '
    Binary,   // "
    Open,     // (
    Close,    // )
    Slash,    // /
    End,      // ;
    Equals,   // =
};

constexpr std::array<CharClass, 256> MakeCharClasses() {
    std::array<CharClass, 256> table{};
    table.fill(CharClass::Illegal);
    for (const char c : {' ', '\t', '\r', '\n', '\f', '\v'}) {
        table[static_cast<unsigned char>(c)] = CharClass::Blank;
    }
    for (unsigned char c = 'a'; c <= 'z'; ++c) {
        table[c] = CharClass::Plain;
        table[static_cast<unsigned char>(c - 'a' + 'A')] = CharClass::Plain;
    }
    for (unsigned char c = '0'; c <= '9'; ++c) {
        table[c] = CharClass::Plain;
    }
    for (const char c : {',', '.', '+', '-', '_', '$', '*', '#', '!', '@', '<', '>', '&', '%', ':'}) {
        table[static_cast<unsigned char>(c)] = CharClass::Plain;
    }
    table['\''] = CharClass::Quote;
    table['"'] = CharClass::Binary;
    table['('] = CharClass::Open;
    table[')'] = CharClass::Close;
    table['/'] = CharClass::Slash;
    table[';'] = CharClass::End;
    table['='] = CharClass::Equals;
    return table;
}

inline constexpr std::array<CharClass, 256> kCharClasses = MakeCharClasses();

inline CharClass ClassOf(char c) {
    return kCharClasses[static_cast<unsigned char>(c)];
}
inline bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
inline bool IsUpper(char c) {
    return c >= 'A' && c <= 'Z';
}
inline char ToUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
inline bool IsKeywordByte(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || IsDigit(c) || c == '_' || c == '-' || c == '!';
}

}  // namespace norvex::ifc::part21
