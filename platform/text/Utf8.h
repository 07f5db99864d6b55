// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/text/CString.h"

#include <string>
#include <string_view>

// UTF-8 for everything on this side of the host: native paths, terminals, JSON. The module itself never uses it. Both
// functions convert the whole text, NULs included, and may be called from any thread.
// Errors: CInvalidArgException for a text whose UTF-8 form may be longer than 2^31 - 1 bytes.
namespace norvex::text {

// A surrogate without its partner becomes U+FFFD.
NORVEX_PLATFORM_API std::string ToUtf8(const CString& wide);

// Each maximal part of an ill-formed sequence becomes U+FFFD.
NORVEX_PLATFORM_API CString FromUtf8(std::string_view utf8);

}  // namespace norvex::text
