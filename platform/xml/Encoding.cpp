// SPDX-License-Identifier: Apache-2.0
#include "platform/xml/Encoding.h"

#include "platform/text/CodePage.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <new>
#include <utility>

namespace norvex::xml {

namespace {

using namespace std::string_view_literals;

struct Beginning {
    std::string_view bytes;
    std::size_t markSize;
    const char* encoding;
};

// Byte order marks, and "<" as wider units write it. The longer ones come first: the beginning of a text in 32 bits
// may look like one in 16 bits.
constexpr std::array kBeginnings{
    Beginning{"\xFF\xFE\0\0"sv, 4, "UTF-32LE"}, Beginning{"\0\0\xFE\xFF"sv, 4, "UTF-32BE"},
    Beginning{"<\0\0\0"sv, 0, "UTF-32LE"},      Beginning{"\0\0\0<"sv, 0, "UTF-32BE"},
    Beginning{"\xEF\xBB\xBF"sv, 3, "UTF-8"},    Beginning{"\xFF\xFE"sv, 2, "UTF-16LE"},
    Beginning{"\xFE\xFF"sv, 2, "UTF-16BE"},     Beginning{"<\0"sv, 0, "UTF-16LE"},
    Beginning{"\0<"sv, 0, "UTF-16BE"},
};

// "<?xml" in the family of encodings that holds its letters elsewhere than ASCII does; all of them agree in what a
// declaration consists of.
constexpr std::string_view kEbcdicBeginning = "\x4C\x6F\xA7\x94\x93"sv;
constexpr const char* kEbcdic = "ibm-37";

// By these names, too, editors mean the code page of the system: the older character set is a part of it.
constexpr std::array kCodePage936Names{"gb2312"sv, "gb_2312-80"sv, "csgb2312"sv, "euc-cn"sv, "euccn"sv, "x-gbk"sv};
// What ICU calls the code page; it knows fewer characters of it than the system does.
constexpr std::string_view kIcuCodePage936 = "windows-936-2000"sv;

std::string Lower(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; });
    return lower;
}

// As the grammar of XML has it, so that no name reaches a converter's options.
bool IsEncodingName(std::string_view name) {
    const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    return !name.empty() && isLetter(name.front()) && std::ranges::all_of(name, [&](char c) {
        return isLetter(c) || (c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-';
    });
}

// The declared name; "UTF-8" without a declaration of one.
std::string DeclaredName(std::string_view beginning) {
    constexpr std::string_view kOpening = "<?xml";
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::string_view declaration = beginning.substr(0, beginning.find("?>"));
    // A processing instruction may have a name that begins so.
    const bool isDeclaration = declaration.starts_with(kOpening) && declaration.size() > kOpening.size() &&
                               kBlanks.find(declaration[kOpening.size()]) != std::string_view::npos;
    const std::size_t attribute = isDeclaration ? declaration.find("encoding") : std::string_view::npos;
    const std::size_t quote =
        attribute == std::string_view::npos ? attribute : declaration.find_first_of("\"'", attribute);
    if (quote == std::string_view::npos) {
        return "UTF-8";
    }
    const std::string_view rest = declaration.substr(quote + 1);
    return std::string(rest.substr(0, rest.find(declaration[quote])));
}

class CodePage936Decoder final : public Decoder {
  public:
    bool Decode(std::string_view bytes, bool isLast, std::u16string& units) override {
        m_bytes.append(bytes);
        m_bytes.erase(0, text::AppendWellFormed(m_bytes, units));
        const bool isCharacterBegun = m_bytes.size() == 1 && text::IsNarrowLead(m_bytes.front());
        return m_bytes.empty() || (isCharacterBegun && !isLast);
    }

  private:
    std::string m_bytes;  // that have not been read
};

using Converter = std::unique_ptr<UConverter, void (*)(UConverter*)>;

class IcuDecoder final : public Decoder {
  public:
    explicit IcuDecoder(Converter converter) : m_converter(std::move(converter)) {
        UErrorCode status = U_ZERO_ERROR;
        ucnv_setToUCallBack(m_converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    }

    std::string_view Name() const {
        UErrorCode status = U_ZERO_ERROR;
        return ucnv_getName(m_converter.get(), &status);
    }

    bool Decode(std::string_view bytes, bool isLast, std::u16string& units) override {
        const char* source = bytes.data();
        const char* const end = source + bytes.size();
        UErrorCode status = U_BUFFER_OVERFLOW_ERROR;
        while (status == U_BUFFER_OVERFLOW_ERROR) {
            std::array<char16_t, 4096> room;
            char16_t* target = room.data();
            status = U_ZERO_ERROR;
            ucnv_toUnicode(m_converter.get(), &target, room.data() + room.size(), &source, end, nullptr,
                           static_cast<UBool>(isLast), &status);
            units.append(room.data(), target);
        }
        if (status == U_MEMORY_ALLOCATION_ERROR) {
            throw std::bad_alloc();
        }
        return U_SUCCESS(status) != 0;
    }

  private:
    Converter m_converter;
};

}  // namespace

Encoding EncodingOf(std::string_view beginning) {
    for (const Beginning& known : kBeginnings) {
        if (beginning.starts_with(known.bytes)) {
            return {known.encoding, known.markSize};
        }
    }
    if (!beginning.starts_with(kEbcdicBeginning)) {
        return {DeclaredName(beginning), 0};
    }
    std::u16string units;
    if (const std::unique_ptr<Decoder> decoder = MakeDecoder(kEbcdic)) {
        decoder->Decode(beginning, false, units);
    }
    std::string readable;
    std::ranges::transform(units, std::back_inserter(readable),
                           [](char16_t unit) { return unit < 0x80 ? static_cast<char>(unit) : '?'; });
    return {DeclaredName(readable), 0};
}

std::unique_ptr<Decoder> MakeDecoder(const std::string& encodingName) {
    if (!IsEncodingName(encodingName)) {
        return nullptr;
    }
    if (std::ranges::find(kCodePage936Names, Lower(encodingName)) != kCodePage936Names.end()) {
        return std::make_unique<CodePage936Decoder>();
    }
    UErrorCode status = U_ZERO_ERROR;
    Converter converter(ucnv_open(encodingName.c_str(), &status), &ucnv_close);
    if (status == U_MEMORY_ALLOCATION_ERROR) {
        throw std::bad_alloc();
    }
    if (U_FAILURE(status)) {
        return nullptr;
    }
    auto decoder = std::make_unique<IcuDecoder>(std::move(converter));
    if (decoder->Name() == kIcuCodePage936) {
        return std::make_unique<CodePage936Decoder>();
    }
    return decoder;
}

}  // namespace norvex::xml
