// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

// The small pieces that the page's data is packed with. The page's script unpacks the same forms.

namespace norvex::report::page {

// Bytes that grow at their end. Numbers take seven bits per byte, least significant first, the eighth bit says that
// more follow.
class ByteWriter {
  public:
    void Unsigned(std::uint64_t value);
    // Small absolute values stay small: 0, -1, 1, -2 become 0, 1, 2, 3.
    void Signed(std::int64_t value);
    void Bytes(std::string_view bytes) { m_bytes.append(bytes); }
    void Byte(std::uint8_t value) { m_bytes.push_back(static_cast<char>(value)); }

    const std::string& Data() const { return m_bytes; }

  private:
    std::string m_bytes;
};

// Each text once, numbered in the order of its first use. Number 0 is the empty text.
class StringTable {
  public:
    StringTable() { Index({}); }
    std::uint32_t Index(std::string_view text);
    // Count, lengths, then all bytes.
    void Write(ByteWriter& out) const;

  private:
    std::map<std::string, std::uint32_t, std::less<>> m_indices;
    std::vector<std::string_view> m_texts;  // point at the keys, which do not move
};

// A GlobalId as its 16 bytes; empty when it is not the 22-character form of a number of 128 bits.
std::string PackGlobalId(std::string_view globalId);

// Raw deflate, as the page's DecompressionStream reads it.
std::string Deflate(std::string_view bytes);

// Five printable characters for four bytes; a rest of n bytes takes n + 1 characters. None of the characters means
// anything to HTML, so no end tag can appear.
std::string Encode85(std::string_view bytes);

}  // namespace norvex::report::page
