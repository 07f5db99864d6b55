// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/text/CodePage.h"

#include <initializer_list>
#include <string>

namespace norvex::test {

// Narrow text as it crosses to the service: code page 936.
inline std::string Narrow(const CString& wide) {
    return text::WideToNarrow(wide);
}

}  // namespace norvex::test
