// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>

#include "norvexdata/trust/ErrorFeatureCode.h"
#include "support/TextPrinter.h"

namespace {

bool HasTheForm(const CString& code) {
    if (code.GetLength() != 33 || code[0] != u'_') {
        return false;
    }
    for (int index = 1; index < code.GetLength(); ++index) {
        if (std::u16string_view(u"0123456789abcdef").find(code[index]) == std::u16string_view::npos) {
            return false;
        }
    }
    return true;
}

}  // namespace

// The digests below are those of the md5sum tool over the same bytes.

TEST(FeatureCodeContract, SixEmptyTextsGiveTheDigestOfFiveLineBreaks) {
    EXPECT_EQ(GetErrorFeatureCode(L"", L"", L"", L"", L"", L""), L"_e9767be8092050427ffc3a2f1d4b3b7b");
}

TEST(FeatureCodeContract, TextsAreJoinedByLineBreaksInOrder) {
    EXPECT_EQ(GetErrorFeatureCode(L"a", L"b", L"c", L"d", L"e", L"f"), L"_a1cd484b992de77b711648fe98f3123d");
    EXPECT_EQ(GetErrorFeatureCode(L"b", L"a", L"c", L"d", L"e", L"f"), L"_854e2540f37083b6f774a893fc9fcf5a");
}

TEST(FeatureCodeContract, ChineseTextsAreHashedInTheirCodePageBytes) {
    EXPECT_EQ(GetErrorFeatureCode(L"给排水", L"管线", L"", L"", L"", L"层"), L"_052d275a973ae4f7240d6f9b45029e03");
}

TEST(FeatureCodeContract, MovingTextAcrossAFieldBorderChangesTheCode) {
    EXPECT_NE(GetErrorFeatureCode(L"ab", L"c", L"", L"", L"", L""),
              GetErrorFeatureCode(L"a", L"bc", L"", L"", L"", L""));
    EXPECT_NE(GetErrorFeatureCode(L"", L"", L"", L"", L"a", L""), GetErrorFeatureCode(L"", L"", L"", L"", L"", L"a"));
}

TEST(FeatureCodeContract, ALineBreakInAFieldIsNotToldFromASeparator) {
    EXPECT_EQ(GetErrorFeatureCode(L"a\r\nb", L"c", L"", L"", L"", L""),
              GetErrorFeatureCode(L"a", L"b\r\nc", L"", L"", L"", L""));
}

TEST(FeatureCodeContract, CharactersOutsideTheCodePageAreHashedAsItsDefaultCharacter) {
    const CString thai = GetErrorFeatureCode(L"\x0E01", L"b", L"", L"", L"", L"");
    EXPECT_EQ(thai, GetErrorFeatureCode(L"\x0915", L"b", L"", L"", L"", L""));
    EXPECT_EQ(thai, GetErrorFeatureCode(L"?", L"b", L"", L"", L"", L""));
}

TEST(FeatureCodeContract, FieldsAreNeitherTrimmedNorFolded) {
    const CString plain = GetErrorFeatureCode(L"a", L"", L"", L"", L"", L"");
    EXPECT_NE(plain, GetErrorFeatureCode(L" a", L"", L"", L"", L"", L""));
    EXPECT_NE(plain, GetErrorFeatureCode(L"a ", L"", L"", L"", L"", L""));
    EXPECT_NE(plain, GetErrorFeatureCode(L"A", L"", L"", L"", L"", L""));
}

TEST(FeatureCodeContract, TextsWithPercentSignsAreTakenAsTheyStand) {
    EXPECT_EQ(GetErrorFeatureCode(L"%s", L"%d", L"100%", L"", L"", L""), L"_3f439adb6a6356348f276abc836708a1");
}

TEST(FeatureCodeContract, CodesOfTextsOfEveryLengthHaveTheForm) {
    for (int length = 0; length <= 200; ++length) {
        const CString text(L'x', length);
        EXPECT_TRUE(HasTheForm(GetErrorFeatureCode(text, L"管", text, L"", L"\x0E01", text))) << length;
    }
}

TEST(FeatureCodeContract, DigestsAreRightAroundTheBlockBorders) {
    // The five line breaks take ten bytes, so these texts make 55, 56, 63, 64, 65 and 1000000 bytes.
    EXPECT_EQ(GetErrorFeatureCode(CString(L'q', 45), L"", L"", L"", L"", L""), L"_a8e4ece77ee465fbe2decf84c6ce8431");
    EXPECT_EQ(GetErrorFeatureCode(CString(L'q', 46), L"", L"", L"", L"", L""), L"_dab799b25d0c13942886180ef2b5957a");
    EXPECT_EQ(GetErrorFeatureCode(CString(L'q', 53), L"", L"", L"", L"", L""), L"_4ae4005172bddad7b7f1cd525d3453ba");
    EXPECT_EQ(GetErrorFeatureCode(CString(L'q', 54), L"", L"", L"", L"", L""), L"_cc5963e6cf02a247acf9bff36d3c9d34");
    EXPECT_EQ(GetErrorFeatureCode(CString(L'q', 55), L"", L"", L"", L"", L""), L"_30def4dc6f219f8adc08cb79a78aaac7");
    EXPECT_EQ(GetErrorFeatureCode(CString(L'q', 999990), L"", L"", L"", L"", L""),
              L"_aaa7383a433f6ff8b022b97278065db4");
}

TEST(FeatureCodeContract, EqualTextsGiveEqualCodes) {
    EXPECT_EQ(GetErrorFeatureCode(L"管线", L"b", L"c", L"d", L"e", L"f"),
              GetErrorFeatureCode(L"管线", L"b", L"c", L"d", L"e", L"f"));
}
