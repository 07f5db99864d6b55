// SPDX-License-Identifier: Apache-2.0
#include "ifc/model/Curves.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace norvex::ifc {

namespace {

using part21::Value;
using part21::ValueCursor;
using part21::ValueKind;

// A composite of trimmed circles is three deep.
constexpr int kMaxCurveDepth = 8;
// More points than a hand-drawn route ever has; a hostile file must not grow a curve without end.
constexpr std::size_t kMaxCurvePoints = 1 << 16;
constexpr double kChordAngle = std::numbers::pi / 12;

class CurveReader {
  public:
    CurveReader(const Access& access, const Placements& placements) : access_(access), placements_(placements) {}

    bool Read(std::uint32_t curve, int depth, std::vector<Point>& points) {
        if (depth > kMaxCurveDepth || points.size() > kMaxCurvePoints) {
            return false;
        }
        switch (access_.ShapeOf(curve)) {
            case Shape::Polyline:
                return ReadPointList(access_, placements_, access_.Argument(curve, 0), points);
            case Shape::IndexedPolyCurve:
                return Indexed(curve, points);
            case Shape::TrimmedCurve:
                return Trimmed(curve, points);
            case Shape::CompositeCurve:
                return Composite(curve, depth, points);
            case Shape::Circle:
            case Shape::Ellipse:
                return Arc(curve, 0.0, 2 * std::numbers::pi, points);
            case Shape::BSpline:
                return ReadPointList(access_, placements_, access_.Argument(curve, 1), points);
            default:
                return false;
        }
    }

  private:
    bool Indexed(std::uint32_t curve, std::vector<Point>& points) {
        std::vector<Point> list;
        if (!ReadCoordinateList(access_, placements_, access_.Follow(access_.Argument(curve, 0)), list)) {
            return false;
        }
        const Value segments = access_.Argument(curve, 1);
        if (segments.kind != ValueKind::List) {
            points.insert(points.end(), list.begin(), list.end());
            return !list.empty();
        }
        ValueCursor members = Members(segments);
        for (Value segment = members.Next(); segment.kind != ValueKind::Missing; segment = members.Next()) {
            ValueCursor indices = Members(segment.Untyped());
            for (Value index = indices.Next(); index.kind != ValueKind::Missing; index = indices.Next()) {
                const std::optional<std::int64_t> at = index.Integer();
                if (!at || *at < 1 || *at > static_cast<std::int64_t>(list.size()) || points.size() > kMaxCurvePoints) {
                    return false;
                }
                points.push_back(list[static_cast<std::size_t>(*at - 1)]);
            }
        }
        return !points.empty();
    }

    bool Composite(std::uint32_t curve, int depth, std::vector<Point>& points) {
        ValueCursor segments = Members(access_.Argument(curve, 0));
        for (Value one = segments.Next(); one.kind != ValueKind::Missing; one = segments.Next()) {
            const std::uint32_t segment = access_.Follow(one);
            if (access_.ShapeOf(segment) != Shape::CompositeCurveSegment) {
                return false;
            }
            const auto from = static_cast<std::ptrdiff_t>(points.size());
            if (!Read(access_.Follow(access_.Argument(segment, 2)), depth + 1, points)) {
                return false;
            }
            if (access_.Argument(segment, 1).Word() == "F") {
                std::reverse(points.begin() + from, points.end());
            }
        }
        return !points.empty();
    }

    bool Trimmed(std::uint32_t curve, std::vector<Point>& points) {
        const std::uint32_t basis = access_.Follow(access_.Argument(curve, 0));
        const Value first = access_.Argument(curve, 1);
        const Value second = access_.Argument(curve, 2);
        const bool sameSense = access_.Argument(curve, 3).Word() != "F";
        const auto from = static_cast<std::ptrdiff_t>(points.size());
        switch (access_.ShapeOf(basis)) {
            case Shape::Line: {
                const std::optional<Point> start = OnLine(basis, first);
                const std::optional<Point> end = OnLine(basis, second);
                if (!start || !end) {
                    return false;
                }
                points.push_back(*start);
                points.push_back(*end);
                return true;
            }
            case Shape::Circle:
            case Shape::Ellipse: {
                const std::optional<double> start = OnCircle(basis, first);
                const std::optional<double> end = OnCircle(basis, second);
                if (!start || !end) {
                    return false;
                }
                double begin = sameSense ? *start : *end;
                double sweep = (sameSense ? *end : *start) - begin;
                sweep -= 2 * std::numbers::pi * std::floor(sweep / (2 * std::numbers::pi));
                if (!Arc(basis, begin, sweep == 0.0 ? 2 * std::numbers::pi : sweep, points)) {
                    return false;
                }
                if (!sameSense) {
                    std::reverse(points.begin() + from, points.end());
                }
                return true;
            }
            case Shape::Polyline: {
                // The trims of a polyline are its ends in every file seen.
                return ReadPointList(access_, placements_, access_.Argument(basis, 0), points);
            }
            default:
                return false;
        }
    }

    // A trim is a list that holds a point, a parameter or both.
    std::optional<Point> TrimPoint(const Value& trim) const {
        ValueCursor members = Members(trim);
        for (Value one = members.Next(); one.kind != ValueKind::Missing; one = members.Next()) {
            if (one.kind == ValueKind::Reference) {
                return placements_.PointAt(access_.Follow(one));
            }
        }
        return std::nullopt;
    }
    static std::optional<double> TrimParameter(const Value& trim) {
        ValueCursor members = Members(trim);
        for (Value one = members.Next(); one.kind != ValueKind::Missing; one = members.Next()) {
            if (const std::optional<double> number = one.Number()) {
                return number;
            }
        }
        return std::nullopt;
    }

    std::optional<Point> OnLine(std::uint32_t line, const Value& trim) const {
        if (const std::optional<Point> point = TrimPoint(trim)) {
            return point;
        }
        const std::optional<double> parameter = TrimParameter(trim);
        const std::optional<Point> origin = placements_.PointAt(access_.Follow(access_.Argument(line, 0)));
        const std::uint32_t vector = access_.Follow(access_.Argument(line, 1));
        if (!parameter || !origin || vector == part21::kNoInstance) {
            return std::nullopt;
        }
        const std::optional<Point> direction = placements_.Direction(access_.Follow(access_.Argument(vector, 0)));
        const std::optional<double> magnitude = access_.Argument(vector, 1).Number();
        if (!direction || !magnitude) {
            return std::nullopt;
        }
        return *origin + *direction * (*parameter * *magnitude * placements_.ToMillimetres());
    }

    std::optional<double> OnCircle(std::uint32_t circle, const Value& trim) const {
        if (const std::optional<double> parameter = TrimParameter(trim)) {
            return *parameter * placements_.ToRadians();
        }
        const std::optional<Transform> frame = placements_.Axis2(access_.Follow(access_.Argument(circle, 0)));
        const std::optional<Point> point = TrimPoint(trim);
        if (!frame || !point) {
            return std::nullopt;
        }
        const std::optional<Point> local = ToLocal(*frame, *point);
        return local ? std::optional(std::atan2(local->y, local->x)) : std::nullopt;
    }

    bool Arc(std::uint32_t circle, double begin, double sweep, std::vector<Point>& points) const {
        const Transform frame = placements_.Axis2(access_.Follow(access_.Argument(circle, 0))).value_or(Transform());
        const std::optional<double> first = access_.Argument(circle, 1).Number();
        const std::optional<double> second =
            access_.ShapeOf(circle) == Shape::Ellipse ? access_.Argument(circle, 2).Number() : first;
        if (!first || !second || !std::isfinite(begin) || !std::isfinite(sweep)) {
            return false;
        }
        // Clamped before it becomes a whole number: an angle may be any number that a double holds.
        const int steps = static_cast<int>(std::clamp(std::ceil(sweep / kChordAngle), 1.0, 24.0));
        for (int i = 0; i <= steps; ++i) {
            const double angle = begin + sweep * i / steps;
            points.push_back(frame.Apply(Point{*first * std::cos(angle), *second * std::sin(angle), 0.0} *
                                         placements_.ToMillimetres()));
        }
        return true;
    }

    const Access& access_;
    const Placements& placements_;
};

}  // namespace

bool ReadCurve(const Access& access, const Placements& placements, std::uint32_t curve, std::vector<Point>& points) {
    if (!CurveReader(access, placements).Read(curve, 0, points)) {
        return false;
    }
    return std::all_of(points.begin(), points.end(), IsFinite);
}

bool ReadPointList(const Access& access, const Placements& placements, const Value& list, std::vector<Point>& points) {
    ValueCursor members = Members(list);
    for (Value one = members.Next(); one.kind != ValueKind::Missing; one = members.Next()) {
        const std::optional<Point> point = placements.PointAt(access.Follow(one));
        if (!point) {
            return false;
        }
        points.push_back(*point);
    }
    return !points.empty();
}

bool ReadCoordinateList(const Access& access, const Placements& placements, std::uint32_t list,
                        std::vector<Point>& points) {
    if (access.ShapeOf(list) != Shape::PointList) {
        return false;
    }
    ValueCursor members = Members(access.Argument(list, 0));
    for (Value one = members.Next(); one.kind != ValueKind::Missing; one = members.Next()) {
        const std::optional<Point> point = Placements::Coordinates(one);
        if (!point) {
            return false;
        }
        points.push_back(*point * placements.ToMillimetres());
    }
    return !points.empty();
}

double LengthOf(const std::vector<Point>& points) {
    double length = 0.0;
    for (std::size_t i = 1; i < points.size(); ++i) {
        length += Distance(points[i - 1], points[i]);
    }
    return length;
}

}  // namespace norvex::ifc
