// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/BuildingModel.h"
#include "ifc/TextPool.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace norvex::ifc {

// The first three parts of an attribute path; views into the table. Empty: not decided.
struct CategoryPath {
    std::string_view specialty;
    std::string_view category;
    std::string_view subCategory;
};

// What the words in a name say.
struct NamedCategory {
    CategoryPath path;                // parts that the words leave open are empty
    std::optional<ElementKind> kind;  // what the thing does in a line, whatever its class says
    bool wholeName = false;           // the word is the whole name
};

struct CategoryTableResult;

// Decides specialty, category and sub-category from systems, names and classes. Read from a text table that ships with
// the program and may be replaced by the user; ifc/data/mapping.tsv explains its lines. Const calls are safe from any
// number of threads.
class CategoryTable {
  public:
    // Reads a table from text; `sourceName` is named in errors.
    static CategoryTableResult Parse(std::string_view text);
    static CategoryTableResult Load(const std::filesystem::path& path);
    // The table as it was when the program was built.
    static const CategoryTable& Default();

    // Returns: the specialty for a system's or a port's predefined type (HEATING), else empty.
    std::string_view OfSystemType(std::string_view predefinedType) const;
    // Returns: the specialty for the name or object type of a system, else empty.
    std::string_view OfSystemName(std::string_view utf8) const;
    // Returns: what the words in the name of an element or its type say.
    NamedCategory OfName(std::string_view utf8) const;
    // `key`: class without Ifc and Type (PipeSegment); `predefinedType` (SPRINKLER) may be empty.
    // The specialty is what is left when nothing else decided. Returns: empty parts for classes that are not in the
    // table.
    CategoryPath OfClass(std::string_view key, std::string_view predefinedType) const;

  private:
    struct Word {
        std::string text;  // lower case
        bool whole = false;
        CategoryPath path;
        std::optional<ElementKind> kind;
    };

    bool AddLine(const std::vector<std::string_view>& fields, std::string& problem);
    static const Word* Match(const std::vector<Word>& words, std::string_view utf8);

    TextPool texts_;
    std::unordered_map<std::string, std::string_view> systemTypes_;
    std::unordered_map<std::string, CategoryPath> classes_;
    std::vector<Word> systemWords_;
    std::vector<Word> nameWords_;
};

struct CategoryTableResult {
    std::optional<CategoryTable> table;
    Diagnostic error;  // meaningful without a table; line is that of the table
};

// Returns: lower case of ASCII, Latin-1 and Cyrillic letters in UTF-8; everything else as it stands.
std::string LowerCase(std::string_view utf8);

}  // namespace norvex::ifc
