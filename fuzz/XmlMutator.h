// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fuzz/Encodings.h"
#include "fuzz/Mutator.h"

// Changes XML documents behind their encoding, and their depth.

namespace norvex::fuzz {

// Wraps what stands from one tag to another in many elements more.
inline std::string Deepened(const std::string& text, Random& random) {
    const std::size_t at = text.find('<', Below(random, text.size() + 1));
    if (at == std::string::npos) {
        return text;
    }
    const std::size_t end = text.rfind('>');
    const std::size_t behind = end == std::string::npos || end < at ? text.size() : end + 1;
    std::string before;
    std::string after;
    // The reader's limit is 256.
    for (std::size_t depth = Below(random, 300); depth > 0; --depth) {
        before += "<a>";
        after += "</a>";
    }
    return text.substr(0, at) + before + text.substr(at, behind - at) + after + text.substr(behind);
}

// The document changed, in its encoding or in another one.
inline std::string ChangedXml(std::string_view document, std::size_t most, Random& random) {
    Encoding encoding = EncodingOf(document);
    std::string text = FromEncoding(document, encoding);
    if (Below(random, 16) == 0) {
        encoding = static_cast<Encoding>(Below(random, 3));
    }
    if (Below(random, 64) == 0) {
        text = Deepened(text, random);
    } else {
        // UTF-16 takes two bytes at least for each one of ASCII.
        text = Changed(text, encoding == Encoding::Utf8 ? most : most / 2);
    }
    return ToEncoding(text, encoding);
}

}  // namespace norvex::fuzz
