// SPDX-License-Identifier: Apache-2.0
#include "ModelText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ctime>

namespace norvex::ifc {
namespace {

std::uint32_t IndexOf(const BuildingModel& model, int id) {
    for (std::uint32_t i = 0; i < model.elements.size(); ++i) {
        if (model.elements[i].id == static_cast<std::uint32_t>(id)) {
            return i;
        }
    }
    ADD_FAILURE() << "#" << id << " was not read";
    return 0;
}

const Element& At(const BuildingModel& model, int id) {
    return model.elements[IndexOf(model, id)];
}

// The evidence of the connection between two elements; "none" without one.
std::string Evidence(const BuildingModel& model, int first, int second) {
    for (const Connection& one : model.connections) {
        const std::uint32_t a = IndexOf(model, first);
        const std::uint32_t b = IndexOf(model, second);
        if ((one.first == a && one.second == b) || (one.first == b && one.second == a)) {
            return std::string(ConnectionEvidenceName(one.evidence));
        }
    }
    return "none";
}

TEST(SegmentEnds, ComeFromTwoPortsBeforeTheBody) {
    ModelText text;
    const int pipe = text.Pipe(0, 0, 1000, 0);
    text.Port(pipe, -20, 0);
    text.Port(pipe, 1020, 0);
    const BuildingModel model = text.Read();
    EXPECT_EQ(At(model, pipe).ends, EndEvidence::Ports);
    EXPECT_EQ(At(model, pipe).start, (Point{-20, 0, 0}));
    EXPECT_DOUBLE_EQ(At(model, pipe).length, 1040.0);
}

TEST(SegmentEnds, ComeFromTheExtrusionWithOnePort) {
    ModelText text;
    const int pipe = text.Pipe(0, 0, 1000, 0);
    text.Port(pipe, 1020, 0);
    const BuildingModel model = text.Read();
    EXPECT_EQ(At(model, pipe).ends, EndEvidence::Extrusion);
    EXPECT_NEAR(At(model, pipe).end.x, 1000.0, 1e-9);
    EXPECT_DOUBLE_EQ(At(model, pipe).nominalDiameter, 0.0);
    EXPECT_EQ(At(model, pipe).detailName, "D50");
}

TEST(SegmentEnds, ComeFromTheAxisAndAtLastFromTheBox) {
    ModelText text;
    const int first = text.Add("IFCCARTESIANPOINT((0.,0.,0.))");
    const int second = text.Add("IFCCARTESIANPOINT((0.,700.,0.))");
    const int line = text.Add("IFCPOLYLINE((" + ModelText::Ref(first) + "," + ModelText::Ref(second) + "))");
    const int byAxis = text.Product("IFCDUCTSEGMENT", text.Placement(0, 0, 0), text.Shape("Curve3D", line, "Axis"));
    const int corner = text.Add("IFCCARTESIANPOINT((0.,0.,0.))");
    const int box = text.Add("IFCBOUNDINGBOX(" + ModelText::Ref(corner) + ",100.,200.,900.)");
    const int byBox = text.Product("IFCDUCTSEGMENT", text.Placement(5000, 0, 0), text.Shape("BoundingBox", box, "Box"));
    const int byNothing = text.Add("IFCDUCTSEGMENT('',$,$,$,$,$,$,$,$)");
    const BuildingModel model = text.Read();
    EXPECT_EQ(At(model, byAxis).ends, EndEvidence::Axis);
    EXPECT_EQ(At(model, byAxis).end, (Point{0, 700, 0}));
    EXPECT_EQ(At(model, byBox).ends, EndEvidence::BodyBox);
    EXPECT_EQ(At(model, byBox).start, (Point{5050, 100, 0}));
    EXPECT_EQ(At(model, byBox).end, (Point{5050, 100, 900}));
    EXPECT_EQ(At(model, byNothing).ends, EndEvidence::None);
    EXPECT_EQ(model.counts.segmentsWithoutEnds, 1U);
    EXPECT_EQ(model.counts.withoutStorey, 1U);
}

TEST(Connections, BridgeThreeMillimetresBetweenEndsAndNotFour) {
    for (const double gap : {0.0, 2.0, 2.99, 3.01, 4.0}) {
        ModelText text;
        const int left = text.Pipe(0, 0, 1000, 0);
        const int right = text.Pipe(1000 + gap, 0, 2000, 0);
        const BuildingModel model = text.Read();
        if (gap <= 3.0) {
            EXPECT_EQ(Evidence(model, left, right), "end to end") << gap;
            EXPECT_EQ(At(model, left).end, At(model, right).start) << "ends that meet are equal bit by bit";
            EXPECT_EQ(model.networks.size(), 1U);
        } else {
            EXPECT_EQ(Evidence(model, left, right), "none") << gap;
            EXPECT_EQ(model.counts.openEnds, 4U);
            EXPECT_EQ(model.networks.size(), 2U);
        }
    }
}

TEST(Connections, AreNotLookedForWhenTheCallerSaysSo) {
    ModelText text;
    text.Pipe(0, 0, 1000, 0);
    text.Pipe(1000, 0, 2000, 0);
    ReadOptions options;
    options.inferConnections = false;
    EXPECT_TRUE(text.Read(options).connections.empty());
}

TEST(Connections, PutABendWhereTheAxesOfItsPipesMeet) {
    ModelText text;
    const int along = text.Pipe(0, 0, 960, 0);
    const int across = text.Pipe(1000, 40, 1000, 1000);
    const int bend = text.Block("IFCPIPEFITTING", 985, 15, 0, 60);
    const BuildingModel model = text.Read();
    EXPECT_EQ(Evidence(model, along, bend), "inside body");
    EXPECT_EQ(Evidence(model, across, bend), "inside body");
    EXPECT_EQ(At(model, along).end, At(model, across).start);
    EXPECT_EQ(At(model, along).end, At(model, bend).position);
    EXPECT_NEAR(Distance(At(model, bend).position, {1000, 0, 0}), 0.0, 1e-3);
    EXPECT_DOUBLE_EQ(At(model, along).length, 960.0) << "the measured length is not that of the drawing";
    EXPECT_EQ(model.networks.size(), 1U);
}

TEST(Connections, ReachANodeOnTheAxisWithinFiftyMillimetres) {
    struct Case {
        double ahead;
        double beside;
        bool joined;
    };
    for (const Case& one : {Case{9, 0, true}, Case{40, 0, true}, Case{49.9, 2, true}, Case{51, 0, false},
                            Case{40, 5, false}, Case{-10, 0, false}}) {
        ModelText text;
        const int pipe = text.Pipe(0, 0, 1000, 0);
        // A bend without a body, as some exporters leave it.
        const int bend = text.Product("IFCPIPEFITTING", text.Placement(1000 + one.ahead, one.beside, 0), 9999);
        const BuildingModel model = text.Read();
        EXPECT_EQ(Evidence(model, pipe, bend), one.joined ? "on axis" : "none") << one.ahead << " " << one.beside;
    }
}

TEST(Connections, LeaveAGapThatPortsState) {
    ModelText text;
    const int pipe = text.Pipe(0, 0, 1000, 0);
    text.Port(pipe, 0, 0);
    text.Port(pipe, 1000, 0);
    const int bend = text.Block("IFCPIPEFITTING", 1038.2, 0, 0, 60);
    text.Port(bend, 1008.2, 0);
    const BuildingModel model = text.Read();
    EXPECT_TRUE(model.connections.empty());
    EXPECT_EQ(model.counts.openEnds, 2U);
}

TEST(Connections, DrawFittingsInARowIntoOneJunction) {
    ModelText text;
    const int left = text.Pipe(0, 0, 1000, 0);
    const int flange = text.Block("IFCPIPEFITTING", 1010, 0, 0, 20);
    const int valve = text.Block("IFCVALVE", 1100, 0, 0, 160);
    const int right = text.Pipe(1182, 0, 2000, 0);
    text.Connect(text.Port(left, 1000, 0), text.Port(flange, 1000, 0));
    text.Connect(text.Port(flange, 1020, 0), text.Port(valve, 1022, 0));
    text.Connect(text.Port(valve, 1180, 0), text.Port(right, 1182, 0));
    const BuildingModel model = text.Read();
    EXPECT_EQ(model.junctions.size(), 1U);
    EXPECT_EQ(At(model, left).end, At(model, right).start);
    EXPECT_EQ(At(model, flange).position, At(model, valve).position);
    EXPECT_EQ(At(model, left).end, At(model, valve).position);
    EXPECT_DOUBLE_EQ(model.connections[1].distance, 2.0);
}

TEST(Connections, KeepBendsApartWhenAPipeLiesBetweenTheirPorts) {
    // The bend at 1000 owns a port at the bend before it, where the pipe between them begins.
    ModelText text;
    const int first = text.Block("IFCPIPEFITTING", 0, 0, 0, 30);
    const int pipe = text.Pipe(13, 0, 987, 0);
    const int second = text.Block("IFCPIPEFITTING", 1000, 0, 0, 30);
    text.Connect(text.Port(first, 0, 0), text.Port(second, 0, 0));
    const BuildingModel model = text.Read();
    EXPECT_EQ(Evidence(model, first, second), "stated");
    EXPECT_NE(At(model, first).position, At(model, second).position);
    EXPECT_EQ(At(model, pipe).start, At(model, first).position);
    EXPECT_EQ(At(model, pipe).end, At(model, second).position);
    EXPECT_EQ(model.networks.size(), 1U);
}

TEST(Connections, EndNetworksAtEquipmentPortByPort) {
    ModelText text;
    const int supply = text.Pipe(0, 0, 1000, 0);
    const int back = text.Pipe(0, 200, 1000, 200);
    const int boiler = text.Block("IFCBOILER", 1250, 100, 0, 500);
    text.Connect(text.Port(supply, 1000, 0), text.Port(boiler, 1000, 0));
    text.Connect(text.Port(back, 1000, 200), text.Port(boiler, 1000, 200));
    const BuildingModel model = text.Read();
    EXPECT_EQ(model.networks.size(), 2U);
    EXPECT_EQ(model.junctions.size(), 2U);
    EXPECT_NE(At(model, supply).end, At(model, back).end);
    EXPECT_EQ(At(model, boiler).network, kNoIndex);
    EXPECT_EQ(model.networks[0].bounds, std::vector<std::uint32_t>{IndexOf(model, boiler)});
    EXPECT_EQ(model.networks[1].bounds, std::vector<std::uint32_t>{IndexOf(model, boiler)});
}

TEST(Connections, JoinABranchToTheMiddleOfAPipe) {
    ModelText text;
    const int main = text.Pipe(0, 0, 2000, 0);
    const int branch = text.Pipe(1000, 25, 1000, 900);
    const BuildingModel model = text.Read();
    EXPECT_EQ(Evidence(model, main, branch), "inside body");
    EXPECT_EQ(At(model, main).start, (Point{0, 0, 0}));
    EXPECT_NEAR(At(model, main).end.x, 2000.0, 1e-9);
    EXPECT_EQ(model.networks.size(), 1U);
}

TEST(Connections, AreStatedByNestingToo) {
    ModelText text;
    const int left = text.Pipe(0, 0, 1000, 0);
    const int right = text.Pipe(1000, 0, 1000, 900);
    const int place = text.Placement(1000, 0, 0);
    const std::string port = "IFCDISTRIBUTIONPORT('',$,$,$,$," + ModelText::Ref(place) + ",$,$,$,$)";
    const int first = text.Add(port);
    const int second = text.Add(port);
    text.Add("IFCRELNESTS('',$,$,$," + ModelText::Ref(left) + ",(" + ModelText::Ref(first) + "))");
    text.Add("IFCRELNESTS('',$,$,$," + ModelText::Ref(right) + ",(" + ModelText::Ref(second) + "))");
    text.Connect(first, second);
    const BuildingModel model = text.Read();
    EXPECT_EQ(Evidence(model, left, right), "stated");
    EXPECT_EQ(model.connections[0].firstEnd, ElementEnd::End);
    EXPECT_EQ(model.connections[0].secondEnd, ElementEnd::Start);
}

TEST(Connections, SayWhichStatementsAreOfNoUse) {
    ModelText text;
    const int pipe = text.Pipe(0, 0, 1000, 0);
    const int port = text.Port(pipe, 0, 0);
    text.Connect(port, text.Port(pipe, 1000, 0));
    text.Connect(port, 9999);
    text.Connect(pipe, port);
    const BuildingModel model = text.Read();
    EXPECT_EQ(model.counts.statedConnections, 3U);
    EXPECT_EQ(model.counts.unusableConnections, 3U);
    EXPECT_TRUE(model.connections.empty());
    EXPECT_EQ(std::count_if(model.diagnostics.begin(), model.diagnostics.end(),
                            [](const Diagnostic& one) { return one.code == DiagnosticCode::BadPort && one.line > 0; }),
              3);
}

TEST(Connections, KeepAPipeShorterThanTheirReachFromCollapsing) {
    ModelText text;
    text.Pipe(0, 0, 1000, 0);
    const int nipple = text.Pipe(1000, 0, 1002, 0);
    text.Pipe(1002, 0, 2000, 0);
    const BuildingModel model = text.Read();
    EXPECT_NE(At(model, nipple).start, At(model, nipple).end);
    EXPECT_EQ(model.networks.size(), 1U);
}

TEST(Storeys, AreFoundThroughSpacesAndAssemblies) {
    ModelText text;
    const int space = text.Add("IFCSPACE('',$,'R',$,$,$,$,$,.ELEMENT.,.INTERNAL.,$)");
    text.Add("IFCRELAGGREGATES('',$,$,$,#4,(" + ModelText::Ref(space) + "))");
    const int assembly = text.Add("IFCELEMENTASSEMBLY('',$,$,$,$,$,$,$,$,$)");
    text.Add("IFCRELCONTAINEDINSPATIALSTRUCTURE('',$,$,$,(" + ModelText::Ref(assembly) + ")," + ModelText::Ref(space) +
             ")");
    const int valve = text.Add("IFCVALVE('v',$,$,$,$,$,$,$,$)");
    text.Add("IFCRELAGGREGATES('',$,$,$," + ModelText::Ref(assembly) + ",(" + ModelText::Ref(valve) + "))");
    const int building = text.Add("IFCBUILDING('',$,$,$,$,$,$,$,$,$,$,$)");
    const int outside = text.Add("IFCVALVE('o',$,$,$,$,$,$,$,$)");
    text.Add("IFCRELCONTAINEDINSPATIALSTRUCTURE('',$,$,$,(" + ModelText::Ref(outside) + ")," +
             ModelText::Ref(building) + ")");
    const int first = text.Add("IFCSPACE('',$,$,$,$,$,$,$,$,$,$)");
    const int second = text.Add("IFCSPACE('',$,$,$,$,$,$,$,$,$,$)");
    text.Add("IFCRELAGGREGATES('',$,$,$," + ModelText::Ref(first) + ",(" + ModelText::Ref(second) + "))");
    text.Add("IFCRELAGGREGATES('',$,$,$," + ModelText::Ref(second) + ",(" + ModelText::Ref(first) + "))");
    const int ring = text.Add("IFCVALVE('r',$,$,$,$,$,$,$,$)");
    text.Add("IFCRELCONTAINEDINSPATIALSTRUCTURE('',$,$,$,(" + ModelText::Ref(ring) + ")," + ModelText::Ref(first) +
             ")");
    const int nowhere = text.Add("IFCVALVE('n',$,$,$,$,$,$,$,$)");
    const BuildingModel model = text.Read();
    EXPECT_EQ(At(model, valve).storey, 0U);
    EXPECT_EQ(At(model, outside).noStorey, NoStoreyReason::OutsideStoreys);
    EXPECT_EQ(At(model, ring).storey, kNoIndex);
    EXPECT_EQ(At(model, nowhere).noStorey, NoStoreyReason::NotContained);
    EXPECT_EQ(model.counts.withoutStorey, 3U);
    EXPECT_EQ(model.storeys[0].elements, 1U);
}

TEST(Units, AreConvertedToMillimetres) {
    struct Case {
        std::string_view unit;
        std::string_view name;
        double factor;
    };
    const Case cases[] = {
        {"#3=IFCSIUNIT(*,.LENGTHUNIT.,$,.METRE.);", "METRE", 1000.0},
        {"#3=IFCSIUNIT(*,.LENGTHUNIT.,.MILLI.,.METRE.);", "MILLIMETRE", 1.0},
        {"#3=IFCSIUNIT(*,.LENGTHUNIT.,.CENTI.,.METRE.);", "CENTIMETRE", 10.0},
        {"#3=IFCCONVERSIONBASEDUNIT($,.LENGTHUNIT.,'foot',#7);#7=IFCMEASUREWITHUNIT(IFCRATIOMEASURE(0.3048),#8);"
         "#8=IFCSIUNIT(*,.LENGTHUNIT.,$,.METRE.);",
         "FOOT", 304.8},
        {"#3=IFCCONVERSIONBASEDUNIT($,.LENGTHUNIT.,'inch',#7);#7=IFCMEASUREWITHUNIT(IFCLENGTHMEASURE(25.4),#8);"
         "#8=IFCSIUNIT(*,.LENGTHUNIT.,.MILLI.,.METRE.);",
         "INCH", 25.4},
        {"#3=IFCCONVERSIONBASEDUNIT($,.LENGTHUNIT.,'x',#7);#7=IFCMEASUREWITHUNIT(IFCLENGTHMEASURE(2.),#3);",
         "MILLIMETRE", 1.0},
        {"", "MILLIMETRE", 1.0},
    };
    for (const Case& one : cases) {
        const std::string text =
            "ISO-10303-21;HEADER;FILE_SCHEMA(('IFC4'));ENDSEC;DATA;\n"
            "#1=IFCPROJECT('p',$,'P',$,$,$,$,$,#2);#2=IFCUNITASSIGNMENT((#3));" +
            std::string(one.unit) + "ENDSEC;END-ISO-10303-21;";
        const ReadResult result = ReadIfcBytes(std::as_bytes(std::span(text.data(), text.size())));
        ASSERT_TRUE(result.Ok());
        EXPECT_EQ(result.model->lengthUnit, one.name) << one.unit;
        EXPECT_DOUBLE_EQ(result.model->unitToMillimetres, one.factor) << one.unit;
        // Without any unit the list of units refers to nothing, which is said as well.
        const bool assumed = one.unit.empty() || one.unit.find("'x'") != std::string_view::npos;
        EXPECT_EQ(result.model->counts.warnings, (assumed ? 1U : 0U) + (one.unit.empty() ? 1U : 0U)) << one.unit;
    }
}

// A thousand ends in one spot and a long line: neither may cost the square of its size.
TEST(Network, StaysNearLinear) {
    const auto seconds = [](int pipes, bool inOneSpot) {
        ModelText text;
        for (int i = 0; i < pipes; ++i) {
            if (inOneSpot) {
                text.Pipe(0, 0, 1000, i * 0.001);
            } else {
                text.Pipe(i * 1000.0, 0, i * 1000.0 + 999, 0);
            }
        }
        const std::string whole = text.Text();
        // Time of this process alone, so that a busy machine does not count.
        const std::clock_t begin = std::clock();
        const ReadResult result = ReadIfcBytes(std::as_bytes(std::span(whole.data(), whole.size())));
        EXPECT_TRUE(result.Ok());
        EXPECT_EQ(result.model->networks.size(), 1U);
        return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
    };
    seconds(1000, false);
    // Sixteen times as many may take sixteen times as long, with room for caches; a square would take 256 times.
    EXPECT_LT(seconds(16000, false), 100 * std::max(seconds(1000, false), 0.003));
    EXPECT_LT(seconds(8000, true), 10.0);
}

}  // namespace
}  // namespace norvex::ifc
