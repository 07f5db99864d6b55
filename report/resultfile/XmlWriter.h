// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct _xmlBuffer;
struct _xmlTextWriter;

namespace norvex::report {

// UTF-8 text with nothing in it that XML 1.0 cannot hold, and nothing lost: a byte of such a character, or one that
// begins no character, becomes "\x" and two hexadecimal digits, and a backslash becomes two.
std::string XmlText(std::string_view text);

// Writes one XML document, indented, in UTF-8. Text and attribute values pass through XmlText. Errors: std::bad_alloc.
class XmlWriter {
  public:
    XmlWriter();
    XmlWriter(const XmlWriter&) = delete;
    XmlWriter& operator=(const XmlWriter&) = delete;
    ~XmlWriter();

    // Requires: at most one element that is not inside another.
    XmlWriter& Start(const char* element);
    // Attributes of the element that was started last. Requires: nothing else was written into it.
    XmlWriter& Attribute(const char* name, std::string_view value);
    XmlWriter& Number(const char* name, std::uint64_t value);
    XmlWriter& Flag(const char* name, bool value);
    // Leaves the attribute out when the value is empty.
    XmlWriter& Optional(const char* name, std::string_view value);
    XmlWriter& Text(std::string_view text);
    XmlWriter& End();
    // An element with nothing but text.
    XmlWriter& Leaf(const char* element, std::string_view text);

    // Ends what is open. Requires: called once and last.
    std::string Finish();

  private:
    _xmlBuffer* m_buffer;
    _xmlTextWriter* m_writer;
};

}  // namespace norvex::report
