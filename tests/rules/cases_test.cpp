// SPDX-License-Identifier: Apache-2.0
// The program on whole models: the cases that lie beside each rule, and what was planted in the sample house.
#include "tests/support/Process.h"
#include "tests/support/SharedData.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using norvex::test::FileText;
using norvex::test::ProcessResult;
using norvex::test::TemporaryFolder;
using Json = nlohmann::json;

// Rule, floor, specialty, and the GlobalIds in ascending order, joined by blanks.
using Finding = std::vector<std::string>;
using Findings = std::multiset<Finding>;

const std::filesystem::path kRules = NORVEX_RULES_DIR;

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

Json Check(const std::filesystem::path& model, const std::vector<std::string>& rules, int& exitCode) {
    const TemporaryFolder folder;
    std::vector<std::string> command{NORVEX_PROGRAM, "check", model.string(), "--project", folder.Path().string(),
                                     "--json",       "-"};
    for (const std::string& rule : rules) {
        command.insert(command.end(), {"--rule", rule});
    }
    const ProcessResult result = norvex::test::RunProcess(command);
    exitCode = result.exitCode;
    Json document = Json::parse(result.out, nullptr, false);
    EXPECT_FALSE(document.is_discarded()) << result.out << result.err;
    return document;
}

Findings FindingsOf(const Json& document) {
    std::map<std::string, std::string> shortNames;
    for (const Json& rule : document.at("scope").at("rules")) {
        shortNames[rule.at("name")] = rule.at("shortName");
    }
    Findings findings;
    for (const Json& finding : document.at("findings")) {
        std::set<std::string> ids;
        for (const Json& object : finding.at("objects")) {
            ids.insert(object.at("globalId").get<std::string>());
        }
        std::string joined;
        for (const std::string& id : ids) {
            joined += (joined.empty() ? "" : " ") + id;
        }
        findings.insert({shortNames.at(finding.at("rule")), finding.at("floor"), finding.at("specialty"), joined});
    }
    return findings;
}

Findings Expected(const std::filesystem::path& table) {
    Findings findings;
    std::vector<std::string> lines = Split(FileText(table), '\n');
    lines.erase(lines.begin());
    for (const std::string& line : lines) {
        findings.insert(Split(line, '\t'));
    }
    return findings;
}

class RuleCases : public testing::TestWithParam<const char*> {};

TEST_P(RuleCases, EndAsTheirNamesAndTablesSay) {
    int passes = 0;
    int fails = 0;
    for (const auto& entry : std::filesystem::directory_iterator(kRules / GetParam() / "cases")) {
        if (entry.path().extension() != ".ifc") {
            continue;
        }
        SCOPED_TRACE(entry.path().filename().string());
        int exitCode = -1;
        const Json document = Check(entry.path(), {GetParam()}, exitCode);
        if (entry.path().filename().string().starts_with("pass-")) {
            EXPECT_EQ(exitCode, 0);
            EXPECT_EQ(FindingsOf(document), Findings());
            ++passes;
        } else {
            std::filesystem::path table = entry.path();
            EXPECT_EQ(exitCode, 1);
            EXPECT_EQ(FindingsOf(document), Expected(table.replace_extension(".tsv")));
            ++fails;
        }
    }
    EXPECT_GT(passes, 0);
    EXPECT_GT(fails, 0);
}

INSTANTIATE_TEST_SUITE_P(Each, RuleCases, testing::Values("pipe-loop", "pipe-link", "pipe-diameter", "layout-flange"),
                         [](const auto& rule) {
                             std::string name = rule.param;
                             std::erase(name, '-');
                             return name;
                         });

TEST(RulesOnTheHouse, FindWhatWasPlantedForThemAndNothingElse) {
    const std::filesystem::path samples = NORVEX_SAMPLES_DIR;
    Findings planted;
    for (const std::string& line : Split(FileText(samples / "house.others.tsv"), '\n')) {
        const std::vector<std::string> fields = Split(line, '\t');
        if (fields.at(0) == "other") {
            planted.insert({fields.at(1), fields.at(3), fields.at(4), fields.at(7)});
        }
    }
    ASSERT_EQ(planted.size(), 4U);
    int exitCode = -1;
    const Json document = Check(samples / "house.ifc", {"pipe-link", "pipe-diameter", "layout-flange"}, exitCode);
    EXPECT_EQ(FindingsOf(document), planted);
    EXPECT_EQ(exitCode, 1);
}

TEST(RulesOnRealModels, SayWhatIsMissingThere) {
    NORVEX_REQUIRE_SHARED("models/B01_2_HeatExchanger_Pipes.ifc");
    const std::filesystem::path models = norvex::test::SharedDir() / "models";
    const std::vector<std::string> rules{"pipe-link", "pipe-diameter", "layout-flange"};
    int exitCode = -1;
    // Four pipes end at the nozzles of a heat exchanger; the model holds no flange.
    EXPECT_EQ(FindingsOf(Check(models / "B01_2_HeatExchanger_Pipes.ifc", rules, exitCode)).size(), 4U);
    // Its pipes are bodies of faces; their boxes tell the diameters.
    EXPECT_EQ(FindingsOf(Check(models / "DDS_Heizung-Elektro_080729.ifc", {"pipe-diameter"}, exitCode)), Findings());
    EXPECT_EQ(FindingsOf(Check(models / "Duplex_Electrical.ifc", rules, exitCode)), Findings());
}

}  // namespace
