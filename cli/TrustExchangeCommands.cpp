// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "cli/ExitCode.h"
#include "cli/Output.h"
#include "cli/TrustCommands.h"
#include "platform/kernel/InputFile.h"
#include "service/store/TrustExchange.h"

namespace norvex::cli {
namespace {

using service::store::Access;
using service::store::ProjectStore;
using service::store::Result;
using service::store::StoreErrorCode;

struct ExportOptions {
    ProjectChoice choice;
    std::string to = "-";
};

struct ImportOptions {
    ProjectChoice choice;
    std::string from;
};

int Export(const ExportOptions& options) {
    Result<ProjectStore> project = OpenChosen(options.choice, Access::ReadOnly);
    if (!project && project.Error().code != StoreErrorCode::NothingStored) {
        return Refuse(project.Error());
    }
    WholeFile file;
    if (const std::optional<std::string> failure =
            OpenOutputs(FilesToKeep(options.choice, project), OutputsOf(options.to, file))) {
        Complain(*failure);
        return kUnusable;
    }
    const Result<std::string> document =
        project ? project->ExportTrust() : Result<std::string>(service::store::TrustDocument({}));
    if (!document) {
        return Refuse(document.Error());
    }
    if (options.to == "-") {
        return WriteOut(*document) ? kClean : kIncomplete;
    }
    if (const std::optional<std::string> failure = file.Commit(*document)) {
        Complain(*failure);
        return kIncomplete;
    }
    return kClean;
}

// At most one byte more than a document may have. Errors: nothing, and why is a clause.
std::optional<std::string> ReadStandardInput(std::string& why) {
    std::string document;
    std::array<char, 65536> buffer{};
    while (document.size() <= service::store::kMaxTrustDocumentBytes) {
        const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), stdin);
        if (count == 0) {
            break;
        }
        document.append(buffer.data(), count);
    }
    if (std::ferror(stdin) != 0) {
        why = std::strerror(errno);
        return std::nullopt;
    }
    return document;
}

// As above, from where the user says. Errors: nothing, and error is one sentence.
std::optional<std::string> ReadDocument(const std::string& from, std::string& error) {
    std::string why;
    std::optional<std::string> document =
        from == "-" ? ReadStandardInput(why)
                    : kernel::ReadInputFile(from, service::store::kMaxTrustDocumentBytes + 1, why);
    if (!document) {
        error = fmt::format("The trust document {} cannot be read: {}.", from, why);
    }
    return document;
}

int Import(const ImportOptions& options) {
    std::string error;
    const std::optional<std::string> document = ReadDocument(options.from, error);
    if (!document) {
        Complain(error);
        return kUnusable;
    }
    Result<ProjectStore> project = OpenChosen(options.choice, Access::ReadWrite);
    if (!project) {
        return Refuse(project.Error());
    }
    const Result<ProjectStore::ImportCounts> counts =
        project->ImportTrust(*document, options.from == "-" ? "standard input" : options.from);
    if (!counts) {
        return Refuse(counts.Error());
    }
    const auto entries = [](std::int64_t count) {
        return fmt::format("{} {}", count, count == 1 ? "entry" : "entries");
    };
    return WriteOut(fmt::format("{} added; {} trusted already and left out.\n", entries(counts->added),
                                entries(counts->alreadyThere)))
               ? kClean
               : kIncomplete;
}

}  // namespace

Command AddTrustExport(CLI::App& trust) {
    const auto options = std::make_shared<ExportOptions>();
    CLI::App* command =
        trust.add_subcommand("export", "Write what is trusted, expired entries included, as a JSON document");
    command->add_option("--to", options->to, "The file to write. Default: -, standard output")->type_name("FILE");
    AddProjectChoice(*command, options->choice);
    return {command, [options] { return Export(*options); }};
}

Command AddTrustImport(CLI::App& trust) {
    const auto options = std::make_shared<ImportOptions>();
    CLI::App* command =
        trust.add_subcommand("import", "Add the entries of such a document, all or none, to what is trusted");
    command->add_option("FILE", options->from, "The document; - is standard input")->required()->type_name("");
    AddProjectChoice(*command, options->choice);
    return {command, [options] { return Import(*options); }};
}

}  // namespace norvex::cli
