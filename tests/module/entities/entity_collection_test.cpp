// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/common/ComMethod.h"
#include "norvexdata/entities/GetZrOwEntityPtrVec.h"
#include "norvexdata/state/NorvexData.h"
#include "norvexdata/trust/OwTrustTool.h"
#include "platform/zrow/Drawing.h"
#include "support/RunStateGuard.h"
#include "support/StubService.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using norvex::test::Component;
using Selection = std::map<CString, std::set<CString>>;
using Entities = std::vector<ZrOwEntity*>;

// A category map as lines "category/sub-category/detail name: handle handle", in map order.
std::vector<std::string> Lines(const CategoryMap& map) {
    std::vector<std::string> lines;
    for (const auto& [category, subCategories] : map) {
        if (subCategories.empty()) {
            lines.push_back(norvex::text::ToUtf8(category) + "/");
        }
        for (const auto& [subCategory, records] : subCategories) {
            for (const SAttEntPtr& record : records) {
                std::string line =
                    norvex::text::ToUtf8(category + u"/" + subCategory + u"/" + record.strDetailName) + ":";
                for (const ZrOwEntity* entity : record.vecEntPtr) {
                    line += " " + norvex::text::ToUtf8(CComMethod::GetStrHandle(entity));
                }
                lines.push_back(line);
            }
        }
    }
    return lines;
}

using LineList = std::vector<std::string>;

class EntityCollection : public testing::Test {
  protected:
    EntityCollection() {
        CNorvexData::s_strCurSpec = u"给排水";
        CNorvexData::s_strCurFloor = u"3";
        CNorvexData::s_strSmallMemMap = {{u"管线", {u"给水管", u"排水管"}}, {u"设备", {u"泵"}}};
        drawing.makeCurrent();
    }

    // The collected map of a fresh collection.
    static LineList Collected() {
        CGetZrOwEntityPtrVec::Delete();
        CategoryMap map;
        CGetZrOwEntityPtrVec::GetInstance()->GetEntityByBigMemMap(Trust(NS_NORVEX::eTrustNone), map);
        return Lines(map);
    }

    // What a condition of the caller's selects.
    static LineList Selected(const Selection& condition) {
        CategoryMap map;
        CGetZrOwEntityPtrVec::GetInstance()->GetSelEntByCondition(map, condition);
        return Lines(map);
    }

    // A tool that has asked a service which answers so.
    static COwTrustTool Trust(NS_NORVEX::TrustStatus status,
                              std::initializer_list<NS_NORVEX::ComponentInfo> records = {}) {
        norvex::test::StubService service;
        service.status = status;
        for (const NS_NORVEX::ComponentInfo& record : records) {
            service.trusted.append(record);
        }
        CNorvexData::SetNorvexService(&service);
        COwTrustTool tool;
        tool.Init(u"rule", u"name");
        CNorvexData::SetNorvexService(nullptr);
        return tool;
    }

    Entities All() const { return drawing.entities(); }

    norvex::test::RunStateGuard guard;
    norvex::Drawing drawing;
};

const AcGePoint3d kSomewhere(1, 2, 3);

}  // namespace

TEST(FreshEntityCollection, HasNoInstanceAndAnEmptyFloor) {
    EXPECT_EQ(CGetZrOwEntityPtrVec::s_cInstance, nullptr);
    EXPECT_TRUE(CGetZrOwEntityPtrVec::s_bIsEmpty);
}

TEST_F(EntityCollection, FilesEntitiesByCategorySubCategoryAndDetailName) {
    drawing.node(kSomewhere, u"给排水\\设备\\泵\\P1")
        .pipe({0, 0, 0}, {1, 0, 0}, u"给排水\\管线\\排水管\\DN100")
        .pipe({0, 0, 0}, {1, 0, 0}, u"给排水\\管线\\给水管\\DN65")
        .pipe({0, 0, 0}, {1, 0, 0}, u"给排水\\管线\\给水管\\DN50");
    EXPECT_EQ(Collected(),
              (LineList{"管线/排水管/DN100: 2", "管线/给水管/DN50: 4", "管线/给水管/DN65: 3", "设备/泵/P1: 1"}));
}

TEST_F(EntityCollection, KeepsEntitiesOfOneDetailNameTogetherInDrawingOrder) {
    drawing.handle(0x30).node(kSomewhere, u"给排水\\设备\\泵\\P1");
    drawing.handle(0x10).node(kSomewhere, u"给排水\\设备\\泵\\P2");
    drawing.handle(0x20).node(kSomewhere, u"给排水\\设备\\泵\\P1");
    EXPECT_EQ(Collected(), (LineList{"设备/泵/P1: 30 20", "设备/泵/P2: 10"}));
}

TEST_F(EntityCollection, KeepsDrawingOrderWhenSeveralPathTextsLeadToOneRecord) {
    const CString path = u"给排水\\设备\\泵\\P1";
    drawing.node(kSomewhere, path).node(kSomewhere, u"消防\\设备\\泵\\P1").sysCode(u"给排水\\J");
    drawing.node(kSomewhere, path).node(kSomewhere, u"给排水\\\\设备\\泵\\P1").node(kSomewhere, path);
    drawing.node(kSomewhere, u"给排水\\设备\\泵\\P1\\").node(kSomewhere, path);
    EXPECT_EQ(Collected(), (LineList{"设备/泵/P1: 1 2 3 4 5 6 7"}));
    EXPECT_EQ(Selected({{u"设备", {u"泵"}}}), (LineList{"设备/泵/P1: 1 2 3 4 5 6 7"}));
}

TEST_F(EntityCollection, KeepsAnEntityWhoseSystemCodeAloneNamesTheSpecialty) {
    drawing.node(kSomewhere, u"消防\\设备\\泵\\P1").sysCode(u"给排水\\J");
    EXPECT_EQ(Collected(), (LineList{"设备/泵/P1: 1"})) << "filed by its path's category";
}

TEST_F(EntityCollection, KeepsAnEntityWhosePathAloneNamesTheSpecialty) {
    drawing.node(kSomewhere, u"给排水\\设备\\泵\\P1").sysCode(u"");
    EXPECT_EQ(Collected(), (LineList{"设备/泵/P1: 1"}));
}

TEST_F(EntityCollection, WantsTheSpecialtyAtTheVeryBeginning) {
    drawing.node(kSomewhere, u"消防\\设备\\泵\\P1").sysCode(u"x给排水\\J");
    drawing.node(kSomewhere, u"\\给排水\\设备\\泵\\P1").sysCode(u"");
    drawing.node(kSomewhere, u"给排水x\\设备\\泵\\P1").sysCode(u"给排水");
    drawing.node(kSomewhere, u"消防\\设备\\泵\\P1");
    EXPECT_EQ(Collected(), LineList());
}

TEST_F(EntityCollection, WithoutASpecialtyWantsALeadingSeparator) {
    CNorvexData::s_strCurSpec = u"";
    drawing.node(kSomewhere, u"给排水\\设备\\泵\\P1");
    drawing.node(kSomewhere, u"给排水\\设备\\泵\\P1").sysCode(u"\\J");
    EXPECT_EQ(Collected(), (LineList{"设备/泵/P1: 2"}));
}

TEST_F(EntityCollection, FilesPathsOfFourComponentsOnly) {
    for (const char16_t* path :
         {u"给排水\\设备\\泵", u"给排水\\设备\\泵\\P1\\extra", u"给排水\\", u"给排水\\设备\\泵\\"}) {
        drawing.node(kSomewhere, path);
    }
    EXPECT_EQ(Collected(), LineList());
    drawing.node(kSomewhere, u"给排水\\\\设备\\泵\\P1\\");
    EXPECT_EQ(Collected(), (LineList{"设备/泵/P1: 5"})) << "empty components do not count";
}

TEST_F(EntityCollection, SkipsCategoriesAndSubCategoriesThatAreNotSelected) {
    drawing.node(kSomewhere, u"给排水\\设备\\水箱\\X")
        .node(kSomewhere, u"给排水\\附件\\泵\\X")
        .node(kSomewhere, u"给排水\\管线\\泵\\X");
    EXPECT_EQ(Collected(), LineList());
    EXPECT_TRUE(CGetZrOwEntityPtrVec::GetInstance()->GetIsEmptyFloor());
}

TEST_F(EntityCollection, SkipsErasedUnopenableAndForeignEntities) {
    const CString path = u"给排水\\设备\\泵\\P1";
    drawing.node(kSomewhere, path).erased().node(kSomewhere, path).unopenable().foreign().node(kSomewhere, path);
    EXPECT_EQ(Collected(), (LineList{"设备/泵/P1: 4"}));
}

TEST_F(EntityCollection, IsEmptyWithoutWhatItNeedsOfTheHost) {
    drawing.node(kSomewhere, u"给排水\\设备\\泵\\P1");
    AcDbDatabase& database = drawing.database();

    acdbHostApplicationServices()->setWorkingDatabase(nullptr);
    EXPECT_EQ(Collected(), LineList()) << "no working database";
    drawing.makeCurrent();
    database.refuseToOpen(database.blockTableId(), Acad::eNotOpenForRead);
    EXPECT_EQ(Collected(), LineList()) << "no block table";
    database.refuseToOpen(database.blockTableId(), Acad::eOk);
    database.refuseToOpen(database.modelSpaceId(), Acad::eNotOpenForRead);
    EXPECT_EQ(Collected(), LineList()) << "no model space";
    database.refuseToOpen(database.modelSpaceId(), Acad::eOk);
    database.refuseIterators(Acad::eOutOfMemory);
    EXPECT_EQ(Collected(), LineList()) << "no iterator";
    EXPECT_TRUE(CGetZrOwEntityPtrVec::GetInstance()->GetIsEmptyFloor());
    database.refuseIterators(Acad::eOk);
    EXPECT_EQ(Collected(), (LineList{"设备/泵/P1: 1"}));
    EXPECT_EQ(database.openCount(), 0);
}

TEST_F(EntityCollection, LeavesNothingOpen) {
    drawing.node(kSomewhere, u"给排水\\设备\\泵\\P1").fitting(kSomewhere, u"给排水\\附件\\弯头\\X").foreign();
    drawing.node(kSomewhere, u"消防\\设备\\泵\\P1").node(kSomewhere).unopenable();
    CGetZrOwEntityPtrVec* const collection = CGetZrOwEntityPtrVec::GetInstance();
    EXPECT_EQ(drawing.database().openCount(), 0);
    CategoryMap map;
    collection->GetSelEntByCondition(map, CNorvexData::s_strSmallMemMap);
    AcDbObjectIdArray ids;
    collection->GetAllFitInCurFlor(ids);
    EXPECT_EQ(drawing.database().openCount(), 0);
    EXPECT_GT(drawing.database().totalOpens(), 0);
}

TEST_F(EntityCollection, WalksTheDrawingOnceAndKeepsWhatItFound) {
    drawing.node(kSomewhere, u"给排水\\设备\\泵\\P1");
    CGetZrOwEntityPtrVec* const collection = CGetZrOwEntityPtrVec::GetInstance();
    const long long opens = drawing.database().totalOpens();
    drawing.node(kSomewhere, u"给排水\\设备\\泵\\P1");
    EXPECT_EQ(CGetZrOwEntityPtrVec::GetInstance(), collection);
    EXPECT_EQ(CGetZrOwEntityPtrVec::s_cInstance, collection);
    EXPECT_EQ(Lines(collection->GetEntityByBigMemMap(Trust(NS_NORVEX::eTrustNone))), (LineList{"设备/泵/P1: 1"}));
    EXPECT_EQ(drawing.database().totalOpens(), opens);
    EXPECT_EQ(Collected(), (LineList{"设备/泵/P1: 1 2"})) << "after Delete() it looks again";
}

TEST_F(EntityCollection, FloorIsEmptyUntilAnEntityIsFiledAndAgainAfterDelete) {
    EXPECT_TRUE(CGetZrOwEntityPtrVec::GetInstance()->GetIsEmptyFloor());
    CGetZrOwEntityPtrVec::Delete();
    drawing.node(kSomewhere, u"给排水\\设备\\泵\\P1");
    EXPECT_FALSE(CGetZrOwEntityPtrVec::GetInstance()->GetIsEmptyFloor());
    CGetZrOwEntityPtrVec::Delete();
    EXPECT_TRUE(CGetZrOwEntityPtrVec::s_bIsEmpty);
    EXPECT_EQ(CGetZrOwEntityPtrVec::s_cInstance, nullptr);
    CGetZrOwEntityPtrVec::Delete();
    EXPECT_EQ(CGetZrOwEntityPtrVec::s_cInstance, nullptr) << "twice does no harm";
}

TEST_F(EntityCollection, CollectingNeverSetsTheFloorBackToEmpty) {
    CGetZrOwEntityPtrVec* const collection = CGetZrOwEntityPtrVec::GetInstance();
    CGetZrOwEntityPtrVec::s_bIsEmpty = false;
    collection->InitEntityPtrVec();
    EXPECT_FALSE(collection->GetIsEmptyFloor());
}

TEST_F(EntityCollection, CollectingAgainFilesEntitiesAgain) {
    drawing.node(kSomewhere, u"给排水\\设备\\泵\\P1");
    CGetZrOwEntityPtrVec* const collection = CGetZrOwEntityPtrVec::GetInstance();
    collection->InitEntityPtrVec();
    EXPECT_EQ(Lines(collection->GetEntityByBigMemMap(Trust(NS_NORVEX::eTrustNone))), (LineList{"设备/泵/P1: 1 1"}));
}

TEST_F(EntityCollection, ConditionTakesThePlaceOfTheRunsSelection) {
    drawing.node(kSomewhere, u"给排水\\设备\\水箱\\X1")
        .node(kSomewhere, u"给排水\\设备\\泵\\P1")
        .node(kSomewhere, u"消防\\设备\\水箱\\X2");
    EXPECT_EQ(Selected({{u"设备", {u"水箱"}}}), (LineList{"设备/水箱/X1: 1"}));
    EXPECT_EQ(Selected({{u"设备", {}}}), LineList());
    EXPECT_EQ(Selected({}), LineList());
}

TEST_F(EntityCollection, ConditionLeavesTheFloorsFlagAlone) {
    drawing.node(kSomewhere, u"给排水\\设备\\水箱\\X1");
    EXPECT_EQ(Selected({{u"设备", {u"水箱"}}}), (LineList{"设备/水箱/X1: 1"}));
    EXPECT_TRUE(CGetZrOwEntityPtrVec::GetInstance()->GetIsEmptyFloor());
}

TEST_F(EntityCollection, ConditionAddsToWhatTheOutputHoldsAndSeesTheDrawingAsItIs) {
    drawing.node(kSomewhere, u"给排水\\设备\\泵\\P1");
    CGetZrOwEntityPtrVec* const collection = CGetZrOwEntityPtrVec::GetInstance();
    drawing.node(kSomewhere, u"给排水\\设备\\泵\\P1");
    CategoryMap map = {{u"kept", {}}};
    collection->GetSelEntByCondition(map, {{u"设备", {u"泵"}}});
    EXPECT_EQ(Lines(map), (LineList{"kept/", "设备/泵/P1: 1 2"}));
    collection->GetSelEntByCondition(map, {{u"设备", {u"泵"}}});
    EXPECT_EQ(Lines(map), (LineList{"kept/", "设备/泵/P1: 1 2 1 2"}));
}

TEST_F(EntityCollection, AddingToAMapMakesWhatIsMissing) {
    drawing.node(kSomewhere, u"s\\c\\u\\real").node(kSomewhere, u"s\\c\\u\\other");
    CGetZrOwEntityPtrVec* const collection = CGetZrOwEntityPtrVec::GetInstance();
    CategoryMap map;
    collection->AddToBigEntMap(map, u"c", u"u", u"given", All()[0]);
    EXPECT_EQ(Lines(map), (LineList{"c/u/given: 1"})) << "a new sub-category takes the given name";
    collection->AddToBigEntMap(map, u"c", u"u", u"given", All()[0]);
    EXPECT_EQ(Lines(map), (LineList{"c/u/given: 1", "c/u/real: 1"})) << "a known one the entity's own";
    collection->AddToBigEntMap(map, u"c", u"v", u"given", All()[1]);
    collection->AddToBigEntMap(map, u"c", u"u", u"given", All()[1]);
    EXPECT_EQ(Lines(map), (LineList{"c/u/given: 1", "c/u/other: 2", "c/u/real: 1", "c/v/given: 2"}));
}

TEST_F(EntityCollection, AddingToASetTakesTheNameFromTheEntity) {
    drawing.node(kSomewhere, u"s\\c\\u\\b").node(kSomewhere, u"s\\c\\u\\a").node(kSomewhere, u"s\\c\\u");
    drawing.node(kSomewhere, u"x\\y\\z\\b");
    CGetZrOwEntityPtrVec* const collection = CGetZrOwEntityPtrVec::GetInstance();
    std::set<SAttEntPtr> set;
    for (ZrOwEntity* entity : All()) {
        collection->AddToAttSet(set, entity);
    }
    EXPECT_EQ(Lines({{u"c", {{u"u", set}}}}), (LineList{"c/u/: 3", "c/u/a: 2", "c/u/b: 1 4"}));
}

TEST_F(EntityCollection, RecordsOrderAndMatchByNameAlone) {
    const SAttEntPtr upper{u"B", {}};
    const SAttEntPtr lower{u"a", {}};
    const SAttEntPtr chinese{u"泵", {}};
    EXPECT_TRUE(upper < lower);
    EXPECT_TRUE(lower < chinese);
    EXPECT_FALSE(lower < (SAttEntPtr{u"a", {nullptr}}));
    EXPECT_FALSE((SAttEntPtr{u"a", {nullptr}}) < lower);
}

TEST_F(EntityCollection, ListsEveryFittingOfAnySpecialty) {
    drawing.fitting(kSomewhere, u"消防\\附件\\弯头\\X").node(kSomewhere, u"给排水\\设备\\泵\\P1").fitting(kSomewhere);
    drawing.fitting(kSomewhere).erased().fitting(kSomewhere).unopenable().foreign().fitting(kSomewhere, u"a\\b");
    AcDbObjectIdArray ids;
    ids.append(AcDbObjectId());
    CGetZrOwEntityPtrVec::GetInstance()->GetAllFitInCurFlor(ids);
    ASSERT_EQ(ids.length(), 4) << "behind what the array held";
    EXPECT_EQ(ids[1].handle().value(), 1U);
    EXPECT_EQ(ids[2].handle().value(), 3U);
    EXPECT_EQ(ids[3].handle().value(), 7U);
}

class TrustedEntities : public EntityCollection {
  protected:
    TrustedEntities() {
        drawing.node(kSomewhere, u"给排水\\设备\\泵\\P1")
            .pipe({0, 0, 0}, {1, 0, 0}, u"给排水\\管线\\给水管\\DN50")
            .pipe({0, 0, 0}, {1, 0, 0}, u"给排水\\管线\\排水管\\DN100");
    }

    static LineList Filtered(const COwTrustTool& tool) {
        return Lines(CGetZrOwEntityPtrVec::GetInstance()->GetEntityByBigMemMap(tool));
    }

    const LineList all = {"管线/排水管/DN100: 3", "管线/给水管/DN50: 2", "设备/泵/P1: 1"};
};

TEST_F(TrustedEntities, NothingTrustedGivesAll) {
    EXPECT_EQ(Filtered(Trust(NS_NORVEX::eTrustNone)), all);
}

TEST_F(TrustedEntities, WhollyTrustedRuleGetsAnEmptyMapAndLeavesACallersMapAlone) {
    const COwTrustTool trust = Trust(NS_NORVEX::eTrustAll);
    CGetZrOwEntityPtrVec* const collection = CGetZrOwEntityPtrVec::GetInstance();
    collection->GetEntityByBigMemMap(Trust(NS_NORVEX::eTrustNone));
    EXPECT_TRUE(collection->GetEntityByBigMemMap(trust).empty()) << "also after it held all";
    CategoryMap map = {{u"kept", {}}};
    collection->GetEntityByBigMemMap(trust, map);
    EXPECT_EQ(Lines(map), (LineList{"kept/"}));
}

TEST_F(TrustedEntities, PartTrustedTakesOutTheFloorsSubCategories) {
    const COwTrustTool trust = Trust(NS_NORVEX::eTrustPart, {Component(u"3层", {u"给水管", u"泵", u"unknown"})});
    EXPECT_EQ(Filtered(trust), (LineList{"管线/排水管/DN100: 3", "设备/"})) << "an emptied category stays";
    CategoryMap map = {{u"gone", {}}};
    CGetZrOwEntityPtrVec::GetInstance()->GetEntityByBigMemMap(trust, map);
    EXPECT_EQ(Lines(map), (LineList{"管线/排水管/DN100: 3", "设备/"})) << "in place of what the map held";
}

TEST_F(TrustedEntities, PartTrustedOnAnotherFloorGivesAll) {
    EXPECT_EQ(Filtered(Trust(NS_NORVEX::eTrustPart, {Component(u"4层", {u"给水管"})})), all);
    CNorvexData::s_strCurFloor = u"3层";
    EXPECT_EQ(Filtered(Trust(NS_NORVEX::eTrustPart, {Component(u"3层", {u"给水管"})})), all) << "the key is \"3\"";
}

TEST_F(TrustedEntities, UnknownStatusCountsAsPart) {
    EXPECT_EQ(Filtered(Trust(static_cast<NS_NORVEX::TrustStatus>(9))), all);
}

TEST_F(TrustedEntities, FilteringLeavesTheCollectedMapAlone) {
    Filtered(Trust(NS_NORVEX::eTrustPart, {Component(u"3", {u"给水管"})}));
    EXPECT_EQ(Filtered(Trust(NS_NORVEX::eTrustNone)), all);
}

TEST_F(TrustedEntities, CopiesHoldMapsOfTheirOwn) {
    static_assert(!std::is_default_constructible_v<CGetZrOwEntityPtrVec>);
    CGetZrOwEntityPtrVec copy(*CGetZrOwEntityPtrVec::GetInstance());
    CGetZrOwEntityPtrVec::Delete();
    EXPECT_EQ(Lines(copy.GetEntityByBigMemMap(Trust(NS_NORVEX::eTrustNone))), all);
    drawing.node(kSomewhere, u"给排水\\设备\\泵\\P2");
    copy = *CGetZrOwEntityPtrVec::GetInstance();
    EXPECT_EQ(Lines(copy.GetEntityByBigMemMap(Trust(NS_NORVEX::eTrustNone))).size(), 4U);
}

namespace {

// Floors on which several path texts lead to one record: paths of another specialty that the system code keeps,
// doubled, leading and trailing separators, beside paths of every other kind.
class RandomFloors {
  public:
    explicit RandomFloors(unsigned seed) : m_random(seed) {}

    std::size_t Below(std::size_t limit) { return m_random() % limit; }

    void Fill(norvex::Drawing& floor) {
        // With few words nearly every path names a record that others name, too.
        const std::size_t words = 1 + Below(4);
        const std::size_t variety = Below(4);
        for (std::size_t count = Below(100); count > 0; --count) {
            floor.node(kSomewhere, variety == 0 ? AnyPath() : FullPath(words, variety));
            if (Below(3) == 0) {
                floor.sysCode(kSpecialties[Below(3)] + u"\\");
            }
        }
    }

    CString Specialty() { return kSpecialties[Below(2)]; }

    Selection AnySelection() {
        Selection selection = {{u"管线", {u"a", u"管线", u"b"}}, {u"设备", {u"A", u"a"}}, {u"a", {u"a", u"b"}}};
        for (std::size_t less = Below(3); less > 0; --less) {
            selection.erase(kWords[Below(kWords.size())]);
        }
        return selection;
    }

  private:
    CString AnyPath() {
        CString path = kSpecialties[Below(3)];
        for (std::size_t further = Below(5); further > 0; --further) {
            path += u"\\" + kWords[Below(kWords.size())];
        }
        return path;
    }

    CString FullPath(std::size_t words, std::size_t variety) {
        CString path = kSpecialties[Below(variety)];
        for (int component = 0; component < 3; ++component) {
            path += Separator() + kWords[Below(words)];
        }
        return Below(4) == 0 ? path + Separator() : path;
    }

    CString Separator() { return Below(4) == 0 ? u"\\\\" : u"\\"; }

    const std::vector<CString> kSpecialties = {u"给排水", u"消防", u"管线"};
    const std::vector<CString> kWords = {u"a", u"管线", u"b", u"A", u"设备", u"", u"给排水", u"消防"};
    std::mt19937 m_random;
};

// The entity as the plain form files it, one after the other; false when the walk skips it.
bool FileOne(CategoryMap& map, const Selection& selection, ZrOwEntity* entity) {
    const CString prefix = CNorvexData::s_strCurSpec + u"\\";
    if (entity->GetSysCode().Find(prefix) != 0 && entity->GetAttName().Find(prefix) != 0) {
        return false;
    }
    CStringArray components;
    CComMethod::ExplodeStrAry(components, entity->GetAttName(), L'\\');
    if (components.GetSize() != 4) {
        return false;
    }
    const auto category = selection.find(components[1]);
    if (category == selection.end() || category->second.count(components[2]) == 0) {
        return false;
    }
    CGetZrOwEntityPtrVec::GetInstance()->AddToBigEntMap(map, components[1], components[2], components[3], entity);
    return true;
}

}  // namespace

TEST_F(EntityCollection, AgreesWithFilingEntityByEntity) {
    RandomFloors floors(11);
    int filed = 0;
    for (int round = 0; round < 1000; ++round) {
        norvex::Drawing floor;
        floor.makeCurrent();
        floors.Fill(floor);
        CNorvexData::s_strCurSpec = floors.Specialty();
        CNorvexData::s_strSmallMemMap = floors.AnySelection();
        const Selection condition = floors.AnySelection();

        CategoryMap expected;
        CategoryMap expectedSelected;
        CategoryMap selected;
        for (ZrOwEntity* entity : floor.entities()) {
            filed += FileOne(expected, CNorvexData::s_strSmallMemMap, entity);
        }
        ASSERT_EQ(Collected(), Lines(expected)) << "round " << round;
        // The caller's map may hold records already.
        for (int time = 0; time < 2; ++time) {
            CGetZrOwEntityPtrVec::GetInstance()->GetSelEntByCondition(selected, condition);
            for (ZrOwEntity* entity : floor.entities()) {
                FileOne(expectedSelected, condition, entity);
            }
            ASSERT_EQ(Lines(selected), Lines(expectedSelected)) << "round " << round << ", time " << time;
        }
        CGetZrOwEntityPtrVec::Delete();
    }
    EXPECT_GT(filed, 10000) << "the drawings hold enough to compare";
}
