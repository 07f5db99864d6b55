// SPDX-License-Identifier: Apache-2.0
#include "platform/xml/Characters.h"

#include "platform/text/Utf8.h"

#include <unicode/utf16.h>

#include <algorithm>
#include <utility>

namespace norvex::xml {

namespace {

constexpr std::size_t kBlockSize = 16 * 1024;
// The parser guesses the encoding of what does not begin with a mark, and must not.
constexpr std::string_view kMark = "\xEF\xBB\xBF";

}  // namespace

Characters::Characters(ByteSource source, std::size_t mostBytes)
    : m_source(std::move(source)), m_mostBytes(mostBytes), m_utf8(kMark) {
}

std::size_t Characters::Read(char* buffer, std::size_t size) {
    std::size_t filled = 0;
    while (filled < size && (m_given < m_utf8.size() || !m_isEnded)) {
        if (m_given == m_utf8.size()) {
            Advance();
        }
        const std::size_t given = m_utf8.copy(buffer + filled, size - filled, m_given);
        m_given += given;
        filled += given;
    }
    return filled;
}

// Returns false at the end of the bytes.
bool Characters::Fetch() {
    const std::size_t before = m_bytes.size();
    m_bytes.resize(before + kBlockSize);
    const std::size_t fetched = m_source(m_bytes.data() + before, kBlockSize);
    m_bytes.resize(before + fetched);
    m_fetched += fetched;
    return fetched > 0;
}

// Learns the encoding from the document's beginning. Returns false when nobody knows it.
bool Characters::Open() {
    while (m_bytes.size() < kBeginningSize && Fetch()) {
    }
    m_encoding = EncodingOf(std::string_view(m_bytes).substr(0, kBeginningSize));
    m_decoder = MakeDecoder(m_encoding.name);
    m_bytes.erase(0, m_encoding.markSize);
    return m_decoder != nullptr;
}

// Puts the next characters into m_utf8, or ends.
void Characters::Advance() {
    m_utf8.clear();
    m_given = 0;
    if (m_decoder == nullptr && !Open()) {
        m_interruption = Interruption::UnknownEncoding;
    } else {
        const bool isLast = m_bytes.empty() && !Fetch();
        if (m_fetched > m_mostBytes) {
            m_interruption = Interruption::TooManyBytes;
        } else {
            Append(isLast);
        }
        m_isEnded = isLast;
    }
    m_isEnded = m_isEnded || m_interruption != Interruption::None;
}

// Decodes what was fetched.
void Characters::Append(bool isLast) {
    const std::size_t known = m_units.size();
    const bool isDecoded = m_decoder->Decode(m_bytes, isLast, m_units);
    m_bytes.clear();
    const bool isScanned = m_scanner.Read(std::u16string_view(m_units).substr(known));
    m_interruption = !isScanned  ? Interruption::CrowdedTag
                     : isDecoded ? Interruption::None
                                 : Interruption::NotInEncoding;
    if (m_interruption != Interruption::None) {
        return;
    }
    const bool isPairBegun = !isLast && !m_units.empty() && U16_IS_LEAD(m_units.back());
    const std::size_t whole = m_units.size() - (isPairBegun ? 1 : 0);
    m_utf8 = text::ToUtf8(text::ToCString(std::u16string_view(m_units).substr(0, whole)));
    m_units.erase(0, whole);
}

}  // namespace norvex::xml
