// SPDX-License-Identifier: Apache-2.0
#include "Stands.h"

using NS_NORVEX::CategoryCheckState;

namespace {

class ResultCountingContract : public norvex::contract::CleanRun {
  protected:
    static const CategoryCheckState& State(const CString& category) {
        return CNorvexData::s_CheckStateMap.at(category);
    }
    static int Confirmed(const CString& category) { return State(category).iConfirmedNum; }

    static int SubCategoryCount(const CString& category, const CString& name) {
        const auto& set = CNorvexData::s_sSubCategoryMap.at(category);
        const auto found = set.find(SSubCategory{name, 0});
        return found == set.end() ? -1 : found->iCount;
    }
};

struct Totals {
    int errors = -77;
    int checks = -77;
    bool operator==(const Totals&) const = default;
};

Totals All() {
    Totals totals;
    CNorvexData::GetCheckResultCount(totals.errors, totals.checks);
    return totals;
}

Totals ConfirmedOnly() {
    Totals totals;
    CNorvexData::GetAllCheckResultCount(totals.errors, totals.checks);
    return totals;
}

int Rate(int current, int total) {
    CNorvexData::s_iCurRuleNum = current;
    CNorvexData::s_iTotalRuleNum = total;
    return CNorvexData::GetCheckRuleRate();
}

}  // namespace

TEST_F(ResultCountingContract, ZeroErrorsOfANewCategoryCreateItsStateAndNoSubCategory) {
    CNorvexData::AddCheckResultCount(L"管线", L"漏", L"ERR_CONFIRMED", 0, 12);
    const CategoryCheckState& state = State(L"管线");
    EXPECT_EQ(state.strCategory, norvex::contract::Narrow(L"管线"));
    EXPECT_EQ(state.eStatus, 0);
    EXPECT_EQ(state.iCheckNum, 12);
    EXPECT_EQ(state.iConfirmedNum, 0);
    EXPECT_EQ(state.iSuspectedNum, 0);
    EXPECT_EQ(state.iRemindNum, 0);
    EXPECT_EQ(state.iErrSubCategoryNum, 0);
    EXPECT_TRUE(CNorvexData::s_sSubCategoryMap.empty());
}

TEST_F(ResultCountingContract, NegativeErrorsAreSubtractedAndNeverTouchSubCategories) {
    CNorvexData::AddCheckResultCount(L"A", L"s", L"ERR_CONFIRMED", 5, 1);
    CNorvexData::AddCheckResultCount(L"A", L"s", L"ERR_CONFIRMED", -2, 1);
    CNorvexData::AddCheckResultCount(L"A", L"t", L"ERR_CONFIRMED", -1, 1);
    EXPECT_EQ(Confirmed(L"A"), 2);
    EXPECT_EQ(SubCategoryCount(L"A", L"s"), 5);
    EXPECT_EQ(SubCategoryCount(L"A", L"t"), -1);
    EXPECT_EQ(State(L"A").iErrSubCategoryNum, 1);
    EXPECT_EQ(State(L"A").iCheckNum, 3);
}

TEST_F(ResultCountingContract, ANewCategoryTakesNegativeErrorsAsTheyAre) {
    CNorvexData::AddCheckResultCount(L"A", L"s", L"ERR_SUSPECTED", -4, 0);
    EXPECT_EQ(State(L"A").iSuspectedNum, -4);
    EXPECT_TRUE(CNorvexData::s_sSubCategoryMap.empty());
}

TEST_F(ResultCountingContract, TwoReportsOfOneSubCategoryCountItOnce) {
    CNorvexData::AddCheckResultCount(L"A", L"s", L"ERR_CONFIRMED", 2, 0);
    CNorvexData::AddCheckResultCount(L"A", L"s", L"ERR_REMIND", 3, 0);
    EXPECT_EQ(State(L"A").iErrSubCategoryNum, 1);
    EXPECT_EQ(SubCategoryCount(L"A", L"s"), 5);
    CNorvexData::AddCheckResultCount(L"A", L"t", L"ERR_REMIND", 1, 0);
    EXPECT_EQ(State(L"A").iErrSubCategoryNum, 2);
}

TEST_F(ResultCountingContract, LowerCaseSeverityCountsAsConfirmedOnTheFirstReportAndNowhereLater) {
    CNorvexData::AddCheckResultCount(L"A", L"s", L"err_confirmed", 4, 1);
    EXPECT_EQ(Confirmed(L"A"), 4);
    CNorvexData::AddCheckResultCount(L"A", L"s", L"err_confirmed", 9, 1);
    EXPECT_EQ(Confirmed(L"A"), 4);
    EXPECT_EQ(State(L"A").iSuspectedNum, 0);
    EXPECT_EQ(State(L"A").iRemindNum, 0);
    EXPECT_EQ(State(L"A").iCheckNum, 2);
    EXPECT_EQ(SubCategoryCount(L"A", L"s"), 13);
}

TEST_F(ResultCountingContract, ALaterReportOfUnknownSeverityStillCountsItsNewSubCategory) {
    CNorvexData::AddCheckResultCount(L"A", L"s", L"ERR_REMIND", 1, 0);
    CNorvexData::AddCheckResultCount(L"A", L"t", L"", 6, 2);
    EXPECT_EQ(State(L"A").iErrSubCategoryNum, 2);
    EXPECT_EQ(State(L"A").iRemindNum, 1);
    EXPECT_EQ(Confirmed(L"A"), 0);
}

TEST_F(ResultCountingContract, FirstReportsArePlacedBySeverity) {
    CNorvexData::AddCheckResultCount(L"C", L"s", L"ERR_CONFIRMED", 1, 0);
    CNorvexData::AddCheckResultCount(L"S", L"s", L"ERR_SUSPECTED", 2, 0);
    CNorvexData::AddCheckResultCount(L"R", L"s", L"ERR_REMIND", 3, 0);
    EXPECT_EQ(Confirmed(L"C"), 1);
    EXPECT_EQ(State(L"S").iSuspectedNum, 2);
    EXPECT_EQ(Confirmed(L"S"), 0);
    EXPECT_EQ(State(L"R").iRemindNum, 3);
    EXPECT_EQ(Confirmed(L"R"), 0);
}

TEST_F(ResultCountingContract, LaterReportsAreAddedBySeverity) {
    CNorvexData::AddCheckResultCount(L"A", L"s", L"ERR_CONFIRMED", 1, 10);
    CNorvexData::AddCheckResultCount(L"A", L"s", L"ERR_CONFIRMED", 2, 10);
    CNorvexData::AddCheckResultCount(L"A", L"s", L"ERR_SUSPECTED", 4, 10);
    CNorvexData::AddCheckResultCount(L"A", L"s", L"ERR_REMIND", 8, 10);
    EXPECT_EQ(Confirmed(L"A"), 3);
    EXPECT_EQ(State(L"A").iSuspectedNum, 4);
    EXPECT_EQ(State(L"A").iRemindNum, 8);
    EXPECT_EQ(State(L"A").iCheckNum, 40);
}

TEST_F(ResultCountingContract, CategoriesMatchExactly) {
    CNorvexData::AddCheckResultCount(L"pipe", L"s", L"ERR_CONFIRMED", 1, 0);
    CNorvexData::AddCheckResultCount(L"Pipe", L"s", L"ERR_CONFIRMED", 1, 0);
    EXPECT_EQ(CNorvexData::s_CheckStateMap.size(), 2U);
    EXPECT_EQ(CNorvexData::s_sSubCategoryMap.size(), 2U);
}

TEST_F(ResultCountingContract, RateTruncatesAndIsNotLimited) {
    EXPECT_EQ(Rate(3, 7), 42);
    EXPECT_EQ(Rate(3, 0), 0);
    EXPECT_EQ(Rate(9, 7), 128);
    EXPECT_EQ(Rate(-1, 3), -33);
    EXPECT_EQ(Rate(0, 5), 0);
    EXPECT_EQ(Rate(5, 5), 100);
}

TEST_F(ResultCountingContract, ErrorQueryIsTrueOnlyForAKnownCategoryWithoutConfirmedErrors) {
    EXPECT_FALSE(CNorvexData::IsExistCheckErrorCount(L"unknown"));
    CNorvexData::AddCheckResultCount(L"R", L"s", L"ERR_REMIND", 3, 0);
    EXPECT_TRUE(CNorvexData::IsExistCheckErrorCount(L"R"));
    EXPECT_FALSE(CNorvexData::IsExistCheckErrorCount(L"r"));
    CNorvexData::AddCheckResultCount(L"C", L"s", L"ERR_CONFIRMED", 1, 0);
    EXPECT_FALSE(CNorvexData::IsExistCheckErrorCount(L"C"));
    CNorvexData::AddCheckResultCount(L"C", L"s", L"ERR_CONFIRMED", -1, 0);
    EXPECT_TRUE(CNorvexData::IsExistCheckErrorCount(L"C"));
    CNorvexData::AddCheckResultCount(L"C", L"s", L"ERR_CONFIRMED", -1, 0);
    EXPECT_FALSE(CNorvexData::IsExistCheckErrorCount(L"C"));
}

TEST_F(ResultCountingContract, AskingForErrorsCreatesNoCategory) {
    CNorvexData::IsExistCheckErrorCount(L"unknown");
    EXPECT_TRUE(CNorvexData::s_CheckStateMap.empty());
}

TEST_F(ResultCountingContract, TotalsAreZeroWithoutReports) {
    EXPECT_EQ(All(), (Totals{0, 0}));
    EXPECT_EQ(ConfirmedOnly(), (Totals{0, 0}));
}

TEST_F(ResultCountingContract, TotalsSumAllCategoriesAndOneOfThemConfirmedErrorsAlone) {
    CNorvexData::AddCheckResultCount(L"A", L"s", L"ERR_CONFIRMED", 1, 100);
    CNorvexData::AddCheckResultCount(L"A", L"s", L"ERR_SUSPECTED", 2, 10);
    CNorvexData::AddCheckResultCount(L"B", L"s", L"ERR_REMIND", 4, 1);
    CNorvexData::AddCheckResultCount(L"B", L"s", L"ERR_CONFIRMED", 8, 1000);
    EXPECT_EQ(All(), (Totals{15, 1111}));
    EXPECT_EQ(ConfirmedOnly(), (Totals{9, 1111}));
}
