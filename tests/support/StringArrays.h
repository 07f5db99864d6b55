// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/containers/CStringArray.h"
#include "support/TextPrinter.h"

#include <initializer_list>
#include <vector>

namespace norvex::test {

inline std::vector<CString> Elements(const CStringArray& array) {
    return {array.begin(), array.end()};
}

inline void Fill(CStringArray& array, std::initializer_list<CString> texts) {
    for (const CString& text : texts) {
        array.Add(text);
    }
}

}  // namespace norvex::test
