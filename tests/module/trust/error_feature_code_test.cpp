// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/trust/ErrorFeatureCode.h"
#include "norvexdata/trust/Md5.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The code of six narrow texts that are in the code page already.
CString CodeOfBytes(const std::string& bytes) {
    norvex::trust::Md5 md5;
    md5.Update(bytes);
    return CString("_") + CString(norvex::trust::ToHex(md5.Finish()).c_str());
}

CString CodeOfFirst(const CString& field) {
    return GetErrorFeatureCode(field, u"", u"", u"", u"", u"");
}

// A text that holds NULs.
CString Counted(std::u16string_view units) {
    return norvex::text::ToCString(units);
}

}  // namespace

TEST(ErrorFeatureCode, OfSixEmptyTextsHashesFiveLineBreaks) {
    EXPECT_EQ(GetErrorFeatureCode(u"", u"", u"", u"", u"", u""), u"_e9767be8092050427ffc3a2f1d4b3b7b");
    EXPECT_EQ(GetErrorFeatureCode(u"", u"", u"", u"", u"", u""), CodeOfBytes("\r\n\r\n\r\n\r\n\r\n"));
}

TEST(ErrorFeatureCode, JoinsTheFieldsInOrderWithLineBreaks) {
    EXPECT_EQ(GetErrorFeatureCode(u"a", u"b", u"c", u"d", u"e", u"f"), CodeOfBytes("a\r\nb\r\nc\r\nd\r\ne\r\nf"));
    EXPECT_EQ(GetErrorFeatureCode(u"a", u"b", u"c", u"d", u"e", u"f"),
              GetErrorFeatureCode(u"a", u"b", u"c", u"d", u"e", u"f"));
    EXPECT_NE(GetErrorFeatureCode(u"a", u"b", u"c", u"d", u"e", u"f"),
              GetErrorFeatureCode(u"b", u"a", u"c", u"d", u"e", u"f"));
}

TEST(ErrorFeatureCode, ChangesWhenTextMovesToTheNextField) {
    EXPECT_NE(GetErrorFeatureCode(u"ab", u"", u"", u"", u"", u""), GetErrorFeatureCode(u"a", u"b", u"", u"", u"", u""));
}

TEST(ErrorFeatureCode, DoesNotTellALineBreakInAFieldFromASeparator) {
    EXPECT_EQ(GetErrorFeatureCode(u"a\r\nb", u"c", u"d", u"e", u"f", u""),
              GetErrorFeatureCode(u"a", u"b\r\nc", u"d", u"e", u"f", u""));
}

TEST(ErrorFeatureCode, DoesNotTrimFields) {
    EXPECT_EQ(CodeOfFirst(u" a "), CodeOfBytes(" a \r\n\r\n\r\n\r\n\r\n"));
}

TEST(ErrorFeatureCode, HashesChineseInItsCodePageBytes) {
    // The digest of the text in GBK, from another implementation.
    EXPECT_EQ(GetErrorFeatureCode(u"R1", u"管线", u"给水管", u"DN50", u"3层", u"回路"),
              u"_279e587c27287d0325d8d5546ceb6933");
    EXPECT_EQ(CodeOfFirst(u"€"), CodeOfBytes("\x80\r\n\r\n\r\n\r\n\r\n"));
}

TEST(ErrorFeatureCode, HashesUnmappableCharactersAsQuestionMarks) {
    EXPECT_EQ(CodeOfFirst(u"\u0E01"), CodeOfFirst(u"?"));
    EXPECT_EQ(CodeOfFirst(u"\u0E01"), CodeOfFirst(u"\u0E02"));
    EXPECT_EQ(CodeOfFirst(u"\xD83D\xDE00"), CodeOfFirst(u"??")) << "one for each code unit";
    EXPECT_EQ(CodeOfFirst(u"\xD83D"), CodeOfFirst(u"?")) << "half a pair";
}

TEST(ErrorFeatureCode, EndsEachFieldAtItsNul) {
    EXPECT_EQ(GetErrorFeatureCode(Counted({u"a\0x", 3}), u"b", u"c", u"d", u"e", Counted({u"f\0y", 3})),
              GetErrorFeatureCode(u"a", u"b", u"c", u"d", u"e", u"f"));
    EXPECT_EQ(CodeOfFirst(Counted({u"\0", 1})), CodeOfFirst(u""));
}

TEST(ErrorFeatureCode, TakesPercentSignsAsText) {
    EXPECT_EQ(CodeOfFirst(u"100 %s %d %n"), CodeOfBytes("100 %s %d %n\r\n\r\n\r\n\r\n\r\n"));
}

TEST(ErrorFeatureCode, TakesTextsOfAMillionCharacters) {
    // The digest of 2^20 letters and five line breaks, from another implementation.
    EXPECT_EQ(CodeOfFirst(CString(u'x', 1 << 20)), u"_a3356f8323ae015653b5fcfb5cb31580");
    const CString chinese(u'管', 1 << 20);
    EXPECT_EQ(GetErrorFeatureCode(chinese, chinese, chinese, chinese, chinese, chinese).GetLength(), 33);
}

TEST(ErrorFeatureCode, IsAlways33CharactersInLowerCase) {
    for (int number = 0; number < 1000; ++number) {
        CString field;
        field.Format(u"%d", number);
        const CString code = CodeOfFirst(field);
        ASSERT_EQ(code.GetLength(), 33);
        ASSERT_EQ(code.GetAt(0), u'_');
        ASSERT_EQ(code.Mid(1).SpanIncluding(u"0123456789abcdef").GetLength(), 32) << number;
    }
}
