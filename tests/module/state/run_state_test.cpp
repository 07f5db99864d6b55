// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/state/NorvexData.h"
#include "norvexdata/state/Vocabulary.h"
#include "support/RunStateGuard.h"
#include "support/StubService.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using norvex::test::Component;
using norvex::test::Narrow;
using NS_NORVEX::CategoryCheckState;
using NS_NORVEX::CategoryStatus;

class RunState : public testing::Test {
  protected:
    RunState() { CNorvexData::ClearCheckData(); }

    static void Report(const CString& category) {
        CNorvexData::AddCheckResultCount(category, u"x", STR_ERR_REMIND, 1, 1);
    }

    // Each category of the snapshot with its state, as "A=1".
    static std::vector<std::string> Snapshot() {
        std::vector<CategoryCheckState> states;
        CNorvexData::GetRunTimeCheckState(states);
        std::vector<std::string> lines;
        for (const CategoryCheckState& state : states) {
            lines.push_back(state.strCategory + "=" + std::to_string(state.eStatus));
        }
        return lines;
    }

    norvex::test::RunStateGuard guard;
};

constexpr auto kFinished = static_cast<CategoryStatus>(2);

}  // namespace

TEST(FreshRunState, IsEmpty) {
    // Runs in a process of its own under ctest, before anything else has touched the state.
    EXPECT_EQ(CNorvexData::s_pINorvexService, nullptr);
    EXPECT_EQ(CNorvexData::GetNorvexService(), nullptr);
    EXPECT_TRUE(CNorvexData::s_strFloorVec.empty());
    EXPECT_TRUE(CNorvexData::s_strCurCategory.IsEmpty());
    EXPECT_TRUE(CNorvexData::s_strCurFloor.IsEmpty());
    EXPECT_TRUE(CNorvexData::s_strCurSpec.IsEmpty());
    EXPECT_TRUE(CNorvexData::s_strSmallMemMap.empty());
    EXPECT_TRUE(CNorvexData::s_CheckStateMap.empty());
    EXPECT_TRUE(CNorvexData::s_sSubCategoryMap.empty());
    EXPECT_EQ(CNorvexData::s_iCurRuleNum, 0);
    EXPECT_EQ(CNorvexData::s_iTotalRuleNum, 0);
    EXPECT_FALSE(CNorvexData::s_bCheckFinish);
}

TEST_F(RunState, KeepsTheServiceAsItIsGiven) {
    norvex::test::StubService service;
    CNorvexData::SetNorvexService(&service);
    EXPECT_EQ(CNorvexData::GetNorvexService(), &service);
    EXPECT_EQ(CNorvexData::s_pINorvexService, &service);
    EXPECT_TRUE(service.questions.empty());
    CNorvexData::SetNorvexService(nullptr);
    EXPECT_EQ(CNorvexData::GetNorvexService(), nullptr);
}

TEST_F(RunState, RegionKeepsFloorsInOrderWithDuplicates) {
    CNorvexData::GetCheckRegion({Narrow(u"3层"), Narrow(u"1层"), Narrow(u"3层"), ""}, {});
    EXPECT_EQ(CNorvexData::s_strFloorVec, (std::vector<CString>{u"3层", u"1层", u"3层", u""}));
}

TEST_F(RunState, RegionReplacesTheOneBefore) {
    CNorvexData::GetCheckRegion({"1"}, {Component(u"管线", {u"给水管"})});
    CNorvexData::GetCheckRegion({}, {});
    EXPECT_TRUE(CNorvexData::s_strFloorVec.empty());
    EXPECT_TRUE(CNorvexData::s_strSmallMemMap.empty());
}

TEST_F(RunState, RegionMakesTheSelectionMap) {
    CNorvexData::GetCheckRegion({},
                                {Component(u"管线", {u"给水管", u"排水管", u"给水管"}), Component(u"设备", {u"泵"})});
    const std::map<CString, std::set<CString>> expected = {{u"管线", {u"给水管", u"排水管"}}, {u"设备", {u"泵"}}};
    EXPECT_EQ(CNorvexData::s_strSmallMemMap, expected);
}

TEST_F(RunState, RegionKeepsTheFirstOfTwoComponentsOfOneName) {
    CNorvexData::GetCheckRegion({}, {Component(u"管线", {u"first"}), Component(u"管线", {u"later", u"first"})});
    const std::map<CString, std::set<CString>> expected = {{u"管线", {u"first"}}};
    EXPECT_EQ(CNorvexData::s_strSmallMemMap, expected);
}

TEST_F(RunState, ComponentWithoutNamesIsAKeyWithAnEmptySet) {
    CNorvexData::GetCheckRegion({}, {Component(u"管线", {}), Component(u"管线", {u"later"})});
    const std::map<CString, std::set<CString>> expected = {{u"管线", {}}};
    EXPECT_EQ(CNorvexData::s_strSmallMemMap, expected);
}

TEST_F(RunState, SelectionNamesMatchByLetterCase) {
    CNorvexData::GetCheckRegion({}, {Component(u"pipe", {u"a", u"A"}), Component(u"Pipe", {})});
    EXPECT_EQ(CNorvexData::s_strSmallMemMap.size(), 2U);
    EXPECT_EQ(CNorvexData::s_strSmallMemMap[u"pipe"].size(), 2U);
}

TEST_F(RunState, NarrowTextEndsAtItsFirstNul) {
    CNorvexData::GetCheckRegion({std::string("1\0x", 3)}, {});
    EXPECT_EQ(CNorvexData::s_strFloorVec[0].GetLength(), 1);
}

TEST_F(RunState, SettingTheStateOfAnUnreportedCategoryMakesNone) {
    CNorvexData::SetCheckingState(u"A", kFinished);
    EXPECT_TRUE(Snapshot().empty());
    Report(u"A");
    EXPECT_EQ(Snapshot(), (std::vector<std::string>{"A=0"}));
}

TEST_F(RunState, SnapshotShowsTheCurrentCategoryInProgressWhileItsStateIsZero) {
    Report(u"A");
    Report(u"B");
    CNorvexData::s_strCurCategory = u"B";
    EXPECT_EQ(Snapshot(), (std::vector<std::string>{"A=0", "B=1"}));
    EXPECT_EQ(CNorvexData::s_CheckStateMap[u"B"].eStatus, 0) << "the stored state stays";
    CNorvexData::SetCheckingState(u"B", kFinished);
    EXPECT_EQ(Snapshot(), (std::vector<std::string>{"A=0", "B=2"}));
    CNorvexData::s_strCurCategory = u"b";
    EXPECT_EQ(Snapshot(), (std::vector<std::string>{"A=0", "B=2"}));
}

TEST_F(RunState, SnapshotReportsAnyStateThatCallersSet) {
    Report(u"A");
    CNorvexData::s_strCurCategory = u"A";
    for (const int state : {2, 3, -1, 2147483647}) {
        CNorvexData::SetCheckingState(u"A", static_cast<CategoryStatus>(state));
        EXPECT_EQ(Snapshot(), (std::vector<std::string>{"A=" + std::to_string(state)}));
    }
    CNorvexData::SetCheckingState(u"A", NS_NORVEX::eCategoryNotChecked);
    EXPECT_EQ(Snapshot(), (std::vector<std::string>{"A=1"}));
}

TEST_F(RunState, SnapshotComparesTheCurrentCategoryThroughTheCodePage) {
    // The stored name went through the code page, so a name that it does not know no longer equals the current one.
    Report(u"管线");
    Report(u"\u0E01");
    CNorvexData::s_strCurCategory = u"\u0E01";
    EXPECT_EQ(Snapshot(), (std::vector<std::string>{"?=0", Narrow(u"管线") + "=0"}));
    CNorvexData::s_strCurCategory = u"?";
    EXPECT_EQ(Snapshot(), (std::vector<std::string>{"?=1", Narrow(u"管线") + "=0"}));
    CNorvexData::s_strCurCategory = u"管线";
    EXPECT_EQ(Snapshot(), (std::vector<std::string>{"?=0", Narrow(u"管线") + "=1"}));
}

TEST_F(RunState, SnapshotReplacesWhatTheVectorHeld) {
    std::vector<CategoryCheckState> states(3);
    CNorvexData::GetRunTimeCheckState(states);
    EXPECT_TRUE(states.empty());
}

TEST_F(RunState, SnapshotCopiesAllCounts) {
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_CONFIRMED, 1, 10);
    CNorvexData::AddCheckResultCount(u"A", u"y", STR_ERR_SUSPECTED, 2, 10);
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_REMIND, 3, 10);
    std::vector<CategoryCheckState> states;
    CNorvexData::GetRunTimeCheckState(states);
    ASSERT_EQ(states.size(), 1U);
    EXPECT_EQ(states[0].iConfirmedNum, 1);
    EXPECT_EQ(states[0].iSuspectedNum, 2);
    EXPECT_EQ(states[0].iRemindNum, 3);
    EXPECT_EQ(states[0].iErrSubCategoryNum, 2);
    EXPECT_EQ(states[0].iCheckNum, 30);
}

TEST_F(RunState, ClearingResetsTheRunAndLeavesServiceFloorAndSpecialty) {
    norvex::test::StubService service;
    CNorvexData::SetNorvexService(&service);
    CNorvexData::s_strCurFloor = u"3";
    CNorvexData::s_strCurSpec = STR_SPEC_WATER;
    CNorvexData::s_strCurCategory = u"A";
    CNorvexData::GetCheckRegion({"3"}, {Component(u"管线", {u"给水管"})});
    Report(u"A");
    CNorvexData::s_iCurRuleNum = 3;
    CNorvexData::s_iTotalRuleNum = 7;
    CNorvexData::s_bCheckFinish = true;

    CNorvexData::ClearCheckData();

    EXPECT_EQ(CNorvexData::GetCheckRuleRate(), 0);
    EXPECT_EQ(CNorvexData::s_iCurRuleNum, 0);
    EXPECT_EQ(CNorvexData::s_iTotalRuleNum, 0);
    EXPECT_TRUE(Snapshot().empty());
    EXPECT_TRUE(CNorvexData::s_strFloorVec.empty());
    EXPECT_TRUE(CNorvexData::s_strSmallMemMap.empty());
    EXPECT_TRUE(CNorvexData::s_sSubCategoryMap.empty());
    EXPECT_TRUE(CNorvexData::s_strCurCategory.IsEmpty());
    EXPECT_FALSE(CNorvexData::s_bCheckFinish);
    EXPECT_EQ(CNorvexData::GetNorvexService(), &service);
    EXPECT_EQ(CNorvexData::s_strCurFloor, u"3");
    EXPECT_EQ(CNorvexData::s_strCurSpec, STR_SPEC_WATER);
    EXPECT_TRUE(service.questions.empty());
}
