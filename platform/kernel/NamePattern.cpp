// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/NamePattern.h"

#include <string_view>

namespace norvex::kernel {

namespace {

char16_t Folded(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit - u'A' + u'a') : unit;
}

}  // namespace

bool MatchesPattern(const CString& name, const CString& pattern) {
    const std::u16string_view text = text::ViewToNul(name);
    const std::u16string_view wanted = text::ViewToNul(pattern);
    if (wanted == u"*.*") {
        return true;
    }
    // Where to go on when a later part does not fit: behind the last star, with one more unit for it.
    std::size_t starInPattern = std::u16string_view::npos;
    std::size_t starInText = 0;
    std::size_t inPattern = 0;
    std::size_t inText = 0;
    while (inText < text.size()) {
        if (inPattern < wanted.size() && wanted[inPattern] == u'*') {
            starInPattern = inPattern++;
            starInText = inText;
        } else if (inPattern < wanted.size() &&
                   (wanted[inPattern] == u'?' || Folded(wanted[inPattern]) == Folded(text[inText]))) {
            ++inPattern;
            ++inText;
        } else if (starInPattern != std::u16string_view::npos) {
            inPattern = starInPattern + 1;
            inText = ++starInText;
        } else {
            return false;
        }
    }
    while (inPattern < wanted.size() && wanted[inPattern] == u'*') {
        ++inPattern;
    }
    return inPattern == wanted.size();
}

}  // namespace norvex::kernel
