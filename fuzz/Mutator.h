// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <string_view>

// The fuzzing library's own changes of bytes: dictionary, crossing and all.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

// What changes of structured inputs have in common. Mutators take a format apart, let the library change a part, and
// put it together again, so that lengths, checksums and encodings fit.

namespace norvex::fuzz {

using Random = std::minstd_rand;

inline std::size_t Below(Random& random, std::size_t count) {
    return count == 0 ? 0 : static_cast<std::size_t>(random()) % count;
}

// The text changed by the library, no longer than `most`.
inline std::string Changed(std::string_view text, std::size_t most) {
    std::string bytes(std::max(most, text.size()), '\0');
    std::copy(text.begin(), text.end(), bytes.begin());
    bytes.resize(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(bytes.data()), text.size(), bytes.size()));
    return bytes;
}

// Puts the bytes into the library's buffer. Returns: their number; when they do not fit, nothing is put there and the
// library changes what was there.
inline std::size_t Deliver(std::string_view bytes, std::uint8_t* data, std::size_t size, std::size_t most) {
    if (bytes.empty() || bytes.size() > most) {
        return LLVMFuzzerMutate(data, size, most);
    }
    std::memcpy(data, bytes.data(), bytes.size());
    return bytes.size();
}

}  // namespace norvex::fuzz
