// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "report/TextStyle.h"
#include "service/RunReport.h"

// Words that the parts of a text report share.

namespace norvex::report {

// The specialty with its English gloss behind it.
std::string SpecialtyLabel(const std::string& specialty);

// The short name of a rule of the report; the full one when it has none.
std::string ShortNameOf(const service::RunReport& report, const std::string& rule);

// "1 pipe", "2 pipes".
std::string Counted(std::size_t count, std::string_view one, std::string_view many);

// An empty line, and the title of what follows.
std::string Heading(std::string_view title, const TextStyle& style);

}  // namespace norvex::report
