// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/part21/CharClass.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace norvex::ifc::part21 {

enum class ValueKind : std::uint8_t {
    Missing,  // there is no such argument
    Null,     // $
    Derived,  // *
    Integer,
    Real,
    String,       // text without its apostrophes, still encoded
    Enumeration,  // text without its dots: T, F, U, MILLI
    Reference,    // #123
    Binary,       // hexadecimal digits without their quotes
    List,         // text between the brackets
    Typed,        // KEYWORD(value); text is the whole
    Broken,       // nothing that the standard allows here
};

// One argument as it stands in the file. A view: lives as long as the file's text. Reading never allocates but for
// Text().
struct Value {
    ValueKind kind = ValueKind::Missing;
    std::string_view text;

    bool IsSet() const { return kind != ValueKind::Missing && kind != ValueKind::Null && kind != ValueKind::Derived; }

    // Returns: the number of an Integer or a Real (through one typed parameter, too); empty for others, and for
    // numbers that are not finite.
    std::optional<double> Number() const;
    std::optional<std::int64_t> Integer() const;
    // Returns: the instance number, 0 when this is no reference or one beyond 2^32-1.
    std::uint32_t Reference() const;
    // Returns: a String as UTF-8 (through one typed parameter, too), cut off as DecodeText() does; else empty.
    std::string Text(std::size_t most = std::string::npos) const;
    // Returns: the word of an Enumeration as it stands, else empty.
    std::string_view Word() const { return kind == ValueKind::Enumeration ? text : std::string_view{}; }
    // Returns: the keyword of a Typed value as it stands, else empty.
    std::string_view TypeName() const;
    // Returns: what a Typed value holds; everything else is returned itself.
    Value Untyped() const;
};

// Passes blanks and comments. Returns: the first byte that is neither, or `end`.
const char* PassBlanksSlowly(const char* at, const char* end);
inline const char* PassBlanks(const char* at, const char* end) {
    // Most values follow their comma at once.
    return at < end && ClassOf(*at) != CharClass::Blank && *at != '/' ? at : PassBlanksSlowly(at, end);
}

// Walks the arguments of a bracket, or the members of a list, once. Needs no memory and no recursion: a nested list is
// skipped by counting brackets.
class ValueCursor {
  public:
    ValueCursor() = default;
    // `inside` is the text between the brackets, or text that begins there and reaches further: the walk ends at the
    // bracket that closes.
    explicit ValueCursor(std::string_view inside) : at_(inside.data()), end_(inside.data() + inside.size()) {}

    // Returns: the next value; kind Missing behind the last.
    Value Next();
    // Passes over `count` values.
    void Skip(std::size_t count);

  private:
    void SkipBlanks();
    bool SkipPlain();
    Value Scan();

    const char* at_ = nullptr;
    const char* end_ = nullptr;
    bool first_ = true;
};

// Returns: a cursor over the members; an empty one when `list` is no List.
ValueCursor Members(const Value& list);

}  // namespace norvex::ifc::part21
