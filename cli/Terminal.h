// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "report/TextStyle.h"

namespace norvex::cli {

// How text for standard output is to look: as wide as the terminal, and in colour there unless the user does not want
// it (--no-color, or a NO_COLOR that is not empty); wider and plain when it goes to a file or a pipe.
report::TextStyle StyleOfOutput(bool noColour);

// Whether standard error is a terminal that can redraw a line.
bool CanRedrawErrors();
// Columns of the terminal behind standard error.
std::size_t WidthOfErrors();

}  // namespace norvex::cli
