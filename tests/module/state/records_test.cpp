// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/state/NorvexData.h"
#include "norvexdata/state/Vocabulary.h"
#include "support/Allocations.h"
#include "support/Narrow.h"
#include "support/RunStateGuard.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using norvex::test::Narrow;
using NS_NORVEX::RuleErrorInfo;

class SubCategoryList : public testing::Test {
  protected:
    SubCategoryList() { CNorvexData::ClearCheckData(); }

    static void Count(const CString& category, const CString& subCategory, int errors) {
        CNorvexData::AddCheckResultCount(category, subCategory, STR_ERR_CONFIRMED, errors, 1);
    }

    norvex::test::RunStateGuard guard;
    CZRArray<RuleErrorInfo> list;
};

std::vector<std::string> Lines(const CZRArray<RuleErrorInfo>& list) {
    std::vector<std::string> lines;
    for (const RuleErrorInfo& entry : list) {
        lines.push_back(entry.strCategory + "/" + entry.strSubCategory + "=" + std::to_string(entry.iCount));
    }
    return lines;
}

}  // namespace

TEST(RuleErrorInfoRecord, CloneIsANewCopyOfAllFields) {
    const RuleErrorInfo original("category", "sub", 42);
    const NS_NORVEX::GenericType& unknown = original;
    const std::unique_ptr<NS_NORVEX::GenericType> copy(unknown.Clone());
    ASSERT_NE(copy.get(), &original);
    const auto* const clone = dynamic_cast<const RuleErrorInfo*>(copy.get());
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->strCategory, "category");
    EXPECT_EQ(clone->strSubCategory, "sub");
    EXPECT_EQ(clone->iCount, 42);
}

TEST(RuleErrorInfoRecord, DerivesFromGenericTypeAndDeletesThroughIt) {
    static_assert(std::is_base_of_v<NS_NORVEX::GenericType, RuleErrorInfo>);
    static_assert(std::has_virtual_destructor_v<NS_NORVEX::GenericType>);
    EXPECT_EQ(RuleErrorInfo().iCount, 0);
}

TEST(SubCategoryRecord, OrdersAndMatchesByNameAlone) {
    const SSubCategory upper{u"B", 1};
    const SSubCategory lower{u"b", 1};
    const SSubCategory same{u"b", 7};
    EXPECT_TRUE(upper < lower);
    EXPECT_FALSE(lower < upper);
    EXPECT_FALSE(lower < same);
    EXPECT_FALSE(same < lower);
}

TEST(Records, StatesAre32BitNumbersThatKeepAnyValue) {
    static_assert(sizeof(NS_NORVEX::CategoryStatus) == 4);
    static_assert(sizeof(NS_NORVEX::TrustStatus) == 4);
    EXPECT_EQ(NS_NORVEX::eTrustNone, 0);
    EXPECT_EQ(NS_NORVEX::eTrustAll, 1);
    EXPECT_EQ(NS_NORVEX::eTrustPart, 2);
    EXPECT_EQ(static_cast<int>(static_cast<NS_NORVEX::CategoryStatus>(-77)), -77);
}

TEST(Records, CategoryCheckStateKeepsItsFieldsInOrder) {
    using NS_NORVEX::CategoryCheckState;
    static_assert(std::is_standard_layout_v<CategoryCheckState>);
    const std::vector<std::size_t> places = {
        offsetof(CategoryCheckState, strCategory),        offsetof(CategoryCheckState, eStatus),
        offsetof(CategoryCheckState, iCheckNum),          offsetof(CategoryCheckState, iConfirmedNum),
        offsetof(CategoryCheckState, iErrSubCategoryNum), offsetof(CategoryCheckState, iSuspectedNum),
        offsetof(CategoryCheckState, iRemindNum)};
    EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
}

TEST_F(SubCategoryList, LeavesTheArrayAloneWhenNothingWasCounted) {
    list.append(RuleErrorInfo("kept", "kept", 1));
    CNorvexData::GetSubCategoryAry(list);
    EXPECT_EQ(Lines(list), (std::vector<std::string>{"kept/kept=1"}));
    Count(u"A", u"x", 0);
    CNorvexData::GetSubCategoryAry(list);
    EXPECT_EQ(list.length(), 1);
}

TEST_F(SubCategoryList, AppendsBehindWhatTheArrayHolds) {
    list.append(RuleErrorInfo("kept", "kept", 1));
    Count(u"A", u"x", 2);
    CNorvexData::GetSubCategoryAry(list);
    CNorvexData::GetSubCategoryAry(list);
    EXPECT_EQ(Lines(list), (std::vector<std::string>{"kept/kept=1", "A/x=2", "A/x=2"}));
}

TEST_F(SubCategoryList, OrdersByCodeUnitUpperBeforeLowerBeforeChinese) {
    Count(u"管线", u"x", 1);
    Count(u"a", u"回路", 1);
    Count(u"a", u"loop", 2);
    Count(u"a", u"Loop", 3);
    Count(u"B", u"x", 4);
    CNorvexData::GetSubCategoryAry(list);
    EXPECT_EQ(Lines(list), (std::vector<std::string>{"B/x=4", "a/Loop=3", "a/loop=2", "a/" + Narrow(u"回路") + "=1",
                                                     Narrow(u"管线") + "/x=1"}));
}

TEST_F(SubCategoryList, OrdersSupplementaryCharactersByCodeUnit) {
    // U+10000 is D800 DC00 and comes before U+E000, although its code point is higher.
    Count(u"\xE000", u"x", 1);
    Count(u"\xD800\xDC00", u"x", 2);
    CNorvexData::GetSubCategoryAry(list);
    ASSERT_EQ(list.length(), 2);
    EXPECT_EQ(list[0].iCount, 2);
    EXPECT_EQ(list[1].iCount, 1);
}

TEST_F(SubCategoryList, WritesNamesInCodePage936) {
    Count(u"给排水", u"管道", 1);
    CNorvexData::GetSubCategoryAry(list);
    EXPECT_EQ(Lines(list), (std::vector<std::string>{"\xB8\xF8\xC5\xC5\xCB\xAE/\xB9\xDC\xB5\xC0=1"}));
}

TEST_F(SubCategoryList, ReplacesWhatTheCodePageDoesNotKnow) {
    Count(u"A\u0E01", u"\xD83D\xDE00", 1);
    CNorvexData::GetSubCategoryAry(list);
    EXPECT_EQ(Lines(list), (std::vector<std::string>{"A?/"
                                                     "??"
                                                     "=1"}));
}

TEST_F(SubCategoryList, GrowsTheArrayByItsOwnStep) {
    CZRArray<RuleErrorInfo> tight(2, 3);
    for (const char16_t* name : {u"a", u"b", u"c"}) {
        Count(u"A", name, 1);
    }
    CNorvexData::GetSubCategoryAry(tight);
    EXPECT_EQ(tight.length(), 3);
    EXPECT_EQ(tight.physicalLength(), 5);
}

TEST_F(SubCategoryList, GrowsAsFarAsOneByOneWould) {
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        const auto room = static_cast<int>(random() % 5);
        const auto step = 1 + static_cast<int>(random() % 6);
        CZRArray<RuleErrorInfo> listed(room, step);
        CZRArray<RuleErrorInfo> appended(room, step);
        CNorvexData::ClearCheckData();
        const auto count = static_cast<int>(random() % 20);
        for (int number = 0; number < count; ++number) {
            CString name;
            name.Format(L"%d", number);
            Count(u"A", name, 1);
            appended.append(RuleErrorInfo());
        }
        CNorvexData::GetSubCategoryAry(listed);
        ASSERT_EQ(listed.length(), count);
        ASSERT_EQ(listed.physicalLength(), appended.physicalLength()) << count << " by " << listed.growLength();
    }
}

TEST_F(SubCategoryList, TakesMemoryInProportionToItsLength) {
    const auto allocations = [](int count) {
        CNorvexData::ClearCheckData();
        for (int number = 0; number < count; ++number) {
            CString name;
            name.Format(L"a sub-category whose name lives on the heap %05d", number);
            Count(u"a category whose name lives on the heap", name, 1);
        }
        CZRArray<RuleErrorInfo> listed;
        const std::size_t before = norvex::test::Allocations();
        CNorvexData::GetSubCategoryAry(listed);
        const std::size_t needed = norvex::test::Allocations() - before;
        EXPECT_EQ(listed.length(), count);
        return needed;
    };
    const std::size_t few = allocations(500);
    const std::size_t many = allocations(2000);
    EXPECT_GT(few, 500U) << "the counter counts";
    EXPECT_LT(many, 5 * few);
}

TEST(RuleErrorInfoRecord, IsMovedWhenAnArrayOfItGrows) {
    static_assert(std::is_nothrow_move_constructible_v<RuleErrorInfo> &&
                  std::is_nothrow_move_assignable_v<RuleErrorInfo>);
    static_assert(std::is_nothrow_move_constructible_v<NS_NORVEX::ComponentInfo>);
    static_assert(std::is_nothrow_move_constructible_v<NS_NORVEX::DllInfo>);
    CZRArray<RuleErrorInfo> array(1, 1);
    array.append(RuleErrorInfo("a category whose name lives on the heap", "a sub-category on the heap as well", 1));
    const char* const text = array[0].strCategory.data();
    array.append(RuleErrorInfo());
    EXPECT_EQ(array[0].strCategory.data(), text);
}
