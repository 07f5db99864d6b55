// SPDX-License-Identifier: Apache-2.0
#include "cli/CheckOutputs.h"

#include <sstream>
#include <utility>

#include "cli/Options.h"
#include "cli/Terminal.h"
#include "report/CheckReport.h"
#include "report/RunPage.h"
#include "report/page/WritePage.h"

namespace norvex::cli {
namespace {

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

}  // namespace

void AddOutputOptions(CLI::App& command, OutputOptions& options) {
    command
        .add_option("--json", options.json,
                    "Write the whole report as JSON to FILE; - writes it to standard output in place of the text")
        ->type_name("FILE");
    command
        .add_option("--html", options.html,
                    "Write a page with the findings and a plan of each floor to FILE; any browser opens it")
        ->type_name("FILE");
    command.add_flag("--quiet,-q", options.quiet, "No progress; only findings and the last line");
    AddNoColour(command, options.noColour);
}

std::optional<std::string> CheckOutputs::Open() {
    std::optional<std::string> failure;
    if (m_options.json && m_options.json != "-") {
        failure = m_json.Open(*m_options.json);
    }
    if (m_options.html && !failure) {
        failure = m_html.Open(*m_options.html);
    }
    return failure;
}

bool CheckOutputs::Deliver(const service::RunReport& report, const ifc::BuildingModel& model,
                           const service::IfcFloors& floors) {
    if (m_options.html && !CommitFile(m_html, PageText(report, model, floors))) {
        return false;
    }
    if (m_options.json == "-") {
        return WriteOut(report::CheckJson(report));
    }
    if (m_options.json && !CommitFile(m_json, report::CheckJson(report))) {
        return false;
    }
    report::TextStyle style = StyleOfOutput(m_options.noColour);
    style.brief = m_options.quiet;
    return WriteOut(report::CheckText(report, style));
}

}  // namespace norvex::cli
