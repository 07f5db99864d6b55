// SPDX-License-Identifier: Apache-2.0
#include "report/xml/XmlWriter.h"

#include <libxml/xmlwriter.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

namespace norvex::report {
namespace {

const xmlChar* Characters(const char* text) {
    return reinterpret_cast<const xmlChar*>(text);
}

thread_local bool t_ranOutOfMemory = false;

void* Noted(void* memory) {
    t_ranOutOfMemory = t_ranOutOfMemory || memory == nullptr;
    return memory;
}

// The library goes on where it could not keep something, and neither its results nor its error function tell. So it
// gets the allocator that it has anyway, with an eye on it; what was allocated before may be freed after, and the other
// way round.
void WatchMemory() {
    static std::once_flag watched;
    std::call_once(watched, [] {
        xmlMemSetup(
            std::free, [](std::size_t size) { return Noted(std::malloc(size)); },
            [](void* memory, std::size_t size) { return Noted(std::realloc(memory, size)); },
            [](const char* text) { return static_cast<char*>(Noted(strdup(text))); });
    });
}

// Calls the library; its calls return less than 0 when they fail. Errors: std::bad_alloc.
template <typename Call>
void Write(const Call& call) {
    if (t_ranOutOfMemory || call() < 0 || t_ranOutOfMemory) {
        throw std::bad_alloc();
    }
}

}  // namespace

int XmlWriter::Take(void* self, const char* bytes, int count) {
    try {
        static_cast<XmlWriter*>(self)->m_document.append(bytes, static_cast<std::size_t>(count));
        return count;
    } catch (const std::exception&) {
        return -1;
    }
}

XmlWriter::XmlWriter(TextPolicy policy) : m_policy(policy), m_buffer(nullptr), m_writer(nullptr) {
    WatchMemory();
    t_ranOutOfMemory = false;
    m_buffer = xmlOutputBufferCreateIO(Take, nullptr, this, nullptr);
    m_writer = m_buffer == nullptr ? nullptr : xmlNewTextWriter(m_buffer);
    if (m_writer == nullptr) {
        if (m_buffer != nullptr) {
            xmlOutputBufferClose(m_buffer);
        }
        throw std::bad_alloc();
    }
    try {
        Write([&] { return xmlTextWriterSetIndent(m_writer, 1); });
        Write([&] { return xmlTextWriterSetIndentString(m_writer, Characters("  ")); });
        Write([&] { return xmlTextWriterStartDocument(m_writer, nullptr, "UTF-8", nullptr); });
    } catch (const std::bad_alloc&) {
        xmlFreeTextWriter(m_writer);
        throw;
    }
}

XmlWriter::~XmlWriter() {
    xmlFreeTextWriter(m_writer);
}

XmlWriter& XmlWriter::Start(const char* element) {
    Write([&] { return xmlTextWriterStartElement(m_writer, Characters(element)); });
    return *this;
}

XmlWriter& XmlWriter::Attribute(const char* name, std::string_view value) {
    const std::string written = m_policy(value);
    Write([&] { return xmlTextWriterWriteAttribute(m_writer, Characters(name), Characters(written.c_str())); });
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
        Write([&] { return xmlTextWriterWriteString(m_writer, Characters(written.c_str())); });
    }
    return *this;
}

XmlWriter& XmlWriter::End() {
    Write([&] { return xmlTextWriterEndElement(m_writer); });
    return *this;
}

XmlWriter& XmlWriter::Leaf(const char* element, std::string_view text) {
    return Start(element).Text(text).End();
}

std::string XmlWriter::Finish() {
    Write([&] { return xmlTextWriterEndDocument(m_writer); });
    Write([&] { return xmlTextWriterFlush(m_writer); });
    if (m_buffer->error != 0) {
        throw std::bad_alloc();
    }
    return std::move(m_document);
}

}  // namespace norvex::report
