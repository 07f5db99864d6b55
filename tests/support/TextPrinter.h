// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/text/CString.h"
#include "platform/text/Utf8.h"

#include <ostream>

// Lets GoogleTest show a CString as text. Include it wherever an expectation compares one.
inline void PrintTo(const CString& text, std::ostream* out) {
    *out << '"' << norvex::text::ToUtf8(text) << '"';
}
