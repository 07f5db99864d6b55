// SPDX-License-Identifier: Apache-2.0
#include "report/RulesText.h"

#include <fmt/format.h>
#include <algorithm>
#include <string_view>

#include "report/DisplayText.h"
#include "report/Table.h"
#include "service/Words.h"

namespace norvex::report {
namespace {

// Longer lines of running text are hard to read.
constexpr std::size_t kLongestLine = 100;

std::string SpecialtiesOf(const service::RuleRecord& rule, bool withWord) {
    std::vector<std::string> names;
    for (const std::string& specialty : rule.specialties) {
        const std::string_view gloss = service::SpecialtyGloss(specialty);
        names.push_back(gloss.empty() ? specialty
                        : withWord    ? fmt::format("{} ({})", specialty, gloss)
                                      : std::string(gloss));
    }
    return names.empty() ? "all" : service::Joined(names);
}

std::string Section(std::string_view title, const std::string& text, const TextStyle& style) {
    if (text.empty()) {
        return "";
    }
    std::string out = "\n" + Toned(title, Tone::Strong, style) + "\n";
    const std::size_t width = std::min(style.width, kLongestLine);
    for (const std::string& line : Wrapped(Sanitised(text), width > 2 ? width - 2 : width)) {
        out += "  " + line + "\n";
    }
    return out;
}

}  // namespace

std::string RulesText(const std::vector<service::RuleRecord>& rules, const TextStyle& style) {
    Table table({{"Rule"}, {"Name"}, {"Version"}, {"Module"}, {"Specialties"}, {"What it looks for"}});
    for (const service::RuleRecord& rule : rules) {
        table.AddRow({{rule.shortName, Tone::Strong},
                      {rule.name},
                      {rule.version},
                      {rule.module},
                      {SpecialtiesOf(rule, false)},
                      {rule.title}});
    }
    return table.ToText(style);
}

std::string RulePage(const service::RuleRecord& rule, const TextStyle& style) {
    std::string out = Toned(Sanitised(rule.shortName + ": " + rule.title), Tone::Strong, style) + "\n";
    out += Section("What it looks for", rule.what, style);
    out += Section("Why", rule.why, style);
    out += Section("Severity", rule.severity, style);
    out += Section("How to fix", rule.howToFix, style);
    out += "\n";
    for (const auto& [label, text] : {std::pair<std::string_view, std::string>{"Name", rule.name},
                                      {"Category", rule.category},
                                      {"Specialties", SpecialtiesOf(rule, true)},
                                      {"Module", rule.module},
                                      {"Version", rule.version},
                                      {"MD5", rule.md5}}) {
        out += fmt::format("{:<11}  {}\n", label, Sanitised(text));
    }
    return out;
}

}  // namespace norvex::report
