// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "platform/datamng/ProjectData.h"
#include "service/RunPlan.h"
#include "service/store/RunRecords.h"

namespace norvex::service::session {

// Enters the digest of each rule's module file, as the module inventory of the application folder has it. Requires:
// UseConfiguration has named the application folder.
void NoteModuleDigests(RunPlan& plan);

// Digest of everything that configures a run beside its rules: the file NorvexConfig.xml that is used, absent or not,
// and the project's data with the catalogue and the model's categories in it. What the program itself brings is known
// by its version.
std::string ConfigurationDigest(const std::filesystem::path& configurationFile, const datamng::ProjectData& project);

// What decides the findings of a run. model: the path as it was given; its digest stands in the run for its bytes.
store::RunIdentity IdentityOf(const RunPlan& plan, const FloorSource& source, const ModelRecord& model,
                              std::string configurationDigest, std::string programVersion);

}  // namespace norvex::service::session
