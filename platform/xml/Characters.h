// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/xml/Encoding.h"
#include "platform/xml/TagScanner.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace norvex::xml {

// Fills the buffer from the front and returns how many bytes that were; 0 at the end.
using ByteSource = std::function<std::size_t(char* buffer, std::size_t size)>;

// Why a document's characters end before it does.
enum class Interruption { None, TooManyBytes, UnknownEncoding, NotInEncoding, CrowdedTag };

// The characters of a document in UTF-8, whatever it is written in, none of them in a tag that is too crowded for the
// parser. Holds a block of the document at a time.
class Characters {
  public:
    // A document of more than mostBytes is interrupted.
    Characters(ByteSource source, std::size_t mostBytes);

    // Fills the buffer and returns how many bytes that were; fewer than it holds at the end and where the document is
    // interrupted, 0 behind that. Errors: std::bad_alloc.
    std::size_t Read(char* buffer, std::size_t size);

    Interruption Why() const { return m_interruption; }
    // Where it was interrupted, from 1.
    int Line() const { return m_scanner.Line(); }
    // As the document writes it; empty before anything was read.
    const std::string& EncodingName() const { return m_encoding.name; }

  private:
    bool Fetch();
    bool Open();
    void Advance();
    void Append(bool isLast);

    ByteSource m_source;
    std::size_t m_mostBytes;
    std::size_t m_fetched = 0;
    std::string m_bytes;  // fetched and not yet decoded
    Encoding m_encoding;
    std::unique_ptr<Decoder> m_decoder;  // null before the beginning was read
    std::u16string m_units;              // decoded and not yet in m_utf8: at most half a surrogate pair
    TagScanner m_scanner;
    std::string m_utf8;
    std::size_t m_given = 0;  // of m_utf8
    bool m_isEnded = false;
    Interruption m_interruption = Interruption::None;
};

}  // namespace norvex::xml
