// SPDX-License-Identifier: Apache-2.0
#include "platform/text/CString.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

using norvex::text::ToCString;
using norvex::text::View;

// The editing and searching of CString against plain loops over std::u16string, on short random texts of a few
// characters, NULs among them. Whatever the C runtime does on the host, the loops do here: they end at a NUL.
namespace {

std::u16string RandomText(std::mt19937& random, std::size_t longest) {
    static constexpr char16_t kAlphabet[] = {u'a', u'b', u'a', u'b', u' ', 0xD840, u'\0'};
    std::u16string text(random() % (longest + 1), u'a');
    for (char16_t& unit : text) {
        unit = kAlphabet[random() % std::size(kAlphabet)];
    }
    return text;
}

std::u16string ToNul(const std::u16string& text) {
    return text.c_str();
}

bool StartsAt(const char16_t* text, const std::u16string& wanted) {
    std::size_t index = 0;
    while (index < wanted.size() && text[index] == wanted[index] && text[index] != 0) {
        ++index;
    }
    return index == wanted.size();
}

// The host's wcsstr.
const char16_t* SearchText(const char16_t* text, const std::u16string& wanted) {
    for (;; ++text) {
        if (StartsAt(text, wanted)) {
            return text;
        }
        if (*text == 0) {
            return nullptr;
        }
    }
}

int NaiveFind(const std::u16string& text, const std::u16string& wanted, int start) {
    if (start < 0 || start > static_cast<int>(text.size())) {
        return -1;
    }
    const char16_t* found = SearchText(text.c_str() + start, wanted);
    return found == nullptr ? -1 : static_cast<int>(found - text.c_str());
}

// Replaces piece by piece: each piece is searched up to its NUL, then the search goes on behind it.
int NaiveReplace(std::u16string& text, const std::u16string& wanted, const std::u16string& replacement) {
    if (wanted.empty()) {
        return 0;
    }
    std::u16string result;
    int count = 0;
    const char16_t* place = text.c_str();
    const char16_t* end = place + text.size();
    while (place < end) {
        if (StartsAt(place, wanted)) {
            result += replacement;
            place += wanted.size();
            ++count;
        } else {
            result += *place++;
        }
    }
    text = result;
    return count;
}

std::u16string NaiveMid(const std::u16string& text, int first, int count) {
    std::u16string part;
    for (int index = std::max(first, 0); index < static_cast<int>(text.size()) && count > 0; ++index, --count) {
        part += text[static_cast<std::size_t>(index)];
    }
    return part;
}

// Trailing characters of the set before the first NUL are cut off together with all that follows.
std::u16string NaiveTrimRight(const std::u16string& text, const std::u16string& set) {
    std::size_t length = ToNul(text).size();
    const std::size_t visible = length;
    while (length > 0 && set.find(text[length - 1]) != std::u16string::npos) {
        --length;
    }
    return length == visible ? text : text.substr(0, length);
}

std::u16string NaiveTrimLeft(const std::u16string& text, const std::u16string& set) {
    std::size_t first = 0;
    while (first < ToNul(text).size() && set.find(text[first]) != std::u16string::npos) {
        ++first;
    }
    return text.substr(first);
}

int Sign(int value) {
    return (value > 0) - (value < 0);
}

constexpr int kRounds = 200000;

}  // namespace

TEST(CStringAgainstPlainLoops, FindsAndCuts) {
    std::mt19937 random(1);
    for (int round = 0; round < kRounds; ++round) {
        const std::u16string plain = RandomText(random, 12);
        const std::u16string wanted = ToNul(RandomText(random, 3));
        const CString text = ToCString(plain);
        const int start = static_cast<int>(random() % 16) - 2;
        const int count = static_cast<int>(random() % 16) - 2;
        ASSERT_EQ(text.Find(ToCString(wanted), start), NaiveFind(plain, wanted, start))
            << testing::PrintToString(plain);
        if (!wanted.empty() && start < text.GetLength()) {
            ASSERT_EQ(text.Find(wanted[0], start), NaiveFind(plain, wanted.substr(0, 1), start));
        }
        ASSERT_EQ(View(text.Mid(start, count)), NaiveMid(plain, start, count));
        ASSERT_EQ(View(text.Left(count)), NaiveMid(plain, 0, count));
        ASSERT_EQ(View(text.Right(count)),
                  NaiveMid(plain, text.GetLength() - std::clamp(count, 0, text.GetLength()), text.GetLength()));
        ASSERT_EQ(text.FindOneOf(ToCString(wanted)), [&] {
            const std::size_t place = ToNul(plain).find_first_of(wanted);
            return place == std::u16string::npos ? -1 : static_cast<int>(place);
        }());
    }
}

TEST(CStringAgainstPlainLoops, ReplacesInsertsDeletesAndTrims) {
    std::mt19937 random(2);
    for (int round = 0; round < kRounds; ++round) {
        std::u16string plain = RandomText(random, 12);
        CString text = ToCString(plain);
        const CString copy = text;
        const std::u16string before = plain;
        const std::u16string wanted = ToNul(RandomText(random, 3));
        const std::u16string other = ToNul(RandomText(random, 3));
        const int place = static_cast<int>(random() % 16) - 2;
        const auto inside = static_cast<std::size_t>(std::clamp(place, 0, static_cast<int>(plain.size())));
        switch (random() % 6) {
            case 0:
                ASSERT_EQ(text.Replace(ToCString(wanted), ToCString(other)), NaiveReplace(plain, wanted, other));
                break;
            case 1:
                ASSERT_EQ(text.Remove(u'a'), std::erase(plain, u'a'));
                break;
            case 2:
                plain.insert(inside, other);
                ASSERT_EQ(text.Insert(place, ToCString(other)), plain.size());
                break;
            case 3:
                plain.erase(inside, wanted.size());
                ASSERT_EQ(text.Delete(place, static_cast<int>(wanted.size())), plain.size());
                break;
            case 4:
                plain = NaiveTrimRight(plain, wanted);
                text.TrimRight(ToCString(wanted));
                break;
            default:
                plain = NaiveTrimLeft(plain, u" ");
                text.TrimLeft();
                break;
        }
        ASSERT_EQ(View(text), plain);
        ASSERT_EQ(text.GetString()[text.GetLength()], u'\0');
        ASSERT_EQ(View(copy), before);
    }
}

TEST(CStringAgainstPlainLoops, Compares) {
    std::mt19937 random(3);
    for (int round = 0; round < kRounds; ++round) {
        const std::u16string left = RandomText(random, 5);
        const std::u16string right = RandomText(random, 5);
        const int expected = Sign(ToNul(left).compare(ToNul(right)));
        const CString leftText = ToCString(left);
        const CString rightText = ToCString(right);
        ASSERT_EQ(Sign(leftText.Compare(rightText)), expected);
        ASSERT_EQ(leftText < rightText, expected < 0);
        ASSERT_EQ(leftText == rightText, expected == 0);
        ASSERT_EQ(leftText > rightText, expected > 0);
        const std::wstring wide(right.begin(), right.end());
        ASSERT_EQ(Sign(leftText.Compare(wide.c_str())), expected);
    }
}
