// SPDX-License-Identifier: Apache-2.0
#include "cli/StoredRun.h"

#include "cli/KnownRules.h"
#include "service/session/StoredReport.h"

namespace norvex::cli {

using service::store::Access;

void AddRunChoice(CLI::App& command, RunChoice& choice) {
    command.add_option("--run", choice.run, "The run, by its number, or last. Default: last")->type_name("last|N");
    AddProjectChoice(command, choice.project);
}

std::optional<StoredRun> ReadStoredRun(const RunChoice& choice, std::string& error) {
    std::optional<service::store::ProjectStore> project = OpenChosenProject(choice.project, Access::ReadOnly, error);
    if (!project) {
        return std::nullopt;
    }
    const service::store::Result<service::store::RunId> run = service::session::ChosenRun(*project, choice.run);
    if (!run) {
        error = Advised(run.Error());
        return std::nullopt;
    }
    const std::optional<KnownRules> rules = FindRules(project->DatabasePath().parent_path(), error);
    if (!rules) {
        return std::nullopt;
    }
    service::store::Result<service::RunReport> report = service::session::StoredReport(*project, *run, rules->records);
    if (!report) {
        error = Advised(report.Error());
        return std::nullopt;
    }
    return StoredRun{std::move(*report), FilesToKeep(choice.project, *project)};
}

}  // namespace norvex::cli
