// SPDX-License-Identifier: Apache-2.0
#include "cli/CheckOutputs.h"

#include <fmt/format.h>
#include <sstream>
#include <utility>

#include "cli/Options.h"
#include "cli/Terminal.h"
#include "report/CheckReport.h"
#include "report/RunPage.h"
#include "report/page/WritePage.h"
#include "report/resultfile/WriteResultFiles.h"
#include "report/sarif/CheckSarif.h"
#include "service/store/Clock.h"

namespace norvex::cli {
namespace {

std::string PageText(const service::RunReport& report, const ModelView& view) {
    const report::RunPage page = view.model == nullptr ? report::MakeRunPageWithoutPlan(report, view.whyNot)
                                                       : report::MakeRunPage(report, *view.model, view.floors);
    std::ostringstream text;
    report::page::WritePage(page.model, text);
    return std::move(text).str();
}

report::Times TimesOf(const OutputOptions& options) {
    return options.timing ? report::Times::Show : report::Times::Omit;
}

// Returns whether nothing failed, having said so otherwise.
bool Succeeded(const std::optional<std::string>& failure) {
    if (failure) {
        Complain(*failure);
    }
    return !failure;
}

}  // namespace

void AddOutputOptions(CLI::App& command, OutputOptions& options) {
    command
        .add_option("--format", options.format,
                    "What standard output gets: text for people, json, or sarif. Default: text")
        ->type_name("FORMAT");
    command
        .add_option("--json", options.json,
                    "Write the whole report as JSON to FILE; - writes it to standard output in place of the text")
        ->type_name("FILE");
    command
        .add_option(
            "--sarif", options.sarif,
            "Write the findings as a SARIF 2.1.0 log, for code review tools and build servers, to FILE; - writes "
            "it to standard output in place of the text")
        ->type_name("FILE");
    command
        .add_option("--html", options.html,
                    "Write a page with the findings and a plan of each floor to FILE; any browser opens it")
        ->type_name("FILE");
    CLI::Option* bcf =
        command
            .add_option("--bcf", options.bcf,
                        "Write the findings as topics with viewpoints to FILE, a BCF 3.0 archive for building programs")
            ->type_name("FILE");
    command
        .add_option("--bcf-group", options.bcfGroup,
                    "One topic for each rule, floor or system in place of one for each finding")
        ->needs(bcf)
        ->type_name("KIND");
    command.add_flag("--outcomes", options.outcomes,
                     "List every rule on every floor, also with --quiet and when the list is long");
    command.add_flag("--timing", options.timing,
                     "List how long each rule took on each floor, and put times into JSON and SARIF");
    command.add_flag("--quiet,-q", options.quiet, "No progress; only findings and the last line");
    AddNoColour(command, options.noColour);
}

std::optional<std::string> CheckOutputs::Open(const KeptFiles& kept) {
    if (m_options.format != "text" && m_options.format != "json" && m_options.format != "sarif") {
        return fmt::format("There is no format \"{}\"; there is: text, json, sarif.", m_options.format);
    }
    m_format = m_options.format;
    for (const auto& [path, format] : {std::pair(&m_options.json, "json"), std::pair(&m_options.sarif, "sarif")}) {
        if (*path == "-" && m_format != "text" && m_format != format) {
            return fmt::format("Standard output takes one report, but both {} and {} are to go there.", m_format,
                               format);
        }
        m_format = *path == "-" ? format : m_format;
    }
    if (!m_options.bcfGroup.empty()) {
        const std::optional<report::bcf::Grouping> grouping = report::bcf::GroupingOfName(m_options.bcfGroup);
        if (!grouping) {
            return fmt::format("Topics cannot be grouped by \"{}\", but by: rule, floor, system.", m_options.bcfGroup);
        }
        m_bcfGrouping = *grouping;
    }
    return OpenFiles(kept);
}

std::optional<std::string> CheckOutputs::OpenFiles(const KeptFiles& kept) {
    std::vector<OutputFile> files;
    for (const auto& [path, file] : {std::pair(&m_options.json, &m_json), std::pair(&m_options.sarif, &m_sarif)}) {
        if (*path && *path != "-") {
            files.push_back({*file, **path});
        }
    }
    for (const auto& [path, file] : {std::pair(&m_options.html, &m_html), std::pair(&m_options.bcf, &m_bcf)}) {
        if (*path) {
            files.push_back({*file, **path});
        }
    }
    return OpenOutputs(kept, files);
}

std::string CheckOutputs::StandardText(const service::RunReport& report) const {
    if (m_format == "json") {
        return report::CheckJson(report, TimesOf(m_options));
    }
    if (m_format == "sarif") {
        return report::CheckSarif(report, TimesOf(m_options));
    }
    report::TextStyle style = StyleOfOutput(m_options.noColour);
    style.brief = m_options.quiet;
    return report::CheckText(report, style, {.allOutcomes = m_options.outcomes, .times = TimesOf(m_options)});
}

bool CheckOutputs::Deliver(const service::RunReport& report, const ModelView& view, std::function<bool()> isCancelled) {
    m_isCancelled = std::move(isCancelled);
    m_wasCancelled = m_isCancelled && m_isCancelled();
    // A run that the project does not remember leaves nothing in its folder.
    const bool areResultsWritten = report.run == 0 || Succeeded(report::WriteResultFiles(report).failure);
    const bool areFilesWritten = WriteFiles(report, view);
    return WriteStandard(report) && areResultsWritten && areFilesWritten;
}

bool CheckOutputs::Write(WholeFile& file, const std::string& path, const std::function<std::string()>& make) const {
    if (!IsInterrupted()) {
        const std::string text = make();
        if (!IsInterrupted()) {
            return Succeeded(file.Commit(text));
        }
    }
    Complain(fmt::format("Interrupted: {} was not written.", path));
    return false;
}

bool CheckOutputs::WriteBcf(const service::RunReport& report, const ModelView& view) {
    if (IsInterrupted()) {
        Complain(fmt::format("Interrupted: {} was not written.", *m_options.bcf));
        return false;
    }
    const ifc::BuildingModel nothing;
    const report::bcf::BcfArchive archive = report::bcf::MakeBcf(
        report, view.model == nullptr ? nothing : *view.model, view.floors,
        {.grouping = m_bcfGrouping, .moment = service::store::SystemClock().Now(), .shouldStop = m_isCancelled});
    const bool isWritten = Succeeded(m_bcf.Commit(archive.bytes));
    if (isWritten && archive.picturesLeftOut > 0) {
        Complain(fmt::format("Interrupted: {} lacks {}.", *m_options.bcf,
                             archive.picturesLeftOut == 1 ? std::string("1 picture")
                                                          : fmt::format("{} pictures", archive.picturesLeftOut)));
    }
    return isWritten && archive.picturesLeftOut == 0;
}

bool CheckOutputs::WriteStandard(const service::RunReport& report) {
    return WriteOut(StandardText(report));
}

bool CheckOutputs::HasFilesOnly() const {
    const bool hasFiles = m_options.html || m_options.bcf || m_options.json || m_options.sarif;
    return hasFiles && m_format == "text";
}

bool CheckOutputs::WriteFiles(const service::RunReport& report, const ModelView& view) {
    bool isDelivered = true;
    if (m_options.html) {
        isDelivered = Write(m_html, *m_options.html, [&] { return PageText(report, view); });
    }
    if (m_options.bcf) {
        isDelivered = WriteBcf(report, view) && isDelivered;
    }
    if (m_options.json && m_options.json != "-") {
        isDelivered = Write(m_json, *m_options.json, [&] { return report::CheckJson(report, TimesOf(m_options)); }) &&
                      isDelivered;
    }
    if (m_options.sarif && m_options.sarif != "-") {
        isDelivered =
            Write(m_sarif, *m_options.sarif, [&] { return report::CheckSarif(report, TimesOf(m_options)); }) &&
            isDelivered;
    }
    return isDelivered;
}

}  // namespace norvex::cli
