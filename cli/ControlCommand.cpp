// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <memory>
#include <string>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/ProjectChoice.h"
#include "report/DisplayText.h"
#include "service/work/ControlSocket.h"

namespace norvex::cli {
namespace {

constexpr const char* kWishes =
    "Wishes:\n"
    "  status          only say how the check stands\n"
    "  pause           the checks wait and use no processor\n"
    "  continue        they go on\n"
    "  cancel          end now; what was found is reported as a partial result\n"
    "  hold-floors     floors under way go on to their end, and no other one begins\n"
    "  next-floor      let one floor begin while floors are held\n"
    "  release-floors  hold floors no longer\n\n";

struct ControlOptions {
    std::string wish;
    ProjectChoice choice;
};

int Control(const ControlOptions& options) {
    std::string error;
    const std::optional<std::filesystem::path> folder = ChosenProject(options.choice, error);
    if (!folder) {
        Complain(error);
        return kUnusable;
    }
    const service::ControlAnswer answer = service::AskRun(*folder, options.wish);
    if (!answer.whyUnknown.empty()) {
        Complain(fmt::format("The check of the project {} cannot be asked: {}.", folder->string(), answer.whyUnknown));
        return kIncomplete;
    }
    if (!answer.isRunning) {
        Complain(fmt::format("No check of the project {} is under way.", folder->string()));
        return kUnusable;
    }
    if (!answer.text) {
        Complain(fmt::format("The check of the project {} does not answer; it may be stopped.", folder->string()));
        return kIncomplete;
    }
    std::string shown;
    for (std::size_t begin = 0; begin < answer.text->size();) {
        const std::size_t end = answer.text->find('\n', begin);
        shown += report::Sanitised(answer.text->substr(begin, end - begin)) + "\n";
        begin = end == std::string::npos ? answer.text->size() : end + 1;
    }
    return WriteOut(shown) ? kClean : kIncomplete;
}

}  // namespace

Command AddControl(CLI::App& app) {
    const auto options = std::make_shared<ControlOptions>();
    CLI::App* command = app.add_subcommand("control", "Pause, continue or cancel a check that is under way");
    command->add_option("WISH", options->wish, "What the check is to do, see below")
        ->required()
        ->check(CLI::IsMember(service::ControlWords()))
        ->type_name("");
    AddProjectChoice(*command, options->choice);
    command->footer(kWishes + std::string(kExitCodes));
    return {command, [options] { return Control(*options); }};
}

}  // namespace norvex::cli
