// SPDX-License-Identifier: Apache-2.0
#include "samples/generator/Generator.h"

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

#include <sys/wait.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

namespace {

using norvex::samples::ExpectationTable;
using norvex::samples::Generate;
using norvex::samples::Options;
using norvex::samples::PlantInfo;
using norvex::samples::Plants;
using norvex::samples::Summary;

const std::filesystem::path kSamples = NORVEX_SAMPLES_DIR;

std::string Contents(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// What the committed house was made with.
Options HouseOptions() {
    Options options;
    options.floors = 3;
    options.bays = 1;
    options.fileName = "house.ifc";
    for (const PlantInfo& info : Plants()) {
        options.plants.insert(info.plant);
    }
    return options;
}

// Runs the generator's program. Returns: its exit code.
int RunProgram(const std::string& arguments) {
    const int status = std::system((std::string("\"") + NORVEX_SAMPLE_PROGRAM + "\" " + arguments).c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(House, IsWhatTheGeneratorWritesByteForByte) {
    std::ostringstream out;
    const Summary summary = Generate(HouseOptions(), out);
    EXPECT_TRUE(out.str() == Contents(kSamples / "house.ifc")) << "samples/house.ifc is not the generator's output";
    EXPECT_EQ(ExpectationTable(summary.expectations, false), Contents(kSamples / "house.expected.tsv"));
    EXPECT_EQ(ExpectationTable(summary.expectations, true), Contents(kSamples / "house.others.tsv"));
}

TEST(House, IsSmall) {
    EXPECT_LT(std::filesystem::file_size(kSamples / "house.ifc"), 400U * 1024U);
}

TEST(Program, WritesTheHouseWithTheOptionsThatTheReadmeNames) {
    const TemporaryFolder temporary;
    const std::filesystem::path& folder = temporary.Path();
    const std::string house = (folder / "house.ifc").string();
    ASSERT_EQ(RunProgram("--floors 3 --bays 1 --defects all -o " + house + " --expected " +
                         (folder / "e.tsv").string() + " --others " + (folder / "o.tsv").string() + " > /dev/null"),
              0);
    EXPECT_TRUE(Contents(house) == Contents(kSamples / "house.ifc"));
    EXPECT_EQ(Contents(folder / "e.tsv"), Contents(kSamples / "house.expected.tsv"));
    EXPECT_EQ(Contents(folder / "o.tsv"), Contents(kSamples / "house.others.tsv"));
}

TEST(Program, RefusesWrongUse) {
    EXPECT_EQ(RunProgram("> /dev/null 2>&1"), 2);
    EXPECT_EQ(RunProgram("--defects no-such-thing -o /dev/null > /dev/null 2>&1"), 2);
    EXPECT_EQ(RunProgram("--floors 1 --defects storey-loop -o /dev/null > /dev/null 2>&1"), 2);
    EXPECT_EQ(RunProgram("-o /no/such/folder/x.ifc > /dev/null 2>&1"), 2);
    EXPECT_EQ(RunProgram("--floors 0 -o /dev/null > /dev/null 2>&1"), 2);
    EXPECT_EQ(RunProgram("--size 1000 --bays 2 -o /dev/null > /dev/null 2>&1"), 2);
    EXPECT_EQ(RunProgram("--unit inch -o /dev/null > /dev/null 2>&1"), 2);
    EXPECT_EQ(RunProgram("--list-defects > /dev/null"), 0);
}

}  // namespace
