// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/common/ComMethod.h"
#include "norvexdata/state/NorvexData.h"
#include "platform/datamng/ProjectData.h"
#include "platform/zrow/Drawing.h"
#include "support/RunStateGuard.h"
#include "support/StubService.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <vector>

namespace {

using norvex::test::Component;
using Selection = std::map<CString, std::set<CString>>;

class CategoryMaps : public testing::Test {
  protected:
    CategoryMaps() {
        CNorvexData::s_strCurSpec = u"给排水";
        for (const char16_t* pipe : {u"给水管", u"排水管"}) {
            project.AddSmallCategory(u"给排水", u"管线", pipe);
        }
        project.AddSmallCategory(u"给排水", u"设备", u"泵");
        project.AddBigCategory(u"给排水", u"附件");
        project.AddSmallCategory(u"电气", u"管线", u"电线");
        norvex::datamng::SetCurrentProject(project);
    }
    ~CategoryMaps() override { norvex::datamng::SetCurrentProject({}); }

    // A category map that holds these categories, with nothing in them.
    static CategoryMap Holding(std::initializer_list<CString> categories) {
        CategoryMap map;
        for (const CString& category : categories) {
            map[category];
        }
        return map;
    }

    static Selection Converted(const CategoryMap& map, std::initializer_list<NS_NORVEX::ComponentInfo> choice,
                               Selection output = {}) {
        CZRArray<NS_NORVEX::ComponentInfo> list;
        for (const NS_NORVEX::ComponentInfo& component : choice) {
            list.append(component);
        }
        CComMethod::ConvertBigMemMap(output, map, list);
        return output;
    }

    // Calculation items of a path: name and flag, in turn.
    void Items(const CString& path, std::vector<norvex::datamng::CalculationItem> items) {
        project.SetCalculationItems(path, std::move(items));
        norvex::datamng::SetCurrentProject(project);
    }

    norvex::test::RunStateGuard guard;
    norvex::datamng::ProjectData project;
};

}  // namespace

TEST_F(CategoryMaps, ChoiceOfEverythingTakesAllSmallCategoriesOfWhatTheMapHolds) {
    EXPECT_EQ(Converted(Holding({u"管线", u"设备"}), {Component(u"*", {})}),
              (Selection{{u"管线", {u"给水管", u"排水管"}}, {u"设备", {u"泵"}}}));
    EXPECT_EQ(Converted(Holding({u"设备", u"other"}), {Component(u"*", {u"ignored"})}),
              (Selection{{u"设备", {u"泵"}}}));
}

TEST_F(CategoryMaps, ChoiceOfEverythingLeavesOutCategoriesWithoutSmallOnes) {
    EXPECT_EQ(Converted(Holding({u"附件"}), {Component(u"*", {})}), Selection());
}

TEST_F(CategoryMaps, ChoiceOfEverythingInASpecialtyWithoutCategoriesAddsNothing) {
    const Selection before = {{u"x", {u"y"}}};
    for (const char16_t* specialty : {u"消防", u""}) {
        CNorvexData::s_strCurSpec = specialty;
        EXPECT_EQ(Converted(Holding({u"管线"}), {Component(u"*", {})}, before), before);
    }
}

TEST_F(CategoryMaps, StarAmongSeveralComponentsIsAName) {
    EXPECT_EQ(Converted(Holding({u"管线"}), {Component(u"*", {u"a"}), Component(u"管线", {u"b"})}),
              (Selection{{u"管线", {u"b"}}}));
    EXPECT_EQ(Converted(Holding({u"*"}), {Component(u"*", {u"a"}), Component(u"管线", {u"b"})}),
              (Selection{{u"*", {u"a"}}}));
}

TEST_F(CategoryMaps, ComponentListTakesItemsAsTheyAre) {
    EXPECT_EQ(
        Converted(Holding({u"管线"}), {Component(u"管线", {u"给水管", u"unheard of"}), Component(u"设备", {u"泵"})}),
        (Selection{{u"管线", {u"unheard of", u"给水管"}}}))
        << "a category that the map does not hold is skipped";
}

TEST_F(CategoryMaps, StarAmongItemsTakesAllSmallCategories) {
    EXPECT_EQ(Converted(Holding({u"管线"}), {Component(u"管线", {u"extra", u"*"})}),
              (Selection{{u"管线", {u"extra", u"给水管", u"排水管"}}}));
    CNorvexData::s_strCurSpec = u"电气";
    EXPECT_EQ(Converted(Holding({u"管线"}), {Component(u"管线", {u"*"})}), (Selection{{u"管线", {u"电线"}}}));
}

TEST_F(CategoryMaps, StarOfACategoryWithoutSmallOnesIsNotInserted) {
    EXPECT_EQ(Converted(Holding({u"附件", u"unknown"}), {Component(u"附件", {u"*"}), Component(u"unknown", {u"*"})}),
              Selection());
    EXPECT_EQ(Converted(Holding({u"附件"}), {Component(u"附件", {})}), Selection());
}

TEST_F(CategoryMaps, FirstOfTwoComponentsOfOneNameStays) {
    EXPECT_EQ(Converted(Holding({u"管线"}), {Component(u"管线", {u"first"}), Component(u"管线", {u"later"})}),
              (Selection{{u"管线", {u"first"}}}));
}

TEST_F(CategoryMaps, EntriesThatTheOutputHasStay) {
    const Selection before = {{u"管线", {u"before"}}};
    EXPECT_EQ(Converted(Holding({u"管线"}), {Component(u"管线", {u"later"})}, before), before);
    EXPECT_EQ(Converted(Holding({u"管线"}), {Component(u"*", {})}, before), before);
}

TEST_F(CategoryMaps, EmptyChoiceAddsNothing) {
    EXPECT_EQ(Converted(Holding({u"管线"}), {}), Selection());
}

TEST_F(CategoryMaps, FirstSelectedCalculationItemDecides) {
    Items(u"p", {{u"A", u"1"}, {u"B", u"0"}});
    EXPECT_FALSE(CComMethod::IsSelectedCalItem(u"p", {u"A", u"B"}));
    EXPECT_TRUE(CComMethod::IsSelectedCalItem(u"p", {u"B"}));
    EXPECT_FALSE(CComMethod::IsSelectedCalItem(u"p", {u"A"}));
    EXPECT_FALSE(CComMethod::IsSelectedCalItem(u"p", {u"C"}));
    EXPECT_FALSE(CComMethod::IsSelectedCalItem(u"p", {}));
    EXPECT_FALSE(CComMethod::IsSelectedCalItem(u"unknown", {u"A", u"B"}));
}

TEST_F(CategoryMaps, CalculationItemIsSelectedByTheFlag0Alone) {
    for (const char16_t* flag : {u"", u"00", u" 0", u"false", u"0.0"}) {
        Items(u"p", {{u"A", flag}});
        EXPECT_FALSE(CComMethod::IsSelectedCalItem(u"p", {u"A"})) << norvex::text::ToUtf8(flag);
    }
    Items(u"p", {{u"A", u"0"}});
    EXPECT_TRUE(CComMethod::IsSelectedCalItem(u"p", {u"A"}));
}

TEST_F(CategoryMaps, FilterKeepsWhatTheCalculationItemsSelect) {
    Items(u"给排水\\管线\\给水管", {{u"长度", u"0"}});
    Items(u"给排水\\管线\\排水管", {{u"长度", u"1"}});
    Items(u"给排水\\设备\\泵", {{u"数量", u"0"}});
    const Selection input = {{u"管线", {u"给水管", u"排水管"}}, {u"设备", {u"泵"}}};
    Selection output;
    CComMethod::FilterBigMemMap(output, input, u"给排水", {u"长度"});
    EXPECT_EQ(output, (Selection{{u"管线", {u"给水管"}}})) << "a category of which nothing is kept is left out";
    EXPECT_EQ(input.size(), 2U);
}

TEST_F(CategoryMaps, FilterLeavesEntriesThatTheOutputHas) {
    Items(u"p\\管线\\给水管", {{u"长度", u"0"}});
    Selection output = {{u"管线", {u"before"}}};
    CComMethod::FilterBigMemMap(output, {{u"管线", {u"给水管"}}}, u"p", {u"长度"});
    EXPECT_EQ(output, (Selection{{u"管线", {u"before"}}}));
}

TEST_F(CategoryMaps, FlatteningTakesSelectedEntitiesInMapOrder) {
    norvex::Drawing drawing;
    for (int count = 0; count < 6; ++count) {
        drawing.node({0, 0, 0});
    }
    const std::vector<ZrOwEntity*> all = drawing.entities();
    const CategoryMap map = {{u"a", {{u"x", {{u"2", {all[2], all[1]}}, {u"1", {all[0]}}}}, {u"y", {{u"1", {all[3]}}}}}},
                             {u"b", {{u"x", {{u"1", {all[4], all[4]}}}}}},
                             {u"c", {{u"x", {{u"1", {all[5]}}}}}}};
    std::vector<ZrOwEntity*> output = {all[5]};
    CComMethod::GetEntPtrVecByBigMemMap(output, {{u"b", {u"x"}}, {u"a", {u"y", u"x", u"none"}}, {u"none", {u"x"}}},
                                        map);
    EXPECT_EQ(output, (std::vector<ZrOwEntity*>{all[5], all[0], all[2], all[1], all[3], all[4], all[4]}));
    CComMethod::GetEntPtrVecByBigMemMap(output, {}, map);
    CComMethod::GetEntPtrVecByBigMemMap(output, {{u"A", {u"x"}}, {u"a", {u"X"}}}, map);
    EXPECT_EQ(output.size(), 7U);
}
