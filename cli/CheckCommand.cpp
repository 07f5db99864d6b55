// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <cmath>
#include <memory>
#include <utility>

#include "cli/CheckOutputs.h"
#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/ProgressDisplay.h"
#include "cli/ProjectChoice.h"
#include "cli/Signals.h"
#include "cli/Terminal.h"
#include "service/CheckRun.h"
#include "service/Host.h"
#include "service/IfcFloors.h"
#include "service/ModelFile.h"
#include "service/Project.h"
#include "service/ProjectFolder.h"
#include "service/Verdict.h"
#include "service/session/Identity.h"
#include "service/session/RunMemory.h"
#include "service/store/RunLock.h"

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
    "  norvex check house.ifc --fail-on confirmed              suspicions and reminders do not fail the build\n"
    "  norvex check house.ifc --resume                         go on after a cancel or a crash\n\n";

struct CheckOptions {
    std::string model;
    std::optional<std::string> project;
    service::RunRequest request;
    std::string failOn = "suspected";
    service::RunSettings settings{.jobs = 0};
    OutputOptions output;
    bool resume = false;
    bool noMemory = false;
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

// Says why the project's memory cannot be used. A full disk is nobody's wrong use.
int NoMemory(const service::store::StoreError& error, const char* advice = "") {
    Complain(Advised(error) + advice);
    return error.code == service::store::StoreErrorCode::DiskFull ? kIncomplete : kUnusable;
}

service::session::MemoryUse MemoryUseOf(const CheckOptions& options) {
    return options.noMemory ? service::session::MemoryUse::ReadOnly
           : options.resume ? service::session::MemoryUse::Resume
                            : service::session::MemoryUse::Remember;
}

// All that a run needs, ready to begin.
struct Preparation {
    std::filesystem::path folder;
    std::unique_ptr<service::session::RunMemory> memory;
    service::IfcFloors floors;
    std::unique_ptr<service::Host> host;
    service::RunPlan plan;
    datamng::ProjectData project;
    service::ModelRecord model;
};

// Loads the rules and plans the run. Returns what the program ends with when that is not possible, having said why.
std::optional<int> Plan(const CheckOptions& options, Preparation& ready) {
    std::string error;
    const std::filesystem::path application = service::ApplicationFolder();
    ready.host = std::make_unique<service::Host>(ready.memory->Trust());
    if (const std::optional<std::string> failure = ready.host->Start(application)) {
        Complain(*failure);
        return kIncomplete;
    }
    ready.host->LoadRules();
    for (const std::string& remark : ready.host->Remarks()) {
        Complain(remark);
    }
    std::optional<service::RunPlan> plan =
        service::MakeRunPlan(options.request, ready.floors, ready.host->Rules(), error);
    if (!plan) {
        return Unusable(error);
    }
    std::optional<datamng::ProjectData> project =
        service::LoadProjectData(ready.folder, application, ready.floors, !options.noMemory, error);
    if (!project) {
        return Unusable(error);
    }
    ready.plan = std::move(*plan);
    ready.project = std::move(*project);
    service::session::NoteModuleDigests(ready.plan);
    return std::nullopt;
}

// Opens the project and begins the run in its memory; from then on signals control it. Returns what the program ends
// with when that is not possible, having said why.
std::optional<int> Prepare(const CheckOptions& options, Preparation& ready, service::RunControl& control) {
    std::string error;
    const std::filesystem::path application = service::ApplicationFolder();
    const std::optional<std::filesystem::path> folder =
        options.noMemory ? service::NameProjectFolder(options.model, options.project, error)
                         : service::OpenProjectFolder(options.model, options.project, error);
    if (!folder || !service::UseConfiguration(*folder, application, error)) {
        return Unusable(error);
    }
    ready.folder = *folder;
    auto memory = service::session::RunMemory::Open(*folder, MemoryUseOf(options));
    if (!memory) {
        const bool mayHelp = !options.noMemory && memory.Error().code == service::store::StoreErrorCode::ReadOnly;
        return NoMemory(memory.Error(), mayHelp ? " With --no-memory nothing is recorded." : "");
    }
    ready.memory = std::move(*memory);
    if (const std::optional<int> end = Plan(options, ready)) {
        return end;
    }
    // Not before, because nothing would heed a wish while modules are loaded; and modules cannot undo it any more.
    ControlBySignals(control);
    const std::string configuration =
        service::session::ConfigurationDigest(service::ConfigurationFile(ready.folder, application), ready.project);
    const service::store::Status begun = ready.memory->Begin(
        service::session::IdentityOf(ready.plan, ready.floors, ready.model, configuration, NORVEX_VERSION));
    if (!begun) {
        return NoMemory(begun.Error());
    }
    if (!options.noMemory) {
        service::RememberLastProject(ready.folder);
    }
    for (const std::string& remark : ready.memory->Remarks()) {
        Complain(remark);
    }
    return std::nullopt;
}

// Null when there is none; the run goes on without.
std::unique_ptr<service::ControlSocket> OpenSocket(const std::filesystem::path& folder, const CheckOptions& options) {
    if (options.noMemory) {
        return nullptr;
    }
    std::string error;
    std::unique_ptr<service::ControlSocket> socket = service::ControlSocket::Open(folder, error);
    if (socket == nullptr && !options.output.quiet) {
        Complain(error);
    }
    return socket;
}

// The run itself, and what only this program and the project know of it.
service::RunReport RunChecks(Preparation& ready, const CheckOptions& options, service::RunControl& control) {
    service::RunSettings settings = options.settings;
    settings.finished = ready.memory->Finished(ready.plan, ready.floors);
    const std::unique_ptr<service::ControlSocket> socket = OpenSocket(ready.folder, options);
    settings.socket = socket.get();
    ProgressDisplay progress(ProgressKind(options), ready.plan.tasks.size() - settings.finished.size(), control);
    service::session::RememberingObserver observer(*ready.memory, progress);
    service::RunReport report = service::ExecuteRun(*ready.host, ready.floors, ready.plan, ready.project, observer,
                                                    control, std::move(settings));
    report.toolVersion = NORVEX_VERSION;
    const std::vector<std::string>& failures = ready.host->LoadFailures();
    report.incomplete.insert(report.incomplete.begin(), failures.begin(), failures.end());
    report.projectFolder = ready.folder.string();
    report.model = ready.model;
    service::NoteWhatIsMissing(report);
    ready.memory->Conclude(report);
    if (options.output.bcf) {
        ready.memory->NoteFirstReported(report);
    }
    return report;
}

// Everything behind the reading of the model.
int CheckModel(const service::ModelFile& file, const CheckOptions& options, service::FailOn failOn,
               CheckOutputs& outputs, service::RunControl& control) {
    const ifc::BuildingModel& model = *file.read.model;
    Preparation ready{.folder = {},
                      .memory = nullptr,
                      .floors = service::IfcFloors(model),
                      .host = nullptr,
                      .plan = {},
                      .project = {},
                      .model = service::RecordOf(model, options.model, file.sha256)};
    if (const std::optional<int> end = Prepare(options, ready, control)) {
        return *end;
    }
    const service::RunReport report = RunChecks(ready, options, control);
    const bool delivered = outputs.Deliver(report, {.model = &model, .floors = ready.floors.Floors(), .whyNot = {}},
                                           [&control] { return control.IsCancelled(); });
    if (ready.memory->Failure()) {
        Complain(*ready.memory->Failure());
    }
    return delivered && !ready.memory->Failure() ? ExitCodeOf(service::Judge(report, failOn)) : kIncomplete;
}

// Why the project cannot be checked just now; nothing when it can, as far as can be told without making anything.
std::optional<std::string> WhyBusy(const std::filesystem::path& folder) {
    const std::optional<service::store::StoreError> busy = service::store::RunLock::HeldElsewhere(folder);
    return busy ? std::optional(Advised(*busy)) : std::nullopt;
}

KeptFiles FilesToKeep(const CheckOptions& options, const std::filesystem::path& folder) {
    KeptFiles kept;
    kept.AddModel(options.model);
    kept.AddProject(folder);
    kept.AddApplication(service::ApplicationFolder());
    return kept;
}

int Check(const CheckOptions& options) {
    const std::optional<service::FailOn> failOn = service::FailOnOfName(options.failOn);
    if (!failOn) {
        return Unusable(
            fmt::format("There is no severity \"{}\"; there is: confirmed, suspected, remind, never.", options.failOn));
    }
    EndOnSignals();
    std::string error;
    const std::optional<std::filesystem::path> folder =
        service::NameProjectFolder(options.model, options.project, error);
    if (!folder) {
        return Unusable(error);
    }
    CheckOutputs outputs(options.output);
    if (const std::optional<std::string> failure = outputs.Open(FilesToKeep(options, *folder))) {
        return Unusable(*failure);
    }
    // Asked before the model is read, which may take minutes. The lock itself is taken when it is known that there is
    // something to check, because taking it makes the project's folder.
    if (const std::optional<std::string> busy = options.noMemory ? std::nullopt : WhyBusy(*folder)) {
        return Unusable(*busy);
    }
    const service::ModelFile file = service::ReadModelFile(options.model);
    if (!file.read.Ok()) {
        return Unusable(ifc::DiagnosticText(options.model, file.read.error));
    }
    // Signals may come to the end of the process.
    static service::RunControl control;
    return CheckModel(file, options, *failOn, outputs, control);
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
        ->check(CLI::Range(0, 1000))
        ->type_name("N");
    command
        .add_option_function<double>(
            "--rule-timeout",
            [&settings](const double& seconds) {
                // The range lets pass what is no number, because that is neither less nor more.
                if (std::isnan(seconds)) {
                    throw CLI::ValidationError("--rule-timeout", "nan is no number of seconds");
                }
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
    CLI::Option* resume = command->add_flag(
        "--resume", options->resume,
        "Go on with the run that was cancelled or killed: what it has done is not done again. Model, configuration, "
        "rules and scope must be the same");
    command
        ->add_flag("--no-memory", options->noMemory,
                   "Write nothing into the project folder; what is accepted there holds nevertheless")
        ->excludes(resume);
    command->footer(std::string(kExamples) + kExitCodes);
    return {command, [options] { return Check(*options); }};
}

}  // namespace norvex::cli
