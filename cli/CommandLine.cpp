// SPDX-License-Identifier: Apache-2.0
#include "cli/CommandLine.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <algorithm>
#include <numeric>
#include <sstream>
#include <string_view>
#include <utility>

#include "cli/Options.h"

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
const char* UnknownCommand(const CLI::App*& app, int argc, const char* const* argv) {
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

std::string WrongUseText(const CLI::App& app, const CLI::ParseError& error, int argc, const char* const* argv) {
    const CLI::App* command = &app;
    if (const char* typed = UnknownCommand(command, argc, argv)) {
        return UnknownCommandText(*command, typed);
    }
    return fmt::format("{} (norvex --help explains).", error.what());
}

}  // namespace

CommandLine::CommandLine()
    : m_app(
          "norvex checks building-services models (water, fire, heating and ventilation, electrical) without a "
          "CAD program.",
          "norvex") {
    m_app.set_version_flag("--version", "norvex " NORVEX_VERSION, "Show the version and end");
    m_app.require_subcommand(1);
    m_app.footer(std::string(kExamples) + kExitCodes);
    m_commands = {AddCheck(m_app), AddControl(m_app), AddDiff(m_app), AddInspect(m_app), AddReport(m_app),
                  AddRules(m_app), AddRuns(m_app),    AddShow(m_app), AddTrust(m_app)};
}

Reading CommandLine::Read(int argc, const char* const* argv) {
    try {
        m_app.parse(argc, argv);
    } catch (const CLI::Success& asked) {
        std::ostringstream help;
        m_app.exit(asked, help, help);
        return {Reading::Kind::Help, help.str(), nullptr};
    } catch (const CLI::ParseError& error) {
        return {Reading::Kind::WrongUse, WrongUseText(m_app, error, argc, argv), nullptr};
    }
    const auto chosen = std::find_if(m_commands.begin(), m_commands.end(),
                                     [](const Command& command) { return command.app->parsed(); });
    return {Reading::Kind::Command, "", chosen->run};
}

}  // namespace norvex::cli
