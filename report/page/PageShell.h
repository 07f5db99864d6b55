// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace norvex::report::page {

// The page without its data, made from web/ when the program is built. The same for every report.
std::string_view ShellBeforeData();
std::string_view ShellAfterData();

}  // namespace norvex::report::page
