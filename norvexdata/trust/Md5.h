// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace norvex::trust {

// The MD5 message digest of RFC 1321 over a message that comes in any number of parts. An identity of texts and files,
// not a protection against forgery. A value; one object needs the caller's lock.
class Md5 {
  public:
    using Digest = std::array<std::uint8_t, 16>;

    // Adds bytes to the end of the message.
    void Update(std::string_view bytes);
    // Returns: the digest of everything added; the object then stands for the empty message again. Messages may be
    // longer than 2^32 bits; the length counts modulo 2^64 bits, as the algorithm says.
    Digest Finish();

  private:
    static constexpr std::size_t kBlockSize = 64;

    void Transform(const char* block);

    std::array<std::uint32_t, 4> m_state = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
    std::uint64_t m_length = 0;                // bytes
    std::array<char, kBlockSize> m_pending{};  // the first m_length % kBlockSize bytes wait for their block's end
};

// 32 lower-case hexadecimal digits, high nibble first.
std::string ToHex(const Md5::Digest& digest);

}  // namespace norvex::trust
