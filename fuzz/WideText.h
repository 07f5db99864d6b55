// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/text/CString.h"
#include "platform/text/Utf8.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Inputs and naive twins of targets over the module's wide text.

namespace norvex::fuzz {

using Wide = std::u16string;

// A text as the module has it, of any code units: behind FF FE they stand as they are, little-endian; everything else
// is UTF-8.
inline Wide WideOf(std::string_view bytes) {
    if (!bytes.starts_with("\xFF\xFE")) {
        const CString text = text::FromUtf8(bytes);
        return Wide(text::View(text));
    }
    Wide units;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
        const unsigned low = static_cast<unsigned char>(bytes[i]);
        const unsigned high = static_cast<unsigned char>(bytes[i + 1]);
        units += static_cast<char16_t>(high << 8U | low);
    }
    return units;
}

inline CString Host(const Wide& units) {
    return text::ToCString(units);
}

inline Wide Units(const CString& text) {
    return Wide(text::View(text));
}

// The pieces between separators, empty ones included; an empty text is one empty piece. The separator is not empty.
inline std::vector<Wide> Pieces(const Wide& text, const Wide& separator) {
    std::vector<Wide> pieces(1);
    for (std::size_t i = 0; i < text.size();) {
        if (text.compare(i, separator.size(), separator) == 0) {
            pieces.emplace_back();
            i += separator.size();
        } else {
            pieces.back() += text[i++];
        }
    }
    return pieces;
}

inline std::vector<Wide> PiecesWithText(const Wide& text, const Wide& separator) {
    std::vector<Wide> pieces = Pieces(text, separator);
    std::erase(pieces, Wide());
    return pieces;
}

inline Wide Joined(const std::vector<Wide>& texts, const Wide& separator) {
    Wide joined;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        joined += (i == 0 ? Wide() : separator) + texts[i];
    }
    return joined;
}

template <class Array>
std::vector<Wide> AllUnits(const Array& texts) {
    std::vector<Wide> units;
    for (const CString& text : texts) {
        units.push_back(Units(text));
    }
    return units;
}

}  // namespace norvex::fuzz
