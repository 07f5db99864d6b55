// SPDX-License-Identifier: Apache-2.0
#include "platform/text/Utf8.h"

#include "platform/containers/Exceptions.h"

#include <unicode/ustring.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace {

constexpr UChar32 kReplacement = 0xFFFD;

bool IsAscii(std::string_view utf8) {
    return std::none_of(utf8.begin(), utf8.end(), [](char byte) { return static_cast<unsigned char>(byte) >= 0x80; });
}

}  // namespace

namespace norvex::text {

std::string ToUtf8(const CString& wide) {
    // A code unit takes at most three bytes; a surrogate pair takes four.
    const std::size_t capacity = 3 * View(wide).size();
    if (capacity > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        AfxThrowInvalidArgException();
    }
    std::string utf8(capacity, '\0');
    std::int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8WithSub(utf8.data(), static_cast<std::int32_t>(capacity), &length, wide.GetString(), wide.GetLength(),
                       kReplacement, nullptr, &status);
    utf8.resize(static_cast<std::size_t>(length));
    return utf8;
}

CString FromUtf8(std::string_view utf8) {
    if (utf8.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        AfxThrowInvalidArgException();
    }
    if (utf8.empty()) {
        return {};
    }
    if (IsAscii(utf8)) {
        CString narrow;
        std::copy(utf8.begin(), utf8.end(), narrow.GetBufferSetLength(static_cast<int>(utf8.size())));
        return narrow;
    }
    const auto size = static_cast<std::int32_t>(utf8.size());
    std::u16string wide(utf8.size(), u'\0');  // never more units than bytes
    std::int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(wide.data(), size, &length, utf8.data(), size, kReplacement, nullptr, &status);
    return ToCString(std::u16string_view(wide).substr(0, static_cast<std::size_t>(length)));
}

}  // namespace norvex::text
