// SPDX-License-Identifier: Apache-2.0
#include "samples/generator/Wing.h"

#include <algorithm>
#include <array>

namespace norvex::samples {
namespace {

constexpr std::array<PlantInfo, 13> kPlants{{
    {Plant::WaterLoop, "water-loop", "four pipes in a water supply branch close a loop"},
    {Plant::PipePair, "pipe-pair", "two pipes of different length join the same two tees in a water supply branch"},
    {Plant::DrainageLoop, "drainage-loop", "four pipes of a sloping drainage branch close a loop"},
    {Plant::HeatingRing, "heating-ring", "a ring in the heating supply, which is legal and worth a reminder"},
    {Plant::StoreyLoop, "storey-loop",
     "a second riser closes a water loop over two storeys; no single floor holds a loop"},
    {Plant::DoubleDrawn, "double-drawn-pipe", "one water pipe is drawn twice at the same place; no loop"},
    {Plant::Gap, "gap", "what would be a water loop is open by 8 mm; no loop"},
    {Plant::WrongLink, "wrong-link", "a DN65 sprinkler main has threaded ends, where grooved ones are due"},
    {Plant::ValveDiameter, "valve-diameter", "a DN32 valve stands in a DN25 water branch"},
    {Plant::NoFlange, "no-flange", "the tank is joined by a pipe without a flange between"},
    {Plant::NoDiameter, "no-diameter", "a heating pipe is drawn as an axis only; no source tells its diameter"},
    {Plant::NoStorey, "no-storey", "a water pipe is contained in no storey"},
    {Plant::RepeatedGlobalId, "repeated-global-id", "two lights share one GlobalId"},
}};

// The two tees of a second way stand this far from the beginning of the run, and this far apart.
constexpr double kFirstTee = 300.0;
constexpr double kBetweenTees = 700.0;
// How far the second way runs beside the first.
constexpr double kAside = 400.0;
// Wider than what a reader may take for touching, narrower than a person sees on a plan.
constexpr double kGap = 8.0;

constexpr std::string_view kLoopRule = "pipe-loop";

struct Bypass {
    Part before;   // up to the first tee
    Part through;  // the straight way between the tees
    std::vector<Part> around;
};

std::vector<std::string> LoopIds(const Bypass& bypass) {
    std::vector<std::string> ids{bypass.through.globalId};
    for (const Part& pipe : bypass.around) {
        ids.push_back(pipe.globalId);
    }
    return ids;
}

// Two tees in the run and a second way between them: three pipes and two elbows aside; with `tight`, the elbows sit
// directly on the tees and one pipe is left, longer than the straight way. `gap` leaves the second way open at its end.
Bypass DrawBypass(Line& line, const Key& key, const Port& from, const Port& to, const Vector& side, bool tight,
                  double gap) {
    const Section& section = from.section;
    const Vector along = Unit(to.point - from.point);
    const Vector firstCentre = from.point + along * kFirstTee;
    const Vector secondCentre = firstCentre + along * kBetweenTees;
    const Key own = key.Child("bypass");
    const Part first = line.Tee(own.Child("tee", 1), firstCentre, -along, along, side, section, section);
    const Part second = line.Tee(own.Child("tee", 2), secondCentre, -along, along, side, section, section, true);
    const double aside = tight ? line.TeeTakeOff(section, section) + line.BendTakeOff(section) : kAside;
    const Part firstElbow = line.Elbow(own.Child("elbow", 1), firstCentre + side * aside, -side, along, section);
    const Part secondElbow = line.Elbow(own.Child("elbow", 2), secondCentre + side * aside, -along, -side, section);
    Bypass bypass;
    bypass.before = line.Segment(key, from, first.ports[0]);
    bypass.through = line.Segment(own.Child("through"), first.ports[1], second.ports[0]);
    line.Segment(own.Child("after"), second.ports[1], to);
    if (tight) {
        line.BuildingModel().Connect(first.ports[2], firstElbow.ports[0]);
        line.BuildingModel().Connect(secondElbow.ports[1], second.ports[2]);
        bypass.around.push_back(line.Segment(own.Child("around"), firstElbow.ports[1], secondElbow.ports[0]));
        return bypass;
    }
    bypass.around.push_back(line.Segment(own.Child("out"), first.ports[2], firstElbow.ports[0]));
    bypass.around.push_back(line.Segment(own.Child("around"), firstElbow.ports[1], secondElbow.ports[0]));
    if (gap > 0.0) {
        Port open = second.ports[2];
        open.point = open.point + open.direction * gap;
        bypass.around.push_back(line.LooseSegment(own.Child("back"), secondElbow.ports[1], open));
    } else {
        bypass.around.push_back(line.Segment(own.Child("back"), secondElbow.ports[1], second.ports[2]));
    }
    return bypass;
}

Part DrawDouble(Wing& wing, Line& line, const Key& key, const Port& from, const Port& to) {
    const Part once = line.Segment(key, from, to);
    // A port holds one connection, so the second drawing can only lie there.
    const Part again = line.UnstatedSegment(key.Child("again"), from, to);
    wing.Expect("double-drawn-pipe", Verdict::Silent, kLoopRule, line.Storey(), "给排水", "",
                {once.globalId, again.globalId}, "the same pipe drawn twice is not a loop");
    return once;
}

Part DrawWithoutDiameter(Wing& wing, Line& line, const Key& key, const Port& from, const Port& to) {
    SegmentStyle style = line.StyleOfSegments();
    style.name = "采暖管 Heating pipe";
    style.withSection = false;
    const Part part = line.BuildingModel().Segment(style, key, from, to, line.Storey());
    line.BuildingModel().Assign(part, line.Style().system);
    line.BuildingModel().Connect(from, part.ports[0]);
    line.BuildingModel().Connect(part.ports[1], to);
    wing.Expect("no-diameter", Verdict::Other, "pipe-diameter", line.Storey(), "暖通", "", {part.globalId},
                "neither name, property set nor shape tells a diameter");
    return part;
}

Part DrawWithoutStorey(Wing& wing, Line& line, const Key& key, const Port& from, const Port& to) {
    Line nowhere = line.On(kNoStorey);
    const Part part = nowhere.Segment(key, from, to);
    wing.Expect("no-storey", Verdict::Notice, "no-storey", kNoStorey, "给排水", "", {part.globalId},
                "no relation places it on a storey");
    return part;
}

Part DrawThreaded(Wing& wing, Line& line, const Key& key, const Port& from, const Port& to) {
    LineStyle style = line.Style();
    style.connectionType = "THREADED";
    Line threaded = line.With(style);
    const Part part = threaded.Segment(key, from, to);
    wing.Expect("wrong-link", Verdict::Other, "pipe-link", line.Storey(), "消防", "", {part.globalId},
                "threaded ends at DN65; the other pipes of this size are grooved");
    return part;
}

Part DrawLoop(Wing& wing, Line& line, const Key& key, const Port& from, const Port& to, const Vector& side,
              Plant plant) {
    const bool isPair = plant == Plant::PipePair;
    const bool isGap = plant == Plant::Gap;
    const Bypass bypass = DrawBypass(line, key, from, to, side, isPair, isGap ? kGap : 0.0);
    const auto info =
        std::find_if(kPlants.begin(), kPlants.end(), [plant](const PlantInfo& each) { return each.plant == plant; });
    const bool isHeating = plant == Plant::HeatingRing;
    std::string_view severity = isHeating ? "ERR_REMIND" : "ERR_SUSPECTED";
    if (isGap) {
        severity = "";
    }
    wing.Expect(info->name, isGap ? Verdict::Silent : Verdict::Finding, kLoopRule, line.Storey(),
                isHeating ? "暖通" : "给排水", severity, LoopIds(bypass), info->sentence);
    return bypass.before;
}

}  // namespace

std::span<const PlantInfo> Plants() {
    return kPlants;
}

std::optional<Plant> PlantByName(std::string_view name) {
    const auto* found =
        std::find_if(kPlants.begin(), kPlants.end(), [name](const PlantInfo& each) { return each.name == name; });
    return found == kPlants.end() ? std::nullopt : std::optional(found->plant);
}

Part DrawRun(Wing& wing, Line& line, const Key& key, const Port& from, const Port& to, const Vector& side,
             std::optional<Plant> plant) {
    if (!plant) {
        return line.Segment(key, from, to);
    }
    switch (*plant) {
        case Plant::WaterLoop:
        case Plant::PipePair:
        case Plant::DrainageLoop:
        case Plant::HeatingRing:
        case Plant::Gap:
            return DrawLoop(wing, line, key, from, to, side, *plant);
        case Plant::DoubleDrawn:
            return DrawDouble(wing, line, key, from, to);
        case Plant::NoDiameter:
            return DrawWithoutDiameter(wing, line, key, from, to);
        case Plant::NoStorey:
            return DrawWithoutStorey(wing, line, key, from, to);
        case Plant::WrongLink:
            return DrawThreaded(wing, line, key, from, to);
        case Plant::StoreyLoop:
        case Plant::ValveDiameter:
        case Plant::NoFlange:
        case Plant::RepeatedGlobalId:
            break;
    }
    return line.Segment(key, from, to);
}

}  // namespace norvex::samples
