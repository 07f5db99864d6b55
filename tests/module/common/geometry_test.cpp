// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/common/ComMethod.h"
#include "platform/zrow/ZrOwLines.h"
#include "platform/zrow/ZrOwNodes.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <regex>
#include <string>
#include <vector>

namespace {

AcDbExtents Cube(double minimum, double maximum) {
    return {{minimum, minimum, minimum}, {maximum, maximum, maximum}};
}

// The level of an entity whose outputs held -1 and -2.
struct Level {
    explicit Level(const ZrOwEntity& entity) { kind = CComMethod::GetEntLevel(&entity, low, high); }

    bool operator==(const Level&) const = default;
    Level(int k, double l, double h) : kind(k), low(l), high(h) {}

    int kind = 0;
    double low = -1.0;
    double high = -2.0;
};

void PrintTo(const Level& level, std::ostream* out) {
    *out << "kind " << level.kind << " low " << level.low << " high " << level.high;
}

int Grade(const CString& name) {
    return CComMethod::GetFloorGrade(name);
}

}  // namespace

TEST(PointInBox, CountsFacesAsInside) {
    const AcDbExtents box({0, 10, 20}, {1, 11, 21});
    EXPECT_TRUE(CComMethod::IsPntEnternsInter(box, {0.5, 10.5, 20.5}));
    for (const AcGePoint3d& corner : {AcGePoint3d(0, 10, 20), AcGePoint3d(1, 11, 21), AcGePoint3d(0, 11, 20)}) {
        EXPECT_TRUE(CComMethod::IsPntEnternsInter(box, corner));
    }
}

TEST(PointInBox, HasNoTolerance) {
    constexpr double kBit = 1e-9;
    const AcDbExtents box = Cube(0, 1);
    EXPECT_FALSE(CComMethod::IsPntEnternsInter(box, {1 + kBit, 0.5, 0.5}));
    EXPECT_FALSE(CComMethod::IsPntEnternsInter(box, {-kBit, 0.5, 0.5}));
    EXPECT_FALSE(CComMethod::IsPntEnternsInter(box, {0.5, 1 + kBit, 0.5}));
    EXPECT_FALSE(CComMethod::IsPntEnternsInter(box, {0.5, -kBit, 0.5}));
    EXPECT_FALSE(CComMethod::IsPntEnternsInter(box, {0.5, 0.5, 1 + kBit}));
    EXPECT_FALSE(CComMethod::IsPntEnternsInter(box, {0.5, 0.5, -kBit}));
}

TEST(PointInBox, FindsNothingInAnEmptyBox) {
    EXPECT_FALSE(CComMethod::IsPntEnternsInter(AcDbExtents(), {0, 0, 0}));
}

TEST(BoxOverlap, OfTouchingBoxesDependsOnTheirOrder) {
    EXPECT_FALSE(CComMethod::ExtentsInter(Cube(0, 1), Cube(1, 2)));
    EXPECT_TRUE(CComMethod::ExtentsInter(Cube(1, 2), Cube(0, 1)));
    EXPECT_FALSE(CComMethod::IsIntersectWithEnterns(Cube(0, 1), Cube(1, 2)));
    EXPECT_TRUE(CComMethod::IsIntersectWithEnterns(Cube(1, 2), Cube(0, 1)));
}

TEST(BoxOverlap, IsStrictOnOneSideOfEachAxis) {
    // first touches second with its maximum, on one axis at a time.
    const AcDbExtents second({0, 0, 0}, {10, 10, 10});
    EXPECT_FALSE(CComMethod::ExtentsInter({{-5, 1, 1}, {0, 2, 2}}, second));
    EXPECT_FALSE(CComMethod::ExtentsInter({{1, -5, 1}, {2, 0, 2}}, second));
    EXPECT_FALSE(CComMethod::ExtentsInter({{1, 1, -5}, {2, 2, 0}}, second));
    EXPECT_TRUE(CComMethod::ExtentsInter({{10, 1, 1}, {15, 2, 2}}, second));
    EXPECT_TRUE(CComMethod::ExtentsInter({{1, 10, 1}, {2, 15, 2}}, second));
    EXPECT_TRUE(CComMethod::ExtentsInter({{1, 1, 10}, {2, 2, 15}}, second));
}

TEST(BoxOverlap, HoldsForBoxesInsideEachOtherAndFailsForBoxesApart) {
    EXPECT_TRUE(CComMethod::ExtentsInter(Cube(0, 10), Cube(4, 5)));
    EXPECT_TRUE(CComMethod::ExtentsInter(Cube(4, 5), Cube(0, 10)));
    EXPECT_FALSE(CComMethod::ExtentsInter(Cube(0, 1), Cube(2, 3)));
    EXPECT_FALSE(CComMethod::ExtentsInter(Cube(2, 3), Cube(0, 1)));
}

TEST(BoxOverlap, InPlanIgnoresTheLevel) {
    const AcDbExtents low({0, 0, 0}, {1, 1, 1});
    const AcDbExtents high({0, 0, 5000}, {1, 1, 5001});
    EXPECT_TRUE(CComMethod::IsIntersectWithEnterns(low, high));
    EXPECT_FALSE(CComMethod::ExtentsInter(low, high));
}

TEST(BoxOverlap, WithAListTakesTheSingleBoxAsFirst) {
    CArray<AcDbExtents> boxes;
    EXPECT_FALSE(CComMethod::IsIntersectWithEnterns(boxes, Cube(0, 1)));
    boxes.Add(Cube(50, 60));
    boxes.Add(Cube(1, 2));
    EXPECT_FALSE(CComMethod::IsIntersectWithEnterns(boxes, Cube(0, 1))) << "as first it must reach beyond 1";
    EXPECT_TRUE(CComMethod::IsIntersectWithEnterns(boxes, Cube(2, 3)));
    EXPECT_TRUE(CComMethod::IsIntersectWithEnterns(boxes, Cube(55, 56)));
}

TEST(EntityLevel, OfANodeIsItsHeight) {
    EXPECT_EQ(Level(ZrOwNode({1, 2, 3})), Level(1, 3.0, -2.0));
}

TEST(EntityLevel, OfARiserIsItsRangeInOrder) {
    EXPECT_EQ(Level(ZrOwDownLine({0, 0}, 3000, -50)), Level(2, -50, 3000));
    EXPECT_EQ(Level(ZrOwDownLine({0, 0}, -50, 3000)), Level(2, -50, 3000));
    EXPECT_EQ(Level(ZrOwDownLine({0, 0}, 7, 7)), Level(2, 7, 7));
}

TEST(EntityLevel, OfATrenchIsItsElevation) {
    EXPECT_EQ(Level(ZrOwGroove(-800)), Level(1, -800, -2.0));
}

TEST(EntityLevel, OfAMainLineIsItsPairAsItStands) {
    EXPECT_EQ(Level(ZrOwMainLine({0, 0, 1}, {0, 0, 2}, {u"J1", 3000, -50})), Level(3, 3000, -50));
}

TEST(EntityLevel, OfAPipeIsTheRangeOfItsEnds) {
    EXPECT_EQ(Level(ZrOwPolyLine({0, 0, 9}, {5, 5, 4})), Level(2, 4, 9));
    EXPECT_EQ(Level(ZrOwPolyLine({0, 0, 4}, {5, 5, 4})), Level(2, 4, 4));
}

TEST(EntityLevel, OfAnUnknownKindWritesNothing) {
    EXPECT_EQ(Level(ZrOwFittingBase({1, 2, 3})), Level(1, -1.0, -2.0));
    EXPECT_EQ(Level(ZrOwLeadContainer()), Level(1, -1.0, -2.0));
    double low = -1.0;
    double high = -2.0;
    EXPECT_EQ(CComMethod::GetEntLevel(nullptr, low, high), 1);
    EXPECT_EQ(low, -1.0);
    EXPECT_EQ(high, -2.0);
}

TEST(FloorGrade, IsTenTimesTheFloorsNumber) {
    EXPECT_EQ(Grade(u"3层"), 30);
    EXPECT_EQ(Grade(u"-1层"), -10);
    EXPECT_EQ(Grade(u"2.5层"), 25);
    EXPECT_EQ(Grade(u"12"), 120);
    EXPECT_EQ(Grade(u"0层"), 0);
}

TEST(FloorGrade, OfTheProjectIsMinus1000) {
    EXPECT_EQ(Grade(u"工程"), -1000);
    EXPECT_EQ(Grade(u" 工程 "), -1000);
    EXPECT_EQ(Grade(u"工程层"), 0) << "the name must be exactly that";
}

TEST(FloorGrade, TakesTheFirstFloorOfSeveral) {
    EXPECT_EQ(Grade(u"3/4层"), 30);
    EXPECT_EQ(Grade(u"3,4"), 30);
    EXPECT_EQ(Grade(u"3,4/5"), 30);
    EXPECT_EQ(Grade(u"/4"), 0);
    EXPECT_EQ(Grade(u",4"), 0);
}

TEST(FloorGrade, IsZeroWithoutALeadingNumber) {
    EXPECT_EQ(Grade(u""), 0);
    EXPECT_EQ(Grade(u"层"), 0);
    EXPECT_EQ(Grade(u"屋面"), 0);
    EXPECT_EQ(Grade(u"B1"), 0);
    EXPECT_EQ(Grade(u"第3层"), 0);
    EXPECT_EQ(Grade(u"３层"), 0) << "a wide digit is no digit";
    for (const char16_t* noNumber : {u"-", u"+", u".", u"-.", u"+-3", u"--3", u"- 3", u"e5", u"inf", u"-inf", u"nan"}) {
        EXPECT_EQ(Grade(noNumber), 0) << norvex::text::ToUtf8(noNumber);
    }
}

TEST(FloorGrade, StopsAtTheFirstCharacterThatCannotContinueANumber) {
    EXPECT_EQ(Grade(u"3A层"), 30);
    EXPECT_EQ(Grade(u"3 4"), 30);
    EXPECT_EQ(Grade(u"3.5.7"), 35);
    EXPECT_EQ(Grade(u"3-4"), 30);
    EXPECT_EQ(Grade(u"3e"), 30);
    EXPECT_EQ(Grade(u"3e+"), 30);
    EXPECT_EQ(Grade(u"0x10"), 0) << "decimal only";
    EXPECT_EQ(Grade(u"3\u00E9"), 30);
}

TEST(FloorGrade, ReadsSignsPointsBlanksAndExponents) {
    EXPECT_EQ(Grade(u"+3"), 30);
    EXPECT_EQ(Grade(u" \t3 "), 30);
    EXPECT_EQ(Grade(u"层 3"), 30) << "blanks before the number";
    EXPECT_EQ(Grade(u".5"), 5);
    EXPECT_EQ(Grade(u"5."), 50);
    EXPECT_EQ(Grade(u"-.5"), -5);
    EXPECT_EQ(Grade(u"1e2"), 1000);
    EXPECT_EQ(Grade(u"15E-1"), 15);
}

TEST(FloorGrade, RemovesTheFloorWordWhereverItStands) {
    EXPECT_EQ(Grade(u"1层2层"), 120);
    EXPECT_EQ(Grade(u"层层3"), 30);
}

TEST(FloorGrade, TruncatesTowardZero) {
    EXPECT_EQ(Grade(u"1.29"), 12);
    EXPECT_EQ(Grade(u"-1.29"), -12);
    EXPECT_EQ(Grade(u"0.09"), 0);
}

TEST(FloorGrade, OfOneDecimalIsExact) {
    for (int tenths = 0; tenths <= 99'999; ++tenths) {
        CString name;
        name.Format(u"%d.%d层", tenths / 10, tenths % 10);
        ASSERT_EQ(Grade(name), tenths);
        ASSERT_EQ(Grade(u"-" + name), -tenths);
    }
}

TEST(FloorGrade, StaysAtTheEndsOfItsRange) {
    constexpr int kHighest = std::numeric_limits<int>::max();
    constexpr int kLowest = std::numeric_limits<int>::min();
    EXPECT_EQ(Grade(u"214748364.7"), kHighest);
    EXPECT_EQ(Grade(u"214748365"), kHighest);
    EXPECT_EQ(Grade(u"-214748365"), kLowest);
    EXPECT_EQ(Grade(u"1e308"), kHighest);
    EXPECT_EQ(Grade(u"1e999"), kHighest);
    EXPECT_EQ(Grade(u"-1e999"), kLowest);
    EXPECT_EQ(Grade(CString(u'9', 5000)), kHighest);
    EXPECT_EQ(Grade(u"1e-999"), 0);
    EXPECT_EQ(Grade(u"0." + CString(u'0', 5000) + u"1"), 0);
    EXPECT_EQ(Grade(u"0e999"), 0);
}

TEST(FloorGrade, LooksAtTheWholeNumberToTellLargeFromSmall) {
    constexpr int kHighest = std::numeric_limits<int>::max();
    EXPECT_EQ(Grade(u"1e400层"), kHighest);
    EXPECT_EQ(Grade(u"0.1e400层"), kHighest);
    EXPECT_EQ(Grade(u"-.001e400"), std::numeric_limits<int>::min());
    EXPECT_EQ(Grade(u"0." + CString(u'0', 5000) + u"1e9000"), kHighest);
    EXPECT_EQ(Grade(u"0." + CString(u'0', 5000) + u"1e5003"), 1000);
    EXPECT_EQ(Grade(u"1" + CString(u'0', 5000) + u"e-5000"), 10);
    EXPECT_EQ(Grade(u"1" + CString(u'0', 500) + u"e-1000"), 0);
    EXPECT_EQ(Grade(u"000000000001e-400"), 0);
    EXPECT_EQ(Grade(u"1e999999999999999999999"), kHighest);
    EXPECT_EQ(Grade(u"0.1e999999999999999999999"), kHighest);
    EXPECT_EQ(Grade(u"1e-999999999999999999999"), 0);
    EXPECT_EQ(Grade(u"1e+400"), kHighest);
}

TEST(FloorGrade, TakesForABlankWhatIsTrimmed) {
    for (const char16_t blank : {u'\u3000', u'\u00A0', u'\u2003', u'\u0085', u'\u202F', u' '}) {
        const CString blanks = CString(blank) + u'\t' + blank;
        EXPECT_EQ(Grade(blanks + u"3层" + blanks), 30) << static_cast<unsigned>(blank);
        EXPECT_EQ(Grade(u"层" + blanks + u"3"), 30) << static_cast<unsigned>(blank);
        EXPECT_EQ(Grade(u"层" + blanks + u"-2.5层"), -25) << static_cast<unsigned>(blank);
        EXPECT_EQ(Grade(u"-" + blanks + u"3"), 0) << "no blank may part a sign from its number";
        EXPECT_EQ(Grade(u"3" + blanks + u"4"), 30) << static_cast<unsigned>(blank);
    }
}

// As the C library reads a number, which takes other words and blanks for parts of one: these are left to the pattern.
int GradeByPattern(const std::string& name) {
    static const std::regex number("^[ \t\n\v\f\r]*([+-]?([0-9]+\\.?[0-9]*|\\.[0-9]+)([eE][+-]?[0-9]+)?)");
    std::smatch found;
    if (!std::regex_search(name, found, number)) {
        return 0;
    }
    const double grade = std::strtod(found[1].str().c_str(), nullptr) * 10.0;
    return static_cast<int>(std::max(-2147483648.0, std::min(2147483647.0, grade)));
}

TEST(FloorGrade, IsWhatThePatternOfANumberSays) {
    std::mt19937 random(20240315);
    const std::vector<std::string> pieces{"0",    "00",   "1",   "7",   "25",  "999", ".",
                                          "e",    "E",    "+",   "-",   " ",   "\t",  "x",
                                          "400",  "e40",  "e-4", "inf", "nan", "0x",  std::string(330, '0'),
                                          "e330", "e-330"};
    for (int round = 0; round < 20'000; ++round) {
        std::string name;
        for (auto count = random() % 7; count > 0; --count) {
            name += pieces[random() % pieces.size()];
        }
        ASSERT_EQ(Grade(norvex::text::FromUtf8(name)), GradeByPattern(name)) << name;
    }
}

TEST(FloorGrade, DoesNotDependOnTheLocale) {
    if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) {
        GTEST_SKIP() << "SKIPPED: no locale with a decimal comma is installed; this promise was not tested.";
    }
    EXPECT_EQ(Grade(u"2.5层"), 25);
    std::setlocale(LC_ALL, "C");
}
