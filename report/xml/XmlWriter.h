// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

struct _xmlOutputBuffer;
struct _xmlTextWriter;

namespace norvex::report {

// What is written of a text: valid UTF-8 with nothing in it that XML 1.0 cannot hold (XmlCharacter.h). How the rest
// becomes so is a matter of who reads the document.
using TextPolicy = std::string (*)(std::string_view text);

// Writes one XML document, indented, in UTF-8. Text and attribute values pass through the policy. Errors:
// std::bad_alloc.
class XmlWriter {
  public:
    explicit XmlWriter(TextPolicy policy);
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
    // What the XML library calls with finished bytes. Returns how many it took, -1 when there is no memory for them.
    static int Take(void* self, const char* bytes, int count);

    TextPolicy m_policy;
    std::string m_document;
    _xmlOutputBuffer* m_buffer;  // the writer's own
    _xmlTextWriter* m_writer;
};

}  // namespace norvex::report
