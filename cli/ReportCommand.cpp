// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <memory>
#include <string_view>
#include <unordered_map>

#include "cli/CheckOutputs.h"
#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Signals.h"
#include "cli/StoredRun.h"
#include "ifc/Reader.h"
#include "report/DisplayText.h"
#include "service/IfcFloors.h"
#include "service/Sha256.h"
#include "service/Verdict.h"
#include "service/session/StoredReport.h"

namespace norvex::cli {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  norvex report --html report.html                        the run that was made last\n"
    "  norvex report house.ifc --run 3 --html third.html       an earlier run of a model\n"
    "  norvex report --project house-project --json -\n\n";

struct ReportOptions {
    RunChoice choice;
    OutputOptions output;
};

// The model of a run, as far as its file still is what was checked.
struct ReadAgain {
    ifc::ReadResult read;
    std::string whyNot;  // one sentence; empty: it was read
};

ReadAgain ReadModelAgain(const service::RunReport& report, const std::string& path) {
    ReadAgain again;
    const ifc::LoadResult loaded = ifc::LoadIfcFile(path);
    if (!loaded.Ok()) {
        again.whyNot = fmt::format(
            "The model \"{}\" cannot be read any more, so no plan is drawn; name it if it has moved.", path);
        return again;
    }
    service::Sha256 digest;
    digest.Add(loaded.content->Text());
    if (digest.Finish() != report.model.sha256) {
        again.whyNot =
            fmt::format("The model \"{}\" is not the one that was checked any more, so no plan is drawn.", path);
        return again;
    }
    ifc::ReadOptions options;
    options.sourceName = std::filesystem::path(path).filename().string();
    again.read = ifc::ReadIfcBytes(loaded.content->Bytes(), options);
    again.whyNot = again.read.Ok() ? "" : ifc::DiagnosticText(path, again.read.error);
    return again;
}

// Adds to a stored report what only the model tells.
void DescribeModel(const ifc::BuildingModel& model, const std::string& path, const service::IfcFloors& floors,
                   service::RunReport& report) {
    // The digest of the stored run is that of the file: ReadModelAgain() saw to it.
    report.model = service::RecordOf(model, path, report.model.sha256);
    std::unordered_map<std::string_view, const service::FloorRecord*> byName;
    for (const service::FloorRecord& floor : floors.Floors()) {
        byName.emplace(floor.name, &floor);
    }
    for (service::FloorRecord& floor : report.floors) {
        const auto found = byName.find(floor.name);
        floor = found == byName.end() ? floor : *found->second;
    }
    std::erase(report.incomplete, service::session::kModelReadPartly);
    service::NoteWhatWasNotRead(report);
}

int Unusable(const std::string& sentence) {
    Complain(sentence);
    return kUnusable;
}

std::string DeliveredText(const service::RunReport& report, const OutputOptions& options) {
    std::string out;
    for (const auto* file : {&options.html, &options.bcf, &options.json, &options.sarif}) {
        out += *file ? fmt::format("Run {} is in {}.\n", report.run, report::Sanitised(**file)) : "";
    }
    return out;
}

int Report(const ReportOptions& options) {
    EndOnSignals();
    std::string error;
    std::optional<StoredRun> run = ReadStoredRun(options.choice, error);
    if (!run) {
        return Unusable(error);
    }
    CheckOutputs outputs(options.output);
    if (const std::optional<std::string> failure = outputs.Open(run->kept)) {
        return Unusable(*failure);
    }
    service::RunReport& report = run->report;
    const std::string path = options.choice.project.model.value_or(report.model.path);
    std::error_code ignored;
    if (const auto status = std::filesystem::status(path, ignored);
        std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        return Unusable(fmt::format("The model \"{}\" is no file but a folder, a pipe or a device.", path));
    }
    const ReadAgain again = ReadModelAgain(report, path);
    ModelView view{.model = nullptr, .floors = {}, .whyNot = again.whyNot};
    if (again.whyNot.empty()) {
        const service::IfcFloors floors(*again.read.model);
        view.model = &*again.read.model;
        view.floors = floors.Floors();
        DescribeModel(*again.read.model, path, floors, report);
    } else {
        Complain(again.whyNot);
    }
    const bool areWritten = outputs.WriteFiles(report, view);
    // Standard output has the whole report only where nothing else takes it.
    const bool isShown =
        outputs.HasFilesOnly() ? WriteOut(DeliveredText(report, options.output)) : outputs.WriteStandard(report);
    return areWritten && isShown ? kClean : kIncomplete;
}

}  // namespace

Command AddReport(CLI::App& app) {
    const auto options = std::make_shared<ReportOptions>();
    CLI::App* command =
        app.add_subcommand("report", "Write the report of a run that was made before, without checking again");
    AddRunChoice(*command, options->choice);
    AddOutputOptions(*command, options->output);
    command->footer(std::string(kExamples) + kExitCodes);
    return {command, [options] { return Report(*options); }};
}

}  // namespace norvex::cli
