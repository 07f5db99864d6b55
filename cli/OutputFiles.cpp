// SPDX-License-Identifier: Apache-2.0
#include "cli/OutputFiles.h"

#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>
#include <string_view>

#include "platform/kernel/InputFile.h"
#include "service/ProjectFiles.h"

namespace norvex::cli {
namespace {

namespace fs = std::filesystem;

// What a path stands for: an existing file, or a place where one would be.
struct Place {
    explicit Place(const fs::path& path) : place(kernel::FollowLinks(path)) {
        exists = stat(path.c_str(), &status) == 0;
        std::error_code ignored;
        if (const fs::path whole = fs::weakly_canonical(fs::absolute(place, ignored), ignored); !whole.empty()) {
            place = whole;
        }
    }

    const struct stat* Status() const { return exists ? &status : nullptr; }

    fs::path place;
    struct stat status {};
    bool exists = false;
};

bool IsSameFile(const struct stat& left, const struct stat& right) {
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

// Devices take any number of reports, one after the other.
bool HoldsOneReport(const struct stat& status) {
    return !S_ISCHR(status.st_mode);
}

bool AreOne(const Place& left, const Place& right) {
    if (left.exists && right.exists) {
        return IsSameFile(left.status, right.status) && HoldsOneReport(left.status);
    }
    return left.exists == right.exists && left.place == right.place;
}

// What an existing file begins with that no report does.
std::optional<std::string> WhyContentStays(const fs::path& file) {
    constexpr std::string_view kModel = "ISO-10303-21";  // of every IFC file, behind blanks at most
    constexpr std::string_view kDatabase("SQLite format 3\0", 16);
    constexpr std::size_t kHead = 256;
    std::string ignored;
    const std::string head = kernel::ReadInputFile(file, kHead, ignored).value_or("");
    const std::size_t first = head.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    if (first != std::string::npos && std::string_view(head).substr(first).starts_with(kModel)) {
        return "is a building model";
    }
    return std::string_view(head).starts_with(kDatabase) ? std::optional<std::string>("is a database") : std::nullopt;
}

std::string Refusal(const fs::path& output, const std::string& why) {
    return fmt::format("\"{}\" {} and is not overwritten; name another file.", output.string(), why);
}

std::string OneFile(const fs::path& output, const std::string& other) {
    return fmt::format("\"{}\" and {} are one file, which takes one report; name another file for one of them.",
                       output.string(), other);
}

// Of the places that the shell has opened, those that an output must not be too.
std::optional<std::string> WhyNotBesideStandardFiles(const OutputFile& output, const Place& place) {
    for (const auto& [descriptor, name] :
         {std::pair(STDOUT_FILENO, "standard output"), std::pair(STDERR_FILENO, "standard error")}) {
        struct stat status {};
        if (place.exists && fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
            IsSameFile(status, place.status)) {
            return OneFile(output.path, name);
        }
    }
    return std::nullopt;
}

std::optional<std::string> WhyNot(const KeptFiles& kept, const std::vector<OutputFile>& outputs) {
    if (std::optional<std::string> why = kept.WhyNotStandardOutput()) {
        return why;
    }
    std::vector<Place> places;
    for (const OutputFile& output : outputs) {
        const Place place(output.path);
        if (const std::optional<std::string> why = kept.WhyNot(output.path)) {
            return Refusal(output.path, *why);
        }
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (AreOne(places[i], place)) {
                return OneFile(outputs[i].path, fmt::format("\"{}\"", output.path.string()));
            }
        }
        if (std::optional<std::string> why = WhyNotBesideStandardFiles(output, place)) {
            return why;
        }
        if (const std::optional<std::string> why = WhyContentStays(output.path)) {
            return Refusal(output.path, *why);
        }
        places.push_back(place);
    }
    return std::nullopt;
}

}  // namespace

void KeptFiles::AddModel(const fs::path& model) {
    m_files.emplace_back(model, "is the model");
}

void KeptFiles::AddProject(const fs::path& folder) {
    m_projects.push_back(folder);
}

void KeptFiles::AddApplication(const fs::path& folder) {
    for (const char* name : service::kApplicationFiles) {
        m_files.emplace_back(folder / name, "is a file of the program");
    }
}

std::optional<std::string> KeptFiles::WhyNot(const fs::path& output) const {
    const Place place(output);
    return WhyNot(place.Status(), place.place);
}

std::optional<std::string> KeptFiles::WhyNotStandardOutput() const {
    struct stat status {};
    if (fstat(STDOUT_FILENO, &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    const std::optional<std::string> why = WhyNot(&status, {});
    return why ? std::optional(fmt::format("The file that standard output goes to {}; name another file.", *why))
               : std::nullopt;
}

std::optional<std::string> KeptFiles::WhyNot(const struct stat* status, const fs::path& place) const {
    for (const auto& [file, what] : m_files) {
        const Place kept(file);
        if (status != nullptr && kept.exists ? IsSameFile(*status, kept.status) : kept.place == place) {
            return what;
        }
    }
    for (const fs::path& folder : m_projects) {
        const std::string what = fmt::format("belongs to what norvex keeps in the project \"{}\"", folder.string());
        if (service::IsProjectFile(Place(folder).place, place)) {
            return what;
        }
        for (const fs::path& file : status == nullptr ? std::vector<fs::path>() : service::ProjectFiles(folder)) {
            const Place kept(file);
            if (kept.exists && IsSameFile(*status, kept.status)) {
                return what;
            }
        }
    }
    return std::nullopt;
}

std::vector<OutputFile> OutputsOf(const std::optional<std::string>& path, WholeFile& file) {
    return !path || *path == "-" ? std::vector<OutputFile>() : std::vector<OutputFile>{{file, *path}};
}

std::optional<std::string> OpenOutputs(const KeptFiles& kept, const std::vector<OutputFile>& outputs) {
    if (std::optional<std::string> why = WhyNot(kept, outputs)) {
        return why;
    }
    for (const OutputFile& output : outputs) {
        if (std::optional<std::string> failure = output.file.Open(output.path, WholeFile::Links::Follow)) {
            return failure;
        }
    }
    return std::nullopt;
}

}  // namespace norvex::cli
