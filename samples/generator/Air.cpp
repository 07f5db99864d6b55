// SPDX-License-Identifier: Apache-2.0
#include "samples/generator/Wing.h"

namespace norvex::samples {
namespace {

constexpr Vector kEast{1.0, 0.0, 0.0};
constexpr Vector kWest{-1.0, 0.0, 0.0};
constexpr Vector kNorth{0.0, 1.0, 0.0};
constexpr Vector kSouth{0.0, -1.0, 0.0};
constexpr Vector kUp{0.0, 0.0, 1.0};
constexpr Vector kDown{0.0, 0.0, -1.0};

constexpr double kDuctY = -10500.0;
constexpr double kDuctHeight = 2900.0;
constexpr double kBranchX = 4000.0;  // in the bay
constexpr double kDamperY = -12000.0;
constexpr double kDiffuserY = -12800.0;

const Device kFireDamper{"IFCDAMPER", "FIREDAMPER", "防火阀 Fire damper", 300.0};
const Device kVolumeDamper{"IFCDAMPER", "BALANCINGDAMPER", "风量调节阀 Volume damper", 200.0};

// From the main's port in the bay to the diffuser in the ceiling.
void DrawOutlet(Wing& wing, Line& line, int floor, int bay, const Port& main) {
    const Section round = RoundDuct(200);
    const Key key = wing.KeyOf("air branch", floor, bay);
    const Part damper = line.InLine(key.Child("damper"), kVolumeDamper,
                                    wing.InBay(floor, bay, kBranchX, kDamperY, kDuctHeight), kSouth, round);
    const Part elbow =
        line.Elbow(key.Child("elbow"), wing.InBay(floor, bay, kBranchX, kDiffuserY, kDuctHeight), kNorth, kDown, round);
    const Part diffuser = line.Equipment(key.Child("diffuser"),
                                         {"IFCAIRTERMINAL",
                                          "DIFFUSER",
                                          "方形散流器 Ceiling diffuser",
                                          {400.0, 400.0, 100.0},
                                          {{{0.0, 0.0, 50.0}, kUp, round, Flow::Sink, ""}}},
                                         wing.InBay(floor, bay, kBranchX, kDiffuserY, 2450.0));
    line.Segment(key.Child("duct", 1), main, damper.ports[0]);
    line.Segment(key.Child("duct", 2), damper.ports[1], elbow.ports[0]);
    line.Segment(key.Child("duct", 3), elbow.ports[1], diffuser.ports[0]);
}

}  // namespace

void DrawAir(Wing& wing) {
    const std::size_t system = wing.AddSystem("送风系统 Supply air", "AIRCONDITIONING");
    const Section main = Rectangle(500.0, 250.0);
    const Section round = RoundDuct(200);
    for (int floor = 0; floor < wing.Floors(); ++floor) {
        Line line(wing.BuildingModel(),
                  {system, "DUCT", "AIRCONDITIONING", "送风管 Supply duct", "风管", Flow::Sink, ""},
                  static_cast<std::size_t>(floor));
        const Key key = wing.KeyOf("air", floor);
        const Part unit = line.Equipment(key.Child("unit"),
                                         {"IFCUNITARYEQUIPMENT",
                                          "AIRHANDLER",
                                          "吊顶空调机组 Air handler",
                                          {1500.0, 1200.0, 800.0},
                                          {{{750.0, 0.0, 0.0}, kEast, main, Flow::Source, ""}}},
                                         wing.At(floor, -2750.0, kDuctY, kDuctHeight));
        const Part damper = line.InLine(key.Child("fire damper"), kFireDamper,
                                        wing.At(floor, -500.0, kDuctY, kDuctHeight), kEast, main);
        line.Segment(key.Child("duct"), unit.ports[0], damper.ports[0]);
        Port at = damper.ports[1];
        for (int bay = 0; bay < wing.Bays(); ++bay) {
            const Key own = wing.KeyOf("air", floor, bay).Child("main");
            const Vector node = wing.InBay(floor, bay, kBranchX, kDuctY, kDuctHeight);
            const bool last = bay + 1 == wing.Bays();
            const Part fitting = last ? line.Elbow(own.Child("node"), node, kWest, kSouth, main)
                                      : line.Tee(own.Child("node"), node, kWest, kEast, kSouth, main, round);
            line.Segment(own, at, fitting.ports[0]);
            DrawOutlet(wing, line, floor, bay,
                       last ? line.Reducer(own.Child("reducer"), fitting.ports[1], round).ports[1] : fitting.ports[2]);
            at = fitting.ports[1];
        }
    }
}

}  // namespace norvex::samples
