// SPDX-License-Identifier: Apache-2.0
#include "platform/zrow/Drawing.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using norvex::Drawing;

AcGePoint3d LabelOf(const ZrOwEntity& entity) {
    AcGePoint3d position(-1, -1, -1);
    EXPECT_EQ(entity.pntNamePos(position), Acad::eOk);
    return position;
}

AcDbExtents ExtentsOf(const AcDbEntity& entity) {
    AcDbExtents box;
    EXPECT_EQ(entity.getGeomExtents(box), Acad::eOk);
    return box;
}

}  // namespace

TEST(DrawingBuilder, AppendsEntitiesInOrderWithHandlesFrom1) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {1000, 0, 0}).node({1000, 0, 0}).fitting({0, 0, 0}).riser({0, 0}, 0, 3000).groove(-500);
    drawing.mainLine({0, 0, 0}, {1, 0, 0}, {u"J1", 1, 2}).leadContainer().leadBuried(AcDbHandle()).foreign();
    EXPECT_EQ(drawing.database().modelSpaceSize(), 9U);
    EXPECT_EQ(drawing.lastId().handle().value(), 9U);
    EXPECT_NE(drawing.at<ZrOwPolyLine>(0), nullptr);
    EXPECT_NE(drawing.at<ZrOwNode>(1), nullptr);
    EXPECT_NE(drawing.at<ZrOwFittingBase>(2), nullptr);
    EXPECT_NE(drawing.at<ZrOwDownLine>(3), nullptr);
    EXPECT_NE(drawing.at<ZrOwGroove>(4), nullptr);
    EXPECT_NE(drawing.at<ZrOwMainLine>(5), nullptr);
    EXPECT_NE(drawing.at<ZrOwLeadContainer>(6), nullptr);
    EXPECT_NE(drawing.at<ZrOwLeadBuried>(7), nullptr);
    EXPECT_EQ(drawing.at<ZrOwEntity>(8), nullptr) << "not of the maker's library";
    EXPECT_NE(drawing.at<AcDbEntity>(8), nullptr);
    EXPECT_EQ(drawing.at<AcDbEntity>(9), nullptr);
    EXPECT_EQ(drawing.entities().size(), 8U);
    EXPECT_EQ(drawing.database().openCount(), 0);
}

TEST(DrawingBuilder, TakesTextAsUtf8OrWide) {
    Drawing drawing;
    drawing.node({0, 0, 0}, "给排水\\设备\\泵\\P1")
        .node({0, 0, 0}, u"给排水\\设备\\泵\\P1")
        .node({0, 0, 0}, L"给排水\\设备\\泵\\P1");
    for (const ZrOwEntity* entity : drawing.entities()) {
        EXPECT_EQ(entity->GetAttName(), u"给排水\\设备\\泵\\P1");
        EXPECT_EQ(entity->GetSysCode(), u"给排水\\");
    }
}

TEST(DrawingBuilder, SystemCodeEndsWithTheFirstSeparatorOfThePath) {
    Drawing drawing;
    drawing.node({0, 0, 0})
        .node({0, 0, 0}, "no separator")
        .node({0, 0, 0}, "\\x")
        .node({0, 0, 0}, "a\\b")
        .sysCode("消防\\XF");
    const std::vector<ZrOwEntity*> entities = drawing.entities();
    EXPECT_EQ(entities[0]->GetSysCode(), u"");
    EXPECT_EQ(entities[1]->GetSysCode(), u"");
    EXPECT_EQ(entities[2]->GetSysCode(), u"\\");
    EXPECT_EQ(entities[3]->GetSysCode(), u"消防\\XF");
}

TEST(DrawingBuilder, GivesTheNextEntityTheHandleAskedFor) {
    Drawing drawing;
    drawing.handle(0x2F1).node({0, 0, 0}).node({0, 0, 0});
    EXPECT_EQ(drawing.entities()[0]->objectId().handle().value(), 0x2F1U);
    EXPECT_EQ(drawing.entities()[1]->objectId().handle().value(), 1U);
    EXPECT_THROW(drawing.handle(0x2F1).node({0, 0, 0}), std::invalid_argument);
    EXPECT_THROW(drawing.entity(nullptr), std::invalid_argument);
    drawing.node({0, 0, 0});
    EXPECT_EQ(drawing.entities().size(), 3U) << "a refused entity leaves no trace";
    EXPECT_EQ(drawing.database().modelSpaceSize(), 3U);
}

TEST(DrawingBuilder, SetsWhatTheLastEntityCarries) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {3, 4, 0})
        .property(kPropertyGlobalId, "0abc")
        .property(u"x", "1")
        .property(u"x", "2")
        .length(7);
    const ZrOwPolyLine* const pipe = drawing.at<ZrOwPolyLine>(0);
    CString value = u"before";
    EXPECT_TRUE(pipe->GetProperty(kPropertyGlobalId, value));
    EXPECT_EQ(value, u"0abc");
    EXPECT_TRUE(pipe->GetProperty(u"x", value));
    EXPECT_EQ(value, u"2") << "a second value replaces the first";
    EXPECT_FALSE(pipe->GetProperty(u"y", value));
    EXPECT_EQ(value, u"2") << "unchanged";
    EXPECT_EQ(pipe->Properties().size(), 2U);
    EXPECT_EQ(pipe->GetLength(), 7.0);
}

TEST(DrawingBuilder, ForeignEntitiesCarryNothing) {
    Drawing drawing;
    drawing.node({0, 0, 0}, "a\\b").foreign().sysCode("x").property(u"x", "1").length(3);
    EXPECT_EQ(drawing.entities()[0]->GetSysCode(), u"a\\");
    EXPECT_TRUE(drawing.entities()[0]->Properties().empty());
    Drawing().sysCode("x").property(u"x", "1").length(3).erased().unopenable();
}

TEST(DrawingBuilder, ErasesAndLocksTheLastEntity) {
    Drawing drawing;
    drawing.node({0, 0, 0}).erased().node({0, 0, 0}).unopenable().node({0, 0, 0});
    const std::vector<ZrOwEntity*> entities = drawing.entities();
    EXPECT_TRUE(entities[0]->isErased());
    AcDbObject* object = nullptr;
    EXPECT_EQ(acdbOpenObject(object, entities[0]->objectId()), Acad::eWasErased);
    EXPECT_EQ(acdbOpenObject(object, entities[1]->objectId()), Acad::eNotOpenForRead);
    EXPECT_EQ(acdbOpenObject(object, entities[2]->objectId()), Acad::eOk);
    object->close();
    EXPECT_EQ(drawing.database().openCount(), 0);
}

TEST(DrawingBuilder, IsCurrentUntilItIsDestroyedOrReplaced) {
    const AcDbHostApplicationServices* const services = acdbHostApplicationServices();
    {
        Drawing drawing;
        EXPECT_EQ(services->workingDatabase(), nullptr);
        drawing.makeCurrent();
        EXPECT_EQ(services->workingDatabase(), &drawing.database());
        Drawing other;
        other.makeCurrent();
        EXPECT_EQ(services->workingDatabase(), &other.database());
    }
    EXPECT_EQ(services->workingDatabase(), nullptr);
}

TEST(DrawingBuilder, MovesWithItsEntities) {
    Drawing drawing;
    drawing.node({1, 2, 3}).makeCurrent();
    const ZrOwEntity* const entity = drawing.entities()[0];
    Drawing moved(std::move(drawing));
    EXPECT_EQ(moved.entities()[0], entity);
    EXPECT_EQ(acdbHostApplicationServices()->workingDatabase(), &moved.database());
    Drawing assigned;
    assigned = std::move(moved);
    EXPECT_EQ(assigned.node({0, 0, 0}).database().modelSpaceSize(), 2U);
}

TEST(DrawingBuilder, BuriesLeadsInTheContainerOfAHandle) {
    Drawing drawing;
    drawing.leadContainer().leadBuried(AcDbHandle(Adesk::UInt64{1})).leadBuried(AcDbHandle(Adesk::UInt64{99}));
    EXPECT_EQ(drawing.at<ZrOwBuried>(1)->GetContainerId(), drawing.at<ZrOwLeadContainer>(0)->objectId());
    EXPECT_TRUE(drawing.at<ZrOwBuried>(2)->GetContainerId().isNull());
}

TEST(ObjectLibrary, ClassesDeriveAsTheMakersDo) {
    EXPECT_TRUE(ZrOwMainLine::desc()->isDerivedFrom(ZrOwPolyLine::desc()));
    EXPECT_TRUE(ZrOwLeadBuried::desc()->isDerivedFrom(ZrOwBuried::desc()));
    for (const AcRxClass* kind : {ZrOwPolyLine::desc(), ZrOwDownLine::desc(), ZrOwGroove::desc(), ZrOwNode::desc(),
                                  ZrOwFittingBase::desc(), ZrOwBuried::desc(), ZrOwLeadContainer::desc()}) {
        EXPECT_TRUE(kind->isDerivedFrom(ZrOwEntity::desc()));
        EXPECT_TRUE(kind->isDerivedFrom(AcDbEntity::desc()));
        EXPECT_EQ(kind->myParent(), ZrOwEntity::desc());
    }
    const ZrOwNode node({0, 0, 0});
    EXPECT_EQ(ZrOwPolyLine::cast(&node), nullptr);
    EXPECT_EQ(ZrOwEntity::cast(&node), &node);
}

TEST(ObjectLibrary, PipeMeasuresAlongItsRun) {
    ZrOwPolyLine pipe({0, 0, 0}, {3, 4, 12});
    EXPECT_EQ(pipe.GetLength(), 13.0);
    pipe.SetPoints({0, 0, 0}, {3, 4, 0});
    EXPECT_EQ(pipe.GetLength(), 5.0);
    pipe.SetLength(6.5);
    EXPECT_EQ(pipe.GetLength(), 6.5);
    EXPECT_TRUE(pipe.GetStartPoint() == AcGePoint3d(0, 0, 0));
    EXPECT_TRUE(pipe.GetEndPoint() == AcGePoint3d(3, 4, 0));
}

TEST(ObjectLibrary, EntitiesKnowWhereTheirLabelStands) {
    EXPECT_TRUE(LabelOf(ZrOwPolyLine({0, 0, 0}, {10, 20, 30})) == AcGePoint3d(5, 10, 15));
    EXPECT_TRUE(LabelOf(ZrOwDownLine({1, 2}, 3, 4)) == AcGePoint3d(1, 2, 3));
    EXPECT_TRUE(LabelOf(ZrOwNode({1, 2, 3})) == AcGePoint3d(1, 2, 3));
    EXPECT_TRUE(LabelOf(ZrOwFittingBase({1, 2, 3})) == AcGePoint3d(1, 2, 3));
    AcGePoint3d position(7, 8, 9);
    EXPECT_EQ(ZrOwGroove(5).pntNamePos(position), Acad::eNullExtents);
    EXPECT_TRUE(position == AcGePoint3d(7, 8, 9)) << "unchanged";
}

TEST(ObjectLibrary, EntitiesKnowTheRoomTheyTake) {
    const AcDbExtents pipe = ExtentsOf(ZrOwPolyLine({10, 0, 30}, {0, 20, 0}));
    EXPECT_TRUE(pipe.minPoint() == AcGePoint3d(0, 0, 0));
    EXPECT_TRUE(pipe.maxPoint() == AcGePoint3d(10, 20, 30));
    const AcDbExtents riser = ExtentsOf(ZrOwDownLine({1, 2}, 9, -9));
    EXPECT_TRUE(riser.minPoint() == AcGePoint3d(1, 2, -9));
    EXPECT_TRUE(riser.maxPoint() == AcGePoint3d(1, 2, 9));
    EXPECT_TRUE(ExtentsOf(ZrOwNode({1, 2, 3})).minPoint() == AcGePoint3d(1, 2, 3));
    EXPECT_TRUE(ExtentsOf(ZrOwFittingBase({1, 2, 3})).maxPoint() == AcGePoint3d(1, 2, 3));
    AcDbExtents box;
    EXPECT_EQ(ZrOwGroove(5).getGeomExtents(box), Acad::eNullExtents);
}

TEST(ObjectLibrary, MainLineHandsOutANewRecordEachTime) {
    const ZrOwMainLine line({0, 0, 0}, {1, 0, 0}, {u"J1", 3000, -50});
    const std::unique_ptr<ZrOwMainPipeInfo> first(line.GetMainPipeInfo());
    const std::unique_ptr<ZrOwMainPipeInfo> second(line.GetMainPipeInfo());
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(first->name, u"J1");
    EXPECT_EQ(first->level1, 3000.0);
    EXPECT_EQ(first->level2, -50.0);
}

TEST(ObjectLibrary, RiserHandsOutItsLevelsAsDrawn) {
    AcGePoint2d plan;
    double level1 = 0;
    double level2 = 0;
    ZrOwDownLine({1, 2}, 3000, -50).GetInsertPt(plan, level1, level2);
    EXPECT_EQ(plan.x, 1.0);
    EXPECT_EQ(plan.y, 2.0);
    EXPECT_EQ(level1, 3000.0);
    EXPECT_EQ(level2, -50.0);
}
