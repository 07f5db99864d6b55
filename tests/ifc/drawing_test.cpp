// SPDX-License-Identifier: Apache-2.0
#include "ModelText.h"
#include "SharedModels.h"
#include "ifc/drawing/FloorDrawing.h"
#include "platform/text/Utf8.h"
#include "platform/zrow/ZrOwLines.h"
#include "platform/zrow/ZrOwNodes.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace norvex::ifc {
namespace {

// Opens the entity under a handle for reading and closes it again; null when there is none of this class.
template <class T>
const T* Entity(AcDbDatabase& database, std::uint32_t handle) {
    AcDbObjectId id;
    if (database.getAcDbObjectId(id, false, AcDbHandle(Adesk::UInt64{handle})) != Acad::eOk) {
        return nullptr;
    }
    T* entity = nullptr;
    if (acdbOpenObject(entity, id, AcDb::kForRead) != Acad::eOk) {
        return nullptr;
    }
    entity->close();
    return entity;
}

std::string Property(const ZrOwEntity& entity, const CString& name) {
    CString value;
    return entity.GetProperty(name, value) ? text::ToUtf8(value) : "none";
}

TEST(FloorDrawing, MarksElementsThatShareTheirGlobalIdWithAnother) {
    ModelText text;
    const int one = text.Add("IFCVALVE('same',$,$,$,$," + ModelText::Ref(text.Placement(0, 0, 0)) + ",$,$,$)");
    const int other = text.Add("IFCPUMP('same',$,$,$,$," + ModelText::Ref(text.Placement(9, 0, 0)) + ",$,$,$)");
    const int alone = text.Add("IFCPUMP('alone',$,$,$,$," + ModelText::Ref(text.Placement(99, 0, 0)) + ",$,$,$)");
    // Two without any GlobalId share nothing.
    const int nameless = text.Add("IFCPUMP('',$,$,$,$," + ModelText::Ref(text.Placement(5, 0, 0)) + ",$,$,$)");
    text.Add("IFCPUMP('',$,$,$,$," + ModelText::Ref(text.Placement(7, 0, 0)) + ",$,$,$)");
    // The other one is marked although it lies on another floor.
    text.Add("IFCRELCONTAINEDINSPATIALSTRUCTURE('',$,$,$,(" + ModelText::Ref(one) + "," + ModelText::Ref(alone) + "," +
             ModelText::Ref(nameless) + "),#4)");
    const BuildingModel model = text.Read();
    const FloorDrawing storey = DrawFloor(model, 0);
    const FloorDrawing rest = DrawFloor(model, kNoIndex);
    const auto repeats = [](const FloorDrawing& drawing, int id) {
        return Property(*Entity<ZrOwEntity>(*drawing.database, static_cast<std::uint32_t>(id)),
                        kPropertyGlobalIdRepeats);
    };
    EXPECT_EQ(repeats(storey, one), "1");
    EXPECT_EQ(repeats(rest, other), "1");
    EXPECT_EQ(repeats(storey, alone), "none");
    EXPECT_EQ(repeats(storey, nameless), "none");
}

TEST(FloorDrawing, DrawsEachKindUnderItsInstanceNumber) {
    ModelText text;
    const int left = text.Pipe(0, 0, 1000, 0);
    const int valve = text.Block("IFCVALVE", 1050, 0, 0, 100);
    const int right = text.Pipe(1100, 0, 2000, 0);
    const int pump = text.Block("IFCPUMP", 5000, 0, 0, 100);
    const int system = text.Add("IFCDISTRIBUTIONSYSTEM('',$,'K\\\\1',$,$,$,.HEATING.)");
    text.Add("IFCRELASSIGNSTOGROUP('',$,$,$,(" + ModelText::Ref(left) + "),$," + ModelText::Ref(system) + ")");
    const int type = text.Add("IFCPIPESEGMENTTYPE('',$,'Rohr\\\\DN50',$,$,$,$,$,$,.RIGIDSEGMENT.)");
    text.Add("IFCRELDEFINESBYTYPE('',$,$,$,(" + ModelText::Ref(left) + ")," + ModelText::Ref(type) + ")");
    const int cable = text.Add("IFCCABLESEGMENT('c',$,$,$,$,$,$,$,$)");
    text.Add("IFCRELCONTAINEDINSPATIALSTRUCTURE('',$,$,$,(" + ModelText::Ref(cable) + "),#4)");
    const int nowhere = text.Block("IFCTANK", 0, 0, 0, 1);
    const BuildingModel model = text.Read();

    const FloorDrawing drawing = DrawFloor(model, 0);
    EXPECT_EQ(drawing.drawn, 5U);
    ASSERT_EQ(drawing.undrawn.size(), 1U) << "a cable without a shape has no place";
    EXPECT_EQ(model.elements[drawing.undrawn[0]].id, static_cast<std::uint32_t>(cable));
    EXPECT_EQ(drawing.database->modelSpaceSize(), 5U);

    const auto* pipe = Entity<ZrOwPolyLine>(*drawing.database, static_cast<std::uint32_t>(left));
    const auto* next = Entity<ZrOwPolyLine>(*drawing.database, static_cast<std::uint32_t>(right));
    const auto* fitting = Entity<ZrOwFittingBase>(*drawing.database, static_cast<std::uint32_t>(valve));
    ASSERT_NE(pipe, nullptr);
    ASSERT_NE(next, nullptr);
    ASSERT_NE(fitting, nullptr);
    EXPECT_NE(Entity<ZrOwNode>(*drawing.database, static_cast<std::uint32_t>(pump)), nullptr);
    EXPECT_NE(Entity<ZrOwNode>(*drawing.database, static_cast<std::uint32_t>(nowhere)), nullptr);
    EXPECT_EQ(text::ToUtf8(pipe->GetAttName()), "暖通\\管线\\管道\\Rohr/DN50");
    EXPECT_EQ(text::ToUtf8(pipe->GetSysCode()), "暖通\\K/1");
    EXPECT_EQ(text::ToUtf8(next->GetSysCode()), "给排水\\");
    EXPECT_EQ(Property(*pipe, kPropertyNominalDiameter), "50");
    EXPECT_EQ(Property(*pipe, kPropertyClass), "IfcPipeSegment");
    EXPECT_EQ(Property(*next, kPropertyNominalDiameter), "none");
    EXPECT_EQ(pipe->GetEndPoint().x, next->GetStartPoint().x);
    EXPECT_EQ(pipe->GetEndPoint().x, fitting->GetPosition().x);
    EXPECT_DOUBLE_EQ(pipe->GetLength(), 1000.0) << "as in the file, not as moved to the valve";
    EXPECT_EQ(drawing.database->openCount(), 0);
}

TEST(FloorDrawing, KeepsPipesOfDifferentLengthBetweenTheSameJunctionsApart) {
    ModelText text;
    text.Block("IFCPIPEFITTING", 0, 50, 0, 200);
    text.Block("IFCPIPEFITTING", 1000, 50, 0, 200);
    const int straight = text.Pipe(90, 0, 910, 0);
    const int aside = text.Pipe(80, 100, 920, 100);
    const FloorDrawing drawing = DrawFloor(text.Read(), 0);
    const auto* first = Entity<ZrOwPolyLine>(*drawing.database, static_cast<std::uint32_t>(straight));
    const auto* second = Entity<ZrOwPolyLine>(*drawing.database, static_cast<std::uint32_t>(aside));
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_TRUE(first->GetStartPoint() == second->GetStartPoint());
    EXPECT_TRUE(first->GetEndPoint() == second->GetEndPoint());
    EXPECT_DOUBLE_EQ(first->GetLength(), 820.0);
    EXPECT_DOUBLE_EQ(second->GetLength(), 840.0);
}

// Gives objects a property set that says how ends are joined.
void SayConnectionType(ModelText& text, std::initializer_list<int> objects, const std::string& property) {
    std::string list;
    for (const int object : objects) {
        list += (list.empty() ? "" : ",") + ModelText::Ref(object);
    }
    const int set = text.Add("IFCPROPERTYSET('',$,'Any',$,(" + ModelText::Ref(text.Add(property)) + "))");
    text.Add("IFCRELDEFINESBYPROPERTIES('',$,$,$,(" + list + ")," + ModelText::Ref(set) + ")");
}

TEST(FloorDrawing, HandsOverHowEndsAreJoined) {
    ModelText text;
    const int alike = text.Pipe(0, 0, 1000, 0);
    const int mixed = text.Pipe(0, 500, 1000, 500);
    const int own = text.Pipe(0, 900, 1000, 900);
    const int silent = text.Pipe(0, 1300, 1000, 1300);
    SayConnectionType(text, {text.Port(alike, 0, 0), text.Port(alike, 1000, 0), text.Port(mixed, 0, 500)},
                      "IFCPROPERTYENUMERATEDVALUE('ConnectionType',$,(IFCLABEL('THREADED')),$)");
    SayConnectionType(text, {text.Port(mixed, 1000, 500)},
                      "IFCPROPERTYENUMERATEDVALUE('ConnectionType',$,(IFCLABEL('GROOVED')),$)");
    SayConnectionType(text, {own},
                      "IFCPROPERTYSINGLEVALUE('\\X2\\8FDE63A565B95F0F\\X0\\',$,IFCLABEL('\\X2\\710A63A5\\X0\\'),$)");
    SayConnectionType(text, {silent}, "IFCPROPERTYSINGLEVALUE('ConnectionType',$,IFCLABEL('NOTDEFINED'),$)");
    const FloorDrawing drawing = DrawFloor(text.Read(), 0);
    const auto type = [&](int pipe) {
        const auto* line = Entity<ZrOwPolyLine>(*drawing.database, static_cast<std::uint32_t>(pipe));
        return line == nullptr ? "not drawn" : Property(*line, kPropertyConnectionType);
    };
    EXPECT_EQ(type(alike), "THREADED");
    EXPECT_EQ(type(mixed), "GROOVED,THREADED");
    EXPECT_EQ(type(own), "焊接");
    EXPECT_EQ(type(silent), "none");
}

TEST(FloorDrawing, HandsOverWhatIsJoinedToDevicesAndEquipment) {
    ModelText text;
    const int left = text.Pipe(0, 0, 1000, 0);
    const int valve = text.Block("IFCVALVE", 1050, 0, 0, 100);
    const int right = text.Pipe(1100, 0, 2000, 0);
    const int pump = text.Block("IFCPUMP", 2500, 0, 0, 100);
    text.Connect(text.Port(pump, 2000, 0), text.Port(right, 2000, 0));
    const FloorDrawing drawing = DrawFloor(text.Read(), 0);
    const auto* pipe = Entity<ZrOwPolyLine>(*drawing.database, static_cast<std::uint32_t>(left));
    const auto* device = Entity<ZrOwFittingBase>(*drawing.database, static_cast<std::uint32_t>(valve));
    const auto* equipment = Entity<ZrOwNode>(*drawing.database, static_cast<std::uint32_t>(pump));
    ASSERT_NE(pipe, nullptr);
    ASSERT_NE(device, nullptr);
    ASSERT_NE(equipment, nullptr);
    const auto handle = [](int id) {
        CString digits;
        digits.Format(u"%X", id);
        return text::ToUtf8(digits);
    };
    EXPECT_EQ(Property(*device, kPropertyJoined), handle(left) + "," + handle(right));
    EXPECT_EQ(Property(*equipment, kPropertyJoined), handle(right));
    EXPECT_EQ(Property(*pipe, kPropertyJoined), "none") << "runs tell it by their ends";
    EXPECT_EQ(Property(*pipe, kPropertyOuterDiameter), "50");
    EXPECT_EQ(Property(*device, kPropertyOuterDiameter), "none");
}

Element ElementOn(std::uint32_t storey, ElementKind kind, bool placed = true) {
    Element element;
    element.storey = storey;
    element.kind = kind;
    element.placed = placed;
    return element;
}

TEST(FloorIndex, ListsEachFloorInTheOrderOfTheModel) {
    BuildingModel model;
    model.storeys.resize(3);
    for (const std::uint32_t storey : {2U, kNoIndex, 0U, 2U, kNoIndex, 0U, 2U}) {
        model.elements.push_back(ElementOn(storey, ElementKind::Other));
    }
    const FloorIndex index(model);
    const auto elements = [&](std::uint32_t storey) {
        const auto list = index.Elements(storey);
        return std::vector<std::uint32_t>(list.begin(), list.end());
    };
    EXPECT_EQ(elements(0), (std::vector<std::uint32_t>{2, 5}));
    EXPECT_EQ(elements(1), std::vector<std::uint32_t>());
    EXPECT_EQ(elements(2), (std::vector<std::uint32_t>{0, 3, 6}));
    EXPECT_EQ(elements(kNoIndex), (std::vector<std::uint32_t>{1, 4}));
}

TEST(FloorIndex, ListsWhatIsJoinedOnTheSameFloorOnce) {
    BuildingModel model;
    model.storeys.resize(2);
    model.elements = {ElementOn(0, ElementKind::Segment),        ElementOn(0, ElementKind::Fitting),
                      ElementOn(1, ElementKind::Fitting),        ElementOn(0, ElementKind::Terminal, false),
                      ElementOn(kNoIndex, ElementKind::Fitting), ElementOn(kNoIndex, ElementKind::Equipment),
                      ElementOn(0, ElementKind::InlineDevice)};
    const auto join = [&](std::uint32_t one, std::uint32_t other) {
        model.connections.push_back({.first = one, .second = other});
    };
    join(6, 1);
    join(1, 2);  // across storeys
    join(1, 3);  // not placed
    join(0, 1);
    join(1, 0);  // said twice
    join(4, 5);
    join(4, 0);  // one on no storey
    const FloorIndex index(model);
    const auto joined = [&](std::uint32_t element) {
        const auto list = index.Joined(element);
        return std::vector<std::uint32_t>(list.begin(), list.end());
    };
    EXPECT_EQ(joined(0), std::vector<std::uint32_t>()) << "segments tell it by their ends";
    EXPECT_EQ(joined(1), (std::vector<std::uint32_t>{0, 6}));
    EXPECT_EQ(joined(2), std::vector<std::uint32_t>());
    EXPECT_EQ(joined(3), (std::vector<std::uint32_t>{1})) << "whether it is drawn itself is for the drawing to see";
    EXPECT_EQ(joined(4), (std::vector<std::uint32_t>{5}));
    EXPECT_EQ(joined(5), (std::vector<std::uint32_t>{4}));
    EXPECT_EQ(joined(6), (std::vector<std::uint32_t>{1}));
}

TEST(FloorIndex, OfAnEmptyModelIsEmpty) {
    const BuildingModel model;
    EXPECT_TRUE(FloorIndex(model).Elements(kNoIndex).empty());
}

// The converted texts of more names and diameters than are kept at a time still go to the right elements.
TEST(FloorDrawing, NamesManyElementsAsTheModelDoes) {
    constexpr std::uint32_t kElements = 3000;
    BuildingModel model;
    for (std::uint32_t i = 0; i < kElements; ++i) {
        Element element = ElementOn(kNoIndex, ElementKind::Fitting);
        element.id = i + 1;
        element.className = "IfcPipeFitting";
        element.specialty = element.category = element.subCategory = element.detailName = "x";
        element.name = model.texts.Intern((i % 3 == 0 ? "弯头 " : "bend ") + std::to_string(i % 700));
        element.nominalDiameter = i % 900;
        element.outerDiameter = 0.5 * (i % 800);
        model.elements.push_back(element);
    }
    const FloorDrawing drawing = DrawFloor(model, kNoIndex);
    ASSERT_EQ(drawing.drawn, kElements);
    for (const Element& element : model.elements) {
        const auto* entity = Entity<ZrOwEntity>(*drawing.database, element.id);
        EXPECT_EQ(Property(*entity, kPropertyName), element.name);
        CString number;
        number.Format(u"%g", element.nominalDiameter);
        EXPECT_EQ(Property(*entity, kPropertyNominalDiameter),
                  element.nominalDiameter > 0.0 ? text::ToUtf8(number) : "none");
        number.Format(u"%g", element.outerDiameter);
        EXPECT_EQ(Property(*entity, kPropertyOuterDiameter),
                  element.outerDiameter > 0.0 ? text::ToUtf8(number) : "none");
    }
}

TEST(FloorDrawing, DrawsEveryPlacedElementOfTheRealModelsOnce) {
    NORVEX_REQUIRE_SHARED("models/INDEX.tsv");
    for (const IndexRow& row : ReadIndex()) {
        const BuildingModel model = ReadShared(row.at("file"));
        std::size_t drawn = 0;
        std::size_t undrawn = 0;
        for (std::uint32_t storey = 0; storey <= model.storeys.size(); ++storey) {
            const FloorDrawing drawing = DrawFloor(model, storey < model.storeys.size() ? storey : kNoIndex);
            drawn += drawing.drawn;
            undrawn += drawing.undrawn.size();
        }
        EXPECT_EQ(drawn + undrawn, model.elements.size()) << row.at("file");
        EXPECT_EQ(undrawn, model.counts.withoutPlace) << row.at("file");
        // 44 cables without a shape, and 20 devices whose placement is $.
        EXPECT_EQ(undrawn, row.at("file").starts_with("DDS") ? 64U : 0U) << row.at("file");
    }
}

}  // namespace
}  // namespace norvex::ifc
