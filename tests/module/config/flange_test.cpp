// SPDX-License-Identifier: Apache-2.0
#include "module/config/ConfigFixture.h"
#include "norvexdata/config/CheckLayoutFlangConfigParser.h"

#include <gtest/gtest.h>

namespace {

using Parser = CheckLayoutFlangConfigParser;

static_assert(Parser::eEquipment == 0);
static_assert(Parser::eWaterbox == 1);

class FlangeConfig : public ConfigTest {
  protected:
    void WriteSection(const std::string& content) {
        WriteRules("<rule className='CCheckLayoutFlange'>" + content + "</rule>");
    }
};

TEST_F(FlangeConfig, GivesBothGroupsOfKindAndSelector) {
    WriteSection(
        "<k name='equipment'><s name='给排水'><g name='equipment'><e name='设备'><v>水泵</v></e></g>"
        "<g name='pipe'><e name='管线'><v>管道</v></e></g></s></k>"
        "<k name='waterbox'><s name='给排水'><g name='equipment'><e name='设备'><v>水箱</v></e></g></s></k>");
    const Parser::AttItem equipment = Parser().GetAttItem(Parser::eEquipment, L"给排水");
    EXPECT_EQ(equipment.mapEquipment, (Group{{L"设备", {L"水泵"}}}));
    EXPECT_EQ(equipment.mapPipe, (Group{{L"管线", {L"管道"}}}));
    const Parser::AttItem waterbox = Parser().GetAttItem(Parser::eWaterbox, L"给排水");
    EXPECT_EQ(waterbox.mapEquipment, (Group{{L"设备", {L"水箱"}}}));
    EXPECT_TRUE(waterbox.mapPipe.empty());
}

TEST_F(FlangeConfig, TakesTheLastOfTwoMatchingSelectors) {
    WriteSection(
        "<k name='equipment'><s name='x'><g name='equipment'><e name='first'/></g><g name='pipe'><e name='p'/></g></s>"
        "<s name='y'><g name='equipment'><e name='other'/></g></s>"
        "<s name='x'><g name='equipment'><e name='second'/></g></s></k>");
    const Parser::AttItem item = Parser().GetAttItem(Parser::eEquipment, L"x");
    EXPECT_EQ(item.mapEquipment, (Group{{L"second", {}}}));
    EXPECT_EQ(item.mapPipe, (Group{{L"p", {}}}));
}

TEST_F(FlangeConfig, TakesTheLastOfTwoGroupsEvenWhenItIsEmpty) {
    WriteSection("<k name='equipment'><s name='x'><g name='pipe'><e name='p'/></g><g name='pipe'/></s></k>");
    EXPECT_TRUE(Parser().GetAttItem(Parser::eEquipment, L"x").mapPipe.empty());
}

TEST_F(FlangeConfig, IsEmptyForAKindThatTheFileDoesNotHave) {
    WriteSection("<k name='equipment'><s name='x'><g name='equipment'><e name='a'/></g></s></k>");
    const Parser::AttItem item = Parser().GetAttItem(Parser::eWaterbox, L"x");
    EXPECT_TRUE(item.mapEquipment.empty());
    EXPECT_TRUE(item.mapPipe.empty());
}

TEST_F(FlangeConfig, IsEmptyForAnyOtherKind) {
    WriteSection("<k name=''><s name='x'><g name='pipe'><e name='a'/></g></s></k>");
    EXPECT_TRUE(Parser().GetAttItem(static_cast<Parser::EqipmentType>(2), L"x").mapPipe.empty());
    EXPECT_TRUE(Parser().GetAttItem(static_cast<Parser::EqipmentType>(-1), L"x").mapPipe.empty());
}

TEST_F(FlangeConfig, ReadsTheFirstElementOfAKindAlone) {
    WriteSection(
        "<k name='equipment'><s name='x'><g name='pipe'><e name='a'/></g></s></k>"
        "<k name='equipment'><s name='x'><g name='pipe'><e name='b'/></g></s></k>");
    EXPECT_EQ(Parser().GetAttItem(Parser::eEquipment, L"x").mapPipe, (Group{{L"a", {}}}));
}

TEST_F(FlangeConfig, ExpandsAStarBelowTheSelector) {
    KnowSmallCategories({L"管道", L"立管"});
    WriteSection("<k name='waterbox'><s name='给排水'><g name='pipe'><e name='管线'><v>*</v></e></g></s></k>");
    EXPECT_EQ(Parser().GetAttItem(Parser::eWaterbox, L"给排水").mapPipe, (Group{{L"管线", {L"管道", L"立管"}}}));
}

TEST_F(FlangeConfig, IsEmptyWithoutASection) {
    EXPECT_TRUE(Parser().GetAttItem(Parser::eEquipment, L"给排水").mapEquipment.empty());
}

}  // namespace
