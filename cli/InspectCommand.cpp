// SPDX-License-Identifier: Apache-2.0
#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Output.h"
#include "cli/Terminal.h"
#include "ifc/Reader.h"
#include "report/InspectReport.h"

namespace norvex::cli {

int Inspect(const InspectOptions& options) {
    WholeFile jsonFile;
    if (options.json && options.json != "-") {
        if (const std::optional<std::string> failure = jsonFile.Open(*options.json)) {
            Complain(*failure);
            return kUnusable;
        }
    }
    ifc::ReadOptions readOptions;
    readOptions.sourceName = options.model;
    const ifc::ReadResult read = ifc::ReadIfcFile(options.model, readOptions);
    if (!read.Ok()) {
        Complain(ifc::DiagnosticText(options.model, read.error));
        return kUnusable;
    }
    const std::string json = options.json ? report::InspectJson(*read.model, NORVEX_VERSION) : std::string();
    if (options.json == "-") {
        return WriteOut(json) ? kClean : kIncomplete;
    }
    if (options.json) {
        if (const std::optional<std::string> failure = jsonFile.Commit(json)) {
            Complain(*failure);
            return kIncomplete;
        }
    }
    return WriteOut(report::InspectText(*read.model, StyleOfOutput(options.noColour))) ? kClean : kIncomplete;
}

}  // namespace norvex::cli
