// SPDX-License-Identifier: Apache-2.0
#include "report/page/ElementColumns.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

namespace norvex::report::page {

namespace {

// Diameters keep one decimal: 21.3 mm is a pipe's real size.
constexpr double kDiameterSteps = 10.0;

// Bits of the geometry column.
constexpr std::uint8_t kHasPlace = 1;
constexpr std::uint8_t kHasEnds = 2;
constexpr std::uint8_t kHasBox = 4;
constexpr std::uint8_t kHasWidth = 8;

// Digits at the end of a name that are kept as a number: as many as 32 bits surely hold.
constexpr std::size_t kMaxTailDigits = 9;

struct Cell {
    std::int64_t x = 0;
    std::int64_t y = 0;
    std::int64_t z = 0;
};

Cell operator-(const Cell& left, const Cell& right) {
    return {left.x - right.x, left.y - right.y, left.z - right.z};
}

Cell Rounded(const Point& point, const Point& origin) {
    return {Millimetres(point.x - origin.x), Millimetres(point.y - origin.y), Millimetres(point.z - origin.z)};
}

void Write(const Cell& cell, ByteWriter& out) {
    out.Signed(cell.x);
    out.Signed(cell.y);
    out.Signed(cell.z);
}

bool HasEnds(const Element& element) {
    return element.hasEnds && IsFinite(element.start) && IsFinite(element.end);
}

bool HasPlace(const Element& element) {
    return HasEnds(element) || (element.position && IsFinite(*element.position));
}

bool HasBox(const Element& element) {
    return element.box && IsFinite(element.box->low) && IsFinite(element.box->high);
}

// Width in plan of a line without a diameter, from its box: a run of length l and width w along the unit vector (dx,
// dy) has the extents l|dx| + w|dy| and l|dy| + w|dx|. 0: not known.
double WidthFromBox(const Element& element) {
    if (element.diameter > 0.0 || !HasEnds(element) || !HasBox(element)) {
        return 0.0;
    }
    const double extentX = element.box->high.x - element.box->low.x;
    const double extentY = element.box->high.y - element.box->low.y;
    const double runX = std::abs(element.end.x - element.start.x);
    const double runY = std::abs(element.end.y - element.start.y);
    const double length = std::hypot(runX, runY);
    if (length < 1.0) {
        return std::min(extentX, extentY);
    }
    return std::max(0.0, ((extentX - runX) * runY + (extentY - runY) * runX) / length);
}

// Names count up: "Pipe:1203", "Pipe:1204". The text before the digits is shared, the number is small when it is told
// as the distance from the number before.
struct SplitName {
    std::string_view head;
    std::optional<std::uint32_t> tail;
};

SplitName Split(std::string_view name) {
    std::size_t begin = name.size();
    while (begin > 0 && name.size() - begin < kMaxTailDigits && name[begin - 1] >= '0' && name[begin - 1] <= '9') {
        --begin;
    }
    while (begin < name.size() && name[begin] == '0') {
        ++begin;  // leading zeros would be lost
    }
    if (begin == name.size()) {
        return {name, std::nullopt};
    }
    std::uint32_t tail = 0;
    for (const char digit : name.substr(begin)) {
        tail = tail * 10U + static_cast<std::uint32_t>(digit - '0');
    }
    return {name.substr(0, begin), tail};
}

// Handle texts that come back the same from a number that a double holds exactly.
std::optional<std::uint64_t> HandleNumber(std::string_view handle) {
    constexpr std::size_t kMaxDigits = 13;  // 52 bits
    if (handle.empty() || handle.size() > kMaxDigits || (handle[0] == '0' && handle.size() > 1)) {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    for (const char character : handle) {
        const std::size_t digit = std::string_view("0123456789ABCDEF").find(character);
        if (digit == std::string_view::npos) {
            return std::nullopt;
        }
        number = number << 4U | digit;
    }
    return number;
}

using Kind = std::tuple<std::uint8_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                        std::uint32_t, std::uint64_t>;

// What many elements share is written once; the column holds the number of the group.
void WriteKinds(const PageModel& model, StringTable& texts, ByteWriter& out) {
    std::map<Kind, std::uint32_t> numbers;
    ByteWriter groups;
    ByteWriter column;
    for (const Element& element : model.elements) {
        const double diameter = std::isfinite(element.diameter) ? std::clamp(element.diameter, 0.0, 1e6) : 0.0;
        const Kind kind{static_cast<std::uint8_t>(element.kind),
                        texts.Index(element.className),
                        texts.Index(element.specialty),
                        texts.Index(element.category),
                        texts.Index(element.subCategory),
                        texts.Index(element.detailName),
                        texts.Index(element.noFloorReason),
                        static_cast<std::uint64_t>(std::llround(diameter * kDiameterSteps))};
        const auto [place, added] = numbers.emplace(kind, static_cast<std::uint32_t>(numbers.size()));
        if (added) {
            std::apply([&](auto... part) { (groups.Unsigned(part), ...); }, kind);
        }
        column.Unsigned(place->second);
    }
    out.Unsigned(numbers.size());
    out.Bytes(groups.Data());
    out.Bytes(column.Data());
}

void WriteHandles(const PageModel& model, StringTable& texts, ByteWriter& out) {
    ByteWriter odd;
    std::size_t oddCount = 0;
    std::int64_t before = 0;
    for (std::size_t index = 0; index < model.elements.size(); ++index) {
        const std::optional<std::uint64_t> number = HandleNumber(model.elements[index].handle);
        const std::int64_t now = number ? static_cast<std::int64_t>(*number) : before;
        out.Signed(now - before);
        before = now;
        if (!number) {
            odd.Unsigned(index);
            odd.Unsigned(texts.Index(model.elements[index].handle));
            ++oddCount;
        }
    }
    out.Unsigned(oddCount);
    out.Bytes(odd.Data());
}

void WriteNames(const PageModel& model, StringTable& texts, ByteWriter& out) {
    ByteWriter tails;
    std::int64_t before = 0;
    for (const Element& element : model.elements) {
        const SplitName name = Split(element.name);
        // The lowest bit tells whether a number follows in the other column.
        out.Unsigned(std::uint64_t{texts.Index(name.head)} << 1U | (name.tail ? 1U : 0U));
        if (name.tail) {
            tails.Signed(std::int64_t{*name.tail} - before);
            before = *name.tail;
        }
    }
    out.Bytes(tails.Data());
}

void WriteGlobalIds(const PageModel& model, StringTable& texts, ByteWriter& out) {
    ByteWriter odd;
    std::size_t oddCount = 0;
    for (std::size_t index = 0; index < model.elements.size(); ++index) {
        const std::string_view globalId = model.elements[index].globalId;
        std::string packed = PackGlobalId(globalId);
        if (packed.empty()) {
            packed.assign(16, '\0');
            odd.Unsigned(index);
            odd.Unsigned(texts.Index(globalId));
            ++oddCount;
        }
        out.Bytes(packed);
    }
    out.Unsigned(oddCount);
    out.Bytes(odd.Data());
}

void WriteGeometry(const PageModel& model, ByteWriter& out) {
    const Point origin = Origin(model);
    ByteWriter flags;
    ByteWriter places;
    ByteWriter ends;
    ByteWriter boxes;
    ByteWriter widths;
    Cell pen;
    for (const Element& element : model.elements) {
        const double width = WidthFromBox(element);
        const bool boxed = HasBox(element) && !HasEnds(element) && HasPlace(element);
        flags.Byte(static_cast<std::uint8_t>((HasPlace(element) ? kHasPlace : 0) | (HasEnds(element) ? kHasEnds : 0) |
                                             (boxed ? kHasBox : 0) | (width > 0.0 ? kHasWidth : 0)));
        if (!HasPlace(element)) {
            continue;
        }
        const Cell place = Rounded(HasEnds(element) ? element.start : *element.position, origin);
        Write(place - pen, places);
        pen = place;
        if (HasEnds(element)) {
            const Cell end = Rounded(element.end, origin);
            Write(end - place, ends);
            pen = end;
        }
        if (boxed) {
            const Cell low = Rounded(element.box->low, origin);
            Write(low - place, boxes);
            Write(Rounded(element.box->high, origin) - low, boxes);
        }
        if (width > 0.0) {
            widths.Unsigned(static_cast<std::uint64_t>(std::max<std::int64_t>(1, Millimetres(width))));
        }
    }
    for (const ByteWriter* column : {&flags, &places, &ends, &boxes, &widths}) {
        out.Bytes(column->Data());
    }
}

}  // namespace

std::int64_t Millimetres(double length) {
    constexpr double kLimit = 2147483647.0;
    return std::llround(std::clamp(length, -kLimit, kLimit));
}

bool IsFinite(const Point& point) {
    return std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.z);
}

Point Origin(const PageModel& model) {
    constexpr double kFar = std::numeric_limits<double>::infinity();
    Point low{kFar, kFar, kFar};
    const auto take = [&](const Point& point) {
        low = {std::min(low.x, point.x), std::min(low.y, point.y), std::min(low.z, point.z)};
    };
    for (const Element& element : model.elements) {
        if (HasEnds(element)) {
            take(element.start);
            take(element.end);
        } else if (HasPlace(element)) {
            take(*element.position);
        }
    }
    // Heights stay absolute: they are shown.
    return low.x == kFar ? Point{} : Point{std::floor(low.x), std::floor(low.y), 0.0};
}

void WriteElements(const PageModel& model, StringTable& texts, ByteWriter& out) {
    out.Unsigned(model.elements.size());
    WriteKinds(model, texts, out);
    for (const Element& element : model.elements) {
        out.Unsigned(element.floor < model.floors.size() ? element.floor + 1U : 0U);
    }
    WriteHandles(model, texts, out);
    WriteNames(model, texts, out);
    WriteGlobalIds(model, texts, out);
    WriteGeometry(model, out);
}

}  // namespace norvex::report::page
