// SPDX-License-Identifier: Apache-2.0
#include "ModelText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace norvex::ifc {
namespace {

ReadResult Read(std::string_view text) {
    return ReadIfcBytes(std::as_bytes(std::span(text.data(), text.size())));
}

// What must hold of any result, whatever the input was.
void ExpectSound(const ReadResult& result, std::size_t size, const std::string& what) {
    if (!result.Ok()) {
        EXPECT_NE(result.error.code, DiagnosticCode::None) << what;
        EXPECT_EQ(result.error.severity, Severity::Error) << what;
        EXPECT_FALSE(result.error.sentence.empty()) << what;
        EXPECT_LE(result.error.offset, size) << what;
        return;
    }
    const BuildingModel& model = *result.model;
    for (const Diagnostic& one : model.diagnostics) {
        EXPECT_LE(one.offset, size) << what;
        EXPECT_FALSE(one.sentence.empty()) << what;
    }
    for (const Element& element : model.elements) {
        EXPECT_TRUE(element.storey == kNoIndex || element.storey < model.storeys.size()) << what;
        EXPECT_EQ(element.storey == kNoIndex, element.noStorey != NoStoreyReason::Placed) << what;
        EXPECT_TRUE(IsFinite(element.start) && IsFinite(element.end) && IsFinite(element.position)) << what;
        EXPECT_TRUE(std::isfinite(element.length) && std::isfinite(element.nominalDiameter)) << what;
        EXPECT_FALSE(element.specialty.empty() || element.category.empty() || element.subCategory.empty() ||
                     element.detailName.empty())
            << what;
        if (element.startJunction != kNoIndex && element.kind == ElementKind::Segment &&
            element.ends != EndEvidence::None) {
            EXPECT_EQ(element.start, model.junctions.at(element.startJunction).point) << what;
        }
    }
    for (const Connection& connection : model.connections) {
        EXPECT_LT(connection.first, model.elements.size()) << what;
        EXPECT_LT(connection.second, model.elements.size()) << what;
        EXPECT_NE(connection.first, connection.second) << what;
    }
    for (const Network& network : model.networks) {
        EXPECT_FALSE(network.elements.empty()) << what;
    }
}

// A small model that uses most of what the reader understands.
std::string Varied() {
    ModelText text;
    const int left = text.Pipe(0, 0, 1000, 0);
    const int valve = text.Block("IFCVALVE", 1050, 0, 0, 100);
    const int right = text.Pipe(1100, 0, 2000, 0);
    text.Connect(text.Port(left, 1000, 0), text.Port(valve, 1000, 0));
    text.Connect(text.Port(valve, 1100, 0), text.Port(right, 1100, 0));
    text.Pipe(2000, 0, 2000, 900);
    const int a = text.Add("IFCCARTESIANPOINT((0.,0.,0.))");
    const int b = text.Add("IFCCARTESIANPOINT((0.,0.,500.))");
    const int circleAt = text.Add("IFCAXIS2PLACEMENT2D(" + ModelText::Ref(a) + ",$)");
    const int circle = text.Add("IFCCIRCLE(" + ModelText::Ref(circleAt) + ",50.)");
    const int arc = text.Add("IFCTRIMMEDCURVE(" + ModelText::Ref(circle) +
                             ",(IFCPARAMETERVALUE(0.)),(IFCPARAMETERVALUE(1.57)),.T.,.PARAMETER.)");
    const int line = text.Add("IFCPOLYLINE((" + ModelText::Ref(a) + "," + ModelText::Ref(b) + "))");
    const int one = text.Add("IFCCOMPOSITECURVESEGMENT(.CONTINUOUS.,.T.," + ModelText::Ref(line) + ")");
    const int two = text.Add("IFCCOMPOSITECURVESEGMENT(.CONTINUOUS.,.F.," + ModelText::Ref(arc) + ")");
    const int curve = text.Add("IFCCOMPOSITECURVE((" + ModelText::Ref(one) + "," + ModelText::Ref(two) + "),.F.)");
    const int disk = text.Add("IFCSWEPTDISKSOLID(" + ModelText::Ref(curve) + ",10.,$,$,$)");
    const int inner = text.Add("IFCSHAPEREPRESENTATION($,'Body','SolidModel',(" + ModelText::Ref(disk) + "))");
    const int origin = text.Add("IFCAXIS2PLACEMENT3D(" + ModelText::Ref(b) + ",#5,#6)");
    const int map = text.Add("IFCREPRESENTATIONMAP(" + ModelText::Ref(origin) + "," + ModelText::Ref(inner) + ")");
    const int target = text.Add("IFCCARTESIANTRANSFORMATIONOPERATOR3D($,$," + ModelText::Ref(a) + ",2.,$)");
    const int item = text.Add("IFCMAPPEDITEM(" + ModelText::Ref(map) + "," + ModelText::Ref(target) + ")");
    text.Product("IFCCABLECARRIERSEGMENT", text.Placement(0, 5000, 0), text.Shape("MappedRepresentation", item));
    const int points = text.Add("IFCCARTESIANPOINTLIST3D(((0.,0.,0.),(1.,2.,3.),(4.,5.,6.)))");
    const int faces = text.Add("IFCTRIANGULATEDFACESET(" + ModelText::Ref(points) + ",$,.T.,((1,2,3)),$)");
    text.Product("IFCPUMP", text.Placement(9000, 0, 0), text.Shape("Tessellation", faces));
    const int type = text.Add("IFCPIPESEGMENTTYPE('t',$,'Rohr DN50 \\X2\\7BA1\\X0\\',$,$,$,$,$,$,.RIGIDSEGMENT.)");
    text.Add("IFCRELDEFINESBYTYPE('',$,$,$,(" + ModelText::Ref(left) + ")," + ModelText::Ref(type) + ")");
    const int system = text.Add("IFCDISTRIBUTIONSYSTEM('',$,'Heizung',$,$,$,.HEATING.)");
    text.Add("IFCRELASSIGNSTOGROUP('',$,$,$,(" + ModelText::Ref(left) + "),$," + ModelText::Ref(system) + ")");
    return text.Text();
}

TEST(Robustness, TheVariedModelIsReadWhole) {
    const std::string text = Varied();
    const ReadResult result = Read(text);
    ASSERT_TRUE(result.Ok());
    ExpectSound(result, text.size(), "whole");
    EXPECT_EQ(result.model->elements.size(), 6U);
    EXPECT_EQ(result.model->counts.segmentsWithoutEnds, 0U);
    EXPECT_EQ(result.model->counts.warnings, 0U);
    EXPECT_EQ(result.model->networks.size(), 2U);
}

TEST(Robustness, ATruncatedModelIsReadAsFarAsItGoes) {
    const std::string text = Varied();
    for (std::size_t size = 0; size < text.size(); size += 3) {
        const ReadResult result = Read(std::string_view(text).substr(0, size));
        ExpectSound(result, size, "first " + std::to_string(size) + " bytes");
        if (result.Ok() && size < text.size() - 20) {
            EXPECT_GE(result.model->counts.warnings, 1U) << "a truncation at " << size << " passed in silence";
        }
    }
}

TEST(Robustness, FlippedBytesNeverBreakTheReader) {
    const std::string text = Varied();
    std::mt19937 random(20240501);
    for (std::size_t at = 0; at < text.size(); at += 2) {
        std::string broken = text;
        broken[at] = static_cast<char>(static_cast<unsigned char>(broken[at]) ^ (1U << (random() % 8)));
        ExpectSound(Read(broken), broken.size(), "bit flipped at " + std::to_string(at));
    }
}

TEST(Robustness, ExchangedReferencesNeverBreakTheReader) {
    const std::string text = Varied();
    std::mt19937 random(7);
    for (int round = 0; round < 1500; ++round) {
        std::string broken = text;
        for (int swaps = 0; swaps < 4; ++swaps) {
            const std::size_t at = broken.find('#', random() % broken.size());
            if (at == std::string::npos || at + 2 >= broken.size()) {
                continue;
            }
            std::size_t end = at + 1;
            while (end < broken.size() && broken[end] >= '0' && broken[end] <= '9') {
                ++end;
            }
            broken.replace(at + 1, end - at - 1, std::to_string(1 + random() % 120));
        }
        ExpectSound(Read(broken), broken.size(), "round " + std::to_string(round));
    }
}

struct UglyCase {
    std::string_view what;
    std::string data;
    DiagnosticCode code;
};

TEST(Robustness, EveryRingAndDanglingReferenceIsHarmless) {
    std::string deep;
    for (int i = 100; i < 5000; ++i) {
        deep += "#" + std::to_string(i) + "=IFCLOCALPLACEMENT(#" + std::to_string(i + 1) + ",#20);\n";
    }
    std::string booleans;
    for (int i = 100; i < 160; ++i) {
        const std::string next = "#" + std::to_string(i + 1);
        booleans += "#" + std::to_string(i) + "=IFCBOOLEANRESULT(.UNION.," + next + "," + next + ");\n";
    }
    const std::string pipe = "#10=IFCPIPESEGMENT('',$,$,$,$,#11,#12,$,$);\n";
    const std::string place =
        "#11=IFCLOCALPLACEMENT($,#20);\n#20=IFCAXIS2PLACEMENT3D(#21,$,$);\n"
        "#21=IFCCARTESIANPOINT((0.,0.,0.));\n";
    const std::string shape = "#12=IFCPRODUCTDEFINITIONSHAPE($,$,(#13));\n";
    const UglyCase cases[] = {
        {"placement of itself",
         pipe + "#11=IFCLOCALPLACEMENT(#11,#20);\n#20=IFCAXIS2PLACEMENT3D(#21,$,$);\n"
                "#21=IFCCARTESIANPOINT((0.,0.,0.));\n",
         DiagnosticCode::CyclicReference},
        {"chain of thousands", pipe + "#11=IFCLOCALPLACEMENT(#100,#20);\n" + deep + place.substr(place.find("#20=")),
         DiagnosticCode::CyclicReference},
        {"placement on nothing", pipe + "#11=IFCLOCALPLACEMENT(#77,#20);\n" + place.substr(place.find("#20=")),
         DiagnosticCode::BadGeometry},
        {"coordinates that are none",
         pipe + "#11=IFCLOCALPLACEMENT($,#20);\n#20=IFCAXIS2PLACEMENT3D(#21,$,$);\n"
                "#21=IFCCARTESIANPOINT((1.E400,'x',0.));\n",
         DiagnosticCode::BadGeometry},
        {"representation of itself", pipe + place + shape + "#13=IFCSHAPEREPRESENTATION($,'Body','x',(#13));\n",
         DiagnosticCode::NoGeometry},
        {"map of itself",
         pipe + place + shape +
             "#13=IFCSHAPEREPRESENTATION($,'Body','x',(#14));\n#14=IFCMAPPEDITEM(#15,#16);\n"
             "#15=IFCREPRESENTATIONMAP(#20,#13);\n#16=IFCCARTESIANTRANSFORMATIONOPERATOR3D($,$,#21,1.,$);\n",
         DiagnosticCode::NoGeometry},
        {"booleans that double sixty times",
         pipe + place + shape + "#13=IFCSHAPEREPRESENTATION($,'Body','x',(#100));\n" + booleans,
         DiagnosticCode::LimitReached},
        {"curve of itself",
         pipe + place + shape +
             "#13=IFCSHAPEREPRESENTATION($,'Axis','x',(#14));\n#14=IFCCOMPOSITECURVE((#15,#15),.F.);\n"
             "#15=IFCCOMPOSITECURVESEGMENT(.CONTINUOUS.,.T.,#14);\n",
         DiagnosticCode::NoGeometry},
        {"profile of itself",
         pipe + place + shape +
             "#13=IFCSHAPEREPRESENTATION($,'Body','x',(#14));\n#14=IFCEXTRUDEDAREASOLID(#15,#20,#22,5.);\n"
             "#15=IFCDERIVEDPROFILEDEF(.AREA.,$,#15,$,$);\n#22=IFCDIRECTION((0.,0.,0.));\n",
         DiagnosticCode::NoGeometry},
    };
    for (const UglyCase& one : cases) {
        const std::string text =
            "ISO-10303-21;HEADER;FILE_SCHEMA(('IFC4'));ENDSEC;DATA;\n" + one.data + "ENDSEC;END-ISO-10303-21;";
        const ReadResult result = Read(text);
        ASSERT_TRUE(result.Ok()) << one.what;
        ExpectSound(result, text.size(), std::string(one.what));
        EXPECT_EQ(result.model->elements.size(), 1U) << one.what;
        EXPECT_TRUE(std::any_of(result.model->diagnostics.begin(), result.model->diagnostics.end(),
                                [&](const Diagnostic& said) { return said.code == one.code; }))
            << one.what << ": nothing was said of " << DiagnosticCodeName(one.code);
    }
}

struct FatalCase {
    std::string_view text;
    DiagnosticCode code;
};

TEST(Robustness, WhatIsNoModelIsAnErrorWithASentence) {
    const FatalCase cases[] = {
        {"", DiagnosticCode::EmptyFile},
        {"hello", DiagnosticCode::NotPart21},
        {"ISO-10303-21;HEADER;FILE_SCHEMA(('AUTOMOTIVE_DESIGN'));ENDSEC;DATA;#1=A();ENDSEC;END-ISO-10303-21;",
         DiagnosticCode::NotIfc},
        {"ISO-10303-21;", DiagnosticCode::NotIfc},
        {"ISO-10303-21;HEADER;FILE_SCHEMA(('IFC4'));ENDSEC;DATA;ENDSEC;END-ISO-10303-21;", DiagnosticCode::NoInstances},
        {"ISO-10303-21;HEADER;FILE_SCHEMA(('IFC4'));ENDSEC;DATA;#1=;#2=;", DiagnosticCode::NoInstances},
    };
    for (const FatalCase& one : cases) {
        const ReadResult result = Read(one.text);
        ASSERT_FALSE(result.Ok()) << one.text;
        EXPECT_EQ(result.error.code, one.code) << one.text;
        ExpectSound(result, one.text.size(), std::string(one.text));
    }
}

TEST(Robustness, ADanglingReferenceIsSaidWithItsPlace) {
    const std::string text =
        "ISO-10303-21;HEADER;FILE_SCHEMA(('IFC4'));ENDSEC;DATA;\n"
        "#1=IFCPIPESEGMENT('0000000000000000000001',$,'P',$,$,#77,$,$,$);\n"
        "#2=IFCRELASSIGNSTOGROUP('0000000000000000000002',$,$,$,(#1),$,#99);\n"
        "ENDSEC;END-ISO-10303-21;";
    const ReadResult result = Read(text);
    ASSERT_TRUE(result.Ok());
    std::vector<std::string> dangling;
    for (const Diagnostic& one : result.model->diagnostics) {
        if (one.code == DiagnosticCode::DanglingReference) {
            dangling.push_back(text.substr(one.offset, 3) + " in line " + std::to_string(one.line));
        }
    }
    EXPECT_EQ(dangling, (std::vector<std::string>{"#77 in line 2", "#99 in line 3"}));
}

TEST(Robustness, AFileWithoutAnyReadableInstanceSaysWhereToLook) {
    const ReadResult result =
        Read("ISO-10303-21;HEADER;FILE_SCHEMA(('IFC4'));ENDSEC;\nDATA;\n#1=IFCWALL(;\n#2=;\nENDSEC;END-ISO-10303-21;");
    ASSERT_FALSE(result.Ok());
    EXPECT_EQ(result.error.code, DiagnosticCode::NoInstances);
    EXPECT_EQ(result.error.line, 3U);
    EXPECT_GT(result.error.offset, 0U);
}

TEST(Robustness, AMissingSchemaIsForgivenWhenTheInstancesAreIfc) {
    const ReadResult result =
        Read("ISO-10303-21;HEADER;ENDSEC;DATA;#1=IFCPROJECT('',$,$,$,$,$,$,$,$);ENDSEC;END-ISO-10303-21;");
    ASSERT_TRUE(result.Ok());
    EXPECT_GE(result.model->counts.warnings, 1U);
}

TEST(Robustness, FilesThatCannotBeReadAreAnError) {
    EXPECT_EQ(ReadIfcFile("/nonexistent/model.ifc").error.code, DiagnosticCode::CannotOpen);
    EXPECT_EQ(ReadIfcFile(std::filesystem::temp_directory_path()).error.code, DiagnosticCode::CannotOpen);
}

TEST(Robustness, AFileIsReadAsItsBytesAre) {
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("norvex-ifc-" + std::to_string(std::random_device{}()) + ".ifc");
    const std::string text = Varied();
    std::ofstream(path, std::ios::binary) << text;
    const ReadResult fromFile = ReadIfcFile(path);
    std::filesystem::remove(path);
    ASSERT_TRUE(fromFile.Ok());
    EXPECT_EQ(fromFile.model->sourceName, path.filename().string());
    EXPECT_EQ(fromFile.model->elements.size(), Read(text).model->elements.size());
}

TEST(Robustness, RepeatedGlobalIdsAreSaid) {
    ModelText text;
    text.Add("IFCVALVE('same',$,$,$,$,$,$,$,$)");
    text.Add("IFCVALVE('same',$,$,$,$,$,$,$,$)");
    const BuildingModel model = text.Read();
    EXPECT_EQ(std::count_if(model.diagnostics.begin(), model.diagnostics.end(),
                            [](const Diagnostic& one) { return one.code == DiagnosticCode::RepeatedGlobalId; }),
              1);
    EXPECT_EQ(model.elements.size(), 2U);
}

TEST(Robustness, TheSameBytesGiveTheSameModel) {
    const std::string text = Varied();
    const ReadResult first = Read(text);
    const ReadResult second = Read(text);
    ASSERT_EQ(first.model->elements.size(), second.model->elements.size());
    for (std::size_t i = 0; i < first.model->elements.size(); ++i) {
        EXPECT_EQ(first.model->elements[i].start, second.model->elements[i].start);
        EXPECT_EQ(first.model->elements[i].detailName, second.model->elements[i].detailName);
    }
    EXPECT_EQ(first.model->junctions.size(), second.model->junctions.size());
}

}  // namespace
}  // namespace norvex::ifc
