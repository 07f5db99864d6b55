// SPDX-License-Identifier: Apache-2.0
#include "samples/generator/Wing.h"

namespace norvex::samples {
namespace {

constexpr Vector kEast{1.0, 0.0, 0.0};
constexpr Vector kWest{-1.0, 0.0, 0.0};
constexpr Vector kUp{0.0, 0.0, 1.0};

const Device kGateValve{"IFCVALVE", "ISOLATING", "闸阀 Gate valve", 180.0};
const Device kCheckValve{"IFCVALVE", "CHECK", "止回阀 Check valve", 180.0};

// From the source's port to the middle of each part, millimetres.
constexpr double kToValve = 950.0;
constexpr double kToPump = 2250.0;
constexpr double kToCheckValve = 3750.0;

}  // namespace

Port DrawPumpSet(Wing& wing, Line& line, const PumpSet& set, Part& suction) {
    const Section& pipe = set.source.section;
    const Vector& from = set.source.point;
    const Key key = wing.KeyOf(set.key);
    const Line::Box box{
        "IFCPUMP",
        "ENDSUCTION",
        std::string(set.name),
        {600.0, 400.0, 500.0},
        {{{-300.0, 0.0, 50.0}, kWest, pipe, Flow::Sink, ""}, {{300.0, 0.0, 50.0}, kEast, pipe, Flow::Source, ""}}};
    const Part pump = line.Equipment(key, box, from + kEast * kToPump + Vector{0.0, 0.0, -50.0});
    const Part valve = line.InLine(key.Child("valve"), kGateValve, from + kEast * kToValve, kEast, pipe);
    const Part check = line.InLine(key.Child("check valve"), kCheckValve, from + kEast * kToCheckValve, kEast, pipe);
    const Part foot = line.Elbow(key.Child("foot"), set.foot, kWest, kUp, pipe);

    const Port outlet = set.flangeAtSource ? line.Flange(key.Child("source flange"), set.source).ports[1] : set.source;
    suction = line.Segment(key.Child("suction pipe"), outlet, valve.ports[0]);
    const Part inlet = line.Flange(key.Child("inlet flange"), pump.ports[0]);
    line.Segment(key.Child("suction pipe", 2), valve.ports[1], inlet.ports[1]);
    const Part behind = line.Flange(key.Child("outlet flange"), pump.ports[1]);
    line.Segment(key.Child("pressure pipe"), behind.ports[1], check.ports[0]);
    line.Segment(key.Child("pressure pipe", 2), check.ports[1], foot.ports[0]);
    return foot.ports[1];
}

}  // namespace norvex::samples
