// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>
#include <vector>

// Options and words that several commands share.

namespace norvex::cli {

// The exit codes, for the end of a command's help.
extern const char* const kExitCodes;

// An option that may be given several times, with one value each time, so that what follows may be the model.
void AddNames(CLI::App& command, const std::string& option, std::vector<std::string>& names, const std::string& type,
              const std::string& help);

// For an option or a word that is a whole number of at least `least`. Without it a larger one than fits would be taken
// for the largest that does.
CLI::Validator WholeNumber(std::int64_t least);

void AddNoColour(CLI::App& command, bool& noColour);

}  // namespace norvex::cli
