// SPDX-License-Identifier: Apache-2.0
#include "ModelText.h"
#include "SharedModels.h"
#include "ifc/drawing/FloorDrawing.h"
#include "platform/text/Utf8.h"
#include "platform/zrow/ZrOwLines.h"
#include "platform/zrow/ZrOwNodes.h"

#include <gtest/gtest.h>

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
