// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <algorithm>
#include <memory>
#include <vector>

#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/StoredRun.h"
#include "cli/Terminal.h"
#include "report/FindingText.h"

namespace norvex::cli {
namespace {

using service::FindingRecord;
using service::RunReport;

constexpr const char* kExamples =
    "Examples:\n"
    "  norvex show 3                       finding 3 of the last run\n"
    "  norvex show _4c4ac1 house.ifc       the finding whose feature code begins so\n"
    "  norvex show 3 --project house-project --run 5\n\n";

struct ShowOptions {
    std::string finding;
    RunChoice choice;
    bool noColour = false;
};

struct Wanted {
    const FindingRecord* finding = nullptr;
    bool isGone = false;
};

bool IsNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

const FindingRecord* ByNumber(const RunReport& report, const std::string& number) {
    const auto found = std::find_if(report.findings.begin(), report.findings.end(), [&](const FindingRecord& finding) {
        return std::to_string(finding.number) == number;
    });
    return found == report.findings.end() ? nullptr : &*found;
}

std::vector<const FindingRecord*> ByCode(const std::vector<FindingRecord>& findings, const std::string& code) {
    std::vector<const FindingRecord*> found;
    for (const FindingRecord& finding : findings) {
        if (finding.featureCode.starts_with(code)) {
            found.push_back(&finding);
        }
    }
    return found;
}

// The one finding of the run with this number or feature code, or the one that is gone. Errors: no finding, and error
// is one sentence.
Wanted Find(const RunReport& report, const std::string& named, std::string& error) {
    if (IsNumber(named)) {
        const FindingRecord* finding = ByNumber(report, named);
        error = finding != nullptr
                    ? ""
                    : fmt::format("Run {} has no finding {}; it has {}.", report.run, named, report.findings.size());
        return {.finding = finding};
    }
    const std::vector<const FindingRecord*> found = ByCode(report.findings, named);
    const std::vector<const FindingRecord*> gone =
        report.comparison ? ByCode(report.comparison->gone, named) : std::vector<const FindingRecord*>{};
    if (found.size() == 1) {
        return {.finding = found.front()};
    }
    if (found.empty() && gone.size() == 1) {
        return {.finding = gone.front(), .isGone = true};
    }
    if (found.empty()) {
        error = fmt::format("Run {} has no finding \"{}\"; give a number, or how its feature code begins.", report.run,
                            named);
        return {};
    }
    std::vector<std::size_t> numbers;
    for (const FindingRecord* finding : found) {
        numbers.push_back(finding->number);
    }
    error =
        fmt::format("The feature codes of several findings begin with \"{}\": {}.", named, fmt::join(numbers, ", "));
    return {};
}

std::string TrustCommand(const RunReport& report, const FindingRecord& finding) {
    return fmt::format("norvex trust add --finding {} --project {} --reason 'why it is accepted'",
                       report::ShellWord(finding.featureCode), report::ShellWord(report.projectFolder));
}

int Show(const ShowOptions& options) {
    std::string error;
    const std::optional<StoredRun> run = ReadStoredRun(options.choice, error);
    const Wanted wanted = run ? Find(run->report, options.finding, error) : Wanted{};
    if (wanted.finding == nullptr) {
        Complain(error);
        return kUnusable;
    }
    const bool canBeAccepted = !wanted.isGone && !wanted.finding->trusted;
    const report::FindingContext context{
        .isGone = wanted.isGone, .trustCommand = canBeAccepted ? TrustCommand(run->report, *wanted.finding) : ""};
    return WriteOut(report::FindingText(run->report, *wanted.finding, context, StyleOfOutput(options.noColour)))
               ? kClean
               : kIncomplete;
}

}  // namespace

Command AddShow(CLI::App& app) {
    const auto options = std::make_shared<ShowOptions>();
    CLI::App* command =
        app.add_subcommand("show", "Show one finding whole: what, why, where, how to fix it, how to accept it");
    command
        ->add_option("FINDING", options->finding, "The finding's number in the report, or how its feature code begins")
        ->required()
        ->type_name("");
    AddRunChoice(*command, options->choice);
    AddNoColour(*command, options->noColour);
    command->footer(std::string(kExamples) + kExitCodes);
    return {command, [options] { return Show(*options); }};
}

}  // namespace norvex::cli
