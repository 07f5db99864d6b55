// SPDX-License-Identifier: Apache-2.0
#include <string_view>

#include "Stands.h"
#include "norvexdata/config/CheckLayoutFlangConfigParser.h"
#include "norvexdata/config/CheckPipeDiameterConfigParser.h"
#include "norvexdata/config/CheckPipeLinkConfigParser.h"
#include "norvexdata/config/ConfigParser.h"
#include "norvexdata/config/NorvexConfig.h"
#include "platform/kernel/NativePath.h"
#include "support/TemporaryFolder.h"

using norvex::contract::Groups;
using norvex::contract::Names;
using norvex::contract::Texts;
using Link = CheckPipeLinkConfigParser::LinkType;
using Flange = CheckLayoutFlangConfigParser;

namespace {

// The configuration is loaded once per process, so each of these tests needs one of its own; ctest gives it.
class ConfigurationContract : public norvex::contract::CleanRun {
  protected:
    void SetUp() override {
        static bool isUsed = false;
        if (isUsed) {
            GTEST_SKIP() << "SKIPPED: this process has a configuration already; run the tests through ctest.";
        }
        isUsed = true;
        UseFolder(folder);
    }
    ~ConfigurationContract() override { norvex::xml::SetFaults({}); }

    static void UseFolder(const TemporaryFolder& folder) {
        norvex::profile::SetDirectories({L"", norvex::kernel::FromNativePath(folder.Path().string())});
    }
    // Makes the file with these rule elements.
    void Write(const std::string& rules) const { folder.Write("NorvexConfig.xml", "<config>" + rules + "</config>"); }

    // The group map of the only rule's "checkitems".
    Groups CheckItems(const std::string& groups, const CString& name) const {
        Write("<rule className='R'><checkitems>" + groups + "</checkitems></rule>");
        return ConfigParser(Section(L"R")).CheckItems(name);
    }
    static boost::shared_ptr<ConfigData> Section(const CString& className) {
        return NorvexConfig::Instance().GetCoinfigData(className);
    }
    static std::string ClassName(const boost::shared_ptr<ConfigData>& section) {
        return norvex::contract::Narrow(ZrWindowsTool::MSXMLUtilityPtr::GetAttributeValue(section->spRuleNode, L"id"));
    }

    TemporaryFolder folder;
};

class LinkRuleContract : public ConfigurationContract {
  protected:
    std::map<CString, Link> Rules(const std::string& section) const {
        Write("<rule className='CCheckPipeLinkInvalid'>" + section + "</rule>");
        return CheckPipeLinkConfigParser().CheckRules();
    }
};

class DiameterRuleContract : public ConfigurationContract {
  protected:
    CheckPipeDiameterConfigParser Parser(const std::string& section) const {
        Write("<rule className='CCheckPipeDiameter'>" + section + "</rule>");
        return CheckPipeDiameterConfigParser();
    }
};

class FlangeRuleContract : public ConfigurationContract {
  protected:
    Flange Parser(const std::string& section) const {
        Write("<rule className='CCheckLayoutFlange'>" + section + "</rule>");
        return Flange();
    }
};

}  // namespace

// --- the file and its sections ---

TEST_F(ConfigurationContract, AMissingFileIsPickedUpOnceItIsThere) {
    EXPECT_FALSE(NorvexConfig::Instance().IsValid());
    EXPECT_FALSE(Section(L"R"));
    Write("<rule className='R'/>");
    EXPECT_TRUE(NorvexConfig::Instance().IsValid());
    EXPECT_TRUE(Section(L"R"));
}

TEST_F(ConfigurationContract, ABrokenFileIsTriedAgain) {
    folder.Write("NorvexConfig.xml", "<config><rule className='R'>");
    EXPECT_FALSE(NorvexConfig::Instance().IsValid());
    EXPECT_FALSE(Section(L"R"));
    Write("<rule className='R'/>");
    EXPECT_TRUE(Section(L"R"));
}

TEST_F(ConfigurationContract, EditsAfterTheFirstLoadAreNotSeen) {
    Write("<rule className='R'/>");
    NorvexConfig* const first = &NorvexConfig::Instance();
    Write("<rule className='S'/>");
    EXPECT_EQ(&NorvexConfig::Instance(), first);
    EXPECT_TRUE(Section(L"R"));
    EXPECT_FALSE(Section(L"S"));
}

TEST_F(ConfigurationContract, TheFolderIsAskedForOnce) {
    EXPECT_FALSE(NorvexConfig::Instance().IsValid());
    const TemporaryFolder other;
    other.Write("NorvexConfig.xml", "<config/>");
    UseFolder(other);
    EXPECT_FALSE(NorvexConfig::Instance().IsValid());
    Write("");
    EXPECT_TRUE(NorvexConfig::Instance().IsValid());
}

TEST_F(ConfigurationContract, ADocumentThatCannotBeMadeLeavesItToTheNextCall) {
    Write("<rule className='R'/>");
    norvex::xml::Faults faults;
    faults.createFails = true;
    norvex::xml::SetFaults(faults);
    EXPECT_FALSE(NorvexConfig::Instance().IsValid());
    norvex::xml::SetFaults({});
    EXPECT_TRUE(NorvexConfig::Instance().IsValid());
}

TEST_F(ConfigurationContract, OfTwoSectionsOfOneClassTheFirstCounts) {
    Write("<rule className='R' id='1'/><rule className='R' id='2'/>");
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(Section(L"R"));
        EXPECT_EQ(ClassName(Section(L"R")), "1");
    }
}

TEST_F(ConfigurationContract, ClassNamesAndTagsMatchExactly) {
    Write("<Rule className='R' id='1'/><rules className='R' id='2'/><rule ClassName='R'/><rule className='R' id='4'/>");
    EXPECT_FALSE(Section(L"r"));
    EXPECT_FALSE(Section(L"R "));
    ASSERT_TRUE(Section(L"R"));
    EXPECT_EQ(ClassName(Section(L"R")), "4");
}

TEST_F(ConfigurationContract, SectionsAreLookedForBelowTheDocumentElementOnly) {
    Write("<group><rule className='R'/></group>");
    EXPECT_FALSE(Section(L"R"));
    EXPECT_TRUE(NorvexConfig::Instance().IsValid());
}

TEST_F(ConfigurationContract, EverySectionIsANewHandle) {
    Write("<rule className='R'/>");
    EXPECT_NE(Section(L"R"), Section(L"R"));
}

TEST_F(ConfigurationContract, AssigningTheConfigurationSharesItsState) {
    Write("<rule className='R'/>");
    NorvexConfig& instance = NorvexConfig::Instance();
    NorvexConfig& same = instance;
    instance = same;
    EXPECT_TRUE(instance.IsValid());
}

// --- the group of a check ---

TEST_F(ConfigurationContract, EntriesOfOneNameAreUnited) {
    EXPECT_EQ(CheckItems("<g name='N'><e name='A'><v>x</v></e><e name='B'><v>q</v></e>"
                         "<other name='A'><w>y</w><w>x</w></other></g>",
                         L"N"),
              (Groups{{L"A", {L"x", L"y"}}, {L"B", {L"q"}}}));
}

TEST_F(ConfigurationContract, AStarWithoutKnownSmallCategoriesGivesAnEmptySet) {
    EXPECT_EQ(CheckItems("<g name='N'><e name='A'><v>*</v></e></g>", L"N"), (Groups{{L"A", {}}}));
}

TEST_F(ConfigurationContract, AStarStandsForTheSmallCategoriesBelowTheGroupsName) {
    norvex::datamng::ProjectData project;
    project.AddSmallCategory(L"给排水", L"管线", L"给水管");
    project.AddSmallCategory(L"给排水", L"管线", L"排水管");
    project.AddSmallCategory(L"消防", L"管线", L"喷淋管");
    norvex::datamng::SetCurrentProject(project);
    EXPECT_EQ(CheckItems("<g name='给排水'><e name='管线'><v>before</v><v>*</v><v>after</v></e></g>", L"给排水"),
              (Groups{{L"管线", {L"给水管", L"排水管", L"after"}}}));
}

TEST_F(ConfigurationContract, AStarDiscardsWhatStandsBeforeItInItsOwnEntryAlone) {
    EXPECT_EQ(CheckItems("<g name='N'><e name='A'><v>x</v></e><e name='A'><v>y</v><v>*</v><v>z</v></e></g>", L"N"),
              (Groups{{L"A", {L"x", L"z"}}}));
}

TEST_F(ConfigurationContract, EmptyValuesAddNothing) {
    EXPECT_EQ(CheckItems("<g name='N'><e name='A'><v></v><v/><v>x</v></e><e name='B'><v/></e></g>", L"N"),
              (Groups{{L"A", {L"x"}}, {L"B", {}}}));
}

TEST_F(ConfigurationContract, AnEntryWithoutValuesKeepsItsKeyAndOneThatCannotBeReadDoesNot) {
    norvex::xml::Faults faults;
    faults.unenumerableTag = L"bad";
    norvex::xml::SetFaults(faults);
    EXPECT_EQ(CheckItems("<g name='N'><bad name='A'><v>x</v></bad><e name='B'/></g>", L"N"), (Groups{{L"B", {}}}));
}

TEST_F(ConfigurationContract, AnEntryWithoutANameHasTheEmptyKey) {
    EXPECT_EQ(CheckItems("<g name='N'><e><v>x</v></e></g>", L"N"), (Groups{{L"", {L"x"}}}));
}

TEST_F(ConfigurationContract, TheFirstGroupOfTheNameCountsWhateverItsTag) {
    const std::string groups =
        "<g name='n'><e name='0'/></g><h name='N'><e name='1'/></h><g name='N'><e name='2'/></g><g><e name='3'/></g>";
    EXPECT_EQ(CheckItems(groups, L"N"), (Groups{{L"1", {}}}));
    const ConfigParser parser(Section(L"R"));
    EXPECT_TRUE(parser.CheckItems(L"unknown").empty());
    EXPECT_EQ(parser.CheckItems(L""), (Groups{{L"3", {}}}));
}

TEST_F(ConfigurationContract, OnlyTheFirstCheckitemsElementIsRead) {
    Write(
        "<rule className='R'><CheckItems><g name='N'><e name='0'/></g></CheckItems>"
        "<checkitems><g name='M'><e name='1'/></g></checkitems><checkitems><g name='N'><e name='2'/></g></checkitems>"
        "</rule><rule className='S'/>");
    const ConfigParser parser(Section(L"R"));
    EXPECT_EQ(parser.CheckItems(L"M"), (Groups{{L"1", {}}}));
    EXPECT_TRUE(parser.CheckItems(L"N").empty());
    EXPECT_TRUE(ConfigParser(Section(L"S")).CheckItems(L"M").empty());
}

TEST_F(ConfigurationContract, AParserWithoutASectionIsEmptyAndTakesOneLater) {
    Write("<rule className='R'><checkitems><g name='N'><e name='1'/></g></checkitems></rule>");
    ConfigParser parser;
    EXPECT_TRUE(parser.CheckItems(L"N").empty());
    parser.SetConfigData(Section(L"R"));
    EXPECT_EQ(parser.CheckItems(L"N").size(), 1U);
    const ConfigParser copy(parser);
    parser.SetConfigData(boost::shared_ptr<ConfigData>());
    EXPECT_TRUE(parser.CheckItems(L"N").empty());
    EXPECT_EQ(copy.CheckItems(L"N").size(), 1U);
}

// --- link types of pipes ---

TEST_F(LinkRuleContract, OfTwoItemsForOneKindTheFirstCounts) {
    const auto rules = Rules(
        "<checkrules><item><names><n>镀锌管</n></names><default>螺纹</default><availables><a>螺纹</a><a>沟槽</a>"
        "</availables></item><item><names><n>镀锌管</n><n>钢管</n></names><default>焊接</default></item></checkrules>");
    ASSERT_EQ(rules.size(), 2U);
    EXPECT_EQ(rules.at(L"镀锌管").strDefault, L"螺纹");
    EXPECT_EQ(rules.at(L"镀锌管").vecAvailables, (Texts{L"螺纹", L"沟槽"}));
    EXPECT_EQ(rules.at(L"钢管").strDefault, L"焊接");
    EXPECT_TRUE(rules.at(L"钢管").vecAvailables.empty());
}

TEST_F(LinkRuleContract, ANameTwiceInOneItemIsOneEntry) {
    const auto rules =
        Rules("<checkrules><item><names><n>A</n><m>A</m></names><default>d</default></item></checkrules>");
    ASSERT_EQ(rules.size(), 1U);
    EXPECT_EQ(rules.at(L"A").strDefault, L"d");
}

TEST_F(LinkRuleContract, AMissingDefaultIsEmptyAndTheAvailableTypesStay) {
    const auto rules =
        Rules("<checkrules><item><names><n>A</n></names><availables><a>x</a></availables></item></checkrules>");
    EXPECT_TRUE(rules.at(L"A").strDefault.IsEmpty());
    EXPECT_EQ(rules.at(L"A").vecAvailables, (Texts{L"x"}));
}

TEST_F(LinkRuleContract, AvailableTypesKeepOrderAndDuplicates) {
    const auto rules = Rules(
        "<checkrules><item><availables><a>z</a><b>x</b></availables><names><n>A</n></names>"
        "<availables><a>z</a></availables></item></checkrules>");
    EXPECT_EQ(rules.at(L"A").vecAvailables, (Texts{L"z", L"x", L"z"}));
}

TEST_F(LinkRuleContract, OnlyTheFirstCheckrulesElementIsRead) {
    const auto rules = Rules(
        "<other/><checkrules><item><names><n>A</n></names></item></checkrules>"
        "<checkrules><item><names><n>B</n></names></item></checkrules>");
    EXPECT_EQ(rules.size(), 1U);
    EXPECT_EQ(rules.count(L"A"), 1U);
}

TEST_F(LinkRuleContract, NamesAddUpAndTheLastDefaultWins) {
    const auto rules = Rules(
        "<checkrules><item><names><n>A</n></names><default>1</default><names><n>B</n></names><default>2</default>"
        "<default/></item><item><names><n>C</n></names><default>1</default><default>2</default></item></checkrules>");
    ASSERT_EQ(rules.size(), 3U);
    EXPECT_EQ(rules.at(L"A").strDefault, L"");
    EXPECT_EQ(rules.at(L"B").strDefault, L"");
    EXPECT_EQ(rules.at(L"C").strDefault, L"2");
}

TEST_F(LinkRuleContract, OtherElementsAreIgnoredAndItemsStartAfresh) {
    const auto rules = Rules(
        "<checkrules><Item><names><n>A</n></names></Item><item><names><n>B</n></names><default>d</default>"
        "<availables><a>x</a></availables><note>n</note></item><item><default>e</default></item>"
        "<item><names><n>C</n></names></item></checkrules>");
    ASSERT_EQ(rules.size(), 2U);
    EXPECT_EQ(rules.at(L"B").vecAvailables, (Texts{L"x"}));
    EXPECT_EQ(rules.at(L"C").strDefault, L"");
    EXPECT_TRUE(rules.at(L"C").vecAvailables.empty());
}

TEST_F(LinkRuleContract, AnEmptyNameIsTheEmptyKeyAndOneThatCannotBeReadIsSkipped) {
    norvex::xml::Faults faults;
    faults.unreadableTextTag = L"bad";
    norvex::xml::SetFaults(faults);
    const auto rules = Rules(
        "<checkrules><item><names><n/><bad>A</bad></names><availables><a/><bad>x</bad></availables></item></"
        "checkrules>");
    ASSERT_EQ(rules.size(), 1U);
    EXPECT_EQ(rules.at(L"").vecAvailables, (Texts{L""}));
}

TEST_F(LinkRuleContract, AFileThatComesLaterIsNotSeenByTheParser) {
    const CheckPipeLinkConfigParser early;
    EXPECT_EQ(Rules("<checkrules><item><names><n>A</n></names></item></checkrules>").size(), 1U);
    EXPECT_TRUE(early.CheckRules().empty());
}

TEST_F(LinkRuleContract, ASectionWithoutRulesGivesNone) {
    EXPECT_TRUE(Rules("<item><names><n>A</n></names></item>").empty());
}

TEST_F(LinkRuleContract, RulesThatCannotBeEnumeratedGiveNone) {
    norvex::xml::Faults faults;
    faults.unenumerableTag = L"checkrules";
    norvex::xml::SetFaults(faults);
    EXPECT_TRUE(Rules("<checkrules><item><names><n>A</n></names></item></checkrules>").empty());
}

TEST_F(LinkRuleContract, CopiesCarryRulesAndSection) {
    Write(
        "<rule className='CCheckPipeLinkInvalid'><checkitems><g name='N'><e name='1'/></g></checkitems>"
        "<checkrules><item><names><n>A</n></names></item></checkrules></rule>");
    const CheckPipeLinkConfigParser parser;
    const CheckPipeLinkConfigParser copy(parser);
    EXPECT_EQ(copy.CheckRules().count(L"A"), 1U);
    EXPECT_EQ(copy.CheckItems(L"N").size(), 1U);
}

// --- categories of the diameter check ---

TEST_F(DiameterRuleContract, ALaterSelectorElementMayHoldTheGroup) {
    CheckPipeDiameterConfigParser parser = Parser(
        "<s name='水'><g name='pipe'><e name='P'><v>1</v></e></g></s>"
        "<s name='水'><g name='attachment'><e name='A'><v>2</v></e></g><g name='pipe'><e name='Q'/></g></s>");
    EXPECT_EQ(parser.GetAttachments(L"水"), (Groups{{L"A", {L"2"}}}));
    EXPECT_EQ(parser.GetPipe(L"水"), (Groups{{L"P", {L"1"}}}));
}

TEST_F(DiameterRuleContract, NamesMatchExactlyAndTagsDoNotCount) {
    CheckPipeDiameterConfigParser parser = Parser(
        "<s name='w'><g name='pipe'><e name='0'/></g></s>"
        "<any name='W'><g name='Pipe'><e name='1'/></g><tag name='pipe'><e name='2'/></tag></any>");
    EXPECT_EQ(parser.GetPipe(L"W"), (Groups{{L"2", {}}}));
    EXPECT_TRUE(parser.GetAttachments(L"W").empty());
    EXPECT_TRUE(parser.GetPipe(L"unknown").empty());
}

TEST_F(DiameterRuleContract, AStarExpandsBelowTheSelector) {
    norvex::datamng::ProjectData project;
    project.AddSmallCategory(L"给排水", L"附件", L"阀门");
    project.AddSmallCategory(L"给排水", L"附件", L"水表");
    norvex::datamng::SetCurrentProject(project);
    CheckPipeDiameterConfigParser parser =
        Parser("<s name='给排水'><g name='attachment'><e name='附件'><v>*</v></e></g></s>");
    EXPECT_EQ(parser.GetAttachments(L"给排水"), (Groups{{L"附件", {L"阀门", L"水表"}}}));
}

TEST_F(DiameterRuleContract, WithoutASectionNothingIsFound) {
    Write("<rule className='ccheckpipediameter'><s name='W'><g name='pipe'><e name='2'/></g></s></rule>");
    EXPECT_TRUE(CheckPipeDiameterConfigParser().GetPipe(L"W").empty());
    EXPECT_TRUE(CheckPipeDiameterConfigParser().GetAttachments(L"W").empty());
}

// --- equipment and pipes of the flange check ---

TEST_F(FlangeRuleContract, OfSeveralGroupsOfOneNameTheLastCounts) {
    Flange parser = Parser(
        "<k name='equipment'><s name='S'><g name='equipment'><e name='1'/></g><g name='pipe'><e name='p'/></g></s>"
        "<s name='other'><g name='equipment'><e name='3'/></g></s>"
        "<s name='S'><g name='equipment'><e name='2'/></g></s></k>");
    const Flange::AttItem item = parser.GetAttItem(Flange::eEquipment, L"S");
    EXPECT_EQ(item.mapEquipment, (Groups{{L"2", {}}}));
    EXPECT_EQ(item.mapPipe, (Groups{{L"p", {}}}));
}

TEST_F(FlangeRuleContract, WaterTanksHaveTheirOwnSection) {
    Flange parser = Parser(
        "<k name='equipment'><s name='S'><g name='pipe'><e name='1'/></g></s></k>"
        "<k name='waterbox'><s name='S'><g name='pipe'><e name='2'/></g></s></k>");
    EXPECT_EQ(parser.GetAttItem(Flange::eEquipment, L"S").mapPipe, (Groups{{L"1", {}}}));
    EXPECT_EQ(parser.GetAttItem(Flange::eWaterbox, L"S").mapPipe, (Groups{{L"2", {}}}));
    const Flange::AttItem none = parser.GetAttItem(static_cast<Flange::EqipmentType>(2), L"S");
    EXPECT_TRUE(none.mapEquipment.empty());
    EXPECT_TRUE(none.mapPipe.empty());
}

TEST_F(FlangeRuleContract, AMissingKindGivesBothMapsEmpty) {
    Flange parser = Parser(
        "<k name='equipment'><s name='S'><g name='equipment'><e name='1'/></g><g name='pipe'><e "
        "name='1'/></g></s></k>");
    const Flange::AttItem item = parser.GetAttItem(Flange::eWaterbox, L"S");
    EXPECT_TRUE(item.mapEquipment.empty());
    EXPECT_TRUE(item.mapPipe.empty());
}

TEST_F(FlangeRuleContract, OnlyTheFirstElementOfAKindIsRead) {
    Flange parser = Parser(
        "<k name='equipment'><s name='S'><g name='pipe'><e name='1'/></g></s></k>"
        "<k name='equipment'><s name='S'><g name='pipe'><e name='2'/></g></s></k>");
    EXPECT_EQ(parser.GetAttItem(Flange::eEquipment, L"S").mapPipe, (Groups{{L"1", {}}}));
    EXPECT_TRUE(parser.GetAttItem(Flange::eEquipment, L"s").mapPipe.empty());
}

TEST_F(FlangeRuleContract, AStarExpandsBelowTheSelector) {
    norvex::datamng::ProjectData project;
    project.AddSmallCategory(L"消防", L"设备", L"水泵");
    norvex::datamng::SetCurrentProject(project);
    Flange parser =
        Parser("<k name='waterbox'><s name='消防'><g name='equipment'><e name='设备'><v>*</v></e></g></s></k>");
    EXPECT_EQ(parser.GetAttItem(Flange::eWaterbox, L"消防").mapEquipment, (Groups{{L"设备", {L"水泵"}}}));
}

TEST_F(FlangeRuleContract, KindNumbersAreFixed) {
    EXPECT_EQ(static_cast<int>(Flange::eEquipment), 0);
    EXPECT_EQ(static_cast<int>(Flange::eWaterbox), 1);
    EXPECT_TRUE(Parser("").GetAttItem(Flange::eEquipment, L"S").mapPipe.empty());
}
