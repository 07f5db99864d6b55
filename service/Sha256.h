// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace norvex::service {

// SHA-256 (FIPS 180-4) of a stream of bytes, taken piece by piece.
class Sha256 {
  public:
    void Add(std::string_view bytes);
    // Returns: 64 lower-case hexadecimal digits. The object is used up.
    std::string Finish();

  private:
    void AddBlock(const unsigned char* block);

    std::array<std::uint32_t, 8> m_state{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                         0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    std::array<unsigned char, 64> m_pending{};
    std::size_t m_pendingSize = 0;
    std::uint64_t m_totalBytes = 0;
};

// Returns: the digest of a file's content, or nothing when it cannot be read.
std::optional<std::string> Sha256OfFile(const std::filesystem::path& path);

}  // namespace norvex::service
