// SPDX-License-Identifier: Apache-2.0
#include "service/json/ReadJson.h"

#include <gtest/gtest.h>

#include <random>

namespace norvex::service::json {
namespace {

TEST(ReadJson, TakesWhatIsJson) {
    for (const char* text : {"7", "\"\"", "[]", "{}", " [1, -0.5e-3, true, null] \n",
                             "{\"a\":{\"a\":[{\"a\":1},{\"a\":2}]}}", "\xEF\xBB\xBF{\"name\":\"层\"}",
                             "[1e308, 1e-999999, 18446744073709551616]", "\"\\u5C42 \\uD83D\\uDE00 \\u0000\""}) {
        const ReadResult read = ReadJson(text);
        ASSERT_TRUE(read.document) << text << ": " << read.fault;
        const std::string_view bare = std::string_view(text).starts_with("\xEF\xBB\xBF") ? text + 3 : text;
        EXPECT_EQ(*read.document, nlohmann::json::parse(bare)) << text;
        EXPECT_EQ(read.fault, "");
    }
}

TEST(ReadJson, SaysWhereItIsWrong) {
    struct Case {
        std::string text;
        std::string fault;
    };
    const std::vector<Case> cases{
        {"", "is empty."},
        {"\xEF\xBB\xBF", "is not JSON: it cannot be understood in line 1 (byte 4)."},
        {"[1,\n2,\n}", "is not JSON: it cannot be understood in line 3 (byte 8)."},
        {"[1]\n[2]", "is not JSON: it cannot be understood in line 2 (byte 5)."},
        {"[\n1e309\n]", "has a number that is out of all bounds in line 2 (byte 7)."},
        {"-1e999999", "has a number that is out of all bounds in line 1 (byte 8)."},
        {"{\"a\":1,\n\"a\":2}", "has two values for \"a\" in line 2 (byte 11)."},
        {"{\"a\":1,\n\"\\u0061\":2}", "has two values for \"a\" in line 2 (byte 16)."},
        {"[\n\"\xC3\"]", "is not JSON: it cannot be understood in line 2 (byte 5)."},
        {"[\"\\uD800\"]", "is not JSON: it cannot be understood in line 1 (byte 9)."},
        {"[NaN]", "is not JSON: it cannot be understood in line 1 (byte 2)."},
        {"[1] // why", "is not JSON: it cannot be understood in line 1 (byte 5)."},
        {std::string("[1]\n\0[2]", 8), "is not JSON: there is a zero byte in line 2 (byte 5)."},
        {std::string("[\0]\0", 4), "is not JSON: there is a zero byte in line 1 (byte 2)."},
        {"\xFE\xFF[]", "is written in UTF-16; it must be UTF-8."},
        {std::string(1000000, '['), "is nested more than 64 deep in line 1 (byte 65)."},
    };
    for (const Case& each : cases) {
        const ReadResult read = ReadJson(each.text);
        EXPECT_FALSE(read.document) << each.fault;
        EXPECT_EQ(read.fault, each.fault);
    }
}

TEST(ReadJson, KeepsToItsLimits) {
    const ReadLimits limits{.maxBytes = std::size_t{1} << 20U, .maxDepth = 2, .maxValues = 4};
    EXPECT_TRUE(ReadJson("[[1,2]]", limits).document);
    EXPECT_EQ(ReadJson("[[1,\n2,3]]", limits).fault, "holds more than 4 values in line 2 (byte 9).");
    EXPECT_EQ(ReadJson("[{\"a\":{}}]", limits).fault, "is nested more than 2 deep in line 1 (byte 7).");
    EXPECT_EQ(ReadJson(std::string((std::size_t{1} << 20U) + 1, ' '), limits).fault, "is larger than 1 MiB.");
}

TEST(ReadJson, EndsInADocumentOrAFaultForAnyBytes) {
    std::mt19937 random(7);
    const std::string good =
        R"({"format":"norvex-trust","version":1,"entries":[{"kind":"rule","rule":"层","x":1.5e7}]})";
    for (int round = 0; round < 20000; ++round) {
        std::string text = good;
        for (int change = 0; change < 3; ++change) {
            text[random() % text.size()] =
                round % 2 == 0 ? static_cast<char>(random()) : "[]{},:\"0e9\\"[random() % 11];
        }
        const ReadResult read = ReadJson(text);
        EXPECT_NE(read.document.has_value(), !read.fault.empty()) << text;
    }
}

TEST(QuotedBriefly, CutsBetweenCharacters) {
    EXPECT_EQ(QuotedBriefly("层"), "\"层\"");
    EXPECT_EQ(QuotedBriefly(std::string(80, 'x')), '"' + std::string(80, 'x') + '"');
    EXPECT_EQ(QuotedBriefly(std::string(79, 'x') + "层层"), '"' + std::string(79, 'x') + "…\"");
}

}  // namespace
}  // namespace norvex::service::json
