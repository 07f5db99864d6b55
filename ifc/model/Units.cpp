// SPDX-License-Identifier: Apache-2.0
#include "ifc/model/Units.h"

#include "ifc/BuildingModel.h"
#include "ifc/part21/CharClass.h"

#include <cmath>
#include <numbers>
#include <optional>

namespace norvex::ifc {

namespace {

using part21::Value;
using part21::ValueCursor;
using part21::ValueKind;

// A conversion may refer to a conversion; nobody writes longer chains than two.
constexpr int kMaxUnitDepth = 8;

struct Prefix {
    std::string_view word;
    double factor;
};

constexpr Prefix kPrefixes[] = {
    {"EXA", 1e18},  {"PETA", 1e15},  {"TERA", 1e12},   {"GIGA", 1e9},   {"MEGA", 1e6},   {"KILO", 1e3},
    {"HECTO", 1e2}, {"DECA", 1e1},   {"DECI", 1e-1},   {"CENTI", 1e-2}, {"MILLI", 1e-3}, {"MICRO", 1e-6},
    {"NANO", 1e-9}, {"PICO", 1e-12}, {"FEMTO", 1e-15}, {"ATTO", 1e-18},
};

struct Unit {
    std::string name;
    double factor = 1.0;  // to metres or radians
};

std::string Upper(std::string text) {
    for (char& c : text) {
        c = part21::ToUpper(c);
    }
    return text;
}

std::optional<Unit> ReadUnit(const Access& access, std::uint32_t index, std::string_view wanted) {
    double factor = 1.0;
    std::string name;
    for (int depth = 0; depth < kMaxUnitDepth; ++depth) {
        const Shape shape = access.ShapeOf(index);
        if (shape == Shape::SiUnit) {
            const std::string_view prefix = access.Argument(index, 2).Word().substr(0, kMaxTextBytes);
            for (const Prefix& known : kPrefixes) {
                factor *= known.word == prefix ? known.factor : 1.0;
            }
            if (name.empty()) {
                name = std::string(prefix) + std::string(access.Argument(index, 3).Word().substr(0, kMaxTextBytes));
            }
            return access.Argument(index, 1).Word() == wanted ? std::optional(Unit{name, factor}) : std::nullopt;
        }
        if (shape != Shape::ConversionBasedUnit || access.Argument(index, 1).Word() != wanted) {
            return std::nullopt;
        }
        if (name.empty()) {
            name = Upper(access.Argument(index, 2).Text(kMaxTextBytes));
        }
        const std::uint32_t measure = access.Follow(access.Argument(index, 3));
        if (access.ShapeOf(measure) != Shape::MeasureWithUnit) {
            return std::nullopt;
        }
        const std::optional<double> value = access.Argument(measure, 0).Number();
        if (!value || !(*value > 0.0)) {
            return std::nullopt;
        }
        factor *= *value;
        index = access.Follow(access.Argument(measure, 1));
    }
    return std::nullopt;
}

bool IsUsable(double factor) {
    return std::isfinite(factor) && factor > 1e-15 && factor < 1e15;
}

}  // namespace

Units ReadUnits(const Access& access, std::uint32_t project, DiagnosticLog& log) {
    Units units;
    std::optional<Unit> length;
    std::optional<Unit> angle;
    std::size_t place = 0;
    if (project != part21::kNoInstance) {
        place = access.File().Offset(project);
        // IfcProject: ..., RepresentationContexts, UnitsInContext.
        const std::uint32_t assignment = access.Follow(access.Argument(project, 8));
        if (assignment != part21::kNoInstance) {
            place = access.File().Offset(assignment);
            ValueCursor members = Members(access.Argument(assignment, 0));
            for (Value unit = members.Next(); unit.kind != ValueKind::Missing; unit = members.Next()) {
                const std::uint32_t index = access.Follow(unit);
                length = length ? length : ReadUnit(access, index, "LENGTHUNIT");
                angle = angle ? angle : ReadUnit(access, index, "PLANEANGLEUNIT");
            }
        }
    }
    if (length && IsUsable(length->factor)) {
        units.lengthName = length->name;
        // The factor of a conversion is a decimal such as 0.3048; a thousand times it is to be exactly 304.8.
        units.toMillimetres = std::round(length->factor * 1e15) / 1e12;
    } else {
        log.Add(Severity::Warning, DiagnosticCode::BadUnit, place,
                "The project's length unit is missing or not understood; lengths are taken as millimetres.");
    }
    if (angle && IsUsable(angle->factor)) {
        units.toRadians = angle->factor;
    }
    return units;
}

}  // namespace norvex::ifc
