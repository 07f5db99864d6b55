// SPDX-License-Identifier: Apache-2.0
#include "report/page/Packer.h"

#include <zlib.h>

#include <array>
#include <memory>
#include <stdexcept>

namespace norvex::report::page {

namespace {

// Order as in 85-character encodings elsewhere, but without < > & " ' and the backslash.
constexpr std::string_view kAlphabet =
    "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ.-:+=^!/*?_,;()[]{}@%$#";
static_assert(kAlphabet.size() == 85);

// Digits of GlobalIds, as ISO 10303-21 files of building models use them.
constexpr std::string_view kGlobalIdDigits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_$";
constexpr std::size_t kGlobalIdLength = 22;

// What zlib is given and gives at a time.
constexpr std::size_t kDeflateBlock = std::size_t{1} << 20U;

}  // namespace

void ByteWriter::Unsigned(std::uint64_t value) {
    while (value >= 0x80U) {
        Byte(static_cast<std::uint8_t>(value | 0x80U));
        value >>= 7U;
    }
    Byte(static_cast<std::uint8_t>(value));
}

void ByteWriter::Signed(std::int64_t value) {
    const auto bits = static_cast<std::uint64_t>(value);
    Unsigned(value < 0 ? ~(bits << 1U) : bits << 1U);
}

std::uint32_t StringTable::Index(std::string_view text) {
    const auto found = m_indices.find(text);
    if (found != m_indices.end()) {
        return found->second;
    }
    const auto index = static_cast<std::uint32_t>(m_texts.size());
    m_texts.emplace_back(m_indices.emplace(std::string(text), index).first->first);
    return index;
}

void StringTable::Write(ByteWriter& out) const {
    out.Unsigned(m_texts.size());
    for (const std::string_view text : m_texts) {
        out.Unsigned(text.size());
    }
    for (const std::string_view text : m_texts) {
        out.Bytes(text);
    }
}

std::string PackGlobalId(std::string_view globalId) {
    if (globalId.size() != kGlobalIdLength) {
        return {};
    }
    std::string bytes;
    std::uint32_t pending = 0;
    unsigned bits = 0;
    for (std::size_t index = 0; index < kGlobalIdLength; ++index) {
        const std::size_t digit = kGlobalIdDigits.find(globalId[index]);
        // 22 digits of six bits hold four bits too many: the first digit has two bits.
        if (digit == std::string_view::npos || (index == 0 && digit > 3)) {
            return {};
        }
        pending = pending << 6U | static_cast<std::uint32_t>(digit);
        bits += index == 0 ? 2U : 6U;
        while (bits >= 8U) {
            bits -= 8U;
            bytes.push_back(static_cast<char>(static_cast<std::uint8_t>(pending >> bits)));
        }
    }
    return bytes;
}

std::string Deflate(std::string_view bytes) {
    z_stream stream = {};
    // What deflate ends with, also where there is no memory for what it gives. Harmless before it has begun.
    const std::unique_ptr<z_stream, int (*)(z_streamp)> end(&stream, deflateEnd);
    // Negative window bits: no header and no checksum around the data.
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 9, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::bad_alloc();
    }
    std::string packed;
    std::vector<Bytef> block(kDeflateBlock);
    int state = Z_OK;
    std::size_t taken = 0;
    do {
        const std::string_view part = bytes.substr(taken, kDeflateBlock);
        taken += part.size();
        // zlib does not write through next_in; its type has no const for historical reasons.
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(part.data()));
        stream.avail_in = static_cast<uInt>(part.size());
        do {
            stream.next_out = block.data();
            stream.avail_out = static_cast<uInt>(block.size());
            state = deflate(&stream, taken == bytes.size() ? Z_FINISH : Z_NO_FLUSH);
            packed.append(reinterpret_cast<const char*>(block.data()), block.size() - stream.avail_out);
        } while (stream.avail_out == 0);
    } while (state != Z_STREAM_END);
    return packed;
}

std::string Encode85(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size() / 4 * 5 + 5);
    for (std::size_t offset = 0; offset < bytes.size(); offset += 4) {
        const std::string_view group = bytes.substr(offset, 4);
        std::uint32_t value = 0;
        for (std::size_t index = 0; index < 4; ++index) {
            value = value << 8U | (index < group.size() ? static_cast<std::uint8_t>(group[index]) : 0U);
        }
        std::array<char, 5> digits = {};
        for (std::size_t index = digits.size(); index-- > 0; value /= 85U) {
            digits[index] = kAlphabet[value % 85U];
        }
        if (group.size() == 4) {
            text.append(digits.data(), digits.size());
            continue;
        }
        // Filled with zero bytes here; the reader fills the missing digits with the greatest one, which gives the same
        // leading bytes.
        text.append(digits.data(), group.size() + 1);
    }
    return text;
}

}  // namespace norvex::report::page
