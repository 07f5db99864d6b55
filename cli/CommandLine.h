// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

#include "cli/Commands.h"

namespace norvex::cli {

// What one command line asks for.
struct Reading {
    enum class Kind {
        Command,   // what run does
        Help,      // text on standard output
        WrongUse,  // text says what is wrong, in one sentence
    };
    Kind kind = Kind::WrongUse;
    std::string text;
    // As Command::run; empty for the other kinds. Good as long as the command line lives.
    std::function<int()> run;
};

// All commands with their options, and one reading of what was typed. Reading does nothing yet.
class CommandLine {
  public:
    CommandLine();
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    // The words that the program was started with, its own name first. Called once: options keep what they were told.
    Reading Read(int argc, const char* const* argv);

  private:
    CLI::App m_app;
    std::vector<Command> m_commands;
};

}  // namespace norvex::cli
