// SPDX-License-Identifier: Apache-2.0
#include "Stands.h"
#include "norvexdata/module/ThreadManagement.h"

using norvex::contract::Component;
using norvex::contract::Groups;
using norvex::contract::Names;
using norvex::contract::Narrow;
using norvex::contract::Texts;
using norvex::contract::TrustingService;
using NS_NORVEX::CategoryCheckState;
using NS_NORVEX::CategoryStatus;

namespace {

class RunStateContract : public norvex::contract::CleanRun {};

std::vector<CategoryCheckState> Snapshot() {
    std::vector<CategoryCheckState> states;
    CNorvexData::GetRunTimeCheckState(states);
    return states;
}

void Report(const CString& category) {
    CNorvexData::AddCheckResultCount(category, L"s", L"ERR_CONFIRMED", 1, 2);
}

CategoryStatus Status(int value) {
    return static_cast<CategoryStatus>(value);
}

}  // namespace

TEST_F(RunStateContract, NoFloorsAndNoComponentsLeaveTheScopeEmpty) {
    CNorvexData::GetCheckRegion({"1"}, {Component(L"A", {L"x"})});
    CNorvexData::GetCheckRegion({}, {Component(L"A", {L"x"})});
    EXPECT_TRUE(CNorvexData::s_strFloorVec.empty());
    EXPECT_EQ(CNorvexData::s_strSmallMemMap, (Groups{{L"A", {L"x"}}}));
    CNorvexData::GetCheckRegion({"1"}, {});
    EXPECT_EQ(CNorvexData::s_strFloorVec, (Texts{L"1"}));
    EXPECT_TRUE(CNorvexData::s_strSmallMemMap.empty());
}

TEST_F(RunStateContract, AComponentWithoutSubCategoriesGivesAKeyWithAnEmptySet) {
    CNorvexData::GetCheckRegion({}, {Component(L"管线", {})});
    EXPECT_EQ(CNorvexData::s_strSmallMemMap, (Groups{{L"管线", {}}}));
}

TEST_F(RunStateContract, FloorsKeepTheirOrderAndDuplicates) {
    CNorvexData::GetCheckRegion({Narrow(L"3层"), "1", Narrow(L"3层")}, {});
    EXPECT_EQ(CNorvexData::s_strFloorVec, (Texts{L"3层", L"1", L"3层"}));
}

TEST_F(RunStateContract, OfTwoComponentsOfOneNameTheFirstCounts) {
    CNorvexData::GetCheckRegion({},
                                {Component(L"A", {L"x", L"y", L"x"}), Component(L"A", {L"z"}), Component(L"a", {})});
    EXPECT_EQ(CNorvexData::s_strSmallMemMap, (Groups{{L"A", {L"x", L"y"}}, {L"a", {}}}));
}

TEST_F(RunStateContract, AStateForACategoryNeverReportedIsDropped) {
    CNorvexData::SetCheckingState(L"A", Status(2));
    EXPECT_TRUE(Snapshot().empty());
    EXPECT_TRUE(CNorvexData::s_CheckStateMap.empty());
}

TEST_F(RunStateContract, OnlyTheCurrentCategoryInStateZeroShowsAsInProgress) {
    Report(L"B");
    Report(L"A");
    Report(L"管线");
    CNorvexData::s_strCurCategory = L"管线";
    std::vector<CategoryCheckState> states = Snapshot();
    ASSERT_EQ(states.size(), 3U);
    EXPECT_EQ(states[0].strCategory, "A");
    EXPECT_EQ(states[0].eStatus, 0);
    EXPECT_EQ(states[1].strCategory, "B");
    EXPECT_EQ(states[1].eStatus, 0);
    EXPECT_EQ(states[2].strCategory, Narrow(L"管线"));
    EXPECT_EQ(states[2].eStatus, 1);
    EXPECT_EQ(CNorvexData::s_CheckStateMap.at(L"管线").eStatus, 0);

    CNorvexData::SetCheckingState(L"管线", Status(2));
    EXPECT_EQ(Snapshot()[2].eStatus, 2);
}

TEST_F(RunStateContract, AnyStoredStateIsReportedUnchanged) {
    Report(L"A");
    for (const int value : {1, 3, -5, 0x7FFFFFFF}) {
        CNorvexData::SetCheckingState(L"A", Status(value));
        EXPECT_EQ(Snapshot()[0].eStatus, value);
    }
}

TEST_F(RunStateContract, TheCurrentCategoryMatchesExactly) {
    Report(L"pipe");
    CNorvexData::s_strCurCategory = L"Pipe";
    EXPECT_EQ(Snapshot()[0].eStatus, 0);
}

TEST_F(RunStateContract, ACategoryOutsideTheCodePageNeverShowsAsInProgress) {
    // The comparison goes through the record's narrow name, which has lost the character.
    Report(L"\x0E01");
    CNorvexData::s_strCurCategory = L"\x0E01";
    EXPECT_EQ(Snapshot()[0].eStatus, 0);
}

TEST_F(RunStateContract, ASnapshotReplacesWhatTheListHeld) {
    Report(L"A");
    std::vector<CategoryCheckState> states(4);
    CNorvexData::GetRunTimeCheckState(states);
    ASSERT_EQ(states.size(), 1U);
    EXPECT_EQ(states[0].iConfirmedNum, 1);
    EXPECT_EQ(states[0].iCheckNum, 2);
    EXPECT_EQ(states[0].iErrSubCategoryNum, 1);
}

TEST_F(RunStateContract, ClearingResetsTheRunAndKeepsTheService) {
    TrustingService service;
    CNorvexData::SetNorvexService(&service);
    CNorvexData::GetCheckRegion({"1"}, {Component(L"A", {L"x"})});
    Report(L"A");
    CNorvexData::s_strCurCategory = L"A";
    CNorvexData::s_iCurRuleNum = 3;
    CNorvexData::s_iTotalRuleNum = 4;
    CNorvexData::s_bCheckFinish = true;

    CNorvexData::ClearCheckData();

    EXPECT_EQ(CNorvexData::GetCheckRuleRate(), 0);
    EXPECT_EQ(CNorvexData::s_iCurRuleNum, 0);
    EXPECT_EQ(CNorvexData::s_iTotalRuleNum, 0);
    EXPECT_TRUE(Snapshot().empty());
    EXPECT_TRUE(CNorvexData::s_strFloorVec.empty());
    EXPECT_TRUE(CNorvexData::s_CheckStateMap.empty());
    EXPECT_TRUE(CNorvexData::s_strSmallMemMap.empty());
    EXPECT_TRUE(CNorvexData::s_sSubCategoryMap.empty());
    EXPECT_TRUE(CNorvexData::s_strCurCategory.IsEmpty());
    EXPECT_FALSE(CNorvexData::s_bCheckFinish);
    EXPECT_EQ(CNorvexData::GetNorvexService(), &service);
}

TEST_F(RunStateContract, ClearingKeepsFloorSpecialtyAndAllCoordination) {
    CNorvexData::s_strCurFloor = L"2层";
    CNorvexData::s_strCurSpec = L"电气";
    CThreadManagement::SetIsUserCancle(true);
    CThreadManagement::SetStopContinueEvent();
    CThreadManagement::s_cRunningThreadId = 17;
    const HANDLE stop = CThreadManagement::s_hStopSignal;

    CNorvexData::ClearCheckData();

    EXPECT_EQ(CNorvexData::s_strCurFloor, L"2层");
    EXPECT_EQ(CNorvexData::s_strCurSpec, L"电气");
    EXPECT_TRUE(CThreadManagement::GetIsUserCancle());
    EXPECT_EQ(CThreadManagement::s_hStopSignal, stop);
    EXPECT_EQ(CThreadManagement::s_cRunningThreadId, 17U);
    EXPECT_EQ(WaitForSingleObject(stop, 0), WAIT_OBJECT_0);
    CThreadManagement::SetIsUserCancle(false);
    CThreadManagement::s_cRunningThreadId = 0;
}

TEST_F(RunStateContract, TheServicePointerIsStoredAsItIs) {
    TrustingService service;
    CNorvexData::SetNorvexService(&service);
    EXPECT_EQ(CNorvexData::GetNorvexService(), &service);
    EXPECT_EQ(CNorvexData::s_pINorvexService, &service);
    EXPECT_TRUE(service.asked.empty());
    CNorvexData::SetNorvexService(nullptr);
    EXPECT_EQ(CNorvexData::GetNorvexService(), nullptr);
}
