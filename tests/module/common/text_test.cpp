// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/common/ComMethod.h"
#include "norvexdata/common/detail/Split.h"
#include "platform/zrow/Drawing.h"
#include "support/StringArrays.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using norvex::test::Elements;
using norvex::test::Fill;
using Pieces = std::vector<CString>;

Pieces WithEmpty(const CString& source, wchar_t separator) {
    CStringArray pieces;
    CComMethod::ExplodeStrAryIncEmpty(pieces, source, separator);
    return Elements(pieces);
}

template <class Separator>
Pieces Exploded(const CString& source, const Separator& separator) {
    CStringArray pieces;
    CComMethod::ExplodeStrAry(pieces, source, separator);
    return Elements(pieces);
}

// Splits as the contract says it, one replaced source after the other.
Pieces NaiveWithEmpty(CString source, const CString& separator) {
    Pieces pieces;
    for (int place = source.Find(separator); place >= 0; place = source.Find(separator)) {
        pieces.push_back(source.Left(place));
        source = source.Mid(place + separator.GetLength());
    }
    pieces.push_back(source);
    return pieces;
}

Pieces NaiveExploded(CString source, const CString& separator) {
    Pieces pieces;
    for (int place = source.Find(separator); place >= 0; place = source.Find(separator)) {
        if (place > 0) {
            pieces.push_back(source.Left(place));
        }
        source = source.Mid(place + separator.GetLength());
    }
    if (!source.IsEmpty()) {
        pieces.push_back(source);
    }
    return pieces;
}

// Equal in every code unit, also behind a NUL.
void ExpectSamePieces(const Pieces& pieces, const Pieces& expected) {
    ASSERT_EQ(pieces.size(), expected.size());
    for (std::size_t index = 0; index < pieces.size(); ++index) {
        ASSERT_EQ(norvex::text::View(pieces[index]), norvex::text::View(expected[index]));
    }
}

CString United(std::initializer_list<CString> arguments) {
    CStringArray array;
    Fill(array, arguments);
    return CComMethod::GetUnitedArgument(array);
}

CString InsertPointOf(const AcGePoint3d& point) {
    ZrOwNode node(point);
    return CComMethod::GetStrInsertPt(&node);
}

}  // namespace

TEST(ExplodeStrAryIncEmpty, KeepsEmptyPieces) {
    EXPECT_EQ(WithEmpty(u"a,,b,", L','), (Pieces{u"a", u"", u"b", u""}));
    EXPECT_EQ(WithEmpty(u",", L','), (Pieces{u"", u""}));
    EXPECT_EQ(WithEmpty(u",a", L','), (Pieces{u"", u"a"}));
}

TEST(ExplodeStrAryIncEmpty, GivesTheWholeSourceWhenTheSeparatorIsAbsent) {
    EXPECT_EQ(WithEmpty(u"", L','), (Pieces{u""}));
    EXPECT_EQ(WithEmpty(u"x", L','), (Pieces{u"x"}));
}

TEST(ExplodeStrAryIncEmpty, DoesNotTrimBlanks) {
    EXPECT_EQ(WithEmpty(u" a , ", L','), (Pieces{u" a ", u" "}));
}

TEST(ExplodeStrAry, DropsEmptyPieces) {
    EXPECT_EQ(Exploded(u"/a//b/", L'/'), (Pieces{u"a", u"b"}));
    EXPECT_EQ(Exploded(u",,,", L','), Pieces());
    EXPECT_EQ(Exploded(u"", L','), Pieces());
    EXPECT_EQ(Exploded(u"x", L','), (Pieces{u"x"}));
}

TEST(ExplodeStrAry, KeepsBlanks) {
    EXPECT_EQ(Exploded(u" a , b ", L','), (Pieces{u" a ", u" b "}));
    EXPECT_EQ(Exploded(u" ,", L','), (Pieces{u" "}));
}

TEST(ExplodeStrAry, TakesASeparatorOfSeveralCharacters) {
    const CString separator = u"::";
    EXPECT_EQ(Exploded(u"a::::b", separator), (Pieces{u"a", u"b"}));
    EXPECT_EQ(Exploded(u"a:::b", separator), (Pieces{u"a", u":b"})) << "the first occurrence counts";
    EXPECT_EQ(Exploded(u"a:b", separator), (Pieces{u"a:b"}));
    EXPECT_EQ(Exploded(u"::", separator), Pieces());
    EXPECT_EQ(Exploded(u"甲和乙和和丙", CString(u"和")), (Pieces{u"甲", u"乙", u"丙"}));
}

TEST(ExplodeStrAry, SeparatorMayBeAnElementOfTheOutput) {
    CStringArray pieces;
    Fill(pieces, {u"::"});
    CComMethod::ExplodeStrAry(pieces, u"a::b::c::d::e::f::g::h::i", pieces[0]);
    EXPECT_EQ(Elements(pieces), (Pieces{u"::", u"a", u"b", u"c", u"d", u"e", u"f", u"g", u"h", u"i"}));
}

TEST(ExplodeStrAry, SplittingsAppendToWhatTheOutputHolds) {
    CStringArray pieces;
    Fill(pieces, {u"before"});
    CComMethod::ExplodeStrAryIncEmpty(pieces, u"", L',');
    CComMethod::ExplodeStrAry(pieces, u"a,b", L',');
    CComMethod::ExplodeStrAry(pieces, u"c", CString(u"::"));
    EXPECT_EQ(Elements(pieces), (Pieces{u"before", u"", u"a", u"b", u"c"}));
}

TEST(ExplodeStrAry, LeavesTheSourceAlone) {
    const CString source = u"a,b";
    Exploded(source, L',');
    EXPECT_EQ(source, u"a,b");
}

TEST(ExplodeStrAry, TakesASeparatorBeyondTheBasicPlane) {
    EXPECT_EQ(Exploded(u"a\xD83D\xDE00"
                       u"b",
                       static_cast<wchar_t>(0x1F600)),
              (Pieces{u"a", u"b"}));
}

TEST(ExplodeStrAry, SplitsALongTextInOnePass) {
    // Taking each piece off the front of what is left would copy a gigabyte and more here.
    CString source(u',', 1 << 20);
    for (int index = 0; index < source.GetLength(); index += 2) {
        source.SetAt(index, u'x');
    }
    EXPECT_EQ(Exploded(source, L',').size(), std::size_t{1} << 19);
}

TEST(Splitting, GivesThePiecesOfTheWrittenProcedure) {
    std::mt19937 random(7);
    const std::u16string_view alphabet(u"ab,:,:\0", 7);
    for (int round = 0; round < 100'000; ++round) {
        CString source;
        for (auto length = random() % 12; length > 0; --length) {
            source += alphabet[random() % alphabet.size()];
        }
        ExpectSamePieces(WithEmpty(source, L','), NaiveWithEmpty(source, u","));
        ExpectSamePieces(Exploded(source, L','), NaiveExploded(source, u","));
        ExpectSamePieces(Exploded(source, CString(u"::")), NaiveExploded(source, u"::"));
        ExpectSamePieces(Exploded(source, CString(u",:")), NaiveExploded(source, u",:"));
    }
}

TEST(Splitting, OfAttributePathsGivesThePiecesOfTheSplitMethod) {
    std::mt19937 random(8);
    const std::u16string_view alphabet(u"ab\\\\\0", 5);
    for (int round = 0; round < 100'000; ++round) {
        CString path;
        for (auto length = random() % 14; length > 0; --length) {
            path += alphabet[random() % alphabet.size()];
        }
        const Pieces expected = NaiveExploded(path, u"\\");
        const norvex::common::AttPath split = norvex::common::SplitAttPath(path);
        ASSERT_EQ(split.count, expected.size());
        ASSERT_EQ(split.IsFull(), expected.size() == 4);
        if (split.IsFull()) {
            const std::vector<std::u16string_view> views = {split.Specialty(), split.Category(), split.SubCategory(),
                                                            split.DetailName()};
            for (std::size_t index = 0; index < views.size(); ++index) {
                ASSERT_EQ(views[index], norvex::text::View(expected[index]));
            }
        }
    }
}

TEST(GetOneParam, IsWhatStandsBehindTheOperator) {
    EXPECT_EQ(CComMethod::GetOneParam(u"DN>=100"), u"100") << "= comes before >";
    EXPECT_EQ(CComMethod::GetOneParam(u"DN≥100"), u"100");
    EXPECT_EQ(CComMethod::GetOneParam(u"DN≤100"), u"100");
    EXPECT_EQ(CComMethod::GetOneParam(u"DN>100"), u"100");
    EXPECT_EQ(CComMethod::GetOneParam(u"DN<100"), u"100");
    EXPECT_EQ(CComMethod::GetOneParam(u"DN= 100 "), u" 100 ") << "untrimmed";
}

TEST(GetOneParam, TriesTheOperatorsInAFixedOrder) {
    EXPECT_EQ(CComMethod::GetOneParam(u"a<b=c"), u"c");
    EXPECT_EQ(CComMethod::GetOneParam(u"a<b>c"), u"c");
    EXPECT_EQ(CComMethod::GetOneParam(u"a≥b<c"), u"c");
    EXPECT_EQ(CComMethod::GetOneParam(u"a≤b≥c"), u"c");
    EXPECT_EQ(CComMethod::GetOneParam(u"a=b>c"), u"b>c");
}

TEST(GetOneParam, TakesTheFirstOccurrence) {
    EXPECT_EQ(CComMethod::GetOneParam(u"a=b=c"), u"b=c");
    EXPECT_EQ(CComMethod::GetOneParam(u"="), u"");
    EXPECT_EQ(CComMethod::GetOneParam(u"=x"), u"x");
}

TEST(GetOneParam, IsTheWholeTextWithoutAnOperator) {
    EXPECT_EQ(CComMethod::GetOneParam(u"DN100"), u"DN100");
    EXPECT_EQ(CComMethod::GetOneParam(u""), u"");
}

TEST(GetDetailNameByAttName, IsTheFourthOfExactlyFour) {
    EXPECT_EQ(CComMethod::GetDetailNameByAttName(u"给排水\\管线\\给水管\\DN50"), u"DN50");
    EXPECT_EQ(CComMethod::GetDetailNameByAttName(u"a\\b\\c"), u"");
    EXPECT_EQ(CComMethod::GetDetailNameByAttName(u"a\\b\\c\\d\\e"), u"");
    EXPECT_EQ(CComMethod::GetDetailNameByAttName(u""), u"");
    EXPECT_EQ(CComMethod::GetDetailNameByAttName(u"a\\\\b\\c\\d"), u"d") << "an empty piece does not count";
    EXPECT_EQ(CComMethod::GetDetailNameByAttName(u"\\a\\b\\c\\d\\"), u"d");
    EXPECT_EQ(CComMethod::GetDetailNameByAttName(u"a\\b\\c\\ "), u" ") << "a blank is a name";
}

TEST(GetUnitedArgument, JoinsBySemicolonAndKeepsEmptyElements) {
    EXPECT_EQ(United({}), u"");
    EXPECT_EQ(United({u"a"}), u"a");
    EXPECT_EQ(United({u"a", u"", u"b"}), u"a;;b");
    EXPECT_EQ(United({u"", u""}), u";");
}

TEST(GetStrInsertPt, ShowsThePositionInPlanWithoutDecimals) {
    EXPECT_EQ(InsertPointOf({1234.6, -7.2, 0.0}), u"坐标( 1235,   -7)");
    EXPECT_EQ(InsertPointOf({0.0, 0.0, 99.0}), u"坐标(    0,    0)");
    EXPECT_EQ(InsertPointOf({1234567.0, -123456.0, 0.0}), u"坐标(1234567,-123456)") << "five is the fewest";
}

TEST(GetStrInsertPt, TakesTheLabelPositionOfTheEntity) {
    ZrOwPolyLine pipe({0.0, 0.0, 0.0}, {1000.0, 500.0, 0.0});
    EXPECT_EQ(CComMethod::GetStrInsertPt(&pipe), u"坐标(  500,  250)") << "half way along the pipe";
}

TEST(GetStrInsertPt, IsTheOriginWhenTheEntityHasNoPosition) {
    ZrOwGroove trench(100.0);
    AcGePoint3d position;
    ASSERT_NE(trench.pntNamePos(position), Acad::eOk);
    EXPECT_EQ(CComMethod::GetStrInsertPt(&trench), u"坐标(    0,    0)");
    EXPECT_EQ(CComMethod::GetStrInsertPt(nullptr), u"坐标(    0,    0)");
}
