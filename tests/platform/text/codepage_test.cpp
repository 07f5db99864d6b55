// SPDX-License-Identifier: Apache-2.0
#include "platform/text/CodePage.h"
#include "platform/text/CString.h"
#include "support/SharedData.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

using norvex::text::NarrowToWide;
using norvex::text::NarrowToWideCounted;
using norvex::text::View;
using norvex::text::WideToNarrow;
using norvex::text::WideToNarrowCounted;

namespace {

constexpr const char* kWideToNarrow = "data/cp936/wide_to_narrow.tsv";
constexpr const char* kNarrowToWide = "data/cp936/narrow_to_wide.tsv";

// Rows of two hexadecimal columns; lines that begin with '#' are comments.
std::map<unsigned, unsigned> ReadTable(const char* relative) {
    std::ifstream file(norvex::test::SharedDir() / relative);
    std::map<unsigned, unsigned> table;
    std::string line;
    while (std::getline(file, line)) {
        if (line.empty() || line.front() == '#') {
            continue;
        }
        std::size_t tab = 0;
        const unsigned long from = std::stoul(line, &tab, 16);
        const unsigned long to = std::stoul(line.substr(tab), nullptr, 16);
        table.emplace(static_cast<unsigned>(from), static_cast<unsigned>(to));
    }
    return table;
}

std::string Bytes(unsigned value) {
    std::string bytes;
    if (value > 0xFF) {
        bytes += static_cast<char>(value >> 8);
    }
    bytes += static_cast<char>(value & 0xFF);
    return bytes;
}

}  // namespace

TEST(CodePage, ConvertsAHandfulBothWays) {
    const struct {
        const char16_t* wide;
        const char* narrow;
    } cases[] = {
        {u"", ""},
        {u"Az~\x7F", "Az~\x7F"},
        {u"给排水", "\xB8\xF8\xC5\xC5\xCB\xAE"},
        {u"≥≤", "\xA1\xDD\xA1\xDC"},
        {u"€", "\x80"},
        {u"\uE000", "\xAA\xA1"},
        {u"\u3000", "\xA1\xA1"},
    };
    for (const auto& [wide, narrow] : cases) {
        EXPECT_EQ(WideToNarrow(CString(wide)), narrow);
        EXPECT_EQ(NarrowToWide(narrow), wide);
    }
}

TEST(CodePage, FitsCharactersWithoutAPlaceOfTheirOwn) {
    EXPECT_EQ(WideToNarrow(u"a\u00ADb"), "a-b");     // soft hyphen
    EXPECT_EQ(WideToNarrow(u"\u00C0"), "\xA8\xA4");  // A with grave: its small letter
}

TEST(CodePage, WritesOneQuestionMarkForEachUnitThatDoesNotMap) {
    EXPECT_EQ(WideToNarrow(u"a\U00020000b"), "a??b");
    EXPECT_EQ(WideToNarrow(u"\xD800"), "?");
    EXPECT_EQ(WideToNarrow(u"\u0E01\uFFFD"), "??");
    EXPECT_EQ(WideToNarrow(u"\u200D\u034F\uFEFF"), "???");  // invisible characters are not dropped
    EXPECT_EQ(WideToNarrow(u"\uFFE9\uFFEE"), "??");
}

TEST(CodePage, ReadsBrokenBytesAsQuestionMarks) {
    EXPECT_EQ(NarrowToWide("a\x81\x20z"), u"a?z");  // the trail byte is lost with its lead byte
    EXPECT_EQ(NarrowToWide("\x81"), u"?");          // the text ends inside a character
    EXPECT_EQ(NarrowToWide("\xB8\xF8\xB8"), u"给?");
    EXPECT_EQ(NarrowToWide("\x81\x7F"), u"?");             // 7F is no trail byte
    EXPECT_EQ(NarrowToWide("\xFF\x80"), u"\uF8F5\u20AC");  // single bytes, no lead bytes
}

TEST(CodePage, ReadsBrokenBytesNoFurtherWhenAskedForWellFormedOnes) {
    const struct {
        std::string_view narrow;
        std::u16string_view wide;
        std::size_t read;
    } cases[] = {
        {"", u"", 0},
        {"a?\xB8\xF8z", u"a?给z", 5},
        {"\x80\xFF\xAA\xA1", u"\u20AC\uF8F5\uE000", 4},
        {"a\x81\x20z", u"a", 1},
        {"a\x81", u"a", 1},
        {std::string_view("\x81\0z", 3), u"", 0},
        {std::string_view("a\0z", 3), std::u16string_view(u"a\0z", 3), 3},
    };
    for (const auto& [narrow, wide, read] : cases) {
        std::u16string out;
        EXPECT_EQ(norvex::text::AppendWellFormed(narrow, out), read);
        EXPECT_TRUE(out == wide);
    }
}

TEST(CodePage, ReadsWellFormedBytesAsItReadsAnyBytes) {
    for (unsigned value = 0; value <= 0xFFFF; ++value) {
        const std::string narrow{static_cast<char>(value >> 8), static_cast<char>(value & 0xFF)};
        // One character at a time, as far as none comes out as a question mark that is not one.
        std::u16string expected;
        std::size_t at = 0;
        while (at < narrow.size()) {
            const std::string character = narrow.substr(at, norvex::text::IsNarrowLead(narrow[at]) ? 2 : 1);
            const CString wide = NarrowToWideCounted(character);
            if (wide.GetLength() != 1 || (wide[0] == u'?' && character != "?")) {
                break;
            }
            expected += wide[0];
            at += character.size();
        }
        std::u16string read;
        ASSERT_EQ(norvex::text::AppendWellFormed(narrow, read), at) << value;
        ASSERT_TRUE(read == expected) << value;
    }
}

TEST(CodePage, StopsAtTheFirstNulUnlessCounted) {
    EXPECT_EQ(WideToNarrow(CString(u"a\0b", 3)), "a");
    EXPECT_EQ(NarrowToWide(std::string_view("a\0b", 3)).GetLength(), 1);
    EXPECT_EQ(WideToNarrowCounted(std::u16string_view(u"a\0水", 3)), std::string("a\0\xCB\xAE", 4));
    const CString wide = NarrowToWideCounted(std::string_view("\x81\0b", 3));
    EXPECT_EQ(View(wide), std::u16string_view(u"?\0b", 3));
}

TEST(CodePage, ServesSeveralThreadsAtOnce) {
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([] {
            for (int round = 0; round < 1000; ++round) {
                ASSERT_EQ(WideToNarrow(u"给排水"), "\xB8\xF8\xC5\xC5\xCB\xAE");
                ASSERT_EQ(NarrowToWide("\xB8\xF8"), u"给");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(CodePage, MapsEveryCodeUnitAsTheSystemDoes) {
    NORVEX_REQUIRE_SHARED(kWideToNarrow);
    const std::map<unsigned, unsigned> truth = ReadTable(kWideToNarrow);
    ASSERT_EQ(truth.size(), 24482U);
    int wrong = 0;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        const auto source = static_cast<char16_t>(unit);
        const auto entry = truth.find(unit);
        const std::string expected = entry == truth.end() ? "?" : Bytes(entry->second);
        const std::string actual = WideToNarrowCounted({&source, 1});
        if (actual != expected && ++wrong <= 10) {
            ADD_FAILURE() << std::hex << "U+" << unit << ": " << testing::PrintToString(actual) << " instead of "
                          << testing::PrintToString(expected);
        }
    }
    EXPECT_EQ(wrong, 0);
}

TEST(CodePage, MapsEveryByteAndEveryPairAsTheSystemDoes) {
    NORVEX_REQUIRE_SHARED(kNarrowToWide);
    const std::map<unsigned, unsigned> truth = ReadTable(kNarrowToWide);
    ASSERT_EQ(truth.size(), 24070U);  // of 24,071 rows; A2A1 stands there twice
    int wrong = 0;
    const auto expect = [&](const std::string& bytes, const std::u16string& expected) {
        const CString actual = NarrowToWideCounted(bytes);
        if (View(actual) != expected && ++wrong <= 10) {
            ADD_FAILURE() << testing::PrintToString(bytes) << ": " << testing::PrintToString(actual);
        }
    };
    // What one byte is when it is read on its own: its character, or '?' for a lead byte without a trail byte.
    const auto single = [&](unsigned byte) {
        const auto entry = truth.find(byte);
        return static_cast<char16_t>(entry == truth.end() ? u'?' : entry->second);
    };
    for (unsigned first = 0; first <= 0xFF; ++first) {
        expect(std::string(1, static_cast<char>(first)), std::u16string(1, single(first)));
        const bool isLead = truth.find(first) == truth.end();
        for (unsigned second = 0; second <= 0xFF; ++second) {
            const std::string pair{static_cast<char>(first), static_cast<char>(second)};
            const auto entry = truth.find(first << 8 | second);
            if (isLead && second != 0) {
                expect(pair, std::u16string(1, static_cast<char16_t>(entry == truth.end() ? u'?' : entry->second)));
            } else {
                expect(pair, {single(first), single(second)});
            }
        }
    }
    EXPECT_EQ(wrong, 0);
}
