// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/text/CString.h"

#include <string>
#include <string_view>

// The one pair of conversions between wide and narrow text. The code page is 936 (GBK with Microsoft's best fits),
// which is what CP_THREAD_ACP means on a Simplified Chinese system, whatever the locale of this process: trust lists
// and result files must carry the same bytes on every machine. All functions may be called from any thread.
namespace norvex::text {

// The text up to its first NUL in code page 936. A code unit without a mapping becomes '?', one for each unit: a
// surrogate pair gives "??". Errors: std::runtime_error when ICU lacks the code page's table.
NORVEX_PLATFORM_API std::string WideToNarrow(const CString& wide);

// The text up to its first NUL, read as code page 936. A lead byte with a trail byte that maps to nothing becomes one
// '?' for both bytes; a lead byte at the end of the text becomes '?'. Errors: std::runtime_error when ICU lacks the
// code page's table.
NORVEX_PLATFORM_API CString NarrowToWide(std::string_view narrow);

// The same conversions over a counted text: NULs are characters like any other. A lead byte before a NUL becomes '?',
// and the NUL stays.
NORVEX_PLATFORM_API std::string WideToNarrowCounted(std::u16string_view wide);
NORVEX_PLATFORM_API CString NarrowToWideCounted(std::string_view narrow);

// Appends what the bytes stand for, as far as they stand for characters. Returns: how many bytes that were; fewer than
// all before bytes that map to nothing, and before a lead byte that ends the text.
NORVEX_PLATFORM_API std::size_t AppendWellFormed(std::string_view narrow, std::u16string& wide);

// Whether a byte begins a character of two bytes.
NORVEX_PLATFORM_API bool IsNarrowLead(char byte) noexcept;

}  // namespace norvex::text
