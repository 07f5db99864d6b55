// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "cli/Cancel.h"
#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Output.h"
#include "cli/ProgressDisplay.h"
#include "cli/Terminal.h"
#include "ifc/Reader.h"
#include "report/CheckReport.h"
#include "service/CheckRun.h"
#include "service/Host.h"
#include "service/IfcFloors.h"
#include "service/ProjectFolder.h"
#include "service/TrustStore.h"

namespace norvex::cli {
namespace {

ProgressDisplay::Kind ProgressKind(const CheckOptions& options) {
    if (options.quiet) {
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

// Writes the report where it is wanted. Returns false, having said so, when it could not be delivered.
bool Deliver(const service::RunReport& report, const CheckOptions& options, WholeFile& jsonFile) {
    if (options.json == "-") {
        return WriteOut(report::CheckJson(report));
    }
    if (options.json) {
        if (const std::optional<std::string> failure = jsonFile.Commit(report::CheckJson(report))) {
            Complain(*failure);
            return false;
        }
    }
    report::TextStyle style = StyleOfOutput(options.noColour);
    style.brief = options.quiet;
    return WriteOut(report::CheckText(report, style));
}

// Everything behind the reading of the model.
int CheckModel(const ifc::BuildingModel& model, const CheckOptions& options, WholeFile& jsonFile) {
    service::NothingTrusted trust;
    service::Host host(trust);
    const std::filesystem::path application = service::ApplicationFolder();
    if (const std::optional<std::string> failure = host.Start(application)) {
        Complain(*failure);
        return kIncomplete;
    }
    host.LoadRules();
    service::IfcFloors floors(model);
    std::string error;
    const std::optional<service::RunPlan> plan = service::MakeRunPlan(options.request, floors, host.Rules(), error);
    if (!plan) {
        return Unusable(error);
    }
    const std::optional<std::filesystem::path> project =
        service::OpenProjectFolder(options.model, options.project, error);
    if (!project) {
        return Unusable(error);
    }
    service::RunReport report;
    {
        ProgressDisplay progress(ProgressKind(options));
        report = service::ExecuteRun(host, floors, *plan, {project->string(), application.string()}, progress,
                                     CancelOnSignals());
    }
    report.toolVersion = NORVEX_VERSION;
    report.projectFolder = project->string();
    report.model = service::RecordOf(model, options.model);
    report.incomplete.insert(report.incomplete.begin(), host.LoadFailures().begin(), host.LoadFailures().end());
    service::NoteWhatIsMissing(report);
    if (!Deliver(report, options, jsonFile)) {
        return kIncomplete;
    }
    return ExitCodeOf(service::Judge(report, options.failOn));
}

}  // namespace

int Check(const CheckOptions& options) {
    WholeFile jsonFile;
    if (options.json && options.json != "-") {
        if (const std::optional<std::string> failure = jsonFile.Open(*options.json)) {
            return Unusable(*failure);
        }
    }
    const ifc::ReadResult read = ifc::ReadIfcFile(options.model);
    if (!read.Ok()) {
        return Unusable(ifc::DiagnosticText(options.model, read.error));
    }
    return CheckModel(*read.model, options, jsonFile);
}

}  // namespace norvex::cli
