// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/common/ComMethod.h"
#include "platform/zrow/Drawing.h"
#include "support/RunStateGuard.h"
#include "support/StringArrays.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace {

using norvex::test::Fill;

constexpr auto kMode2 = static_cast<EFindHandle>(2);
constexpr auto kModeMinus1 = static_cast<EFindHandle>(-1);

CString HandleText(Adesk::UInt64 handle) {
    return CComMethod::GetStrHandle(AcDbHandle(handle));
}

CString LocateAll(std::initializer_list<CString> handles) {
    CStringArray array;
    Fill(array, handles);
    return CComMethod::GetStrFPHandle(array, u"A", u"B", kMode2, u"T");
}

CString LocationList(std::initializer_list<CString> locations) {
    CStringArray array;
    Fill(array, locations);
    return CComMethod::GetStrFPHandleAry(array);
}

CString FixAll(std::initializer_list<CString> handles) {
    CStringArray array;
    Fill(array, handles);
    return CComMethod::GetStrFixHandle(array, u"A", u"T");
}

CString FixPairs(std::initializer_list<CString> keys, std::initializer_list<CString> values) {
    CStringArray keyArray;
    CStringArray valueArray;
    Fill(keyArray, keys);
    Fill(valueArray, values);
    return CComMethod::GetStrFixHandle(keyArray, valueArray, u"A", u"T");
}

CString AttributeList(std::initializer_list<CString> attributes) {
    CStringArray array;
    Fill(array, attributes);
    return CComMethod::GetStrFAHandle(array, u"T");
}

// Resolves handle texts against the working database.
struct Resolved {
    explicit Resolved(std::initializer_list<CString> handles) {
        CStringArray array;
        Fill(array, handles);
        allFound = CComMethod::HandleAryToIdAry(ids, array);
    }

    AcArray<AcDbObjectId> ids;
    bool allFound = false;
};

}  // namespace

TEST(GetStrHandle, WritesUpperCaseHexadecimalWithoutLeadingZeros) {
    EXPECT_EQ(HandleText(0x2F1), u"2F1");
    EXPECT_EQ(HandleText(0xabcdef), u"ABCDEF");
    EXPECT_EQ(HandleText(0xFFFFFFFF), u"FFFFFFFF");
    EXPECT_EQ(HandleText(1), u"1");
}

TEST(GetStrHandle, OfHandle0Is0) {
    EXPECT_EQ(HandleText(0), u"0");
}

TEST(GetStrHandle, WritesTheLowHalfOfALargeHandleIn30Digits) {
    EXPECT_EQ(HandleText(0x1'00000010), u"1" + CString(u'0', 28) + u"10");
    EXPECT_EQ(HandleText(0x1'00000000), u"1" + CString(u'0', 30));
    EXPECT_EQ(HandleText(0xFEDCBA98'76543210), u"FEDCBA98" + CString(u'0', 22) + u"76543210");
    EXPECT_EQ(HandleText(0x1'00000010).GetLength(), 31);
}

TEST(GetStrHandle, OfAnEntityIsItsOwnHandle) {
    norvex::Drawing drawing;
    drawing.handle(0x2F1).pipe({0, 0, 0}, {1, 0, 0});
    EXPECT_EQ(CComMethod::GetStrHandle(drawing.at<ZrOwEntity>(0)), u"2F1");
    ZrOwGroove inNoDrawing(0.0);
    EXPECT_EQ(CComMethod::GetStrHandle(&inNoDrawing), u"0");
    EXPECT_EQ(CComMethod::GetStrHandle(static_cast<const ZrOwEntity*>(nullptr)), u"0");
}

TEST(LocateForm, JoinsFiveFieldsInOrder) {
    EXPECT_EQ(CComMethod::GetStrFPHandle(CString(u"1F,2A"), u"A", u"B", kMode2, u"T"), u"T:A:2:B:1F,2A");
}

TEST(LocateForm, WritesEmptyFieldsAndDoesNotEscape) {
    EXPECT_EQ(CComMethod::GetStrFPHandle(CString(), u"", u"", kMode2, u""), u"::2::");
    EXPECT_EQ(CComMethod::GetStrFPHandle(CString(), u"A", u"B", kMode2, u"T"), u"T:A:2:B:");
    EXPECT_EQ(CComMethod::GetStrFPHandle(CString(u"1"), u"a:b", u"c,d", kMode2, u"%s"), u"%s:a:b:2:c,d:1");
}

TEST(LocateForm, WritesTheFindModeAsASignedNumber) {
    EXPECT_EQ(CComMethod::GetStrFPHandle(CString(u"1F"), u"A", u"B", kModeMinus1, u"T"), u"T:A:-1:B:1F");
    EXPECT_EQ(CComMethod::GetStrFPHandle(CString(u"1F"), u"A", u"B", EFindHandle{}, u"T"), u"T:A:0:B:1F");
}

TEST(LocateForm, JoinsAnArrayInItsOrder) {
    EXPECT_EQ(LocateAll({u"2A", u"1F", u"2A"}), u"T:A:2:B:2A,1F,2A");
    EXPECT_EQ(LocateAll({u""}), u"T:A:2:B:");
    EXPECT_EQ(LocateAll({}), u"");
}

TEST(LocateForm, JoinsASetInItsOrder) {
    const std::set<CString> handles = {u"9", u"1F", u"2A", u"10"};
    EXPECT_EQ(CComMethod::GetStrFPHandle(handles, u"A", u"B", kMode2, u"T"), u"T:A:2:B:10,1F,2A,9");
    EXPECT_EQ(CComMethod::GetStrFPHandle(std::set<CString>(), u"A", u"B", kMode2, u"T"), u"");
}

TEST(LocateForm, TakesAHandleOrAnEntity) {
    EXPECT_EQ(CComMethod::GetStrFPHandle(AcDbHandle(Adesk::UInt64{0x2F1}), u"A", u"B", kMode2, u"T"), u"T:A:2:B:2F1");
    norvex::Drawing drawing;
    drawing.handle(0x2A).node({0, 0, 0});
    EXPECT_EQ(CComMethod::GetStrFPHandle(drawing.at<ZrOwEntity>(0), u"A", u"B", kMode2, u"T"), u"T:A:2:B:2A");
}

TEST(LocationStrings, AreJoinedByHyphens) {
    EXPECT_EQ(LocationList({}), u"");
    EXPECT_EQ(LocationList({u"T:A:2:B:1"}), u"T:A:2:B:1");
    EXPECT_EQ(LocationList({u"a", u"", u"b"}), u"a--b");
}

TEST(FixForm, JoinsThreeFieldsInOrder) {
    EXPECT_EQ(CComMethod::GetStrFixHandle(CString(u"1F"), u"A", u"T"), u"T:A:1F");
    EXPECT_EQ(CComMethod::GetStrFixHandle(CString(), u"", u""), u"::");
}

TEST(FixForm, JoinsAnArrayInItsOrder) {
    EXPECT_EQ(FixAll({u"2A", u"1F"}), u"T:A:2A,1F");
    EXPECT_EQ(FixAll({}), u"");
}

TEST(FixForm, WritesKeysAndValues) {
    EXPECT_EQ(FixPairs({u"DN", u"PN"}, {u"100", u"16"}), u"T:A:DN=100,PN=16");
    EXPECT_EQ(FixPairs({u"DN"}, {u""}), u"T:A:DN=");
}

TEST(FixForm, IsEmptyForPairsThatDoNotMatch) {
    EXPECT_EQ(FixPairs({u"DN", u"PN"}, {u"100"}), u"");
    EXPECT_EQ(FixPairs({u"DN"}, {u"100", u"16"}), u"");
    EXPECT_EQ(FixPairs({}, {}), u"");
    EXPECT_EQ(FixPairs({}, {u"100"}), u"");
}

TEST(FixForm, LosesAllTrailingCommas) {
    EXPECT_EQ(FixPairs({u"DN", u"PN"}, {u"100,", u"16,,"}), u"T:A:DN=100,,PN=16");
}

TEST(AttributeFixForm, JoinsTwoFields) {
    EXPECT_EQ(CComMethod::GetStrFixAtt(CString(u"a"), u"T"), u"T:a");
    EXPECT_EQ(CComMethod::GetStrFAHandle(CString(u"a"), u"T"), u"T:a");
    EXPECT_EQ(CComMethod::GetStrFixAtt(CString(), u""), u":");
}

TEST(AttributeFixForm, WritesTheFirstOfAListTwice) {
    EXPECT_EQ(AttributeList({u"a", u"b"}), u"T:a,a,b");
    EXPECT_EQ(AttributeList({u"a"}), u"T:a,a");
    EXPECT_EQ(AttributeList({}), u"");
}

class HandleAryToIdAry : public testing::Test {
  protected:
    HandleAryToIdAry() {
        drawing.handle(0x10).node({0, 0, 0}).handle(0x11).node({0, 0, 0}).erased().handle(0xAB).node({0, 0, 0});
        drawing.makeCurrent();
    }

    norvex::test::RunStateGuard guard;
    norvex::Drawing drawing;
};

TEST_F(HandleAryToIdAry, AppendsTheIdsInOrder) {
    const Resolved resolved({u"AB", u"10", u"AB"});
    EXPECT_TRUE(resolved.allFound);
    ASSERT_EQ(resolved.ids.length(), 3);
    EXPECT_EQ(resolved.ids[0], drawing.at<ZrOwEntity>(2)->objectId());
    EXPECT_EQ(resolved.ids[1], drawing.at<ZrOwEntity>(0)->objectId());
    EXPECT_EQ(resolved.ids[2], resolved.ids[0]);
}

TEST_F(HandleAryToIdAry, ReadsEitherLetterCase) {
    EXPECT_EQ(Resolved({u"ab"}).ids, Resolved({u"AB"}).ids);
}

TEST_F(HandleAryToIdAry, ReadsTextsWithSurplusLeadingZeros) {
    const Resolved resolved({u"000000000000000000AB", u"0010", CString(u'0', 1000) + u"ab"});
    EXPECT_TRUE(resolved.allFound);
    ASSERT_EQ(resolved.ids.length(), 3);
    EXPECT_EQ(resolved.ids[0], drawing.at<ZrOwEntity>(2)->objectId());
    EXPECT_EQ(resolved.ids[1], drawing.at<ZrOwEntity>(0)->objectId());
    EXPECT_EQ(resolved.ids[2], resolved.ids[0]);
}

TEST_F(HandleAryToIdAry, FindsNothingForANumberBeyond64Bits) {
    for (const CString& large : {CString(u"100000000000000AB"), u"1" + CString(u'0', 28) + u"AB"}) {
        const Resolved resolved({large, u"AB"});
        EXPECT_FALSE(resolved.allFound) << norvex::text::ToUtf8(large);
        EXPECT_EQ(resolved.ids.length(), 1);
    }
}

TEST_F(HandleAryToIdAry, GoesOnBehindTextsThatNameNothing) {
    for (const char16_t* bad : {u"ZZ", u"99", u"11", u"", u"0", u"1 0"}) {
        const Resolved resolved({u"10", bad, u"AB"});
        EXPECT_FALSE(resolved.allFound) << norvex::text::ToUtf8(bad);
        EXPECT_EQ(resolved.ids.length(), 2);
    }
}

TEST_F(HandleAryToIdAry, OfNothingIsTrueAndAddsNothing) {
    const Resolved resolved({});
    EXPECT_TRUE(resolved.allFound);
    EXPECT_EQ(resolved.ids.length(), 0);
}

TEST_F(HandleAryToIdAry, AppendsToWhatTheArrayHolds) {
    AcArray<AcDbObjectId> ids;
    ids.append(AcDbObjectId());
    CStringArray handles;
    Fill(handles, {u"10"});
    EXPECT_TRUE(CComMethod::HandleAryToIdAry(ids, handles));
    EXPECT_EQ(ids.length(), 2);
}

TEST_F(HandleAryToIdAry, FindsNothingWithoutAWorkingDatabase) {
    acdbHostApplicationServices()->setWorkingDatabase(nullptr);
    EXPECT_FALSE(Resolved({u"10"}).allFound);
    EXPECT_TRUE(Resolved({}).allFound);
}

TEST_F(HandleAryToIdAry, ReadsBackTheTextOfEveryHandleBelow2To32) {
    std::mt19937 random(3);
    norvex::Drawing many;
    for (int count = 0; count < 1000; ++count) {
        const Adesk::UInt64 handle = (Adesk::UInt64{random()} % 4'000'000) * 1000 + static_cast<unsigned>(count) + 1;
        many.handle(handle).node({0, 0, 0});
    }
    many.makeCurrent();
    for (const ZrOwEntity* entity : many.entities()) {
        const Resolved resolved({CComMethod::GetStrHandle(entity)});
        ASSERT_TRUE(resolved.allFound);
        ASSERT_EQ(resolved.ids[0], entity->objectId());
    }
}

TEST_F(HandleAryToIdAry, OpensNothing) {
    const Resolved resolved({u"10", u"11"});
    EXPECT_EQ(drawing.database().openCount(), 0);
}
