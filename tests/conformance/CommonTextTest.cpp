// SPDX-License-Identifier: Apache-2.0
#include "Stands.h"
#include "norvexdata/common/ComMethod.h"
#include "platform/zrow/Drawing.h"

using norvex::Drawing;
using norvex::contract::Names;
using norvex::contract::TextList;
using norvex::contract::Texts;

namespace {

Texts WithEmpty(const CString& source, wchar_t separator) {
    TextList output;
    CComMethod::ExplodeStrAryIncEmpty(output, source, separator);
    return output.All();
}

Texts Split(const CString& source, wchar_t separator) {
    TextList output;
    CComMethod::ExplodeStrAry(output, source, separator);
    return output.All();
}

Texts Split(const CString& source, const CString& separator) {
    TextList output;
    CComMethod::ExplodeStrAry(output, source, separator);
    return output.All();
}

// An entity whose label stands where a test puts it.
class Labelled : public ZrOwEntity {
  public:
    Labelled(const AcGePoint3d& at, Acad::ErrorStatus status) : m_at(at), m_status(status) {}
    Acad::ErrorStatus pntNamePos(AcGePoint3d& position) const override {
        // A label that cannot be found finds the point at the origin and leaves it there.
        if (m_status == Acad::eOk) {
            position = m_at;
        } else {
            EXPECT_EQ(position.x, 0.0);
            EXPECT_EQ(position.y, 0.0);
            EXPECT_EQ(position.z, 0.0);
        }
        return m_status;
    }

  private:
    AcGePoint3d m_at;
    Acad::ErrorStatus m_status;
};

CString Label(const AcGePoint3d& at, Acad::ErrorStatus status = Acad::eOk) {
    Labelled entity(at, status);
    return CComMethod::GetStrInsertPt(&entity);
}

constexpr EFindHandle Mode(int value) {
    return static_cast<EFindHandle>(value);
}

class HandleLookupContract : public norvex::contract::CleanRun {};

}  // namespace

// --- splitting and joining ---

TEST(SplittingContract, EmptyPiecesAreKeptWhereAskedFor) {
    EXPECT_EQ(WithEmpty(L"", L','), (Texts{L""}));
    EXPECT_EQ(WithEmpty(L"x", L','), (Texts{L"x"}));
    EXPECT_EQ(WithEmpty(L",", L','), (Texts{L"", L""}));
    EXPECT_EQ(WithEmpty(L"a,,b,", L','), (Texts{L"a", L"", L"b", L""}));
    EXPECT_EQ(WithEmpty(L" a , b", L','), (Texts{L" a ", L" b"}));
}

TEST(SplittingContract, EmptyPiecesAreDroppedElsewhereAndBlanksKept) {
    EXPECT_EQ(Split(L",,,", L','), Texts{});
    EXPECT_EQ(Split(L"", L','), Texts{});
    EXPECT_EQ(Split(L" a , b ", L','), (Texts{L" a ", L" b "}));
    EXPECT_EQ(Split(L"/a//b/", L'/'), (Texts{L"a", L"b"}));
    EXPECT_EQ(Split(L", ,", L','), (Texts{L" "}));
    EXPECT_EQ(Split(L"管层线", L'层'), (Texts{L"管", L"线"}));
}

TEST(SplittingContract, ASeparatorMayHaveSeveralCharacters) {
    EXPECT_EQ(Split(L"a::::b", CString(L"::")), (Texts{L"a", L"b"}));
    EXPECT_EQ(Split(L"::a:b::", CString(L"::")), (Texts{L"a:b"}));
    EXPECT_EQ(Split(L"a:::b", CString(L"::")), (Texts{L"a", L":b"}));
    EXPECT_EQ(Split(L"", CString(L"::")), Texts{});
    EXPECT_EQ(Split(L"a", CString(L"::")), (Texts{L"a"}));
}

TEST(SplittingContract, PiecesAreAppendedToWhatIsThere) {
    TextList output{L"old"};
    CComMethod::ExplodeStrAryIncEmpty(output, L"a,", L',');
    CComMethod::ExplodeStrAry(output, L"b,c", L',');
    CComMethod::ExplodeStrAry(output, L"d--e", CString(L"--"));
    EXPECT_EQ(output.All(), (Texts{L"old", L"a", L"", L"b", L"c", L"d", L"e"}));
}

TEST(SplittingContract, TheSourceIsLeftAsItIs) {
    const CString source = L"a,b";
    TextList output;
    CComMethod::ExplodeStrAry(output, source, L',');
    EXPECT_EQ(source, L"a,b");
}

TEST(ParameterContract, TheFirstOperatorInTheirFixedOrderDecides) {
    EXPECT_EQ(CComMethod::GetOneParam(L"DN>=100"), L"100");
    EXPECT_EQ(CComMethod::GetOneParam(L"DN≥100"), L"100");
    EXPECT_EQ(CComMethod::GetOneParam(L"DN≤100"), L"100");
    EXPECT_EQ(CComMethod::GetOneParam(L"DN100"), L"DN100");
    EXPECT_EQ(CComMethod::GetOneParam(L"a<b=c"), L"c");
    EXPECT_EQ(CComMethod::GetOneParam(L"a<b>c"), L"c");
    EXPECT_EQ(CComMethod::GetOneParam(L"a≤b≥c"), L"c");
    EXPECT_EQ(CComMethod::GetOneParam(L"a≥b<c"), L"c");
    EXPECT_EQ(CComMethod::GetOneParam(L"a=b=c"), L"b=c");
    EXPECT_EQ(CComMethod::GetOneParam(L"a= 5 "), L" 5 ");
    EXPECT_EQ(CComMethod::GetOneParam(L"a="), L"");
    EXPECT_EQ(CComMethod::GetOneParam(L""), L"");
}

TEST(DetailNameContract, OnlyAPathOfFourComponentsHasOne) {
    EXPECT_EQ(CComMethod::GetDetailNameByAttName(L"a\\b\\c\\d"), L"d");
    EXPECT_EQ(CComMethod::GetDetailNameByAttName(L"a\\b\\c"), L"");
    EXPECT_EQ(CComMethod::GetDetailNameByAttName(L"a\\b\\c\\d\\e"), L"");
    EXPECT_EQ(CComMethod::GetDetailNameByAttName(L"a\\\\b\\c\\d"), L"d");
    EXPECT_EQ(CComMethod::GetDetailNameByAttName(L"\\a\\b\\c\\d\\"), L"d");
    EXPECT_EQ(CComMethod::GetDetailNameByAttName(L""), L"");
}

TEST(JoiningContract, ArgumentsAreJoinedBySemicolons) {
    EXPECT_EQ(CComMethod::GetUnitedArgument(TextList{}), L"");
    EXPECT_EQ(CComMethod::GetUnitedArgument(TextList{L"a;b"}), L"a;b");
    EXPECT_EQ(CComMethod::GetUnitedArgument(TextList{L"a", L"", L"b"}), L"a;;b");
    EXPECT_EQ(CComMethod::GetUnitedArgument(TextList{L"", L""}), L";");
}

TEST(LabelContract, ThePlaceIsWrittenWithoutDecimalsInFiveCharacters) {
    EXPECT_EQ(Label({1234.6, -7.2, 0}), L"坐标( 1235,   -7)");
    EXPECT_EQ(Label({1, 2, 99}), L"坐标(    1,    2)");
    EXPECT_EQ(Label({1234567, -123456, 0}), L"坐标(1234567,-123456)");
}

TEST(LabelContract, APlaceThatCannotBeFoundIsTheOrigin) {
    EXPECT_EQ(Label({5, 5, 5}, Acad::eNullExtents), L"坐标(    0,    0)");
}

// --- location strings ---

TEST(HandleTextContract, SmallHandlesAreUpperCaseHexadecimal) {
    EXPECT_EQ(CComMethod::GetStrHandle(AcDbHandle(Adesk::UInt64{0})), L"0");
    EXPECT_EQ(CComMethod::GetStrHandle(AcDbHandle(Adesk::UInt64{0x2F1})), L"2F1");
    EXPECT_EQ(CComMethod::GetStrHandle(AcDbHandle(Adesk::UInt64{0xFFFFFFFF})), L"FFFFFFFF");
}

TEST(HandleTextContract, LargeHandlesWriteTheLowHalfInThirtyDigits) {
    EXPECT_EQ(CComMethod::GetStrHandle(AcDbHandle(0x10U, 0x1U)), CString(L"1") + CString(L'0', 28) + L"10");
    EXPECT_EQ(CComMethod::GetStrHandle(AcDbHandle(0x0U, 0xABU)), CString(L"AB") + CString(L'0', 30));
    EXPECT_EQ(CComMethod::GetStrHandle(AcDbHandle(0xFFFFFFFFU, 0xFFFFFFFFU)),
              CString(L"FFFFFFFF") + CString(L'0', 22) + L"FFFFFFFF");
}

TEST(HandleTextContract, AnEntityGivesItsOwnHandle) {
    Drawing drawing;
    drawing.handle(0x2F1).node({0, 0, 0});
    EXPECT_EQ(CComMethod::GetStrHandle(drawing.at<ZrOwEntity>(0)), L"2F1");
    ZrOwEntity* const entity = drawing.at<ZrOwEntity>(0);
    EXPECT_EQ(CComMethod::GetStrFPHandle(entity, L"A", L"B", Mode(2), L"T"), L"T:A:2:B:2F1");
}

TEST(LocateFormContract, FieldsStandInTheirOrder) {
    EXPECT_EQ(CComMethod::GetStrFPHandle(CString(L"1F,2A"), L"A", L"B", Mode(2), L"T"), L"T:A:2:B:1F,2A");
    EXPECT_EQ(CComMethod::GetStrFPHandle(AcDbHandle(Adesk::UInt64{0x1F}), L"A", L"B", Mode(0), L"T"), L"T:A:0:B:1F");
}

TEST(LocateFormContract, AnEmptyHandleTextStillGivesFiveFields) {
    EXPECT_EQ(CComMethod::GetStrFPHandle(CString(), L"A", L"B", Mode(2), L"T"), L"T:A:2:B:");
    EXPECT_EQ(CComMethod::GetStrFPHandle(CString(), L"", L"", Mode(0), L""), L"::0::");
}

TEST(LocateFormContract, EmptyListsGiveNoText) {
    EXPECT_EQ(CComMethod::GetStrFPHandle(TextList{}, L"A", L"B", Mode(2), L"T"), L"");
    EXPECT_EQ(CComMethod::GetStrFPHandle(Names{}, L"A", L"B", Mode(2), L"T"), L"");
}

TEST(LocateFormContract, ListsAreJoinedByCommas) {
    EXPECT_EQ(CComMethod::GetStrFPHandle(TextList{L"2A", L"", L"1F"}, L"A", L"B", Mode(2), L"T"), L"T:A:2:B:2A,,1F");
    EXPECT_EQ(CComMethod::GetStrFPHandle(Names{L"b", L"B", L"A"}, L"A", L"B", Mode(2), L"T"), L"T:A:2:B:A,B,b");
}

TEST(LocateFormContract, TheFindModeIsASignedDecimalNumber) {
    EXPECT_EQ(CComMethod::GetStrFPHandle(CString(L"1"), L"A", L"B", Mode(-1), L"T"), L"T:A:-1:B:1");
    EXPECT_EQ(CComMethod::GetStrFPHandle(CString(L"1"), L"A", L"B", Mode(2147483647), L"T"), L"T:A:2147483647:B:1");
}

TEST(LocateFormContract, NothingIsEscaped) {
    EXPECT_EQ(CComMethod::GetStrFPHandle(CString(L"1"), L"a:b", L"%d,", Mode(1), L"%s"), L"%s:a:b:1:%d,:1");
}

TEST(LocateFormContract, LocationsAreJoinedByHyphens) {
    EXPECT_EQ(CComMethod::GetStrFPHandleAry(TextList{}), L"");
    EXPECT_EQ(CComMethod::GetStrFPHandleAry(TextList{L"a-b"}), L"a-b");
    EXPECT_EQ(CComMethod::GetStrFPHandleAry(TextList{L"a", L"", L"b"}), L"a--b");
}

TEST(FixFormContract, FieldsStandInTheirOrder) {
    EXPECT_EQ(CComMethod::GetStrFixHandle(CString(L"1F"), L"A", L"T"), L"T:A:1F");
    EXPECT_EQ(CComMethod::GetStrFixHandle(CString(), L"A", L"T"), L"T:A:");
    EXPECT_EQ(CComMethod::GetStrFixHandle(TextList{L"2", L"1"}, L"A", L"T"), L"T:A:2,1");
    EXPECT_EQ(CComMethod::GetStrFixHandle(TextList{}, L"A", L"T"), L"");
}

TEST(FixFormContract, KeysAndValuesArePaired) {
    const auto fix = [](const TextList& keys, const TextList& values) {
        return CComMethod::GetStrFixHandle(keys, values, L"A", L"T");
    };
    EXPECT_EQ(fix({L"DN", L"PN"}, {L"100", L"16"}), L"T:A:DN=100,PN=16");
    EXPECT_EQ(fix({L"DN"}, {L"100,,"}), L"T:A:DN=100");
    EXPECT_EQ(fix({L"a", L"b"}, {L"1,", L""}), L"T:A:a=1,,b=");
    EXPECT_EQ(fix({L"DN", L"PN"}, {L"100"}), L"");
    EXPECT_EQ(fix({L"DN"}, {L"100", L"16"}), L"");
    EXPECT_EQ(fix({}, {}), L"");
}

TEST(AttributeFixFormContract, ATextFollowsItsTag) {
    EXPECT_EQ(CComMethod::GetStrFixAtt(L"a", L"T"), L"T:a");
    EXPECT_EQ(CComMethod::GetStrFAHandle(CString(L"a"), L"T"), L"T:a");
    EXPECT_EQ(CComMethod::GetStrFixAtt(L"", L""), L":");
}

TEST(AttributeFixFormContract, TheFirstTextOfAListStandsTwice) {
    EXPECT_EQ(CComMethod::GetStrFAHandle(TextList{L"a"}, L"T"), L"T:a,a");
    EXPECT_EQ(CComMethod::GetStrFAHandle(TextList{L"a", L"b"}, L"T"), L"T:a,a,b");
    EXPECT_EQ(CComMethod::GetStrFAHandle(TextList{}, L"T"), L"");
}

TEST_F(HandleLookupContract, OneBadHandleMakesTheAnswerFalseAndTheOthersAreFound) {
    Drawing drawing;
    drawing.handle(0x1F).node({0, 0, 0});
    const AcDbObjectId first = drawing.lastId();
    drawing.handle(0x2A).node({0, 0, 0}).erased();
    drawing.handle(0x3B).node({0, 0, 0}).makeCurrent();
    const AcDbObjectId third = drawing.lastId();
    for (const CString& bad : {CString(L"ZZ"), CString(L"2A"), CString(L"999"), CString(L"")}) {
        AcArray<AcDbObjectId> ids;
        EXPECT_FALSE(CComMethod::HandleAryToIdAry(ids, TextList{L"1F", bad, L"3B"})) << norvex::text::ToUtf8(bad);
        ASSERT_EQ(ids.length(), 2);
        EXPECT_EQ(ids[0], first);
        EXPECT_EQ(ids[1], third);
    }
}

TEST_F(HandleLookupContract, FoundIdsAreAppendedInOrder) {
    Drawing drawing;
    drawing.handle(0x1F).node({0, 0, 0});
    const AcDbObjectId first = drawing.lastId();
    drawing.handle(0x2A).node({0, 0, 0}).makeCurrent();
    const AcDbObjectId second = drawing.lastId();
    AcArray<AcDbObjectId> ids;
    EXPECT_TRUE(CComMethod::HandleAryToIdAry(ids, TextList{L"2a", L"1F", L"2A"}));
    EXPECT_TRUE(CComMethod::HandleAryToIdAry(ids, TextList{}));
    ASSERT_EQ(ids.length(), 3);
    EXPECT_EQ(ids[0], second);
    EXPECT_EQ(ids[1], first);
    EXPECT_EQ(ids[2], second);
}

TEST_F(HandleLookupContract, TextsOfSmallHandlesLeadBackToTheirObjects) {
    Drawing drawing;
    drawing.handle(0xDEADBEEF).node({0, 0, 0}).makeCurrent();
    AcArray<AcDbObjectId> ids;
    const TextList texts{CComMethod::GetStrHandle(drawing.at<ZrOwEntity>(0))};
    EXPECT_TRUE(CComMethod::HandleAryToIdAry(ids, texts));
    ASSERT_EQ(ids.length(), 1);
    EXPECT_EQ(ids[0], drawing.lastId());
}
