// SPDX-License-Identifier: Apache-2.0
#include "platform/text/CodePage.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

#include <array>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

constexpr char16_t kDefaultCharacter = u'?';
constexpr unsigned kFirstLead = 0x81;
constexpr unsigned kLastLead = 0xFE;
// ICU maps the half-width forms U+FFE9 to U+FFEE by fallback; the system code page does not know them.
constexpr unsigned kFirstUnmapped = 0xFFE9;
constexpr unsigned kLastUnmapped = 0xFFEE;

bool IsLead(unsigned byte) {
    return byte >= kFirstLead && byte <= kLastLead;
}

// Both directions as flat tables, read from ICU once. ICU's converters are not safe to share; the finished tables are.
class Tables {
  public:
    Tables() : m_narrow(0x10000, kDefaultCharacter), m_wide(0x10000, kDefaultCharacter) {
        UErrorCode status = U_ZERO_ERROR;
        const std::unique_ptr<UConverter, void (*)(UConverter*)> converter(ucnv_open("windows-936-2000", &status),
                                                                           &ucnv_close);
        if (U_FAILURE(status)) {
            throw std::runtime_error("ICU has no table for code page 936");
        }
        ucnv_setFallback(converter.get(), true);
        ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
        ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
        for (unsigned unit = 0; unit < 0x10000; ++unit) {
            ReadUnit(converter.get(), unit);
        }
        for (unsigned byte = 0; byte < 0x100; ++byte) {
            const auto single = static_cast<char>(byte);
            if (!IsLead(byte)) {
                ReadBytes(converter.get(), {&single, 1}, byte);
                continue;
            }
            for (unsigned trail = 1; trail < 0x100; ++trail) {
                const std::array pair{single, static_cast<char>(trail)};
                ReadBytes(converter.get(), {pair.data(), pair.size()}, byte << 8 | trail);
            }
        }
    }

    // One byte, or lead byte times 256 plus trail byte.
    std::uint16_t Narrow(char16_t unit) const { return m_narrow[unit]; }
    // Takes a byte that is no lead byte, or lead byte times 256 plus a trail byte that is not 0.
    char16_t Wide(unsigned bytes) const { return m_wide[bytes]; }

  private:
    void ReadUnit(UConverter* converter, unsigned unit) {
        if (unit >= kFirstUnmapped && unit <= kLastUnmapped) {
            return;
        }
        const auto source = static_cast<char16_t>(unit);
        std::array<char, 8> bytes{};
        UErrorCode status = U_ZERO_ERROR;
        const std::int32_t count =
            ucnv_fromUChars(converter, bytes.data(), static_cast<std::int32_t>(bytes.size()), &source, 1, &status);
        // ICU drops invisible characters without an error and gives no bytes for them.
        if (U_FAILURE(status) || count == 0) {
            return;
        }
        const auto first = static_cast<unsigned char>(bytes[0]);
        const auto second = static_cast<unsigned char>(bytes[1]);
        m_narrow[unit] = static_cast<std::uint16_t>(count == 1 ? first : first << 8 | second);
    }

    void ReadBytes(UConverter* converter, std::string_view bytes, unsigned place) {
        std::array<char16_t, 8> units{};
        UErrorCode status = U_ZERO_ERROR;
        const std::int32_t count = ucnv_toUChars(converter, units.data(), static_cast<std::int32_t>(units.size()),
                                                 bytes.data(), static_cast<std::int32_t>(bytes.size()), &status);
        if (U_SUCCESS(status) && count == 1) {
            m_wide[place] = units[0];
        }
    }

    std::vector<std::uint16_t> m_narrow;
    std::vector<char16_t> m_wide;
};

const Tables& GetTables() {
    static const Tables tables;
    return tables;
}

}  // namespace

namespace norvex::text {

std::string WideToNarrow(const CString& wide) {
    return WideToNarrowCounted(ViewToNul(wide));
}

CString NarrowToWide(std::string_view narrow) {
    return NarrowToWideCounted(narrow.substr(0, narrow.find('\0')));
}

std::string WideToNarrowCounted(std::u16string_view wide) {
    const Tables& tables = GetTables();
    std::string narrow;
    narrow.reserve(2 * wide.size());
    for (const char16_t unit : wide) {
        const unsigned bytes = tables.Narrow(unit);
        if (bytes > 0xFF) {
            narrow += static_cast<char>(bytes >> 8);
        }
        narrow += static_cast<char>(bytes & 0xFF);
    }
    return narrow;
}

bool IsNarrowLead(char byte) noexcept {
    return IsLead(static_cast<unsigned char>(byte));
}

std::size_t AppendWellFormed(std::string_view narrow, std::u16string& wide) {
    const Tables& tables = GetTables();
    std::size_t read = 0;
    while (read < narrow.size()) {
        const auto byte = static_cast<unsigned char>(narrow[read]);
        const std::size_t size = IsLead(byte) ? 2 : 1;
        const auto trail = size == 2 && read + 1 < narrow.size() ? static_cast<unsigned char>(narrow[read + 1]) : 0U;
        if (size == 2 && trail == 0) {
            break;
        }
        const char16_t unit = tables.Wide(size == 2 ? static_cast<unsigned>(byte) << 8 | trail : byte);
        // Only the question mark's own byte stands for a question mark.
        if (unit == kDefaultCharacter && byte != kDefaultCharacter) {
            break;
        }
        wide += unit;
        read += size;
    }
    return read;
}

CString NarrowToWideCounted(std::string_view narrow) {
    const Tables& tables = GetTables();
    std::u16string wide;
    wide.reserve(narrow.size());
    for (std::size_t index = 0; index < narrow.size(); ++index) {
        const auto byte = static_cast<unsigned char>(narrow[index]);
        if (!IsLead(byte)) {
            wide += tables.Wide(byte);
            continue;
        }
        const auto trail = index + 1 < narrow.size() ? static_cast<unsigned char>(narrow[index + 1]) : 0U;
        if (trail == 0) {
            wide += kDefaultCharacter;
            continue;
        }
        wide += tables.Wide(static_cast<unsigned>(byte) << 8 | trail);
        ++index;
    }
    return ToCString(wide);
}

}  // namespace norvex::text
