// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/text/CString.h"

namespace norvex::kernel {

// Whether a file name matches a search pattern: "*" stands for any characters, "?" for one code unit, and A to Z match
// a to z; "*.*" matches every name. There are no short names, so "*.xml" never matches "a.xmlx". Time grows with the
// product of the lengths at worst.
NORVEX_PLATFORM_API bool MatchesPattern(const CString& name, const CString& pattern);

}  // namespace norvex::kernel
