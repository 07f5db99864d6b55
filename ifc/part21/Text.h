// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace norvex::ifc::part21 {

// Decodes what stands between the apostrophes of a string: '' and \\, \S\, \P.\, \X\, \X2\ and \X4\. Raw bytes above
// 126 are outside the standard but common: they are taken as UTF-8 when the whole string is valid UTF-8, else as
// Latin-1. A backslash that begins nothing stays as it stands; `bad`, when given, is then set and never cleared.
// Returns: valid UTF-8 without NUL; code points that are none become U+FFFD. Of a longer text as many whole code points
// as `most` bytes hold; what follows is not decoded and takes no memory.
std::string DecodeText(std::string_view encoded, bool* bad = nullptr, std::size_t most = std::string::npos);

// Returns: whether DecodeText() gives the text as it stands, as it does most GlobalIds and words.
bool IsPlainText(std::string_view encoded);

}  // namespace norvex::ifc::part21
