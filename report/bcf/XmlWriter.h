// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace norvex::report::bcf {

// Text that XML 1.0 can hold: characters that it cannot become visible escapes such as "\x1B" or "\uFFFE", ill-formed
// UTF-8 becomes U+FFFD. Everything else stays.
std::string XmlText(std::string_view utf8);

// The same on one line: tabs and line breaks become blanks.
std::string XmlLine(std::string_view utf8);

// Writes an XML document in UTF-8, two blanks for each level. Texts may hold anything; a text that is blank is written
// as "-", because BCF allows no blank text anywhere.
class XmlWriter {
  public:
    XmlWriter();

    // Names are written as they are.
    void Open(std::string_view name);
    // Requires: nothing was added to the open element yet.
    void Attribute(std::string_view name, std::string_view value);
    void Close();
    // An element that holds nothing but text.
    void Leaf(std::string_view name, std::string_view text);
    void Leaf(std::string_view name, double value);

    // Requires: all elements are closed.
    std::string Finish() && { return std::move(m_text); }

  private:
    void EndTag();

    struct Level {
        std::string name;
        bool hasContent = false;
    };

    std::string m_text;
    std::vector<Level> m_levels;
};

}  // namespace norvex::report::bcf
