// SPDX-License-Identifier: Apache-2.0
#include "cli/Cancel.h"
#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Output.h"
#include "cli/ProgressDisplay.h"
#include "cli/Terminal.h"
#include "ifc/Reader.h"
#include "report/CheckReport.h"
#include "report/RunPage.h"
#include "report/page/WritePage.h"
#include "service/CheckRun.h"
#include "service/Host.h"
#include "service/IfcFloors.h"
#include "service/Project.h"
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

// What a check writes beside its text.
struct ReportFiles {
    WholeFile json;
    WholeFile html;
};

// Opens the files that are wanted, so that one that cannot be written is known before the check.
// Returns a sentence when there is one.
std::optional<std::string> OpenFiles(const CheckOptions& options, ReportFiles& files) {
    std::optional<std::string> failure;
    if (options.json && options.json != "-") {
        failure = files.json.Open(*options.json);
    }
    if (options.html && !failure) {
        failure = files.html.Open(*options.html);
    }
    return failure;
}

std::string PageText(const service::RunReport& report, const ifc::BuildingModel& model,
                     const service::IfcFloors& floors) {
    std::ostringstream text;
    report::page::WritePage(report::MakeRunPage(report, model, floors.Floors()).model, text);
    return std::move(text).str();
}

// Returns false, having said so, when the file could not be written.
bool CommitFile(WholeFile& file, const std::string& text) {
    const std::optional<std::string> failure = file.Commit(text);
    if (failure) {
        Complain(*failure);
    }
    return !failure;
}

// Writes the report where it is wanted. Returns false, having said so, when it could not be delivered.
bool Deliver(const service::RunReport& report, const ifc::BuildingModel& model, const service::IfcFloors& floors,
             const CheckOptions& options, ReportFiles& files) {
    if (options.html && !CommitFile(files.html, PageText(report, model, floors))) {
        return false;
    }
    if (options.json == "-") {
        return WriteOut(report::CheckJson(report));
    }
    if (options.json && !CommitFile(files.json, report::CheckJson(report))) {
        return false;
    }
    report::TextStyle style = StyleOfOutput(options.noColour);
    style.brief = options.quiet;
    return WriteOut(report::CheckText(report, style));
}

// The run itself, and what only this program knows of it.
service::RunReport RunChecks(service::Host& host, service::IfcFloors& floors, const service::RunPlan& plan,
                             const datamng::ProjectData& project, const CheckOptions& options) {
    ProgressDisplay progress(ProgressKind(options), plan.tasks.size());
    service::RunReport report = service::ExecuteRun(host, floors, plan, project, progress, CancelOnSignals());
    report.toolVersion = NORVEX_VERSION;
    report.incomplete.insert(report.incomplete.begin(), host.LoadFailures().begin(), host.LoadFailures().end());
    return report;
}

// Everything behind the reading of the model.
int CheckModel(const ifc::BuildingModel& model, const CheckOptions& options, ReportFiles& files) {
    std::string error;
    const std::filesystem::path application = service::ApplicationFolder();
    const std::optional<std::filesystem::path> folder =
        service::OpenProjectFolder(options.model, options.project, error);
    if (!folder || !service::UseConfiguration(*folder, application, error)) {
        return Unusable(error);
    }
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
    service::RunReport report = RunChecks(host, floors, *plan, *project, options);
    report.projectFolder = folder->string();
    report.model = service::RecordOf(model, options.model);
    service::NoteWhatIsMissing(report);
    if (!Deliver(report, model, floors, options, files)) {
        return kIncomplete;
    }
    return ExitCodeOf(service::Judge(report, options.failOn));
}

}  // namespace

int Check(const CheckOptions& options) {
    ReportFiles files;
    if (const std::optional<std::string> failure = OpenFiles(options, files)) {
        return Unusable(*failure);
    }
    const ifc::ReadResult read = ifc::ReadIfcFile(options.model);
    if (!read.Ok()) {
        return Unusable(ifc::DiagnosticText(options.model, read.error));
    }
    return CheckModel(*read.model, options, files);
}

}  // namespace norvex::cli
