// SPDX-License-Identifier: Apache-2.0
#include "module/config/ConfigFixture.h"
#include "norvexdata/config/ConfigParser.h"
#include "norvexdata/state/NorvexData.h"
#include "platform/text/CodePage.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <type_traits>

namespace {

static_assert(!std::is_default_constructible_v<NorvexConfig>);
static_assert(!std::is_copy_constructible_v<NorvexConfig>);
static_assert(std::is_copy_assignable_v<NorvexConfig>);
static_assert(!std::is_polymorphic_v<ConfigParser>);

class NorvexConfigFile : public ConfigTest {};

Group CheckItemsOf(const CString& className, const CString& name) {
    return ConfigParser(NorvexConfig::Instance().GetCoinfigData(className)).CheckItems(name);
}

// The group "给排水" under "checkitems" of the class "C".
Group CheckItems() {
    return CheckItemsOf(L"C", L"给排水");
}

std::string CheckItemsRule(const std::string& entries) {
    return "<rule className='C'><checkitems><group name='给排水'>" + entries + "</group></checkitems></rule>";
}

TEST_F(NorvexConfigFile, IsNotValidWhileItIsAbsentAndPickedUpLater) {
    EXPECT_FALSE(NorvexConfig::Instance().IsValid());
    EXPECT_EQ(NorvexConfig::Instance().GetCoinfigData(L"C"), nullptr);
    WriteRules("<rule className='C'/>");
    EXPECT_TRUE(NorvexConfig::Instance().IsValid());
    EXPECT_NE(NorvexConfig::Instance().GetCoinfigData(L"C"), nullptr);
}

TEST_F(NorvexConfigFile, IsPickedUpWhenItWasRepaired) {
    WriteFile("<norvex><rule className='C'>");
    EXPECT_FALSE(NorvexConfig::Instance().IsValid());
    WriteFile("<norvex><rule className='C'/></norvex>");
    EXPECT_TRUE(NorvexConfig::Instance().IsValid());
}

TEST_F(NorvexConfigFile, IsPickedUpBetweenTwoFloorsOfOneRun) {
    const std::vector<std::string> filesByFloor{"", "<norvex><rule", "<norvex><rule className='C'/></norvex>",
                                                "<norvex/>"};
    std::vector<bool> found;
    for (std::size_t floor = 0; floor < filesByFloor.size(); ++floor) {
        CNorvexData::s_strCurFloor.Format(L"%uF", static_cast<unsigned>(floor));
        if (floor > 0) {
            WriteFile(filesByFloor[floor]);
        }
        found.push_back(NorvexConfig::Instance().GetCoinfigData(L"C") != nullptr);
    }
    EXPECT_EQ(found, (std::vector<bool>{false, false, true, true}));
}

TEST_F(NorvexConfigFile, IsNotReadAgainOnceItIsLoaded) {
    WriteRules("<rule className='C'/>");
    EXPECT_TRUE(NorvexConfig::Instance().IsValid());
    WriteRules("<rule className='D'/>");
    EXPECT_EQ(NorvexConfig::Instance().GetCoinfigData(L"D"), nullptr);
    std::filesystem::remove(m_folder.Path() / "配置 目录/NorvexConfig.xml");
    EXPECT_TRUE(NorvexConfig::Instance().IsValid());
    EXPECT_NE(NorvexConfig::Instance().GetCoinfigData(L"C"), nullptr);
}

TEST_F(NorvexConfigFile, LiesWhereTheFirstLoadLookedForIt) {
    EXPECT_FALSE(NorvexConfig::Instance().IsValid());
    norvex::profile::SetDirectories({L"", L"\\elsewhere"});
    WriteRules("<rule className='C'/>");
    EXPECT_TRUE(NorvexConfig::Instance().IsValid());
}

TEST_F(NorvexConfigFile, IsLookedForInTheConfigurationFolderAlone) {
    m_folder.Write("application/NorvexConfig.xml", "<norvex/>");
    EXPECT_FALSE(NorvexConfig::Instance().IsValid());
}

TEST_F(NorvexConfigFile, IsOneForTheProcess) {
    EXPECT_EQ(&NorvexConfig::Instance(), &NorvexConfig::Instance());
    WriteRules("");
    EXPECT_EQ(&NorvexConfig::Instance(), &NorvexConfig::Instance());
    NorvexConfig::Instance() = NorvexConfig::Instance();
    EXPECT_TRUE(NorvexConfig::Instance().IsValid());
}

TEST_F(NorvexConfigFile, StaysInvalidWhenNoDocumentCanBeMade) {
    WriteRules("");
    norvex::xml::SetFaults({.createFails = true, .unenumerableTag = {}, .unreadableTextTag = {}});
    EXPECT_FALSE(NorvexConfig::Instance().IsValid());
    norvex::xml::SetFaults({});
    EXPECT_TRUE(NorvexConfig::Instance().IsValid());
}

TEST_F(NorvexConfigFile, IsNotValidWhenItIsABombOrCutShortOrOfUnknownEncoding) {
    for (const std::string bytes :
         {"", "<norvex>", "<?xml version='1.0' encoding='unheard-of'?><norvex/>",
          "<!DOCTYPE norvex [<!ENTITY a 'ha'><!ENTITY b '&a;&a;&a;&a;'>]><norvex>&b;</norvex>",
          "<!DOCTYPE norvex [<!ENTITY a SYSTEM 'file:///etc/hostname'>]><norvex>&a;</norvex>"}) {
        WriteFile(bytes);
        EXPECT_FALSE(NorvexConfig::Instance().IsValid()) << bytes;
    }
}

TEST_F(NorvexConfigFile, MayBeInCodePage936) {
    const CString text =
        L"<?xml version='1.0' encoding='gb2312'?><norvex><rule className='C'><checkitems><g name='给排水'>"
        L"<e name='管线'><v>镕管</v></e></g></checkitems></rule></norvex>";
    WriteFile(norvex::text::WideToNarrow(text));
    EXPECT_EQ(CheckItems(), (Group{{L"管线", {L"镕管"}}}));
}

TEST_F(NorvexConfigFile, GivesTheFirstOfTwoSectionsOfOneClass) {
    WriteRules(CheckItemsRule("<e name='first'/>") + CheckItemsRule("<e name='second'/>"));
    EXPECT_EQ(CheckItems(), (Group{{L"first", {}}}));
}

TEST_F(NorvexConfigFile, MatchesClassNamesExactly) {
    WriteRules("<rule className='CCheck'/><Rule className='CTag'/><norvex><rule className='CDeep'/></norvex>");
    const NorvexConfig& config = NorvexConfig::Instance();
    EXPECT_NE(config.GetCoinfigData(L"CCheck"), nullptr);
    EXPECT_EQ(config.GetCoinfigData(L"CCHECK"), nullptr);
    EXPECT_EQ(config.GetCoinfigData(L"CCheck "), nullptr);
    EXPECT_EQ(config.GetCoinfigData(L"CTag"), nullptr);
    EXPECT_EQ(config.GetCoinfigData(L"CDeep"), nullptr);
    EXPECT_EQ(config.GetCoinfigData(L""), nullptr);
}

TEST_F(NorvexConfigFile, ReadsAnAbsentClassNameAsEmpty) {
    WriteRules("<rule/>");
    EXPECT_NE(NorvexConfig::Instance().GetCoinfigData(L""), nullptr);
}

TEST_F(NorvexConfigFile, GivesSectionsOfTheirOwnEachTime) {
    WriteRules(CheckItemsRule("<e name='a'/>"));
    auto first = NorvexConfig::Instance().GetCoinfigData(L"C");
    const auto second = NorvexConfig::Instance().GetCoinfigData(L"C");
    EXPECT_NE(first, second);
    const ConfigParser parser(first);
    first.reset();
    EXPECT_EQ(parser.CheckItems(L"给排水"), (Group{{L"a", {}}}));
}

// A sanitizer's shadow of all memory counts as memory.
bool IsMemoryCounted() {
    constexpr std::size_t kShadowPages = std::size_t{1} << 30;
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages < kShadowPages;
}

// Runs look() in a process of its own that may have so many bytes more than it has now. Returns:
// what look returns, from 0; -1 when the process did not come to an end.
template <class Look>
int WithRoom(std::size_t bytes, Look look) {
    const pid_t child = fork();
    if (child == 0) {
        std::size_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        const rlimit room{pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) + bytes, RLIM_INFINITY};
        setrlimit(RLIMIT_AS, &room);
        int seen = 99;
        try {
            seen = look();
        } catch (const std::exception&) {
            seen = 98;
        }
        _exit(seen);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(NorvexConfigFile, IsNotValidWhenTheMemoryDoesNotSuffice) {
    if (!IsMemoryCounted()) {
        GTEST_SKIP() << "SKIPPED: a sanitizer is at work; this promise was not tested.";
    }
    std::string rules;
    const std::string value(1000, 'v');
    for (int number = 0; number < 8000; ++number) {
        rules += "<rule className='C" + std::to_string(number) + "'><checkitems><g name='g'><e name='e'><v>" + value +
                 "</v></e></g></checkitems></rule>\n";
    }
    WriteRules(rules);
    constexpr std::size_t kMegabyte = 1024 * 1024;
    int valid = 0;
    // The whole file takes some 20 MB of memory.
    for (const std::size_t room : {0U, 1U, 2U, 4U, 8U, 12U, 16U, 24U, 100U}) {
        const int seen = WithRoom(room * kMegabyte, [] {
            const bool isValid = NorvexConfig::Instance().IsValid();
            return isValid && CheckItemsOf(L"C7999", L"g").size() == 1 ? 2 : isValid ? 1 : 0;
        });
        EXPECT_TRUE(seen == 0 || seen == 2) << room << " MB: " << seen;
        valid += seen == 2 ? 1 : 0;
    }
    EXPECT_GT(valid, 0);
    EXPECT_LT(valid, 9);
}

// As large as a document may be: read with little more memory than its tree takes, or not at all.
TEST_F(NorvexConfigFile, IsNotValidWhenItIsLargeAndTheMemoryDoesNotSuffice) {
    if (!IsMemoryCounted()) {
        GTEST_SKIP() << "SKIPPED: a sanitizer is at work; this promise was not tested.";
    }
    std::string rules;
    rules.reserve(61'000'000);
    const std::string value(10'000, 'v');
    while (rules.size() < 60'000'000) {
        rules += "<rule className='C'><checkitems><g name='g'><e name='e'><v>" + value +
                 "</v></e></g></checkitems></rule>\n";
    }
    WriteRules(rules);
    rules = std::string();
    constexpr std::size_t kMegabyte = 1024 * 1024;
    const auto look = [] { return NorvexConfig::Instance().IsValid() ? 1 : 0; };
    EXPECT_EQ(WithRoom(40 * kMegabyte, look), 0);
    // The values alone are 120 MB of UTF-16; the file's bytes are not held beside them.
    EXPECT_EQ(WithRoom(180 * kMegabyte, look), 1);
}

class CheckItemsGroup : public ConfigTest {};

TEST_F(CheckItemsGroup, IsEmptyWithoutASection) {
    EXPECT_TRUE(ConfigParser().CheckItems(L"x").empty());
    EXPECT_TRUE(ConfigParser(nullptr).CheckItems(L"x").empty());
}

TEST_F(CheckItemsGroup, FollowsASectionThatWasSetOrCopied) {
    WriteRules(CheckItemsRule("<e name='a'/>"));
    ConfigParser parser;
    parser.SetConfigData(NorvexConfig::Instance().GetCoinfigData(L"C"));
    EXPECT_EQ(parser.CheckItems(L"给排水").size(), 1U);
    ConfigParser copy(parser);
    parser.SetConfigData(nullptr);
    EXPECT_TRUE(parser.CheckItems(L"给排水").empty());
    EXPECT_EQ(copy.CheckItems(L"给排水").size(), 1U);
    parser = copy;
    EXPECT_EQ(parser.CheckItems(L"给排水").size(), 1U);
}

TEST_F(CheckItemsGroup, IsTheFirstOfItsNameUnderTheFirstCheckitems) {
    WriteRules(
        "<rule className='C'><other><g name='给排水'><e name='wrong'/></g></other>"
        "<checkitems><g name='消防'/><any name='给排水'><e name='right'/></any><g name='给排水'><e name='later'/></g>"
        "</checkitems><checkitems><g name='暖通'><e name='second'/></g></checkitems></rule>");
    EXPECT_EQ(CheckItems(), (Group{{L"right", {}}}));
    EXPECT_TRUE(CheckItemsOf(L"C", L"暖通").empty());
    EXPECT_TRUE(CheckItemsOf(L"C", L"电气").empty());
}

TEST_F(CheckItemsGroup, IsEmptyWithoutACheckitems) {
    WriteRules("<rule className='C'><CheckItems><g name='给排水'><e name='a'/></g></CheckItems></rule>");
    EXPECT_TRUE(CheckItems().empty());
}

TEST_F(CheckItemsGroup, UnitesEntriesOfOneName) {
    WriteRules(CheckItemsRule("<e name='管线'><v>a</v><v>b</v></e><x name='管线'><v>b</v><v>c</v></x>"));
    EXPECT_EQ(CheckItems(), (Group{{L"管线", {L"a", L"b", L"c"}}}));
}

TEST_F(CheckItemsGroup, KeepsTheKeyWhenAStarFindsNothing) {
    WriteRules(CheckItemsRule("<e name='管线'><v>*</v></e>"));
    EXPECT_EQ(CheckItems(), (Group{{L"管线", {}}}));
}

TEST_F(CheckItemsGroup, ExpandsAStarToTheSmallCategories) {
    KnowSmallCategories({L"管道", L"立管"});
    WriteRules(CheckItemsRule("<e name='管线'><v>*</v></e><e name='设备'><v>*</v></e>"));
    EXPECT_EQ(CheckItems(), (Group{{L"管线", {L"管道", L"立管"}}, {L"设备", {}}}));
}

TEST_F(CheckItemsGroup, DropsWhatStandsBeforeAStarAndKeepsWhatStandsBehind) {
    KnowSmallCategories({L"管道"});
    WriteRules(CheckItemsRule("<e name='管线'><v>before</v><v>*</v><v>behind</v></e>"));
    EXPECT_EQ(CheckItems(), (Group{{L"管线", {L"管道", L"behind"}}}));
}

TEST_F(CheckItemsGroup, DropsNothingOfAnEarlierEntryAtAStar) {
    WriteRules(CheckItemsRule("<e name='管线'><v>a</v></e><e name='管线'><v>*</v></e>"));
    EXPECT_EQ(CheckItems(), (Group{{L"管线", {L"a"}}}));
}

TEST_F(CheckItemsGroup, SkipsEmptyValuesAndKeepsEmptyEntries) {
    WriteRules(CheckItemsRule("<e name='a'><v/><v></v><v>x</v></e><e name='b'/><e/>"));
    EXPECT_EQ(CheckItems(), (Group{{L"", {}}, {L"a", {L"x"}}, {L"b", {}}}));
}

TEST_F(CheckItemsGroup, KeepsBlanksInValues) {
    WriteRules(CheckItemsRule("<e name='a'><v> x </v><v> * </v></e>"));
    EXPECT_EQ(CheckItems(), (Group{{L"a", {L" x ", L" * "}}}));
}

TEST_F(CheckItemsGroup, LeavesOutEntriesThatCannotBeEnumerated) {
    WriteRules(CheckItemsRule("<bad name='a'><v>x</v></bad><e name='b'><v>y</v></e>"));
    norvex::xml::SetFaults({.createFails = false, .unenumerableTag = L"bad", .unreadableTextTag = {}});
    EXPECT_EQ(CheckItems(), (Group{{L"b", {L"y"}}}));
}

TEST_F(CheckItemsGroup, OrdersKeysByCodeUnit) {
    WriteRules(CheckItemsRule("<e name='b'/><e name='B'/><e name='给'/><e name='a'/>"));
    const Group items = CheckItems();
    std::vector<CString> keys;
    for (const auto& [key, values] : items) {
        keys.push_back(key);
    }
    EXPECT_EQ(keys, (std::vector<CString>{L"B", L"a", L"b", L"给"}));
}

}  // namespace
