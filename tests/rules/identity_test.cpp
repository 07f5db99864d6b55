// SPDX-License-Identifier: Apache-2.0
#include "sdk/rule/Identity.h"
#include "sdk/rule/Describe.h"

#include "platform/zrow/Drawing.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

namespace {

using norvex::Drawing;
using norvex::rule::FeatureCodeOf;
using norvex::rule::IdentityOf;
using norvex::rule::LocationOf;
using norvex::rule::NominalDiameterOf;
using norvex::rule::NumberIn;
using norvex::rule::WhereClause;

const char* const kTank = "给排水\\设备\\水箱\\Tank";

CString IdentityAt(const AcGePoint3d& place) {
    Drawing drawing;
    drawing.node(place, kTank);
    return IdentityOf(*drawing.at<ZrOwEntity>(0));
}

CString CodeAt(const AcGePoint3d& place) {
    Drawing drawing;
    drawing.node(place, kTank);
    NS_NORVEX::RuleInfo rule;
    rule.strName = u"CRule";
    return FeatureCodeOf(rule, u"s", drawing.entities());
}

double DiameterOf(const char* detailName, const char* property = "") {
    Drawing drawing;
    drawing.node({0, 0, 0}, (std::string("给排水\\管线\\管道\\") + detailName).c_str());
    drawing.property(kPropertyNominalDiameter, property);
    return NominalDiameterOf(*drawing.at<ZrOwEntity>(0));
}

}  // namespace

TEST(FindingIdentity, OfAnObjectWithoutGlobalIdIsItsPathAndPlaceToTheMillimetre) {
    EXPECT_EQ(IdentityAt({1000.4, -200.6, 3}), u"给排水\\设备\\水箱\\Tank@1000,-201,3");
    EXPECT_EQ(IdentityAt({0, 0, 0}), u"给排水\\设备\\水箱\\Tank@0,0,0");
}

TEST(FindingIdentity, KnowsNoZeroBelowZero) {
    for (const double nothing : {-0.0, -0.3, -0.5, -1e-300, 0.3, 0.5}) {
        EXPECT_EQ(IdentityAt({nothing, nothing, nothing}), IdentityAt({0, 0, 0})) << nothing;
        EXPECT_EQ(CodeAt({nothing, 5, nothing}), CodeAt({0, 5, 0})) << nothing;
    }
    EXPECT_NE(CodeAt({-0.7, 0, 0}), CodeAt({0, 0, 0}));
    EXPECT_NE(CodeAt({-0.7, 0, 0}), CodeAt({0.7, 0, 0}));
}

TEST(FindingIdentity, DiffersWhereWholeMillimetresDo) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> coordinates(-3.0, 3.0);
    for (int round = 0; round < 2000; ++round) {
        const double x = coordinates(random);
        const double y = coordinates(random);
        // As printf rounds: halves to even.
        const bool isSame = std::nearbyint(x) == std::nearbyint(y);
        ASSERT_EQ(IdentityAt({x, 0, 0}) == IdentityAt({y, 0, 0}), isSame) << x << " " << y;
    }
}

TEST(FindingLocation, IsEmptyWithoutObjects) {
    EXPECT_EQ(LocationOf({}, u""), u"");
    EXPECT_EQ(LocationOf({}, u"构件删除"), u"");
}

TEST(FindingLocation, HasTheRepairBehindTheObjects) {
    Drawing drawing;
    drawing.node({0, 0, 0}, kTank).node({1, 0, 0}, kTank);
    EXPECT_EQ(LocationOf(drawing.entities(), u""), u"定位:构件定位:1:构件错误:1,2");
    EXPECT_EQ(LocationOf(drawing.entities(), u"构件删除"), u"定位:构件定位:1:构件错误:1,2-修复:构件删除:1,2");
}

TEST(FindingSentence, KnowsNoZeroBelowZero) {
    Drawing drawing;
    drawing.node({-0.001, -4.9, -5.1}, kTank);
    EXPECT_EQ(WhereClause(drawing.entities(), u"1F"), u"on floor \"1F\", around x 0.00, y 0.00, z -0.01 m");
}

TEST(NumberInAText, IsTheOneAtItsBeginning) {
    EXPECT_EQ(NumberIn(u"80"), 80.0);
    EXPECT_EQ(NumberIn(u"33.7 mm"), 33.7);
    EXPECT_EQ(NumberIn(u" 80"), 80.0);
    EXPECT_EQ(NumberIn(u"\u3000+80"), 80.0);
    EXPECT_EQ(NumberIn(u"0080"), 80.0);
    EXPECT_EQ(NumberIn(u"12,5"), 12.0) << "a decimal comma ends a number";
    EXPECT_EQ(NumberIn(u"mm 80"), 0.0);
    EXPECT_EQ(NumberIn(u""), 0.0);
}

TEST(NumberInAText, IsNoWord) {
    for (const char16_t* word : {u"inf", u"-inf", u"infinity", u"nan", u"nan(1)", u"NAN"}) {
        EXPECT_EQ(NumberIn(word), 0.0) << norvex::text::ToUtf8(word);
    }
}

TEST(NumberInAText, SaturatesBeyondADouble) {
    EXPECT_EQ(NumberIn(u"1e999999"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(NumberIn(u"-0.1e999999"), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(NumberIn(u"1e-999999"), 0.0);
}

TEST(NominalDiameter, IsAPositiveNumberThatADoubleHoldsOrNotKnown) {
    EXPECT_EQ(DiameterOf("DN 65"), 65.0);
    EXPECT_EQ(DiameterOf("DN65", "80"), 80.0);
    EXPECT_EQ(DiameterOf("DN65", "nan"), 65.0);
    EXPECT_EQ(DiameterOf("DN65", "inf"), 65.0);
    EXPECT_EQ(DiameterOf("DN65", "1e999999"), 65.0);
    EXPECT_EQ(DiameterOf("DN65", "-80"), 65.0);
    EXPECT_EQ(DiameterOf("DN1e999999"), 0.0);
    EXPECT_EQ(DiameterOf("DN-65"), 0.0);
    EXPECT_EQ(DiameterOf("DNanschluss"), 0.0);
    EXPECT_EQ(DiameterOf("DNinfinity"), 0.0);
}
