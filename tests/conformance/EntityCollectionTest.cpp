// SPDX-License-Identifier: Apache-2.0
#include "Stands.h"
#include "norvexdata/trust/OwTrustTool.h"
#include "platform/zrow/Drawing.h"

using norvex::Drawing;
using norvex::contract::Component;
using norvex::contract::Groups;
using norvex::contract::TrustingService;

namespace {

using Entities = std::vector<ZrOwEntity*>;

// Drawings here are of water supply; "给排水" is the current specialty and pipes and valves are selected.
class EntityCollectionContract : public norvex::contract::CleanRun {
  protected:
    EntityCollectionContract() {
        CNorvexData::s_strCurSpec = L"给排水";
        CNorvexData::s_strSmallMemMap = {{L"管线", {L"给水管", L"排水管"}}, {L"附件", {L"阀门"}}};
        CNorvexData::SetNorvexService(&service);
        drawing.makeCurrent();
    }

    void Pipe(const CString& path) { drawing.pipe({0, 0, 0}, {1, 0, 0}, path); }
    ZrOwEntity* At(std::size_t index) const { return drawing.at<ZrOwEntity>(index); }

    // What the rule gets when the service trusts this much.
    COwTrustTool Trust(NS_NORVEX::TrustStatus status, const CString& floor = L"", const CString& item = L"") {
        service.status = status;
        service.records.removeAll();
        service.records.append(Component(floor, {item}));
        COwTrustTool tool;
        tool.Init(L"rule", L"rule");
        return tool;
    }
    CategoryMap Collected() {
        return CGetZrOwEntityPtrVec::GetInstance()->GetEntityByBigMemMap(Trust(NS_NORVEX::eTrustNone));
    }

    Drawing drawing;
    TrustingService service;
};

// category/sub-category/detail name to entities, in map order.
std::map<CString, Entities> Flat(const CategoryMap& map) {
    std::map<CString, Entities> flat;
    for (const auto& [category, subCategories] : map) {
        for (const auto& [subCategory, records] : subCategories) {
            for (const SAttEntPtr& record : records) {
                flat[category + L"/" + subCategory + L"/" + record.strDetailName] = record.vecEntPtr;
            }
        }
    }
    return flat;
}

using FlatMap = std::map<CString, Entities>;

}  // namespace

TEST(AttributeRecordContract, RecordsOrderByNameAlone) {
    const SAttEntPtr upper{L"Z", {}};
    const SAttEntPtr lower{L"a", {nullptr}};
    const SAttEntPtr again{L"Z", {nullptr, nullptr}};
    EXPECT_TRUE(upper < lower);
    EXPECT_FALSE(lower < upper);
    EXPECT_FALSE(upper < again);
    EXPECT_FALSE(again < upper);
}

TEST_F(EntityCollectionContract, ASystemCodeOfTheSpecialtyIsEnoughAndThePathDecidesWhere) {
    Pipe(L"消防\\管线\\给水管\\DN50");
    drawing.sysCode(L"给排水\\系统1");
    EXPECT_EQ(Flat(Collected()), (FlatMap{{L"管线/给水管/DN50", {At(0)}}}));
}

TEST_F(EntityCollectionContract, APathOfTheSpecialtyIsEnough) {
    Pipe(L"给排水\\管线\\给水管\\DN50");
    drawing.sysCode(L"消防\\系统1");
    EXPECT_EQ(Flat(Collected()), (FlatMap{{L"管线/给水管/DN50", {At(0)}}}));
}

TEST_F(EntityCollectionContract, ThePrefixCountsAtTheBeginningOnly) {
    Pipe(L"消防\\管线\\给水管\\DN50");
    drawing.sysCode(L"x给排水\\系统1");
    Pipe(L"x给排水\\管线\\给水管\\DN50");
    drawing.sysCode(L"");
    Pipe(L"给排水二\\管线\\给水管\\DN50");
    drawing.sysCode(L"给排水");
    EXPECT_TRUE(Collected().empty());
}

TEST_F(EntityCollectionContract, PathsOfThreeOrFiveComponentsAreNeverFiled) {
    Pipe(L"给排水\\管线\\给水管");
    Pipe(L"给排水\\管线\\给水管\\DN50\\x");
    Pipe(L"");
    drawing.sysCode(L"给排水\\系统1");
    EXPECT_TRUE(Collected().empty());
    EXPECT_TRUE(CGetZrOwEntityPtrVec::GetInstance()->GetIsEmptyFloor());
}

TEST_F(EntityCollectionContract, EmptyPathComponentsDoNotCount) {
    Pipe(L"给排水\\\\管线\\给水管\\DN50\\");
    EXPECT_EQ(Flat(Collected()), (FlatMap{{L"管线/给水管/DN50", {At(0)}}}));
}

TEST_F(EntityCollectionContract, EntitiesOfOneDetailNameShareARecordInDrawingOrder) {
    Pipe(L"给排水\\管线\\给水管\\DN50");
    Pipe(L"给排水\\管线\\给水管\\DN32");
    Pipe(L"给排水\\管线\\给水管\\DN50");
    Pipe(L"给排水\\管线\\排水管\\DN50");
    drawing.node({0, 0, 0}, L"给排水\\附件\\阀门\\DN50");
    EXPECT_EQ(Flat(Collected()), (FlatMap{{L"管线/给水管/DN50", {At(0), At(2)}},
                                          {L"管线/给水管/DN32", {At(1)}},
                                          {L"管线/排水管/DN50", {At(3)}},
                                          {L"附件/阀门/DN50", {At(4)}}}));
}

TEST_F(EntityCollectionContract, HoweverItsPathIsWrittenAnEntityStandsInItsRecordInDrawingOrder) {
    Pipe(L"给排水\\管线\\给水管\\DN50");
    Pipe(L"消防\\管线\\给水管\\DN50");
    drawing.sysCode(L"给排水\\J");
    Pipe(L"给排水\\管线\\给水管\\DN50");
    Pipe(L"给排水\\\\管线\\给水管\\DN50");
    Pipe(L"给排水\\管线\\给水管\\DN50");
    Pipe(L"给排水\\管线\\给水管\\DN50\\");
    Pipe(L"给排水\\管线\\给水管\\DN50");
    const FlatMap inOrder = {{L"管线/给水管/DN50", {At(0), At(1), At(2), At(3), At(4), At(5), At(6)}}};
    EXPECT_EQ(Flat(Collected()), inOrder);
    CategoryMap selected;
    CGetZrOwEntityPtrVec::GetInstance()->GetSelEntByCondition(selected, {{L"管线", {L"给水管"}}});
    EXPECT_EQ(Flat(selected), inOrder);
}

TEST_F(EntityCollectionContract, OnlySelectedPairsAreFiled) {
    Pipe(L"给排水\\管线\\雨水管\\DN50");
    Pipe(L"给排水\\设备\\给水管\\DN50");
    Pipe(L"给排水\\附件\\给水管\\DN50");
    Pipe(L"给排水\\管线\\给水管\\DN50");
    EXPECT_EQ(Flat(Collected()), (FlatMap{{L"管线/给水管/DN50", {At(3)}}}));
}

TEST_F(EntityCollectionContract, AFloorWithNothingSelectedIsEmpty) {
    Pipe(L"给排水\\管线\\雨水管\\DN50");
    EXPECT_TRUE(Collected().empty());
    EXPECT_TRUE(CGetZrOwEntityPtrVec::GetInstance()->GetIsEmptyFloor());
    EXPECT_TRUE(CGetZrOwEntityPtrVec::s_bIsEmpty);
}

TEST_F(EntityCollectionContract, AFiledEntityMakesTheFloorNotEmptyUntilDelete) {
    Pipe(L"给排水\\管线\\给水管\\DN50");
    EXPECT_TRUE(CGetZrOwEntityPtrVec::s_bIsEmpty);
    EXPECT_FALSE(CGetZrOwEntityPtrVec::GetInstance()->GetIsEmptyFloor());
    CGetZrOwEntityPtrVec::Delete();
    EXPECT_TRUE(CGetZrOwEntityPtrVec::s_bIsEmpty);
    EXPECT_EQ(CGetZrOwEntityPtrVec::s_cInstance, nullptr);
    CGetZrOwEntityPtrVec::Delete();
}

TEST_F(EntityCollectionContract, CollectingHappensOnceUntilDelete) {
    Pipe(L"给排水\\管线\\给水管\\DN50");
    CGetZrOwEntityPtrVec* const instance = CGetZrOwEntityPtrVec::GetInstance();
    EXPECT_EQ(CGetZrOwEntityPtrVec::s_cInstance, instance);
    Pipe(L"给排水\\管线\\排水管\\DN50");
    EXPECT_EQ(CGetZrOwEntityPtrVec::GetInstance(), instance);
    EXPECT_EQ(Flat(Collected()).size(), 1U);
    CGetZrOwEntityPtrVec::Delete();
    EXPECT_EQ(Flat(Collected()).size(), 2U);
}

TEST_F(EntityCollectionContract, WithoutADrawingTheCollectionIsEmpty) {
    acdbHostApplicationServices()->setWorkingDatabase(nullptr);
    EXPECT_TRUE(Collected().empty());
    EXPECT_TRUE(CGetZrOwEntityPtrVec::GetInstance()->GetIsEmptyFloor());
}

TEST_F(EntityCollectionContract, ADrawingThatCannotBeReadLeavesTheCollectionEmpty) {
    Pipe(L"给排水\\管线\\给水管\\DN50");
    AcDbDatabase& database = drawing.database();
    database.refuseToOpen(database.blockTableId(), Acad::eNotOpenForRead);
    EXPECT_TRUE(Collected().empty());
    CGetZrOwEntityPtrVec::Delete();
    database.refuseToOpen(database.blockTableId(), Acad::eOk);
    database.refuseToOpen(database.modelSpaceId(), Acad::eNotOpenForRead);
    EXPECT_TRUE(Collected().empty());
    CGetZrOwEntityPtrVec::Delete();
    database.refuseToOpen(database.modelSpaceId(), Acad::eOk);
    database.refuseIterators(Acad::eOutOfMemory);
    EXPECT_TRUE(Collected().empty());
    EXPECT_EQ(database.openCount(), 0);
}

TEST_F(EntityCollectionContract, ForeignErasedAndUnopenableEntitiesAreSkipped) {
    drawing.foreign();
    Pipe(L"给排水\\管线\\给水管\\A");
    drawing.erased();
    Pipe(L"给排水\\管线\\给水管\\B");
    drawing.unopenable();
    Pipe(L"给排水\\管线\\给水管\\C");
    EXPECT_EQ(Flat(Collected()), (FlatMap{{L"管线/给水管/C", {At(3)}}}));
}

TEST_F(EntityCollectionContract, EveryObjectIsClosedAgain) {
    Pipe(L"给排水\\管线\\给水管\\A");
    Pipe(L"消防\\管线\\给水管\\A");
    drawing.foreign();
    AcDbObjectIdArray ids;
    CategoryMap map;
    CGetZrOwEntityPtrVec::GetInstance()->GetAllFitInCurFlor(ids);
    CGetZrOwEntityPtrVec::GetInstance()->GetSelEntByCondition(map, {{L"管线", {L"给水管"}}});
    EXPECT_EQ(drawing.database().openCount(), 0);
}

TEST_F(EntityCollectionContract, AConditionSelectsInPlaceOfTheRunAndLeavesTheEmptyFlag) {
    Pipe(L"给排水\\设备\\水泵\\P1");
    Pipe(L"消防\\设备\\水泵\\P1");
    Pipe(L"给排水\\管线\\给水管\\DN50");
    CategoryMap map;
    CNorvexData::s_strSmallMemMap.clear();
    CGetZrOwEntityPtrVec::GetInstance()->GetSelEntByCondition(map, {{L"设备", {L"水泵"}}});
    EXPECT_EQ(Flat(map), (FlatMap{{L"设备/水泵/P1", {At(0)}}}));
    EXPECT_TRUE(CGetZrOwEntityPtrVec::GetInstance()->GetIsEmptyFloor());
    // What is there already stays.
    CGetZrOwEntityPtrVec::GetInstance()->GetSelEntByCondition(map, {{L"设备", {L"水泵"}}, {L"管线", {L"给水管"}}});
    EXPECT_EQ(Flat(map), (FlatMap{{L"设备/水泵/P1", {At(0), At(0)}}, {L"管线/给水管/DN50", {At(2)}}}));
}

TEST_F(EntityCollectionContract, WholeTrustGivesAnEmptyMapAndLeavesACallersMap) {
    Pipe(L"给排水\\管线\\给水管\\DN50");
    const COwTrustTool trust = Trust(NS_NORVEX::eTrustAll);
    CGetZrOwEntityPtrVec* const collection = CGetZrOwEntityPtrVec::GetInstance();
    collection->GetEntityByBigMemMap(Trust(NS_NORVEX::eTrustNone));
    EXPECT_TRUE(collection->GetEntityByBigMemMap(trust).empty());
    CategoryMap out = {{L"old", {}}};
    collection->GetEntityByBigMemMap(trust, out);
    EXPECT_EQ(out.size(), 1U);
    EXPECT_EQ(out.count(L"old"), 1U);
}

TEST_F(EntityCollectionContract, NoTrustGivesEverythingInPlaceOfACallersMap) {
    Pipe(L"给排水\\管线\\给水管\\DN50");
    CategoryMap out = {{L"old", {}}};
    CGetZrOwEntityPtrVec::GetInstance()->GetEntityByBigMemMap(Trust(NS_NORVEX::eTrustNone), out);
    EXPECT_EQ(out.count(L"old"), 0U);
    EXPECT_EQ(Flat(out), (FlatMap{{L"管线/给水管/DN50", {At(0)}}}));
}

TEST_F(EntityCollectionContract, PartialTrustOfAnotherFloorGivesTheWholeMap) {
    Pipe(L"给排水\\管线\\给水管\\DN50");
    CNorvexData::s_strCurFloor = L"2";
    const COwTrustTool trust = Trust(NS_NORVEX::eTrustPart, L"1层", L"给水管");
    EXPECT_EQ(Flat(CGetZrOwEntityPtrVec::GetInstance()->GetEntityByBigMemMap(trust)),
              (FlatMap{{L"管线/给水管/DN50", {At(0)}}}));
}

TEST_F(EntityCollectionContract, PartialTrustRemovesSubCategoriesAndKeepsTheirCategory) {
    Pipe(L"给排水\\管线\\给水管\\DN50");
    drawing.node({0, 0, 0}, L"给排水\\附件\\阀门\\V1");
    CNorvexData::s_strCurFloor = L"1";
    const COwTrustTool trust = Trust(NS_NORVEX::eTrustPart, L"1层", L"给水管");
    CategoryMap out;
    CGetZrOwEntityPtrVec* const collection = CGetZrOwEntityPtrVec::GetInstance();
    collection->GetEntityByBigMemMap(trust, out);
    for (const CategoryMap& map : {collection->GetEntityByBigMemMap(trust), out}) {
        EXPECT_EQ(Flat(map), (FlatMap{{L"附件/阀门/V1", {At(1)}}}));
        ASSERT_EQ(map.count(L"管线"), 1U);
        EXPECT_TRUE(map.at(L"管线").empty());
    }
    // What was collected is not touched by the filter.
    EXPECT_EQ(Flat(Collected()).size(), 2U);
}

TEST_F(EntityCollectionContract, FilingUsesTheGivenNameFirstAndTheEntitysOwnLater) {
    Pipe(L"给排水\\管线\\给水管\\DN50");
    Pipe(L"给排水\\管线\\给水管\\DN32");
    Pipe(L"short");
    CGetZrOwEntityPtrVec* const collection = CGetZrOwEntityPtrVec::GetInstance();
    CategoryMap map;
    collection->AddToBigEntMap(map, L"A", L"s", L"given", At(0));
    collection->AddToBigEntMap(map, L"A", L"t", L"given", At(0));
    collection->AddToBigEntMap(map, L"A", L"s", L"given", At(1));
    collection->AddToBigEntMap(map, L"A", L"s", L"given", At(2));
    EXPECT_EQ(Flat(map),
              (FlatMap{{L"A/s/given", {At(0)}}, {L"A/t/given", {At(0)}}, {L"A/s/DN32", {At(1)}}, {L"A/s/", {At(2)}}}));
}

TEST_F(EntityCollectionContract, ASetTakesEntitiesUnderTheirOwnDetailName) {
    Pipe(L"给排水\\管线\\给水管\\DN50");
    Pipe(L"消防\\x\\y\\DN50");
    std::set<SAttEntPtr> set;
    CGetZrOwEntityPtrVec::GetInstance()->AddToAttSet(set, At(0));
    CGetZrOwEntityPtrVec::GetInstance()->AddToAttSet(set, At(1));
    ASSERT_EQ(set.size(), 1U);
    EXPECT_EQ(set.begin()->strDetailName, L"DN50");
    EXPECT_EQ(set.begin()->vecEntPtr, (Entities{At(0), At(1)}));
}

TEST_F(EntityCollectionContract, FittingsOfEverySpecialtyAreListedInDrawingOrder) {
    AcDbObjectIdArray ids;
    drawing.fitting({0, 0, 0}, L"消防\\附件\\弯头\\A");
    ids.append(drawing.lastId());
    Pipe(L"给排水\\管线\\给水管\\DN50");
    drawing.fitting({1, 0, 0});
    ids.append(drawing.lastId());
    AcDbObjectIdArray found;
    found.append(drawing.lastId());
    CGetZrOwEntityPtrVec::GetInstance()->GetAllFitInCurFlor(found);
    ASSERT_EQ(found.length(), 3);
    EXPECT_EQ(found[1], ids[0]);
    EXPECT_EQ(found[2], ids[1]);
}

TEST_F(EntityCollectionContract, ACopyHoldsBothMapsAndOutlivesTheInstance) {
    Pipe(L"给排水\\管线\\给水管\\DN50");
    const COwTrustTool trust = Trust(NS_NORVEX::eTrustNone);
    const CGetZrOwEntityPtrVec copy = *CGetZrOwEntityPtrVec::GetInstance();
    CGetZrOwEntityPtrVec::Delete();
    CategoryMap out;
    copy.GetEntityByBigMemMap(trust, out);
    EXPECT_EQ(Flat(out), (FlatMap{{L"管线/给水管/DN50", {At(0)}}}));
}
