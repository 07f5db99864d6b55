// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/text/CString.h"
#include "platform/xml/XmlDocument.h"

#include <exception>
#include <memory>

// The maker's XML access: a document is made, a file opened into it, and its elements are walked.
namespace ZrWindowsTool {

// Raised where a node is required and none was given.
class NORVEX_PLATFORM_API ComError : public std::exception {
  public:
    ComError() noexcept;
    ComError(const ComError&) noexcept;
    ComError& operator=(const ComError&) noexcept;
    ~ComError() override;

    const char* what() const noexcept override;
};

// Handles are reference-counted; a node keeps its document alive. Documents and nodes may be read from any thread; a
// document is opened by one thread at a time.
class NORVEX_PLATFORM_API MSXMLUtilityPtr {
  public:
    // One element. Only elements are nodes here: text and comments are not among the children.
    using Node = std::shared_ptr<const norvex::xml::Element>;
    class Document;
    using DocumentPtr = std::shared_ptr<Document>;

    // Makes a document that holds nothing yet. Returns false, and leaves document null, when that fails.
    static bool CreateDOMObj(DocumentPtr& document);
    // Reads a file by the host's path. Returns false, and leaves the document as it was, when the file does not exist,
    // cannot be read or is not a well-formed document. Errors: ComError for a null document.
    static bool OpenXml(const DocumentPtr& document, const CString& path);
    // The document element; null for a document that holds nothing and for a null one.
    static Node GetRootElement(const DocumentPtr& document);

    // Errors: ComError for a null node, in all of these.
    static CString GetTagName(const Node& node);
    // All character data in the element, its descendants' included, with every blank that the file has. Returns false,
    // and empties text, when it cannot be read.
    static bool GetNodeText(const Node& node, CString& text);
    // Empty for an attribute that the element does not have.
    static CString GetAttributeValue(const Node& node, const CString& name);

    // The child elements of a node in document order.
    class NORVEX_PLATFORM_API EnumChildNodes {
      public:
        // Errors: ComError for a null node.
        explicit EnumChildNodes(const Node& parent);
        // Whether the children can be enumerated at all; an element without children can be.
        bool IsValid() const { return m_valid; }
        // The next child; null behind the last one and when the children cannot be enumerated.
        Node Next();

      private:
        Node m_parent;
        std::size_t m_next = 0;
        bool m_valid;
    };
};

}  // namespace ZrWindowsTool

namespace norvex::xml {

// Failures on command, for tests of callers; they hold until the next call. Not for use beside other threads.
struct Faults {
    // CreateDOMObj fails.
    bool createFails = false;
    // The children of elements with this tag cannot be enumerated.
    CString unenumerableTag;
    // The text of elements with this tag cannot be read.
    CString unreadableTextTag;
};
NORVEX_PLATFORM_API void SetFaults(const Faults& faults);

}  // namespace norvex::xml
