// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <exception>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Options.h"
#include "cli/Output.h"

namespace norvex::cli {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  norvex inspect house.ifc      what was read of a model\n"
    "  norvex check house.ifc        check all of it\n"
    "  norvex rules                  what can be checked\n"
    "  norvex check --help           how to narrow a check, what a build server needs\n\n";

// The word on the command line where one of app's commands is expected and none of that name is; app becomes the
// command whose commands these are. Null when there is no such word.
const char* UnknownCommand(const CLI::App*& app, int argc, char** argv) {
    for (int i = 1; i < argc && argv[i][0] != '-'; ++i) {
        const std::vector<const CLI::App*> commands = app->get_subcommands(nullptr);
        if (commands.empty()) {
            return nullptr;
        }
        const auto named = std::find_if(commands.begin(), commands.end(),
                                        [&](const CLI::App* command) { return command->get_name() == argv[i]; });
        if (named == commands.end()) {
            return argv[i];
        }
        app = *named;
    }
    return nullptr;
}

// Single letters that are missing, too many or wrong between two words.
std::size_t Distance(std::string_view left, std::string_view right) {
    std::vector<std::size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < left.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < right.size(); ++j) {
            const std::size_t replaced = diagonal + (left[i] == right[j] ? 0 : 1);
            diagonal = std::exchange(row[j + 1], std::min({replaced, row[j] + 1, row[j + 1] + 1}));
        }
    }
    return row.back();
}

std::string UnknownCommandText(const CLI::App& app, std::string_view typed) {
    // Two letters off is still a slip of the fingers; more is another word.
    constexpr std::size_t kSlip = 2;
    std::vector<std::string> names;
    std::string nearest;
    for (const CLI::App* command : app.get_subcommands(nullptr)) {
        names.push_back(command->get_name());
        const std::size_t distance = Distance(typed, names.back());
        if (distance <= kSlip && (nearest.empty() || distance < Distance(typed, nearest))) {
            nearest = names.back();
        }
    }
    const std::string hint = nearest.empty() ? "" : fmt::format("; perhaps \"{}\" is meant", nearest);
    return fmt::format("There is no command \"{}\"{}. There is: {} (norvex --help explains).", typed, hint,
                       fmt::join(names, ", "));
}

// Says what is wrong with the command line.
int WrongUse(const CLI::App& app, const CLI::ParseError& error, int argc, char** argv) {
    const CLI::App* command = &app;
    if (const char* typed = UnknownCommand(command, argc, argv)) {
        Complain(UnknownCommandText(*command, typed));
    } else {
        Complain(fmt::format("{} (norvex --help explains).", error.what()));
    }
    return kUnusable;
}

int Main(int argc, char** argv) {
    CLI::App app(
        "norvex checks building-services models (water, fire, heating and ventilation, electrical) without a "
        "CAD program.",
        "norvex");
    app.set_version_flag("--version", "norvex " NORVEX_VERSION, "Show the version and end");
    app.require_subcommand(1);
    app.footer(std::string(kExamples) + kExitCodes);
    const std::vector<Command> commands{
        AddCheck(app), AddControl(app), AddDiff(app), AddInspect(app), AddReport(app),
        AddRules(app), AddRuns(app),    AddShow(app), AddTrust(app),
    };
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& asked) {
        std::ostringstream help;
        app.exit(asked, help, help);
        return WriteOut(help.str()) ? kClean : kIncomplete;
    } catch (const CLI::ParseError& error) {
        return WrongUse(app, error, argc, argv);
    }
    const auto chosen =
        std::find_if(commands.begin(), commands.end(), [](const Command& command) { return command.app->parsed(); });
    return chosen->run();
}

}  // namespace
}  // namespace norvex::cli

int main(int argc, char** argv) {
    norvex::cli::KeepStandardFiles();
    // A reader that goes away is an error of writing, not the end of the process.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return norvex::cli::Main(argc, argv);
    } catch (const std::bad_alloc&) {
        norvex::cli::Complain("There is not enough memory.");
    } catch (const std::exception& error) {
        norvex::cli::Complain(std::string("An unexpected error ended the run: ") + error.what() + ".");
    }
    return norvex::cli::kIncomplete;
}
