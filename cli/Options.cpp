// SPDX-License-Identifier: Apache-2.0
#include "cli/Options.h"

#include <fmt/format.h>
#include <charconv>
#include <limits>

namespace norvex::cli {

const char* const kExitCodes =
    "Exit codes:\n"
    "  0  clean: everything in scope was checked, nothing found that counts\n"
    "  1  findings\n"
    "  2  wrong use or unreadable input; nothing was checked\n"
    "  3  incomplete: something in scope was not checked (a rule crashed or could not be loaded, parts of the\n"
    "     model could not be read, no rule had anything to look at), or the result could not be delivered";

void AddNames(CLI::App& command, const std::string& option, std::vector<std::string>& names, const std::string& type,
              const std::string& help) {
    command.add_option(option, names, help)->type_name(type)->allow_extra_args(false);
}

CLI::Validator WholeNumber(std::int64_t least) {
    CLI::Validator validator(
        [least](const std::string& text) {
            std::int64_t number = 0;
            const char* const end = text.data() + text.size();
            const auto [stop, error] = std::from_chars(text.data(), end, number);
            return error == std::errc() && stop == end && number >= least
                       ? std::string()
                       : fmt::format("\"{}\" is no whole number from {} to {}", text, least,
                                     std::numeric_limits<std::int64_t>::max());
        },
        "");
    return validator;
}

void AddNoColour(CLI::App& command, bool& noColour) {
    command.add_flag("--no-color", noColour, "No colours; NO_COLOR in the environment says the same");
}

}  // namespace norvex::cli
