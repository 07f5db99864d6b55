// SPDX-License-Identifier: Apache-2.0
#include "samples/generator/Line.h"

#include <algorithm>
#include <cmath>

namespace norvex::samples {
namespace {

constexpr Vector kUp{0.0, 0.0, 1.0};

// Below this length of a cross product two unit vectors count as parallel.
constexpr double kParallel = 1e-6;

// Returns: a frame with x along `first` and z upright to the plane of the two directions; for a straight part z is as
// upright as it can be.
Frame FrameOf(const Vector& centre, const Vector& first, const Vector& other) {
    Frame frame;
    frame.origin = centre;
    frame.x = Unit(first);
    Vector normal = Cross(frame.x, other);
    if (Length(normal) < kParallel) {
        const Vector across = Cross(kUp, frame.x);
        frame.y = Length(across) < kParallel ? Vector{0.0, 1.0, 0.0} : Unit(across);
        frame.z = Cross(frame.x, frame.y);
        return frame;
    }
    frame.z = Unit(normal);
    frame.y = Cross(frame.z, frame.x);
    return frame;
}

// Returns: the solid of one arm of a part, from `origin` along `direction`, in the part's own frame. A rectangle's
// height stands along the part's z axis.
Solid Arm(const Section& section, const Vector& origin, const Vector& direction, double depth) {
    Solid solid;
    solid.section = section;
    solid.depth = depth;
    solid.frame.origin = origin;
    solid.frame.z = direction;
    const Vector across = Cross(kUp, direction);
    solid.frame.x = Length(across) < kParallel ? Vector{1.0, 0.0, 0.0} : Unit(across);
    solid.frame.y = Cross(solid.frame.z, solid.frame.x);
    return solid;
}

Section Wider(const Section& section, double by) {
    return {section.nominal, section.width + by, section.IsRound() ? 0.0 : section.height + by, section.word};
}

}  // namespace

SegmentStyle Line::StyleOfSegments() const {
    return {"IFC" + style_.family + "SEGMENT",
            style_.family == "CABLECARRIER" ? "CABLETRAYSEGMENT" : "RIGIDSEGMENT",
            style_.segmentName,
            style_.family,
            style_.systemType,
            style_.connectionType,
            true};
}

double Line::BendTakeOff(const Section& section) const {
    if (!section.IsRound()) {
        return section.width * 0.5 + 150.0;
    }
    // Pipes bend with the usual radius of 1.5 diameters, ducts with one diameter.
    return std::ceil(section.width * (style_.family == "PIPE" ? 1.5 : 1.0));
}

double Line::TeeTakeOff(const Section& run, const Section& branch) const {
    if (!run.IsRound()) {
        return run.width * 0.5 + 100.0;
    }
    return std::ceil(std::max(run.width, branch.width) * 1.2);
}

Part Line::Fitting(const Key& key, const Vector& centre, std::string_view predefined, const std::string& name,
                   const std::vector<Branch>& branches) {
    const Branch& first = branches.front();
    Vector other = first.direction;
    for (const Branch& branch : branches) {
        if (Length(Cross(Unit(first.direction), branch.direction)) >= kParallel) {
            other = branch.direction;
            break;
        }
    }
    const Frame frame = FrameOf(centre, first.direction, other);
    PartType type;
    type.className = "IFC" + style_.family + "FITTING";
    type.predefined = predefined;
    type.name = name;
    for (const Branch& branch : branches) {
        const Vector direction = Unit(frame.DirectionToLocal(branch.direction));
        type.solids.push_back(Arm(branch.section, {}, direction, branch.takeOff));
        type.ports.push_back(
            {direction * branch.takeOff, direction, branch.section, branch.flow, style_.family, style_.systemType});
    }
    const Part part = model_.Place(type, key, name, frame, storey_);
    model_.Assign(part, style_.system);
    return part;
}

Part Line::Elbow(const Key& key, const Vector& centre, const Vector& first, const Vector& second,
                 const Section& section) {
    const double takeOff = BendTakeOff(section);
    return Fitting(key, centre, "BEND", style_.fittingName + "弯头 " + SectionText(section),
                   {{first, takeOff, section, style_.first}, {second, takeOff, section, Opposite(style_.first)}});
}

Part Line::Tee(const Key& key, const Vector& centre, const Vector& first, const Vector& second, const Vector& branch,
               const Section& run, const Section& branchSection, bool merges) {
    return Tee(key, centre, first, second, branch, run, run, branchSection, merges);
}

Part Line::Tee(const Key& key, const Vector& centre, const Vector& first, const Vector& second, const Vector& branch,
               const Section& firstSection, const Section& secondSection, const Section& branchSection, bool merges) {
    const Flow other = Opposite(style_.first);
    const double takeOff = TeeTakeOff(firstSection, branchSection);
    const bool isTray = style_.family == "CABLECARRIER";
    const bool reduces = SectionText(firstSection) != SectionText(branchSection);
    const std::string name = style_.fittingName + "三通 " + SectionText(firstSection) +
                             (reduces ? "/" + SectionText(branchSection) : std::string());
    return Fitting(key, centre, isTray ? "TEE" : "JUNCTION", name,
                   {{first, takeOff, firstSection, style_.first},
                    {second, takeOff, secondSection, other},
                    {branch, takeOff, branchSection, merges ? style_.first : other}});
}

Part Line::InLine(const Key& key, const Device& device, const Vector& centre, const Vector& direction,
                  const Section& section) {
    const double half = device.length * 0.5;
    const Frame frame = FrameOf(centre, direction, direction);
    PartType type;
    type.className = device.className;
    type.predefined = device.predefined;
    type.name = device.name + " " + SectionText(section);
    const Section body = Wider(section, section.IsRound() ? section.width * 0.4 : 40.0);
    type.solids.push_back(Arm(body, {-half, 0.0, 0.0}, {1.0, 0.0, 0.0}, device.length));
    if (section.IsRound()) {
        // The bonnet with the hand wheel, or the actuator.
        type.solids.push_back(Arm(section, {}, {0.0, 0.0, 1.0}, std::ceil(section.width * 1.5)));
    }
    if (device.className == "IFCVALVE") {
        type.propertySet = "Pset_ValveTypeCommon";
        type.property = "Size";
        type.propertyValue = section.nominal;
    }
    type.ports.push_back(
        {{-half, 0.0, 0.0}, {-1.0, 0.0, 0.0}, section, style_.first, style_.family, style_.systemType});
    type.ports.push_back(
        {{half, 0.0, 0.0}, {1.0, 0.0, 0.0}, section, Opposite(style_.first), style_.family, style_.systemType});
    const Part part = model_.Place(type, key, type.name, frame, storey_);
    model_.Assign(part, style_.system);
    return part;
}

Part Line::Attach(const Key& key, const Port& at, std::string_view predefined, const std::string& name,
                  const Section& section, double length, const Section& body) {
    const Frame frame = FrameOf(at.point, at.direction, at.direction);
    PartType type;
    type.className = "IFC" + style_.family + "FITTING";
    type.predefined = predefined;
    type.name = name;
    type.solids.push_back(Arm(body, {}, {1.0, 0.0, 0.0}, length));
    type.ports.push_back({{}, {-1.0, 0.0, 0.0}, at.section, Opposite(at.flow), style_.family, style_.systemType});
    if (predefined != "EXIT") {
        type.ports.push_back({{length, 0.0, 0.0}, {1.0, 0.0, 0.0}, section, at.flow, style_.family, style_.systemType});
    }
    const Part part = model_.Place(type, key, name, frame, storey_);
    model_.Assign(part, style_.system);
    model_.Connect(at, part.ports.front());
    return part;
}

Part Line::Reducer(const Key& key, const Port& at, const Section& section) {
    const double larger = std::max(at.section.width, section.width);
    return Attach(key, at, style_.family == "CABLECARRIER" ? "REDUCER" : "TRANSITION",
                  style_.fittingName + "异径管 " + SectionText(at.section) + "/" + SectionText(section), section,
                  std::ceil(larger), at.section);
}

Part Line::Flange(const Key& key, const Port& at) {
    // Length and breadth of a welding-neck flange, PN16, in this range of diameters.
    return Attach(key, at, "CONNECTOR", "法兰 Flange PN16 " + SectionText(at.section), at.section, 45.0,
                  Wider(at.section, 90.0));
}

Part Line::Cap(const Key& key, const Port& at, std::string_view name) {
    return Attach(key, at, "EXIT", std::string(name) + " " + SectionText(at.section), at.section, 150.0,
                  Wider(at.section, 60.0));
}

Part Line::UnstatedSegment(const Key& key, const Port& from, const Port& to) {
    const Part part = model_.Segment(StyleOfSegments(), key, from, to, storey_);
    model_.Assign(part, style_.system);
    return part;
}

Part Line::LooseSegment(const Key& key, const Port& from, const Port& to) {
    Part part = UnstatedSegment(key, from, to);
    model_.Connect(from, part.ports[0]);
    return part;
}

Part Line::Segment(const Key& key, const Port& from, const Port& to) {
    Part part = LooseSegment(key, from, to);
    model_.Connect(part.ports[1], to);
    return part;
}

Part Line::Equipment(const Key& key, const Box& box, const Vector& centre) {
    PartType type;
    type.className = box.className;
    type.predefined = box.predefined;
    type.name = box.name;
    Solid solid;
    solid.section = Rectangle(box.size.x, box.size.y);
    solid.frame.origin = {0.0, 0.0, -box.size.z * 0.5};
    solid.depth = box.size.z;
    type.solids.push_back(solid);
    for (const BoxPort& port : box.ports) {
        type.ports.push_back({port.offset, port.direction, port.section, port.flow, style_.family,
                              port.systemType.empty() ? style_.systemType : port.systemType});
    }
    Frame frame;
    frame.origin = centre;
    const Part part = model_.Place(type, key, box.name, frame, storey_);
    model_.Assign(part, style_.system);
    return part;
}

}  // namespace norvex::samples
