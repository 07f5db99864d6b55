// SPDX-License-Identifier: Apache-2.0
#include "ifc/model/Shapes.h"

#include "ifc/model/Curves.h"

#include <algorithm>
#include <cmath>

namespace norvex::ifc {

namespace {

using part21::kNoInstance;
using part21::Value;
using part21::ValueCursor;
using part21::ValueKind;

// Booleans of booleans of mapped items: deeper ones are cut off.
constexpr int kMaxItemDepth = 24;
// Steps for each instance. Sharing without maps (one solid under many products) needs more than one.
constexpr std::uint64_t kStepsPerInstance = 64;
constexpr std::uint64_t kFreeSteps = 1'000'000;
// What copies of parts and runs from one shape into another cost, so that maps of maps of maps stay as small as the
// file: one that is kept takes as much memory as the text of an instance does, and more than one is made in the time of
// a step.
constexpr std::uint64_t kStepsPerKeptCopy = 8;
constexpr std::uint64_t kCopiesPerStep = 16;
// An element made of more parts than this keeps one box around all.
constexpr std::size_t kMaxParts = 64;

// Whether an item of faces is as long as the file makes it. The others are read faster than remembered.
bool HoldsMany(Shape shape) {
    switch (shape) {
        case Shape::PolyLoop:
        case Shape::EdgeLoop:
        case Shape::Face:
        case Shape::Shell:
        case Shape::Brep:
        case Shape::SurfaceModel:
            return true;
        default:
            return false;
    }
}

double AxisScale(const Transform& frame) {
    return Length(frame.x);
}

}  // namespace

ShapeReader::ShapeReader(const Access& access, Placements& placements, DiagnosticLog& log)
    : access_(access),
      placements_(placements),
      log_(log),
      met_(access.File().InstanceCount()),
      budget_(kFreeSteps + kStepsPerInstance * access.File().InstanceCount()) {
}

bool ShapeReader::Spend(std::uint64_t steps) {
    if (isExhausted_) {
        return false;
    }
    if (budget_ - steps_ < steps || access_.IsHalfSpent()) {
        isExhausted_ = true;
        log_.AddGeneral(Severity::Warning, DiagnosticCode::LimitReached,
                        "The shapes refer to each other more often than a model's do; the rest of them is not read.");
        return false;
    }
    steps_ += steps;
    return true;
}

double ShapeReader::Millimetres(const Value& value, double missing) const {
    const std::optional<double> number = value.Number();
    return number ? *number * placements_.ToMillimetres() : missing;
}

ShapeReader::Kind ShapeReader::KindOfRepresentation(std::string_view identifier, std::string_view type) {
    if (identifier == "Axis") {
        return Kind::Axis;
    }
    if (identifier == "Box" || type == "BoundingBox") {
        return Kind::Box;
    }
    for (const std::string_view other : {"FootPrint", "Annotation", "Clearance", "CoG", "Lighting", "Plan", "Reference",
                                         "Profile", "Surface2D", "Symbol"}) {
        if (identifier == other) {
            return Kind::Skip;
        }
    }
    return type == "Annotation2D" || type == "Curve2D" || type == "GeometricCurveSet" ? Kind::Skip : Kind::Body;
}

ElementShape ShapeReader::Read(std::uint32_t definition, const Transform& frame, bool wantRun) {
    ElementShape shape;
    if (definition == kNoInstance) {
        return shape;
    }
    Local& body = body_;
    Local& box = box_;
    body.Clear();
    box.Clear();
    // IfcProductRepresentation: Name, Description, Representations.
    ValueCursor representations = Members(access_.Argument(definition, 2));
    for (Value one = representations.Next(); one.kind != ValueKind::Missing; one = representations.Next()) {
        const std::uint32_t representation = access_.Follow(one);
        if (representation == kNoInstance) {
            continue;
        }
        ValueCursor arguments = access_.Arguments(representation);
        arguments.Skip(1);
        const Value identifier = arguments.Next();
        const Value type = arguments.Next();
        const Kind kind = KindOfRepresentation(identifier.text, type.text);
        if (kind == Kind::Skip || (kind == Kind::Axis && !wantRun)) {
            continue;
        }
        ReadRepresentation(representation, kind, kind == Kind::Box ? box : body, 0);
    }
    Local& used = body.parts.empty() && body.onlyMap == kNoInstance ? box : body;
    shape.body.frame = frame;
    if (used.onlyMap != kNoInstance) {
        const Mapped& mapped = maps_.at(used.onlyMap);
        shape.body.frame = frame * used.onlyFrame;
        shape.body.firstPart = mapped.firstPart;
        shape.body.partCount = mapped.partCount;
    } else {
        shape.body.firstPart = static_cast<std::uint32_t>(parts_.size());
        shape.body.partCount = static_cast<std::uint32_t>(used.parts.size());
        parts_.insert(parts_.end(), used.parts.begin(), used.parts.end());
    }
    Box whole;
    for (std::uint32_t i = 0; i < shape.body.partCount; ++i) {
        whole.Add(parts_[shape.body.firstPart + i]);
    }
    shape.box = ifc::Mapped(shape.body.frame, whole);
    bool isUsable = shape.box.IsEmpty() || (IsWithinReach(shape.box.low) && IsWithinReach(shape.box.high));
    if (!isUsable) {
        shape.box = Box();
        shape.body.partCount = 0;
    }
    if (wantRun) {
        Run run = BestRun(body.runs.size() > 1 ? Chained(body.runs) : body.runs);
        if (run.evidence == EndEvidence::None && !whole.IsEmpty()) {
            const Point size = whole.high - whole.low;
            const double longest = std::max({size.x, size.y, size.z});
            const Point along = longest == size.x   ? Point{size.x, 0, 0}
                                : longest == size.y ? Point{0, size.y, 0}
                                                    : Point{0, 0, size.z};
            run = {EndEvidence::BodyBox, whole.Centre() - along * 0.5, whole.Centre() + along * 0.5, 0.0, 0.0};
            run.start = shape.body.frame.Apply(run.start);
            run.end = shape.body.frame.Apply(run.end);
            run.length = Distance(run.start, run.end);
        } else {
            run.start = frame.Apply(run.start);
            run.end = frame.Apply(run.end);
        }
        const bool isRunUsable = IsWithinReach(run.start) && IsWithinReach(run.end) && std::isfinite(run.length) &&
                                 run.radius < kMaxCoordinate;
        if (isRunUsable && Distance(run.start, run.end) > 0.0) {
            shape.run = run;
        }
        isUsable = isUsable && isRunUsable;
    }
    if (!isUsable) {
        SayTooFar(definition);
    }
    return shape;
}

void ShapeReader::SayTooFar(std::uint32_t definition) {
    if (!log_.Keeps(DiagnosticCode::BadGeometry)) {
        log_.Count(Severity::Warning);
        return;
    }
    log_.Add(Severity::Warning, DiagnosticCode::BadGeometry, access_.File().Offset(definition),
             "The shape #" + std::to_string(access_.File().Id(definition)) +
                 " reaches farther than anything on Earth lies from an origin; what reaches so far is left out.");
}

// Joins runs that follow each other end to start, as exporters cut a long tray.
std::vector<Run> ShapeReader::Chained(const std::vector<Run>& runs) {
    constexpr double kSamePoint = 1.0;  // mm
    std::vector<Run> chained;
    for (const Run& run : runs) {
        if (!chained.empty() && chained.back().evidence == run.evidence &&
            Distance(chained.back().end, run.start) <= kSamePoint) {
            chained.back().end = run.end;
            chained.back().length += run.length;
            chained.back().radius = std::max(chained.back().radius, run.radius);
        } else {
            chained.push_back(run);
        }
    }
    return chained;
}

// The strongest evidence, and of that the longest run; runs beside it of the same direction and length (the sides of a
// tray, the insulation around a pipe) are averaged with it, so that the run lies in the middle.
Run ShapeReader::BestRun(const std::vector<Run>& runs) {
    Run best;
    for (const Run& run : runs) {
        const bool stronger = best.evidence == EndEvidence::None || run.evidence < best.evidence ||
                              (run.evidence == best.evidence && run.length > best.length);
        if (stronger && run.length > 0.0) {
            best = run;
        }
    }
    if (best.evidence == EndEvidence::None || best.evidence == EndEvidence::Axis) {
        return best;
    }
    Point start;
    Point end;
    double count = 0.0;
    double radius = 0.0;
    const Point direction = best.end - best.start;
    for (const Run& run : runs) {
        const Point other = run.end - run.start;
        const double cosine = Dot(direction, other) / (Length(direction) * Length(other));
        if (run.evidence != best.evidence || run.length < 0.9 * best.length || !(std::abs(cosine) > 0.999)) {
            continue;
        }
        start = start + (cosine > 0.0 ? run.start : run.end);
        end = end + (cosine > 0.0 ? run.end : run.start);
        radius = std::max(radius, run.radius);
        count += 1.0;
    }
    if (count > 1.0) {
        best.start = start * (1.0 / count);
        best.end = end * (1.0 / count);
        best.radius = radius;
    }
    return best;
}

void ShapeReader::ReadRepresentation(std::uint32_t representation, Kind kind, Local& local, int depth) {
    ValueCursor items = Members(access_.Argument(representation, 3));
    for (Value one = items.Next(); one.kind != ValueKind::Missing; one = items.Next()) {
        const std::uint32_t item = access_.Follow(one);
        if (item == kNoInstance) {
            continue;
        }
        if (kind == Kind::Axis) {
            ReadAxis(item, Transform(), local, depth);
        } else {
            ReadItem(item, Transform(), local, depth);
        }
    }
    if (local.parts.size() > kMaxParts) {
        Box whole;
        for (const Box& part : local.parts) {
            whole.Add(part);
        }
        local.parts.assign(1, whole);
    }
}

void ShapeReader::ReadItem(std::uint32_t item, const Transform& frame, Local& local, int depth) {
    if (item == kNoInstance || depth > kMaxItemDepth || !Spend()) {
        return;
    }
    if (++local.items > 1) {
        Flatten(local);
    }
    switch (access_.ShapeOf(item)) {
        case Shape::MappedItem:
            ReadMappedItem(item, frame, local, depth);
            return;
        case Shape::ExtrudedArea:
            ReadExtrusion(item, frame, local);
            return;
        case Shape::RevolvedArea:
            ReadRevolution(item, frame, local);
            return;
        case Shape::SweptDisk:
            ReadSweptDisk(item, frame, local);
            return;
        case Shape::SweptAlongCurve:
            ReadSweptCurve(item, frame, local);
            return;
        case Shape::Boolean:
            // A difference or clipping leaves of the first what the second does not cut away; a union is both.
            ReadItem(access_.Follow(access_.Argument(item, 1)), frame, local, depth + 1);
            if (access_.Argument(item, 0).Word() == "UNION") {
                ReadItem(access_.Follow(access_.Argument(item, 2)), frame, local, depth + 1);
            }
            return;
        case Shape::Csg:
            ReadItem(access_.Follow(access_.Argument(item, 0)), frame, local, depth + 1);
            return;
        case Shape::BoundingBox:
        case Shape::Block:
        case Shape::Cylinder:
        case Shape::Cone:
        case Shape::Sphere:
        case Shape::Pyramid:
            ReadPrimitive(item, frame, local);
            return;
        case Shape::GeometricSet: {
            ValueCursor members = Members(access_.Argument(item, 0));
            for (Value one = members.Next(); one.kind != ValueKind::Missing; one = members.Next()) {
                ReadItem(access_.Follow(one), frame, local, depth + 1);
            }
            return;
        }
        default:
            ReadPoints(item, frame, local, depth);
            return;
    }
}

void ShapeReader::ReadMappedItem(std::uint32_t item, const Transform& frame, Local& local, int depth) {
    const std::uint32_t map = access_.Follow(access_.Argument(item, 0));
    const std::optional<Transform> target = placements_.Operator(access_.Follow(access_.Argument(item, 1)));
    const Mapped* mapped = target ? ReadMap(map, depth + 1) : nullptr;
    if (mapped == nullptr) {
        return;
    }
    // Maps keep what they hold, so there a copy costs more than in an element, which passes.
    const std::uint64_t copies = mapped->partCount + mapped->runs.size();
    if (!Spend(depth > 0 ? copies * kStepsPerKeptCopy : copies / kCopiesPerStep)) {
        return;
    }
    const Transform whole = frame * *target;
    if (local.items == 1 && mapped->partCount > 0) {
        local.onlyMap = map;
        local.onlyFrame = whole;
    } else {
        for (std::uint32_t i = 0; i < mapped->partCount; ++i) {
            local.parts.push_back(ifc::Mapped(whole, parts_[mapped->firstPart + i]));
        }
    }
    for (Run run : mapped->runs) {
        run.start = whole.Apply(run.start);
        run.end = whole.Apply(run.end);
        run.length *= AxisScale(whole);
        run.radius *= AxisScale(whole);
        local.runs.push_back(run);
    }
}

void ShapeReader::Flatten(Local& local) const {
    if (local.onlyMap == kNoInstance) {
        return;
    }
    const Mapped& only = maps_.at(local.onlyMap);
    for (std::uint32_t i = 0; i < only.partCount; ++i) {
        local.parts.push_back(ifc::Mapped(local.onlyFrame, parts_[only.firstPart + i]));
    }
    local.onlyMap = kNoInstance;
}

// Returns: the shape under an IfcRepresentationMap, in the coordinates of its origin; null when there is none.
const ShapeReader::Mapped* ShapeReader::ReadMap(std::uint32_t map, int depth) {
    if (access_.ShapeOf(map) != Shape::RepresentationMap) {
        return nullptr;
    }
    const auto [place, isNew] = maps_.try_emplace(map);
    if (!isNew) {
        // Also met while it is being read itself, when maps refer to each other in a ring: it is empty then.
        return &place->second;
    }
    const std::uint32_t representation = access_.Follow(access_.Argument(map, 1));
    if (representation == kNoInstance) {
        return &place->second;
    }
    Local local;
    ReadRepresentation(representation, Kind::Body, local, depth);
    const Transform origin = placements_.Axis2(access_.Follow(access_.Argument(map, 0))).value_or(Transform());
    const Transform inner{{origin.x.x, origin.y.x, origin.z.x},
                          {origin.x.y, origin.y.y, origin.z.y},
                          {origin.x.z, origin.y.z, origin.z.z},
                          {}};
    Transform toOrigin = inner;
    toOrigin.origin = inner.Turn(origin.origin) * -1.0;
    Flatten(local);
    Mapped& mapped = maps_.at(map);
    mapped.firstPart = static_cast<std::uint32_t>(parts_.size());
    mapped.partCount = static_cast<std::uint32_t>(local.parts.size());
    for (const Box& part : local.parts) {
        parts_.push_back(toOrigin == Transform() ? part : ifc::Mapped(toOrigin, part));
    }
    for (Run& run : local.runs) {
        run.start = toOrigin.Apply(run.start);
        run.end = toOrigin.Apply(run.end);
    }
    mapped.runs = std::move(local.runs);
    return &mapped;
}

void ShapeReader::ReadExtrusion(std::uint32_t item, const Transform& frame, Local& local) {
    ValueCursor arguments = access_.Arguments(item);
    const std::optional<Profile> profile = ProfileOf(access_.Follow(arguments.Next()), 0);
    const Transform position = placements_.Axis2(access_.Follow(arguments.Next())).value_or(Transform());
    const Point along = placements_.Direction(access_.Follow(arguments.Next())).value_or(Point{0, 0, 1});
    const double depth = Millimetres(arguments.Next(), 0.0);
    if (!profile || !(depth > 0.0)) {
        return;
    }
    const Transform whole = frame * position;
    const Point sweep = along * depth;
    Box part;
    for (const Point& corner : {profile->low, profile->high, Point{profile->low.x, profile->high.y, 0},
                                Point{profile->high.x, profile->low.y, 0}}) {
        part.Add(whole.Apply(corner));
        part.Add(whole.Apply(corner + sweep));
    }
    local.parts.push_back(part);
    const Point centre = (profile->low + profile->high) * 0.5;
    const Point size = profile->high - profile->low;
    Run run{EndEvidence::Extrusion, centre, centre + sweep, 0.0, profile->radius * AxisScale(whole)};
    if (profile->radius == 0.0 && std::max(size.x, size.y) > depth) {
        const Point half = size.x >= size.y ? Point{size.x * 0.5, 0, 0} : Point{0, size.y * 0.5, 0};
        run.start = centre + sweep * 0.5 - half;
        run.end = centre + sweep * 0.5 + half;
    }
    run.start = whole.Apply(run.start);
    run.end = whole.Apply(run.end);
    run.length = Distance(run.start, run.end);
    local.runs.push_back(run);
}

void ShapeReader::ReadRevolution(std::uint32_t item, const Transform& frame, Local& local) {
    ValueCursor arguments = access_.Arguments(item);
    const std::optional<Profile> profile = ProfileOf(access_.Follow(arguments.Next()), 0);
    const Transform position = placements_.Axis2(access_.Follow(arguments.Next())).value_or(Transform());
    const std::uint32_t axis = access_.Follow(arguments.Next());
    const std::optional<double> angle = arguments.Next().Number();
    if (!profile || axis == kNoInstance || !angle || !std::isfinite(*angle * placements_.ToRadians())) {
        return;
    }
    const std::optional<Point> origin = placements_.PointAt(access_.Follow(access_.Argument(axis, 0)));
    const Point around = placements_.Direction(access_.Follow(access_.Argument(axis, 1))).value_or(Point{0, 0, 1});
    if (!origin) {
        return;
    }
    const Transform whole = frame * position;
    constexpr int kSteps = 12;
    Box part;
    for (const Point& corner : {profile->low, profile->high, Point{profile->low.x, profile->high.y, 0},
                                Point{profile->high.x, profile->low.y, 0}}) {
        const Point arm = corner - *origin;
        const Point parallel = around * Dot(arm, around);
        const Point across = arm - parallel;
        const Point turned = Cross(around, across);
        for (int i = 0; i <= kSteps; ++i) {
            const double at = *angle * placements_.ToRadians() * i / kSteps;
            part.Add(whole.Apply(*origin + parallel + across * std::cos(at) + turned * std::sin(at)));
        }
    }
    local.parts.push_back(part);
}

void ShapeReader::ReadSweptDisk(std::uint32_t item, const Transform& frame, Local& local) {
    ValueCursor arguments = access_.Arguments(item);
    const CurveExtent curve = ExtentOf(access_.Follow(arguments.Next()));
    const double radius = Millimetres(arguments.Next(), 0.0);
    if (!curve.isRun || !(radius >= 0.0)) {
        return;
    }
    const double scale = AxisScale(frame);
    local.parts.push_back(ifc::Mapped(frame, curve.box).Grown(radius * scale));
    local.runs.push_back({EndEvidence::SweptDisk, frame.Apply(curve.first), frame.Apply(curve.last),
                          curve.length * scale, radius * scale});
}

// A section swept along a directrix: the box around the directrix, grown by the section's half diagonal.
void ShapeReader::ReadSweptCurve(std::uint32_t item, const Transform& frame, Local& local) {
    ValueCursor arguments = access_.Arguments(item);
    const std::optional<Profile> profile = ProfileOf(access_.Follow(arguments.Next()), 0);
    const Transform position = placements_.Axis2(access_.Follow(arguments.Next())).value_or(Transform());
    points_.clear();
    if (!profile || !ReadCurve(access_, placements_, access_.Follow(arguments.Next()), points_) || points_.size() < 2) {
        return;
    }
    const Transform whole = frame * position;
    Box part;
    for (Point& point : points_) {
        point = whole.Apply(point);
        part.Add(point);
    }
    local.parts.push_back(part.Grown(0.5 * Length(profile->high - profile->low) * AxisScale(whole)));
    local.runs.push_back({EndEvidence::Axis, points_.front(), points_.back(), LengthOf(points_), profile->radius});
}

void ShapeReader::ReadPrimitive(std::uint32_t item, const Transform& frame, Local& local) {
    const Shape shape = access_.ShapeOf(item);
    ValueCursor arguments = access_.Arguments(item);
    const std::uint32_t place = access_.Follow(arguments.Next());
    const double first = Millimetres(arguments.Next(), -1.0);
    const double second = Millimetres(arguments.Next(), -1.0);
    const double third = Millimetres(arguments.Next(), -1.0);
    Box box;
    if (shape == Shape::BoundingBox) {
        const std::optional<Point> corner = placements_.PointAt(place);
        if (corner && first >= 0.0 && second >= 0.0 && third >= 0.0) {
            box.Add(*corner);
            box.Add(*corner + Point{first, second, third});
            local.parts.push_back(ifc::Mapped(frame, box));
        }
        return;
    }
    if (shape == Shape::Block || shape == Shape::Pyramid) {
        box.Add(Point{});
        box.Add(Point{first, second, third});
    } else if (shape == Shape::Sphere) {
        box.Add(Point{-first, -first, -first});
        box.Add(Point{first, first, first});
    } else {
        box.Add(Point{-second, -second, 0.0});
        box.Add(Point{second, second, first});
    }
    if (first > 0.0 && (shape == Shape::Sphere || second > 0.0)) {
        const Transform position = placements_.Axis2(place).value_or(Transform());
        local.parts.push_back(ifc::Mapped(frame * position, box));
    }
}

void ShapeReader::ReadPoints(std::uint32_t item, const Transform& frame, Local& local, int depth) {
    Box part;
    CollectPoints(item, part, depth);
    if (!part.IsEmpty()) {
        local.parts.push_back(ifc::Mapped(frame, part));
    }
}

// Adds the corners of everything that is made of faces.
void ShapeReader::CollectPoints(std::uint32_t item, Box& box, int depth) {
    if (item == kNoInstance || depth > kMaxItemDepth || !Spend()) {
        return;
    }
    if (!HoldsMany(access_.ShapeOf(item)) || !met_.IsSecond(item)) {
        AddPoints(item, box, depth);
        return;
    }
    if (boxes_.try_emplace(item).second) {
        Box own;
        AddPoints(item, own, depth);
        boxes_[item] = own;
    }
    box.Add(boxes_[item]);
}

void ShapeReader::AddPoints(std::uint32_t item, Box& box, int depth) {
    std::size_t position = 0;
    switch (access_.ShapeOf(item)) {
        case Shape::PolyLoop: {
            ValueCursor members = Members(access_.Argument(item, 0));
            for (Value one = members.Next(); one.kind != ValueKind::Missing; one = members.Next()) {
                if (const std::optional<Point> point = placements_.PointAt(access_.Follow(one))) {
                    box.Add(*point);
                }
            }
            return;
        }
        case Shape::TriangulatedFaces:
        case Shape::PolygonalFaces:
            AddCoordinates(access_.Follow(access_.Argument(item, 0)), box);
            return;
        case Shape::VertexPoint:
            if (const std::optional<Point> point = placements_.PointAt(access_.Follow(access_.Argument(item, 0)))) {
                box.Add(*point);
            }
            return;
        case Shape::EdgeCurve:
            CollectPoints(access_.Follow(access_.Argument(item, 0)), box, depth + 1);
            CollectPoints(access_.Follow(access_.Argument(item, 1)), box, depth + 1);
            return;
        case Shape::OrientedEdge:
            position = 2;
            break;
        case Shape::Brep:
        case Shape::Shell:
        case Shape::SurfaceModel:
        case Shape::Face:
        case Shape::FaceBound:
        case Shape::EdgeLoop:
            break;
        default:
            return;
    }
    const Value inner = access_.Argument(item, position);
    if (inner.kind == ValueKind::Reference) {
        CollectPoints(access_.Follow(inner), box, depth + 1);
        return;
    }
    ValueCursor members = Members(inner);
    for (Value one = members.Next(); one.kind != ValueKind::Missing; one = members.Next()) {
        CollectPoints(access_.Follow(one), box, depth + 1);
    }
}

// Face sets may share one list of coordinates.
void ShapeReader::AddCoordinates(std::uint32_t list, Box& box) {
    if (list == kNoInstance) {
        return;
    }
    const auto known = boxes_.find(list);
    if (known != boxes_.end()) {
        box.Add(known->second);
        return;
    }
    points_.clear();
    ReadCoordinateList(access_, placements_, list, points_);
    Box own;
    for (const Point& point : points_) {
        own.Add(point);
    }
    if (met_.IsSecond(list)) {
        boxes_[list] = own;
    }
    box.Add(own);
}

void ShapeReader::ReadAxis(std::uint32_t item, const Transform& frame, Local& local, int depth) {
    if (depth > kMaxItemDepth || !Spend()) {
        return;
    }
    if (access_.ShapeOf(item) == Shape::GeometricSet) {
        ValueCursor members = Members(access_.Argument(item, 0));
        for (Value one = members.Next(); one.kind != ValueKind::Missing; one = members.Next()) {
            ReadAxis(access_.Follow(one), frame, local, depth + 1);
        }
        return;
    }
    const CurveExtent curve = ExtentOf(item);
    if (!curve.isRun) {
        return;
    }
    local.runs.push_back(
        {EndEvidence::Axis, frame.Apply(curve.first), frame.Apply(curve.last), curve.length * AxisScale(frame), 0.0});
}

ShapeReader::CurveExtent ShapeReader::ExtentOf(std::uint32_t curve) {
    if (curve == kNoInstance || !met_.IsSecond(curve)) {
        return ReadExtent(curve);
    }
    const auto known = curves_.find(curve);
    return known != curves_.end() ? known->second : curves_.emplace(curve, ReadExtent(curve)).first->second;
}

ShapeReader::CurveExtent ShapeReader::ReadExtent(std::uint32_t curve) {
    points_.clear();
    CurveExtent extent;
    const bool isWhole = ReadCurve(access_, placements_, curve, points_);
    for (const Point& point : points_) {
        extent.box.Add(point);
    }
    extent.isRun = isWhole && points_.size() >= 2;
    if (extent.isRun) {
        extent.first = points_.front();
        extent.last = points_.back();
        extent.length = LengthOf(points_);
    }
    return extent;
}

std::optional<ShapeReader::Profile> ShapeReader::ProfileOf(std::uint32_t profile, int depth) {
    if (profile == kNoInstance || depth > kMaxItemDepth || !Spend()) {
        return std::nullopt;
    }
    if (!met_.IsSecond(profile)) {
        return ReadProfile(profile, depth);
    }
    if (profiles_.try_emplace(profile).second) {
        const std::optional<Profile> read = ReadProfile(profile, depth);
        profiles_[profile] = read;
    }
    return profiles_[profile];
}

// Requires: an instance.
std::optional<ShapeReader::Profile> ShapeReader::ReadProfile(std::uint32_t profile, int depth) {
    const Shape shape = access_.ShapeOf(profile);
    ValueCursor arguments = access_.Arguments(profile);
    arguments.Skip(2);
    Profile result;
    double width = 0.0;
    double height = 0.0;
    switch (shape) {
        case Shape::ArbitraryProfile: {
            const Box box = ExtentOf(access_.Follow(arguments.Next())).box;
            if (box.IsEmpty()) {
                return std::nullopt;
            }
            return Profile{box.low, box.high, 0.0};
        }
        case Shape::DerivedProfile: {
            const std::optional<Profile> parent = ProfileOf(access_.Follow(arguments.Next()), depth + 1);
            const Transform frame = placements_.Operator(access_.Follow(arguments.Next())).value_or(Transform());
            if (!parent) {
                return std::nullopt;
            }
            const Box box = ifc::Mapped(frame, Box{parent->low, parent->high});
            return Profile{box.low, box.high, parent->radius * AxisScale(frame)};
        }
        case Shape::CompositeProfile: {
            ValueCursor members = Members(arguments.Next());
            Box box;
            for (Value one = members.Next(); one.kind != ValueKind::Missing; one = members.Next()) {
                if (const std::optional<Profile> part = ProfileOf(access_.Follow(one), depth + 1)) {
                    box.Add(part->low);
                    box.Add(part->high);
                }
            }
            return box.IsEmpty() ? std::nullopt : std::optional(Profile{box.low, box.high, 0.0});
        }
        default:
            break;
    }
    const Transform position = placements_.Axis2(access_.Follow(arguments.Next())).value_or(Transform());
    const double first = Millimetres(arguments.Next(), 0.0);
    switch (shape) {
        case Shape::CircleProfile:
            result.radius = first;
            width = height = 2 * first;
            break;
        case Shape::EllipseProfile:
            width = 2 * first;
            height = 2 * Millimetres(arguments.Next(), 0.0);
            break;
        case Shape::RectangleProfile:
        case Shape::FlangedProfile:
            width = first;
            height = Millimetres(arguments.Next(), 0.0);
            break;
        case Shape::SteelProfile:
            height = first;
            width = Millimetres(arguments.Next(), first);
            break;
        default:
            return std::nullopt;
    }
    if (!(width > 0.0) || !(height > 0.0)) {
        return std::nullopt;
    }
    const Box box = ifc::Mapped(position, Box{{-width / 2, -height / 2, 0.0}, {width / 2, height / 2, 0.0}});
    if (result.radius > 0.0) {
        const Point half{result.radius, result.radius, 0.0};
        return Profile{position.origin - half, position.origin + half, result.radius};
    }
    return Profile{box.low, box.high, 0.0};
}

}  // namespace norvex::ifc
