// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/text/TerminalText.h"

namespace norvex::report {

// Keeps the order in which fields are named, so that equal values give equal bytes.
using Json = nlohmann::ordered_json;

// A length in millimetres to a thousandth: what is finer comes from arithmetic, not from the model.
inline double Rounded(double millimetres) {
    constexpr double kSteps = 1000.0;
    const double rounded = std::round(millimetres * kSteps) / kSteps;
    return rounded == 0.0 ? 0.0 : rounded;
}

// The document with two blanks of indent and a line break at its end; ill-formed UTF-8 becomes U+FFFD, and what a
// terminal would obey is escaped.
inline std::string DocumentText(const Json& document) {
    return text::SafeJson(document.dump(2, ' ', false, Json::error_handler_t::replace)) + "\n";
}

}  // namespace norvex::report
