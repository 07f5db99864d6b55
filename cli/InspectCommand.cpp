// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <optional>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Options.h"
#include "cli/OutputFiles.h"
#include "cli/Terminal.h"
#include "ifc/Reader.h"
#include "report/InspectReport.h"
#include "service/Host.h"
#include "service/ProjectFolder.h"

namespace norvex::cli {
namespace {

struct InspectOptions {
    std::string model;
    std::optional<std::string> json;
    bool noColour = false;
};

// The project that the model has without a wish is not looked at, but it may be there.
KeptFiles FilesToKeep(const InspectOptions& options) {
    std::string ignored;
    KeptFiles kept;
    kept.AddModel(options.model);
    if (const std::optional<std::filesystem::path> folder =
            service::NameProjectFolder(options.model, std::nullopt, ignored)) {
        kept.AddProject(*folder);
    }
    kept.AddApplication(service::ApplicationFolder());
    return kept;
}

int Inspect(const InspectOptions& options) {
    WholeFile jsonFile;
    if (const std::optional<std::string> failure =
            OpenOutputs(FilesToKeep(options), OutputsOf(options.json, jsonFile))) {
        Complain(*failure);
        return kUnusable;
    }
    ifc::ReadOptions readOptions;
    readOptions.sourceName = options.model;
    const ifc::ReadResult read = ifc::ReadIfcFile(options.model, readOptions);
    if (!read.Ok()) {
        Complain(ifc::DiagnosticText(options.model, read.error));
        return kUnusable;
    }
    const std::string json = options.json ? report::InspectJson(*read.model, NORVEX_VERSION) : std::string();
    if (options.json == "-") {
        return WriteOut(json) ? kClean : kIncomplete;
    }
    if (options.json) {
        if (const std::optional<std::string> failure = jsonFile.Commit(json)) {
            Complain(*failure);
            return kIncomplete;
        }
    }
    return WriteOut(report::InspectText(*read.model, StyleOfOutput(options.noColour))) ? kClean : kIncomplete;
}

}  // namespace

Command AddInspect(CLI::App& app) {
    const auto options = std::make_shared<InspectOptions>();
    CLI::App* command = app.add_subcommand(
        "inspect",
        "Show what was read of a building model: storeys, elements, networks, connections, what has no place");
    command->add_option("MODEL", options->model, "The model to read, an IFC file")->required()->type_name("");
    command->add_option("--json", options->json, "Write the same as JSON to FILE; - writes it to standard output")
        ->type_name("FILE");
    AddNoColour(*command, options->noColour);
    command->footer(kExitCodes);
    return {command, [options] { return Inspect(*options); }};
}

}  // namespace norvex::cli
