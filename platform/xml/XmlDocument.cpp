// SPDX-License-Identifier: Apache-2.0
#include "platform/xml/XmlDocument.h"

#include "platform/kernel/FileSystem.h"
#include "platform/text/Utf8.h"
#include "platform/xml/Characters.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <mutex>
#include <new>
#include <unordered_map>
#include <utility>

namespace norvex::xml {

namespace {

// Why the document is given up, apart from what interrupts its characters and what the parser complains of. No texts: a
// sentence may not fit into the memory any more.
enum class Refusal { None, NoMemory, TooManyNodes, DeclaresEntity, RefersToEntity };

std::string SentenceOf(Refusal refusal) {
    switch (refusal) {
        case Refusal::TooManyNodes:
            return "The document holds more than " + std::to_string(kMaxNodes) + " elements, attributes and texts.";
        case Refusal::DeclaresEntity:
            return "The document declares an entity.";
        case Refusal::RefersToEntity:
            return "The document refers to an entity.";
        case Refusal::NoMemory:
        case Refusal::None:
            break;
    }
    return "There is not enough memory for the document.";
}

// A declared name for people: it may be anything that stands between two quotes.
std::string Shown(std::string name) {
    constexpr std::size_t kMost = 40;
    std::ranges::replace_if(
        name, [](char byte) { return byte < ' ' || byte > '~'; }, '?');
    return name.size() > kMost ? name.substr(0, kMost) + "..." : name;
}

std::string SentenceOf(const Characters& characters) {
    switch (characters.Why()) {
        case Interruption::TooManyBytes:
            return "The document has more than " + std::to_string(kMaxBytes) + " bytes.";
        case Interruption::UnknownEncoding:
            return "The document's encoding \"" + Shown(characters.EncodingName()) + "\" is not known.";
        case Interruption::NotInEncoding:
            return "The document holds bytes that are no character of its encoding " + characters.EncodingName() + ".";
        case Interruption::CrowdedTag:
            return "A tag of the document has more than " + std::to_string(kMaxAttributes) + " attributes.";
        case Interruption::None:
            break;
    }
    return {};
}

// Builds the tree while the parser reads. The parser is C: no exception may leave a callback.
class TreeBuilder {
  public:
    TreeBuilder(xmlParserCtxtPtr parser, Characters& characters) : m_parser(parser), m_characters(characters) {
        m_open.push_back(&m_document);
    }

    // The next characters for the parser; none once it has found the document broken.
    int Read(char* buffer, int size) {
        const bool goesOn = m_refusal == Refusal::None && m_parser->wellFormed != 0;
        return goesOn ? static_cast<int>(m_characters.Read(buffer, static_cast<std::size_t>(size))) : 0;
    }

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
        m_text += text::FromUtf8({reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(size)});
    }

    // The first reason counts.
    void Refuse(Refusal refusal) noexcept {
        if (m_refusal == Refusal::None) {
            m_line = Line();
            m_refusal = refusal;
        }
    }
    // The same where the parser can be stopped.
    void Stop(Refusal refusal) noexcept {
        Refuse(refusal);
        xmlStopParser(m_parser);
    }

    // The parser's own words, on one line; the first complaint counts and does not stop it.
    void Complain(const xmlError& error) {
        if (error.code == XML_ERR_NO_MEMORY) {
            return Refuse(Refusal::NoMemory);
        }
        if (!m_complaint.empty() || error.level < XML_ERR_ERROR || error.message == nullptr) {
            return;
        }
        m_complaint = error.message;
        m_complaint.erase(std::find(m_complaint.begin(), m_complaint.end(), '\n'), m_complaint.end());
        m_complaintLine = std::max(error.line, 1);
    }

    ParseResult Finish() {
        if (m_refusal != Refusal::None) {
            return {nullptr, m_line, SentenceOf(m_refusal)};
        }
        if (m_characters.Why() != Interruption::None) {
            return {nullptr, m_characters.Line(), SentenceOf(m_characters)};
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

    int Line() const noexcept { return m_parser->input == nullptr ? 1 : std::max(m_parser->input->line, 1); }

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
        if (m_text.IsEmpty()) {
            return;
        }
        Element& element = *m_open.back();
        element.texts.push_back({element.children.size(), std::move(m_text)});
        m_text.Empty();
        Count();
    }

    void Count() {
        if (++m_nodes == kMaxNodes + 1) {
            Stop(Refusal::TooManyNodes);
        }
    }

    xmlParserCtxtPtr m_parser;
    Characters& m_characters;
    Element m_document;            // its only child is the document element
    std::vector<Element*> m_open;  // the way to the current element; only the last one's children still move
    std::unordered_map<std::string, CString> m_names;
    CString m_text;
    std::size_t m_nodes = 0;
    Refusal m_refusal = Refusal::None;
    int m_line = 0;
    int m_complaintLine = 1;
    std::string m_complaint;
};

template <typename Work>
void Guarded(void* context, Work work) noexcept {
    auto* builder = static_cast<TreeBuilder*>(context);
    try {
        work(*builder);
    } catch (const std::exception&) {
        builder->Stop(Refusal::NoMemory);
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
    Guarded(context, [](TreeBuilder& builder) { builder.Stop(Refusal::DeclaresEntity); });
}

void OnReference(void* context, const xmlChar*) {
    Guarded(context, [](TreeBuilder& builder) { builder.Stop(Refusal::RefersToEntity); });
}

// The parser is not stopped here: it may still be reading what stopping it frees. It gets no more to read.
void OnError(void* context, xmlErrorPtr error) noexcept {
    auto* builder = static_cast<TreeBuilder*>(context);
    try {
        builder->Complain(*error);
    } catch (const std::exception&) {
        builder->Refuse(Refusal::NoMemory);
    }
}

int OnRead(void* context, char* buffer, int size) noexcept {
    auto* builder = static_cast<TreeBuilder*>(context);
    try {
        return builder->Read(buffer, size);
    } catch (const std::exception&) {
        builder->Refuse(Refusal::NoMemory);
        return 0;
    }
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

struct ParserFreer {
    void operator()(xmlParserCtxtPtr parser) const { xmlFreeParserCtxt(parser); }
};

// The sentence is left out when not even that fits.
ParseResult WithoutMemory() noexcept {
    ParseResult result;
    result.line = 1;
    try {
        result.sentence = SentenceOf(Refusal::NoMemory);
    } catch (const std::bad_alloc&) {
        result.sentence.clear();
    }
    return result;
}

ParseResult ParseCharacters(Characters& characters) {
    static std::once_flag initialised;
    std::call_once(initialised, xmlInitParser);
    const std::unique_ptr<xmlParserCtxt, ParserFreer> parser(xmlNewParserCtxt());
    if (parser == nullptr) {
        return WithoutMemory();
    }
    TreeBuilder builder(parser.get(), characters);
    const ComplaintGuard guard(builder);
    *parser->sax = Handler();
    parser->userData = &builder;
    // Without replacement of entities, "&amp;" in an attribute would come as "&#38;"; as no document may declare any,
    // only the five predefined ones are ever replaced. What the document declares as its encoding has been heeded.
    const xmlDocPtr declarations = xmlCtxtReadIO(parser.get(), OnRead, nullptr, &builder, nullptr, nullptr,
                                                 XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_IGNORE_ENC);
    xmlFreeDoc(declarations);
    return builder.Finish();
}

ParseResult ParseFrom(ByteSource source) {
    try {
        Characters characters(std::move(source), kMaxBytes);
        return ParseCharacters(characters);
    } catch (const std::bad_alloc&) {
        return WithoutMemory();
    }
}

void AppendText(const Element& element, CString& text) {
    std::size_t child = 0;
    for (const TextPiece& piece : element.texts) {
        for (; child < piece.childrenBefore; ++child) {
            AppendText(element.children[child], text);
        }
        text += piece.text;
    }
    for (; child < element.children.size(); ++child) {
        AppendText(element.children[child], text);
    }
}

}  // namespace

const CString* Element::FindAttribute(const CString& name) const {
    const auto found =
        std::ranges::find_if(attributes, [&](const Attribute& attribute) { return attribute.name == name; });
    return found == attributes.end() ? nullptr : &found->value;
}

CString TextOf(const Element& element) {
    // One piece is shared with the tree.
    if (element.children.empty() && element.texts.size() == 1) {
        return element.texts.front().text;
    }
    CString text;
    AppendText(element, text);
    return text;
}

ParseResult Parse(std::string_view bytes) {
    return ParseFrom([rest = bytes](char* buffer, std::size_t size) mutable {
        const std::size_t given = rest.copy(buffer, size);
        rest.remove_prefix(given);
        return given;
    });
}

ParseResult ParseFile(const CString& path) {
    try {
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(_wfopen(path, u"rb"), std::fclose);
        if (file == nullptr) {
            return {nullptr, 1, "The file does not exist or cannot be read."};
        }
        ParseResult result =
            ParseFrom([&file](char* buffer, std::size_t size) { return std::fread(buffer, 1, size, file.get()); });
        if (std::ferror(file.get()) != 0) {
            return {nullptr, std::max(result.line, 1), "The file could not be read to its end."};
        }
        return result;
    } catch (const std::bad_alloc&) {
        return WithoutMemory();
    }
}

}  // namespace norvex::xml
