// SPDX-License-Identifier: Apache-2.0
#include "Stands.h"
#include "norvexdata/entities/EntFindMethod.h"
#include "platform/zrow/Drawing.h"

using norvex::Drawing;
using norvex::contract::Texts;

namespace {

using Entities = std::vector<ZrOwEntity*>;

bool Is(const AcGePoint3d& point, double x, double y, double z) {
    return point.x == x && point.y == y && point.z == z;
}

Entities All(const Drawing& drawing) {
    return drawing.entities();
}

}  // namespace

TEST(PointNearnessContract, PointsExactlyTheToleranceApartAreNotNear) {
    EXPECT_FALSE(CEntFindMethod::Is2PtNear({0, 0, 0}, {0.5, 0, 0}, 0.5));
    EXPECT_TRUE(CEntFindMethod::Is2PtNear({0, 0, 0}, {0.4999999, 0, 0}, 0.5));
    EXPECT_FALSE(CEntFindMethod::Is2PtNear({0, 0, 0}, {0, 0, 0}, 0.0));
    EXPECT_TRUE(CEntFindMethod::Is2PtNear({1, 2, 3}, {1, 2, 3}, 1e-12));
}

TEST(PointNearnessContract, HeightCounts) {
    EXPECT_FALSE(CEntFindMethod::Is2PtNear({0, 0, 0}, {0, 0, 2}, 1.0));
    EXPECT_FALSE(CEntFindMethod::Is2PtNear({0, 0, 0}, {0.8, 0.8, 0.8}, 1.0));
}

TEST(PipeFindingContract, PipesAreFoundByEitherEndInOrderAndCandidatesStay) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {5, 0, 0}).node({5, 0, 0}).pipe({9, 0, 0}, {10, 0, 0}).pipe({5, 0, 0}, {5, 5, 0});
    Entities candidates = All(drawing);
    candidates.insert(candidates.begin(), nullptr);
    const Entities before = candidates;
    Entities found = {nullptr};
    CEntFindMethod::FindPipe({5, 0, 0}, candidates, found);
    EXPECT_EQ(found, (Entities{nullptr, drawing.at<ZrOwEntity>(0), drawing.at<ZrOwEntity>(3)}));
    EXPECT_EQ(candidates, before);
}

TEST(PipeFindingContract, EndsMustCoincideWithinTheHostTolerance) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {5.05, 0, 0});
    Entities candidates = All(drawing);
    Entities found;
    CEntFindMethod::FindPipe({5, 0, 0}, candidates, found);
    EXPECT_TRUE(found.empty());
    const AcGeTol before = AcGeContext::gTol;
    AcGeContext::gTol.setEqualPoint(0.06);
    CEntFindMethod::FindPipe({5, 0, 0}, candidates, found);
    AcGeContext::gTol = before;
    EXPECT_EQ(found.size(), 1U);
}

TEST(PipePoppingContract, MatchesMoveInOrderAndTheRestStaysInOrder) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {5, 0, 0})
        .pipe({5.2, 0, 0}, {9, 0, 0})
        .node({5, 0, 0})
        .pipe({5.5, 0, 0}, {6, 0, 0})
        .pipe({7, 0, 0}, {4.9, 0, 0});
    Entities candidates = All(drawing);
    Entities found = {nullptr};
    CEntFindMethod::PopPipe({5, 0, 0}, candidates, found, 0.5);
    const auto at = [&](std::size_t index) { return drawing.at<ZrOwEntity>(index); };
    EXPECT_EQ(found, (Entities{nullptr, at(0), at(1), at(4)}));
    EXPECT_EQ(candidates, (Entities{at(2), at(3)}));
}

TEST(EquipmentPoppingContract, EquipmentNearerThanAHundredUnitsMoves) {
    Drawing drawing;
    drawing.node({100, 0, 0}).node({99.999, 0, 0}).pipe({0, 0, 0}, {1, 0, 0}).fitting({0, 0, 0}).node({0, 0, -50});
    Entities candidates = All(drawing);
    Entities found;
    CEntFindMethod::PopEquip({0, 0, 0}, candidates, found);
    const auto at = [&](std::size_t index) { return drawing.at<ZrOwEntity>(index); };
    EXPECT_EQ(found, (Entities{at(1), at(4)}));
    EXPECT_EQ(candidates, (Entities{at(0), at(2), at(3)}));
}

TEST(CategoryListingContract, AnUnknownCategoryLeavesTheListAlone) {
    Entities out = {nullptr};
    const CategoryMap map = {{L"A", {{L"s", {SAttEntPtr{L"d", {nullptr}}}}}}};
    CEntFindMethod::InsertData(L"a", map, out);
    CEntFindMethod::InsertData(L"B", {L"s"}, map, out);
    EXPECT_EQ(out, (Entities{nullptr}));
}

TEST(CategoryListingContract, ChosenSubCategoriesComeInMapOrder) {
    Drawing drawing;
    for (int index = 0; index < 5; ++index) {
        drawing.node({0, 0, 0});
    }
    const auto at = [&](std::size_t index) { return drawing.at<ZrOwEntity>(index); };
    const CategoryMap map = {{L"A",
                              {{L"s", {SAttEntPtr{L"2", {at(0)}}, SAttEntPtr{L"1", {at(2), at(1)}}}},
                               {L"t", {SAttEntPtr{L"1", {at(3)}}}},
                               {L"u", {SAttEntPtr{L"1", {at(4)}}}}}}};
    Entities out;
    CEntFindMethod::InsertData(L"A", {L"u", L"s", L"S", L"u"}, map, out);
    EXPECT_EQ(out, (Entities{at(2), at(1), at(0), at(4)}));
    out.clear();
    CEntFindMethod::InsertData(L"A", Texts{}, map, out);
    EXPECT_EQ(out, (Entities{at(2), at(1), at(0), at(3), at(4)}));
    out.clear();
    CEntFindMethod::InsertData(L"A", map, out);
    EXPECT_EQ(out, (Entities{at(2), at(1), at(0), at(3), at(4)}));
    out.clear();
    CEntFindMethod::InsertData(L"A", {L"none"}, map, out);
    EXPECT_TRUE(out.empty());
}

TEST(CategoryListingContract, OrdinaryEntitiesAreAppendedEvenWhenListed) {
    Drawing drawing;
    drawing.node({0, 0, 0});
    ZrOwEntity* const node = drawing.at<ZrOwEntity>(0);
    Entities out = {node};
    CEntFindMethod::InsertData(L"A", {{L"A", {{L"s", {SAttEntPtr{L"1", {node, node}}}}}}}, out);
    EXPECT_EQ(out, (Entities{node, node, node}));
}

TEST(CategoryListingContract, BuriedLeadsGiveTheirContainerOnce) {
    Drawing drawing;
    drawing.handle(0x10).leadContainer().handle(0x20).leadContainer().handle(0x30).node({0, 0, 0});
    drawing.leadBuried(AcDbHandle(0x10)).leadBuried(AcDbHandle(0x10)).leadBuried(AcDbHandle(0x20));
    drawing.leadBuried(AcDbHandle(0x30)).leadBuried(AcDbHandle(0x999));
    const auto at = [&](std::size_t index) { return drawing.at<ZrOwEntity>(index); };
    const CategoryMap map = {{L"A", {{L"s", {SAttEntPtr{L"1", {at(3), at(4), at(5), at(6), at(7)}}}}}}};
    Entities out;
    CEntFindMethod::InsertData(L"A", map, out);
    EXPECT_EQ(out, (Entities{at(0), at(1)}));
    // One that is there before the call is found as well.
    CEntFindMethod::InsertData(L"A", map, out);
    EXPECT_EQ(out, (Entities{at(0), at(1)}));
    EXPECT_EQ(drawing.database().openCount(), 0);
}

TEST(CategoryListingContract, AContainerThatDoesNotOpenLeavesItsLeadsOut) {
    Drawing drawing;
    drawing.handle(0x10).leadContainer().unopenable().handle(0x20).leadContainer();
    drawing.erased().leadBuried(AcDbHandle(0x10)).leadBuried(AcDbHandle(0x20));
    Entities out;
    const CategoryMap map = {
        {L"A", {{L"s", {SAttEntPtr{L"1", {drawing.at<ZrOwEntity>(2), drawing.at<ZrOwEntity>(3)}}}}}}};
    CEntFindMethod::InsertData(L"A", map, out);
    EXPECT_TRUE(out.empty());
}

TEST(SearchPipeContract, ThePointIsTheFarEnd) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0});
    ZrOwEntity* const pipe = drawing.at<ZrOwEntity>(0);
    const SElecSearchPipe fromStart(pipe, {0.4, 0, 0}, 0.5);
    EXPECT_EQ(fromStart.m_pEntity, pipe);
    EXPECT_TRUE(Is(fromStart.m_point, 10, 0, 0));
    EXPECT_TRUE(Is(SElecSearchPipe(pipe, {0.5, 0, 0}, 0.5).m_point, 0, 0, 0));
    EXPECT_TRUE(Is(SElecSearchPipe(pipe, {10, 0, 0}, 0.5).m_point, 0, 0, 0));
}

TEST(SearchPipeContract, AnythingButAPipeHasItsPointAtTheOrigin) {
    Drawing drawing;
    drawing.node({7, 7, 7});
    const SElecSearchPipe ofNode(drawing.at<ZrOwEntity>(0), {7, 7, 7}, 1);
    EXPECT_EQ(ofNode.m_pEntity, drawing.at<ZrOwEntity>(0));
    EXPECT_TRUE(Is(ofNode.m_point, 0, 0, 0));
    const SElecSearchPipe ofNothing(nullptr, {7, 7, 7}, 1);
    EXPECT_EQ(ofNothing.m_pEntity, nullptr);
    EXPECT_TRUE(Is(ofNothing.m_point, 0, 0, 0));
}

TEST(SearchPipeContract, CopiesCarryBothFields) {
    Drawing drawing;
    drawing.pipe({0, 0, 0}, {10, 0, 0});
    const SElecSearchPipe original(drawing.at<ZrOwEntity>(0), {0, 0, 0}, 1);
    SElecSearchPipe copy(original);
    SElecSearchPipe assigned(nullptr, {0, 0, 0}, 1);
    assigned = copy;
    EXPECT_EQ(assigned.m_pEntity, original.m_pEntity);
    EXPECT_TRUE(Is(assigned.m_point, 10, 0, 0));
}
