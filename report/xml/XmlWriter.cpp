// SPDX-License-Identifier: Apache-2.0
#include "report/xml/XmlWriter.h"

#include <libxml/xmlwriter.h>

#include <new>

namespace norvex::report {
namespace {

const xmlChar* Characters(const char* text) {
    return reinterpret_cast<const xmlChar*>(text);
}

// Writing into memory fails for one reason only.
void Check(int result) {
    if (result < 0) {
        throw std::bad_alloc();
    }
}

}  // namespace

XmlWriter::XmlWriter(TextPolicy policy) : m_policy(policy), m_buffer(xmlBufferCreate()), m_writer(nullptr) {
    if (m_buffer != nullptr) {
        // By default each piece of text would make room for itself alone.
        xmlBufferSetAllocationScheme(m_buffer, XML_BUFFER_ALLOC_DOUBLEIT);
        m_writer = xmlNewTextWriterMemory(m_buffer, 0);
    }
    if (m_writer == nullptr) {
        xmlBufferFree(m_buffer);
        throw std::bad_alloc();
    }
    Check(xmlTextWriterSetIndent(m_writer, 1));
    Check(xmlTextWriterSetIndentString(m_writer, Characters("  ")));
    Check(xmlTextWriterStartDocument(m_writer, nullptr, "UTF-8", nullptr));
}

XmlWriter::~XmlWriter() {
    if (m_writer != nullptr) {
        xmlFreeTextWriter(m_writer);
    }
    xmlBufferFree(m_buffer);
}

XmlWriter& XmlWriter::Start(const char* element) {
    Check(xmlTextWriterStartElement(m_writer, Characters(element)));
    return *this;
}

XmlWriter& XmlWriter::Attribute(const char* name, std::string_view value) {
    Check(xmlTextWriterWriteAttribute(m_writer, Characters(name), Characters(m_policy(value).c_str())));
    return *this;
}

XmlWriter& XmlWriter::Number(const char* name, std::uint64_t value) {
    return Attribute(name, std::to_string(value));
}

XmlWriter& XmlWriter::Flag(const char* name, bool value) {
    return Attribute(name, value ? "true" : "false");
}

XmlWriter& XmlWriter::Optional(const char* name, std::string_view value) {
    return value.empty() ? *this : Attribute(name, value);
}

XmlWriter& XmlWriter::Text(std::string_view text) {
    const std::string written = m_policy(text);
    // Writing nothing would give an empty element two tags.
    if (!written.empty()) {
        Check(xmlTextWriterWriteString(m_writer, Characters(written.c_str())));
    }
    return *this;
}

XmlWriter& XmlWriter::End() {
    Check(xmlTextWriterEndElement(m_writer));
    return *this;
}

XmlWriter& XmlWriter::Leaf(const char* element, std::string_view text) {
    return Start(element).Text(text).End();
}

std::string XmlWriter::Finish() {
    Check(xmlTextWriterEndDocument(m_writer));
    xmlFreeTextWriter(m_writer);
    m_writer = nullptr;
    return {reinterpret_cast<const char*>(xmlBufferContent(m_buffer)),
            static_cast<std::size_t>(xmlBufferLength(m_buffer))};
}

}  // namespace norvex::report
