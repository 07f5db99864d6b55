// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/text/CString.h"

#include <string>
#include <string_view>

// The one place where the host's paths (UTF-16, backslashes) meet those of this system (bytes, here UTF-8 and slashes).
//
// Native names are bytes and need not be text. A byte 80..FF that belongs to no UTF-8 sequence becomes the lone
// surrogate U+DC80..U+DCFF, a backslash inside a name U+DC5C; on the way back these become the byte again. So every
// native path survives the way to CString and back unchanged. All functions may be called from any thread.
namespace norvex::kernel {

// The path up to its first NUL. Backslashes become separators; a lone surrogate that stands for no byte is written as
// three bytes, as UTF-8 would write any other unit.
NORVEX_PLATFORM_API std::string ToNativePath(const CString& hostPath);

// A path or a single name. Separators become backslashes.
NORVEX_PLATFORM_API CString FromNativePath(std::string_view nativePath);

}  // namespace norvex::kernel
