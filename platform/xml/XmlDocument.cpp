// SPDX-License-Identifier: Apache-2.0
#include "platform/xml/XmlDocument.h"

#include "platform/kernel/FileSystem.h"
#include "platform/text/Utf8.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iterator>
#include <mutex>
#include <unordered_map>

namespace norvex::xml {

namespace {

// Builds the tree while the parser reads. The parser is C: no exception may leave a callback.
class TreeBuilder {
  public:
    explicit TreeBuilder(xmlParserCtxtPtr parser) : m_parser(parser) { m_open.push_back(&m_document); }

    void StartElement(const xmlChar* name, const xmlChar** attributes) {
        FlushText();
        Element& element = m_open.back()->children.emplace_back();
        Count();
        element.tag = Name(name);
        element.line = Line();
        for (; attributes != nullptr && attributes[0] != nullptr; attributes += 2) {
            element.attributes.push_back({Name(attributes[0]), text::FromUtf8(View(attributes[1]))});
            Count();
        }
        m_open.push_back(&element);
    }

    void EndElement() {
        FlushText();
        m_open.pop_back();
    }

    void AddText(const xmlChar* bytes, int size) {
        m_text.append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size));
    }

    // Stops the parser; the first reason counts.
    void Fail(std::string sentence) {
        if (m_sentence.empty()) {
            m_line = Line();
            m_sentence = std::move(sentence);
        }
        xmlStopParser(m_parser);
    }

    // The parser's own words, on one line; the first complaint counts and does not stop it.
    void Complain(const xmlError& error) {
        if (!m_complaint.empty() || error.level < XML_ERR_ERROR || error.message == nullptr) {
            return;
        }
        m_complaint = error.message;
        m_complaint.erase(std::find(m_complaint.begin(), m_complaint.end(), '\n'), m_complaint.end());
        m_complaintLine = std::max(error.line, 1);
    }

    ParseResult Finish() {
        if (!m_sentence.empty()) {
            return {nullptr, m_line, m_sentence};
        }
        if (m_parser->wellFormed == 0 || m_document.children.empty()) {
            return {nullptr, m_complaintLine, "The document is not well-formed: " + m_complaint + "."};
        }
        return {std::make_shared<const Element>(std::move(m_document.children.front())), 0, ""};
    }

  private:
    static std::string_view View(const xmlChar* text) {
        return text == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char*>(text));
    }

    int Line() const { return m_parser->input == nullptr ? 1 : std::max(m_parser->input->line, 1); }

    // Documents repeat few names; they share one buffer each.
    CString Name(const xmlChar* name) {
        const std::string key(View(name));
        const auto [known, added] = m_names.try_emplace(key);
        if (added) {
            known->second = text::FromUtf8(key);
        }
        return known->second;
    }

    void FlushText() {
        if (m_text.empty()) {
            return;
        }
        Element& element = *m_open.back();
        element.texts.push_back({element.children.size(), text::FromUtf8(m_text)});
        m_text.clear();
        Count();
    }

    void Count() {
        if (++m_nodes == kMaxNodes + 1) {
            Fail("The document holds more than " + std::to_string(kMaxNodes) + " elements, attributes and texts.");
        }
    }

    xmlParserCtxtPtr m_parser;
    Element m_document;            // its only child is the document element
    std::vector<Element*> m_open;  // the way to the current element; only the last one's children still move
    std::unordered_map<std::string, CString> m_names;
    std::string m_text;
    std::size_t m_nodes = 0;
    int m_line = 0;
    std::string m_sentence;
    int m_complaintLine = 1;
    std::string m_complaint;
};

template <typename Work>
void Guarded(void* context, Work work) noexcept {
    auto* builder = static_cast<TreeBuilder*>(context);
    try {
        work(*builder);
    } catch (const std::exception&) {
        builder->Fail("There is not enough memory for the document.");
    }
}

void OnStartElement(void* context, const xmlChar* name, const xmlChar** attributes) {
    Guarded(context, [&](TreeBuilder& builder) { builder.StartElement(name, attributes); });
}

void OnEndElement(void* context, const xmlChar*) {
    Guarded(context, [](TreeBuilder& builder) { builder.EndElement(); });
}

void OnText(void* context, const xmlChar* bytes, int size) {
    Guarded(context, [&](TreeBuilder& builder) { builder.AddText(bytes, size); });
}

void OnEntityDeclaration(void* context, const xmlChar*, int, const xmlChar*, const xmlChar*, xmlChar*) {
    Guarded(context, [](TreeBuilder& builder) { builder.Fail("The document declares an entity."); });
}

void OnReference(void* context, const xmlChar*) {
    Guarded(context, [](TreeBuilder& builder) { builder.Fail("The document refers to an entity."); });
}

void OnError(void* context, xmlErrorPtr error) {
    Guarded(context, [&](TreeBuilder& builder) { builder.Complain(*error); });
}

// While this lives, the calling thread's complaints go to the builder; without it they go to the terminal.
class ComplaintGuard {
  public:
    explicit ComplaintGuard(TreeBuilder& builder)
        : m_context(xmlStructuredErrorContext), m_function(xmlStructuredError) {
        xmlSetStructuredErrorFunc(&builder, OnError);
    }
    ComplaintGuard(const ComplaintGuard&) = delete;
    ComplaintGuard& operator=(const ComplaintGuard&) = delete;
    ~ComplaintGuard() { xmlSetStructuredErrorFunc(m_context, m_function); }

  private:
    void* m_context;
    xmlStructuredErrorFunc m_function;
};

xmlSAXHandler Handler() {
    xmlSAXHandler handler{};
    handler.startElement = OnStartElement;
    handler.endElement = OnEndElement;
    handler.characters = OnText;
    handler.ignorableWhitespace = OnText;
    handler.cdataBlock = OnText;
    handler.entityDecl = OnEntityDeclaration;
    handler.reference = OnReference;
    // Anything but the mark of the second interface: names come whole, with their prefixes.
    handler.initialized = 1;
    return handler;
}

// The encoding to read in, where the declaration's own name would mislead; null: whatever the document says.
const char* EncodingOverride(std::string_view bytes) {
    constexpr std::size_t kDeclarationRoom = 256;
    const std::string_view beginning = bytes.substr(0, kDeclarationRoom);
    const std::string_view declaration = beginning.substr(0, beginning.find("?>"));
    const std::size_t attribute = declaration.find("encoding");
    if (!declaration.starts_with("<?xml") || attribute == std::string_view::npos) {
        return nullptr;
    }
    const std::size_t quote = declaration.find_first_of("\"'", attribute);
    if (quote == std::string_view::npos) {
        return nullptr;
    }
    const std::string_view rest = declaration.substr(quote + 1);
    std::string name(rest.substr(0, rest.find(declaration[quote])));
    std::ranges::transform(name, name.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; });
    return name == "gb2312" ? "GBK" : nullptr;
}

// Number of attributes in the tag that begins behind a '<' at `at`, no further than `most` + 1; `at` moves behind it.
int CountAttributes(std::string_view text, std::size_t& at, int most) {
    int attributes = 0;
    while (at < text.size() && text[at] != '>' && attributes <= most) {
        const char byte = text[at++];
        if (byte == '"' || byte == '\'') {
            at = std::min(text.find(byte, at), text.size() - 1) + 1;
        } else if (byte == '=') {
            ++attributes;
        }
    }
    return attributes;
}

// Whether some tag holds more attributes than any document needs. The parser compares each attribute of a tag with all
// others, so that this must be known before it reads. Without its zero bytes UTF-16 reads as the ASCII that tags need.
bool HasCrowdedTag(std::string_view bytes) {
    constexpr int kMostAttributes = 1000;
    std::string squeezed;
    if (bytes.find('\0') != std::string_view::npos) {
        std::ranges::copy_if(bytes, std::back_inserter(squeezed), [](char byte) { return byte != 0; });
        bytes = squeezed;
    }
    for (std::size_t at = bytes.find('<'); at != std::string_view::npos; at = bytes.find('<', at)) {
        const std::string_view rest = bytes.substr(++at);
        // What is no element ends at its own mark.
        const std::string_view end = rest.starts_with("!--")        ? "-->"
                                     : rest.starts_with("![CDATA[") ? "]]>"
                                     : rest.starts_with('?')        ? "?>"
                                                                    : "";
        if (!end.empty()) {
            at = bytes.find(end, at);
        } else if (CountAttributes(bytes, at, kMostAttributes) > kMostAttributes) {
            return true;
        }
    }
    return false;
}

struct ParserFreer {
    void operator()(xmlParserCtxtPtr parser) const { xmlFreeParserCtxt(parser); }
};

}  // namespace

const CString* Element::FindAttribute(const CString& name) const {
    const auto found =
        std::ranges::find_if(attributes, [&](const Attribute& attribute) { return attribute.name == name; });
    return found == attributes.end() ? nullptr : &found->value;
}

CString TextOf(const Element& element) {
    CString text;
    std::size_t child = 0;
    for (const TextPiece& piece : element.texts) {
        for (; child < piece.childrenBefore; ++child) {
            text += TextOf(element.children[child]);
        }
        text += piece.text;
    }
    for (; child < element.children.size(); ++child) {
        text += TextOf(element.children[child]);
    }
    return text;
}

ParseResult Parse(std::string_view bytes) {
    if (bytes.size() > kMaxBytes) {
        return {nullptr, 1, "The document has more than " + std::to_string(kMaxBytes) + " bytes."};
    }
    if (HasCrowdedTag(bytes)) {
        return {nullptr, 1, "A tag of the document has more than 1000 attributes."};
    }
    static std::once_flag initialised;
    std::call_once(initialised, xmlInitParser);
    const std::unique_ptr<xmlParserCtxt, ParserFreer> parser(xmlNewParserCtxt());
    if (parser == nullptr) {
        return {nullptr, 1, "There is not enough memory for the document."};
    }
    TreeBuilder builder(parser.get());
    const ComplaintGuard guard(builder);
    *parser->sax = Handler();
    parser->userData = &builder;
    // Without replacement of entities, "&amp;" in an attribute would come as "&#38;"; as no document may declare any,
    // only the five predefined ones are ever replaced.
    const xmlDocPtr declarations =
        xmlCtxtReadMemory(parser.get(), bytes.data(), static_cast<int>(bytes.size()), nullptr, EncodingOverride(bytes),
                          XML_PARSE_NONET | XML_PARSE_NOENT);
    xmlFreeDoc(declarations);
    return builder.Finish();
}

ParseResult ParseFile(const CString& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(_wfopen(path, u"rb"), std::fclose);
    if (file == nullptr) {
        return {nullptr, 1, "The file does not exist or cannot be read."};
    }
    std::string bytes;
    std::size_t read = 0;
    do {
        constexpr std::size_t kBlock = 64 * 1024;
        const std::size_t before = bytes.size();
        bytes.resize(before + kBlock);
        read = std::fread(bytes.data() + before, 1, kBlock, file.get());
        bytes.resize(before + read);
    } while (read > 0 && bytes.size() <= kMaxBytes);
    return Parse(bytes);
}

}  // namespace norvex::xml
