// SPDX-License-Identifier: Apache-2.0
#include "module/config/ConfigFixture.h"
#include "norvexdata/config/CheckPipeDiameterConfigParser.h"

#include <gtest/gtest.h>

namespace {

class DiameterConfig : public ConfigTest {
  protected:
    void WriteSection(const std::string& content) {
        WriteRules("<rule className='CCheckPipeDiameter'>" + content + "</rule>");
    }
};

constexpr const char* kAttachmentAndPipe =
    "<s name='给排水'><g name='attachment'><e name='附件'><v>阀门</v></e></g>"
    "<g name='pipe'><e name='管线'><v>管道</v></e></g></s>";

TEST_F(DiameterConfig, GivesTheGroupsOfTheSelector) {
    WriteSection(kAttachmentAndPipe);
    CheckPipeDiameterConfigParser parser;
    EXPECT_EQ(parser.GetAttachments(L"给排水"), (Group{{L"附件", {L"阀门"}}}));
    EXPECT_EQ(parser.GetPipe(L"给排水"), (Group{{L"管线", {L"管道"}}}));
    EXPECT_TRUE(parser.GetPipe(L"消防").empty());
}

TEST_F(DiameterConfig, GoesOnToALaterSelectorThatHoldsTheGroup) {
    WriteSection(
        "<s name='给排水'><g name='pipe'><e name='first'/></g></s>"
        "<s name='给排水'><g name='attachment'><e name='附件'><v>阀门</v></e></g><g name='pipe'><e "
        "name='second'/></g></s>");
    CheckPipeDiameterConfigParser parser;
    EXPECT_EQ(parser.GetAttachments(L"给排水"), (Group{{L"附件", {L"阀门"}}}));
    EXPECT_EQ(parser.GetPipe(L"给排水"), (Group{{L"first", {}}}));
}

TEST_F(DiameterConfig, StopsAtTheFirstGroupEvenWhenItIsEmpty) {
    WriteSection(
        "<s name='x'><g name='pipe'/><g name='pipe'><e name='later'/></g></s>"
        "<s name='x'><g name='pipe'><e name='latest'/></g></s>");
    EXPECT_TRUE(CheckPipeDiameterConfigParser().GetPipe(L"x").empty());
}

TEST_F(DiameterConfig, ExpandsAStarBelowTheSelector) {
    KnowSmallCategories({L"管道", L"立管"});
    WriteSection("<s name='给排水'><g name='pipe'><e name='管线'><v>*</v></e></g></s>");
    EXPECT_EQ(CheckPipeDiameterConfigParser().GetPipe(L"给排水"), (Group{{L"管线", {L"管道", L"立管"}}}));
}

TEST_F(DiameterConfig, ReadsTheDocumentAndTheCatalogueEachTime) {
    WriteSection("<s name='给排水'><g name='pipe'><e name='管线'><v>*</v></e></g></s>");
    CheckPipeDiameterConfigParser parser;
    EXPECT_EQ(parser.GetPipe(L"给排水"), (Group{{L"管线", {}}}));
    KnowSmallCategories({L"管道"});
    EXPECT_EQ(parser.GetPipe(L"给排水"), (Group{{L"管线", {L"管道"}}}));
}

TEST_F(DiameterConfig, ComparesNamesExactly) {
    WriteSection("<s name='Water'><g name='Pipe'><e name='a'/></g><g name='pipe '><e name='b'/></g></s>");
    CheckPipeDiameterConfigParser parser;
    EXPECT_TRUE(parser.GetPipe(L"Water").empty());
    EXPECT_TRUE(parser.GetPipe(L"water").empty());
}

TEST_F(DiameterConfig, IsEmptyWithoutASection) {
    CheckPipeDiameterConfigParser parser;
    EXPECT_TRUE(parser.GetAttachments(L"给排水").empty());
    WriteSection(kAttachmentAndPipe);
    // The section is looked for when the parser is made.
    EXPECT_TRUE(parser.GetPipe(L"给排水").empty());
    EXPECT_FALSE(CheckPipeDiameterConfigParser().GetPipe(L"给排水").empty());
}

}  // namespace
