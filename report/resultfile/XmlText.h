// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

// Texts as a result file has them. Programs read them back, so that nothing is lost.

namespace norvex::report {

// UTF-8 text with nothing in it that XML 1.0 cannot hold, and nothing lost: a byte of such a character, or one that
// begins no character, becomes "\x" and two hexadecimal digits, and a backslash becomes two.
std::string XmlText(std::string_view text);

}  // namespace norvex::report
