// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

// What every target stands on. A target is the one function that a fuzzing library calls, LLVMFuzzerTestOneInput; it
// links with that library, or with Replay.cpp, which feeds it files.

namespace norvex::fuzz {

// Ends the process when a promise is broken, so that the input is kept.
inline void Require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "broken promise: %s\n", what);
        std::abort();
    }
}

inline std::string_view TextOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

// Cuts the first piece, up to the separator or to the end, from the text, and the separator with it.
inline std::string_view TakePiece(std::string_view& text, char separator) {
    const std::size_t end = text.find(separator);
    const std::string_view piece = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return piece;
}

}  // namespace norvex::fuzz
