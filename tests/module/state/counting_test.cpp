// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/state/NorvexData.h"
#include "norvexdata/state/Vocabulary.h"
#include "support/Narrow.h"
#include "support/RunStateGuard.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <vector>

namespace {

using NS_NORVEX::CategoryCheckState;

constexpr int kLowest = std::numeric_limits<int>::min();
constexpr int kHighest = std::numeric_limits<int>::max();

class Counting : public testing::Test {
  protected:
    Counting() { CNorvexData::ClearCheckData(); }

    static CategoryCheckState State(const CString& category) {
        const auto found = CNorvexData::s_CheckStateMap.find(category);
        EXPECT_NE(found, CNorvexData::s_CheckStateMap.end()) << "the category was never reported";
        return found == CNorvexData::s_CheckStateMap.end() ? CategoryCheckState() : found->second;
    }

    norvex::test::RunStateGuard guard;
};

// Confirmed, suspected and reminded errors of a category.
std::vector<int> Errors(const CategoryCheckState& state) {
    return {state.iConfirmedNum, state.iSuspectedNum, state.iRemindNum};
}

// The low 32 bits of a value, as a signed number.
int Wrapped(std::int64_t value) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(value)));
}

int RateOf(int done, int total) {
    CNorvexData::s_iCurRuleNum = done;
    CNorvexData::s_iTotalRuleNum = total;
    return CNorvexData::GetCheckRuleRate();
}

// The rate in 64 bits, cut to 32 where the 32-bit machine cuts.
int RateOracle(int done, int total) {
    return total == 0 ? 0 : Wrapped(std::int64_t{Wrapped(std::int64_t{done} * 100)} / total);
}

}  // namespace

TEST_F(Counting, FirstReportMakesTheCategoryNotCheckedWithItsCounts) {
    CNorvexData::AddCheckResultCount(u"管线", u"回路", STR_ERR_SUSPECTED, 3, 10);
    const CategoryCheckState state = State(u"管线");
    EXPECT_EQ(state.strCategory, norvex::test::Narrow(u"管线"));
    EXPECT_EQ(state.eStatus, 0);
    EXPECT_EQ(state.iCheckNum, 10);
    EXPECT_EQ(state.iErrSubCategoryNum, 1);
    EXPECT_EQ(Errors(state), (std::vector<int>{0, 3, 0}));
}

TEST_F(Counting, EachSeverityHasItsOwnCount) {
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_CONFIRMED, 1, 1);
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_CONFIRMED, 2, 1);
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_SUSPECTED, 30, 1);
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_REMIND, 400, 1);
    EXPECT_EQ(Errors(State(u"A")), (std::vector<int>{3, 30, 400}));
    EXPECT_EQ(State(u"A").iCheckNum, 4);

    CNorvexData::AddCheckResultCount(u"B", u"x", STR_ERR_REMIND, 5, 1);
    EXPECT_EQ(Errors(State(u"B")), (std::vector<int>{0, 0, 5}));
}

TEST_F(Counting, ZeroErrorsOfANewCategoryMakeItsStateAndNoSubCategory) {
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_CONFIRMED, 0, 7);
    const CategoryCheckState state = State(u"A");
    EXPECT_EQ(state.eStatus, 0);
    EXPECT_EQ(Errors(state), (std::vector<int>{0, 0, 0}));
    EXPECT_EQ(state.iErrSubCategoryNum, 0);
    EXPECT_EQ(state.iCheckNum, 7);
    EXPECT_TRUE(CNorvexData::s_sSubCategoryMap.empty());
}

TEST_F(Counting, NegativeErrorsAreSubtractedAndNeverTouchSubCategories) {
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_CONFIRMED, 5, 1);
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_CONFIRMED, -2, 1);
    CNorvexData::AddCheckResultCount(u"A", u"y", STR_ERR_CONFIRMED, -9, 1);
    CNorvexData::AddCheckResultCount(u"B", u"z", STR_ERR_REMIND, -1, 1);
    EXPECT_EQ(State(u"A").iConfirmedNum, -6);
    EXPECT_EQ(State(u"A").iErrSubCategoryNum, 1);
    EXPECT_EQ(State(u"B").iRemindNum, -1);
    ASSERT_EQ(CNorvexData::s_sSubCategoryMap.size(), 1U);
    const std::set<SSubCategory>& counted = CNorvexData::s_sSubCategoryMap[u"A"];
    ASSERT_EQ(counted.size(), 1U);
    EXPECT_EQ(counted.begin()->strName, u"x");
    EXPECT_EQ(counted.begin()->iCount, 5);
}

TEST_F(Counting, TwoReportsOfOneSubCategoryRaiseTheNumberOfSubCategoriesOnce) {
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_CONFIRMED, 1, 1);
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_REMIND, 2, 1);
    EXPECT_EQ(State(u"A").iErrSubCategoryNum, 1);
    EXPECT_EQ(CNorvexData::s_sSubCategoryMap[u"A"].begin()->iCount, 3);
    CNorvexData::AddCheckResultCount(u"A", u"X", STR_ERR_REMIND, 2, 1);
    EXPECT_EQ(State(u"A").iErrSubCategoryNum, 2);
}

TEST_F(Counting, SubCategoryThatFollowsReportsWithoutErrorsStillCounts) {
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_CONFIRMED, 0, 1);
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_CONFIRMED, 1, 1);
    EXPECT_EQ(State(u"A").iErrSubCategoryNum, 1);
}

TEST_F(Counting, UnknownSeverityIsConfirmedOnTheFirstReportAndNowhereLater) {
    CNorvexData::AddCheckResultCount(u"A", u"x", u"err_confirmed", 4, 1);
    EXPECT_EQ(Errors(State(u"A")), (std::vector<int>{4, 0, 0}));
    CNorvexData::AddCheckResultCount(u"A", u"x", u"err_confirmed", 4, 1);
    CNorvexData::AddCheckResultCount(u"A", u"x", u"", 4, 1);
    CNorvexData::AddCheckResultCount(u"A", u"x", u"ERR_REMIND ", 4, 1);
    EXPECT_EQ(Errors(State(u"A")), (std::vector<int>{4, 0, 0}));
    EXPECT_EQ(State(u"A").iCheckNum, 4);
    EXPECT_EQ(CNorvexData::s_sSubCategoryMap[u"A"].begin()->iCount, 16);
}

TEST_F(Counting, AddingALaterReportKeepsTheStateThatWasSet) {
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_CONFIRMED, 1, 1);
    CNorvexData::SetCheckingState(u"A", static_cast<NS_NORVEX::CategoryStatus>(2));
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_CONFIRMED, 1, 1);
    EXPECT_EQ(State(u"A").eStatus, 2);
}

TEST_F(Counting, TotalsReplaceWhatTheOutputsHeldAndSumOverCategories) {
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_CONFIRMED, 1, 10);
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_SUSPECTED, 2, 10);
    CNorvexData::AddCheckResultCount(u"B", u"x", STR_ERR_REMIND, 4, 100);
    CNorvexData::AddCheckResultCount(u"B", u"x", STR_ERR_CONFIRMED, 8, 100);
    int errors = 99;
    int checks = 99;
    CNorvexData::GetCheckResultCount(errors, checks);
    EXPECT_EQ(errors, 15);
    EXPECT_EQ(checks, 220);
    int confirmed = 99;
    checks = 99;
    CNorvexData::GetAllCheckResultCount(confirmed, checks);
    EXPECT_EQ(confirmed, 9);
    EXPECT_EQ(checks, 220);
}

TEST_F(Counting, TotalsOfAnEmptyRunAreZero) {
    int errors = 99;
    int checks = 99;
    CNorvexData::GetCheckResultCount(errors, checks);
    EXPECT_EQ(errors, 0);
    EXPECT_EQ(checks, 0);
    errors = checks = 99;
    CNorvexData::GetAllCheckResultCount(errors, checks);
    EXPECT_EQ(errors, 0);
    EXPECT_EQ(checks, 0);
}

TEST_F(Counting, CountsWrapAt32Bits) {
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_CONFIRMED, kHighest, kLowest);
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_CONFIRMED, 1, -1);
    EXPECT_EQ(State(u"A").iConfirmedNum, kLowest);
    EXPECT_EQ(State(u"A").iCheckNum, kHighest);
    EXPECT_EQ(CNorvexData::s_sSubCategoryMap[u"A"].begin()->iCount, kLowest);

    CNorvexData::AddCheckResultCount(u"B", u"x", STR_ERR_SUSPECTED, kHighest, kHighest);
    CNorvexData::AddCheckResultCount(u"B", u"x", STR_ERR_REMIND, kHighest, kHighest);
    int errors = 0;
    int checks = 0;
    CNorvexData::GetCheckResultCount(errors, checks);
    EXPECT_EQ(errors, Wrapped(std::int64_t{kLowest} + 2LL * kHighest));
    EXPECT_EQ(checks, Wrapped(std::int64_t{kHighest} + 2LL * kHighest));
}

TEST_F(Counting, CategoryWithoutConfirmedErrorsExists) {
    EXPECT_FALSE(CNorvexData::IsExistCheckErrorCount(u"A")) << "never reported";
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_REMIND, 3, 1);
    EXPECT_TRUE(CNorvexData::IsExistCheckErrorCount(u"A")) << "reminders only";
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_CONFIRMED, 1, 1);
    EXPECT_FALSE(CNorvexData::IsExistCheckErrorCount(u"A")) << "one confirmed error";
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_CONFIRMED, -1, 1);
    EXPECT_TRUE(CNorvexData::IsExistCheckErrorCount(u"A")) << "back at exactly 0";
    CNorvexData::AddCheckResultCount(u"A", u"x", STR_ERR_CONFIRMED, -1, 1);
    EXPECT_FALSE(CNorvexData::IsExistCheckErrorCount(u"A")) << "below 0";
    EXPECT_FALSE(CNorvexData::IsExistCheckErrorCount(u"a")) << "names match exactly";
}

TEST_F(Counting, RateTruncatesAndIsNotLimitedTo100) {
    EXPECT_EQ(RateOf(3, 7), 42);
    EXPECT_EQ(RateOf(5, 0), 0);
    EXPECT_EQ(RateOf(9, 6), 150);
    EXPECT_EQ(RateOf(-1, 3), -33) << "truncated toward zero";
    EXPECT_EQ(RateOf(21474837, 1), -2147483596) << "21474837 * 100 is beyond 32 bits";
}

TEST_F(Counting, RateIsDefinedForEveryPairOfNumbers) {
    std::vector<int> values;
    for (const std::int64_t centre :
         {std::int64_t{kLowest}, std::int64_t{kLowest} / 100, std::int64_t{kLowest} / 2, std::int64_t{0},
          std::int64_t{kHighest} / 100, std::int64_t{kHighest} / 2, std::int64_t{kHighest}, std::int64_t{1} << 25,
          -(std::int64_t{1} << 29), std::int64_t{1} << 30}) {
        for (std::int64_t offset = -101; offset <= 101; ++offset) {
            values.push_back(Wrapped(centre + offset));
        }
    }
    for (const int done : values) {
        for (const int total : values) {
            ASSERT_EQ(RateOf(done, total), RateOracle(done, total)) << done << " of " << total;
        }
    }
    std::mt19937 random(20261120);
    for (int round = 0; round < 1'000'000; ++round) {
        const int done = static_cast<int>(random());
        const int total = static_cast<int>(random()) >> (random() % 32);
        ASSERT_EQ(RateOf(done, total), RateOracle(done, total)) << done << " of " << total;
    }
}

TEST_F(Counting, RateWhoseQuotientDoesNotFitWrapsInsteadOfTrapping) {
    // 2^29 * 100 has the low 32 bits of INT_MIN, and INT_MIN / -1 does not fit.
    constexpr int kHundredfoldIsLowest = 1 << 29;
    EXPECT_EQ(RateOf(kHundredfoldIsLowest, 1), kLowest);
    EXPECT_EQ(RateOf(kHundredfoldIsLowest, -1), kLowest);
    EXPECT_EQ(RateOf(-kHundredfoldIsLowest, -1), kLowest);
}
