// SPDX-License-Identifier: Apache-2.0
#include "cli/ProjectChoice.h"

#include "service/ProjectFolder.h"

namespace norvex::cli {

void AddProjectChoice(CLI::App& command, ProjectChoice& choice) {
    command.add_option("MODEL", choice.model, "The model whose project is meant. Default: the project checked last")
        ->type_name("");
    command
        .add_option("--project", choice.project, "The folder of the project that is meant, as named to norvex check")
        ->type_name("DIR");
}

std::optional<std::filesystem::path> ChosenProject(const ProjectChoice& choice, std::string& error) {
    return choice.model || choice.project ? service::FindProjectFolder(choice.model, choice.project, error)
                                          : service::LastProjectFolder(error);
}

}  // namespace norvex::cli
