// SPDX-License-Identifier: Apache-2.0
// The whole way, as a person goes it: the program checks a sample and finds what the sample's table says, no more.
#include "samples/generator/Generator.h"
#include "support/Process.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using norvex::samples::Expectation;
using norvex::samples::Generate;
using norvex::samples::LengthUnit;
using norvex::samples::Options;
using norvex::samples::Plant;
using norvex::samples::PlantInfo;
using norvex::samples::Plants;
using norvex::samples::PortStyle;
using norvex::samples::Summary;
using norvex::samples::Verdict;
using norvex::test::FileText;
using norvex::test::ProcessResult;
using norvex::test::TemporaryFolder;
using Json = nlohmann::json;

const std::filesystem::path kSamples = NORVEX_SAMPLES_DIR;

// One finding, or one line of the table that announces a finding.
struct Found {
    std::string rule;
    std::string floor;
    std::string specialty;
    std::string severity;
    std::set<std::string> globalIds;

    friend auto operator<=>(const Found&, const Found&) = default;
};

std::ostream& operator<<(std::ostream& out, const Found& found) {
    out << found.rule << " " << found.floor << " " << found.specialty << " " << found.severity;
    for (const std::string& id : found.globalIds) {
        out << " " << id;
    }
    return out;
}

struct Checked {
    int exitCode = -1;
    std::multiset<Found> findings;
    Json document;
};

Checked Check(const std::filesystem::path& model) {
    const TemporaryFolder folder;
    const ProcessResult result =
        norvex::test::RunProcess({NORVEX_PROGRAM, "check", model.string(), "--project", (folder / "project").string(),
                                  "--rule", "pipe-loop", "--json", "-"});
    Checked checked;
    checked.exitCode = result.exitCode;
    checked.document = Json::parse(result.out, nullptr, false);
    EXPECT_FALSE(checked.document.is_discarded()) << result.out << result.err;
    if (checked.document.is_discarded()) {
        return checked;
    }
    EXPECT_TRUE(checked.document.at("complete").get<bool>()) << checked.document.at("incomplete");
    // The words of the program's document for the severities that the table names.
    const std::map<std::string, std::string> severities{
        {"confirmed", "ERR_CONFIRMED"}, {"suspected", "ERR_SUSPECTED"}, {"remind", "ERR_REMIND"}};
    std::map<std::string, std::string> rules;
    for (const Json& rule : checked.document.at("scope").at("rules")) {
        rules[rule.at("name")] = rule.at("shortName");
    }
    for (const Json& finding : checked.document.at("findings")) {
        Found found{rules.at(finding.at("rule")),
                    finding.at("floor"),
                    finding.at("specialty"),
                    severities.at(finding.at("severity")),
                    {}};
        for (const Json& object : finding.at("objects")) {
            EXPECT_TRUE(found.globalIds.insert(object.at("globalId")).second) << "a pipe twice in one finding";
        }
        checked.findings.insert(std::move(found));
    }
    return checked;
}

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, separator);) {
        parts.push_back(part);
    }
    return parts;
}

struct Table {
    std::multiset<Found> findings;
    std::set<std::string> silent;
};

Table TableOf(const std::string& text) {
    Table table;
    std::vector<std::string> lines = Split(text, '\n');
    lines.erase(lines.begin());
    for (const std::string& line : lines) {
        const std::vector<std::string> fields = Split(line, '\t');
        const std::vector<std::string> ids = Split(fields.at(7), ' ');
        EXPECT_EQ(std::to_string(ids.size()), fields.at(6)) << line;
        if (fields.at(0) == "finding") {
            table.findings.insert({fields.at(1), fields.at(3), fields.at(4), fields.at(5), {ids.begin(), ids.end()}});
        } else {
            table.silent.insert(ids.begin(), ids.end());
        }
    }
    return table;
}

void ExpectExactly(const Checked& checked, const Table& table) {
    EXPECT_EQ(checked.findings, table.findings);
    for (const Found& found : checked.findings) {
        for (const std::string& id : found.globalIds) {
            EXPECT_FALSE(table.silent.contains(id)) << id << " is no part of a loop";
        }
    }
}

// A generated building in a folder of its own, with its table.
struct Building {
    explicit Building(const Options& options) {
        std::ofstream out(model, std::ios::binary);
        const Summary summary = Generate(options, out);
        table = TableOf(ExpectationTable(summary.expectations, false));
    }

    TemporaryFolder folder;
    std::filesystem::path model = folder / "building.ifc";
    Table table;
};

Options AllDefects() {
    Options options;
    for (const PlantInfo& info : Plants()) {
        options.plants.insert(info.plant);
    }
    return options;
}

TEST(CheckHouse, FindsExactlyWhatTheTableSays) {
    const Table table = TableOf(FileText(kSamples / "house.expected.tsv"));
    ASSERT_EQ(table.findings.size(), 5U);
    ASSERT_EQ(table.silent.size(), 7U);
    const Checked checked = Check(kSamples / "house.ifc");
    ExpectExactly(checked, table);
    EXPECT_EQ(checked.exitCode, 1);
}

TEST(CheckHouse, LooksAtEveryPipeOfTheSpecialtiesWithPipes) {
    const Checked checked = Check(kSamples / "house.ifc");
    std::size_t examined = 0;
    for (const Json& outcome : checked.document.at("outcomes")) {
        examined += outcome.at("examined").get<std::size_t>();
    }
    // As many pipes as the file holds, the one on no storey among them.
    const std::string text = FileText(kSamples / "house.ifc");
    std::size_t pipes = 0;
    for (std::size_t at = text.find("=IFCPIPESEGMENT("); at != std::string::npos;
         at = text.find("=IFCPIPESEGMENT(", at + 1)) {
        ++pipes;
    }
    EXPECT_GT(pipes, 100U);
    EXPECT_EQ(examined, pipes);
}

TEST(CheckBuilding, FindsNothingButTheRingMainInAnHonestOne) {
    const Building building{Options()};
    const Checked checked = Check(building.model);
    ASSERT_EQ(building.table.findings.size(), 1U);
    ExpectExactly(checked, building.table);
}

TEST(CheckBuilding, FindsEachDefectAlone) {
    for (const PlantInfo& info : Plants()) {
        Options options;
        options.plants = {info.plant};
        const Building building(options);
        SCOPED_TRACE(info.name);
        ExpectExactly(Check(building.model), building.table);
    }
}

TEST(CheckBuilding, FindsTheSameHoweverTheFileIsWritten) {
    Options metres = AllDefects();
    metres.unit = LengthUnit::Metre;
    Options related = AllDefects();
    related.ports = PortStyle::Related;
    Options shapes = AllDefects();
    shapes.ports = PortStyle::None;
    // Its tees and bends touch directly, with no pipe between; shapes alone do not say that they are joined.
    shapes.plants.erase(Plant::PipePair);
    for (const Options& options : {metres, related, shapes}) {
        const Building building(options);
        ExpectExactly(Check(building.model), building.table);
    }
}

TEST(CheckBuilding, FindsTheSameInALargerOne) {
    Options options = AllDefects();
    options.floors = 6;
    options.size = 5000;
    const Building building(options);
    ExpectExactly(Check(building.model), building.table);
}

}  // namespace
