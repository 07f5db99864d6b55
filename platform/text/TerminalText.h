// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"

#include <string>
#include <string_view>

// What a terminal does not show but obeys. Any thread.
namespace norvex::text {

// Whether a terminal may take the character for a command: control characters of either kind (C0, C1, delete), line
// and paragraph separators, and marks that turn the writing direction.
NORVEX_PLATFORM_API bool ActsOnTerminal(char32_t character);

// A JSON document that says the same and has none of these characters but line breaks: they become "\u009b". Requires:
// a document in UTF-8, whose texts have no raw C0 character, as JSON demands.
NORVEX_PLATFORM_API std::string SafeJson(std::string json);

}  // namespace norvex::text
