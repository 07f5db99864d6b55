// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "support/Process.h"
#include "support/SharedData.h"

namespace norvex::test {

inline const char* const kSarifSchema = "data/sarif-2.1.0/sarif-schema-2.1.0.json";

// What the published schema of SARIF 2.1.0 has against a log; empty when it is valid. Requires: the shared folder.
inline std::string SarifErrors(const std::string& log) {
    const TemporaryFolder folder;
    WriteFile(folder / "log.sarif", log);
    // The system's own interpreter, because the validator comes with the system's packages.
    const ProcessResult result = RunProcess({"/usr/bin/python3", NORVEX_JSON_VALIDATOR,
                                             (SharedDir() / kSarifSchema).string(), (folder / "log.sarif").string()});
    if (result.exitCode == 0) {
        return "";
    }
    return result.out.empty() ? "the validator failed: " + result.err : result.out;
}

}  // namespace norvex::test
