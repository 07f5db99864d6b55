// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <CLI/CLI.hpp>
#include <csignal>
#include <exception>
#include <string>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Output.h"

namespace norvex::cli {
namespace {

constexpr const char* kExitCodes =
    "Exit codes:\n"
    "  0  clean: everything in scope was checked, nothing found that counts\n"
    "  1  findings\n"
    "  2  wrong use or unreadable input; nothing was checked\n"
    "  3  incomplete: something in scope was not checked (a rule crashed or could not be loaded, parts of the\n"
    "     model could not be read, no rule had anything to look at), or the result could not be delivered";

constexpr const char* kCheckExamples =
    "Examples:\n"
    "  norvex check house.ifc\n"
    "  norvex check house.ifc --floor 1F --specialty water     only water supply and drainage of one floor\n"
    "  norvex check house.ifc --html report.html               findings and plan, for a browser\n"
    "  norvex check house.ifc --json result.json --quiet       for a build server\n"
    "  norvex check house.ifc --json - | jq .totals\n"
    "  norvex check house.ifc --fail-on confirmed              suspicions and reminders do not fail the build\n\n";

constexpr const char* kExamples =
    "Examples:\n"
    "  norvex inspect house.ifc      what was read of a model\n"
    "  norvex check house.ifc        check all of it\n"
    "  norvex rules                  what can be checked\n"
    "  norvex check --help           how to narrow a check, what a build server needs\n\n";

// One value for each time the option is named, so that what follows may be the model.
void AddNames(CLI::App& command, const std::string& option, std::vector<std::string>& names, const std::string& type,
              const std::string& help) {
    command.add_option(option, names, help)->type_name(type)->allow_extra_args(false);
}

void AddCheck(CLI::App& app, CheckOptions& options, std::string& failOn) {
    CLI::App* command = app.add_subcommand("check", "Check a building model (IFC) and report what is found");
    command->add_option("MODEL", options.model, "The model to check, an IFC file")->required()->type_name("");
    command
        ->add_option(
            "--project", options.project,
            "Folder that keeps what belongs to the model across runs; made when it is missing. Default: one of "
            "the user's state folder ($XDG_STATE_HOME or ~/.local/state), named after the model")
        ->type_name("DIR");
    AddNames(*command, "--floor", options.request.floors, "NAME", "Check this floor only; may be given several times");
    AddNames(*command, "--specialty", options.request.specialties, "NAME",
             "Check this specialty only: water, fire, hvac, electrical, low-voltage, or its Chinese name; may be given "
             "several times");
    AddNames(*command, "--rule", options.request.rules, "NAME",
             "Run this rule only, as norvex rules names it; may be given several times");
    command
        ->add_option("--json", options.json,
                     "Write the whole report as JSON to FILE; - writes it to standard output in place of the text")
        ->type_name("FILE");
    command
        ->add_option("--html", options.html,
                     "Write a page with the findings and a plan of each floor to FILE; any browser opens it")
        ->type_name("FILE");
    command
        ->add_option("--fail-on", failOn,
                     "The mildest severity that makes the exit code 1: confirmed, suspected, remind or never. Default: "
                     "suspected")
        ->type_name("SEVERITY");
    command->add_flag("--quiet,-q", options.quiet, "No progress; only findings and the last line");
    command->add_flag("--no-color", options.noColour, "No colours; NO_COLOR in the environment says the same");
    command->footer(std::string(kCheckExamples) + kExitCodes);
}

void AddInspect(CLI::App& app, InspectOptions& options) {
    CLI::App* command = app.add_subcommand(
        "inspect",
        "Show what was read of a building model: storeys, elements, networks, connections, what has no place");
    command->add_option("MODEL", options.model, "The model to read, an IFC file")->required()->type_name("");
    command->add_option("--json", options.json, "Write the same as JSON to FILE; - writes it to standard output")
        ->type_name("FILE");
    command->add_flag("--no-color", options.noColour, "No colours");
    command->footer(kExitCodes);
}

void AddRules(CLI::App& app, RulesOptions& options) {
    CLI::App* command = app.add_subcommand("rules", "List the rules that a check runs");
    command->add_flag("--no-color", options.noColour, "No colours");
    command->footer(kExitCodes);
}

int Main(int argc, char** argv) {
    CheckOptions check;
    InspectOptions inspect;
    RulesOptions rules;
    std::string failOn = "suspected";
    CLI::App app(
        "norvex checks building-services models (water, fire, heating and ventilation, electrical) without a "
        "CAD program.",
        "norvex");
    app.set_version_flag("--version", "norvex " NORVEX_VERSION, "Show the version and end");
    app.require_subcommand(1);
    app.footer(std::string(kExamples) + kExitCodes);
    AddCheck(app, check, failOn);
    AddInspect(app, inspect);
    AddRules(app, rules);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& asked) {
        std::ostringstream help;
        app.exit(asked, help, help);
        return WriteOut(help.str()) ? kClean : kIncomplete;
    } catch (const CLI::ParseError& error) {
        Complain(fmt::format("{} (norvex --help explains).", error.what()));
        return kUnusable;
    }
    if (app.got_subcommand("inspect")) {
        return Inspect(inspect);
    }
    if (app.got_subcommand("rules")) {
        return Rules(rules);
    }
    const std::optional<service::FailOn> severity = service::FailOnOfName(failOn);
    if (!severity) {
        Complain(fmt::format("There is no severity \"{}\"; there is: confirmed, suspected, remind, never.", failOn));
        return kUnusable;
    }
    check.failOn = *severity;
    return Check(check);
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
