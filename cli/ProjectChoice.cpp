// SPDX-License-Identifier: Apache-2.0
#include "cli/ProjectChoice.h"

#include <set>
#include <utility>

#include "cli/ExitCode.h"
#include "cli/Output.h"
#include "service/Host.h"
#include "service/ProjectFolder.h"

namespace norvex::cli {
namespace {

using service::store::StoreErrorCode;

const char* AdviceFor(StoreErrorCode code) {
    switch (code) {
        case StoreErrorCode::Damaged:
            return "norvex runs --set-aside-damaged moves it away, so that a new one can begin";
        case StoreErrorCode::NothingStored:
            return "norvex check makes it";
        default:
            return nullptr;
    }
}

}  // namespace

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

std::string Advised(const service::store::StoreError& error) {
    const char* advice = AdviceFor(error.code);
    std::string sentence = error.sentence;
    if (advice != nullptr && sentence.ends_with('.')) {
        sentence.pop_back();
        sentence += std::string("; ") + advice + ".";
    }
    return sentence;
}

int Refuse(const service::store::StoreError& error) {
    Complain(Advised(error));
    switch (error.code) {
        case StoreErrorCode::Locked:
        case StoreErrorCode::DiskFull:
        case StoreErrorCode::Failed:
        case StoreErrorCode::ProjectBusy:
            return kIncomplete;
        default:
            return kUnusable;
    }
}

KeptFiles FilesToKeep(const ProjectChoice& choice, const std::filesystem::path& folder) {
    KeptFiles kept;
    if (choice.model) {
        kept.AddModel(*choice.model);
    }
    kept.AddProject(folder);
    kept.AddApplication(service::ApplicationFolder());
    return kept;
}

KeptFiles FilesToKeep(const ProjectChoice& choice, service::store::ProjectStore& project) {
    KeptFiles kept = FilesToKeep(choice, project.DatabasePath().parent_path());
    std::set<std::string> models;
    // Whoever goes on with a project that cannot be read hears of it there.
    if (const auto runs = project.ListRuns()) {
        for (const service::store::RunRecord& run : *runs) {
            models.insert(run.identity.modelPath);
        }
    }
    for (const std::string& model : models) {
        kept.AddModel(model);
    }
    return kept;
}

std::optional<service::store::ProjectStore> OpenChosenProject(const ProjectChoice& choice,
                                                              service::store::Access access, std::string& error) {
    const std::optional<std::filesystem::path> folder = ChosenProject(choice, error);
    if (!folder) {
        return std::nullopt;
    }
    service::store::StoreOptions options;
    options.access = access;
    service::store::Result<service::store::ProjectStore> project = service::store::ProjectStore::Open(*folder, options);
    if (!project) {
        error = Advised(project.Error());
        return std::nullopt;
    }
    return std::move(*project);
}

}  // namespace norvex::cli
