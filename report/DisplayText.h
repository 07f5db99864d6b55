// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace norvex::report {

// Text of a model made safe for a terminal: control characters, line and paragraph separators and marks that turn the
// writing direction become visible escapes such as "\x1B"; ill-formed UTF-8 becomes U+FFFD. Everything else stays.
std::string Sanitised(std::string_view utf8);

// Columns that a terminal uses for the text: two for wide East Asian characters, none for combining marks. Requires:
// sanitised text.
std::size_t DisplayWidth(std::string_view utf8);

// The text in lines of at most width columns, broken at blanks where there are any and between wide characters; a word
// that is wider is cut. At least one line. Requires: sanitised text.
std::vector<std::string> Wrapped(std::string_view utf8, std::size_t width);

// Millimetres as metres with two decimals; what rounds to zero is "0.00", on either side of it.
std::string MetresText(double millimetres);

}  // namespace norvex::report
