// SPDX-License-Identifier: Apache-2.0
#include "platform/datamng/ProjectData.h"
#include "platform/datamng/ZrOwDataMng.h"
#include "platform/profile/ZrOwProfile.h"
#include "platform/sysrule/ZrSysRuleData.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using norvex::datamng::ProjectData;
using norvex::datamng::SetCurrentProject;

ProjectData WaterProject() {
    ProjectData data;
    data.folder = L"\\projects\\一号楼";
    data.currentSpecialty = L"给排水";
    data.AddSmallCategory(L"给排水", L"管线", L"管道");
    data.AddSmallCategory(L"给排水", L"管线", L"立管");
    data.AddBigCategory(L"给排水", L"设备");
    data.AddSmallCategory(L"暖通", L"管线", L"风管");
    return data;
}

std::vector<CString> SmallNames(const CString& path) {
    CStringArray names;
    names.Add(L"stale");
    ZrOwDataMng::CAtt::GetAllSmallCategoryNames(path, names);
    return {names.begin(), names.end()};
}

TEST(ProjectData, AnswersNothingWhileNoProjectIsOpen) {
    ZrOwDataMng::SpecId id = 7;
    EXPECT_FALSE(ZrOwDataMng::SpecNameToId(L"给排水", id));
    EXPECT_EQ(id, 0);
    EXPECT_TRUE(ZrOwDataMng::CProj::GetPrjDir().IsEmpty());
    EXPECT_EQ(ZrOwDataMng::CProj::GetCurrentSpecId(), 0);
    std::vector<long> ids{1};
    EXPECT_FALSE(ZrOwDataMng::CAtt::GetAllBigCategoryIdsBySpec(1, ids));
    EXPECT_TRUE(ids.empty());
}

TEST(ProjectData, GivesTheFolderAndTheCurrentSpecialty) {
    SetCurrentProject(WaterProject());
    EXPECT_EQ(ZrOwDataMng::CProj::GetPrjDir(), L"\\projects\\一号楼");
    ZrOwDataMng::SpecId id = 0;
    ASSERT_TRUE(ZrOwDataMng::SpecNameToId(L"给排水", id));
    EXPECT_EQ(ZrOwDataMng::CProj::GetCurrentSpecId(), id);
}

TEST(ProjectData, ListsCategoriesInTheOrderInWhichTheyWereAdded) {
    SetCurrentProject(WaterProject());
    ZrOwDataMng::SpecId specialty = 0;
    ASSERT_TRUE(ZrOwDataMng::SpecNameToId(L"给排水", specialty));
    std::vector<long> bigs{99};
    ASSERT_TRUE(ZrOwDataMng::CAtt::GetAllBigCategoryIdsBySpec(specialty, bigs));
    ASSERT_EQ(bigs.size(), 2U);
    EXPECT_EQ(ZrOwDataMng::CAtt::GetBigCategoryName(bigs[0]), L"管线");
    EXPECT_EQ(ZrOwDataMng::CAtt::GetBigCategoryName(bigs[1]), L"设备");
    std::vector<long> smalls;
    ASSERT_TRUE(ZrOwDataMng::CAtt::GetAllSmallCategoryIdsByBigCategory(bigs[0], smalls));
    ASSERT_EQ(smalls.size(), 2U);
    EXPECT_EQ(ZrOwDataMng::CAtt::GetSmallCategoryName(smalls[1]), L"立管");
    EXPECT_EQ(ZrOwDataMng::CSmallCategoryMng::GetName(smalls[1]), L"立管");
    EXPECT_TRUE(ZrOwDataMng::CAtt::GetAllSmallCategoryIdsByBigCategory(bigs[1], smalls));
    EXPECT_TRUE(smalls.empty());
}

TEST(ProjectData, TellsCategoriesOfOneNameApartBySpecialty) {
    SetCurrentProject(WaterProject());
    ZrOwDataMng::BigCategoryId water = 0;
    ZrOwDataMng::BigCategoryId air = 0;
    EXPECT_TRUE(ZrOwDataMng::BigCategoryNameToId(L"给排水:管线", water));
    EXPECT_TRUE(ZrOwDataMng::BigCategoryNameToId(L"暖通:管线", air));
    EXPECT_NE(water, air);
    EXPECT_FALSE(ZrOwDataMng::BigCategoryNameToId(L"管线", water));
    EXPECT_EQ(water, 0);
    EXPECT_EQ(SmallNames(L"暖通\\管线"), std::vector<CString>{L"风管"});
    EXPECT_EQ(SmallNames(L"给排水\\管线"), (std::vector<CString>{L"管道", L"立管"}));
    EXPECT_TRUE(SmallNames(L"给排水:管线").empty());
}

TEST(ProjectData, ReadsAttributeValuesByDefinition) {
    ProjectData data;
    data.SetAttributeValue(L"弱电\\穿管引线\\配管配线\\A", L"AM_ChoiceLead", L"a,b,c");
    SetCurrentProject(data);
    ZrOwDataMng::AttId id = 0;
    ASSERT_TRUE(ZrOwDataMng::AttNameToAttId(L"弱电\\穿管引线\\配管配线\\A", id));
    CString value;
    EXPECT_TRUE(ZrOwDataMng::CAttDetailMem(id).GetAttributeValue(L"AM_ChoiceLead", value));
    EXPECT_EQ(value, L"a,b,c");
    EXPECT_FALSE(ZrOwDataMng::CAttDetailMem(id).GetAttributeValue(L"AM_ChoiceCanal", value));
    EXPECT_TRUE(value.IsEmpty());
    EXPECT_FALSE(ZrOwDataMng::AttNameToAttId(L"弱电\\穿管引线\\配管配线\\B", id));
    EXPECT_EQ(SmallNames(L"弱电\\穿管引线"), std::vector<CString>{L"配管配线"});
}

TEST(ProjectData, GivesCalculationItemsAsPairs) {
    ProjectData data;
    data.SetCalculationItems(L"给排水\\管线\\管道", {{L"长度", L"0"}, {L"保温", L"1"}});
    SetCurrentProject(data);
    CStringArray pairs;
    CStringArray names;
    EXPECT_TRUE(CFaceSysRule().GetCalItemsSet(L"给排水\\管线\\管道", pairs, names));
    EXPECT_EQ(std::vector<CString>(pairs.begin(), pairs.end()), (std::vector<CString>{L"长度", L"0", L"保温", L"1"}));
    EXPECT_EQ(std::vector<CString>(names.begin(), names.end()), (std::vector<CString>{L"长度", L"保温"}));
    EXPECT_FALSE(CFaceSysRule().GetCalItemsSet(L"给排水\\管线\\立管", pairs, names));
    EXPECT_EQ(pairs.GetSize(), 0);
    EXPECT_EQ(names.GetSize(), 0);
}

TEST(ProjectData, KeepsAWantedIdOnlyWhileItIsFree) {
    ProjectData data;
    EXPECT_EQ(data.AddSpecialty(L"给排水", 5), 5);
    EXPECT_EQ(data.AddSpecialty(L"消防", 5), 1);
    EXPECT_EQ(data.AddSpecialty(L"给排水", 9), 5);
    EXPECT_EQ(data.AddSpecialty(L"暖通", 2), 2);
    EXPECT_EQ(data.AddSpecialty(L"电气"), 3);
    EXPECT_EQ(data.AddSpecialty(L"弱电", -1), 4);
    EXPECT_EQ(data.AddSpecialty(L"工程"), 6);
}

TEST(ProjectData, MergesByNameAndKeepsItsOwnIds) {
    ProjectData catalogue = WaterProject();
    const long kept = catalogue.AddBigCategory(L"给排水", L"管线");
    ProjectData project;
    project.folder = L"\\other";
    project.AddSmallCategory(L"给排水", L"管线", L"给水管");
    project.SetAttributeValue(L"给排水\\管线\\给水管\\DN50", L"材质", L"钢管");
    catalogue.Merge(project);
    EXPECT_EQ(catalogue.folder, L"\\other");
    EXPECT_EQ(catalogue.currentSpecialty, L"给排水");
    EXPECT_EQ(catalogue.FindBigCategory(L"给排水", L"管线")->id, kept);
    SetCurrentProject(catalogue);
    EXPECT_EQ(SmallNames(L"给排水\\管线"), (std::vector<CString>{L"管道", L"立管", L"给水管"}));
    ASSERT_NE(catalogue.FindAttribute(L"给排水\\管线\\给水管\\DN50"), nullptr);
}

TEST(AppProfile, GivesTheFoldersThatTheHostSet) {
    EXPECT_TRUE(ZrOwProfile::GetAppProfile()->GetAppDir().IsEmpty());
    norvex::profile::SetDirectories({L"\\app", L"\\app\\配置"});
    EXPECT_EQ(ZrOwProfile::GetAppProfile()->GetAppDir(), L"\\app");
    EXPECT_EQ(ZrOwProfile::GetAppProfile()->GetConfigDir(), L"\\app\\配置");
}

}  // namespace
