// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "cli/Output.h"
#include "ifc/BuildingModel.h"
#include "service/IfcFloors.h"
#include "service/RunReport.h"

namespace norvex::cli {

// Where the report of a check goes, and how it looks there.
struct OutputOptions {
    std::optional<std::string> json;  // "-": standard output, in place of the text
    std::optional<std::string> html;
    bool quiet = false;
    bool noColour = false;
};

void AddOutputOptions(CLI::App& command, OutputOptions& options);

// The files and streams that take the report. Each file is written whole or not at all.
class CheckOutputs {
  public:
    // Keeps the options by reference.
    explicit CheckOutputs(const OutputOptions& options) : m_options(options) {}

    // Opens the files that are wanted, so that one that cannot be written is known before the check. Returns a sentence
    // when there is one.
    std::optional<std::string> Open();

    // Requires: Open succeeded. Writes the report where it is wanted. Returns false, having said so, when it could not
    // be delivered.
    bool Deliver(const service::RunReport& report, const ifc::BuildingModel& model, const service::IfcFloors& floors);

  private:
    const OutputOptions& m_options;
    WholeFile m_json;
    WholeFile m_html;
};

}  // namespace norvex::cli
