// SPDX-License-Identifier: Apache-2.0
#include "platform/xml/XmlDocument.h"

#include "platform/kernel/NativePath.h"
#include "platform/text/CodePage.h"
#include "platform/text/Utf8.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using norvex::xml::Parse;
using norvex::xml::ParseResult;
using norvex::xml::TextOf;

std::string Utf16(const std::u16string& text, bool bigEndian) {
    std::string bytes;
    for (const char16_t unit : text) {
        const char high = static_cast<char>(unit >> 8);
        const char low = static_cast<char>(unit & 0xFF);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
}

std::string InCodePage936(const CString& text) {
    return norvex::text::WideToNarrow(text);
}

// Text of the document element; "unopened" when the document could not be read.
CString TextIn(const std::string& bytes) {
    const ParseResult result = Parse(bytes);
    return result.root == nullptr ? CString(L"unopened") : TextOf(*result.root);
}

TEST(XmlDocument, KeepsTagsAttributesTextsAndLines) {
    const ParseResult result = Parse(
        "<?xml version=\"1.0\"?>\n"
        "<!-- a comment -->\n"
        "<a x='1' y=\"&lt;&#x4E2D;\">\n"
        "<b>one<c>two</c>three</b><b/></a>\n");
    ASSERT_NE(result.root, nullptr) << result.sentence;
    const auto& root = *result.root;
    EXPECT_EQ(root.tag, L"a");
    EXPECT_EQ(root.line, 3);
    ASSERT_NE(root.FindAttribute(L"y"), nullptr);
    EXPECT_EQ(*root.FindAttribute(L"y"), L"<中");
    EXPECT_EQ(root.FindAttribute(L"X"), nullptr);
    ASSERT_EQ(root.children.size(), 2U);
    EXPECT_EQ(root.children[0].line, 4);
    EXPECT_EQ(TextOf(root.children[0]), L"onetwothree");
    EXPECT_EQ(TextOf(root.children[1]), L"");
}

TEST(XmlDocument, DropsNoBlanks) {
    EXPECT_EQ(TextIn("<a>  one\t<b> </b>\n</a>"), L"  one\t \n");
}

TEST(XmlDocument, ReadsCharacterDataSections) {
    EXPECT_EQ(TextIn("<a>1<![CDATA[<&]]>2</a>"), L"1<&2");
}

TEST(XmlDocument, ReadsPredefinedEntitiesInAttributesAndTexts) {
    const ParseResult result = Parse("<a x='&amp;&lt;&gt;&quot;&apos;&#38;#38;'>&amp;&lt;&gt;&quot;&apos;</a>");
    ASSERT_NE(result.root, nullptr);
    EXPECT_EQ(*result.root->FindAttribute(L"x"), L"&<>\"'&#38;");
    EXPECT_EQ(TextOf(*result.root), L"&<>\"'");
}

TEST(XmlDocument, KeepsPrefixes) {
    const ParseResult result = Parse("<n:a xmlns:n='u' n:x='1'/>");
    ASSERT_NE(result.root, nullptr);
    EXPECT_EQ(result.root->tag, L"n:a");
    EXPECT_NE(result.root->FindAttribute(L"n:x"), nullptr);
}

TEST(XmlDocument, KeepsATextOfManyPiecesWhole) {
    std::string text;
    for (int index = 0; index < 100'000; ++index) {
        text += "管道&amp;";
    }
    EXPECT_EQ(TextIn("<a>" + text + "</a>").GetLength(), 300'000);
}

TEST(XmlEncoding, IsUtf8WithoutADeclaration) {
    EXPECT_EQ(TextIn("<a>管道𠮷</a>"), u"管道𠮷");
    EXPECT_EQ(TextIn("\xEF\xBB\xBF<a>管道</a>"), u"管道");
    EXPECT_EQ(TextIn("<?xml version='1.0' encoding='utf-8'?><a>管道</a>"), u"管道");
}

TEST(XmlEncoding, MayBeUtf16OfEitherOrder) {
    const std::u16string document = u"<?xml version='1.0' encoding='UTF-16'?><a>管道𠮷</a>";
    for (const bool bigEndian : {false, true}) {
        EXPECT_EQ(TextIn(Utf16(u'\xFEFF' + document, bigEndian)), u"管道𠮷") << bigEndian;
        EXPECT_EQ(TextIn(Utf16(document, bigEndian)), u"管道𠮷") << bigEndian;
    }
}

TEST(XmlEncoding, MayBeCodePage936UnderAllItsNames) {
    // The last two are in the code page but not in the older character set.
    for (const std::string name : {"GBK", "gbk", "GB2312", "gb2312", "CP936", "windows-936"}) {
        const std::string declaration = "<?xml version=\"1.0\" encoding=\"" + name + "\"?>";
        EXPECT_EQ(TextIn(declaration + InCodePage936(L"<a>给排水管道镕囍</a>")), L"给排水管道镕囍") << name;
    }
    EXPECT_EQ(TextIn("<?xml version='1.0' encoding='GB2312'?><a>" + InCodePage936(L"镕€") + "</a>"), L"镕€");
}

TEST(XmlEncoding, MayBeGb18030) {
    // U+20BB7 in four bytes.
    EXPECT_EQ(TextIn("<?xml version='1.0' encoding='GB18030'?><a>\x95\x34\xB2\x35" + InCodePage936(L"管道") + "</a>"),
              u"𠮷管道");
}

TEST(XmlEncoding, LeavesTheDocumentUnopenedWhenItIsUnknownOrWrong) {
    EXPECT_EQ(TextIn("<?xml version='1.0' encoding='no-such'?><a>x</a>"), L"unopened");
    EXPECT_EQ(TextIn("<?xml version='1.0' encoding=''?><a>x</a>"), L"unopened");
    EXPECT_EQ(TextIn("<a>" + InCodePage936(L"管道") + "</a>"), L"unopened");
    EXPECT_EQ(TextIn("<?xml version='1.0' encoding='UTF-8'?><a>\xFF</a>"), L"unopened");
    EXPECT_EQ(TextIn("<?xml version='1.0' encoding='UTF-16'?><a>x</a>"), L"unopened");
    EXPECT_EQ(TextIn("<?xml version='1.0' encoding='GBK'?><a>\x81\x20</a>"), L"unopened");
    EXPECT_EQ(TextIn("<?xml version='1.0' encoding='GBK'?><a>\xB9</a>"), L"unopened");
}

TEST(XmlDocument, IsUnopenedWhenItIsNotWellFormed) {
    for (const std::string bytes :
         {"", " ", "text", "<a>", "<a><b></a>", "<a></b>", "<a/><b/>", "<a/>tail", "<a x=1/>", "<a x='1' x='2'/>",
          "<a>&undeclared;</a>", "<a>&#0;</a>", "<a>\x01</a>", "<1/>", "<a", "<?xml version='1.0'?>"}) {
        const ParseResult result = Parse(bytes);
        EXPECT_EQ(result.root, nullptr) << bytes;
        EXPECT_GE(result.line, 1) << bytes;
        EXPECT_FALSE(result.sentence.empty()) << bytes;
    }
}

TEST(XmlDocument, SaysInWhichLineItIsBroken) {
    const ParseResult result = Parse("<a>\n<b>\n</c>\n</a>");
    EXPECT_EQ(result.line, 3);
    EXPECT_NE(result.sentence.find("not well-formed"), std::string::npos) << result.sentence;
}

TEST(XmlDocument, IsUnopenedWhereverItIsCutShort) {
    const std::string whole =
        "<?xml version=\"1.0\" encoding=\"GBK\"?>\n<a x='" + InCodePage936(L"管道") + "'><!-- c --><b>t</b></a>";
    ASSERT_NE(Parse(whole).root, nullptr);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        ASSERT_EQ(Parse(std::string(whole, 0, size)).root, nullptr) << size;
    }
}

TEST(XmlDocument, IsUnopenedWhenItDeclaresEntities) {
    const std::string bomb =
        "<!DOCTYPE a [<!ENTITY a0 'ha'>"
        "<!ENTITY a1 '&a0;&a0;&a0;&a0;&a0;&a0;&a0;&a0;&a0;&a0;'>"
        "<!ENTITY a2 '&a1;&a1;&a1;&a1;&a1;&a1;&a1;&a1;&a1;&a1;'>]>";
    EXPECT_EQ(TextIn(bomb + "<a>&a2;</a>"), L"unopened");
    EXPECT_EQ(TextIn(bomb + "<a x='&a2;'/>"), L"unopened");
    EXPECT_EQ(TextIn("<!DOCTYPE a [<!ENTITY % p SYSTEM 'file:///etc/passwd'> %p;]><a/>"), L"unopened");
    EXPECT_EQ(TextIn("<!DOCTYPE a SYSTEM 'http://127.0.0.1:1/a.dtd'><a>&x;</a>"), L"unopened");
}

TEST(XmlDocument, NeverLooksAtAnotherFile) {
    const TemporaryFolder folder;
    const std::string secret = folder.Write("secret", "secret").string();
    EXPECT_EQ(TextIn("<!DOCTYPE a [<!ENTITY x SYSTEM '" + secret + "'>]><a>&x;</a>"), L"unopened");
    const std::string table = folder.Write("a.dtd", "<!ELEMENT a ANY><!ATTLIST a x CDATA 'from outside'>").string();
    const ParseResult result = Parse("<!DOCTYPE a SYSTEM '" + table + "'><a>in</a>");
    ASSERT_NE(result.root, nullptr);
    EXPECT_TRUE(result.root->attributes.empty());
}

TEST(XmlDocument, AcceptsADocumentTypeWithoutEntities) {
    EXPECT_EQ(TextIn("<!DOCTYPE a><a>x</a>"), L"x");
    EXPECT_EQ(TextIn("<!DOCTYPE a [<!ELEMENT a ANY>]><a>x&amp;</a>"), L"x&");
}

TEST(XmlDocument, BoundsDepthAndNumbers) {
    std::string deep;
    for (int level = 0; level < 100'000; ++level) {
        deep += "<a>";
    }
    EXPECT_EQ(Parse(deep).root, nullptr);
    std::string many = "<a>";
    for (std::size_t index = 0; index < norvex::xml::kMaxNodes; ++index) {
        many += "<b/>";
    }
    const ParseResult result = Parse(many + "</a>");
    EXPECT_EQ(result.root, nullptr);
    EXPECT_NE(result.sentence.find("more than 1000000"), std::string::npos) << result.sentence;
    EXPECT_EQ(Parse(std::string(norvex::xml::kMaxBytes + 1, ' ')).root, nullptr);
}

TEST(XmlDocument, IsUnopenedWhenATagIsCrowdedWithAttributes) {
    const auto document = [](int attributes) {
        std::string text = "<!-- <x don't --><a b=\"y q='\"><c";
        for (int index = 0; index < attributes; ++index) {
            text += " n" + std::to_string(index) + "='='";
        }
        return text + "/></a>";
    };
    EXPECT_NE(Parse(document(1000)).root, nullptr);
    // So many would take the parser minutes.
    const ParseResult result = Parse(document(200'000));
    EXPECT_EQ(result.root, nullptr);
    EXPECT_NE(result.sentence.find("1000 attributes"), std::string::npos) << result.sentence;
    EXPECT_NE(Parse("<a><!-- " + std::string(5000, '=') + " --><![CDATA[<b " + std::string(5000, '=') + "]]></a>").root,
              nullptr);
}

TEST(XmlDocument, IsReadFromAFileByTheHostsPath) {
    const TemporaryFolder folder;
    const auto path = norvex::kernel::FromNativePath(folder.Write("一号楼 B座/配置.xml", "<a>管道</a>").native());
    const ParseResult result = norvex::xml::ParseFile(path);
    ASSERT_NE(result.root, nullptr);
    EXPECT_EQ(TextOf(*result.root), L"管道");
    EXPECT_EQ(norvex::xml::ParseFile(path + L"x").root, nullptr);
    EXPECT_EQ(norvex::xml::ParseFile(norvex::kernel::FromNativePath(folder.Path().native())).root, nullptr);
}

}  // namespace
