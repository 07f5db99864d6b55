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

// Heights above the floor and places in plan, millimetres.
constexpr double kMainHeight = 2800.0;
constexpr double kMainY = 500.0;
constexpr double kBasinY = 3000.0;
constexpr double kClosetY = 4500.0;
constexpr double kBranchX = 1000.0;           // in the bay: the cold water branch
constexpr double kWasteX = kBranchX + 400.0;  // in the bay: waste outlets and drainage
constexpr double kStackY = 6500.0;
constexpr double kStackHeight = -400.0;  // of the stack's tee: below the slab
// Standard slope of plastic drainage branches, and of the buried outlet.
constexpr double kBranchSlope = 0.026;
constexpr double kOutletSlope = 0.012;

const Device kGateValve{"IFCVALVE", "ISOLATING", "闸阀 Gate valve", 180.0};
const Device kStopValve{"IFCVALVE", "ISOLATING", "截止阀 Stop valve", 90.0};
const Device kWaterMeter{"IFCFLOWMETER", "WATERMETER", "水表 Water meter", 200.0};

// Tank, pump and the way to the foot of the riser. Returns: the port that the riser stands on.
Port DrawPlantRoom(Wing& wing, Line& line) {
    const Section pipe = SteelPipe(65);
    const Part tank = line.Equipment(wing.KeyOf("water tank"),
                                     {"IFCTANK",
                                      "STORAGE",
                                      "生活水箱 Water tank",
                                      {1500.0, 1500.0, 1500.0},
                                      {{{750.0, 0.0, -450.0}, kEast, pipe, Flow::Source, ""}}},
                                     wing.At(0, -6000.0, kMainY, 750.0));
    const bool bare = wing.Has(Plant::NoFlange, 0, 0);
    Part suction;
    const Port foot = DrawPumpSet(
        wing, line, {"water pump", "生活水泵 Water pump", tank.ports[0], !bare, wing.At(0, 500.0, kMainY, 300.0)},
        suction);
    if (bare) {
        wing.Expect("no-flange", Verdict::Other, "layout-flange", line.Storey(), "给排水", "",
                    {tank.globalId, suction.globalId}, "a pipe meets the tank without a flange");
    }
    return foot;
}

// The riser's node on a floor. Returns: the port of the storey main; `below` becomes the port of the next riser pipe.
Port DrawRiserNode(Wing& wing, Line& line, int floor, Port& below) {
    const Section riser = SteelPipe(65);
    const Section main = SteelPipe(50);
    const Vector node = wing.At(floor, 500.0, kMainY, kMainHeight);
    const Key key = wing.KeyOf("water riser", floor);
    // A riser pipe belongs to the storey that it rises from.
    Line from = line.On(static_cast<std::size_t>(std::max(floor - 1, 0)));
    if (floor + 1 < wing.Floors()) {
        const Part tee = line.Tee(key.Child("node"), node, kDown, kUp, kEast, riser, main);
        from.Segment(key, below, tee.ports[0]);
        below = tee.ports[1];
        return tee.ports[2];
    }
    const Part elbow = line.Elbow(key.Child("node"), node, kDown, kEast, riser);
    from.Segment(key, below, elbow.ports[0]);
    return line.Reducer(key.Child("reducer"), elbow.ports[1], main).ports[1];
}

// The lower end of the second riser that closes a loop over two storeys, while its upper end is not drawn yet.
struct SecondRiser {
    std::optional<Port> lower;
    int bay = 0;
};

// Puts the tee of the second riser into the main, close before a bay. Returns: the port at which the main goes on.
Port DrawSecondRiser(Wing& wing, Line& line, int floor, int bay, const Port& main, SecondRiser& second) {
    const bool lower = wing.Has(Plant::StoreyLoop, floor, bay);
    const bool upper = second.lower.has_value() && second.bay == bay;
    if (!lower && !upper) {
        return main;
    }
    const Section section = SteelPipe(50);
    const Vector centre = wing.InBay(floor, bay, kBranchX - 500.0, kMainY, kMainHeight);
    const Key key = wing.KeyOf("second riser", floor);
    const Part tee = line.Tee(key.Child("tee"), centre, kWest, kEast, lower ? kUp : kDown, section, section, upper);
    line.Segment(key.Child("main"), main, tee.ports[0]);
    if (lower) {
        second = {tee.ports[2], bay};
        return tee.ports[1];
    }
    Line below = line.On(line.Storey() - 1);
    const Part pipe = below.Segment(key, *second.lower, tee.ports[2]);
    second.lower.reset();
    wing.Expect("storey-loop", Verdict::Silent, "pipe-loop", below.Storey(), "给排水", "", {pipe.globalId},
                "the loop spans two storeys; each floor is checked for itself and holds none");
    return tee.ports[1];
}

Fixtures DrawFixtures(Wing& wing, Line& line, int floor, int bay, std::size_t drainage) {
    const Section cold = SteelPipe(20);
    const auto box = [&](std::string_view predefined, std::string_view name, Vector size, const Section& waste) {
        const double half = size.z * 0.5;
        return Line::Box{"IFCSANITARYTERMINAL",
                         std::string(predefined),
                         std::string(name),
                         size,
                         {{{-200.0, 0.0, half}, kUp, cold, Flow::Sink, ""},
                          {{200.0, 0.0, -half}, kDown, waste, Flow::Source, "DRAINAGE"}}};
    };
    Fixtures fixtures;
    fixtures.basin = line.Equipment(wing.KeyOf("basin", floor, bay),
                                    box("WASHHANDBASIN", "洗脸盆 Washbasin", {600.0, 450.0, 200.0}, PlasticPipe(50)),
                                    wing.InBay(floor, bay, kBranchX + 200.0, kBasinY, 700.0));
    fixtures.closet = line.Equipment(wing.KeyOf("closet", floor, bay),
                                     box("TOILETPAN", "坐便器 Water closet", {600.0, 600.0, 400.0}, PlasticPipe(100)),
                                     wing.InBay(floor, bay, kBranchX + 200.0, kClosetY, 200.0));
    line.BuildingModel().Assign(fixtures.basin, drainage);
    line.BuildingModel().Assign(fixtures.closet, drainage);
    return fixtures;
}

// From the main's port in the bay to the two fixtures.
void DrawColdBranch(Wing& wing, Line& line, int floor, int bay, const Port& main, const Fixtures& fixtures) {
    const Section pipe = SteelPipe(25);
    const Section drop = SteelPipe(20);
    const Key key = wing.KeyOf("cold branch", floor, bay);
    const bool wrongValve = wing.Has(Plant::ValveDiameter, floor, bay);
    const Part valve =
        line.InLine(key.Child("valve"), kStopValve, wing.InBay(floor, bay, kBranchX, 1500.0, kMainHeight), kNorth,
                    wrongValve ? SteelPipe(32) : pipe);
    const Part feed = line.Segment(key.Child("feed"), main, valve.ports[0]);
    const Part tee = line.Tee(key.Child("tee"), wing.InBay(floor, bay, kBranchX, kBasinY, kMainHeight), kSouth, kNorth,
                              kDown, pipe, drop);
    Port outlet = valve.ports[1];
    outlet.section = pipe;
    const Part run = DrawRun(wing, line, key.Child("run"), outlet, tee.ports[0], kEast,
                             wing.PlantAt({Plant::WaterLoop, Plant::PipePair}, floor, bay));
    if (wrongValve) {
        wing.Expect("valve-diameter", Verdict::Other, "pipe-diameter", line.Storey(), "给排水", "",
                    {valve.globalId, feed.globalId, run.globalId}, "a DN32 valve between DN25 pipes");
    }
    line.Segment(key.Child("basin drop"), tee.ports[2], fixtures.basin.ports[0]);
    const Part elbow =
        line.Elbow(key.Child("elbow"), wing.InBay(floor, bay, kBranchX, kClosetY, kMainHeight), kSouth, kDown, pipe);
    DrawRun(wing, line, key.Child("run 2"), tee.ports[1], elbow.ports[0], kEast,
            wing.PlantAt({Plant::DoubleDrawn}, floor, bay));
    const Part reducer = line.Reducer(key.Child("reducer"), elbow.ports[1], drop);
    DrawRun(wing, line, key.Child("closet drop"), reducer.ports[1], fixtures.closet.ports[0], kEast,
            wing.PlantAt({Plant::NoStorey}, floor, bay));
}

// Valve, meter and the main of a storey, with a branch in each bay.
void DrawStoreyMain(Wing& wing, Line& line, int floor, const Port& riser, SecondRiser& second,
                    const std::vector<Fixtures>& fixtures) {
    const Section main = SteelPipe(50);
    const Section branch = SteelPipe(25);
    const Key key = wing.KeyOf("water main", floor);
    const Part valve =
        line.InLine(key.Child("valve"), kGateValve, wing.At(floor, 1500.0, kMainY, kMainHeight), kEast, main);
    const Part meter =
        line.InLine(key.Child("meter"), kWaterMeter, wing.At(floor, 2300.0, kMainY, kMainHeight), kEast, main);
    line.Segment(key.Child("inlet"), riser, valve.ports[0]);
    line.Segment(key.Child("between"), valve.ports[1], meter.ports[0]);
    Port at = meter.ports[1];
    for (int bay = 0; bay < wing.Bays(); ++bay) {
        const Key own = wing.KeyOf("water main", floor, bay).Child("bay");
        const Vector node = wing.InBay(floor, bay, kBranchX, kMainY, kMainHeight);
        const bool last = bay + 1 == wing.Bays();
        const Part fitting = last ? line.Elbow(own.Child("node"), node, kWest, kNorth, main)
                                  : line.Tee(own.Child("node"), node, kWest, kEast, kNorth, main, branch);
        at = DrawSecondRiser(wing, line, floor, bay, at, second);
        DrawRun(wing, line, own, at, fitting.ports[0], kSouth,
                bay == 0 ? wing.PlantAt({Plant::Gap}, floor, bay) : std::nullopt);
        Port outlet = last ? line.Reducer(own.Child("reducer"), fitting.ports[1], branch).ports[1] : fitting.ports[2];
        DrawColdBranch(wing, line, floor, bay, outlet, fixtures[static_cast<std::size_t>(bay)]);
        at = fitting.ports[1];
    }
}

// The sloping branch below the slab, from the stack's tee to the two fixtures.
void DrawDrainBranch(Wing& wing, Line& line, int floor, int bay, const Port& stack, const Fixtures& fixtures) {
    const Section wide = PlasticPipe(100);
    const Section narrow = PlasticPipe(50);
    const Key key = wing.KeyOf("drain branch", floor, bay);
    const Vector rising = Unit({0.0, -1.0, kBranchSlope});
    const auto node = [&](double y) {
        return wing.InBay(floor, bay, kWasteX, y, kStackHeight + (kStackY - y) * kBranchSlope);
    };
    const Part tee = line.Tee(key.Child("tee"), node(kClosetY), -rising, rising, kUp, wide, narrow, wide, false);
    const Part elbow = line.Elbow(key.Child("elbow"), node(kBasinY), -rising, kUp, narrow);
    line.Segment(key.Child("run"), stack, tee.ports[0]);
    line.Segment(key.Child("closet pipe"), tee.ports[2], fixtures.closet.ports[1]);
    DrawRun(wing, line, key.Child("run 2"), tee.ports[1], elbow.ports[0], kEast,
            wing.PlantAt({Plant::DrainageLoop}, floor, bay));
    line.Segment(key.Child("basin pipe"), elbow.ports[1], fixtures.basin.ports[1]);
}

// The stack of a bay through all floors: outlet to the gully outside, branches, vent above the roof.
void DrawStack(Wing& wing, Line& ground, int bay, const std::vector<std::vector<Fixtures>>& fixtures) {
    const Section pipe = PlasticPipe(100);
    const Vector falling = Unit({0.0, 1.0, -kOutletSlope});
    const Key key = wing.KeyOf("drain stack", 0, bay);
    const double outletHeight = -1200.0;
    const double gullyY = 9500.0;
    const Part gully =
        ground.Equipment(key.Child("gully"),
                         {"IFCWASTETERMINAL",
                          "GULLYSUMP",
                          "检查井 Gully",
                          {600.0, 600.0, 800.0},
                          {{{0.0, -300.0, 0.0}, -falling, pipe, Flow::Sink, ""}}},
                         wing.InBay(0, bay, kWasteX, gullyY + 300.0, outletHeight - (gullyY - kStackY) * kOutletSlope));
    const Part foot =
        ground.Elbow(key.Child("foot"), wing.InBay(0, bay, kWasteX, kStackY, outletHeight), falling, kUp, pipe);
    ground.Segment(key.Child("outlet"), foot.ports[0], gully.ports[0]);
    Port below = foot.ports[1];
    const Vector rising = Unit({0.0, -1.0, kBranchSlope});
    for (int floor = 0; floor < wing.Floors(); ++floor) {
        Line line = ground.On(static_cast<std::size_t>(floor));
        Line from = ground.On(static_cast<std::size_t>(std::max(floor - 1, 0)));
        const Key own = wing.KeyOf("drain stack", floor, bay).Child("pipe");
        const Part tee = line.Tee(own.Child("node"), wing.InBay(floor, bay, kWasteX, kStackY, kStackHeight), kDown, kUp,
                                  rising, pipe, pipe);
        from.Segment(own, below, tee.ports[0]);
        DrawDrainBranch(wing, line, floor, bay, tee.ports[2],
                        fixtures[static_cast<std::size_t>(floor)][static_cast<std::size_t>(bay)]);
        below = tee.ports[1];
    }
    // The vent ends in a cap above the roof; the cap hangs on the pipe's own end.
    Line top = ground.On(static_cast<std::size_t>(wing.Floors() - 1));
    Port roof = below;
    roof.point = wing.InBay(wing.Floors(), bay, kWasteX, kStackY, 700.0);
    const Part vent = top.LooseSegment(key.Child("vent"), below, roof);
    top.Cap(key.Child("cap"), vent.ports[1], "通气帽 Vent cap");
}

}  // namespace

void DrawWater(Wing& wing) {
    const std::size_t cold = wing.AddSystem("给水系统 Cold water", "DOMESTICCOLDWATER");
    const std::size_t drainage = wing.AddSystem("排水系统 Drainage", "DRAINAGE");
    Line water(wing.BuildingModel(),
               {cold, "PIPE", "DOMESTICCOLDWATER", "给水管 Water pipe", "给水", Flow::Sink, "COMPRESSION"}, 0);
    Line drain(wing.BuildingModel(),
               {drainage, "PIPE", "DRAINAGE", "排水管 Drain pipe", "排水", Flow::Source, "OUTSIDESLEEVE"}, 0);
    std::vector<std::vector<Fixtures>> fixtures;
    Port riser = DrawPlantRoom(wing, water);
    SecondRiser second;
    for (int floor = 0; floor < wing.Floors(); ++floor) {
        Line line = water.On(static_cast<std::size_t>(floor));
        std::vector<Fixtures>& here = fixtures.emplace_back();
        for (int bay = 0; bay < wing.Bays(); ++bay) {
            here.push_back(DrawFixtures(wing, line, floor, bay, drainage));
        }
        const Port main = DrawRiserNode(wing, line, floor, riser);
        DrawStoreyMain(wing, line, floor, main, second, here);
    }
    for (int bay = 0; bay < wing.Bays(); ++bay) {
        DrawStack(wing, drain, bay, fixtures);
    }
}

}  // namespace norvex::samples
