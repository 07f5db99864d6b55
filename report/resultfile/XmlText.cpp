// SPDX-License-Identifier: Apache-2.0
#include "report/resultfile/XmlText.h"

#include <fmt/format.h>
#include <unicode/utf8.h>
#include <cstdint>

#include "report/xml/XmlCharacter.h"

namespace norvex::report {

std::string XmlText(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    const auto size = static_cast<std::int64_t>(text.size());
    for (std::int64_t position = 0; position < size;) {
        const std::int64_t start = position;
        UChar32 character = 0;
        U8_NEXT(reinterpret_cast<const std::uint8_t*>(text.data()), position, size, character);
        const std::string_view bytes =
            text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(position - start));
        if (character == '\\') {
            out += "\\\\";
        } else if (character >= 0 && IsXmlCharacter(character)) {
            out += bytes;
        } else {
            for (const char byte : bytes) {
                out += fmt::format("\\x{:02X}", static_cast<unsigned char>(byte));
            }
        }
    }
    return out;
}

}  // namespace norvex::report
