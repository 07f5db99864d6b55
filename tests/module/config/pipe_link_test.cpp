// SPDX-License-Identifier: Apache-2.0
#include "module/config/ConfigFixture.h"
#include "norvexdata/config/CheckPipeLinkConfigParser.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

class PipeLinkConfig : public ConfigTest {
  protected:
    // The rules of a section with this content.
    std::map<CString, CheckPipeLinkConfigParser::LinkType> Rules(const std::string& content) {
        WriteRules("<rule className='CCheckPipeLinkInvalid'>" + content + "</rule>");
        return CheckPipeLinkConfigParser().CheckRules();
    }
};

using Texts = std::vector<CString>;

TEST_F(PipeLinkConfig, GivesEachNameTheItemsDefaultAndAvailables) {
    const auto rules = Rules(
        "<checkrules><item><names><n>钢管</n><n>铜管</n></names><default>焊接</default>"
        "<availables><t>焊接</t><t>法兰连接</t></availables></item></checkrules>");
    ASSERT_EQ(rules.size(), 2U);
    EXPECT_EQ(rules.at(L"钢管").strDefault, L"焊接");
    EXPECT_EQ(rules.at(L"铜管").vecAvailables, (Texts{L"焊接", L"法兰连接"}));
}

TEST_F(PipeLinkConfig, KeepsTheFirstItemThatNamesAKind) {
    const auto rules = Rules(
        "<checkrules><item><names><n>a</n></names><default>1</default><availables><t>x</t></availables></item>"
        "<item><names><n>a</n><n>b</n></names><default>2</default></item></checkrules>");
    ASSERT_EQ(rules.size(), 2U);
    EXPECT_EQ(rules.at(L"a").strDefault, L"1");
    EXPECT_EQ(rules.at(L"a").vecAvailables, Texts{L"x"});
    EXPECT_EQ(rules.at(L"b").strDefault, L"2");
}

TEST_F(PipeLinkConfig, HoldsANameOnceThatStandsTwiceInOneItem) {
    EXPECT_EQ(Rules("<checkrules><item><names><n>a</n><n>a</n></names></item></checkrules>").size(), 1U);
}

TEST_F(PipeLinkConfig, KeepsTheAvailablesWithoutADefault) {
    const auto rules =
        Rules("<checkrules><item><names><n>a</n></names><availables><t>x</t></availables></item></checkrules>");
    EXPECT_EQ(rules.at(L"a").strDefault, L"");
    EXPECT_EQ(rules.at(L"a").vecAvailables, Texts{L"x"});
}

TEST_F(PipeLinkConfig, KeepsDuplicatesAmongTheAvailables) {
    const auto rules = Rules(
        "<checkrules><item><names><n>a</n></names><availables><t>x</t><t>y</t><t>x</t></availables></item>"
        "</checkrules>");
    EXPECT_EQ(rules.at(L"a").vecAvailables, (Texts{L"x", L"y", L"x"}));
}

TEST_F(PipeLinkConfig, ReadsTheFirstCheckrulesAlone) {
    const auto rules = Rules(
        "<checkrules><item><names><n>a</n></names></item></checkrules>"
        "<checkrules><item><names><n>b</n></names></item></checkrules>");
    ASSERT_EQ(rules.size(), 1U);
    EXPECT_TRUE(rules.contains(L"a"));
}

TEST_F(PipeLinkConfig, TakesTheLastDefaultAndAddsUpNamesAndAvailables) {
    const auto rules = Rules(
        "<checkrules><item><default>1</default><availables><t>x</t></availables><names><n>a</n></names>"
        "<names><n>b</n></names><default>2</default><availables><t>y</t></availables></item></checkrules>");
    ASSERT_EQ(rules.size(), 2U);
    EXPECT_EQ(rules.at(L"b").strDefault, L"2");
    EXPECT_EQ(rules.at(L"a").vecAvailables, (Texts{L"x", L"y"}));
}

TEST_F(PipeLinkConfig, IgnoresOtherTags) {
    const auto rules = Rules(
        "<checkrules><Item><names><n>a</n></names></Item><item><other><n>b</n></other><Names><n>c</n></Names></item>"
        "</checkrules>");
    EXPECT_TRUE(rules.empty());
}

TEST_F(PipeLinkConfig, ContributesNothingWithoutNames) {
    EXPECT_TRUE(Rules("<checkrules><item><default>1</default></item></checkrules>").empty());
}

TEST_F(PipeLinkConfig, NeitherTrimsNorTestsTexts) {
    const auto rules =
        Rules("<checkrules><item><names><n/><n> a </n></names><default> 1</default></item></checkrules>");
    ASSERT_EQ(rules.size(), 2U);
    EXPECT_EQ(rules.at(L"").strDefault, L" 1");
    EXPECT_TRUE(rules.contains(L" a "));
}

TEST_F(PipeLinkConfig, SkipsNamesThatCannotBeRead) {
    norvex::xml::SetFaults({.createFails = false, .unenumerableTag = {}, .unreadableTextTag = L"bad"});
    const auto rules = Rules(
        "<checkrules><item><names><bad>a</bad><n>b</n></names><availables><bad>x</bad><t>y</t></availables></item>"
        "</checkrules>");
    ASSERT_EQ(rules.size(), 1U);
    EXPECT_EQ(rules.at(L"b").vecAvailables, Texts{L"y"});
}

TEST_F(PipeLinkConfig, IsEmptyWhenTheCheckrulesCannotBeEnumerated) {
    norvex::xml::SetFaults({.createFails = false, .unenumerableTag = L"checkrules", .unreadableTextTag = {}});
    EXPECT_TRUE(Rules("<checkrules><item><names><n>a</n></names></item></checkrules>").empty());
}

TEST_F(PipeLinkConfig, IsEmptyWithoutFileSectionOrCheckrules) {
    EXPECT_TRUE(CheckPipeLinkConfigParser().CheckRules().empty());
    EXPECT_TRUE(Rules("<CheckRules/>").empty());
}

TEST_F(PipeLinkConfig, DoesNotSeeAFileThatComesAfterIt) {
    const CheckPipeLinkConfigParser parser;
    EXPECT_EQ(Rules("<checkrules><item><names><n>a</n></names></item></checkrules>").size(), 1U);
    EXPECT_TRUE(parser.CheckRules().empty());
}

TEST_F(PipeLinkConfig, IsAValue) {
    Rules(
        "<checkrules><item><names><n>a</n></names></item></checkrules><checkitems><g name='s'><e "
        "name='k'/></g></checkitems>");
    const CheckPipeLinkConfigParser parser;
    const CheckPipeLinkConfigParser copy = parser;
    EXPECT_EQ(copy.CheckRules().size(), 1U);
    EXPECT_EQ(copy.CheckItems(L"s"), (Group{{L"k", {}}}));
}

}  // namespace
