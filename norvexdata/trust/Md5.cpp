// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/trust/Md5.h"

#include <algorithm>
#include <bit>

namespace norvex::trust {

namespace {

// floor(2^32 * abs(sin(i + 1))), RFC 1321 section 3.4.
constexpr std::array<std::uint32_t, 64> kSines = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

// Rotations of each round, taken in turn.
constexpr std::array<std::array<int, 4>, 4> kRotations = {
    {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}}};

std::uint32_t LoadWord(const char* bytes) {
    std::uint32_t word = 0;
    for (unsigned index = 0; index < 4; ++index) {
        word |= std::uint32_t{static_cast<std::uint8_t>(bytes[index])} << (8 * index);
    }
    return word;
}

struct Step {
    std::uint32_t mixed;
    std::size_t word;
};

// The auxiliary function of the step's round, and which word of the block the step takes.
Step Mix(std::size_t step, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    switch (step / 16) {
        case 0:
            return {(b & c) | (~b & d), step % 16};
        case 1:
            return {(b & d) | (c & ~d), (5 * step + 1) % 16};
        case 2:
            return {b ^ c ^ d, (3 * step + 5) % 16};
        default:
            return {c ^ (b | ~d), (7 * step) % 16};
    }
}

}  // namespace

void Md5::Transform(const char* block) {
    std::array<std::uint32_t, 16> words{};
    for (std::size_t index = 0; index < words.size(); ++index) {
        words[index] = LoadWord(block + 4 * index);
    }
    auto [a, b, c, d] = m_state;
    for (std::size_t step = 0; step < kSines.size(); ++step) {
        const Step mix = Mix(step, b, c, d);
        const std::uint32_t sum = a + mix.mixed + words[mix.word] + kSines[step];
        a = d;
        d = c;
        c = b;
        b += std::rotl(sum, kRotations[step / 16][step % 4]);
    }
    m_state[0] += a;
    m_state[1] += b;
    m_state[2] += c;
    m_state[3] += d;
}

void Md5::Update(std::string_view bytes) {
    const std::size_t waiting = m_length % kBlockSize;
    m_length += bytes.size();
    if (waiting + bytes.size() < kBlockSize) {
        std::copy(bytes.begin(), bytes.end(), m_pending.begin() + static_cast<std::ptrdiff_t>(waiting));
        return;
    }
    if (waiting > 0) {
        const std::string_view rest = bytes.substr(0, kBlockSize - waiting);
        std::copy(rest.begin(), rest.end(), m_pending.begin() + static_cast<std::ptrdiff_t>(waiting));
        Transform(m_pending.data());
        bytes.remove_prefix(rest.size());
    }
    for (; bytes.size() >= kBlockSize; bytes.remove_prefix(kBlockSize)) {
        Transform(bytes.data());
    }
    std::copy(bytes.begin(), bytes.end(), m_pending.begin());
}

Md5::Digest Md5::Finish() {
    constexpr std::size_t kLengthSize = 8;
    const std::uint64_t bits = m_length * 8;
    const std::size_t waiting = m_length % kBlockSize;
    const std::size_t zeros = (2 * kBlockSize - kLengthSize - 1 - waiting) % kBlockSize;
    std::string padding(1 + zeros, '\0');
    padding[0] = '\x80';
    for (unsigned index = 0; index < kLengthSize; ++index) {
        padding += static_cast<char>(bits >> (8 * index) & 0xFF);
    }
    Update(padding);

    Digest digest{};
    for (std::size_t index = 0; index < digest.size(); ++index) {
        digest[index] = static_cast<std::uint8_t>(m_state[index / 4] >> (8 * (index % 4)));
    }
    *this = Md5();
    return digest;
}

std::string ToHex(const Md5::Digest& digest) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : digest) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0xF];
    }
    return text;
}

}  // namespace norvex::trust
