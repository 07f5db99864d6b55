// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "report/TextStyle.h"
#include "service/RunReport.h"

namespace norvex::report {

// What each rule came to on each floor. A long list is cut to what needs attention unless all of it is wanted.
std::string OutcomesText(const service::RunReport& report, const TextStyle& style, bool showsAll);

// How long each rule took on each floor.
std::string TimesText(const service::RunReport& report, const TextStyle& style);

}  // namespace norvex::report
