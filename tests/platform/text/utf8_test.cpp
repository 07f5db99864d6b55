// SPDX-License-Identifier: Apache-2.0
#include "platform/text/Utf8.h"
#include "platform/text/CString.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

using norvex::text::FromUtf8;
using norvex::text::ToUtf8;
using norvex::text::View;

TEST(Utf8, CarriesEveryCharacterThereAndBack) {
    for (char32_t character = 0; character <= 0x10FFFF; ++character) {
        if (character >= 0xD800 && character <= 0xDFFF) {
            continue;
        }
        const auto wide = static_cast<wchar_t>(character);
        const CString text(&wide, 1);
        ASSERT_EQ(View(FromUtf8(ToUtf8(text))), View(text)) << std::hex << static_cast<unsigned>(character);
    }
}

TEST(Utf8, WritesTheKnownBytes) {
    EXPECT_EQ(ToUtf8(CString(u"aé水\U00020000")), "a\xC3\xA9\xE6\xB0\xB4\xF0\xA0\x80\x80");
    EXPECT_EQ(ToUtf8(CString()), "");
    EXPECT_EQ(ToUtf8(CString(u"a\0b", 3)), std::string("a\0b", 3));
    EXPECT_EQ(View(FromUtf8(std::string_view("a\0b", 3))), std::u16string_view(u"a\0b", 3));
    EXPECT_TRUE(FromUtf8("").IsEmpty());
    EXPECT_TRUE(FromUtf8(std::string_view()).IsEmpty());
}

TEST(Utf8, ReplacesLoneSurrogates) {
    EXPECT_EQ(ToUtf8(CString(u"a\xD800z")), "a\xEF\xBF\xBDz");
    EXPECT_EQ(ToUtf8(CString(u"\xDC00\xD800")), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(Utf8, ReplacesEachIllFormedPart) {
    EXPECT_EQ(FromUtf8("a\xFFz"), u"a\uFFFDz");
    EXPECT_EQ(FromUtf8("\x80\x80"), u"\uFFFD\uFFFD");
    EXPECT_EQ(FromUtf8("\xE6\xB0"), u"\uFFFD");                  // cut off: one part
    EXPECT_EQ(FromUtf8("\xE6\xB0z"), u"\uFFFDz");                // the next character stays
    EXPECT_EQ(FromUtf8("\xC0\xAF"), u"\uFFFD\uFFFD");            // overlong
    EXPECT_EQ(FromUtf8("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");  // an encoded surrogate
    EXPECT_EQ(FromUtf8("\xF4\x90\x80\x80").GetLength(), 4);      // beyond Unicode
}
