// SPDX-License-Identifier: Apache-2.0
#include "samples/generator/Wing.h"

namespace norvex::samples {
namespace {

constexpr Vector kEast{1.0, 0.0, 0.0};
constexpr Vector kWest{-1.0, 0.0, 0.0};
constexpr Vector kSouth{0.0, -1.0, 0.0};

constexpr double kTrayY = -14000.0;
constexpr double kTrayHeight = 3300.0;
constexpr double kTrayX = 4000.0;  // in the bay: where its branch leaves
constexpr double kLightY = -4500.0;

// The port of a tray's end that nothing meets.
Port OpenEnd(const Vector& point, const Section& section, Flow flow) {
    Port port;
    port.point = point;
    port.section = section;
    port.flow = flow;
    return port;
}

void DrawTrays(Wing& wing, Line& line, int floor) {
    const Section main = Rectangle(300.0, 100.0);
    const Section branch = Rectangle(150.0, 100.0);
    Port at = OpenEnd(wing.At(floor, 0.0, kTrayY, kTrayHeight), main, Flow::Source);
    bool first = true;
    for (int bay = 0; bay < wing.Bays(); ++bay) {
        const Key key = wing.KeyOf("tray", floor, bay);
        const Vector node = wing.InBay(floor, bay, kTrayX, kTrayY, kTrayHeight);
        const bool last = bay + 1 == wing.Bays();
        const Part fitting = last ? line.Elbow(key.Child("node"), node, kWest, kSouth, main)
                                  : line.Tee(key.Child("node"), node, kWest, kEast, kSouth, main, branch);
        Part tray = line.UnstatedSegment(key, at, fitting.ports[0]);
        if (!first) {
            line.BuildingModel().Connect(at, tray.ports[0]);
        }
        line.BuildingModel().Connect(tray.ports[1], fitting.ports[0]);
        const Port outlet =
            last ? line.Reducer(key.Child("reducer"), fitting.ports[1], branch).ports[1] : fitting.ports[2];
        const Vector end = wing.InBay(floor, bay, kTrayX, kTrayY - 3000.0, kTrayHeight);
        line.LooseSegment(key.Child("branch"), outlet, OpenEnd(end, branch, Flow::Sink));
        at = fitting.ports[1];
        first = false;
    }
}

void DrawLights(Wing& wing, Line& line, int floor, int bay) {
    const Line::Box box{"IFCLIGHTFIXTURE", "DIRECTIONSOURCE", "LED面板灯 LED panel", {1200.0, 300.0, 80.0}, {}};
    const Key first = wing.KeyOf("light 1", floor, bay);
    const bool repeated = wing.Has(Plant::RepeatedGlobalId, floor, bay);
    const Part light = line.Equipment(first, box, wing.InBay(floor, bay, 2500.0, kLightY, 3000.0));
    line.Equipment(repeated ? first : wing.KeyOf("light 2", floor, bay), box,
                   wing.InBay(floor, bay, 5500.0, kLightY, 3000.0));
    if (repeated) {
        wing.Expect("repeated-global-id", Verdict::Notice, "repeated-global-id", line.Storey(), "电气", "",
                    {light.globalId, light.globalId}, "two lights share the GlobalId");
    }
}

}  // namespace

void DrawElectric(Wing& wing) {
    const std::size_t power = wing.AddSystem("动力系统 Power", "ELECTRICAL");
    const std::size_t lighting = wing.AddSystem("照明系统 Lighting", "LIGHTING");
    const std::size_t alarm = wing.AddSystem("火灾报警 Fire alarm", "SIGNAL");
    const std::size_t data = wing.AddSystem("综合布线 Data", "DATA");
    for (int floor = 0; floor < wing.Floors(); ++floor) {
        const auto on = [&](std::size_t system, std::string_view family, std::string_view type) {
            return Line(wing.BuildingModel(),
                        {system, std::string(family), std::string(type), "电缆桥架 Cable tray", "桥架", Flow::Sink, ""},
                        static_cast<std::size_t>(floor));
        };
        Line trays = on(power, "CABLECARRIER", "ELECTRICAL");
        Line lights = on(lighting, "CABLE", "LIGHTING");
        Line alarms = on(alarm, "CABLE", "SIGNAL");
        Line outlets = on(data, "CABLE", "DATA");
        const Part board = trays.Equipment(wing.KeyOf("board", floor),
                                           {"IFCELECTRICDISTRIBUTIONBOARD",
                                            "DISTRIBUTIONBOARD",
                                            "楼层配电箱 Distribution board",
                                            {600.0, 200.0, 800.0},
                                            {}},
                                           wing.At(floor, 300.0, kTrayY - 400.0, 1600.0));
        wing.BuildingModel().Assign(board, lighting);
        DrawTrays(wing, trays, floor);
        for (int bay = 0; bay < wing.Bays(); ++bay) {
            DrawLights(wing, lights, floor, bay);
            trays.Equipment(wing.KeyOf("outlet", floor, bay),
                            {"IFCOUTLET", "POWEROUTLET", "五孔插座 Power outlet", {86.0, 40.0, 86.0}, {}},
                            wing.InBay(floor, bay, 6000.0, -15500.0, 300.0));
            outlets.Equipment(wing.KeyOf("data outlet", floor, bay),
                              {"IFCOUTLET", "DATAOUTLET", "网络插座 Data outlet", {86.0, 40.0, 86.0}, {}},
                              wing.InBay(floor, bay, 6500.0, -15500.0, 300.0));
            alarms.Equipment(wing.KeyOf("smoke detector", floor, bay),
                             {"IFCSENSOR", "SMOKESENSOR", "感烟探测器 Smoke detector", {100.0, 100.0, 60.0}, {}},
                             wing.InBay(floor, bay, 4000.0, kLightY, 3550.0));
        }
    }
}

}  // namespace norvex::samples
