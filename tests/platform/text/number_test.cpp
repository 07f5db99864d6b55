// SPDX-License-Identifier: Apache-2.0
#include "platform/text/Number.h"

#include "platform/text/Utf8.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <regex>
#include <string>
#include <vector>

using norvex::text::LeadingNumber;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// As the C library reads a number. It takes other words and blanks for parts of one; these the pattern keeps out.
double NumberByPattern(const std::string& text) {
    static const std::regex number("^[ \\t\\n\\v\\f\\r]*([+-]?([0-9]+\\.?[0-9]*|\\.[0-9]+)([eE][+-]?[0-9]+)?)");
    std::smatch found;
    return std::regex_search(text, found, number) ? std::strtod(found[1].str().c_str(), nullptr) : 0.0;
}

}  // namespace

TEST(LeadingNumber, IsTheOneATextBeginsWith) {
    const struct {
        const char16_t* text;
        double number;
    } cases[] = {
        {u"2.5", 2.5},
        {u" +3x", 3},
        {u"1e2", 100},
        {u".5", 0.5},
        {u"5.", 5},
        {u"-7 8", -7},
        {u"007", 7},
        {u"12,5", 12},
        {u"1e", 1},
        {u"1e+", 1},
        {u"3\u00E9", 3},
        {u"\u3000\u00A03", 3},
        {u"", 0},
        {u"x3", 0},
        {u"0x10", 0},
        {u"inf", 0},
        {u"nan", 0},
        {u"--3", 0},
        {u"+-3", 0},
        {u"- 3", 0},
        {u".", 0},
        {u"-", 0},
        {u"e5", 0},
        {u"３", 0},
        {u"1e400", kInfinity},
        {u"-1e400", -kInfinity},
        {u"0.1e400", kInfinity},
        {u"1e-400", 0},
        {u"10e-400", 0},
        {u"0e400", 0},
        {u"1.7976931348623157e308", std::numeric_limits<double>::max()},
        {u"4.9e-324", std::numeric_limits<double>::denorm_min()},
    };
    for (const auto& [text, number] : cases) {
        EXPECT_EQ(LeadingNumber(text), number) << norvex::text::ToUtf8(text);
    }
    EXPECT_EQ(LeadingNumber(CString(u"3\0004", 3)), 3) << "a text ends at its NUL";
}

TEST(LeadingNumber, IsWhatThePatternOfANumberSays) {
    std::mt19937 random(20240315);
    const std::vector<std::string> pieces{"0",
                                          "00",
                                          "1",
                                          "7",
                                          "25",
                                          "999",
                                          ".",
                                          ".",
                                          "e",
                                          "E",
                                          "+",
                                          "-",
                                          " ",
                                          "\t",
                                          "x",
                                          "400",
                                          "e40",
                                          "e-4",
                                          "inf",
                                          "nan",
                                          "0x",
                                          ",",
                                          "e308",
                                          "e-308",
                                          std::string(330, '0'),
                                          "e330",
                                          "e-330",
                                          "e99999999999999999999"};
    for (int round = 0; round < 20'000; ++round) {
        std::string text;
        for (auto count = random() % 8; count > 0; --count) {
            text += pieces[random() % pieces.size()];
        }
        const double expected = NumberByPattern(text);
        const double number = LeadingNumber(norvex::text::FromUtf8(text));
        ASSERT_EQ(number, expected) << text;
        ASSERT_EQ(std::signbit(number), std::signbit(expected)) << text;
    }
}
