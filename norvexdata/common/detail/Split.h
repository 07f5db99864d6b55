// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "platform/text/CString.h"

namespace norvex::common {

// Calls visit(piece) for each piece of the source between separators, empty ones and the one behind the last separator
// included. As in every search of the host's string, a separator behind the first NUL is not seen; an empty separator
// splits nothing. The pieces are views into the source.
template <class Visit>
void ForEachPiece(const CString& source, std::u16string_view separator, Visit visit) {
    const std::u16string_view whole = text::View(source);
    const std::u16string_view searched = text::ViewToNul(source);
    std::size_t begin = 0;
    if (!separator.empty()) {
        std::size_t end = 0;
        while ((end = searched.find(separator, begin)) != std::u16string_view::npos) {
            visit(whole.substr(begin, end - begin));
            begin = end + separator.size();
        }
    }
    visit(whole.substr(begin));
}

// The components of an attribute-name path, empty pieces dropped: specialty, category, sub-category, detail name. Views
// into the path.
struct AttPath {
    static constexpr std::size_t kFullCount = 4;

    // True when the path has exactly four components; only then do the four below mean anything.
    bool IsFull() const { return count == kFullCount; }
    std::u16string_view Specialty() const { return components[0]; }
    std::u16string_view Category() const { return components[1]; }
    std::u16string_view SubCategory() const { return components[2]; }
    std::u16string_view DetailName() const { return components[3]; }

    std::size_t count = 0;
    std::array<std::u16string_view, kFullCount> components;
};

inline AttPath SplitAttPath(const CString& path) {
    AttPath split;
    ForEachPiece(path, u"\\", [&split](std::u16string_view piece) {
        if (piece.empty()) {
            return;
        }
        if (split.count < AttPath::kFullCount) {
            split.components[split.count] = piece;
        }
        ++split.count;
    });
    return split;
}

}  // namespace norvex::common
