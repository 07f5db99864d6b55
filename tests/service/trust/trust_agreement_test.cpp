// SPDX-License-Identifier: Apache-2.0
// What is accepted with the program means the same to the program, to whoever asks the check service, and to a rule
// that asks COwTrustTool.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>

#include "norvexdata/state/NorvexData.h"
#include "norvexdata/trust/OwTrustTool.h"
#include "platform/text/CodePage.h"
#include "platform/text/Utf8.h"
#include "service/CheckService.h"
#include "service/store/FloorNames.h"
#include "service/store/RunTrust.h"
#include "support/Process.h"
#include "tests/service/store/StoreSupport.h"
#include "tests/service/support/PipeModel.h"

namespace {

using namespace norvex::test;
namespace store = norvex::service::store;
namespace text = norvex::text;
using Json = nlohmann::json;

std::string Narrow(const std::string& utf8) {
    return text::WideToNarrow(text::FromUtf8(utf8));
}

// On each of four floors a ring of water pipes, on the last one of sprinkler pipes too. The names are 2层A, 2层B, 3层
// and 3层南区.
std::string FiveRings() {
    return PipeModel()
        .Storey("2\\X2\\5C42\\X0\\A", 0)
        .System("Cold water", "DOMESTICCOLDWATER")
        .Ring({0, 0, 500})
        .Storey("2\\X2\\5C42\\X0\\B", 3000)
        .Ring({0, 0, 3500})
        .Storey("3\\X2\\5C42\\X0\\", 6000)
        .Ring({0, 0, 6500})
        .Storey("3\\X2\\5C425357533A\\X0\\", 9000)
        .Ring({0, 0, 9500})
        .System("Sprinkler", "FIREPROTECTION")
        .Ring({5000, 0, 9500})
        .Text();
}

// What becomes of a finding: "rule", "sub-category", "finding" or "counts", by its feature code.
using Answers = std::map<std::string, std::string>;

// What the program makes of each finding: hidden ones are not reported, and the outcome tells by what.
Answers OfTheProgram(const std::vector<store::StoredFinding>& findings, const Json& report) {
    Answers answers;
    for (const store::StoredFinding& each : findings) {
        const auto isSame = [&](const Json& one) { return one.at("featureCode") == each.finding.featureCode; };
        const Json& reported = report.at("findings");
        const auto found = std::find_if(reported.begin(), reported.end(), isSame);
        if (found != reported.end()) {
            answers[each.finding.featureCode] = found->at("trusted") == true ? "finding" : "counts";
            continue;
        }
        for (const Json& outcome : report.at("outcomes")) {
            if (outcome.at("rule") == each.unit.rule && outcome.at("floor") == each.unit.floor &&
                outcome.at("specialty") == each.unit.specialty) {
                answers[each.finding.featureCode] = outcome.at("outcome") == "skipped" ? "rule" : "sub-category";
            }
        }
    }
    return answers;
}

// What a caller makes of it that asks the three trust operations of the check service.
Answers OfTheService(const std::vector<store::StoredFinding>& findings, INorvexService& service) {
    Answers answers;
    for (const store::StoredFinding& each : findings) {
        std::string& answer = answers[each.finding.featureCode];
        const NS_NORVEX::TrustStatus status =
            service.GetTrustStatus(Narrow(each.unit.rule), Narrow(each.unit.specialty));
        answer = status == NS_NORVEX::eTrustAll ? "rule" : "counts";
        CZRArray<NS_NORVEX::ComponentInfo>* records = nullptr;
        if (status == NS_NORVEX::eTrustPart) {
            service.GetTrustParam(Narrow(each.unit.rule), Narrow(each.unit.specialty), records);
        }
        for (int i = 0; records != nullptr && i < records->length(); ++i) {
            const NS_NORVEX::ComponentInfo& record = (*records)[i];
            for (int j = 0; j < record.aryItems.length(); ++j) {
                if (record.strName == Narrow(store::ModuleFloorName(each.unit.floor)) &&
                    record.aryItems[j] == Narrow(each.finding.objects.at(0).subCategory)) {
                    answer = "sub-category";
                }
            }
        }
        if (answer == "counts" && service.IsErrorTrusted(each.finding.featureCode)) {
            answer = "finding";
        }
    }
    return answers;
}

// What a rule makes of it that uses COwTrustTool.
Answers OfTheTool(const std::vector<store::StoredFinding>& findings) {
    Answers answers;
    for (const store::StoredFinding& each : findings) {
        COwTrustTool tool;
        tool.Init(text::FromUtf8(each.unit.rule), text::FromUtf8(each.unit.specialty));
        const CString floor = text::FromUtf8(store::ModuleFloorName(each.unit.floor));
        answers[each.finding.featureCode] =
            tool.IsRuleTrusted() == NS_NORVEX::eTrustAll                                      ? "rule"
            : tool.IsTrustItem(floor, text::FromUtf8(each.finding.objects.at(0).subCategory)) ? "sub-category"
            : tool.IsErrorTrusted(each.finding.featureCode)                                   ? "finding"
                                                                                              : "counts";
    }
    return answers;
}

class TrustAgreement : public testing::Test {
  protected:
    TrustAgreement() { WriteFile(m_model, FiveRings()); }

    ProcessResult Norvex(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), NORVEX_PROGRAM);
        arguments.insert(arguments.end(), {"--project", m_project.Path().string()});
        return RunProcess(arguments);
    }
    Json Check() const {
        const ProcessResult result = Norvex({"check", m_model.string(), "--json", "-"});
        EXPECT_EQ(result.exitCode, 1) << result.err;
        return Json::parse(result.out);
    }
    void Trust(std::vector<std::string> what) const {
        what.insert(what.begin(), {"trust", "add"});
        what.insert(what.end(), {"--reason", "agreed", "--person", "Li"});
        const ProcessResult result = Norvex(what);
        EXPECT_EQ(result.exitCode, 0) << result.err;
    }
    std::vector<store::StoredFinding> FindingsOfRun(store::RunId run) const {
        store::ProjectStore project = OpenStore(m_project);
        return Expect(project.LoadRun(run)).findings;
    }
    Json Listed() const {
        const ProcessResult result = Norvex({"trust", "list", "--json", "-"});
        return Json::parse(result.out).at("entries");
    }

    TemporaryFolder m_folder;
    std::filesystem::path m_model = m_folder / "house.ifc";
    ProjectFolder m_project;
};

TEST_F(TrustAgreement, GivesProgramServiceAndRuleTheSameAnswers) {
    ASSERT_EQ(Check().at("findings").size(), 5U);
    const std::vector<store::StoredFinding> findings = FindingsOfRun(1);
    Trust({"--rule", "pipe-loop", "--specialty", "fire"});
    Trust({"--rule", "pipe-loop", "--specialty", "water", "--floor", "3层", "--sub-category", "管道"});
    Trust({"--finding", "1"});

    Answers expected;
    for (const store::StoredFinding& each : findings) {
        expected[each.finding.featureCode] = each.unit.specialty == "消防" ? "rule"
                                             : each.unit.floor == "3层"    ? "sub-category"
                                             : each.unit.floor == "2层A"   ? "finding"
                                                                           : "counts";
    }
    ASSERT_EQ(expected.size(), 5U);
    EXPECT_EQ(OfTheProgram(findings, Check()), expected);

    store::ProjectStore project = OpenStore(m_project);
    store::RunTrust trust(Expect(project.TrustInForce()));
    norvex::service::CheckService service(trust);
    EXPECT_EQ(OfTheService(findings, service), expected);
    CNorvexData::SetNorvexService(&service);
    EXPECT_EQ(OfTheTool(findings), expected);
    CNorvexData::SetNorvexService(nullptr);
}

TEST_F(TrustAgreement, ShowsHowManyFindingsEachEntryHides) {
    Check();
    Trust({"--rule", "pipe-loop", "--specialty", "fire"});
    Trust({"--rule", "pipe-loop", "--floor", "3层南区", "--sub-category", "管道"});
    Trust({"--finding", "1"});
    Trust({"--rule", "pipe-link"});
    Check();
    const Json entries = Listed();
    ASSERT_EQ(entries.size(), 4U);
    for (const std::size_t hidden : {0U, 1U}) {
        EXPECT_EQ(entries.at(hidden).at("state"), "hides");
        EXPECT_EQ(entries.at(hidden).at("findings"), hidden == 0 ? 1 : 2) << "every specialty of the floor";
        EXPECT_EQ(entries.at(hidden).at("countedInRun"), 1) << "the second run did not look behind it";
    }
    EXPECT_EQ(entries.at(2).at("findings"), 1);
    EXPECT_EQ(entries.at(2).at("countedInRun"), 2);
    EXPECT_EQ(entries.at(3).at("state"), "stale") << "the first run looked and found nothing";
}

TEST_F(TrustAgreement, LetsExpiredTrustComeBackLoudly) {
    Check();
    const std::string code = FindingsOfRun(1).at(0).finding.featureCode;
    WriteFile(
        m_folder / "trust.json",
        R"({"format": "norvex-trust", "version": 1, "entries": [{"kind": "finding", "featureCode": ")" + code +
            R"(", "reason": "until the pump is there", "person": "Li", "added": "2020-01-01", "expires": "2020-02-01"}]})");
    ASSERT_EQ(Norvex({"trust", "import", (m_folder / "trust.json").string()}).exitCode, 0);
    const ProcessResult result = Norvex({"check", m_model.string()});
    EXPECT_EQ(result.exitCode, 1);
    // Lines are broken where the terminal ends.
    const std::string flat = std::regex_replace(result.out, std::regex("\\s+"), " ");
    EXPECT_NE(flat.find("Expired: trust entry 1 "), std::string::npos) << result.out;
    EXPECT_NE(flat.find("ended on 2020-02-01; 1 finding is back."), std::string::npos) << result.out;
    EXPECT_NE(Norvex({"trust", "list"}).out.find("EXPIRED"), std::string::npos);
    EXPECT_EQ(Check().at("findings").size(), 5U);
}

}  // namespace
