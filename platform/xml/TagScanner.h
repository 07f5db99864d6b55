// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace norvex::xml {

// What a tag may hold at most; no document needs as many. The parser compares each attribute of a tag with all others,
// so that a tag must be known to hold fewer before the parser reads it.
inline constexpr int kMaxAttributes = 1000;

// Reads a document's characters, piece by piece, ahead of the parser and counts the attributes of each tag. Whatever
// the parser takes for well-formed is counted right.
class TagScanner {
  public:
    // Returns false at a tag with more than kMaxAttributes attributes; then reads no further.
    bool Read(std::u16string_view units);
    // Of the last character that was read, from 1.
    int Line() const { return m_line; }

  private:
    enum class Place { Outside, Tag, Value, Other };

    void Step(char16_t unit);
    void StepInTag(char16_t unit);

    Place m_place = Place::Outside;
    int m_line = 1;
    int m_attributes = 0;
    char16_t m_quote = 0;
    // The first characters behind the last '<', as many as tell a tag from a comment, a section or an instruction.
    char16_t m_opening[8] = {};
    std::size_t m_openingSize = 0;
    // What ends a comment, a section or an instruction, and the last three characters in it.
    std::u16string_view m_end;
    char16_t m_last[3] = {};
};

}  // namespace norvex::xml
