// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli/OutputFiles.h"
#include "ifc/BuildingModel.h"
#include "report/bcf/WriteBcf.h"
#include "service/RunReport.h"

namespace norvex::cli {

// Where the report of a check goes, and how it looks there.
struct OutputOptions {
    std::string format = "text";      // of standard output: text, json or sarif
    std::optional<std::string> json;  // "-": standard output, as of the next two
    std::optional<std::string> sarif;
    std::optional<std::string> html;
    std::optional<std::string> bcf;
    std::string bcfGroup;  // empty: a topic for each finding; else rule, floor or system
    bool outcomes = false;
    bool timing = false;
    bool quiet = false;
    bool noColour = false;
};

void AddOutputOptions(CLI::App& command, OutputOptions& options);

// What there is to draw of the model of a run.
struct ModelView {
    const ifc::BuildingModel* model = nullptr;  // null: nothing
    std::vector<service::FloorRecord> floors;   // of the whole building, as service::IfcFloors has them
    std::string whyNot;                         // one sentence without a model
};

// The files and streams that take the report. Each file is written whole or not at all.
class CheckOutputs {
  public:
    // Keeps the options by reference.
    explicit CheckOutputs(const OutputOptions& options) : m_options(options) {}

    // Opens the files that are wanted, so that one that cannot be written is known before the check. Returns a sentence
    // when there is one, when the options want two reports in one place, or when one is to take the place of a file
    // that is kept.
    std::optional<std::string> Open(const KeptFiles& kept);

    // Requires: Open succeeded. Writes the project's result files, unless the project does not remember the run, and
    // the report where it is wanted. Returns false, having said so, when not all of it could be delivered; what could
    // be is.
    //
    // `isCancelled` tells whether the user wants to see the end. A run that was cancelled before is delivered all the
    // same, but for pictures, which take time; when it is cancelled now, what has not been begun stays unwritten.
    bool Deliver(const service::RunReport& report, const ModelView& view, std::function<bool()> isCancelled = {});

    // The parts of it. Each returns false, having said so, when not all of it could be delivered.
    bool WriteFiles(const service::RunReport& report, const ModelView& view);
    bool WriteStandard(const service::RunReport& report);

    // Whether something beside standard output takes the report, and standard output is not told to take it.
    bool HasFilesOnly() const;

  private:
    std::optional<std::string> OpenFiles(const KeptFiles& kept);
    bool IsInterrupted() const { return m_isCancelled && !m_wasCancelled && m_isCancelled(); }
    // Writes what `make` makes. Returns false, having said so, when it could not, or was not to.
    bool Write(WholeFile& file, const std::string& path, const std::function<std::string()>& make) const;
    // The same for the archive, which is whole without its pictures.
    bool WriteBcf(const service::RunReport& report, const ModelView& view);
    std::string StandardText(const service::RunReport& report) const;

    const OutputOptions& m_options;
    std::string m_format;  // of standard output
    WholeFile m_json;
    WholeFile m_sarif;
    WholeFile m_html;
    WholeFile m_bcf;
    report::bcf::Grouping m_bcfGrouping = report::bcf::Grouping::Finding;
    std::function<bool()> m_isCancelled;
    bool m_wasCancelled = false;  // before anything was written
};

}  // namespace norvex::cli
