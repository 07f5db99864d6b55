// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

// Reads JSON that others wrote. The library that does the work throws when a number is beyond a double, takes the last
// of two equal names, and ends at a zero byte as if the text did.

namespace norvex::service::json {

struct ReadLimits {
    std::size_t maxBytes = std::size_t{64} << 20U;
    // Arrays and objects within one another. Our own documents need four.
    std::size_t maxDepth = 64;
    // Arrays, objects and everything in them; each takes memory of its own, however short its text is.
    std::size_t maxValues = 4'000'000;
};

struct ReadResult {
    std::optional<nlohmann::json> document;
    // Without a document: why, as the end of a sentence that begins with the document's name, its place included.
    std::string fault;
};

// Reads a document in UTF-8, with or without its mark at the beginning. Nothing is thrown except for memory.
ReadResult ReadJson(std::string_view text, const ReadLimits& limits = {});

// The text in quotes, cut where it is too long for a sentence; never within a character.
std::string QuotedBriefly(std::string_view text);

}  // namespace norvex::service::json
