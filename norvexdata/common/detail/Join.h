// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/text/CString.h"

namespace norvex::common {

// The texts in their order with a separator between each two; "" for none.
template <class Texts>
CString Join(const Texts& texts, const CString& separator) {
    CString joined;
    bool isFirst = true;
    for (const CString& text : texts) {
        if (!isFirst) {
            joined += separator;
        }
        joined += text;
        isFirst = false;
    }
    return joined;
}

}  // namespace norvex::common
