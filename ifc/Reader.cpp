// SPDX-License-Identifier: Apache-2.0
#include "ifc/Reader.h"

#include "ifc/LargePages.h"
#include "ifc/mapping/CategoryTable.h"
#include "ifc/model/ModelReader.h"
#include "ifc/network/Network.h"
#include "ifc/part21/DiagnosticLog.h"
#include "ifc/part21/ExchangeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <limits>
#include <memory>

namespace norvex::ifc {

namespace {

// Offsets into the file have 32 bits.
constexpr std::uint64_t kMaxFileBytes = std::numeric_limits<std::uint32_t>::max();

Diagnostic ErrorOf(DiagnosticCode code, std::string sentence) {
    return {Severity::Error, code, 0, 0, std::move(sentence)};
}

Diagnostic CannotOpen(std::string sentence) {
    return ErrorOf(DiagnosticCode::CannotOpen, std::move(sentence));
}

// A descriptor that is closed with the object; negative: nothing is open.
class OpenFile {
  public:
    explicit OpenFile(int descriptor) : descriptor_(descriptor) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }

    int Number() const { return descriptor_; }

  private:
    int descriptor_;
};

bool IsFile(const struct stat& status) {
    return S_ISREG(status.st_mode);
}

// Returns: how many bytes were read, fewer than `size` when the file ends before; nothing when the system refused.
std::optional<std::size_t> ReadAll(const OpenFile& file, char* bytes, std::size_t size) {
    std::size_t total = 0;
    while (total < size) {
        const ssize_t count = read(file.Number(), bytes + total, size - total);
        if (count == 0) {
            break;
        }
        if (count < 0 && errno != EINTR) {
            return std::nullopt;
        }
        total += count < 0 ? 0 : static_cast<std::size_t>(count);
    }
    return total;
}

// Returns: the name of the schema, or an error when this is no IFC.
std::optional<Diagnostic> FindSchema(const part21::ExchangeFile& file, BuildingModel& model, DiagnosticLog& log) {
    for (const std::string& schema : file.Schemas()) {
        if (schema.starts_with("IFC") || schema.starts_with("ifc")) {
            model.schema = schema;
            return std::nullopt;
        }
    }
    const auto isProject = [](const std::string& name) { return name == "IFCPROJECT"; };
    if (std::any_of(file.ClassNames().begin(), file.ClassNames().end(), isProject)) {
        log.AddGeneral(Severity::Warning, DiagnosticCode::BrokenHeader,
                       "The header names no IFC schema; the instances are read as IFC all the same.");
        return std::nullopt;
    }
    const std::string named = file.Schemas().empty() ? std::string("no schema") : file.Schemas().front().substr(0, 64);
    return Diagnostic{Severity::Error, DiagnosticCode::NotIfc, 0, 0,
                      "The file is a STEP file but no IFC model: its header names " + named + "."};
}

// The place of the first thing that went wrong is the place to look at.
Diagnostic NoInstances(std::uint64_t lost, const std::vector<Diagnostic>& noticed) {
    Diagnostic error{Severity::Error, DiagnosticCode::NoInstances, 0, 0,
                     "The file holds no instance that could be read."};
    const auto placed =
        std::find_if(noticed.begin(), noticed.end(), [](const Diagnostic& one) { return one.line > 0; });
    if (placed != noticed.end()) {
        error.line = placed->line;
        error.offset = placed->offset;
        error.sentence = "The file holds no instance that could be read; " + std::to_string(lost) +
                         (lost == 1 ? " is" : " are") + " broken, the first one here. " + placed->sentence;
    }
    return error;
}

// One warning for each place that refers to an instance which the file does not hold.
void LogDanglingReferences(const Access& access, DiagnosticLog& log) {
    for (const Access::Dangling& dangling : access.TakeDangling()) {
        log.Add(Severity::Warning, DiagnosticCode::DanglingReference, dangling.offset,
                "There is no instance #" + std::to_string(dangling.id) +
                    "; what this reference was to give is missing from the model.");
    }
    if (access.DanglingLimitReached()) {
        log.AddGeneral(Severity::Warning, DiagnosticCode::LimitReached,
                       "More references lead nowhere than are listed one by one.");
    }
}

ReadResult ReadText(std::string_view text, const ReadOptions& options) {
    ReadResult result;
    DiagnosticLog log(text, options.maxDiagnostics);
    part21::ExchangeFile file;
    if (std::optional<Diagnostic> fatal = file.Read(text, log)) {
        result.error = std::move(*fatal);
        return result;
    }
    BuildingModel model;
    model.sourceName = options.sourceName;
    if (std::optional<Diagnostic> fatal = FindSchema(file, model, log)) {
        result.error = std::move(*fatal);
        return result;
    }
    if (file.InstanceCount() == 0) {
        result.error = NoInstances(file.LostCount(), log.Take());
        return result;
    }
    model.counts.instances = file.InstanceCount();
    model.counts.lostInstances = file.LostCount();
    model.counts.isCutOff = file.IsCutOff();
    const Access access(file);
    const CategoryTable& categories = options.categories != nullptr ? *options.categories : CategoryTable::Default();
    ModelReader reader(access, categories, model, log);
    const NetworkInput input = reader.Read();
    LogDanglingReferences(access, log);
    if (access.Refused() > 0) {
        log.AddGeneral(Severity::Warning, DiagnosticCode::LimitReached,
                       "The instances refer to each other more often than a model's do; " +
                           std::to_string(access.Refused()) +
                           (access.Refused() == 1 ? " look at one of them was" : " looks at them were") +
                           " given up, and what they were to give is missing from the model.");
    }
    BuildNetwork(input, options.inferConnections, model, log, result.work);
    result.work.textBytes = access.BytesRead();
    result.work.shapeSteps = reader.ShapeSteps();
    model.counts.notes = log.Total(Severity::Note);
    model.counts.warnings = log.Total(Severity::Warning);
    model.counts.errors = log.Total(Severity::Error);
    model.diagnostics = log.Take();
    result.model = std::move(model);
    return result;
}

}  // namespace

ReadResult ReadIfcBytes(std::span<const std::byte> bytes, const ReadOptions& options) {
    if (bytes.size() > kMaxFileBytes) {
        ReadResult result;
        result.error = ErrorOf(DiagnosticCode::FileTooLarge, "The model is larger than four gigabytes.");
        return result;
    }
    return ReadText({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, options);
}

LoadResult LoadIfcFile(const std::filesystem::path& path) {
    constexpr const char* kNoFile = "This is no file but a folder, a pipe or a device.";
    // Looked at before it is opened, because opening alone moves some devices; and again afterwards, because what the
    // name stands for may have changed. Opening waits for nobody, as it would for the other end of a pipe.
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && !IsFile(status)) {
        return {{}, CannotOpen(kNoFile)};
    }
    const OpenFile file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (file.Number() < 0) {
        return {{}, CannotOpen("The file does not exist or cannot be opened for reading.")};
    }
    if (fstat(file.Number(), &status) != 0 || !IsFile(status)) {
        return {{}, CannotOpen(kNoFile)};
    }
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (size > kMaxFileBytes) {
        return {{}, ErrorOf(DiagnosticCode::FileTooLarge, "The file is larger than four gigabytes.")};
    }
    // The text is copied, not mapped: a file that another program cuts short must not end this one.
    auto text = std::make_unique_for_overwrite<char[]>(static_cast<std::size_t>(size));
    AdviseLargePages(text.get(), static_cast<std::size_t>(size));
    const std::optional<std::size_t> got = ReadAll(file, text.get(), static_cast<std::size_t>(size));
    if (!got) {
        return {{}, CannotOpen("Reading the file failed.")};
    }
    return {FileContent(std::move(text), *got), {}};
}

ReadResult ReadIfcFile(const std::filesystem::path& path, const ReadOptions& options) {
    const LoadResult loaded = LoadIfcFile(path);
    if (!loaded.Ok()) {
        ReadResult result;
        result.error = loaded.error;
        return result;
    }
    ReadOptions named = options;
    if (named.sourceName.empty()) {
        named.sourceName = path.filename().string();
    }
    return ReadText(loaded.content->Text(), named);
}

std::string DiagnosticText(std::string_view sourceName, const Diagnostic& diagnostic) {
    std::string text(sourceName);
    if (diagnostic.line > 0) {
        text += ":" + std::to_string(diagnostic.line);
    }
    return text + ": " + std::string(SeverityName(diagnostic.severity)) + ": " + diagnostic.sentence;
}

}  // namespace norvex::ifc
