// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "service/RunReport.h"

namespace norvex::report {

struct ResultFiles {
    // Each on the disk; in the order of the run's specialties.
    std::vector<std::filesystem::path> written;
    std::filesystem::path guide;         // empty: it could not be written
    std::optional<std::string> failure;  // a sentence; nothing when all that was due is written
};

// Writes the result file of each specialty that has something to tell, and the project's guide, into the run's project
// folder, under the names that the module gives them. No file of another run is touched but the guide: when a name is
// taken, because another run ended within the same second, it waits for the next one. Every file is written whole or
// not at all. Uses and restores the module's current specialty and project; check thread only.
ResultFiles WriteResultFiles(const service::RunReport& report);

}  // namespace norvex::report
