// SPDX-License-Identifier: Apache-2.0
#include "platform/text/CString.h"
#include "platform/containers/Exceptions.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

using norvex::text::View;

namespace {

std::u16string Units(const CString& text) {
    return std::u16string(View(text));
}

const CString kWithNul(u"a\0b", 3);

}  // namespace

TEST(CString, IsBuiltFromEveryKindOfText) {
    EXPECT_EQ(Units(CString()), u"");
    EXPECT_EQ(Units(CString(u"给排水")), u"给排水");
    EXPECT_EQ(Units(CString(L"给排水")), u"给排水");
    EXPECT_EQ(Units(CString(_T("给排水"))), u"给排水");
    EXPECT_EQ(Units(CString("\xB8\xF8\xC5\xC5\xCB\xAE")), u"给排水");
    EXPECT_EQ(Units(CString(u"abc", 2)), u"ab");
    EXPECT_EQ(Units(CString(L"abc", 2)), u"ab");
    EXPECT_EQ(Units(CString("abc", 2)), u"ab");
    EXPECT_EQ(Units(CString(u'水', 3)), u"水水水");
    EXPECT_EQ(Units(CString(L'水')), u"水");
    EXPECT_EQ(Units(CString('x', 2)), u"xx");
    EXPECT_EQ(Units(CString('x', -1)), u"");
}

TEST(CString, TakesANullPointerAsEmpty) {
    EXPECT_TRUE(CString(static_cast<LPCTSTR>(nullptr)).IsEmpty());
    EXPECT_TRUE(CString(static_cast<const wchar_t*>(nullptr)).IsEmpty());
    EXPECT_TRUE(CString(static_cast<const char*>(nullptr)).IsEmpty());
    EXPECT_TRUE(CString(static_cast<LPCTSTR>(nullptr), 0).IsEmpty());
    EXPECT_EQ(CString(u"a") + static_cast<LPCTSTR>(nullptr), u"a");
    EXPECT_THROW(CString(static_cast<LPCTSTR>(nullptr), 1), CInvalidArgException);
    EXPECT_THROW(CString(u"a", -1), CInvalidArgException);
}

TEST(CString, KeepsNulsOnlyWhereALengthIsGiven) {
    EXPECT_EQ(kWithNul.GetLength(), 3);
    EXPECT_EQ(CString(L"a\0b", 3).GetLength(), 3);
    EXPECT_EQ(CString("a\0b", 3).GetLength(), 3);
    EXPECT_EQ(CString(u"a\0b").GetLength(), 1);
    EXPECT_EQ(CString(L"a\0b").GetLength(), 1);
    EXPECT_EQ(CString("a\0b").GetLength(), 1);
}

TEST(CString, TurnsWideCharactersIntoUtf16Units) {
    EXPECT_EQ(Units(CString(L"\U00020000")), u"\U00020000");
    EXPECT_EQ(CString(L"\U00020000").GetLength(), 2);
    EXPECT_EQ(Units(CString(L'\U00020000', 2)), u"\U00020000\U00020000");
    const wchar_t loneSurrogate[] = {static_cast<wchar_t>(0xD800), L'x', 0};
    EXPECT_EQ(CString(loneSurrogate).GetAt(0), 0xD800);
    const wchar_t beyondUnicode[] = {static_cast<wchar_t>(0x110000), static_cast<wchar_t>(-1), 0};
    EXPECT_EQ(Units(CString(beyondUnicode)), u"\uFFFD\uFFFD");
}

TEST(CString, JoinsEveryKindOfText) {
    const CString base(u"b");
    EXPECT_EQ(base + base, u"bb");
    EXPECT_EQ(base + u"x" + L"y" + "z" + u'1' + L'2' + '3', u"bxyz123");
    EXPECT_EQ(u"x" + base, u"xb");
    EXPECT_EQ(L"x" + base, u"xb");
    EXPECT_EQ("x" + base, u"xb");
    EXPECT_EQ(u'x' + base, u"xb");
    EXPECT_EQ(L'x' + base, u"xb");
    EXPECT_EQ('x' + base, u"xb");
    EXPECT_EQ(base + L'\U00020000', u"b\U00020000");
    EXPECT_EQ(base, u"b");

    CString grown;
    grown += base;
    grown += u"x";
    grown += L"y";
    grown += "z";
    grown += u'1';
    grown += L'2';
    grown += '3';
    grown.Append(u"456", 2);
    grown.AppendChar(L'!');
    EXPECT_EQ(grown, u"bxyz12345!");
    EXPECT_EQ(base, u"b");
    EXPECT_EQ(Units(kWithNul + kWithNul), std::u16string(u"a\0ba\0b", 6));
}

TEST(CString, AppendsItsOwnText) {
    CString text(u"abc");
    for (int round = 0; round < 6; ++round) {
        text += text;
    }
    EXPECT_EQ(text.GetLength(), 3 * 64);
    text = u"abcdef";
    text += text.GetString() + 3;
    EXPECT_EQ(text, u"abcdefdef");
}

TEST(CString, IsAssignedEveryKindOfText) {
    CString text(u"old");
    text = u"u";
    EXPECT_EQ(text, u"u");
    text = L"宽";
    EXPECT_EQ(text, u"宽");
    text = "n";
    EXPECT_EQ(text, u"n");
    text = L'w';
    EXPECT_EQ(text, u"w");
    text = *&text;
    EXPECT_EQ(text, u"w");
    text = {};
    EXPECT_TRUE(text.IsEmpty());
    text = text.GetString();
    EXPECT_TRUE(text.IsEmpty());
    text.SetString(u"abc", 2);
    EXPECT_EQ(text, u"ab");
}

TEST(CString, CopiesShareOneBufferUntilOneIsChanged) {
    CString original(u"abc");
    const CString copy = original;
    EXPECT_EQ(copy.GetString(), original.GetString());
    original.SetAt(0, u'X');
    EXPECT_EQ(original, u"Xbc");
    EXPECT_EQ(copy, u"abc");
    EXPECT_NE(copy.GetString(), original.GetString());
}

TEST(CString, NoChangeReachesACopy) {
    const std::vector<void (*)(CString&)> changes = {
        [](CString& text) { text += u"x"; },
        [](CString& text) { text.Empty(); },
        [](CString& text) { text.SetAt(1, u'x'); },
        [](CString& text) { text.MakeUpper(); },
        [](CString& text) { text.MakeReverse(); },
        [](CString& text) { text.Replace(L"b", L"y"); },
        [](CString& text) { text.Remove(L'b'); },
        [](CString& text) { text.Insert(1, L"new"); },
        [](CString& text) { text.Delete(0, 2); },
        [](CString& text) { text.Trim(); },
        [](CString& text) { text.Truncate(1); },
        [](CString& text) { text.Format(_T("%d"), 1); },
        [](CString& text) { *text.GetBuffer(40) = u'z'; },
        [](CString& text) { std::fill_n(text.GetBufferSetLength(9), 9, u'q'); },
    };
    for (const auto& change : changes) {
        CString text(u" abc ");
        const CString copy = text;
        change(text);
        EXPECT_NE(text, copy);
        EXPECT_EQ(copy, u" abc ");
    }
}

TEST(CString, LeavesAMovedFromStringEmpty) {
    CString source(u"abc");
    const CString target = std::move(source);
    EXPECT_EQ(target, u"abc");
    EXPECT_TRUE(source.IsEmpty());  // NOLINT(bugprone-use-after-move): the promise is about this state
    EXPECT_EQ(source.GetString()[0], u'\0');
    source += u"again";
    EXPECT_EQ(source, u"again");
}

TEST(CString, CopiesMayLiveInSeveralThreads) {
    const CString shared(u"shared by all");
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([shared, number] {
            for (int round = 0; round < 10000; ++round) {
                CString own = shared;
                own += static_cast<char16_t>(u'0' + number);
                ASSERT_EQ(own.GetLength(), 14);
                ASSERT_EQ(shared, u"shared by all");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(shared, u"shared by all");
}

TEST(CString, RefusesAnIndexOutOfRange) {
    CString text(u"ab");
    EXPECT_EQ(text.GetAt(0), u'a');
    EXPECT_EQ(text[1], u'b');
    EXPECT_EQ(text[2], u'\0');
    EXPECT_THROW(text.GetAt(-1), CInvalidArgException);
    EXPECT_THROW(text[3], CInvalidArgException);
    EXPECT_THROW(text.SetAt(2, u'x'), CInvalidArgException);
    EXPECT_THROW(text.SetAt(-1, u'x'), CInvalidArgException);
    EXPECT_THROW(text.SetAt(0, L'\U00020000'), CInvalidArgException);
    EXPECT_THROW(text[3], std::exception);
    EXPECT_EQ(text, u"ab");
}

TEST(CString, IsOrderedByCodeUnit) {
    const std::set<CString> names{L"水", L"b", L"B", L"\uFFE5", L"", L"\U00020000", L"a", L"ab"};
    // U+20000 begins with the unit D840, so it stands before U+FFE5 although its number is higher.
    const std::vector<CString> expected{L"", L"B", L"a", L"ab", L"b", L"水", L"\U00020000", L"\uFFE5"};
    EXPECT_EQ(std::vector<CString>(names.begin(), names.end()), expected);
}

TEST(CString, ComparesWithEveryKindOfText) {
    const CString middle(u"m");
    EXPECT_TRUE(middle == u"m" && middle == L"m" && middle == "m" && middle == CString(u"m"));
    EXPECT_TRUE(u"m" == middle && L"m" == middle && "m" == middle);
    EXPECT_TRUE(middle != u"n" && middle != L"mm" && middle != "" && middle != CString(u"M"));
    EXPECT_TRUE(middle < u"n" && middle < L"n" && u"a" < middle && L"a" < middle && middle < CString(u"n"));
    EXPECT_TRUE(middle > u"a" && middle > L"a" && u"n" > middle && L"n" > middle && middle > CString());
    EXPECT_TRUE(middle <= u"m" && middle <= L"n" && middle >= u"m" && middle >= L"a");
    EXPECT_TRUE(CString(u"\U00020000") == L"\U00020000" && CString(u"\U00020000") < L"\uFFE5");
    EXPECT_TRUE(CString(u"\U00020000") < L"\U00020001" && CString(u"\xD840") < L"\U00020000");
}

TEST(CString, ComparesOnlyUpToTheFirstNul) {
    const CString other(u"a\0c", 3);
    EXPECT_EQ(kWithNul.Compare(other), 0);
    EXPECT_TRUE(kWithNul == other && kWithNul == u"a" && kWithNul == L"a");
    EXPECT_FALSE(kWithNul < other || other < kWithNul);
    EXPECT_EQ(std::hash<CString>()(kWithNul), std::hash<CString>()(CString(u"a")));
    EXPECT_EQ((std::set<CString>{kWithNul, other, CString(u"a")}).size(), 1U);
    EXPECT_EQ((std::unordered_set<CString>{kWithNul, other, CString(u"a")}).size(), 1U);
}

TEST(CString, ComparesWithoutCaseInAsciiOnly) {
    EXPECT_EQ(CString(u"Dn100").CompareNoCase(L"dN100"), 0);
    EXPECT_LT(CString(u"a").CompareNoCase(L"B"), 0);
    EXPECT_LT(CString(u"_").CompareNoCase(L"A"), 0);  // '_' is compared with 'a'
    EXPECT_NE(CString(u"É").CompareNoCase(L"é"), 0);
}

TEST(CString, CutsPositionsAndCountsToTheString) {
    const CString text(u"abcde");
    EXPECT_EQ(text.Left(2), u"ab");
    EXPECT_EQ(text.Left(9), u"abcde");
    EXPECT_EQ(text.Left(-1), u"");
    EXPECT_EQ(text.Right(2), u"de");
    EXPECT_EQ(text.Right(9), u"abcde");
    EXPECT_EQ(text.Right(-1), u"");
    EXPECT_EQ(text.Mid(2), u"cde");
    EXPECT_EQ(text.Mid(-3), u"abcde");
    EXPECT_EQ(text.Mid(9), u"");
    EXPECT_EQ(text.Mid(1, 2), u"bc");
    EXPECT_EQ(text.Mid(3, 9), u"de");
    EXPECT_EQ(text.Mid(3, 2147483647), u"de");
    EXPECT_EQ(text.Mid(1, -1), u"");
    EXPECT_EQ(Units(kWithNul.Mid(1)), std::u16string(u"\0b", 2));
}

TEST(CString, FindsCharactersAndTexts) {
    const CString text(u"a=b=c");
    EXPECT_EQ(text.Find(L'='), 1);
    EXPECT_EQ(text.Find(u'=', 2), 3);
    EXPECT_EQ(text.Find('=', 4), -1);
    EXPECT_EQ(text.Find('a', 5), -1);
    EXPECT_EQ(text.Find(u'\0'), 5);
    EXPECT_EQ(text.Find(u'\0', 5), -1);
    EXPECT_EQ(text.Find('a', -1), -1);
    EXPECT_EQ(text.Find(L"=b"), 1);
    EXPECT_EQ(text.Find(u"=", 2), 3);
    EXPECT_EQ(text.Find("=c="), -1);
    EXPECT_EQ(text.Find(L"", 5), 5);
    EXPECT_EQ(text.Find(L"", 6), -1);
    EXPECT_EQ(text.ReverseFind(L'='), 3);
    EXPECT_EQ(text.ReverseFind(L'x'), -1);
    EXPECT_EQ(text.FindOneOf(L"cb"), 2);
    EXPECT_EQ(text.FindOneOf(L""), -1);
    EXPECT_EQ(text.SpanIncluding(L"ab="), u"a=b=");
    EXPECT_EQ(text.SpanIncluding(L"b"), u"");
    EXPECT_EQ(text.SpanExcluding(L"b"), u"a=");
    EXPECT_EQ(text.SpanExcluding(L"x"), u"a=b=c");
    EXPECT_EQ(CString(u"x\U00020000").Find(L'\U00020000'), 1);
}

TEST(CString, SearchesOnlyUpToTheFirstNul) {
    EXPECT_EQ(kWithNul.Find(u'b'), -1);
    EXPECT_EQ(kWithNul.Find(u'b', 2), 2);
    EXPECT_EQ(kWithNul.Find(u'\0'), 1);
    EXPECT_EQ(kWithNul.Find(L"b"), -1);
    EXPECT_EQ(kWithNul.Find(kWithNul), 0);  // what is searched for ends at its NUL too
    EXPECT_EQ(kWithNul.ReverseFind(u'b'), -1);
    EXPECT_EQ(kWithNul.ReverseFind(u'\0'), 1);
    EXPECT_EQ(kWithNul.FindOneOf(L"b"), -1);
}

TEST(CString, TrimsWhiteSpaceCharactersOrSets) {
    EXPECT_EQ(CString(u" \t\r\n\u00A0\u3000a b\u3000\v\f ").Trim(), u"a b");
    EXPECT_EQ(CString(u" a ").TrimLeft(), u"a ");
    EXPECT_EQ(CString(u" a ").TrimRight(), u" a");
    EXPECT_EQ(CString(u"   ").Trim(), u"");
    EXPECT_EQ(CString(u"").Trim(), u"");
    EXPECT_EQ(CString(u"a=1,b=2,,,").TrimRight(L','), u"a=1,b=2");
    EXPECT_EQ(CString(u",,,").TrimRight(L","), u"");
    EXPECT_EQ(CString(u"--a--").TrimLeft('-'), u"a--");
    EXPECT_EQ(CString(u"--a--").Trim(u'-'), u"a");
    EXPECT_EQ(CString(u"-=a=-").Trim(L"=-"), u"a");
    EXPECT_EQ(CString(u"-=a=-").TrimLeft(L"=-"), u"a=-");
    EXPECT_EQ(CString(u" a ").Trim(L""), u" a ");
    // As on the host: what is trimmed before the first NUL takes the rest along.
    EXPECT_EQ(CString(u"a \0b", 4).TrimRight().GetLength(), 1);
    EXPECT_EQ(CString(u"a\0b ", 4).TrimRight().GetLength(), 4);
}

TEST(CString, ReplacesAndCounts) {
    CString text(u"3层/4层");
    EXPECT_EQ(text.Replace(L"层", L""), 2);
    EXPECT_EQ(text, u"3/4");
    EXPECT_EQ(text.Replace(L'/', L'-'), 1);
    EXPECT_EQ(text, u"3-4");
    EXPECT_EQ(text.Replace(L'x', L'y'), 0);
    EXPECT_EQ(text.Replace(L'3', L'3'), 0);
    EXPECT_EQ(text.Replace(L"", L"y"), 0);
    EXPECT_EQ(text.Replace(L"-", L"--"), 1);
    EXPECT_EQ(text, u"3--4");
    EXPECT_EQ(text.Replace(text, text + text), 1);
    EXPECT_EQ(text, u"3--43--4");
    CString behindNul(u"a\0a", 3);
    EXPECT_EQ(behindNul.Replace(L"a", L"b"), 2);
    EXPECT_EQ(Units(behindNul), std::u16string(u"b\0b", 3));
}

TEST(CString, RemovesInsertsAndDeletes) {
    CString text(u"banana");
    EXPECT_EQ(text.Remove(L'a'), 3);
    EXPECT_EQ(text, u"bnn");
    EXPECT_EQ(text.Remove(L'x'), 0);
    EXPECT_EQ(text.Insert(1, L'a'), 4);
    EXPECT_EQ(text.Insert(-5, L"<"), 5);
    EXPECT_EQ(text.Insert(99, L">"), 6);
    EXPECT_EQ(text, u"<bann>");
    EXPECT_EQ(text.Insert(0, text), 12);
    EXPECT_EQ(text, u"<bann><bann>");
    EXPECT_EQ(text.Delete(6, 99), 6);
    EXPECT_EQ(text.Delete(0), 5);
    EXPECT_EQ(text.Delete(4), 4);
    EXPECT_EQ(text.Delete(1, -1), 4);
    EXPECT_EQ(text.Delete(9), 4);
    EXPECT_EQ(text, u"bann");
    CString withNuls(u"\0a\0", 3);
    EXPECT_EQ(withNuls.Remove(u'\0'), 2);
    EXPECT_EQ(withNuls, u"a");
}

TEST(CString, ChangesLettersAndOrder) {
    EXPECT_EQ(CString(u"aZ1é水").MakeUpper(), u"AZ1é水");
    EXPECT_EQ(CString(u"AzÉ水").MakeLower(), u"azÉ水");
    EXPECT_EQ(CString(u"abc").MakeReverse(), u"cba");
    EXPECT_EQ(CString().MakeUpper().MakeReverse(), u"");
    CString cut(u"abc");
    cut.Truncate(2);
    EXPECT_EQ(cut, u"ab");
}

TEST(CString, TokenizesSkippingEmptyPieces) {
    const CString text(u",a,;b;");
    int start = 0;
    EXPECT_EQ(text.Tokenize(L",;", start), u"a");
    EXPECT_EQ(start, 3);
    EXPECT_EQ(text.Tokenize(L",;", start), u"b");
    EXPECT_EQ(text.Tokenize(L",;", start), u"");
    EXPECT_EQ(start, -1);
    EXPECT_THROW(text.Tokenize(L",", start), CInvalidArgException);
    start = 2;
    EXPECT_EQ(text.Tokenize(L"", start), u",;b;");
    EXPECT_EQ(text.Tokenize(L"", start), u"");
    EXPECT_EQ(start, -1);
    start = 99;
    EXPECT_EQ(text.Tokenize(L",", start), u"");
    EXPECT_EQ(start, -1);
}

TEST(CString, LendsItsBuffer) {
    CString text(u"ab");
    LPTSTR buffer = text.GetBuffer(10);
    EXPECT_EQ(std::u16string(buffer), u"ab");
    EXPECT_GE(text.GetAllocLength(), 10);
    std::copy_n(u"hello\0rest", 11, buffer);
    text.ReleaseBuffer();
    EXPECT_EQ(text, u"hello");
    EXPECT_EQ(text.GetLength(), 5);
    text.GetBuffer(8);
    text.ReleaseBuffer(3);
    EXPECT_EQ(text, u"hel");
    EXPECT_THROW(text.ReleaseBuffer(text.GetAllocLength() + 1), CInvalidArgException);
    EXPECT_THROW(text.ReleaseBuffer(-2), CInvalidArgException);
    EXPECT_THROW(text.GetBuffer(-1), CInvalidArgException);
    std::fill_n(text.GetBufferSetLength(4), 4, u'x');
    EXPECT_EQ(text, u"xxxx");
    CString empty;
    empty.ReleaseBuffer();
    EXPECT_TRUE(empty.IsEmpty());
    EXPECT_EQ(*empty.GetBuffer(), u'\0');
}

TEST(CString, AppendingOneByOneStaysLinear) {
    CString text;
    int moves = 0;
    LPCTSTR last = text.GetString();
    for (int count = 0; count < 100000; ++count) {
        text += u'x';
        moves += text.GetString() != last ? 1 : 0;
        last = text.GetString();
    }
    EXPECT_EQ(text.GetLength(), 100000);
    EXPECT_LT(moves, 60);
}

TEST(CString, IsReadyBeforeAnyConstructorRuns) {
    static constinit CString constant;
    EXPECT_TRUE(constant.IsEmpty());
    EXPECT_EQ(constant, L"");
}
