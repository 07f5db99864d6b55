// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

// Texts as an archive has them. Other programs show them as they are, so that what XML cannot hold is to be read by
// people, not turned back.

namespace norvex::report::bcf {

// Text that XML 1.0 can hold: characters that it cannot become visible escapes such as "\x1B" or "\uFFFE", ill-formed
// UTF-8 becomes U+FFFD. Everything else stays.
std::string XmlText(std::string_view utf8);

// The same on one line: tabs and line breaks become blanks.
std::string XmlLine(std::string_view utf8);

// What an XmlWriter of an archive writes: XmlText, or "-" for a text that is blank, because BCF allows none anywhere.
std::string WrittenText(std::string_view utf8);

// A number as a text: a thousandth of a millimetre where lengths are metres; no "-0".
std::string NumberText(double value);

}  // namespace norvex::report::bcf
