// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/text/CString.h"

namespace norvex::text {

// The decimal number that a text begins with, a sign before it and, before that, what TrimLeft takes for blanks allowed
// ("2.5", " +3x", "1e2"); 0 when it begins with none. Hexadecimal digits, wide digits, "inf" and "nan" are no numbers,
// and a comma ends one. Independent of the locale. A number beyond what a double holds gives an infinity, one too small
// for it 0. May be called from any thread.
NORVEX_PLATFORM_API double LeadingNumber(const CString& text);

}  // namespace norvex::text
