// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <algorithm>
#include <memory>
#include <optional>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/KnownRules.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Terminal.h"
#include "report/RulesText.h"
#include "service/Host.h"
#include "service/Words.h"

namespace norvex::cli {
namespace {

struct RulesOptions {
    std::optional<std::string> name;
    bool noColour = false;
};

// The page of one rule.
int ShowRule(const KnownRules& rules, const RulesOptions& options) {
    std::vector<std::string> known;
    for (const service::RuleRecord& rule : rules.records) {
        if (service::EqualsIgnoringCase(rule.name, *options.name) ||
            service::EqualsIgnoringCase(rule.shortName, *options.name)) {
            return WriteOut(report::RulePage(rule, StyleOfOutput(options.noColour))) ? kClean : kIncomplete;
        }
        known.push_back(fmt::format("{} ({})", rule.shortName, rule.name));
    }
    Complain(fmt::format("There is no rule \"{}\"; there is: {}.", *options.name, service::Joined(known)));
    return kUnusable;
}

int Rules(const RulesOptions& options) {
    std::string error;
    const std::optional<KnownRules> rules = FindRules(service::ApplicationFolder(), error);
    if (!rules) {
        Complain(error);
        return kUnusable;
    }
    if (options.name) {
        return ShowRule(*rules, options);
    }
    const bool delivered = WriteOut(report::RulesText(rules->records, StyleOfOutput(options.noColour)));
    for (const std::string& failure : rules->failures) {
        Complain(failure);
    }
    return delivered && rules->failures.empty() ? kClean : kIncomplete;
}

}  // namespace

Command AddRules(CLI::App& app) {
    const auto options = std::make_shared<RulesOptions>();
    CLI::App* command = app.add_subcommand("rules", "List the rules that a check runs, or explain one of them");
    command->add_option("RULE", options->name, "The rule to explain: what it looks for, why, and how to fix it")
        ->type_name("");
    AddNoColour(*command, options->noColour);
    command->footer(kExitCodes);
    return {command, [options] { return Rules(*options); }};
}

}  // namespace norvex::cli
