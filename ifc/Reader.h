// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/BuildingModel.h"
#include "ifc/ReadWork.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace norvex::ifc {

class CategoryTable;

struct ReadOptions {
    // Shown in messages instead of the path; empty: the path's last part.
    std::string sourceName;
    // How many diagnostics are kept; all of them are counted.
    std::size_t maxDiagnostics = 200;
    // Decides specialty and category. Not owned; must live until the reader returns. Null: the table that ships with
    // the program, as it was when the program was built.
    const CategoryTable* categories = nullptr;
    // Connections are looked for in the geometry where the file states none.
    bool inferConnections = true;
};

// Either a model, or the error that prevented one. Warnings about a model stand in its diagnostics.
struct ReadResult {
    std::optional<BuildingModel> model;
    Diagnostic error;  // meaningful without a model
    ReadWork work;     // of the model

    bool Ok() const { return model.has_value(); }
};

// The content of a file, in memory.
class FileContent {
  public:
    // `size` bytes at `bytes`, owned from then on.
    FileContent(std::unique_ptr<char[]> bytes, std::size_t size) : bytes_(std::move(bytes)), size_(size) {}

    // Good as long as the content lives and is not moved from.
    std::string_view Text() const { return {bytes_.get(), size_}; }
    std::span<const std::byte> Bytes() const { return std::as_bytes(std::span(bytes_.get(), size_)); }

  private:
    std::unique_ptr<char[]> bytes_;
    std::size_t size_;
};

// Either a file's content, or the error that prevented it.
struct LoadResult {
    std::optional<FileContent> content;
    Diagnostic error;  // meaningful without content

    bool Ok() const { return content.has_value(); }
};

// Loads a file that ReadIfcBytes() can read, for who needs its bytes for something else, too. The file may change or
// vanish once the call has returned, not while it runs.
// Errors: as LoadResult says; never throws except for memory.
LoadResult LoadIfcFile(const std::filesystem::path& path);

// Reads a model from a file: LoadIfcFile(), then ReadIfcBytes() under the name of the file.
// Errors: as ReadResult says; never throws except for memory. Any number of threads may read at a time; each uses a
// second one for part of the work where the system has it.
ReadResult ReadIfcFile(const std::filesystem::path& path, const ReadOptions& options = {});

// The same from memory. `bytes` must stay until the call returns.
ReadResult ReadIfcBytes(std::span<const std::byte> bytes, const ReadOptions& options = {});

// Returns: "name:line: warning: sentence", the form that terminals and editors understand; without the line when it is
// 0.
std::string DiagnosticText(std::string_view sourceName, const Diagnostic& diagnostic);

}  // namespace norvex::ifc
