// SPDX-License-Identifier: Apache-2.0
#include "ModelText.h"
#include "ifc/mapping/CategoryTable.h"

#include <gtest/gtest.h>

#include <fstream>

namespace norvex::ifc {
namespace {

TEST(CategoryTable, KnowsTheSystemsOfEverySpecialty) {
    const CategoryTable& table = CategoryTable::Default();
    EXPECT_EQ(table.OfSystemType("FIREPROTECTION"), "消防");
    EXPECT_EQ(table.OfSystemType("DOMESTICCOLDWATER"), "给排水");
    EXPECT_EQ(table.OfSystemType("CHILLEDWATER"), "暖通");
    EXPECT_EQ(table.OfSystemType("LIGHTNINGPROTECTION"), "电气");
    EXPECT_EQ(table.OfSystemType("ELECTROACOUSTIC"), "弱电");
    EXPECT_EQ(table.OfSystemType("NOTDEFINED"), "");
    EXPECT_EQ(table.OfSystemName("2_VL  Vorlauf"), "暖通");
    EXPECT_EQ(table.OfSystemName("МЕХАНИЧЕСКИЕ ПРИТОЧНЫЙ воздух 1"), "暖通");
    EXPECT_EQ(table.OfSystemName("1F给水系统"), "给排水");
    EXPECT_EQ(table.OfSystemName("Trinkwasser kalt"), "给排水");
    EXPECT_EQ(table.OfSystemName("World"), "") << "RL counts as a word of its own only";
    EXPECT_EQ(table.OfSystemName(""), "");
}

TEST(CategoryTable, KnowsTheClassesOfTheTable) {
    struct Case {
        std::string_view key;
        std::string_view predefined;
        std::string_view path;
    };
    const Case cases[] = {
        {"DuctSegment", "", "暖通/管线/风管"},
        {"CableCarrierFitting", "", "电气/电缆桥架/桥架配件"},
        {"Damper", "FIREDAMPER", "暖通/附件/风阀"},
        {"Outlet", "POWEROUTLET", "电气/零星构件/插座"},
        {"Outlet", "DATAOUTLET", "弱电/零星构件/插座"},
        {"FireSuppressionTerminal", "SPRINKLER", "消防/设备/喷头"},
        {"FireSuppressionTerminal", "HOSEREEL", "消防/设备/消火栓"},
        {"ElectricDistributionPoint", "", "电气/配电箱柜/配电箱"},
        {"Alarm", "", "弱电/设备/弱电设备"},
        {"Wall", "", "//"},
    };
    for (const Case& one : cases) {
        const CategoryPath path = CategoryTable::Default().OfClass(one.key, one.predefined);
        EXPECT_EQ(std::string(path.specialty) + "/" + std::string(path.category) + "/" + std::string(path.subCategory),
                  one.path)
            << one.key;
    }
}

TEST(CategoryTable, LowersTheLettersOfTheLanguagesItHolds) {
    EXPECT_EQ(LowerCase("ABC xyz ÄÖÜ ß × ПРИТОЧНЫЙ Ёж 给水"), "abc xyz äöü ß × приточный ёж 给水");
}

struct BadTable {
    std::string_view text;
    std::uint32_t line;
    std::string_view sentence;
};

TEST(CategoryTable, SaysInOneSentenceWhatIsWrongWithALine) {
    const BadTable cases[] = {
        {"", 0, "The category table holds no line that begins with class."},
        {"class\tPump\t给排水\t设备\n", 1,
         "A line that begins with class has 5 fields with tabs between them, this one has 4."},
        {"# note\n\nsystems\tHEATING\t暖通\n", 3,
         "A line begins with system, system-word, name-word or class, not with \"systems\"."},
        {"class\tPump\t-\t设备\t水泵\n", 1,
         "Field 3 of a line that begins with class is empty, a dash or holds a backslash."},
        {"class\tPump\t给排水\\x\t设备\t水泵\n", 1,
         "Field 3 of a line that begins with class is empty, a dash or holds a backslash."},
        {"system-word\ta||b\t暖通\n", 1, "A list of words separated by | holds an empty one."},
        {"name-word\ta\t暖通\t-\t-\tpump\n", 1,
         "The kind is one of fitting, inline, equipment, terminal and other, not \"pump\"."},
    };
    for (const BadTable& one : cases) {
        const CategoryTableResult result = CategoryTable::Parse(one.text);
        EXPECT_FALSE(result.table) << one.text;
        EXPECT_EQ(result.error.line, one.line) << one.text;
        EXPECT_EQ(result.error.sentence, one.sentence) << one.text;
    }
}

TEST(CategoryTable, SaysThatAFileCannotBeOpened) {
    EXPECT_EQ(CategoryTable::Load("/nonexistent/table.tsv").error.code, DiagnosticCode::CannotOpen);
    EXPECT_EQ(CategoryTable::Load("/").error.code, DiagnosticCode::CannotOpen);
}

TEST(CategoryTable, ShipsAsTheFileThatIsBuiltIn) {
    const CategoryTableResult shipped = CategoryTable::Load(std::filesystem::path(NORVEX_APP_DIR) / "ifc-mapping.tsv");
    ASSERT_TRUE(shipped.table) << shipped.error.sentence;
    EXPECT_EQ(shipped.table->OfClass("Pump", "").subCategory, CategoryTable::Default().OfClass("Pump", "").subCategory);
}

TEST(CategoryTable, OfTheUserReplacesTheOneThatShips) {
    const CategoryTableResult mine = CategoryTable::Parse("class\tPipeSegment\tMine\tLines\tPipes\r\n");
    ASSERT_TRUE(mine.table);
    ModelText text;
    text.Pipe(0, 0, 1000, 0);
    ReadOptions options;
    options.categories = &*mine.table;
    const BuildingModel model = text.Read(options);
    EXPECT_EQ(model.elements[0].specialty, "Mine");
    EXPECT_EQ(model.elements[0].category, "Lines");
    EXPECT_EQ(model.elements[0].subCategory, "Pipes");
}

// A pipe whose own attributes, type and system are given; its path joined by slashes.
std::string PathOfPipe(const std::string& element, const std::string& type, const std::string& system) {
    ModelText text;
    const int pipe = text.Add(element);
    if (!type.empty()) {
        const int typeId = text.Add(type);
        text.Add("IFCRELDEFINESBYTYPE('',$,$,$,(" + ModelText::Ref(pipe) + ")," + ModelText::Ref(typeId) + ")");
    }
    if (!system.empty()) {
        const int systemId = text.Add(system);
        text.Add("IFCRELASSIGNSTOGROUP('',$,$,$,(" + ModelText::Ref(pipe) + "),$," + ModelText::Ref(systemId) + ")");
    }
    const BuildingModel model = text.Read();
    const Element& one = model.elements.at(0);
    return std::string(one.specialty) + "/" + std::string(one.category) + "/" + std::string(one.subCategory) + "/" +
           std::string(one.detailName);
}

TEST(Categories, AskSystemThenNamesThenClass) {
    const std::string pipe = "IFCPIPESEGMENT('',$,'Rohr:7',$,$,$,$,$,$)";
    EXPECT_EQ(PathOfPipe(pipe, "", ""), "给排水/管线/管道/Rohr");
    EXPECT_EQ(PathOfPipe(pipe, "", "IFCDISTRIBUTIONSYSTEM('',$,'Trinkwasser',$,$,$,.HEATING.)"), "暖通/管线/管道/Rohr");
    EXPECT_EQ(PathOfPipe(pipe, "", "IFCDISTRIBUTIONSYSTEM('',$,'Sprinkler',$,$,$,.NOTDEFINED.)"),
              "消防/管线/管道/Rohr");
    EXPECT_EQ(PathOfPipe(pipe, "", "IFCSYSTEM('',$,'7',$,'Heizung')"), "暖通/管线/管道/Rohr");
    EXPECT_EQ(PathOfPipe(pipe, "", "IFCELECTRICALCIRCUIT('',$,'7',$,$)"), "电气/管线/管道/Rohr");
    EXPECT_EQ(PathOfPipe("IFCPIPESEGMENT('',$,'Sprinkler pipe',$,$,$,$,$,$)", "", ""), "消防/管线/管道/Sprinkler pipe")
        << "a word in the name of a pipe says what for, not that it is a sprinkler";
    EXPECT_EQ(PathOfPipe("IFCPIPESEGMENT('',$,'Sprinkler pipe',$,$,$,$,$,.RIGIDSEGMENT.)", "", ""),
              "给排水/管线/管道/Sprinkler pipe");
    EXPECT_EQ(PathOfPipe("IFCFLOWTERMINAL('',$,'M_Lighting Switches:Single Pole:7',$,$,$,$,$)",
                         "IFCLIGHTFIXTURETYPE('',$,'Single Pole',$,$,$,$,$,$,.USERDEFINED.)", ""),
              "电气/零星构件/开关/Single Pole");
}

TEST(Categories, NameTheDiameterOnce) {
    EXPECT_EQ(
        PathOfPipe("IFCPIPESEGMENT('',$,$,$,$,$,$,$,$)", "IFCPIPESEGMENTTYPE('',$,'Rohr DN50',$,$,$,$,$,$,$)", ""),
        "给排水/管线/管道/Rohr DN50");
    EXPECT_EQ(PathOfPipe("IFCPIPESEGMENT('',$,'Rohr DN 65',$,'Kupfer',$,$,$,$)", "", ""),
              "给排水/管线/管道/Kupfer DN65");
    EXPECT_EQ(PathOfPipe("IFCPIPESEGMENT('',$,'a',$,'C:\\\\x\\\\y',$,$,$,$)", "", ""), "给排水/管线/管道/C:/x/y");
    EXPECT_EQ(PathOfPipe("IFCPIPESEGMENT('',$,$,$,$,$,$,$,$)", "", ""), "给排水/管线/管道/管道");

    ModelText text;
    const int pipe = text.Add("IFCPIPESEGMENT('',$,'R',$,$,$,$,$,$)");
    const int property = text.Add("IFCPROPERTYSINGLEVALUE('NominalDiameter',$,IFCPOSITIVELENGTHMEASURE(80.),$)");
    const int set = text.Add("IFCPROPERTYSET('',$,'Pset_PipeSegmentTypeCommon',$,(" + ModelText::Ref(property) + "))");
    text.Add("IFCRELDEFINESBYPROPERTIES('',$,$,$,(" + ModelText::Ref(pipe) + ")," + ModelText::Ref(set) + ")");
    const BuildingModel model = text.Read();
    EXPECT_EQ(model.elements[0].detailName, "R DN80");
    EXPECT_DOUBLE_EQ(model.elements[0].nominalDiameter, 80.0);
}

}  // namespace
}  // namespace norvex::ifc
