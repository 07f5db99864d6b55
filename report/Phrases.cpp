// SPDX-License-Identifier: Apache-2.0
#include "report/Phrases.h"

#include <fmt/format.h>
#include <algorithm>

#include "report/Table.h"
#include "service/Words.h"

namespace norvex::report {

std::string SpecialtyLabel(const std::string& specialty) {
    const std::string_view gloss = service::SpecialtyGloss(specialty);
    return gloss.empty() ? specialty : fmt::format("{} ({})", specialty, gloss);
}

std::string ShortNameOf(const service::RunReport& report, const std::string& rule) {
    const auto found = std::find_if(report.rules.begin(), report.rules.end(),
                                    [&](const service::RuleRecord& record) { return record.name == rule; });
    return found == report.rules.end() || found->shortName.empty() ? rule : found->shortName;
}

std::string Counted(std::size_t count, std::string_view one, std::string_view many) {
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

std::string Heading(std::string_view title, const TextStyle& style) {
    return "\n" + Toned(title, Tone::Strong, style) + "\n";
}

}  // namespace norvex::report
