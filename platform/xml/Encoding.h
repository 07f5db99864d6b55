// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

// Which characters the bytes of a document are.
namespace norvex::xml {

// How much of a document's beginning tells its encoding: no declaration is anywhere near as long.
inline constexpr std::size_t kBeginningSize = 4096;

struct Encoding {
    // A name of the encoding, as its declaration writes it.
    std::string name;
    // Bytes of the byte order mark, which is no part of the text.
    std::size_t markSize = 0;
};

// Tells the encoding by the byte order mark, else by how the first characters are written, else by the declaration; a
// document without any of these is UTF-8. What is written in units of 16 or 32 bits is read so, whatever it declares.
Encoding EncodingOf(std::string_view beginning);

// Turns bytes into characters, piece by piece.
class Decoder {
  public:
    Decoder() = default;
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    virtual ~Decoder() = default;

    // Appends the characters of the next bytes; what is begun in them and not ended waits for the call after this.
    // Returns false at bytes that are no character of the encoding, and, with isLast, at a character that is cut off;
    // what stands before it has been appended.
    virtual bool Decode(std::string_view bytes, bool isLast, std::u16string& units) = 0;
};

// GBK, GB2312 and their other names are read as code page 936, their superset, as editors that write them mean it.
// Returns: null for a name that nobody knows. Errors: std::bad_alloc.
std::unique_ptr<Decoder> MakeDecoder(const std::string& encodingName);

}  // namespace norvex::xml
