// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/NativePath.h"
#include "platform/xml/ZrWindowsTool.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace {

using Dom = ZrWindowsTool::MSXMLUtilityPtr;

Dom::DocumentPtr Opened(const TemporaryFolder& folder, std::string_view bytes) {
    Dom::DocumentPtr document;
    EXPECT_TRUE(Dom::CreateDOMObj(document));
    EXPECT_TRUE(Dom::OpenXml(document, norvex::kernel::FromNativePath(folder.Write("d.xml", bytes).native())));
    return document;
}

TEST(Dom, EnumeratesElementsAlone) {
    const TemporaryFolder folder;
    const auto document = Opened(folder, "<r>text<a/><!-- c --><?pi x?><b>t</b></r>");
    Dom::EnumChildNodes children(Dom::GetRootElement(document));
    EXPECT_TRUE(children.IsValid());
    EXPECT_EQ(Dom::GetTagName(children.Next()), L"a");
    const Dom::Node last = children.Next();
    EXPECT_EQ(Dom::GetTagName(last), L"b");
    EXPECT_EQ(children.Next(), nullptr);
    EXPECT_EQ(children.Next(), nullptr);
    Dom::EnumChildNodes none(last);
    EXPECT_TRUE(none.IsValid());
    EXPECT_EQ(none.Next(), nullptr);
}

TEST(Dom, ReadsAnAbsentAttributeAsEmpty) {
    const TemporaryFolder folder;
    const auto root = Dom::GetRootElement(Opened(folder, "<r name='值'/>"));
    EXPECT_EQ(Dom::GetAttributeValue(root, L"name"), L"值");
    EXPECT_EQ(Dom::GetAttributeValue(root, L"Name"), L"");
}

TEST(Dom, KeepsADocumentAliveWhileANodeIsHeld) {
    const TemporaryFolder folder;
    Dom::Node child;
    {
        auto document = Opened(folder, "<r><a>text</a></r>");
        child = Dom::EnumChildNodes(Dom::GetRootElement(document)).Next();
    }
    CString text;
    EXPECT_TRUE(Dom::GetNodeText(child, text));
    EXPECT_EQ(text, L"text");
}

TEST(Dom, HoldsNothingUntilAFileIsOpened) {
    Dom::DocumentPtr document;
    ASSERT_TRUE(Dom::CreateDOMObj(document));
    EXPECT_EQ(Dom::GetRootElement(document), nullptr);
    EXPECT_FALSE(Dom::OpenXml(document, L"\\no\\such\\file.xml"));
    EXPECT_EQ(Dom::GetRootElement(document), nullptr);
    EXPECT_EQ(Dom::GetRootElement(nullptr), nullptr);
}

TEST(Dom, RaisesItsErrorWhereANodeIsMissing) {
    CString text;
    EXPECT_THROW(Dom::GetTagName(nullptr), ZrWindowsTool::ComError);
    EXPECT_THROW(Dom::GetNodeText(nullptr, text), ZrWindowsTool::ComError);
    EXPECT_THROW(Dom::GetAttributeValue(nullptr, L"a"), ZrWindowsTool::ComError);
    EXPECT_THROW(Dom::EnumChildNodes(nullptr), ZrWindowsTool::ComError);
    EXPECT_THROW(Dom::OpenXml(nullptr, L"a"), ZrWindowsTool::ComError);
}

TEST(Dom, FailsOnCommand) {
    const TemporaryFolder folder;
    const auto root = Dom::GetRootElement(Opened(folder, "<r><a>t</a></r>"));
    norvex::xml::SetFaults({.createFails = true, .unenumerableTag = L"r", .unreadableTextTag = L"r"});
    Dom::DocumentPtr document;
    CString text = L"stale";
    EXPECT_FALSE(Dom::CreateDOMObj(document));
    EXPECT_FALSE(Dom::GetNodeText(root, text));
    EXPECT_EQ(text, L"");
    Dom::EnumChildNodes children(root);
    EXPECT_FALSE(children.IsValid());
    EXPECT_EQ(children.Next(), nullptr);
    norvex::xml::SetFaults({});
    EXPECT_TRUE(Dom::EnumChildNodes(root).IsValid());
}

}  // namespace
