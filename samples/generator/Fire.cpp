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

// The ring's height above the lowest floor and its sides in plan, millimetres.
constexpr double kRingHeight = 3100.0;
constexpr double kRingWest = 1500.0;
constexpr double kRingNorth = -2000.0;
constexpr double kRingSouth = -6000.0;
constexpr double kHydrantHeight = 1100.0;
// Sprinklers.
constexpr double kSprinklerY = -7000.0;
constexpr double kSprinklerHeight = 3000.0;
constexpr double kSprinklerX = 2000.0;  // in the bay

const Device kButterflyValve{"IFCVALVE", "ISOLATING", "蝶阀 Butterfly valve", 120.0};
const Device kAlarmValve{"IFCVALVE", "CHECK", "湿式报警阀 Alarm valve", 200.0};

Line::Box HydrantBox(const Vector& port, const Vector& direction, const Section& section) {
    return {"IFCFIRESUPPRESSIONTERMINAL",
            "FIREHYDRANT",
            "消火栓 Fire hydrant",
            {650.0, 240.0, 800.0},
            {{port, direction, section, Flow::Sink, ""}}};
}

// The ring while it is drawn: what stands in it, in the order of a walk around.
struct RingWalk {
    Wing& wing;
    Line& line;
    Key key;
    std::vector<Part> fittings;
    std::vector<std::string> pipes;

    // Joins each fitting's second port to the next one's first.
    void Close() {
        for (std::size_t index = 0; index < fittings.size(); ++index) {
            const Part& next = fittings[(index + 1) % fittings.size()];
            pipes.push_back(line.Segment(key.Child("pipe", index), fittings[index].ports[1], next.ports[0]).globalId);
        }
    }
};

struct Riser {
    Port port;
    Vector foot;  // of the riser's axis, on the lowest floor
    Vector toHydrants;
    std::string_view key;
};

// The ring main under the ceiling of the lowest floor. Returns: the ports that the risers stand on.
std::vector<Riser> DrawRing(Wing& wing, Line& line, const Port& inlet) {
    const Section pipe = SteelPipe(100);
    const double east = kFirstBay + kBayWidth * wing.Bays();
    const double middle = (kRingWest + east) * 0.5;
    RingWalk ring{wing, line, wing.KeyOf("fire ring"), {}, {}};
    const auto at = [&](double x, double y) { return wing.At(0, x, y, kRingHeight); };
    const auto tee = [&](std::string_view name, const Vector& centre, const Vector& back, const Vector& ahead,
                         const Vector& branch, const Section& section) {
        ring.fittings.push_back(line.Tee(ring.key.Child(name), centre, back, ahead, branch, pipe, section));
    };
    const auto corner = [&](std::string_view name, const Vector& centre, const Vector& back, const Vector& ahead) {
        ring.fittings.push_back(line.Elbow(ring.key.Child(name), centre, back, ahead, pipe));
    };
    const auto valve = [&](std::string_view name, const Vector& centre, const Vector& ahead) {
        ring.fittings.push_back(line.InLine(ring.key.Child(name), kButterflyValve, centre, ahead, pipe));
    };
    std::vector<Riser> risers;
    tee("inlet", at(kRingWest, -4000.0), kSouth, kNorth, kWest, pipe);
    line.Segment(ring.key.Child("inlet pipe"), inlet, ring.fittings.back().ports[2]);
    corner("north-west", at(kRingWest, kRingNorth), kSouth, kEast);
    if (wing.Floors() > 1) {
        tee("riser 1", at(2500.0, kRingNorth), kWest, kEast, kUp, pipe);
        risers.push_back(
            {ring.fittings.back().ports[2], wing.At(0, 2500.0, kRingNorth, 0.0), kSouth, "hydrant riser 1"});
    }
    tee("hydrant", at(3500.0, kRingNorth), kWest, kEast, kDown, SteelPipe(65));
    const Port drop = ring.fittings.back().ports[2];
    valve("valve 1", at(middle, kRingNorth), kEast);
    corner("north-east", at(east, kRingNorth), kWest, kSouth);
    corner("south-east", at(east, kRingSouth), kNorth, kWest);
    if (wing.Floors() > 1) {
        tee("riser 2", at(east - 1000.0, kRingSouth), kEast, kWest, kUp, pipe);
        risers.push_back(
            {ring.fittings.back().ports[2], wing.At(0, east - 1000.0, kRingSouth, 0.0), kNorth, "hydrant riser 2"});
    }
    valve("valve 2", at(middle, kRingSouth), kWest);
    corner("south-west", at(kRingWest, kRingSouth), kEast, kNorth);
    ring.Close();

    const Part hydrant =
        line.Equipment(ring.key.Child("hydrant box"), HydrantBox({0.0, 0.0, 400.0}, kUp, SteelPipe(65)),
                       wing.At(0, 3500.0, kRingNorth, kHydrantHeight));
    line.Segment(ring.key.Child("hydrant pipe"), drop, hydrant.ports[0]);
    wing.Expect("fire-ring", Verdict::Finding, "pipe-loop", line.Storey(), "消防", "ERR_REMIND", ring.pipes,
                "the ring main of the hydrants, which is legal and worth a reminder");
    return risers;
}

void DrawHydrantRiser(Wing& wing, const Line& ground, const Riser& riser) {
    const Section pipe = SteelPipe(100);
    const Section branch = SteelPipe(65);
    Port below = riser.port;
    for (int floor = 1; floor < wing.Floors(); ++floor) {
        const auto storey = static_cast<std::size_t>(floor);
        Line line = ground.On(storey);
        Line from = ground.On(storey - 1);
        const Key key = wing.KeyOf(riser.key, floor);
        const Vector node = riser.foot + Vector{0.0, 0.0, kStoreyHeight * floor + kHydrantHeight};
        const bool last = floor + 1 == wing.Floors();
        const Part fitting = last ? line.Elbow(key.Child("node"), node, kDown, riser.toHydrants, pipe)
                                  : line.Tee(key.Child("node"), node, kDown, kUp, riser.toHydrants, pipe, branch);
        from.Segment(key, below, fitting.ports[0]);
        const Port outlet =
            last ? line.Reducer(key.Child("reducer"), fitting.ports[1], branch).ports[1] : fitting.ports[2];
        const Part hydrant =
            line.Equipment(key.Child("hydrant"), HydrantBox(riser.toHydrants * -120.0, -riser.toHydrants, branch),
                           node + riser.toHydrants * 920.0);
        line.Segment(key.Child("branch"), outlet, hydrant.ports[0]);
        below = fitting.ports[1];
    }
}

void DrawHydrants(Wing& wing) {
    const std::size_t system = wing.AddSystem("消火栓系统 Hydrants", "FIREPROTECTION");
    const Section pipe = SteelPipe(100);
    LineStyle style{system, "PIPE", "FIREPROTECTION", "消火栓管 Hydrant pipe", "消火栓", Flow::Sink, "GROOVED"};
    Line line(wing.BuildingModel(), style, 0);
    const Part tank = line.Equipment(wing.KeyOf("fire tank"),
                                     {"IFCTANK",
                                      "STORAGE",
                                      "消防水箱 Fire water tank",
                                      {1500.0, 2000.0, 1800.0},
                                      {{{750.0, 0.0, -600.0}, kEast, pipe, Flow::Source, ""}}},
                                     wing.At(0, -6000.0, -4000.0, 900.0));
    Part suction;
    const Port foot = DrawPumpSet(
        wing, line, {"fire pump", "消防水泵 Fire pump", tank.ports[0], true, wing.At(0, -500.0, -4000.0, 300.0)},
        suction);
    const Part bend =
        line.Elbow(wing.KeyOf("fire riser bend"), wing.At(0, -500.0, -4000.0, kRingHeight), kDown, kEast, pipe);
    line.Segment(wing.KeyOf("fire riser pipe"), foot, bend.ports[0]);
    style.first = Flow::Both;
    Line ring = line.With(style);
    for (const Riser& riser : DrawRing(wing, ring, bend.ports[1])) {
        DrawHydrantRiser(wing, line, riser);
    }
}

// The two sprinklers of a bay, from the main's port.
void DrawSprinklers(Wing& wing, Line& line, int floor, int bay, const Port& main) {
    const Section pipe = SteelPipe(32);
    const Section drop = SteelPipe(25);
    const Key key = wing.KeyOf("sprinkler branch", floor, bay);
    const auto node = [&](double y) { return wing.InBay(floor, bay, kSprinklerX, y, kSprinklerHeight); };
    const auto sprinkler = [&](int number, double y) {
        return line.Equipment(key.Child("sprinkler", static_cast<std::uint64_t>(number)),
                              {"IFCFIRESUPPRESSIONTERMINAL",
                               "SPRINKLER",
                               "下垂型喷头 Pendent sprinkler",
                               {40.0, 40.0, 60.0},
                               {{{0.0, 0.0, 30.0}, kUp, drop, Flow::Sink, ""}}},
                              node(y) + Vector{0.0, 0.0, -330.0});
    };
    const Part tee = line.Tee(key.Child("tee"), node(-8000.0), kNorth, kSouth, kDown, pipe, drop);
    const Part elbow = line.Elbow(key.Child("elbow"), node(-9500.0), kNorth, kDown, pipe);
    const Part reducer = line.Reducer(key.Child("reducer"), elbow.ports[1], drop);
    line.Segment(key.Child("pipe", 1), main, tee.ports[0]);
    line.Segment(key.Child("pipe", 2), tee.ports[1], elbow.ports[0]);
    line.Segment(key.Child("drop", 1), tee.ports[2], sprinkler(1, -8000.0).ports[0]);
    line.Segment(key.Child("drop", 2), reducer.ports[1], sprinkler(2, -9500.0).ports[0]);
}

void DrawSprinklerFloor(Wing& wing, Line& line, int floor, const Port& riser) {
    const Section main = SteelPipe(65);
    const Section branch = SteelPipe(32);
    const Key key = wing.KeyOf("sprinkler main", floor);
    const Part valve = line.InLine(key.Child("alarm valve"), kAlarmValve,
                                   wing.At(floor, 1500.0, kSprinklerY, kSprinklerHeight), kEast, main);
    line.Segment(key.Child("inlet"), riser, valve.ports[0]);
    Port at = valve.ports[1];
    for (int bay = 0; bay < wing.Bays(); ++bay) {
        const Key own = wing.KeyOf("sprinkler main", floor, bay).Child("bay");
        const Vector node = wing.InBay(floor, bay, kSprinklerX, kSprinklerY, kSprinklerHeight);
        const bool last = bay + 1 == wing.Bays();
        const Part fitting = last ? line.Elbow(own.Child("node"), node, kWest, kSouth, main)
                                  : line.Tee(own.Child("node"), node, kWest, kEast, kSouth, main, branch);
        DrawRun(wing, line, own, at, fitting.ports[0], kSouth,
                bay == 0 ? wing.PlantAt({Plant::WrongLink}, floor, bay) : std::nullopt);
        DrawSprinklers(wing, line, floor, bay,
                       last ? line.Reducer(own.Child("reducer"), fitting.ports[1], branch).ports[1] : fitting.ports[2]);
        at = fitting.ports[1];
    }
}

void DrawSprinklerSystem(Wing& wing) {
    const std::size_t system = wing.AddSystem("喷淋系统 Sprinklers", "FIREPROTECTION");
    const Section pipe = SteelPipe(100);
    const Section main = SteelPipe(65);
    const Line ground(wing.BuildingModel(),
                      {system, "PIPE", "FIREPROTECTION", "喷淋管 Sprinkler pipe", "喷淋", Flow::Sink, "GROOVED"}, 0);
    Line line = ground;
    const Part inlet = line.Equipment(wing.KeyOf("breeching inlet"),
                                      {"IFCFIRESUPPRESSIONTERMINAL",
                                       "BREECHINGINLET",
                                       "水泵接合器 Breeching inlet",
                                       {400.0, 400.0, 400.0},
                                       {{{200.0, 0.0, 0.0}, kEast, pipe, Flow::Source, ""}}},
                                      wing.At(0, -2000.0, kSprinklerY, 600.0));
    const Part foot = line.Elbow(wing.KeyOf("sprinkler foot"), wing.At(0, 500.0, kSprinklerY, 600.0), kWest, kUp, pipe);
    line.Segment(wing.KeyOf("sprinkler inlet"), inlet.ports[0], foot.ports[0]);
    Port below = foot.ports[1];
    for (int floor = 0; floor < wing.Floors(); ++floor) {
        Line here = ground.On(static_cast<std::size_t>(floor));
        Line from = ground.On(static_cast<std::size_t>(std::max(floor - 1, 0)));
        const Key key = wing.KeyOf("sprinkler riser", floor);
        const Vector node = wing.At(floor, 500.0, kSprinklerY, kSprinklerHeight);
        const bool last = floor + 1 == wing.Floors();
        const Part fitting = last ? here.Elbow(key.Child("node"), node, kDown, kEast, pipe)
                                  : here.Tee(key.Child("node"), node, kDown, kUp, kEast, pipe, main);
        from.Segment(key, below, fitting.ports[0]);
        DrawSprinklerFloor(
            wing, here, floor,
            last ? here.Reducer(key.Child("reducer"), fitting.ports[1], main).ports[1] : fitting.ports[2]);
        below = fitting.ports[1];
    }
}

}  // namespace

void DrawFire(Wing& wing) {
    DrawHydrants(wing);
    DrawSprinklerSystem(wing);
}

}  // namespace norvex::samples
