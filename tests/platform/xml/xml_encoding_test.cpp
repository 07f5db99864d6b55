// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/NativePath.h"
#include "platform/text/CodePage.h"
#include "platform/xml/XmlDocument.h"
#include "platform/xml/ZrWindowsTool.h"
#include "support/Allocations.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

using norvex::text::NarrowToWideCounted;
using norvex::text::View;
using norvex::text::WideToNarrow;
using norvex::xml::Parse;
using norvex::xml::ParseResult;
using norvex::xml::TextOf;

// Each unit in `size` bytes.
std::string InUnits(const std::u16string& text, int size, bool bigEndian) {
    std::string bytes;
    for (const char16_t unit : text) {
        for (int place = 0; place < size; ++place) {
            const int shift = 8 * (bigEndian ? size - 1 - place : place);
            bytes += static_cast<char>(shift > 8 ? 0 : unit >> shift & 0xFF);
        }
    }
    return bytes;
}

// Letters, digits and marks of a document in the code page of the mainframe; nothing else is written here.
std::string InEbcdic(const std::string& text) {
    const std::string_view letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 <>/?='\".-";
    const std::string_view codes =
        "\x81\x82\x83\x84\x85\x86\x87\x88\x89\x91\x92\x93\x94\x95\x96\x97\x98\x99\xA2\xA3\xA4\xA5\xA6\xA7\xA8\xA9"
        "\xC1\xC2\xC3\xC4\xC5\xC6\xC7\xC8\xC9\xD1\xD2\xD3\xD4\xD5\xD6\xD7\xD8\xD9\xE2\xE3\xE4\xE5\xE6\xE7\xE8\xE9"
        "\xF0\xF1\xF2\xF3\xF4\xF5\xF6\xF7\xF8\xF9\x40\x4C\x6E\x61\x6F\x7E\x7D\x7F\x4B\x60";
    std::string bytes;
    for (const char letter : text) {
        bytes += codes[letters.find(letter)];
    }
    return bytes;
}

std::string Declared(const std::string& encoding) {
    return "<?xml version=\"1.0\" encoding=\"" + encoding + "\"?>";
}

// Text of the document element; the reason when the document could not be read.
CString TextIn(const std::string& bytes) {
    const ParseResult result = Parse(bytes);
    return result.root == nullptr ? CString(result.sentence.c_str()) : TextOf(*result.root);
}

std::string Crowd(int attributes) {
    std::string tag = "<b";
    for (int number = 0; number < attributes; ++number) {
        tag += " n" + std::to_string(number) + "='1'";
    }
    return tag + "/>";
}

void ExpectCrowded(const std::string& bytes, const char* what) {
    const ParseResult result = Parse(bytes);
    EXPECT_EQ(result.root, nullptr) << what;
    EXPECT_NE(result.sentence.find("1000 attributes"), std::string::npos) << what << ": " << result.sentence;
}

}  // namespace

TEST(XmlEncoding, MayBeCodePage936WithEveryCharacterThatItHas) {
    // By what bytes; only what XML cannot hold, or reads as its own, is left out.
    std::u16string characters;
    std::string bytes;
    int userDefined = 0;
    for (unsigned value = 0x20; value <= 0xFFFF; ++value) {
        const bool isPair = value > 0xFF;
        const std::string narrow = isPair ? std::string{static_cast<char>(value >> 8), static_cast<char>(value & 0xFF)}
                                          : std::string(1, static_cast<char>(value));
        if (isPair != norvex::text::IsNarrowLead(narrow[0]) || (isPair && narrow[1] == 0) || value == '<' ||
            value == '&') {
            continue;
        }
        const CString wide = NarrowToWideCounted(narrow);
        if (value != '?' && View(wide) == u"?") {
            continue;
        }
        ASSERT_EQ(wide.GetLength(), 1) << value;
        userDefined += wide[0] >= 0xE000 && wide[0] <= 0xF8FF ? 1 : 0;
        characters += wide[0];
        bytes += narrow;
    }
    ASSERT_EQ(userDefined, 2150);
    // All but the controls and the two marks: 23,940 pairs, 0x20 to 0x80, and 0xFF.
    ASSERT_EQ(characters.size(), 23940U + 97 + 1 - 2);
    for (const std::string name : {"GBK", "gb2312", "GB2312", "CP936", "windows-936", "MS936", "EUC-CN"}) {
        const ParseResult result = Parse(Declared(name) + "<a>" + bytes + "</a>");
        ASSERT_NE(result.root, nullptr) << name << ": " << result.sentence;
        ASSERT_TRUE(View(TextOf(*result.root)) == characters) << name;
    }
}

TEST(XmlEncoding, GivesBackWhateverCodePage936CanWrite) {
    std::u16string written;
    for (unsigned unit = 0x20; unit <= 0xFFFF; ++unit) {
        const CString wide(static_cast<char16_t>(unit));
        const std::string narrow = WideToNarrow(wide);
        if (unit != '<' && unit != '&' && (unit == '?' || narrow != "?") && NarrowToWideCounted(narrow) == wide) {
            written += static_cast<char16_t>(unit);
        }
    }
    EXPECT_GT(written.size(), 23'900U);
    const CString text(written.c_str(), static_cast<int>(written.size()));
    EXPECT_EQ(TextIn(Declared("GB2312") + "<a>" + WideToNarrow(text) + "</a>"), text);
}

TEST(XmlEncoding, OfAttributesAndNamesMayBeCodePage936) {
    const ParseResult result = Parse(Declared("GBK") + WideToNarrow(u"<管线 名称='\uE000丂'/>"));
    ASSERT_NE(result.root, nullptr) << result.sentence;
    EXPECT_EQ(result.root->tag, u"管线");
    ASSERT_NE(result.root->FindAttribute(u"名称"), nullptr);
    EXPECT_EQ(*result.root->FindAttribute(u"名称"), u"\uE000丂");
}

// Wherever a block ends, and so inside every character.
TEST(XmlEncoding, IsReadAcrossTheEndsOfBlocks) {
    std::u16string text;
    for (int round = 0; round < 9000; ++round) {
        text += u"管a\U00020BB7";
    }
    const CString whole(text.c_str(), static_cast<int>(text.size()));
    for (int shift = 0; shift < 6; ++shift) {
        const std::u16string document = u"<a>" + std::u16string(static_cast<std::size_t>(shift), u'x') + text + u"</a>";
        const CString expected = CString(u'x', shift) + whole;
        EXPECT_EQ(TextIn(InUnits(u'\xFEFF' + document, 2, true)), expected);
        EXPECT_EQ(TextIn(InUnits(document, 2, false)), expected);
    }
    for (int shift = 0; shift < 2; ++shift) {
        CString text936(u'x', shift);
        for (int round = 0; round < 20'000; ++round) {
            text936 += u"管";
        }
        EXPECT_EQ(TextIn(Declared("GBK") + "<a>" + WideToNarrow(text936) + "</a>"), text936);
    }
}

TEST(XmlEncoding, MayBeOfAnyWidthWithAMarkAndWithout) {
    for (const int size : {2, 4}) {
        for (const bool bigEndian : {false, true}) {
            EXPECT_EQ(TextIn(InUnits(u"<a>管道</a>", size, bigEndian)), u"管道") << size << bigEndian;
            EXPECT_EQ(TextIn(InUnits(u"\xFEFF<a>管道</a>", size, bigEndian)), u"管道") << size << bigEndian;
            EXPECT_EQ(TextIn(InUnits(u"\xFEFF \n<a>管道</a>", size, bigEndian)), u"管道") << size << bigEndian;
            EXPECT_EQ(TextIn(InUnits(u"<?xml version='1.0' encoding='GBK'?><a>管道</a>", size, bigEndian)), u"管道")
                << "the width of its units says more than what it declares";
        }
    }
    EXPECT_EQ(TextIn("\xEF\xBB\xBF<?xml version='1.0' encoding='GBK'?><a>管道</a>"), u"管道") << "as does its mark";
}

TEST(XmlEncoding, MayBeAnyThatIsKnown) {
    EXPECT_EQ(TextIn(Declared("ISO-8859-1") + "<a>\xFC</a>"), u"ü");
    EXPECT_EQ(TextIn(Declared("windows-1252") + "<a>\x80</a>"), u"€");
    EXPECT_EQ(TextIn(Declared("Big5") + "<a>\xBA\xDE\xB9\x44</a>"), u"管道");
    EXPECT_EQ(TextIn(Declared("UTF-7") + "<a>+e6GQUw-</a>"), u"管道");
    EXPECT_EQ(TextIn(InEbcdic(Declared("IBM037") + "<a>norvex 1</a>")), u"norvex 1");
    EXPECT_EQ(TextIn("<?xml-stylesheet encoding='GBK'?><a>管道</a>"), u"管道") << "no declaration";
}

TEST(XmlEncoding, TellsWhatItCannotRead) {
    EXPECT_EQ(Parse(Declared("no-such") + "<a/>").sentence, "The document's encoding \"no-such\" is not known.");
    EXPECT_EQ(Parse(Declared("\x1B\xFF" + std::string(2000, 'x')) + "<a/>").sentence,
              "The document's encoding \"??" + std::string(38, 'x') + "...\" is not known.");
    EXPECT_EQ(Parse(Declared("UTF-8,version=1") + "<a/>").root, nullptr);
    const ParseResult broken = Parse(Declared("GBK") + "\n<a>\n\x81\x20</a>");
    EXPECT_EQ(broken.sentence, "The document holds bytes that are no character of its encoding GBK.");
    EXPECT_EQ(broken.line, 3);
    EXPECT_EQ(Parse("<a>\n\xC0\x80</a>").sentence,
              "The document holds bytes that are no character of its encoding UTF-8.");
    EXPECT_EQ(Parse(InUnits(u"\xFEFF<a>\xD800</a>", 2, false)).root, nullptr);
    EXPECT_EQ(Parse(InUnits(u"\xFEFF<a/>", 2, false) + "x").root, nullptr) << "half a unit at the end";
}

// What the document's characters spell in another encoding is nobody's business.
TEST(XmlEncoding, IsToldOnce) {
    EXPECT_EQ(Parse(InUnits(u"\xFEFF<\0?\0x\0m\0l\0 \0?\0>\0<\0a\0/\0>\0", 2, false)).root, nullptr);
    const std::u16string inner = u"<a>x</a>";
    std::u16string twice;
    for (const char16_t unit : inner) {
        twice += unit;
        twice += u'\0';
    }
    EXPECT_EQ(Parse(InUnits(u'\xFEFF' + twice, 2, false)).root, nullptr);
    EXPECT_EQ(Parse("\xEF\xBB\xBF" + InEbcdic("<?xml version='1.0'?><a/>")).root, nullptr);
    EXPECT_EQ(Parse("\xEF\xBB\xBF" + InUnits(u"\xFEFF<a/>", 2, false)).root, nullptr);
}

TEST(XmlAttributes, AreCountedInCharactersAndNotInBytes) {
    // 0x3D, 0x22, 0x27, 0x3C and 0x3E stand in the bytes of all of these.
    const std::u16string characters = u"丼" + std::u16string(1001, u'丽') + u"〢〧㰀㸀∼✼" + std::u16string(2000, u'㴀');
    const CString expected(characters.c_str(), static_cast<int>(characters.size()));
    for (const bool bigEndian : {false, true}) {
        for (const std::u16string mark : {u"\xFEFF", u""}) {
            EXPECT_EQ(TextIn(InUnits(mark + u"<a>" + characters + u"</a>", 2, bigEndian)), expected);
            const ParseResult result = Parse(InUnits(mark + u"<a b='" + characters + u"'/>", 2, bigEndian));
            ASSERT_NE(result.root, nullptr) << result.sentence;
            EXPECT_EQ(*result.root->FindAttribute(u"b"), expected);
        }
    }
}

TEST(XmlAttributes, AreCountedInEveryEncoding) {
    const std::string crowd = Crowd(60'000);
    const std::u16string wide(crowd.begin(), crowd.end());
    ExpectCrowded("<a>" + crowd + "</a>", "UTF-8");
    ExpectCrowded(Declared("GBK") + crowd, "GBK");
    ExpectCrowded(InUnits(wide, 2, true), "UTF-16");
    ExpectCrowded(InUnits(wide, 4, false), "UTF-32");
    ExpectCrowded(InEbcdic(Declared("IBM037") + crowd), "EBCDIC");
    std::string utf7;
    for (const char letter : crowd) {
        utf7 += letter == '=' ? "+AD0-" : std::string(1, letter);
    }
    ExpectCrowded(Declared("UTF-7") + utf7, "UTF-7");
}

TEST(XmlAttributes, AreCountedBehindAnythingThatQuotes) {
    const std::string crowd = Crowd(20'000);
    for (const std::string before :
         {"<!-- don't -->", "<?pi don't?>", "<!DOCTYPE a [<!-- ' -->]>", "<!DOCTYPE a [<?pi ' ?>]>",
          "<!DOCTYPE a [<!ATTLIST a x CDATA '>\"'>]>", "<!DOCTYPE a SYSTEM 'a<b\"'>", "<!-- - -- -->"}) {
        const ParseResult result = Parse(before + "<a>" + crowd + "</a><!-- ' \" -->");
        EXPECT_EQ(result.root, nullptr) << before;
    }
    ExpectCrowded("<!DOCTYPE a [<!-- ' -->]><a>" + crowd + "</a><!-- ' -->", "a comment in the document type");
    ExpectCrowded("<a><![CDATA[ <b ' ]]]>" + crowd + "</a>", "a section");
    ExpectCrowded("<a b='>'\tc=\">'\">it's</a>" + crowd, "quotes in text");
}

// The tag that is too crowded is named by its line.
TEST(XmlAttributes, AreTooManyInALine) {
    EXPECT_EQ(Parse("<a>\n\n" + Crowd(1001) + "</a>").line, 3);
    EXPECT_NE(Parse("<a>\n\n" + Crowd(1000) + "</a>").root, nullptr);
}

// The parser as its own twin: what has few attributes is read with the limit and the tag scanned right.
TEST(XmlAttributes, OfOrdinaryDocumentsAreNeverTooMany) {
    std::mt19937 random(8);
    const std::vector<std::string> pieces{"=", "'", "\"", "&lt;", ">",   "-",  "]", "?",
                                          "!", "[", "管", " ",    "b='", "--", "]]"};
    for (int round = 0; round < 300; ++round) {
        std::string text;
        for (auto count = random() % 60; count > 0; --count) {
            text += pieces[random() % pieces.size()];
        }
        std::string document = "<a x=\"" + std::string(text.find('"') == std::string::npos ? text : "") + "\">";
        for (int repeat = 0; repeat < 60; ++repeat) {
            document += "<b y='='/><!-- =' --><?p =\"?><![CDATA[" +
                        std::string(text.find("]]") == std::string::npos ? text : "") + "<c ='=]]>" +
                        (text.find("]]>") == std::string::npos ? text : "");
        }
        const ParseResult result = Parse(document + "</a>");
        ASSERT_EQ(result.sentence.find("attributes"), std::string::npos) << text;
    }
}

TEST(XmlMemory, IsAskedForInVainWithoutAnException) {
    std::string document = Declared("GBK");
    document += WideToNarrow(u"<a 名='一个足够长的属性值'>文字");
    for (int number = 0; number < 40; ++number) {
        document += "<b n='" + std::to_string(number) + "'>some text that lives on the heap</b>";
    }
    document += "</a>";
    const TemporaryFolder folder;
    const CString path = norvex::kernel::FromNativePath(folder.Write("d.xml", document).native());
    for (const std::size_t refused : {std::size_t{1}, std::size_t{3}, std::numeric_limits<std::size_t>::max()}) {
        bool wasRefused = true;
        std::size_t granted = 0;
        for (; wasRefused; ++granted) {
            norvex::test::GrantAllocations(granted, refused);
            ParseResult result;
            EXPECT_NO_THROW(result = norvex::xml::ParseFile(path)) << granted;
            wasRefused = norvex::test::GrantAllAllocations();
            ASSERT_EQ(result.root == nullptr, wasRefused) << granted << ": " << result.sentence;
            if (wasRefused && refused == 1) {
                ASSERT_EQ(result.sentence, "There is not enough memory for the document.") << granted;
            }
        }
        EXPECT_GT(granted, 100U) << "requests of a whole document";
    }
}

TEST(XmlMemory, OfATextIsSharedWithTheDocument) {
    const ParseResult result = Parse("<a><b>" + std::string(100'000, 'x') + "</b></a>");
    ASSERT_NE(result.root, nullptr);
    norvex::test::GrantAllocations(0, 1000);
    const CString text = TextOf(result.root->children[0]);
    norvex::test::GrantAllAllocations();
    EXPECT_EQ(text.GetLength(), 100'000);
}

TEST(XmlMemory, MayNotSufficeForATextOfManyPieces) {
    using Dom = ZrWindowsTool::MSXMLUtilityPtr;
    const ParseResult result = Parse("<a>one<b>two</b>three</a>");
    CString text = u"stale";
    norvex::test::GrantAllocations(0, 1000);
    bool isRead = true;
    EXPECT_NO_THROW(isRead = Dom::GetNodeText(result.root, text));
    norvex::test::GrantAllAllocations();
    EXPECT_FALSE(isRead);
    EXPECT_TRUE(text.IsEmpty());
}

// The text of an element within many others is put together once, not once for each.
TEST(XmlMemory, OfANestedTextIsNeededOnce) {
    std::string document;
    for (int level = 0; level < 200; ++level) {
        document += "<a>";
    }
    document += std::string(1000, 'x');
    for (int level = 0; level < 200; ++level) {
        document += "</a>";
    }
    const ParseResult result = Parse(document);
    ASSERT_NE(result.root, nullptr);
    const std::size_t before = norvex::test::Allocations();
    EXPECT_EQ(TextOf(*result.root).GetLength(), 1000);
    EXPECT_LT(norvex::test::Allocations() - before, 5U);
}
