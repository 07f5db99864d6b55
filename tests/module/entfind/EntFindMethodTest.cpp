// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/entities/EntFindMethod.h"

#include <gtest/gtest.h>

#include "platform/zrow/Drawing.h"

namespace norvex::test {
namespace {

using Entities = std::vector<ZrOwEntity*>;

TEST(NearPoints, AreStrictlyNearerThanTheTolerance) {
    EXPECT_TRUE(CEntFindMethod::Is2PtNear({}, {0.0, 0.099, 0.0}, 0.1));
    EXPECT_FALSE(CEntFindMethod::Is2PtNear({}, {0.0, 0.1, 0.0}, 0.1));
    EXPECT_FALSE(CEntFindMethod::Is2PtNear({1.0, 1.0, 1.0}, {1.0, 1.0, 1.0}, 0.0));
    EXPECT_FALSE(CEntFindMethod::Is2PtNear({3.0, 0.0, 0.0}, {0.0, 4.0, 0.0}, 5.0));
}

TEST(FindPipe, TakesPipesWhoseStartOrEndCoincides) {
    ZrOwPolyLine starts({0.0, 0.0, 0.0}, {10.0, 0.0, 0.0});
    ZrOwPolyLine ends({-10.0, 0.0, 0.0}, {0.0, 0.0, 5e-11});
    ZrOwPolyLine passes({-10.0, 0.0, 0.0}, {10.0, 0.0, 0.0});
    ZrOwPolyLine nearly({0.05, 0.0, 0.0}, {10.0, 0.0, 0.0});
    ZrOwNode equipment({});
    Entities candidates = {&ends, nullptr, &passes, &equipment, &nearly, &starts};
    const Entities before = candidates;
    Entities found = {&passes};
    CEntFindMethod::FindPipe({}, candidates, found);
    EXPECT_EQ(found, (Entities{&passes, &ends, &starts}));
    EXPECT_EQ(candidates, before);
}

TEST(FindPipe, DoesNotTakeAnEndThatLiesATwentiethAway) {
    ZrOwPolyLine pipe({0.05, 0.0, 0.0}, {10.0, 0.0, 0.0});
    Entities candidates = {&pipe};
    Entities found;
    CEntFindMethod::FindPipe({}, candidates, found);
    EXPECT_TRUE(found.empty());
}

TEST(FindPipe, FollowsTheHostsTolerance) {
    ZrOwPolyLine pipe({0.05, 0.0, 0.0}, {10.0, 0.0, 0.0});
    Entities candidates = {&pipe};
    Entities found;
    const double before = AcGeContext::gTol.equalPoint();
    AcGeContext::gTol.setEqualPoint(0.05);
    CEntFindMethod::FindPipe({}, candidates, found);
    AcGeContext::gTol.setEqualPoint(before);
    EXPECT_EQ(found, Entities{&pipe});
}

TEST(PopPipe, MovesNearPipesInOrderAndKeepsTheRestInOrder) {
    ZrOwPolyLine first({0.0, 0.0, 0.0}, {10.0, 0.0, 0.0});
    ZrOwPolyLine apart({5.0, 0.0, 0.0}, {6.0, 0.0, 0.0});
    ZrOwPolyLine second({9.0, 9.0, 9.0}, {0.0, 1.9, 0.0});
    ZrOwPolyLine exactly({2.0, 0.0, 0.0}, {6.0, 0.0, 0.0});
    ZrOwNode equipment({});
    Entities candidates = {&apart, &first, &equipment, nullptr, &second, &exactly};
    Entities found = {&equipment};
    CEntFindMethod::PopPipe({}, candidates, found, 2.0);
    EXPECT_EQ(found, (Entities{&equipment, &first, &second}));
    EXPECT_EQ(candidates, (Entities{&apart, &equipment, nullptr, &exactly}));
}

TEST(PopEquip, MovesEquipmentNearerThanAHundred) {
    ZrOwNode near({99.9, 0.0, 0.0});
    ZrOwNode exactly({0.0, 100.0, 0.0});
    ZrOwNode here({});
    ZrOwPolyLine pipe({}, {10.0, 0.0, 0.0});
    Entities candidates = {&near, &pipe, nullptr, &exactly, &here};
    Entities found;
    CEntFindMethod::PopEquip({}, candidates, found);
    EXPECT_EQ(found, (Entities{&near, &here}));
    EXPECT_EQ(candidates, (Entities{&pipe, nullptr, &exactly}));
}

TEST(PopPipe, MovesHundredsOfThousandsInOnePass) {
    ZrOwPolyLine near({}, {10.0, 0.0, 0.0});
    ZrOwPolyLine apart({5.0, 0.0, 0.0}, {6.0, 0.0, 0.0});
    Entities candidates;
    for (int pair = 0; pair < 400000; ++pair) {
        candidates.push_back(&near);
        candidates.push_back(&apart);
    }
    Entities found;
    CEntFindMethod::PopPipe({}, candidates, found, 0.1);
    EXPECT_EQ(found, Entities(400000, &near));
    EXPECT_EQ(candidates, Entities(400000, &apart));
}

class InsertData : public ::testing::Test {
  protected:
    InsertData() {
        m_drawing.leadContainer().handle(10).leadContainer();
        m_drawing.leadBuried(AcDbHandle(1)).leadBuried(AcDbHandle(10)).leadBuried(AcDbHandle(1));
        m_drawing.leadBuried(AcDbHandle(0x99)).pipe({}, {}).pipe({}, {}).pipe({}, {});
        m_drawing.makeCurrent();
    }
    ZrOwEntity* At(std::size_t index) const { return m_drawing.at<ZrOwEntity>(index); }

    Drawing m_drawing;
    Entities m_out;
};

CategoryMap MapOf(const Entities& a, const Entities& b, const Entities& c) {
    CategoryMap map;
    // Sub-categories and records come in the order of their names, whatever the order of filing.
    map[u"Pipes"][u"B"].insert(SAttEntPtr{u"x", b});
    map[u"Pipes"][u"A"].insert(SAttEntPtr{u"z", c});
    map[u"Pipes"][u"A"].insert(SAttEntPtr{u"y", a});
    return map;
}

TEST_F(InsertData, TakesAllSubCategoriesInMapOrder) {
    const CategoryMap map = MapOf({At(6)}, {At(7)}, {At(8), nullptr});
    CEntFindMethod::InsertData(u"Pipes", map, m_out);
    EXPECT_EQ(m_out, (Entities{At(6), At(8), nullptr, At(7)}));
}

TEST_F(InsertData, TakesTheNamedSubCategoriesOnly) {
    const CategoryMap map = MapOf({At(6)}, {At(7)}, {At(8)});
    CEntFindMethod::InsertData(u"Pipes", {u"b", u"B", u"C", u"B"}, map, m_out);
    EXPECT_EQ(m_out, Entities{At(7)});
}

TEST_F(InsertData, TakesAllSubCategoriesForAnEmptyList) {
    const CategoryMap map = MapOf({At(6)}, {At(7)}, {At(8)});
    CEntFindMethod::InsertData(u"Pipes", {}, map, m_out);
    EXPECT_EQ(m_out, (Entities{At(6), At(8), At(7)}));
}

TEST_F(InsertData, LeavesTheListAsItIsForAnUnknownCategory) {
    const CategoryMap map = MapOf({At(6)}, {At(7)}, {At(8)});
    m_out = {At(6)};
    CEntFindMethod::InsertData(u"pipes", map, m_out);
    CEntFindMethod::InsertData(u"Ducts", {u"A"}, map, m_out);
    EXPECT_EQ(m_out, Entities{At(6)});
}

TEST_F(InsertData, PutsAContainerOnceInPlaceOfItsBuriedLeads) {
    const CategoryMap map = MapOf({At(2), At(6), At(4)}, {At(3), At(2)}, {});
    CEntFindMethod::InsertData(u"Pipes", map, m_out);
    EXPECT_EQ(m_out, (Entities{At(0), At(6), At(1)}));
}

TEST_F(InsertData, DoesNotPutAContainerThatTheListHoldsAlready) {
    const CategoryMap map = MapOf({At(2)}, {At(3)}, {});
    m_out = {At(0)};
    CEntFindMethod::InsertData(u"Pipes", map, m_out);
    EXPECT_EQ(m_out, (Entities{At(0), At(1)}));
    // What is no lead is put again without looking.
    const CategoryMap plain = MapOf({At(0), At(0)}, {At(2)}, {});
    m_out.clear();
    CEntFindMethod::InsertData(u"Pipes", plain, m_out);
    EXPECT_EQ(m_out, (Entities{At(0), At(0)}));
}

TEST_F(InsertData, SkipsALeadWhoseContainerDoesNotOpen) {
    const CategoryMap map = MapOf({At(5), At(6)}, {}, {});
    CEntFindMethod::InsertData(u"Pipes", map, m_out);
    EXPECT_EQ(m_out, Entities{At(6)});
}

TEST_F(InsertData, LeavesNoContainerOpen) {
    const CategoryMap map = MapOf({At(2), At(3)}, {}, {});
    CEntFindMethod::InsertData(u"Pipes", map, m_out);
    EXPECT_FALSE(At(0)->isReadEnabled());
    EXPECT_FALSE(At(1)->isReadEnabled());
}

TEST(ElecSearchPipe, PairsAPipeWithItsFarEnd) {
    ZrOwPolyLine pipe({1.0, 0.0, 0.0}, {10.0, 0.0, 0.0});
    EXPECT_EQ(SElecSearchPipe(&pipe, {1.05, 0.0, 0.0}, 0.1).m_point.x, 10.0);
    EXPECT_EQ(SElecSearchPipe(&pipe, {2.0, 0.0, 0.0}, 1.0).m_point.x, 1.0);
    EXPECT_EQ(SElecSearchPipe(&pipe, {10.0, 0.0, 0.0}, 0.1).m_point.x, 1.0);
    EXPECT_EQ(SElecSearchPipe(&pipe, {}, 0.1).m_pEntity, &pipe);
}

TEST(ElecSearchPipe, PointsAtTheOriginForAnythingButAPipe) {
    ZrOwNode equipment({5.0, 5.0, 5.0});
    const SElecSearchPipe other(&equipment, {5.0, 5.0, 5.0}, 0.1);
    EXPECT_EQ(other.m_pEntity, &equipment);
    EXPECT_EQ(other.m_point, AcGePoint3d::kOrigin);
    EXPECT_EQ(SElecSearchPipe(nullptr, {5.0, 5.0, 5.0}, 0.1).m_point, AcGePoint3d::kOrigin);
}

TEST(ElecSearchPipe, IsCopiedAndAssigned) {
    ZrOwPolyLine pipe({1.0, 0.0, 0.0}, {10.0, 0.0, 0.0});
    const SElecSearchPipe original(&pipe, {1.0, 0.0, 0.0}, 0.1);
    SElecSearchPipe copy(original);
    EXPECT_EQ(copy.m_point.x, 10.0);
    copy = SElecSearchPipe(nullptr, {}, 0.1);
    EXPECT_EQ(copy.m_pEntity, nullptr);
}

}  // namespace
}  // namespace norvex::test
