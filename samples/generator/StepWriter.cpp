// SPDX-License-Identifier: Apache-2.0
#include "samples/generator/StepWriter.h"

#include <array>
#include <charconv>
#include <ostream>

namespace norvex::samples {
namespace {

// Text is handed to the stream in pieces of this size, so that a building of any size costs no memory.
constexpr std::size_t kFlushSize = 1U << 18;

void AppendHex(std::string& out, unsigned value) {
    static constexpr std::string_view kDigits = "0123456789ABCDEF";
    for (int shift = 12; shift >= 0; shift -= 4) {
        out += kDigits[(value >> shift) & 15U];
    }
}

// Returns: the code point that begins at `position`, which moves behind it. Requires: well-formed UTF-8, as the
// generator's own texts are.
char32_t NextCodePoint(std::string_view utf8, std::size_t& position) {
    const auto lead = static_cast<unsigned char>(utf8[position++]);
    int more = 0;
    char32_t value = lead;
    if (lead >= 0xF0U) {
        more = 3;
        value = lead & 0x07U;
    } else if (lead >= 0xE0U) {
        more = 2;
        value = lead & 0x0FU;
    } else if (lead >= 0xC0U) {
        more = 1;
        value = lead & 0x1FU;
    }
    while (more-- > 0 && position < utf8.size()) {
        value = (value << 6) | (static_cast<unsigned char>(utf8[position++]) & 0x3FU);
    }
    return value;
}

}  // namespace

std::string EncodeStepText(std::string_view utf8) {
    std::string out = "'";
    bool wide = false;
    for (std::size_t position = 0; position < utf8.size();) {
        const char32_t code = NextCodePoint(utf8, position);
        const bool plain = code >= 0x20U && code < 0x7FU;
        if (plain == wide) {
            out += plain ? "\\X0\\" : "\\X2\\";
            wide = !plain;
        }
        if (!plain && code > 0xFFFFU) {
            AppendHex(out, static_cast<unsigned>(0xD800U + ((code - 0x10000U) >> 10)));
            AppendHex(out, static_cast<unsigned>(0xDC00U + ((code - 0x10000U) & 0x3FFU)));
        } else if (!plain) {
            AppendHex(out, static_cast<unsigned>(code));
        } else {
            out += static_cast<char>(code);
            if (code == U'\'' || code == U'\\') {
                out += static_cast<char>(code);
            }
        }
    }
    out += wide ? "\\X0\\'" : "'";
    return out;
}

std::string EncodeStepReal(double value, int decimals) {
    std::array<char, 64> text{};
    const auto result =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals);
    std::string out(text.data(), result.ptr);
    if (out.find('.') == std::string::npos) {
        out += '.';
    }
    out.erase(out.find_last_not_of('0') + 1);
    if (out == "-0.") {
        out = "0.";
    }
    return out;
}

void StepWriter::Header(std::string_view name, std::string_view description) {
    buffer_ += "ISO-10303-21;\nHEADER;\nFILE_DESCRIPTION(('ViewDefinition [notYetAssigned]'),'2;1');\nFILE_NAME(";
    buffer_ += EncodeStepText(name);
    // The time stamp stays the same on purpose.
    buffer_ += ",'2024-01-01T00:00:00',(''),(''),'norvex-sample','norvex-sample',";
    buffer_ += EncodeStepText(description);
    buffer_ += ");\nFILE_SCHEMA(('IFC4'));\nENDSEC;\nDATA;\n";
}

void StepWriter::Footer() {
    buffer_ += "ENDSEC;\nEND-ISO-10303-21;\n";
    Flush();
    out_.flush();
}

void StepWriter::Flush() {
    out_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    buffer_.clear();
}

StepWriter& StepWriter::Begin(std::string_view className) {
    if (buffer_.size() > kFlushSize) {
        Flush();
    }
    ++last_;
    buffer_ += '#';
    buffer_ += std::to_string(last_);
    buffer_ += '=';
    buffer_ += className;
    buffer_ += '(';
    firstAttribute_ = true;
    return *this;
}

void StepWriter::Separate() {
    if (!firstAttribute_) {
        buffer_ += ',';
    }
    firstAttribute_ = false;
}

StepWriter& StepWriter::Null() {
    return Raw("$");
}

StepWriter& StepWriter::Derived() {
    return Raw("*");
}

StepWriter& StepWriter::Raw(std::string_view text) {
    Separate();
    buffer_ += text;
    return *this;
}

StepWriter& StepWriter::Reference(Id id) {
    if (id == 0) {
        return Null();
    }
    Separate();
    buffer_ += '#';
    buffer_ += std::to_string(id);
    return *this;
}

StepWriter& StepWriter::References(std::span<const Id> ids) {
    Separate();
    buffer_ += '(';
    bool first = true;
    for (const Id id : ids) {
        buffer_ += first ? "#" : ",#";
        buffer_ += std::to_string(id);
        first = false;
    }
    buffer_ += ')';
    return *this;
}

StepWriter& StepWriter::Text(std::string_view utf8) {
    return utf8.empty() ? Null() : Raw(EncodeStepText(utf8));
}

StepWriter& StepWriter::Enumerator(std::string_view name) {
    Separate();
    buffer_ += '.';
    buffer_ += name;
    buffer_ += '.';
    return *this;
}

StepWriter& StepWriter::Integer(std::int64_t value) {
    return Raw(std::to_string(value));
}

StepWriter& StepWriter::Real(double value, int decimals) {
    return Raw(EncodeStepReal(value, decimals));
}

StepWriter& StepWriter::Reals(std::span<const double> values, int decimals) {
    Separate();
    buffer_ += '(';
    bool first = true;
    for (const double value : values) {
        if (!first) {
            buffer_ += ',';
        }
        buffer_ += EncodeStepReal(value, decimals);
        first = false;
    }
    buffer_ += ')';
    return *this;
}

Id StepWriter::End() {
    buffer_ += ");\n";
    return last_;
}

}  // namespace norvex::samples
