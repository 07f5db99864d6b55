// SPDX-License-Identifier: Apache-2.0
#include "samples/generator/Wing.h"

#include <algorithm>

namespace norvex::samples {
namespace {

constexpr Vector kEast{1.0, 0.0, 0.0};
constexpr Vector kWest{-1.0, 0.0, 0.0};
constexpr Vector kNorth{0.0, 1.0, 0.0};
constexpr Vector kSouth{0.0, -1.0, 0.0};
constexpr Vector kUp{0.0, 0.0, 1.0};
constexpr Vector kDown{0.0, 0.0, -1.0};

constexpr double kRadiatorX = 4000.0;  // in the bay: its middle
constexpr double kRadiatorY = 12000.0;
constexpr double kRadiatorTop = 750.0;

const Device kGateValve{"IFCVALVE", "ISOLATING", "闸阀 Gate valve", 140.0};
const Device kThermostat{"IFCVALVE", "REGULATING", "温控阀 Thermostatic valve", 80.0};

// Supply or return: two trees of the same shape, apart in plan and height.
struct Half {
    std::string_view key;
    double y = 0.0;
    double height = 0.0;
    double radiatorX = 0.0;  // of the branch, from the radiator's middle
    std::size_t radiatorPort = 0;
    bool isSupply = true;
};

constexpr Half kSupply{"heating supply", 10500.0, 2700.0, -400.0, 0, true};
constexpr Half kReturn{"heating return", 11000.0, 2500.0, 400.0, 1, false};

void DrawBranch(Wing& wing, Line& line, const Half& half, int floor, int bay, const Port& main, const Part& radiator) {
    const Section pipe = SteelPipe(20);
    const Key key = wing.KeyOf(half.key, floor, bay).Child("branch");
    const double x = kRadiatorX + half.radiatorX;
    const Part elbow =
        line.Elbow(key.Child("elbow"), wing.InBay(floor, bay, x, kRadiatorY, half.height), kSouth, kDown, pipe);
    line.Segment(key.Child("run"), main, elbow.ports[0]);
    const Port& end = radiator.ports[half.radiatorPort];
    if (!half.isSupply) {
        DrawRun(wing, line, key.Child("drop"), elbow.ports[1], end, kEast,
                wing.PlantAt({Plant::NoDiameter}, floor, bay));
        return;
    }
    const Part valve = line.InLine(key.Child("valve"), kThermostat,
                                   wing.InBay(floor, bay, x, kRadiatorY, kRadiatorTop + 150.0), kDown, pipe);
    line.Segment(key.Child("drop"), elbow.ports[1], valve.ports[0]);
    line.Segment(key.Child("tail"), valve.ports[1], end);
}

void DrawFloor(Wing& wing, Line& line, const Half& half, int floor, const Port& riser,
               const std::vector<Part>& radiators) {
    const Section main = SteelPipe(40);
    const Section branch = SteelPipe(20);
    const Key key = wing.KeyOf(half.key, floor);
    const Part valve =
        line.InLine(key.Child("valve"), kGateValve, wing.At(floor, 1500.0, half.y, half.height), kEast, main);
    line.Segment(key.Child("inlet"), riser, valve.ports[0]);
    Port at = valve.ports[1];
    for (int bay = 0; bay < wing.Bays(); ++bay) {
        const Key own = wing.KeyOf(half.key, floor, bay).Child("main");
        const Vector node = wing.InBay(floor, bay, kRadiatorX + half.radiatorX, half.y, half.height);
        const bool last = bay + 1 == wing.Bays();
        const Part fitting = last ? line.Elbow(own.Child("node"), node, kWest, kNorth, main)
                                  : line.Tee(own.Child("node"), node, kWest, kEast, kNorth, main, branch);
        const bool plants = bay == 0 && half.isSupply;
        DrawRun(wing, line, own, at, fitting.ports[0], kSouth,
                plants ? wing.PlantAt({Plant::HeatingRing}, floor, bay) : std::nullopt);
        const Port outlet =
            last ? line.Reducer(own.Child("reducer"), fitting.ports[1], branch).ports[1] : fitting.ports[2];
        DrawBranch(wing, line, half, floor, bay, outlet, radiators[static_cast<std::size_t>(bay)]);
        at = fitting.ports[1];
    }
}

void DrawTree(Wing& wing, const Line& ground, const Half& half, const Port& foot,
              const std::vector<std::vector<Part>>& radiators) {
    const Section pipe = SteelPipe(65);
    const Section main = SteelPipe(40);
    Port below = foot;
    for (int floor = 0; floor < wing.Floors(); ++floor) {
        Line line = ground.On(static_cast<std::size_t>(floor));
        Line from = ground.On(static_cast<std::size_t>(std::max(floor - 1, 0)));
        const Key key = wing.KeyOf(half.key, floor).Child("riser");
        const Vector node = wing.At(floor, 500.0, half.y, half.height);
        const bool last = floor + 1 == wing.Floors();
        const Part fitting = last ? line.Elbow(key.Child("node"), node, kDown, kEast, pipe)
                                  : line.Tee(key.Child("node"), node, kDown, kUp, kEast, pipe, main);
        from.Segment(key, below, fitting.ports[0]);
        DrawFloor(wing, line, half, floor,
                  last ? line.Reducer(key.Child("reducer"), fitting.ports[1], main).ports[1] : fitting.ports[2],
                  radiators[static_cast<std::size_t>(floor)]);
        below = fitting.ports[1];
    }
}

// The heat exchanger that feeds both halves; it stands in both systems.
Part DrawExchanger(Wing& wing, Line& supply, std::size_t returning) {
    const Section pipe = SteelPipe(65);
    const Part exchanger = supply.Equipment(wing.KeyOf("heat exchanger"),
                                            {"IFCHEATEXCHANGER",
                                             "PLATE",
                                             "板式换热器 Plate heat exchanger",
                                             {1000.0, 1200.0, 1500.0},
                                             {{{500.0, -250.0, 450.0}, kEast, pipe, Flow::Source, ""},
                                              {{500.0, 250.0, -350.0}, kEast, pipe, Flow::Sink, ""}}},
                                            wing.At(0, -6000.0, 10750.0, 750.0));
    wing.BuildingModel().Assign(exchanger, returning);
    return exchanger;
}

// The return's way into the exchanger. Returns: the port that the return riser stands on.
Port DrawReturnFoot(Wing& wing, Line& line, const Port& source) {
    const Key key = wing.KeyOf("heating return foot");
    const Part flange = line.Flange(key.Child("flange"), source);
    const Part valve = line.InLine(key.Child("valve"), kGateValve, source.point + kEast * 950.0, kEast, source.section);
    const Part foot = line.Elbow(key.Child("foot"), wing.At(0, 500.0, kReturn.y, 400.0), kWest, kUp, source.section);
    line.Segment(key.Child("pipe", 1), flange.ports[1], valve.ports[0]);
    line.Segment(key.Child("pipe", 2), valve.ports[1], foot.ports[0]);
    return foot.ports[1];
}

}  // namespace

void DrawHeating(Wing& wing) {
    const std::size_t supplySystem = wing.AddSystem("采暖供水 Heating supply", "HEATING");
    const std::size_t returnSystem = wing.AddSystem("采暖回水 Heating return", "HEATING");
    Line supply(wing.BuildingModel(),
                {supplySystem, "PIPE", "HEATING", "采暖供水管 Heating supply pipe", "采暖", Flow::Sink, "SOLDERED"}, 0);
    Line returning(
        wing.BuildingModel(),
        {returnSystem, "PIPE", "HEATING", "采暖回水管 Heating return pipe", "采暖", Flow::Source, "SOLDERED"}, 0);
    const Part exchanger = DrawExchanger(wing, supply, returnSystem);
    std::vector<std::vector<Part>> radiators;
    for (int floor = 0; floor < wing.Floors(); ++floor) {
        Line line = supply.On(static_cast<std::size_t>(floor));
        std::vector<Part>& here = radiators.emplace_back();
        for (int bay = 0; bay < wing.Bays(); ++bay) {
            here.push_back(line.Equipment(wing.KeyOf("radiator", floor, bay),
                                          {"IFCSPACEHEATER",
                                           "RADIATOR",
                                           "散热器 Radiator",
                                           {1000.0, 100.0, 600.0},
                                           {{{-400.0, 0.0, 300.0}, kUp, SteelPipe(20), Flow::Sink, ""},
                                            {{400.0, 0.0, 300.0}, kUp, SteelPipe(20), Flow::Source, ""}}},
                                          wing.InBay(floor, bay, kRadiatorX, kRadiatorY, kRadiatorTop - 300.0)));
            wing.BuildingModel().Assign(here.back(), returnSystem);
        }
    }
    Part suction;
    const Port foot = DrawPumpSet(
        wing, supply,
        {"heating pump", "热水循环泵 Circulating pump", exchanger.ports[0], true, wing.At(0, 500.0, kSupply.y, 1200.0)},
        suction);
    DrawTree(wing, supply, kSupply, foot, radiators);
    DrawTree(wing, returning, kReturn, DrawReturnFoot(wing, returning, exchanger.ports[1]), radiators);
}

}  // namespace norvex::samples
