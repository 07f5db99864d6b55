// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <memory>
#include <utility>

#include "cli/CheckOutputs.h"
#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/ProgressDisplay.h"
#include "cli/Signals.h"
#include "cli/Terminal.h"
#include "ifc/Reader.h"
#include "service/CheckRun.h"
#include "service/Host.h"
#include "service/IfcFloors.h"
#include "service/Project.h"
#include "service/ProjectFolder.h"
#include "service/TrustStore.h"
#include "service/Verdict.h"

namespace norvex::cli {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  norvex check house.ifc\n"
    "  norvex check house.ifc --floor 1F --specialty water     only water supply and drainage of one floor\n"
    "  norvex check house.ifc --html report.html               findings and plan, for a browser\n"
    "  norvex check house.ifc --json result.json --quiet       for a build server\n"
    "  norvex check house.ifc --json - | jq .totals\n"
    "  norvex check house.ifc --sarif result.sarif             for a code review tool\n"
    "  norvex check house.ifc --fail-on confirmed              suspicions and reminders do not fail the build\n\n";

struct CheckOptions {
    std::string model;
    std::optional<std::string> project;
    service::RunRequest request;
    std::string failOn = "suspected";
    service::RunSettings settings{.jobs = 0};
    OutputOptions output;
};

ProgressDisplay::Kind ProgressKind(const CheckOptions& options) {
    if (options.output.quiet) {
        return ProgressDisplay::Kind::None;
    }
    return CanRedrawErrors() ? ProgressDisplay::Kind::Bar : ProgressDisplay::Kind::Lines;
}

int ExitCodeOf(service::Verdict verdict) {
    switch (verdict) {
        case service::Verdict::Clean:
            return kClean;
        case service::Verdict::Findings:
            return kFindings;
        case service::Verdict::Incomplete:
            return kIncomplete;
    }
    return kIncomplete;
}

// Says why nothing can be checked.
int Unusable(const std::string& sentence) {
    Complain(sentence);
    return kUnusable;
}

// The run itself, and what only this program knows of it.
service::RunReport RunChecks(service::Host& host, service::IfcFloors& floors, const service::RunPlan& plan,
                             const datamng::ProjectData& project, const CheckOptions& options,
                             service::RunControl& control) {
    ProgressDisplay progress(ProgressKind(options), plan.tasks.size(), control);
    service::RunReport report = service::ExecuteRun(host, floors, plan, project, progress, control, options.settings);
    report.toolVersion = NORVEX_VERSION;
    report.incomplete.insert(report.incomplete.begin(), host.LoadFailures().begin(), host.LoadFailures().end());
    return report;
}

// Everything behind the reading of the model.
int CheckModel(const ifc::BuildingModel& model, const CheckOptions& options, service::FailOn failOn,
               CheckOutputs& outputs, service::RunControl& control) {
    std::string error;
    const std::filesystem::path application = service::ApplicationFolder();
    const std::optional<std::filesystem::path> folder =
        service::OpenProjectFolder(options.model, options.project, error);
    if (!folder || !service::UseConfiguration(*folder, application, error)) {
        return Unusable(error);
    }
    service::RememberLastProject(*folder);
    service::NothingTrusted trust;
    service::Host host(trust);
    if (const std::optional<std::string> failure = host.Start(application)) {
        Complain(*failure);
        return kIncomplete;
    }
    host.LoadRules();
    service::IfcFloors floors(model);
    const std::optional<service::RunPlan> plan = service::MakeRunPlan(options.request, floors, host.Rules(), error);
    if (!plan) {
        return Unusable(error);
    }
    const std::optional<datamng::ProjectData> project = service::LoadProjectData(*folder, application, floors, error);
    if (!project) {
        return Unusable(error);
    }
    service::RunReport report = RunChecks(host, floors, *plan, *project, options, control);
    report.projectFolder = folder->string();
    report.model = service::RecordOf(model, options.model);
    service::NoteWhatIsMissing(report);
    if (!outputs.Deliver(report, model, floors)) {
        return kIncomplete;
    }
    return ExitCodeOf(service::Judge(report, failOn));
}

int Check(const CheckOptions& options) {
    const std::optional<service::FailOn> failOn = service::FailOnOfName(options.failOn);
    if (!failOn) {
        return Unusable(
            fmt::format("There is no severity \"{}\"; there is: confirmed, suspected, remind, never.", options.failOn));
    }
    EndOnSignals();
    CheckOutputs outputs(options.output);
    if (const std::optional<std::string> failure = outputs.Open()) {
        return Unusable(*failure);
    }
    const ifc::ReadResult read = ifc::ReadIfcFile(options.model);
    if (!read.Ok()) {
        return Unusable(ifc::DiagnosticText(options.model, read.error));
    }
    // Signals may come to the end of the process.
    static service::RunControl control;
    ControlBySignals(control);
    return CheckModel(*read.model, options, *failOn, outputs, control);
}

void AddScope(CLI::App& command, service::RunRequest& request) {
    AddNames(command, "--floor", request.floors, "NAME", "Check this floor only; may be given several times");
    AddNames(command, "--specialty", request.specialties, "NAME",
             "Check this specialty only: water, fire, hvac, electrical, low-voltage, or its Chinese name; may be given "
             "several times");
    AddNames(command, "--rule", request.rules, "NAME",
             "Run this rule only, as norvex rules names it; may be given several times");
}

void AddRunOptions(CLI::App& command, service::RunSettings& settings) {
    command
        .add_option("--jobs,-j", settings.jobs,
                    "Floors that are checked side by side; 0, the default: as many as there are processors")
        ->type_name("N");
    command
        .add_option_function<double>(
            "--rule-timeout",
            [&settings](const double& seconds) {
                settings.budget = std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
            },
            "Seconds that one rule may take for one floor and specialty; it counts as crashed then. Default: 600")
        ->check(CLI::Range(0.001, 1e9))
        ->type_name("SECONDS");
}

}  // namespace

Command AddCheck(CLI::App& app) {
    const auto options = std::make_shared<CheckOptions>();
    CLI::App* command = app.add_subcommand("check", "Check a building model (IFC) and report what is found");
    command->add_option("MODEL", options->model, "The model to check, an IFC file")->required()->type_name("");
    command
        ->add_option(
            "--project", options->project,
            "Folder that keeps what belongs to the model across runs; made when it is missing. Default: one of "
            "the user's state folder ($XDG_STATE_HOME or ~/.local/state), named after the model")
        ->type_name("DIR");
    AddScope(*command, options->request);
    AddRunOptions(*command, options->settings);
    AddOutputOptions(*command, options->output);
    command
        ->add_option("--fail-on", options->failOn,
                     "The mildest severity that makes the exit code 1: confirmed, suspected, remind or never. Default: "
                     "suspected")
        ->type_name("SEVERITY");
    command->footer(std::string(kExamples) + kExitCodes);
    return {command, [options] { return Check(*options); }};
}

}  // namespace norvex::cli
