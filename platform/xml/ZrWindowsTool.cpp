// SPDX-License-Identifier: Apache-2.0
#include "platform/xml/ZrWindowsTool.h"

#include <array>
#include <cstddef>
#include <new>
#include <utility>

namespace ZrWindowsTool {

namespace {

// Never destroyed: sections may still be read while the process ends. Asks for no memory, for whoever reads a section
// must not fail for the lack of it.
norvex::xml::Faults& CurrentFaults() {
    alignas(norvex::xml::Faults) static std::array<std::byte, sizeof(norvex::xml::Faults)> room;
    static norvex::xml::Faults& faults = *new (room.data()) norvex::xml::Faults();
    return faults;
}

bool IsNamed(const CString& faultyTag, const norvex::xml::Element& element) {
    return !faultyTag.IsEmpty() && faultyTag == element.tag;
}

const norvex::xml::Element& Required(const MSXMLUtilityPtr::Node& node) {
    if (node == nullptr) {
        throw ComError();
    }
    return *node;
}

}  // namespace

class MSXMLUtilityPtr::Document {
  public:
    Node root;
};

ComError::ComError() noexcept = default;
ComError::ComError(const ComError&) noexcept = default;
ComError& ComError::operator=(const ComError&) noexcept = default;
ComError::~ComError() = default;

const char* ComError::what() const noexcept {
    return "a node was required and none was given";
}

bool MSXMLUtilityPtr::CreateDOMObj(DocumentPtr& document) {
    document = CurrentFaults().createFails ? nullptr : std::make_shared<Document>();
    return document != nullptr;
}

bool MSXMLUtilityPtr::OpenXml(const DocumentPtr& document, const CString& path) {
    if (document == nullptr) {
        throw ComError();
    }
    Node root = norvex::xml::ParseFile(path).root;
    if (root == nullptr) {
        return false;
    }
    document->root = std::move(root);
    return true;
}

MSXMLUtilityPtr::Node MSXMLUtilityPtr::GetRootElement(const DocumentPtr& document) {
    return document == nullptr ? nullptr : document->root;
}

CString MSXMLUtilityPtr::GetTagName(const Node& node) {
    return Required(node).tag;
}

bool MSXMLUtilityPtr::GetNodeText(const Node& node, CString& text) {
    if (IsNamed(CurrentFaults().unreadableTextTag, Required(node))) {
        text.Empty();
        return false;
    }
    try {
        text = norvex::xml::TextOf(*node);
    } catch (const std::bad_alloc&) {
        text.Empty();
        return false;
    }
    return true;
}

CString MSXMLUtilityPtr::GetAttributeValue(const Node& node, const CString& name) {
    const CString* value = Required(node).FindAttribute(name);
    return value == nullptr ? CString() : *value;
}

MSXMLUtilityPtr::EnumChildNodes::EnumChildNodes(const Node& parent)
    : m_parent(parent), m_valid(!IsNamed(CurrentFaults().unenumerableTag, Required(parent))) {
}

MSXMLUtilityPtr::Node MSXMLUtilityPtr::EnumChildNodes::Next() {
    if (!m_valid || m_next >= m_parent->children.size()) {
        return nullptr;
    }
    // The child shares the ownership of the whole document.
    return {m_parent, &m_parent->children[m_next++]};
}

}  // namespace ZrWindowsTool

void norvex::xml::SetFaults(const Faults& faults) {
    ZrWindowsTool::CurrentFaults() = faults;
}
