// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

#include "norvexdata/common/ComMethod.h"
#include "norvexdata/state/NorvexData.h"
#include "platform/datamng/ProjectData.h"
#include "platform/text/CodePage.h"
#include "report/resultfile/ResultDocument.h"
#include "report/resultfile/WriteResultFiles.h"
#include "report/resultfile/XmlText.h"
#include "support/TemporaryFolder.h"
#include "support/WithoutPrivileges.h"
#include "tests/report/SampleReport.h"
#include "tests/report/XmlSchema.h"

namespace {

using namespace std::string_literals;
using norvex::report::ResultFiles;
using norvex::service::RunReport;
using norvex::test::SampleReport;
using norvex::test::Selected;
using norvex::test::UglyText;
using Texts = std::vector<std::string>;
namespace fs = std::filesystem;

std::string TextOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string Errors(const std::string& xml) {
    return norvex::test::SchemaErrors(NORVEX_RESULT_SCHEMA, xml);
}

// The original of a text in a result file, as the documentation says to get it.
std::string Original(const std::string& text) {
    std::string out;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] != '\\') {
            out += text[index];
        } else if (text[index + 1] == '\\') {
            out += '\\';
            ++index;
        } else {
            out += static_cast<char>(std::stoi(text.substr(index + 2, 2), nullptr, 16));
            index += 3;
        }
    }
    return out;
}

std::string WaterResult() {
    return norvex::report::ResultXml(SampleReport(), "给排水", "(Wsd)");
}

std::string Guide() {
    return norvex::report::GuideXml(
        SampleReport(),
        {{"给排水", "(Wsd)", "NxResult/NxResult(Wsd)260301093000.xml"}, {"消防", "(Fp)", ""}, {"电气", "(Elec)", ""}},
        "");
}

TEST(XmlText, ShowsWhatXmlCannotHoldAndKeepsTheRest) {
    const std::array<std::array<std::string, 2>, 8> cases{
        {{"给水管 \xF0\x9F\x9A\xB0", "给水管 \xF0\x9F\x9A\xB0"},
         {"tab\tline\nreturn\r", "tab\tline\nreturn\r"},
         {"\x01\x1B[2J", "\\x01\\x1B[2J"},
         {"a\0b"s, "a\\x00b"},
         {"C:\\x41", "C:\\\\x41"},
         {"\xFF\xE7\xBB", "\\xFF\\xE7\\xBB"},
         {"\xED\xA0\x80", "\\xED\\xA0\\x80"},
         {"\xEF\xBF\xBE\xEF\xBF\xBD", "\\xEF\\xBF\\xBE\xEF\xBF\xBD"}}};
    for (const auto& [text, written] : cases) {
        EXPECT_EQ(norvex::report::XmlText(text), written);
        EXPECT_EQ(Original(written), text);
    }
}

TEST(ResultXml, IsValidWhateverTheModelSays) {
    EXPECT_EQ(Errors(WaterResult()), "");
    EXPECT_EQ(Errors(norvex::report::ResultXml(SampleReport(), "消防", "(Fp)")), "");
    EXPECT_EQ(Errors(Guide()), "");
}

TEST(ResultXml, IsValidForARunThatTheProjectDoesNotRemember) {
    RunReport report = SampleReport();
    report.run = 0;
    report.startedAt.clear();
    report.comparison.reset();
    report.acceptances.clear();
    report.incomplete.clear();
    EXPECT_EQ(Errors(norvex::report::ResultXml(report, "给排水", "(Wsd)")), "");
    EXPECT_EQ(Errors(norvex::report::GuideXml(report, {}, "The disk is full.")), "");
}

TEST(ResultXml, LosesNothingOfUglyTexts) {
    const std::string xml = WaterResult();
    for (const char* place :
         {"/r:result/r:model/@project", "/r:result/r:scope/r:floor[2]/@name", "//r:findings/r:finding[1]/r:sentence",
          "//r:findings/r:finding[1]/r:object[1]", "//r:findings/r:finding[3]/r:trust", "//r:outcome[2]"}) {
        const Texts found = Selected(xml, place);
        ASSERT_EQ(found.size(), 1U) << place;
        EXPECT_EQ(Original(found[0]), UglyText()) << place;
    }
}

TEST(ResultXml, SaysOfEachFindingWhatTheRunSays) {
    const std::string xml = WaterResult();
    EXPECT_EQ(Selected(xml, "//r:findings/r:finding/@severity"),
              (Texts{"ERR_SUSPECTED", "ERR_REMIND", "ERR_CONFIRMED"}));
    EXPECT_EQ(Selected(xml, "//r:findings/r:finding/@novelty"), (Texts{"new", "persisting"}));
    EXPECT_EQ(Selected(xml, "//r:findings/r:finding/@occurrence"), (Texts{"0", "1", "2"}));
    EXPECT_EQ(Selected(xml, "//r:findings/r:finding/@trusted"), (Texts{"false", "false", "true"}));
    EXPECT_EQ(Selected(xml, "//r:findings/r:finding[1]/@featureCode"), (Texts{"_" + std::string(32, 'c')}));
    EXPECT_EQ(Selected(xml, "//r:findings/r:finding[1]/r:location"), (Texts{"定位:构件定位:1:构件错误:2F1,2F2"}));
    EXPECT_EQ(Selected(xml, "//r:findings/r:finding[1]/r:place/@*"), (Texts{"1000.5", "-2", "10000000"}));
    EXPECT_EQ(Selected(xml, "//r:findings/r:finding[1]/r:object[1]/@*"),
              (Texts{"2F1", "0iqPoVcbmB$mgksTW4_Ep1", "水管"}));
    EXPECT_EQ(Selected(xml, "//r:findings/r:finding[3]/r:trust/@*"),
              (Texts{"4", "Li \"Wei\"", "2026-02-28", "2027-01-01"}));
    EXPECT_EQ(Selected(xml, "//r:gone/r:finding/r:sentence"), (Texts{"A ring that is gone."}));
    EXPECT_EQ(Selected(xml, "//r:hidden/r:finding/r:sentence"), (Texts{"A ring that nobody looked for."}));
}

TEST(ResultXml, HoldsOneSpecialtyOnly) {
    const std::string water = WaterResult();
    const std::string fire = norvex::report::ResultXml(SampleReport(), "消防", "(Fp)");
    EXPECT_EQ(Selected(water, "//r:outcome/@result"), (Texts{"failed", "crashed", "cancelled", "skipped"}));
    EXPECT_EQ(Selected(fire, "//r:outcome/@result"), (Texts{"passed"}));
    EXPECT_EQ(Selected(fire, "//r:finding"), Texts());
    EXPECT_EQ(Selected(fire, "//r:scope/r:rule/@shortName"), (Texts{"pipe-loop"}));
    EXPECT_EQ(Selected(fire, "/r:result/r:totals/@*"), (Texts{"3", "0", "0", "0", "0"}));
    EXPECT_EQ(Selected(water, "/r:result/r:totals/@*"), (Texts{"5", "0", "1", "1", "1"}));
    EXPECT_EQ(Selected(water, "//r:subCategory/@*"), (Texts{"管道闭合成环", "2"}));
}

TEST(ResultSchema, RefusesWhatIsNoResult) {
    struct Spoilt {
        const char* what;
        const char* from;
        const char* to;
    };
    const std::vector<Spoilt> all = {
        {"an unknown severity", "severity=\"ERR_SUSPECTED\"", "severity=\"ERR_SUSPECT\""},
        {"a finding without identity", "featureCode=\"_cccccccccccccccccccccccccccccccc\"", ""},
        {"a finding of a rule that did not run", "<finding number=\"1\" rule=\"CCheckPipeLoop\"",
         "<finding number=\"1\" rule=\"CCheckOther\""},
        {"an outcome of a rule that did not run", "<outcome rule=\"CCheckPipeLoop\"", "<outcome rule=\"CCheckOther\""},
        {"an outcome on a floor that is not there", "floor=\"3层南区\" result", "floor=\"4层\" result"},
        {"a rule twice", "<rule name=\"CCheckLayoutFlange\"", "<rule name=\"CCheckPipeLoop\""},
        {"a number twice", "<finding number=\"2\"", "<finding number=\"1\""},
        {"an unknown outcome", "result=\"failed\"", "result=\"fine\""},
        {"less than nothing", "examined=\"5\"", "examined=\"-5\""},
        {"a day that is none", "expiresOn=\"2027-01-01\"", "expiresOn=\"2027-02-30\""},
        {"a time without form", "startedAt=\"2026-03-01T08:30:00Z\"", "startedAt=\"yesterday\""},
        {"a digest that is too short", "sha256=\"aa", "sha256=\"a"},
        {"trust without a person", "person=\"Li &quot;Wei&quot;\"", ""},
        {"a tag of no specialty", "tag=\"(Wsd)\"", "tag=\"(Water)\""},
        {"an element that nobody knows", "<outcomes>", "<other/><outcomes>"},
        {"a place without height", " z=\"10000000\"", ""},
        {"another version", "formatVersion=\"1\"", "formatVersion=\"2\""},
        {"another namespace", "urn:norvexdata:result:1", "urn:norvexdata:result:0"}};
    const std::string valid = WaterResult();
    for (const Spoilt& spoilt : all) {
        SCOPED_TRACE(spoilt.what);
        std::string xml = valid;
        const std::size_t place = xml.find(spoilt.from);
        ASSERT_NE(place, std::string::npos);
        xml.replace(place, std::string(spoilt.from).size(), spoilt.to);
        ASSERT_TRUE(norvex::test::ParsedXml(xml)) << "the schema has to refuse it, not the parser";
        EXPECT_NE(Errors(xml), "");
    }
}

TEST(HasResult, IsTrueUnlessNothingThereConcernedAnyRule) {
    const RunReport report = SampleReport();
    EXPECT_TRUE(norvex::report::HasResult(report, "给排水"));
    EXPECT_TRUE(norvex::report::HasResult(report, "消防"));
    EXPECT_FALSE(norvex::report::HasResult(report, "电气"));
    EXPECT_FALSE(norvex::report::HasResult(report, "暖通"));
    RunReport notExamined = SampleReport();
    notExamined.tasks[5].notExamined = 1;
    EXPECT_TRUE(norvex::report::HasResult(notExamined, "电气")) << "a rule should have looked at something";
}

// A project of its own.
class ResultFileTest : public testing::Test {
  protected:
    RunReport Report() const {
        RunReport report = SampleReport();
        report.projectFolder = m_folder.Path().string();
        return report;
    }

    TemporaryFolder m_folder;
};

TEST_F(ResultFileTest, WritesOneFileForEachSpecialtyAndTheGuide) {
    const ResultFiles files = norvex::report::WriteResultFiles(Report());
    EXPECT_EQ(files.failure, std::nullopt);
    ASSERT_EQ(files.written.size(), 2U);
    const std::regex water("NxResult\\(Wsd\\)[0-9]{12}\\.xml");
    const std::regex fire("NxResult\\(Fp\\)[0-9]{12}\\.xml");
    EXPECT_TRUE(std::regex_match(files.written[0].filename().string(), water)) << files.written[0];
    EXPECT_TRUE(std::regex_match(files.written[1].filename().string(), fire)) << files.written[1];
    EXPECT_EQ(files.written[0].parent_path(), m_folder.Path() / "NxResult");
    EXPECT_EQ(files.guide, m_folder.Path() / "ProjectAssist" / "NxResult" / "Guide.xml");
    for (const fs::path& path : {files.written[0], files.written[1], files.guide}) {
        EXPECT_EQ(Errors(TextOf(path)), "") << path;
    }
    const std::string guide = TextOf(files.guide);
    EXPECT_EQ(Selected(guide, "//r:specialty/@name"), (Texts{"给排水", "消防", "电气"}));
    const Texts named = Selected(guide, "//r:specialty/@file");
    ASSERT_EQ(named.size(), 2U);
    EXPECT_EQ(m_folder.Path() / named[0], files.written[0]);
    EXPECT_EQ(m_folder.Path() / named[1], files.written[1]);
    EXPECT_EQ(Selected(guide, "/r:guide/r:totals/@*"), (Texts{"8", "0", "1", "1", "1"}));
}

TEST_F(ResultFileTest, AreFoundAgainByTheModule) {
    const ResultFiles files = norvex::report::WriteResultFiles(Report());
    norvex::datamng::ProjectData project;
    project.folder = norvex::text::NarrowToWide(m_folder.Path().string());
    project.folder.Replace(L"/", L"\\");
    norvex::datamng::SetCurrentProject(project);
    CNorvexData::s_strCurSpec = L"消防";
    std::vector<std::string> listed;
    CComMethod::GetResultFileList(listed);
    ASSERT_EQ(listed.size(), 1U);
    EXPECT_EQ(fs::path(listed[0].substr(listed[0].rfind('\\') + 1)), files.written[1].filename());
}

TEST_F(ResultFileTest, NeverReplaceThoseOfARunInTheSameSecond) {
    RunReport report = Report();
    std::vector<fs::path> all;
    for (std::int64_t run = 1; run <= 3; ++run) {
        report.run = run;
        const ResultFiles files = norvex::report::WriteResultFiles(report);
        EXPECT_EQ(files.failure, std::nullopt);
        all.push_back(files.written.at(0));
    }
    for (std::size_t index = 0; index < all.size(); ++index) {
        EXPECT_EQ(Selected(TextOf(all[index]), "/r:result/r:run/@number"), Texts{std::to_string(index + 1)});
    }
    EXPECT_EQ(Selected(TextOf(m_folder.Path() / "ProjectAssist/NxResult/Guide.xml"), "/r:guide/r:run/@number"),
              Texts{"3"});
}

TEST_F(ResultFileTest, GiveOneReasonWhenTheirFolderCannotBeMade) {
    m_folder.Write("NxResult", "a file where the folder should be");
    const ResultFiles files = norvex::report::WriteResultFiles(Report());
    EXPECT_TRUE(files.written.empty());
    ASSERT_TRUE(files.failure.has_value());
    EXPECT_NE(files.failure->find("NxResult(Wsd)"), std::string::npos);
    EXPECT_TRUE(files.failure->ends_with("cannot be written: Not a directory.")) << *files.failure;
    const std::string guide = TextOf(files.guide);
    EXPECT_EQ(Errors(guide), "");
    EXPECT_EQ(Selected(guide, "//r:specialty/@file"), Texts());
    EXPECT_EQ(Selected(guide, "//r:notWritten"), Texts{*files.failure});
}

TEST_F(ResultFileTest, GiveOneReasonWhenTheProjectCannotBeWritten) {
    constexpr auto kNobodyWrites = static_cast<fs::perms>(0555);
    fs::permissions(m_folder.Path(), kNobodyWrites);
    const WithoutPrivileges asOthers;
    const ResultFiles files = norvex::report::WriteResultFiles(Report());
    EXPECT_TRUE(files.written.empty());
    EXPECT_TRUE(files.guide.empty());
    EXPECT_TRUE(files.failure.has_value());
}

TEST_F(ResultFileTest, LeaveTheModulesProjectAndSpecialtyAsTheyWere) {
    norvex::datamng::ProjectData project;
    project.folder = L"C:\\other";
    norvex::datamng::SetCurrentProject(project);
    CNorvexData::s_strCurSpec = L"弱电";
    norvex::report::WriteResultFiles(Report());
    EXPECT_EQ(norvex::datamng::GetCurrentProject().folder, CString(L"C:\\other"));
    EXPECT_EQ(CNorvexData::s_strCurSpec, CString(L"弱电"));
}

TEST_F(ResultFileTest, WorkInAFolderWithBlanksAndChinese) {
    RunReport report = Report();
    report.projectFolder = (m_folder.Path() / "工程 甲 (1)").string() + "/";
    fs::create_directory(report.projectFolder);
    const ResultFiles files = norvex::report::WriteResultFiles(report);
    EXPECT_EQ(files.failure, std::nullopt);
    ASSERT_EQ(files.written.size(), 2U);
    EXPECT_TRUE(fs::exists(files.written[0]));
}

}  // namespace
