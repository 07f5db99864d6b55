// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/text/CString.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// Reads XML 1.0 into a tree of elements. Comments and processing instructions are left out.
namespace norvex::xml {

struct Attribute {
    CString name;
    CString value;
};

// Character data between the tags of an element, as it stands in the file: no blanks are dropped.
struct TextPiece {
    // How many of the element's children come before it.
    std::size_t childrenBefore;
    CString text;
};

// Names carry their prefix, as written.
struct Element {
    CString tag;
    std::vector<Attribute> attributes;
    std::vector<Element> children;
    std::vector<TextPiece> texts;
    // Line of the start tag's end, from 1.
    int line = 0;

    // The value of an attribute; null when there is none of this name.
    NORVEX_PLATFORM_API const CString* FindAttribute(const CString& name) const;
};

// The character data of an element and everything in it, in the order of the file.
NORVEX_PLATFORM_API CString TextOf(const Element& element);

struct ParseResult {
    // The document element; null when the document could not be read, and then the next two say why.
    std::shared_ptr<const Element> root;
    int line = 0;
    std::string sentence;
};

// What a document may hold at most; beyond it, Parse gives up.
inline constexpr std::size_t kMaxBytes = 64U * 1024 * 1024;
inline constexpr std::size_t kMaxNodes = 1'000'000;  // elements, attributes and pieces of text together

// Reads a document in the encoding that its byte order mark, the width of its units or else its declaration tells; GBK
// and GB2312 are read as code page 936, their superset, as editors that write these names mean it. Nothing outside the
// bytes is looked at. A document that declares entities is refused, so none is ever expanded. Depth is limited to 256
// elements, a tag to 1000 attributes. When the memory does not suffice, this too is a sentence, or an empty one:
// nothing is thrown. Any thread.
NORVEX_PLATFORM_API ParseResult Parse(std::string_view bytes);

// The same for a file by the host's path, of which no more than a block is held beside the tree.
NORVEX_PLATFORM_API ParseResult ParseFile(const CString& path);

}  // namespace norvex::xml
