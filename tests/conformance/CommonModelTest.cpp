// SPDX-License-Identifier: Apache-2.0
#include "Stands.h"
#include "norvexdata/common/ComMethod.h"
#include "platform/zrow/Drawing.h"

using norvex::Drawing;
using norvex::contract::Component;
using norvex::contract::Groups;
using norvex::contract::Names;
using norvex::contract::TextList;
using norvex::contract::Texts;

namespace {

using Choice = std::initializer_list<NS_NORVEX::ComponentInfo>;

class CategoryMapContract : public norvex::contract::CleanRun {
  protected:
    CategoryMapContract() {
        project.AddSmallCategory(L"给排水", L"管线", L"给水管");
        project.AddSmallCategory(L"给排水", L"管线", L"排水管");
        project.AddSmallCategory(L"给排水", L"附件", L"阀门");
        project.AddBigCategory(L"给排水", L"设备");
        project.AddSmallCategory(L"消防", L"管线", L"喷淋管");
        norvex::datamng::SetCurrentProject(project);
        CNorvexData::s_strCurSpec = L"给排水";
    }

    static Groups Converted(const CategoryMap& map, Choice choice, Groups output = {}) {
        CZRArray<NS_NORVEX::ComponentInfo> list;
        for (const NS_NORVEX::ComponentInfo& component : choice) {
            list.append(component);
        }
        CComMethod::ConvertBigMemMap(output, map, list);
        return output;
    }
    void SetItems(const CString& path, std::vector<norvex::datamng::CalculationItem> items) {
        project.SetCalculationItems(path, std::move(items));
        norvex::datamng::SetCurrentProject(project);
    }

    norvex::datamng::ProjectData project;
};

class CableTextContract : public norvex::contract::CleanRun {
  protected:
    struct Parts {
        Texts wires;
        Texts conduits;
        bool operator==(const Parts&) const = default;
    };

    void Define(const CString& name, const CString& leads, const CString& canals) {
        project.SetAttributeValue(name, L"AM_ChoiceLead", leads);
        project.SetAttributeValue(name, L"AM_ChoiceCanal", canals);
        norvex::datamng::SetCurrentProject(project);
    }
    static Parts Cable(const CString& name) {
        TextList wires;
        TextList conduits;
        CComMethod::SplitDxdg(name, wires, conduits);
        return {wires.All(), conduits.All()};
    }
    static Parts Pipeline(const CString& name) {
        TextList wires;
        TextList conduits;
        CComMethod::SplitZhgx(name, wires, conduits);
        return {wires.All(), conduits.All()};
    }

    norvex::datamng::ProjectData project;
};

AcDbExtents Box(double low, double high) {
    return AcDbExtents({low, low, low}, {high, high, high});
}

struct Level {
    int kind;
    double low;
    double high;
    bool operator==(const Level&) const = default;
};

Level LevelOf(const Drawing& drawing) {
    Level level{0, -77, -88};
    level.kind = CComMethod::GetEntLevel(drawing.at<ZrOwEntity>(0), level.low, level.high);
    return level;
}

}  // namespace

// --- category maps ---

TEST_F(CategoryMapContract, EverythingChosenTakesAllSmallCategoriesOfWhatTheMapHolds) {
    const CategoryMap map = {{L"管线", {}}, {L"设备", {}}, {L"其他", {}}};
    EXPECT_EQ(Converted(map, {Component(L"*", {})}), (Groups{{L"管线", {L"给水管", L"排水管"}}}));
}

TEST_F(CategoryMapContract, EverythingOfASpecialtyWithoutCategoriesIsNothing) {
    const CategoryMap map = {{L"管线", {}}};
    CNorvexData::s_strCurSpec = L"电气";
    EXPECT_EQ(Converted(map, {Component(L"*", {})}, {{L"old", {}}}), (Groups{{L"old", {}}}));
    project.AddSpecialty(L"电气");
    norvex::datamng::SetCurrentProject(project);
    EXPECT_TRUE(Converted(map, {Component(L"*", {})}).empty());
}

TEST_F(CategoryMapContract, AStarItemTakesAllSmallCategoriesOfItsComponent) {
    const CategoryMap map = {{L"管线", {}}, {L"设备", {}}};
    EXPECT_EQ(Converted(map, {Component(L"管线", {L"x", L"*"})}), (Groups{{L"管线", {L"x", L"给水管", L"排水管"}}}));
}

TEST_F(CategoryMapContract, AStarItemOfACategoryWithoutSmallOnesInsertsNothing) {
    const CategoryMap map = {{L"设备", {}}, {L"无", {}}};
    EXPECT_TRUE(Converted(map, {Component(L"设备", {L"*"}), Component(L"无", {L"*"})}).empty());
}

TEST_F(CategoryMapContract, OfTwoComponentsOfOneNameTheFirstStays) {
    const CategoryMap map = {{L"管线", {}}};
    EXPECT_EQ(Converted(map, {Component(L"管线", {L"a", L"b"}), Component(L"管线", {L"c"})}),
              (Groups{{L"管线", {L"a", L"b"}}}));
    EXPECT_EQ(Converted(map, {Component(L"管线", {L"a"})}, {{L"管线", {L"old"}}}), (Groups{{L"管线", {L"old"}}}));
}

TEST_F(CategoryMapContract, ComponentsOutsideTheMapOrWithoutItemsAreSkipped) {
    const CategoryMap map = {{L"管线", {}}, {L"附件", {}}};
    EXPECT_EQ(
        Converted(map, {Component(L"设备", {L"a"}), Component(L"管线", {}), Component(L"附件", {L"阀门", L"新"})}),
        (Groups{{L"附件", {L"阀门", L"新"}}}));
}

TEST_F(CategoryMapContract, AStarBesideOtherComponentsIsAnOrdinaryName) {
    const CategoryMap map = {{L"管线", {}}, {L"附件", {}}};
    EXPECT_EQ(Converted(map, {Component(L"*", {}), Component(L"附件", {L"a"})}), (Groups{{L"附件", {L"a"}}}));
    EXPECT_TRUE(Converted(map, {}).empty());
}

TEST_F(CategoryMapContract, TheFirstSelectedItemDecides) {
    SetItems(L"P\\K\\s", {{L"A", L"1"}, {L"B", L"0"}});
    EXPECT_FALSE(CComMethod::IsSelectedCalItem(L"P\\K\\s", {L"A", L"B"}));
    EXPECT_TRUE(CComMethod::IsSelectedCalItem(L"P\\K\\s", {L"B"}));
    EXPECT_FALSE(CComMethod::IsSelectedCalItem(L"P\\K\\s", {L"A"}));
    EXPECT_FALSE(CComMethod::IsSelectedCalItem(L"P\\K\\s", {L"b", L"C"}));
    EXPECT_FALSE(CComMethod::IsSelectedCalItem(L"P\\K\\s", {}));
    EXPECT_FALSE(CComMethod::IsSelectedCalItem(L"P\\K\\t", {L"B"}));
}

TEST_F(CategoryMapContract, OnlyTheTextZeroIsTheFlag) {
    SetItems(L"P\\K\\s", {{L"A", L"00"}, {L"B", L""}, {L"C", L"0"}});
    EXPECT_FALSE(CComMethod::IsSelectedCalItem(L"P\\K\\s", {L"A"}));
    EXPECT_FALSE(CComMethod::IsSelectedCalItem(L"P\\K\\s", {L"B"}));
    EXPECT_TRUE(CComMethod::IsSelectedCalItem(L"P\\K\\s", {L"C"}));
}

TEST_F(CategoryMapContract, FilteringKeepsSelectedSubCategoriesAndDropsEmptyCategories) {
    SetItems(L"P\\K\\s", {{L"A", L"0"}});
    SetItems(L"P\\K\\t", {{L"B", L"0"}});
    SetItems(L"P\\L\\s", {{L"A", L"1"}});
    Groups output = {{L"old", {L"x"}}};
    CComMethod::FilterBigMemMap(output, {{L"K", {L"s", L"t", L"u"}}, {L"L", {L"s"}}, {L"M", {}}}, L"P", {L"A"});
    EXPECT_EQ(output, (Groups{{L"K", {L"s"}}, {L"old", {L"x"}}}));
}

TEST_F(CategoryMapContract, FilteringKeepsACategoryThatIsThere) {
    SetItems(L"P\\K\\s", {{L"A", L"0"}});
    Groups output = {{L"K", {L"old"}}};
    CComMethod::FilterBigMemMap(output, {{L"K", {L"s"}}}, L"P", {L"A"});
    EXPECT_EQ(output, (Groups{{L"K", {L"old"}}}));
}

TEST_F(CategoryMapContract, EntitiesOfASelectionComeInMapOrderWithRepeats) {
    Drawing drawing;
    for (int index = 0; index < 5; ++index) {
        drawing.node({0, 0, 0});
    }
    const auto at = [&](std::size_t index) { return drawing.at<ZrOwEntity>(index); };
    const CategoryMap map = {
        {L"A",
         {{L"s", {SAttEntPtr{L"2", {at(0)}}, SAttEntPtr{L"1", {at(2), at(1)}}}}, {L"t", {SAttEntPtr{L"1", {at(0)}}}}}},
        {L"B", {{L"s", {SAttEntPtr{L"1", {at(3)}}}}}},
        {L"C", {{L"s", {SAttEntPtr{L"1", {at(4)}}}}}}};
    std::vector<ZrOwEntity*> output = {nullptr};
    CComMethod::GetEntPtrVecByBigMemMap(output, {{L"B", {L"s"}}, {L"A", {L"t", L"s", L"none"}}, {L"c", {L"s"}}}, map);
    EXPECT_EQ(output, (std::vector<ZrOwEntity*>{nullptr, at(2), at(1), at(0), at(0), at(3)}));
}

// --- cable text ---

TEST_F(CableTextContract, AnUnknownNameLeavesBothListsAsTheyWere) {
    TextList wires{L"w"};
    TextList conduits{L"c"};
    CComMethod::SplitDxdg(L"弱电\\a\\b\\c", wires, conduits);
    CComMethod::SplitZhgx(L"弱电\\a\\b\\c", wires, conduits);
    EXPECT_EQ(wires.All(), (Texts{L"w"}));
    EXPECT_EQ(conduits.All(), (Texts{L"c"}));
}

TEST_F(CableTextContract, EntriesNeedEnoughFieldsAndLoseTheRest) {
    Define(L"弱电\\a\\b\\c", L"a,b;c,d,e,f;;", L"p;q,r,s;t,u;,");
    const Parts expected{{L"c", L"d", L"e"}, {L"q", L"r", L"t", L"u"}};
    EXPECT_EQ(Cable(L"弱电\\a\\b\\c"), expected);
    EXPECT_EQ(Pipeline(L"弱电\\a\\b\\c"), expected);
}

TEST_F(CableTextContract, AConduitEntryOfAPipelineAddsItsFirstTwoFieldsToTheConduits) {
    Define(L"弱电\\a\\b\\c", L"配管,x,y;配管,z", L"p,q");
    EXPECT_EQ(Pipeline(L"弱电\\a\\b\\c"), (Parts{{}, {L"配管", L"x", L"p", L"q"}}));
    EXPECT_EQ(Cable(L"弱电\\a\\b\\c"), (Parts{{L"配管", L"x", L"y"}, {L"p", L"q"}}));
}

TEST_F(CableTextContract, BlanksAreNotTrimmed) {
    Define(L"弱电\\a\\b\\c", L" 配管,x,y", L"");
    EXPECT_EQ(Pipeline(L"弱电\\a\\b\\c"), (Parts{{L" 配管", L"x", L"y"}, {}}));
}

TEST_F(CableTextContract, ACombinedEntryIsExpandedInItsPlace) {
    Define(L"弱电\\穿管引线\\配管配线\\N1", L"w1,w2,w3;配管,i,j", L"k1,k2");
    Define(L"弱电\\a\\b\\c", L"A,B,C;配管配线,N1,x;D,E,F;配管配线,unknown,x;配管配线,N1", L"p,q");
    EXPECT_EQ(Pipeline(L"弱电\\a\\b\\c"),
              (Parts{{L"A", L"B", L"C", L"w1", L"w2", L"w3", L"配管", L"i", L"j", L"D", L"E", L"F"},
                     {L"k1", L"k2", L"p", L"q"}}));
    // A cable knows no combined entries.
    EXPECT_EQ(Cable(L"弱电\\a\\b\\c").wires.size(), 12U);
}

TEST_F(CableTextContract, AbsentValuesReadAsEmptyAndListsAreAppendedTo) {
    project.SetAttributeValue(L"弱电\\a\\b\\c", L"AM_ChoiceCanal", L"p,q");
    norvex::datamng::SetCurrentProject(project);
    TextList wires{L"w"};
    TextList conduits{L"c"};
    CComMethod::SplitDxdg(L"弱电\\a\\b\\c", wires, conduits);
    EXPECT_EQ(wires.All(), (Texts{L"w"}));
    EXPECT_EQ(conduits.All(), (Texts{L"c", L"p", L"q"}));
}

// --- boxes, levels, floors ---

TEST(BoxContract, FacesAreInsideWithoutTolerance) {
    const AcDbExtents box = Box(0, 1);
    EXPECT_TRUE(CComMethod::IsPntEnternsInter(box, {0, 0.5, 1}));
    EXPECT_TRUE(CComMethod::IsPntEnternsInter(box, {1, 1, 1}));
    EXPECT_FALSE(CComMethod::IsPntEnternsInter(box, {1 + 1e-9, 0.5, 0.5}));
    EXPECT_FALSE(CComMethod::IsPntEnternsInter(box, {0.5, -1e-9, 0.5}));
    EXPECT_FALSE(CComMethod::IsPntEnternsInter(box, {0.5, 0.5, 1 + 1e-9}));
}

TEST(BoxContract, TouchingCountsInOneArgumentOrderOnly) {
    EXPECT_FALSE(CComMethod::ExtentsInter(Box(0, 1), Box(1, 2)));
    EXPECT_TRUE(CComMethod::ExtentsInter(Box(1, 2), Box(0, 1)));
    EXPECT_FALSE(CComMethod::IsIntersectWithEnterns(Box(0, 1), Box(1, 2)));
    EXPECT_TRUE(CComMethod::IsIntersectWithEnterns(Box(1, 2), Box(0, 1)));
}

TEST(BoxContract, EveryAxisCounts) {
    const AcDbExtents box({0, 0, 0}, {1, 1, 1});
    EXPECT_TRUE(CComMethod::ExtentsInter(box, box));
    for (const double shift : {5.0, -5.0, 1.0}) {
        EXPECT_FALSE(CComMethod::ExtentsInter(box, AcDbExtents({shift, 0, 0}, {shift + 1, 1, 1}))) << shift;
        EXPECT_FALSE(CComMethod::ExtentsInter(box, AcDbExtents({0, shift, 0}, {1, shift + 1, 1}))) << shift;
        EXPECT_FALSE(CComMethod::ExtentsInter(box, AcDbExtents({0, 0, shift}, {1, 1, shift + 1}))) << shift;
        EXPECT_FALSE(CComMethod::IsIntersectWithEnterns(box, AcDbExtents({shift, 0, 0}, {shift + 1, 1, 1})));
        EXPECT_FALSE(CComMethod::IsIntersectWithEnterns(box, AcDbExtents({0, shift, 0}, {1, shift + 1, 1})));
    }
    EXPECT_TRUE(CComMethod::ExtentsInter(box, AcDbExtents({-1, -1, -1}, {0, 0, 0})));
    EXPECT_FALSE(CComMethod::ExtentsInter(box, AcDbExtents({-1, -1, -1}, {0, 0, -1e-9})));
}

TEST(BoxContract, PlanIgnoresHeight) {
    const AcDbExtents low({0, 0, 0}, {1, 1, 1});
    const AcDbExtents high({0.5, 0.5, 100}, {2, 2, 101});
    EXPECT_TRUE(CComMethod::IsIntersectWithEnterns(low, high));
    EXPECT_FALSE(CComMethod::ExtentsInter(low, high));
}

TEST(BoxContract, AgainstAListTheSingleBoxIsTheFirst) {
    CArray<AcDbExtents> boxes;
    EXPECT_FALSE(CComMethod::IsIntersectWithEnterns(boxes, Box(0, 1)));
    boxes.Add(Box(50, 60));
    boxes.Add(Box(1, 2));
    EXPECT_FALSE(CComMethod::IsIntersectWithEnterns(boxes, Box(0, 1)));
    EXPECT_TRUE(CComMethod::IsIntersectWithEnterns(boxes, Box(2, 3)));
    EXPECT_TRUE(CComMethod::IsIntersectWithEnterns(boxes, Box(55, 56)));
}

TEST(LevelContract, OneLevelForNodesAndTrenches) {
    Drawing node;
    node.node({1, 2, 3.5});
    EXPECT_EQ(LevelOf(node), (Level{1, 3.5, -88}));
    Drawing trench;
    trench.groove(-1.5);
    EXPECT_EQ(LevelOf(trench), (Level{1, -1.5, -88}));
}

TEST(LevelContract, ARangeForRisersAndPipes) {
    Drawing riser;
    riser.riser({0, 0}, 9, 4);
    EXPECT_EQ(LevelOf(riser), (Level{2, 4, 9}));
    Drawing flat;
    flat.riser({0, 0}, 5, 5);
    EXPECT_EQ(LevelOf(flat), (Level{2, 5, 5}));
    Drawing pipe;
    pipe.pipe({0, 0, 8}, {9, 9, -2});
    EXPECT_EQ(LevelOf(pipe), (Level{2, -2, 8}));
    Drawing rising;
    rising.pipe({0, 0, -2}, {9, 9, 8});
    EXPECT_EQ(LevelOf(rising), (Level{2, -2, 8}));
}

TEST(LevelContract, AMainLinesPairStaysAsItIs) {
    Drawing drawing;
    drawing.mainLine({0, 0, 100}, {0, 0, 200}, {L"main", 7, 3});
    EXPECT_EQ(LevelOf(drawing), (Level{3, 7, 3}));
}

TEST(LevelContract, AnUnknownKindWritesNothing) {
    Drawing drawing;
    drawing.fitting({1, 2, 3});
    EXPECT_EQ(LevelOf(drawing), (Level{1, -77, -88}));
}

TEST(FloorGradeContract, AFloorHasTenTimesItsNumber) {
    const std::map<CString, int> grades = {
        {L"3层", 30},    {L"-1层", -10}, {L"2.5层", 25},  {L"3/4层", 30},   {L"3,4", 30},   {L"屋面", 0},
        {L"B1", 0},      {L"", 0},       {L"12层A", 120}, {L"层3层", 30},   {L" 4层 ", 40}, {L"1.29层", 12},
        {L"-0.5层", -5}, {L"3,4/5", 30}, {L"/3", 0},      {L"3层/5层", 30}, {L"第3层", 0},  {L"-1.29", -12},
    };
    for (const auto& [name, grade] : grades) {
        EXPECT_EQ(CComMethod::GetFloorGrade(name), grade) << norvex::text::ToUtf8(name);
    }
}

TEST(FloorGradeContract, TheWholeProjectLiesBelowEverything) {
    EXPECT_EQ(CComMethod::GetFloorGrade(L"工程"), -1000);
    EXPECT_EQ(CComMethod::GetFloorGrade(L" 工程 "), -1000);
    EXPECT_EQ(CComMethod::GetFloorGrade(L"工程层"), 0);
    EXPECT_EQ(CComMethod::GetFloorGrade(L"工程1"), 0);
}
