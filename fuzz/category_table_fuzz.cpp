// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Promise.h"
#include "ifc/mapping/CategoryTable.h"

#include <algorithm>
#include <string>

// Whatever the text is, it is refused with a line and a sentence, or gives a table whose answers are parts of the text.

namespace {

using namespace norvex::fuzz;
using namespace norvex::ifc;

bool IsPart(std::string_view text, std::string_view part) {
    return part.empty() || text.find(part) != std::string_view::npos;
}

void CheckPath(std::string_view text, const CategoryPath& path) {
    Require(IsPart(text, path.specialty) && IsPart(text, path.category) && IsPart(text, path.subCategory),
            "an answer is a part of the table");
    Require(path.specialty.find('\\') == std::string_view::npos && path.category.find('\\') == std::string_view::npos &&
                path.subCategory.find('\\') == std::string_view::npos,
            "no answer holds a backslash");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = TextOf(data, size);
    const CategoryTableResult result = CategoryTable::Parse(text);
    if (!result.table) {
        Require(!result.error.sentence.empty(), "what cannot be read says why");
        Require(result.error.line <= static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n')) + 1,
                "an error lies in the table");
        return 0;
    }
    // Everything that the table speaks of, and more, is asked of it.
    std::string_view rest = text;
    for (int line = 0; !rest.empty() && line < 64; ++line) {
        std::string_view fields = TakePiece(rest, '\n');
        TakePiece(fields, '\t');
        const std::string_view word = TakePiece(fields, '\t');
        CheckPath(text, result.table->OfClass(word, fields));
        CheckPath(text, result.table->OfClass(word, ""));
        CheckPath(text, result.table->OfName(word).path);
        Require(IsPart(text, result.table->OfSystemName(word)) && IsPart(text, result.table->OfSystemType(word)),
                "a specialty is a part of the table");
        Require(LowerCase(LowerCase(word)) == LowerCase(word) && LowerCase(word).size() == word.size(),
                "lower case is lower case");
    }
    return 0;
}
