// SPDX-License-Identifier: Apache-2.0
#include "module/config/ConfigFixture.h"
#include "norvexdata/config/CheckLayoutFlangConfigParser.h"
#include "norvexdata/config/CheckPipeDiameterConfigParser.h"
#include "norvexdata/config/CheckPipeLinkConfigParser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>

namespace {

// The sample that ships, in the configuration folder.
class SampleConfig : public ConfigTest {
  protected:
    SampleConfig() {
        std::ifstream file(NORVEX_SAMPLE_CONFIG, std::ios::binary);
        WriteFile(std::string(std::istreambuf_iterator<char>(file), {}));
        KnowSmallCategories({L"管道"});
    }
};

TEST_F(SampleConfig, SaysWhatThePipeLoopRuleChecksAndHowSevereItIs) {
    const ConfigParser parser(NorvexConfig::Instance().GetCoinfigData(L"CCheckPipeLoop"));
    for (const CString specialty : {L"给排水", L"消防", L"暖通"}) {
        EXPECT_EQ(parser.CheckItems(specialty), (Group{{L"管线", {L"管道"}}}));
    }
    EXPECT_TRUE(parser.CheckItems(L"电气").empty());
    EXPECT_EQ(parser.CheckItems(L"severity"),
              (Group{{L"给排水", {L"ERR_SUSPECTED"}}, {L"消防", {L"ERR_REMIND"}}, {L"暖通", {L"ERR_REMIND"}}}));
}

TEST_F(SampleConfig, SaysHowPipesAreJoined) {
    const auto rules = CheckPipeLinkConfigParser().CheckRules();
    EXPECT_EQ(rules.size(), 10U);
    EXPECT_EQ(rules.at(L"镀锌钢管").strDefault, L"螺纹连接");
    for (const auto& [name, linkType] : rules) {
        EXPECT_EQ(std::count(linkType.vecAvailables.begin(), linkType.vecAvailables.end(), linkType.strDefault), 1)
            << "the default of a kind is among what is permitted";
    }
}

TEST_F(SampleConfig, SaysWhichDiametersAreCompared) {
    CheckPipeDiameterConfigParser parser;
    for (const CString specialty : {L"给排水", L"消防", L"暖通"}) {
        EXPECT_FALSE(parser.GetAttachments(specialty).empty());
        EXPECT_FALSE(parser.GetPipe(specialty).empty());
    }
    EXPECT_EQ(parser.GetAttachments(L"给排水"), (Group{{L"附件", {L"阀门", L"仪表"}}}));
}

TEST_F(SampleConfig, SaysWhereFlangesBelong) {
    CheckLayoutFlangConfigParser parser;
    const auto pump = parser.GetAttItem(CheckLayoutFlangConfigParser::eEquipment, L"给排水");
    EXPECT_EQ(pump.mapEquipment, (Group{{L"设备", {L"水泵"}}}));
    const auto tank = parser.GetAttItem(CheckLayoutFlangConfigParser::eWaterbox, L"给排水");
    EXPECT_EQ(tank.mapEquipment, (Group{{L"设备", {L"水箱"}}}));
    EXPECT_EQ(tank.mapPipe, (Group{{L"管线", {L"管道"}}}));
}

}  // namespace
