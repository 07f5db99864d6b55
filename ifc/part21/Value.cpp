// SPDX-License-Identifier: Apache-2.0
#include "ifc/part21/Value.h"

#include "ifc/part21/Text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace norvex::ifc::part21 {

namespace {

// Returns: the byte behind the apostrophe that closes the string opened before `at`, or `end`.
const char* PassString(const char* at, const char* end) {
    while (at < end) {
        const void* quote = std::memchr(at, '\'', static_cast<std::size_t>(end - at));
        if (quote == nullptr) {
            return end;
        }
        at = static_cast<const char*>(quote) + 1;
        if (at == end || *at != '\'') {
            return at;
        }
        ++at;
    }
    return end;
}

// Returns: the bracket that closes what was opened before `at`, or `end`.
const char* FindClose(const char* at, const char* end) {
    std::size_t depth = 0;
    while (at < end) {
        switch (ClassOf(*at)) {
            case CharClass::Quote:
                at = PassString(at + 1, end);
                continue;
            case CharClass::Slash: {
                const char* next = PassBlanks(at, end);
                at = next == at ? at + 1 : next;
                continue;
            }
            case CharClass::Open:
                ++depth;
                break;
            case CharClass::Close:
                if (depth == 0) {
                    return at;
                }
                --depth;
                break;
            default:
                break;
        }
        ++at;
    }
    return end;
}

std::string_view Between(const char* begin, const char* end) {
    return {begin, static_cast<std::size_t>(end - begin)};
}

// The number behind the "E", cut to 32 bits, which no text is long enough to make up for; 0 for a number without one.
std::int64_t Exponent(std::string_view number) {
    const std::size_t mark = number.find_first_of("eE");
    if (mark == std::string_view::npos) {
        return 0;
    }
    std::string_view digits = number.substr(mark + 1);
    digits.remove_prefix(digits.starts_with('+') ? 1 : 0);
    std::int64_t exponent = 0;
    constexpr std::int64_t kLowest = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t kHighest = std::numeric_limits<std::int32_t>::max();
    if (std::from_chars(digits.data(), digits.data() + digits.size(), exponent).ec == std::errc::result_out_of_range) {
        return digits.starts_with('-') ? kLowest : kHighest;
    }
    return std::clamp(exponent, kLowest, kHighest);
}

// Whether a number that no double holds is too small for it rather than too large, by the power of ten of its first
// digit that counts.
bool IsTooSmall(std::string_view number) {
    const std::string_view digits = number.substr(0, number.find_first_of("eE"));
    const auto point = static_cast<std::int64_t>(std::min(digits.find('.'), digits.size()));
    const auto first = static_cast<std::int64_t>(digits.find_first_of("123456789"));
    return Exponent(number) + point - first < 0;
}

}  // namespace

const char* PassBlanksSlowly(const char* at, const char* end) {
    for (;;) {
        while (at < end && ClassOf(*at) == CharClass::Blank) {
            ++at;
        }
        if (end - at < 2 || at[0] != '/' || at[1] != '*') {
            return at;
        }
        const std::string_view rest = Between(at, end);
        const std::size_t close = rest.find("*/", 2);
        if (close == std::string_view::npos) {
            return end;
        }
        at += close + 2;
    }
}

std::optional<double> Value::Number() const {
    if (kind == ValueKind::Typed) {
        // One level only: a typed value in a typed value is none that the standard allows.
        const Value held = Untyped();
        return held.kind == ValueKind::Typed ? std::nullopt : held.Number();
    }
    if (kind != ValueKind::Integer && kind != ValueKind::Real) {
        return std::nullopt;
    }
    const Value& inner = *this;
    const char* begin = inner.text.data();
    const char* end = begin + inner.text.size();
    if (begin != end && *begin == '+') {
        ++begin;
    }
    double number = 0.0;
    const auto [stop, error] = std::from_chars(begin, end, number);
    if (error == std::errc::result_out_of_range) {
        // Too small for a double is as good as zero; too large is no number to build with.
        return IsTooSmall(inner.text) ? std::optional(0.0) : std::nullopt;
    }
    if (error != std::errc() || stop != end || !std::isfinite(number)) {
        return std::nullopt;
    }
    return number;
}

std::optional<std::int64_t> Value::Integer() const {
    const Value inner = Untyped();
    if (inner.kind != ValueKind::Integer) {
        return std::nullopt;
    }
    const char* begin = inner.text.data();
    const char* end = begin + inner.text.size();
    if (begin != end && *begin == '+') {
        ++begin;
    }
    std::int64_t number = 0;
    const auto [stop, error] = std::from_chars(begin, end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

std::uint32_t Value::Reference() const {
    if (kind != ValueKind::Reference) {
        return 0;
    }
    constexpr std::size_t kMostDigits = 10;  // of 4294967295
    if (text.size() > kMostDigits) {
        return 0;
    }
    std::uint64_t id = 0;
    for (const char digit : text) {
        if (!IsDigit(digit)) {
            return 0;
        }
        id = id * 10 + static_cast<std::uint64_t>(digit - '0');
    }
    return id <= 0xFFFFFFFFU ? static_cast<std::uint32_t>(id) : 0;
}

std::string Value::Text(std::size_t most) const {
    const Value inner = Untyped();
    return inner.kind == ValueKind::String ? DecodeText(inner.text, nullptr, most) : std::string();
}

std::string_view Value::TypeName() const {
    if (kind != ValueKind::Typed) {
        return {};
    }
    std::size_t size = 0;
    while (size < text.size() && IsKeywordByte(text[size])) {
        ++size;
    }
    return text.substr(0, size);
}

Value Value::Untyped() const {
    if (kind != ValueKind::Typed) {
        return *this;
    }
    const std::size_t open = text.find('(');
    if (open == std::string_view::npos) {
        return {ValueKind::Broken, text};
    }
    return ValueCursor(text.substr(open + 1)).Next();
}

void ValueCursor::SkipBlanks() {
    at_ = PassBlanks(at_, end_);
}

Value ValueCursor::Next() {
    SkipBlanks();
    if (at_ == end_ || *at_ == ')' || *at_ == ';') {
        return {};
    }
    if (!first_) {
        // Values without a comma between them are read as if it stood there: what they are is still plain.
        if (*at_ == ',') {
            ++at_;
            SkipBlanks();
        }
    }
    first_ = false;
    if (at_ == end_ || *at_ == ',' || *at_ == ')' || *at_ == ';') {
        return {ValueKind::Broken, Between(at_, at_)};
    }
    return Scan();
}

void ValueCursor::Skip(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (!SkipPlain() && Next().kind == ValueKind::Missing) {
            return;
        }
    }
}

// Passes over a $, a *, a reference or a string between commas, which most values are. Returns: whether it was one, and
// the next value follows; nothing is passed over otherwise.
bool ValueCursor::SkipPlain() {
    const char* at = at_;
    if (!first_) {
        if (at == end_ || *at != ',') {
            return false;
        }
        ++at;
    }
    if (at == end_) {
        return false;
    }
    switch (*at) {
        case '$':
        case '*':
            ++at;
            break;
        case '#':
            do {
                ++at;
            } while (at < end_ && IsDigit(*at));
            break;
        case '\'':
            at = PassString(at + 1, end_);
            break;
        default:
            return false;
    }
    if (at >= end_ || *at != ',') {
        return false;
    }
    at_ = at;
    first_ = false;
    return true;
}

Value ValueCursor::Scan() {
    const char* begin = at_;
    switch (*at_) {
        case '#': {
            do {
                ++at_;
            } while (at_ < end_ && IsDigit(*at_));
            if (at_ == end_ || *at_ == ',' || *at_ == ')') {
                return {ValueKind::Reference, Between(begin + 1, at_)};
            }
            at_ = begin;
            break;
        }
        case '$':
            ++at_;
            return {ValueKind::Null, Between(begin, at_)};
        case '*':
            ++at_;
            return {ValueKind::Derived, Between(begin, at_)};
        case '\'': {
            at_ = PassString(at_ + 1, end_);
            const bool closed = at_ - begin >= 2 && at_[-1] == '\'';
            return {closed ? ValueKind::String : ValueKind::Broken, Between(begin + 1, closed ? at_ - 1 : at_)};
        }
        case '"': {
            do {
                ++at_;
            } while (at_ < end_ && *at_ != '"');
            const Value binary{ValueKind::Binary, Between(begin + 1, at_)};
            at_ += at_ < end_ ? 1 : 0;
            return binary;
        }
        case '(': {
            const char* close = FindClose(at_ + 1, end_);
            at_ = close < end_ ? close + 1 : end_;
            return {ValueKind::List, Between(begin + 1, close)};
        }
        default:
            break;
    }
    bool real = false;
    while (at_ < end_ && *at_ != ',' && ClassOf(*at_) == CharClass::Plain) {
        real = real || *at_ == '.' || *at_ == 'E' || *at_ == 'e';
        ++at_;
    }
    if (at_ == begin) {
        ++at_;
        return {ValueKind::Broken, Between(begin, at_)};
    }
    const std::string_view word = Between(begin, at_);
    if (word[0] == '#') {
        return {ValueKind::Reference, word.substr(1)};
    }
    if (word[0] == '.' && word.size() >= 2 && word.back() == '.') {
        return {ValueKind::Enumeration, word.substr(1, word.size() - 2)};
    }
    if (IsDigit(word[0]) || word[0] == '+' || word[0] == '-' || word[0] == '.') {
        return {real ? ValueKind::Real : ValueKind::Integer, word};
    }
    const char* open = PassBlanks(at_, end_);
    if (open < end_ && *open == '(') {
        const char* close = FindClose(open + 1, end_);
        at_ = close < end_ ? close + 1 : end_;
        return {ValueKind::Typed, Between(begin, at_)};
    }
    return {ValueKind::Broken, word};
}

ValueCursor Members(const Value& list) {
    return list.kind == ValueKind::List ? ValueCursor(list.text) : ValueCursor();
}

}  // namespace norvex::ifc::part21
