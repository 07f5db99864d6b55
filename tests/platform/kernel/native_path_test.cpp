// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/NamePattern.h"
#include "platform/kernel/NativePath.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using norvex::kernel::FromNativePath;
using norvex::kernel::MatchesPattern;
using norvex::kernel::ToNativePath;

TEST(NativePath, TurnsBackslashesIntoSeparatorsAndBack) {
    EXPECT_EQ(ToNativePath(L"\\data\\一号楼 B座\\NxResult"), "/data/一号楼 B座/NxResult");
    EXPECT_EQ(FromNativePath("/data/一号楼 B座/NxResult"), L"\\data\\一号楼 B座\\NxResult");
    EXPECT_EQ(ToNativePath(L""), "");
    EXPECT_EQ(ToNativePath(L"a/b"), "a/b");
}

TEST(NativePath, WritesCharactersBeyondTheBasicPlaneAsFourBytes) {
    EXPECT_EQ(ToNativePath(u"\\𠮷"), "/\xF0\xA0\xAE\xB7");
    EXPECT_EQ(FromNativePath("/\xF0\xA0\xAE\xB7"), u"\\𠮷");
}

TEST(NativePath, EndsAtTheFirstNul) {
    EXPECT_EQ(ToNativePath(CString(u"\\a\0\\b", 5)), "/a");
}

TEST(NativePath, KeepsBytesThatAreNoText) {
    EXPECT_EQ(FromNativePath("a\xFF.xml"), CString(u"a\xDCFF.xml"));
    EXPECT_EQ(ToNativePath(FromNativePath("a\xFF.xml")), "a\xFF.xml");
    // Too long a form, a surrogate, beyond Unicode, cut short.
    for (const std::string bytes : {"\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE4\xB8", "\x80", "\xF8\x88"}) {
        const CString host = FromNativePath(bytes);
        EXPECT_EQ(host.GetLength(), static_cast<int>(bytes.size()));
        EXPECT_EQ(ToNativePath(host), bytes);
    }
}

TEST(NativePath, TellsABackslashInANameFromASeparator) {
    EXPECT_EQ(FromNativePath("/a\\b"), CString(u"\\a\xDC5C"
                                               u"b"));
    EXPECT_EQ(ToNativePath(FromNativePath("/a\\b")), "/a\\b");
}

TEST(NativePath, SurvivesTheRoundTripWhateverItsBytes) {
    std::mt19937 random(20240315);
    const std::string interesting = "/\\.a\x7F\x80\xBF\xC2\xE4\xB8\xAD\xED\xA0\xF0\x9F\x98\x80\xFF";
    for (int round = 0; round < 100'000; ++round) {
        std::string bytes(random() % 12, '\0');
        for (char& byte : bytes) {
            byte = interesting[random() % interesting.size()];
        }
        ASSERT_EQ(ToNativePath(FromNativePath(bytes)), bytes);
    }
}

TEST(NamePattern, IgnoresLetterCaseAndNothingElse) {
    EXPECT_TRUE(MatchesPattern(L"CCheckPipeLoop.Arx", L"*.Arx"));
    EXPECT_TRUE(MatchesPattern(L"检查.ARX", L"*.Arx"));
    EXPECT_TRUE(MatchesPattern(L"a.b.arx", L"*.Arx"));
    EXPECT_TRUE(MatchesPattern(L".arx", L"*.Arx"));
    EXPECT_FALSE(MatchesPattern(L"x.arxx", L"*.Arx"));
    EXPECT_FALSE(MatchesPattern(L"x.arx.bak", L"*.Arx"));
    EXPECT_FALSE(MatchesPattern(L"xarx", L"*.Arx"));
    EXPECT_FALSE(MatchesPattern(L".", L"*.Arx"));
    EXPECT_FALSE(MatchesPattern(L"x.xmlx", L"*.xml"));
    EXPECT_TRUE(MatchesPattern(L"x.XML", L"*.xml"));
}

TEST(NamePattern, KnowsStarsAndQuestionMarks) {
    EXPECT_TRUE(MatchesPattern(L"", L"*"));
    EXPECT_TRUE(MatchesPattern(L"ab", L"**b*"));
    EXPECT_TRUE(MatchesPattern(L"aXbXc", L"a*b*c"));
    EXPECT_TRUE(MatchesPattern(L"aab", L"*ab"));
    EXPECT_TRUE(MatchesPattern(L"a1", L"a?"));
    EXPECT_FALSE(MatchesPattern(L"a", L"a?"));
    EXPECT_FALSE(MatchesPattern(L"", L"?"));
    EXPECT_TRUE(MatchesPattern(L"name", L"*.*"));
}

}  // namespace
