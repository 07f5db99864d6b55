// SPDX-License-Identifier: Apache-2.0
#include "ifc/part21/Text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace norvex::ifc::part21 {

namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

void AppendUtf8(std::string& out, std::uint32_t code) {
    if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
        code = kReplacement;
    }
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

// Returns: how many bytes the UTF-8 sequence at the front has, 0 when it is none (overlong, surrogate, cut off).
std::size_t Utf8Size(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const auto follows = [&](std::size_t i) { return i < text.size() && (byte(i) & 0xC0) == 0x80; };
    const unsigned char lead = byte(0);
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xC2 && lead <= 0xDF) {
        return follows(1) ? 2 : 0;
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        if (!follows(1) || !follows(2) || (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xED && byte(1) > 0x9F)) {
            return 0;
        }
        return 3;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        if (!follows(1) || !follows(2) || !follows(3) || (lead == 0xF0 && byte(1) < 0x90) ||
            (lead == 0xF4 && byte(1) > 0x8F)) {
            return 0;
        }
        return 4;
    }
    return 0;
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t size = Utf8Size(text);
        if (size == 0) {
            return false;
        }
        text.remove_prefix(size);
    }
    return true;
}

bool HasSpecial(std::string_view text) {
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte == '\\' || byte == '\'' || byte >= 0x7F || byte == 0) {
            return true;
        }
    }
    return false;
}

// Shortens valid UTF-8 to at most this many bytes, between two code points.
void CutOff(std::string& utf8, std::size_t most) {
    if (utf8.size() <= most) {
        return;
    }
    while (most > 0 && (static_cast<unsigned char>(utf8[most]) & 0xC0) == 0x80) {
        --most;
    }
    utf8.resize(most);
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return -1;
}

// Reads `digits` hexadecimal digits at the front. Returns: whether they all were.
bool ReadHex(std::string_view text, std::size_t digits, std::uint32_t& value) {
    if (text.size() < digits) {
        return false;
    }
    value = 0;
    for (std::size_t i = 0; i < digits; ++i) {
        const int digit = HexDigit(text[i]);
        if (digit < 0) {
            return false;
        }
        value = value * 16 + static_cast<std::uint32_t>(digit);
    }
    return true;
}

// The upper halves of ISO 8859-5 (Cyrillic) and 8859-7 (Greek), the two alphabets besides Latin that exporters name
// with \P. Other parts fall back to Latin-1.
std::uint32_t FromAlphabet(char alphabet, unsigned char byte) {
    if (byte >= 0xA1 && alphabet == 'E') {
        if (byte == 0xAD) {
            return 0xAD;
        }
        return byte == 0xF0 ? 0x2116U : byte == 0xFD ? 0xA7U : 0x0360U + byte;
    }
    if (byte >= 0xB4 && alphabet == 'G' && byte != 0xB7 && byte != 0xBB && byte != 0xBD) {
        return 0x02D0U + byte;
    }
    return byte;
}

class Decoder {
  public:
    Decoder(std::string_view encoded, std::size_t most) : rest_(encoded), most_(most), utf8_(IsUtf8(encoded)) {}

    std::string Decode(bool* bad) {
        out_.reserve(std::min(rest_.size(), most_));
        while (!rest_.empty() && out_.size() <= most_) {
            if (rest_[0] == '\\') {
                Escape();
            } else if (rest_.size() >= 2 && rest_[0] == '\'' && rest_[1] == '\'') {
                out_ += '\'';
                rest_.remove_prefix(2);
            } else {
                Raw();
            }
        }
        if (bad_ && bad != nullptr) {
            *bad = true;
        }
        CutOff(out_, most_);
        return std::move(out_);
    }

  private:
    void Raw() {
        const std::size_t size = utf8_ ? Utf8Size(rest_) : 1;
        if (size == 1) {
            AppendUtf8(out_, static_cast<unsigned char>(rest_[0]));
        } else {
            out_.append(rest_.substr(0, size));
        }
        rest_.remove_prefix(size);
    }

    void Escape() {
        std::uint32_t code = 0;
        if (rest_.starts_with("\\\\")) {
            out_ += '\\';
            rest_.remove_prefix(2);
        } else if (rest_.starts_with("\\X2\\")) {
            Wide(4);
        } else if (rest_.starts_with("\\X4\\")) {
            Wide(8);
        } else if (rest_.starts_with("\\X\\") && ReadHex(rest_.substr(3), 2, code)) {
            AppendUtf8(out_, code);
            rest_.remove_prefix(5);
        } else if (rest_.starts_with("\\S\\") && rest_.size() >= 4) {
            const auto low = static_cast<unsigned char>(rest_[3]);
            AppendUtf8(out_, FromAlphabet(alphabet_, static_cast<unsigned char>((low & 0x7F) | 0x80)));
            rest_.remove_prefix(4);
        } else if (rest_.size() >= 4 && rest_[1] == 'P' && rest_[3] == '\\') {
            alphabet_ = rest_[2];
            rest_.remove_prefix(4);
        } else {
            bad_ = true;
            out_ += '\\';
            rest_.remove_prefix(1);
        }
    }

    // \X2\ with four digits a unit (UTF-16 in practice), \X4\ with eight; both end at \X0\.
    void Wide(std::size_t digits) {
        rest_.remove_prefix(4);
        std::uint32_t high = 0;
        std::uint32_t code = 0;
        while (out_.size() <= most_ && ReadHex(rest_, digits, code)) {
            rest_.remove_prefix(digits);
            if (high != 0 && code >= 0xDC00 && code <= 0xDFFF) {
                AppendUtf8(out_, 0x10000 + ((high - 0xD800) << 10) + (code - 0xDC00));
                high = 0;
                continue;
            }
            if (high != 0) {
                AppendUtf8(out_, kReplacement);
            }
            high = code >= 0xD800 && code <= 0xDBFF ? code : 0;
            if (high == 0) {
                AppendUtf8(out_, code);
            }
        }
        if (high != 0) {
            AppendUtf8(out_, kReplacement);
        }
        if (rest_.starts_with("\\X0\\")) {
            rest_.remove_prefix(4);
        } else if (out_.size() <= most_) {
            bad_ = true;
        }
    }

    std::string_view rest_;
    std::size_t most_;
    std::string out_;
    bool utf8_;
    bool bad_ = false;
    char alphabet_ = 'A';
};

}  // namespace

bool IsPlainText(std::string_view encoded) {
    return !HasSpecial(encoded);
}

std::string DecodeText(std::string_view encoded, bool* bad, std::size_t most) {
    if (!HasSpecial(encoded)) {
        return std::string(encoded.substr(0, most));
    }
    return Decoder(encoded, most).Decode(bad);
}

}  // namespace norvex::ifc::part21
