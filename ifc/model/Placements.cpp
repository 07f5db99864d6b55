// SPDX-License-Identifier: Apache-2.0
#include "ifc/model/Placements.h"

#include <charconv>
#include <cmath>

namespace norvex::ifc {

namespace {

using part21::Value;
using part21::ValueCursor;
using part21::ValueKind;

// Placements nest as deep as the building's structure does: site, building, storey, assembly, element, port.
constexpr std::size_t kMaxChain = 128;
// A storey's elements share parents; a power of two.
constexpr std::size_t kCacheSize = 1024;

std::optional<Point> Normalised(const Point& vector) {
    const double length = Length(vector);
    if (!(length > 1e-12) || !std::isfinite(length)) {
        return std::nullopt;
    }
    return vector * (1.0 / length);
}

std::optional<Point> CoordinatesOfAnyForm(const Value& list) {
    ValueCursor members = Members(list);
    double values[3] = {0.0, 0.0, 0.0};
    for (int i = 0; i < 3; ++i) {
        const Value value = members.Next();
        if (value.kind == ValueKind::Missing && i >= 1) {
            break;
        }
        const std::optional<double> number = value.Number();
        if (!number) {
            return std::nullopt;
        }
        values[i] = *number;
    }
    return Point{values[0], values[1], values[2]};
}

// A right-handed frame from a z axis and a wish for x, as the standard builds it.
Transform FrameOf(const Point& origin, const Point& z, const Point& wish) {
    Transform frame;
    frame.origin = origin;
    frame.z = z;
    std::optional<Point> x = Normalised(wish - z * Dot(wish, z));
    if (!x) {
        const Point other = std::abs(z.x) < 0.9 ? Point{1, 0, 0} : Point{0, 1, 0};
        x = Normalised(other - z * Dot(other, z));
    }
    frame.x = *x;
    frame.y = Cross(frame.z, frame.x);
    return frame;
}

}  // namespace

Placements::Placements(const Access& access, const Units& units, DiagnosticLog& log)
    : access_(access),
      units_(units),
      log_(log),
      cache_(std::min(kCacheSize, std::bit_ceil(std::size_t{access.File().InstanceCount()} + 1))),
      directions_(access.File().InstanceCount()),
      frames_(access.File().InstanceCount()),
      operators_(access.File().InstanceCount()) {
}

std::optional<Point> Placements::Coordinates(const Value& list) {
    if (list.kind != ValueKind::List) {
        return std::nullopt;
    }
    // Points are most of a model; their numbers are read where they stand.
    double values[3] = {0.0, 0.0, 0.0};
    const char* at = list.text.data();
    const char* const end = at + list.text.size();
    for (int i = 0; i < 3; ++i) {
        at = part21::PassBlanks(at, end);
        at += at < end && *at == '+' ? 1 : 0;
        const auto [stop, error] = std::from_chars(at, end, values[i]);
        if (error != std::errc() || !std::isfinite(values[i])) {
            // Rare forms, such as a typed number or one too small for a double.
            return CoordinatesOfAnyForm(list);
        }
        at = part21::PassBlanks(stop, end);
        if (at == end && i >= 1) {
            break;
        }
        if (at < end && *at != ',') {
            return CoordinatesOfAnyForm(list);
        }
        at += at < end ? 1 : 0;
    }
    return Point{values[0], values[1], values[2]};
}

std::optional<Point> Placements::PointAt(std::uint32_t index) const {
    if (index == part21::kNoInstance) {
        return std::nullopt;
    }
    const std::optional<Point> given = Coordinates(access_.Arguments(index).Next());
    if (!given) {
        return std::nullopt;
    }
    const Point point = *given * units_.toMillimetres;
    return IsWithinReach(point) ? std::optional(point) : std::nullopt;
}

std::optional<Point> Placements::Direction(std::uint32_t index) const {
    if (index == part21::kNoInstance) {
        return std::nullopt;
    }
    return directions_.Get(index, [&]() -> std::optional<Point> {
        const std::optional<Point> given = Coordinates(access_.Arguments(index).Next());
        return given ? Normalised(*given) : std::nullopt;
    });
}

std::optional<Transform> Placements::Axis2(std::uint32_t index) const {
    const Shape shape = access_.ShapeOf(index);
    if (shape != Shape::Axis2Placement3D && shape != Shape::Axis2Placement2D) {
        return std::nullopt;
    }
    return frames_.Get(index, [&] { return ReadAxis2(index); });
}

// Requires: an IfcAxis2Placement2D or 3D.
std::optional<Transform> Placements::ReadAxis2(std::uint32_t index) const {
    const Shape shape = access_.ShapeOf(index);
    ValueCursor arguments = access_.Arguments(index);
    const std::optional<Point> origin = PointAt(access_.Follow(arguments.Next()));
    if (!origin) {
        return std::nullopt;
    }
    std::optional<Point> z;
    if (shape == Shape::Axis2Placement3D) {
        z = Direction(access_.Follow(arguments.Next()));
    }
    const std::optional<Point> x = Direction(access_.Follow(arguments.Next()));
    return FrameOf(*origin, z.value_or(Point{0, 0, 1}), x.value_or(Point{1, 0, 0}));
}

std::optional<Placements::Step> Placements::ReadStep(std::uint32_t index) const {
    Step step;
    ValueCursor arguments = access_.Arguments(index);
    switch (access_.ShapeOf(index)) {
        case Shape::LocalPlacement: {
            const Value parent = arguments.Next();
            step.hasParent = parent.IsSet();
            step.parent = access_.Follow(parent);
            const std::optional<Transform> frame = Axis2(access_.Follow(arguments.Next()));
            if (!frame) {
                return std::nullopt;
            }
            step.frame = *frame;
            return step;
        }
        case Shape::LinearPlacement: {
            // The Cartesian equivalent that exporters write beside the curve.
            const Value parent = arguments.Next();
            step.hasParent = parent.IsSet();
            step.parent = access_.Follow(parent);
            arguments.Skip(1);
            const std::optional<Transform> frame = Axis2(access_.Follow(arguments.Next()));
            if (!frame) {
                return std::nullopt;
            }
            step.frame = *frame;
            return step;
        }
        default:
            // Grid placements name axes that no services model was seen to use.
            return std::nullopt;
    }
}

std::optional<Transform> Placements::World(std::uint32_t index) {
    chain_.clear();
    Transform frame;
    std::uint32_t at = index;
    while (at != part21::kNoInstance) {
        const Cached& cached = cache_[at & (cache_.size() - 1)];
        if (cached.index == at) {
            frame = cached.frame;
            break;
        }
        if (chain_.size() == kMaxChain) {
            if (log_.Keeps(DiagnosticCode::CyclicReference)) {
                log_.Add(Severity::Warning, DiagnosticCode::CyclicReference, access_.File().Offset(index),
                         "The chain of placements from #" + std::to_string(access_.File().Id(index)) +
                             " is cyclic or too long; what it places has no place.");
            } else {
                log_.Count(Severity::Warning);
            }
            return std::nullopt;
        }
        const std::optional<Step> step = ReadStep(at);
        if (!step || (step->hasParent && step->parent == part21::kNoInstance)) {
            if (log_.Keeps(DiagnosticCode::BadGeometry)) {
                log_.Add(Severity::Warning, DiagnosticCode::BadGeometry, access_.File().Offset(at),
                         "The placement #" + std::to_string(access_.File().Id(at)) +
                             " could not be read; what it places has no place.");
            } else {
                log_.Count(Severity::Warning);
            }
            return std::nullopt;
        }
        chain_.push_back({at, step->frame});
        at = step->parent;
    }
    if (chain_.empty()) {
        return at == part21::kNoInstance ? std::nullopt : std::optional(frame);
    }
    for (std::size_t i = chain_.size(); i-- > 0;) {
        frame = frame * chain_[i].frame;
        cache_[chain_[i].index & (cache_.size() - 1)] = {chain_[i].index, frame};
    }
    return IsFinite(frame.origin) ? std::optional(frame) : std::nullopt;
}

std::optional<Transform> Placements::Operator(std::uint32_t index) const {
    const Shape shape = access_.ShapeOf(index);
    if (shape != Shape::Transformation && shape != Shape::TransformationNonUniform) {
        return std::nullopt;
    }
    return operators_.Get(index, [&] { return ReadOperator(index); });
}

// Requires: an IfcCartesianTransformationOperator.
std::optional<Transform> Placements::ReadOperator(std::uint32_t index) const {
    const Shape shape = access_.ShapeOf(index);
    // Axis1, Axis2, LocalOrigin, Scale, Axis3, Scale2, Scale3.
    ValueCursor arguments = access_.Arguments(index);
    const std::optional<Point> x = Direction(access_.Follow(arguments.Next()));
    const std::optional<Point> y = Direction(access_.Follow(arguments.Next()));
    const std::optional<Point> origin = PointAt(access_.Follow(arguments.Next()));
    const double scale = arguments.Next().Number().value_or(1.0);
    const std::optional<Point> z = Direction(access_.Follow(arguments.Next()));
    if (!origin || !(scale > 0.0)) {
        return std::nullopt;
    }
    Transform frame;
    const Point zAxis = z ? *z : (x && y ? Normalised(Cross(*x, *y)).value_or(Point{0, 0, 1}) : Point{0, 0, 1});
    frame = FrameOf(*origin, zAxis, x.value_or(Point{1, 0, 0}));
    if (y && Dot(*y, frame.y) < 0.0) {
        frame.y = frame.y * -1.0;  // A mirrored copy.
    }
    double scaleY = scale;
    double scaleZ = scale;
    if (shape == Shape::TransformationNonUniform) {
        scaleY = arguments.Next().Number().value_or(scale);
        scaleZ = arguments.Next().Number().value_or(scale);
    }
    frame.x = frame.x * scale;
    frame.y = frame.y * scaleY;
    frame.z = frame.z * scaleZ;
    return frame;
}

}  // namespace norvex::ifc
