// SPDX-License-Identifier: Apache-2.0
#include "ModelText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

// What a model refers to many times must not be read as often: the work of reading grows as the file does.

namespace norvex::ifc {
namespace {

ReadResult Read(std::string_view text) {
    return ReadIfcBytes(std::as_bytes(std::span(text.data(), text.size())));
}

std::string Ref(int number) {
    return ModelText::Ref(number);
}

std::string Repeated(const std::string& one, int count) {
    std::string list = "(";
    for (int i = 0; i < count; ++i) {
        list += (i == 0 ? "" : ",") + one;
    }
    return list + ")";
}

std::string ListOf(const std::vector<int>& numbers) {
    std::string list = "(";
    for (const int number : numbers) {
        list += (list.size() == 1 ? "" : ",") + Ref(number);
    }
    return list + ")";
}

int Origin(ModelText& text) {
    return text.Add("IFCCARTESIANPOINT((0.,0.,0.))");
}

// A body made of these items, under a fitting.
void FittingOf(ModelText& text, const std::string& items, const char* identifier = "Body") {
    const int shape = text.Add("IFCSHAPEREPRESENTATION($,'" + std::string(identifier) + "','x'," + items + ")");
    text.Product("IFCPIPEFITTING", text.Placement(0, 0, 0),
                 text.Add("IFCPRODUCTDEFINITIONSHAPE($,$,(" + Ref(shape) + "))"));
}

void PipeOf(ModelText& text, int item, const char* identifier) {
    const int shape = text.Add("IFCSHAPEREPRESENTATION($,'" + std::string(identifier) + "','x',(" + Ref(item) + "))");
    text.Product("IFCPIPESEGMENT", text.Placement(0, 0, 0),
                 text.Add("IFCPRODUCTDEFINITIONSHAPE($,$,(" + Ref(shape) + "))"));
}

std::string Coordinates(int count) {
    std::string list = "(";
    for (int i = 0; i < count; ++i) {
        list += (i == 0 ? "(" : ",(") + std::to_string(i % 10) + ".,1.,2.)";
    }
    return list + ")";
}

int Polyline(ModelText& text, int points) {
    const int from = Origin(text);
    const int to = text.Add("IFCCARTESIANPOINT((10.,0.,0.))");
    std::string list = "(";
    for (int i = 0; i < points; ++i) {
        list += (i == 0 ? "" : ",") + Ref(i % 2 == 0 ? from : to);
    }
    return text.Add("IFCPOLYLINE(" + list + "))");
}

int Frame(ModelText& text) {
    return text.Add("IFCAXIS2PLACEMENT3D(" + Ref(Origin(text)) + ",$,$)");
}

// A small thing that takes `count` others of it, or is taken by them: `count` squared looks if each were a look of its
// own. The text is in proportion to `count`.
struct Shared {
    std::string name;
    std::function<void(ModelText&, int)> add;
};

std::vector<Shared> SharedThings() {
    return {
        {"a loop of points under many bounds",
         [](ModelText& text, int count) {
             const int loop = text.Add("IFCPOLYLOOP(" + Repeated(Ref(Origin(text)), count) + ")");
             const int bound = text.Add("IFCFACEOUTERBOUND(" + Ref(loop) + ",.T.)");
             const int face = text.Add("IFCFACE(" + Repeated(Ref(bound), count) + ")");
             const int shell = text.Add("IFCCLOSEDSHELL((" + Ref(face) + "))");
             FittingOf(text, "(" + Ref(text.Add("IFCFACETEDBREP(" + Ref(shell) + ")")) + ")");
         }},
        {"a face that its shell names many times",
         [](ModelText& text, int count) {
             const int loop = text.Add("IFCPOLYLOOP((" + Ref(Origin(text)) + "))");
             const int bound = text.Add("IFCFACEOUTERBOUND(" + Ref(loop) + ",.T.)");
             const int face = text.Add("IFCFACE(" + Repeated(Ref(bound), count) + ")");
             const int shell = text.Add("IFCCLOSEDSHELL(" + Repeated(Ref(face), count) + ")");
             FittingOf(text, Repeated(Ref(text.Add("IFCFACETEDBREP(" + Ref(shell) + ")")), count));
         }},
        {"an edge loop of many edges under many bounds",
         [](ModelText& text, int count) {
             const int vertex = text.Add("IFCVERTEXPOINT(" + Ref(Origin(text)) + ")");
             const int edge = text.Add("IFCEDGECURVE(" + Ref(vertex) + "," + Ref(vertex) + ",$,.T.)");
             const int oriented = text.Add("IFCORIENTEDEDGE(*,*," + Ref(edge) + ",.T.)");
             const int loop = text.Add("IFCEDGELOOP(" + Repeated(Ref(oriented), count) + ")");
             const int bound = text.Add("IFCFACEOUTERBOUND(" + Ref(loop) + ",.T.)");
             const int face = text.Add("IFCADVANCEDFACE(" + Repeated(Ref(bound), count) + ",$,.T.)");
             const int shell = text.Add("IFCCLOSEDSHELL((" + Ref(face) + "))");
             FittingOf(text, "(" + Ref(text.Add("IFCADVANCEDBREP(" + Ref(shell) + ")")) + ")");
         }},
        {"a face set that its representation names many times",
         [](ModelText& text, int count) {
             const int points = text.Add("IFCCARTESIANPOINTLIST3D(" + Coordinates(count) + ")");
             FittingOf(text,
                       Repeated(Ref(text.Add("IFCTRIANGULATEDFACESET(" + Ref(points) + ",$,$,((1,2,3)),$)")), count));
         }},
        {"a list of points of many face sets",
         [](ModelText& text, int count) {
             const int points = text.Add("IFCCARTESIANPOINTLIST3D(" + Coordinates(count) + ")");
             std::vector<int> sets;
             for (int i = 0; i < count; ++i) {
                 sets.push_back(text.Add("IFCTRIANGULATEDFACESET(" + Ref(points) + ",$,$,((1,2,3)),$)"));
             }
             FittingOf(text, ListOf(sets));
         }},
        {"a polyline around many profiles",
         [](ModelText& text, int count) {
             const int curve = Polyline(text, count);
             const int frame = Frame(text);
             std::vector<int> solids;
             for (int i = 0; i < count; ++i) {
                 const int profile = text.Add("IFCARBITRARYCLOSEDPROFILEDEF(.AREA.,$," + Ref(curve) + ")");
                 solids.push_back(text.Add("IFCEXTRUDEDAREASOLID(" + Ref(profile) + "," + Ref(frame) + ",#5,9.)"));
             }
             FittingOf(text, ListOf(solids));
         }},
        {"a profile of many parts in many solids",
         [](ModelText& text, int count) {
             const int circle = text.Add("IFCCIRCLEPROFILEDEF(.AREA.,$,$,25.)");
             const int profile = text.Add("IFCCOMPOSITEPROFILEDEF(.AREA.,$," + Repeated(Ref(circle), count) + ",$)");
             const int frame = Frame(text);
             std::vector<int> solids;
             for (int i = 0; i < count; ++i) {
                 solids.push_back(text.Add("IFCEXTRUDEDAREASOLID(" + Ref(profile) + "," + Ref(frame) + ",#5,9.)"));
             }
             FittingOf(text, ListOf(solids));
         }},
        {"a polyline along which many disks are swept",
         [](ModelText& text, int count) {
             const int curve = Polyline(text, count);
             for (int i = 0; i < count; ++i) {
                 PipeOf(text, text.Add("IFCSWEPTDISKSOLID(" + Ref(curve) + ",9.,$,$,$)"), "Body");
             }
         }},
        {"a polyline that is the axis of many pipes",
         [](ModelText& text, int count) {
             const int curve = Polyline(text, count);
             for (int i = 0; i < count; ++i) {
                 PipeOf(text, curve, "Axis");
             }
         }},
        {"a property set that many relations give to one pipe",
         [](ModelText& text, int count) {
             const int pipe = text.Pipe(0, 0, 1000, 0);
             std::vector<int> properties;
             for (int i = 0; i < count; ++i) {
                 properties.push_back(
                     text.Add("IFCPROPERTYSINGLEVALUE('P" + std::to_string(i) + "',$,IFCLABEL('x'),$)"));
             }
             const int set = text.Add("IFCPROPERTYSET('',$,'P',$," + ListOf(properties) + ")");
             for (int i = 0; i < count; ++i) {
                 text.Add("IFCRELDEFINESBYPROPERTIES('',$,$,$,(" + Ref(pipe) + ")," + Ref(set) + ")");
             }
         }},
        {"a property set of many types",
         [](ModelText& text, int count) {
             const int property = text.Add("IFCPROPERTYSINGLEVALUE('P',$,IFCLABEL('x'),$)");
             const int set = text.Add("IFCPROPERTYSET('',$,'P',$," + Repeated(Ref(property), count) + ")");
             for (int i = 0; i < count; ++i) {
                 const int pipe = text.Pipe(0, 0, 1000, 0);
                 const int type = text.Add("IFCPIPESEGMENTTYPE('',$,'T',$,$,(" + Ref(set) + "),$,$,$,$)");
                 text.Add("IFCRELDEFINESBYTYPE('',$,$,$,(" + Ref(pipe) + ")," + Ref(type) + ")");
             }
         }},
        {"members that many systems share",
         [](ModelText& text, int count) {
             const int pipe = text.Pipe(0, 0, 1000, 0);
             for (int i = 0; i < count; ++i) {
                 const int system = text.Add("IFCDISTRIBUTIONSYSTEM('',$,'S',$,$,$,$)");
                 text.Add("IFCRELASSIGNSTOGROUP('',$,$,$," + Repeated(Ref(pipe), 9) + ",$," + Ref(system) + ")");
             }
         }},
        {"a port that one relation nests many times",
         [](ModelText& text, int count) {
             const int port = text.Add("IFCDISTRIBUTIONPORT('',$,$,$,$,$,$,$,$,$)");
             const int valve = text.Block("IFCVALVE", 0, 0, 0, 100);
             text.Add("IFCRELNESTS('',$,$,$," + Ref(valve) + "," + Repeated(Ref(port), count) + ")");
         }},
        {"many places on one long chain of placements",
         [](ModelText& text, int count) {
             const int frame = Frame(text);
             int above = text.Add("IFCLOCALPLACEMENT($," + Ref(frame) + ")");
             for (int i = 0; i < 100; ++i) {
                 above = text.Add("IFCLOCALPLACEMENT(" + Ref(above) + "," + Ref(frame) + ")");
             }
             for (int i = 0; i < count; ++i) {
                 text.Product("IFCVALVE", text.Add("IFCLOCALPLACEMENT(" + Ref(above) + "," + Ref(frame) + ")"), 0);
             }
         }},
    };
}

std::uint64_t Total(const ReadWork& work) {
    return work.textBytes + work.shapeSteps + work.gridCells + work.candidates;
}

TEST(ReadingWork, IsLinearInWhatManyThingsShare) {
    for (const Shared& one : SharedThings()) {
        std::vector<double> work;
        for (const int count : {500, 1000, 2000}) {
            ModelText text;
            one.add(text, count);
            const std::string bytes = text.Text();
            const ReadResult result = Read(bytes);
            ASSERT_TRUE(result.Ok()) << one.name;
            EXPECT_EQ(result.model->counts.warnings, result.model->counts.segmentsWithoutEnds > 0 ? 1U : 0U)
                << one.name << ": what is shared must be read, not refused";
            // A reference of four bytes may lead to an edge, its curve and the points at its two ends.
            EXPECT_LE(result.work.textBytes, 64 * bytes.size()) << one.name;
            EXPECT_LE(result.work.shapeSteps, 2 * bytes.size()) << one.name;
            work.push_back(static_cast<double>(Total(result.work)));
        }
        EXPECT_LE(work[1], 2.2 * work[0]) << one.name;
        EXPECT_LE(work[2], 2.2 * work[1]) << one.name;
    }
}

// What is read but once for many keeps its meaning.
TEST(ReadingWork, SharedShapesAreAllRead) {
    for (const int users : {1, 2, 3, 50}) {
        ModelText text;
        const int points = text.Add("IFCCARTESIANPOINTLIST3D(((0.,0.,0.),(7.,8.,9.)))");
        const int frame = Frame(text);
        const int curve = Polyline(text, 2);
        const int profile = text.Add("IFCCIRCLEPROFILEDEF(.AREA.,$,$,25.)");
        for (int i = 0; i < users; ++i) {
            FittingOf(text, "(" + Ref(text.Add("IFCTRIANGULATEDFACESET(" + Ref(points) + ",$,$,((1,2,3)),$)")) + ")");
            PipeOf(text, text.Add("IFCEXTRUDEDAREASOLID(" + Ref(profile) + "," + Ref(frame) + ",#5,9.)"), "Body");
            PipeOf(text, text.Add("IFCSWEPTDISKSOLID(" + Ref(curve) + ",3.,$,$,$)"), "Body");
            PipeOf(text, curve, "Axis");
        }
        const std::string bytes = text.Text();
        ReadOptions options;
        options.inferConnections = false;
        const ReadResult result = ReadIfcBytes(std::as_bytes(std::span(bytes.data(), bytes.size())), options);
        ASSERT_TRUE(result.Ok());
        ASSERT_EQ(result.model->elements.size(), 4U * static_cast<std::size_t>(users));
        for (std::size_t i = 0; i < result.model->elements.size(); i += 4) {
            const Element* four = &result.model->elements[i];
            EXPECT_EQ(four[0].box.high, (Point{7, 8, 9})) << users;
            EXPECT_EQ(four[1].outerDiameter, 50.0) << users;
            EXPECT_EQ(four[1].end, (Point{0, 0, 9})) << users;
            EXPECT_EQ(four[2].ends, EndEvidence::SweptDisk) << users;
            EXPECT_EQ(four[2].length, 10.0) << users;
            EXPECT_EQ(four[2].box.high, (Point{13, 3, 3})) << users;
            EXPECT_EQ(four[3].ends, EndEvidence::Axis) << users;
            EXPECT_EQ(four[3].end, (Point{10, 0, 0})) << users;
        }
    }
}

// Graphs with exponentially many ways through them, and looks that nothing remembers.
std::vector<Shared> EndlessThings() {
    return {
        {"maps of maps of maps",
         [](ModelText& text, int count) {
             const int frame = Frame(text);
             const int origin = Origin(text);
             const int target = text.Add("IFCCARTESIANTRANSFORMATIONOPERATOR3D($,$," + Ref(origin) + ",1.,$)");
             const int profile = text.Add("IFCCIRCLEPROFILEDEF(.AREA.,$,$,25.)");
             int item = text.Add("IFCEXTRUDEDAREASOLID(" + Ref(profile) + "," + Ref(frame) + ",#5,9.)");
             for (int i = 0; i < 12; ++i) {
                 const int inner = text.Add("IFCSHAPEREPRESENTATION($,'Body','x'," + Repeated(Ref(item), count) + ")");
                 const int map = text.Add("IFCREPRESENTATIONMAP(" + Ref(frame) + "," + Ref(inner) + ")");
                 item = text.Add("IFCMAPPEDITEM(" + Ref(map) + "," + Ref(target) + ")");
             }
             FittingOf(text, Repeated(Ref(item), count));
         }},
        {"unions of unions",
         [](ModelText& text, int count) {
             const int profile = text.Add("IFCCIRCLEPROFILEDEF(.AREA.,$,$,25.)");
             int item = text.Add("IFCEXTRUDEDAREASOLID(" + Ref(profile) + "," + Ref(Frame(text)) + ",#5,9.)");
             for (int i = 0; i < 22; ++i) {
                 item = text.Add("IFCBOOLEANRESULT(.UNION.," + Ref(item) + "," + Ref(item) + ")");
             }
             FittingOf(text, Repeated(Ref(item), count));
         }},
        {"sets of sets",
         [](ModelText& text, int count) {
             int item = text.Add("IFCGEOMETRICSET(())");
             for (int i = 0; i < 20; ++i) {
                 item = text.Add("IFCGEOMETRICSET(" + Repeated(Ref(item), count) + ")");
             }
             FittingOf(text, Repeated(Ref(item), count));
         }},
        {"curves of curves that hold no point",
         [](ModelText& text, int count) {
             const int line = Polyline(text, 2);
             const int first = text.Add("IFCCOMPOSITECURVESEGMENT($,.F.," + Ref(line) + ")");
             int segment = text.Add("IFCCOMPOSITECURVESEGMENT($,.F.," + Ref(text.Add("IFCCOMPOSITECURVE(())")) + ")");
             for (int i = 0; i < 6; ++i) {
                 const int curve = text.Add("IFCCOMPOSITECURVE(" + Repeated(Ref(segment), count) + ",.F.)");
                 segment = text.Add("IFCCOMPOSITECURVESEGMENT($,.F.," + Ref(curve) + ")");
             }
             PipeOf(text, text.Add("IFCCOMPOSITECURVE((" + Ref(first) + "," + Ref(segment) + "),.F.)"), "Axis");
         }},
        {"a point behind a long comment that a loop names many times",
         [](ModelText& text, int count) {
             const int point = text.Add("IFCCARTESIANPOINT(/*" +
                                        std::string(static_cast<std::size_t>(count) * 1000, 'x') + "*/(0.,0.,0.))");
             FittingOf(text, "(" + Ref(text.Add("IFCPOLYLOOP(" + Repeated(Ref(point), count * 100) + ")")) + ")");
         }},
        {"a shape of many representations under many products",
         [](ModelText& text, int count) {
             const int note = text.Add("IFCSHAPEREPRESENTATION($,'Annotation','x',())");
             const int shape = text.Add("IFCPRODUCTDEFINITIONSHAPE($,$," + Repeated(Ref(note), count * 100) + ")");
             for (int i = 0; i < count * 30; ++i) {
                 text.Product("IFCVALVE", 11, shape);
             }
             text.Product("IFCVALVE", text.Placement(0, 0, 0), shape);
         }},
        {"a property with a long text in many sets",
         [](ModelText& text, int count) {
             const int property =
                 text.Add("IFCPROPERTYSINGLEVALUE('P" + std::string(static_cast<std::size_t>(count) * 1000, 'x') +
                          "',$,IFCLABEL('x'),$)");
             const int pipe = text.Pipe(0, 0, 1000, 0);
             for (int i = 0; i < count * 100; ++i) {
                 const int set = text.Add("IFCPROPERTYSET('',$,'P',$,(" + Ref(property) + "))");
                 text.Add("IFCRELDEFINESBYPROPERTIES('',$,$,$,(" + Ref(pipe) + ")," + Ref(set) + ")");
             }
         }},
    };
}

TEST(ReadingWork, EndsWhereTheWaysThroughAFileDoNot) {
    constexpr std::uint64_t kFree = std::uint64_t{2} * (64U << 20);  // of each of the two threads
    for (const Shared& one : EndlessThings()) {
        ModelText text;
        text.Pipe(0, 5000, 1000, 5000);
        one.add(text, 20);
        const std::string bytes = text.Text();
        const ReadResult result = Read(bytes);
        ASSERT_TRUE(result.Ok()) << one.name;
        // One look beyond what is allowed may be as long as the file.
        EXPECT_LE(result.work.textBytes, kFree + 2 * 33 * bytes.size()) << one.name;
        EXPECT_LE(result.work.shapeSteps, 1'000'000 + 64 * result.model->counts.instances) << one.name;
        EXPECT_EQ(result.model->elements.front().ends, EndEvidence::Extrusion) << one.name;
        for (const Element& element : result.model->elements) {
            EXPECT_TRUE(IsFinite(element.position)) << one.name;
        }
    }
}

TEST(ReadingWork, WhatIsNotReadIsSaid) {
    for (const Shared& one : EndlessThings()) {
        if (one.name.starts_with("a shape of many")) {
            continue;  // small enough at this size
        }
        ModelText text;
        one.add(text, 200);
        const ReadResult result = Read(text.Text());
        ASSERT_TRUE(result.Ok()) << one.name;
        EXPECT_TRUE(std::any_of(result.model->diagnostics.begin(), result.model->diagnostics.end(),
                                [](const Diagnostic& said) { return said.code == DiagnosticCode::LimitReached; }))
            << one.name;
    }
}

// Many pipes in one place: each looks at a bounded number of others, and all of them are joined.
TEST(ReadingWork, APlaceWhereManyPipesMeetIsNoMoreWorkForEach) {
    for (const bool coincide : {true, false}) {
        std::vector<double> work;
        for (const int count : {1500, 3000, 6000}) {
            ModelText text;
            for (int i = 0; i < count; ++i) {
                const double angle = coincide ? 0.0 : 0.001 * i;
                text.Pipe(0, 0, 1000 * std::cos(angle), 1000 * std::sin(angle));
            }
            const ReadResult result = Read(text.Text());
            ASSERT_TRUE(result.Ok());
            EXPECT_LE(result.work.candidates, 3U * 1024U * static_cast<unsigned>(count));
            work.push_back(static_cast<double>(result.work.candidates + result.work.gridCells));
            std::set<std::uint32_t> junctions;
            for (const Element& element : result.model->elements) {
                junctions.insert(element.startJunction);
            }
            EXPECT_EQ(junctions.size(), 1U);
            EXPECT_NE(*junctions.begin(), kNoIndex);
            EXPECT_EQ(result.model->networks.size(), 1U);
        }
        EXPECT_LE(work[1], 2.2 * work[0]);
        EXPECT_LE(work[2], 2.2 * work[1]);
    }
}

// Nearly in one place, and nothing fits: every end looks, and stops at the bound.
TEST(ReadingWork, ACrowdIsBoundedAndSaid) {
    ModelText text;
    constexpr int kCount = 3000;
    for (int i = 0; i < kCount; ++i) {
        text.Block("IFCVALVE", 20.0 + 0.001 * i, 20.0, 0, 10);
        text.Pipe(0, 0.001 * i, 1000, 100.0 * i);
    }
    const ReadResult result = Read(text.Text());
    ASSERT_TRUE(result.Ok());
    EXPECT_LE(result.work.candidates, 8U * 1024U * kCount);
    EXPECT_TRUE(std::any_of(result.model->diagnostics.begin(), result.model->diagnostics.end(),
                            [](const Diagnostic& said) { return said.code == DiagnosticCode::LimitReached; }));
}

TEST(ReadingWork, NoBodyFillsMoreCellsThanItsShare) {
    for (const char* length : {"1.", "1.E3", "1.E6", "1.E7", "9.9E10", "3.4E38", "1.E300", "1.E-300", "4.9E-324"}) {
        for (const char* radius : {"25.", "1.E3", "3.9E3", "1.E6", "9.E10", "3.4E38", "1.E300", "1.E-300"}) {
            ModelText text;
            text.Pipe(0, 0, 1000, 0);
            text.Pipe(1000, 0, 1000, 1000);
            const int frame = Frame(text);
            const int circle = text.Add("IFCCIRCLEPROFILEDEF(.AREA.,$,$," + std::string(radius) + ")");
            const int square = text.Add("IFCRECTANGLEPROFILEDEF(.AREA.,$,$," + std::string(radius) + ",10.)");
            PipeOf(text, text.Add("IFCEXTRUDEDAREASOLID(" + Ref(circle) + "," + Ref(frame) + ",#5," + length + ")"),
                   "Body");
            FittingOf(
                text,
                "(" + Ref(text.Add("IFCEXTRUDEDAREASOLID(" + Ref(square) + "," + Ref(frame) + ",#5," + length + ")")) +
                    ")");
            const std::string what = std::string("length ") + length + ", radius " + radius;
            const ReadResult result = Read(text.Text());
            ASSERT_TRUE(result.Ok()) << what;
            EXPECT_LE(result.work.gridCells, 4U * 65536U) << what;
            for (const Element& element : result.model->elements) {
                EXPECT_TRUE(IsFinite(element.start) && IsFinite(element.end) && IsFinite(element.position)) << what;
                EXPECT_TRUE(std::isfinite(element.length) && std::isfinite(element.outerDiameter)) << what;
                EXPECT_TRUE(element.box.IsEmpty() ||
                            (IsWithinReach(element.box.low) && IsWithinReach(element.box.high)))
                    << what;
            }
            const bool tooFar =
                std::strtod(length, nullptr) > kMaxCoordinate || std::strtod(radius, nullptr) > kMaxCoordinate;
            EXPECT_EQ(std::any_of(result.model->diagnostics.begin(), result.model->diagnostics.end(),
                                  [](const Diagnostic& said) {
                                      return said.code == DiagnosticCode::BadGeometry && said.line > 0;
                                  }),
                      tooFar)
                << what;
        }
    }
}

TEST(ReadingWork, AnglesOfAnySizeMakeAnArc) {
    for (const char* angle : {"0.", "1.57", "1.E18", "1.E300", "-1.E300", "-0.5", "4.9E-324"}) {
        ModelText text;
        const int circle =
            text.Add("IFCCIRCLE(" + Ref(text.Add("IFCAXIS2PLACEMENT2D(" + Ref(Origin(text)) + ",$)")) + ",50.)");
        PipeOf(text,
               text.Add("IFCTRIMMEDCURVE(" + Ref(circle) + ",(IFCPARAMETERVALUE(0.)),(IFCPARAMETERVALUE(" + angle +
                        ")),.T.,.PARAMETER.)"),
               "Axis");
        const ReadResult result = Read(text.Text());
        ASSERT_TRUE(result.Ok()) << angle;
        EXPECT_LE(result.model->elements.front().length, 2000.0) << angle;
    }
}

TEST(ReadingWork, ManyConnectionTypesOfOnePipeAreJoinedOnce) {
    std::vector<double> kept;
    for (const int count : {200, 400, 800}) {
        ModelText text;
        const int pipe = text.Pipe(0, 0, 1000, 0);
        std::set<std::string> types;
        for (int i = 0; i < count; ++i) {
            const std::string type = "T" + std::to_string(1000 + (i * 37) % 1000);
            types.insert(type);
            const int property = text.Add("IFCPROPERTYSINGLEVALUE('ConnectionType',$,IFCLABEL('" + type + "'),$)");
            const int set = text.Add("IFCPROPERTYSET('',$,'P',$,(" + Ref(property) + "))");
            text.Add("IFCRELDEFINESBYPROPERTIES('',$,$,$,(" + Ref(pipe) + ")," + Ref(set) + ")");
        }
        const ReadResult result = Read(text.Text());
        ASSERT_TRUE(result.Ok());
        std::string expected;
        for (const std::string& type : types) {
            expected += (expected.empty() ? "" : ",") + type;
        }
        EXPECT_EQ(result.model->elements.front().connectionType, expected);
        kept.push_back(static_cast<double>(result.model->texts.KeptBytes()));
    }
    EXPECT_LE(kept[1], 2.2 * kept[0]);
    EXPECT_LE(kept[2], 2.2 * kept[1]);
}

// One long text in the file stays one short text in the model, however many carry it.
TEST(ReadingWork, ALongTextIsCutOffAndSaid) {
    const std::string longText(3'000'000, 'n');
    ModelText text;
    const int valve =
        text.Add("IFCVALVE('" + longText + "',$,'" + longText + "',$,'" + longText + "',$,$,$,." + longText + ".)");
    const int type = text.Add("IFCVALVETYPE('t',$,'" + longText + "',$,$,$,$,$,$,." + longText + ".)");
    text.Add("IFCRELDEFINESBYTYPE('',$,$,$,(" + Ref(valve) + ")," + Ref(type) + ")");
    const int system = text.Add("IFCDISTRIBUTIONSYSTEM('',$,'" + longText + "',$,$,$,$)");
    text.Add("IFCRELASSIGNSTOGROUP('',$,$,$,(" + Ref(valve) + "),$," + Ref(system) + ")");
    const ReadResult result = Read(text.Text());
    ASSERT_TRUE(result.Ok());
    const Element& element = result.model->elements.front();
    for (const std::string_view kept :
         {element.globalId, element.name, element.typeName, element.detailName, result.model->systems.front().name}) {
        EXPECT_EQ(kept, std::string(kMaxTextBytes, 'n'));
    }
    EXPECT_LE(result.model->texts.KeptBytes(), 16 * kMaxTextBytes);
    EXPECT_EQ(std::count_if(result.model->diagnostics.begin(), result.model->diagnostics.end(),
                            [](const Diagnostic& said) { return said.code == DiagnosticCode::LimitReached; }),
              7);
}

TEST(ReadingWork, ATextIsCutBetweenTwoCharacters) {
    struct Case {
        std::string encoded;
        std::string kept;
    };
    const auto times = [](const std::string& one, std::size_t count) {
        std::string all;
        for (std::size_t i = 0; i < count; ++i) {
            all += one;
        }
        return all;
    };
    const Case cases[] = {
        {times("管", 340), times("管", 340)},
        {times("管", 341), times("管", 340)},
        {"x" + times("管", 340), "x" + times("管", 339)},
        {"\\X2\\" + times("7BA1", 340) + "\\X0\\", times("管", 340)},
        {"\\X2\\" + times("7BA1", 400) + "\\X0\\", times("管", 340)},
        {times("''", 1020), times("'", 1020)},
        {times("''", 1021), times("'", 1020)},
        {times("n", 1020), times("n", 1020)},
    };
    for (const Case& one : cases) {
        ModelText text;
        text.Add("IFCVALVE('',$,'" + one.encoded + "',$,$,$,$,$,$)");
        const ReadResult result = Read(text.Text());
        ASSERT_TRUE(result.Ok());
        EXPECT_EQ(result.model->elements.front().name, one.kept);
    }
}

}  // namespace
}  // namespace norvex::ifc
