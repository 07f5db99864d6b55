// SPDX-License-Identifier: Apache-2.0
#include "platform/text/FormatArgument.h"

#include "platform/containers/Exceptions.h"
#include "platform/text/CString.h"
#include "platform/text/CodePage.h"

#include <locale.h>
#include <algorithm>
#include <clocale>
#include <cstdio>
#include <vector>

namespace norvex::text {
namespace {

// The longest number and the widest field that a format may ask for: 2^20 units is far beyond any message and keeps a
// wrong width from taking the machine's memory.
constexpr int kWidestField = 1 << 20;

struct Specification {
    bool left = false;
    bool plus = false;
    bool space = false;
    bool zero = false;
    bool alternate = false;
    int width = 0;
    int precision = -1;  // -1: none given
    int bits = 32;       // of an integer; 0: the argument's own
    char16_t conversion = 0;
};

// Numbers must not change with the process's locale.
class NumberLocale {
  public:
    NumberLocale() : m_previous(uselocale(GetNeutral())) {}
    ~NumberLocale() { uselocale(m_previous); }
    NumberLocale(const NumberLocale&) = delete;
    NumberLocale& operator=(const NumberLocale&) = delete;

  private:
    static locale_t GetNeutral() {
        static const locale_t neutral = newlocale(LC_ALL_MASK, "C", nullptr);
        return neutral;
    }

    locale_t m_previous;
};

int CheckedField(std::int64_t value) {
    if (value > kWidestField) {
        AfxThrowInvalidArgException();
    }
    return static_cast<int>(value);
}

class Formatter {
  public:
    Formatter(std::u16string_view format, std::span<const FormatArgument> arguments)
        : m_format(format), m_arguments(arguments) {}

    std::u16string Run() {
        while (m_place < m_format.size()) {
            const char16_t unit = m_format[m_place++];
            if (unit != u'%') {
                m_result += unit;
            } else if (Peek() == u'%') {
                m_result += m_format[m_place++];
            } else {
                Write(Parse());
            }
        }
        return std::move(m_result);
    }

  private:
    char16_t Peek() const { return m_place < m_format.size() ? m_format[m_place] : u'\0'; }

    bool Skip(std::u16string_view text) {
        if (!m_format.substr(m_place).starts_with(text)) {
            return false;
        }
        m_place += text.size();
        return true;
    }

    const FormatArgument& Take() {
        if (m_arguments.empty()) {
            AfxThrowInvalidArgException();
        }
        const FormatArgument& argument = m_arguments.front();
        m_arguments = m_arguments.subspan(1);
        return argument;
    }

    const FormatArgument& Take(FormatArgument::Kind kind) {
        const FormatArgument& argument = Take();
        if (argument.GetKind() != kind) {
            AfxThrowInvalidArgException();
        }
        return argument;
    }

    // A number in the format or, for '*', the next argument.
    int ParseField() {
        if (Skip(u"*")) {
            const std::uint64_t value = Take(FormatArgument::Kind::Integer).GetInteger();
            const auto field = static_cast<std::int32_t>(value);
            CheckedField(field < 0 ? -std::int64_t{field} : field);
            return field;
        }
        std::int64_t value = 0;
        for (; Peek() >= u'0' && Peek() <= u'9'; ++m_place) {
            value = CheckedField(10 * value + (Peek() - u'0'));
        }
        return static_cast<int>(value);
    }

    void ParseFlags(Specification& specification) {
        for (;; ++m_place) {
            switch (Peek()) {
                case u'-':
                    specification.left = true;
                    break;
                case u'+':
                    specification.plus = true;
                    break;
                case u' ':
                    specification.space = true;
                    break;
                case u'0':
                    specification.zero = true;
                    break;
                case u'#':
                    specification.alternate = true;
                    break;
                default:
                    return;
            }
        }
    }

    int ParseBits() {
        struct Size {
            std::u16string_view name;
            int bits;
        };
        static constexpr Size sizes[] = {{u"I64", 64}, {u"I32", 32}, {u"I", 0},  {u"hh", 8}, {u"h", 16}, {u"ll", 64},
                                         {u"l", 0},    {u"w", 32},   {u"j", 64}, {u"z", 0},  {u"t", 0},  {u"L", 0}};
        for (const Size& size : sizes) {
            if (Skip(size.name)) {
                return size.bits;
            }
        }
        return 32;
    }

    Specification Parse() {
        Specification specification;
        ParseFlags(specification);
        specification.width = ParseField();
        if (specification.width < 0) {
            specification.left = true;
            specification.width = -specification.width;
        }
        if (Skip(u".")) {
            specification.precision = std::max(ParseField(), -1);
        }
        specification.bits = ParseBits();
        specification.conversion = Peek();
        ++m_place;
        return specification;
    }

    void Write(const Specification& specification) {
        switch (specification.conversion) {
            case u'd':
            case u'i':
            case u'u':
            case u'x':
            case u'X':
            case u'o':
                return WriteInteger(specification);
            case u'c':
            case u'C':
                return WriteCharacter(specification);
            case u's':
            case u'S':
                return WriteText(specification);
            case u'f':
            case u'F':
            case u'e':
            case u'E':
            case u'g':
            case u'G':
            case u'a':
            case u'A':
                return WriteReal(specification);
            case u'p':
                return WritePointer(specification);
            default:
                AfxThrowInvalidArgException();
        }
    }

    // The sign or prefix goes before zeros, after blanks.
    void Pad(const Specification& specification, std::u16string_view prefix, std::u16string_view body, bool zeros) {
        const std::size_t used = prefix.size() + body.size();
        const auto width = static_cast<std::size_t>(specification.width);
        const std::size_t missing = width > used ? width - used : 0;
        if (!specification.left && !zeros) {
            m_result.append(missing, u' ');
        }
        m_result.append(prefix);
        if (!specification.left && zeros) {
            m_result.append(missing, u'0');
        }
        m_result.append(body);
        if (specification.left) {
            m_result.append(missing, u' ');
        }
    }

    std::u16string_view Sign(const Specification& specification, bool negative) const {
        return negative ? u"-" : specification.plus ? u"+" : specification.space ? u" " : u"";
    }

    void WriteInteger(const Specification& specification) {
        const FormatArgument& argument = Take(FormatArgument::Kind::Integer);
        const int unused = 64 - (specification.bits == 0 ? argument.GetBits() : specification.bits);
        const std::uint64_t shifted = argument.GetInteger() << unused;
        if (specification.conversion == u'd' || specification.conversion == u'i') {
            const std::int64_t value = static_cast<std::int64_t>(shifted) >> unused;
            const auto magnitude = static_cast<std::uint64_t>(value);
            return WriteDigits(specification, Sign(specification, value < 0), value < 0 ? 0 - magnitude : magnitude,
                               10);
        }
        const std::uint64_t value = shifted >> unused;
        if (specification.conversion == u'u') {
            return WriteDigits(specification, u"", value, 10);
        }
        if (specification.conversion == u'o') {
            return WriteDigits(specification, u"", value, 8);
        }
        const bool prefixed = specification.alternate && value != 0;
        const bool upper = specification.conversion == u'X';
        WriteDigits(specification, !prefixed ? u"" : upper ? u"0X" : u"0x", value, 16);
    }

    void WriteDigits(const Specification& specification, std::u16string_view prefix, std::uint64_t value,
                     unsigned base) {
        const std::u16string_view names = specification.conversion == u'x' ? u"0123456789abcdef" : u"0123456789ABCDEF";
        std::u16string digits;
        for (; value != 0; value /= base) {
            digits += names[value % base];
        }
        const auto wanted = static_cast<std::size_t>(specification.precision < 0 ? 1 : specification.precision);
        if (digits.size() < wanted) {
            digits.append(wanted - digits.size(), u'0');
        }
        if (base == 8 && specification.alternate && (digits.empty() || digits.back() != u'0')) {
            digits += u'0';
        }
        std::reverse(digits.begin(), digits.end());
        Pad(specification, prefix, digits, specification.zero && specification.precision < 0);
    }

    void WriteReal(const Specification& specification) {
        const double value = Take(FormatArgument::Kind::Real).GetReal();
        std::string format = "%";
        for (const auto& [given, flag] : {std::pair{specification.left, '-'},
                                          {specification.plus, '+'},
                                          {specification.space, ' '},
                                          {specification.zero, '0'},
                                          {specification.alternate, '#'}}) {
            if (given) {
                format += flag;
            }
        }
        format += "*.*";
        format += static_cast<char>(specification.conversion);
        const NumberLocale locale;
        const auto print = [&](char* out, std::size_t size) {
            return std::snprintf(out, size, format.c_str(), specification.width, specification.precision, value);
        };
        std::vector<char> text(static_cast<std::size_t>(print(nullptr, 0)) + 1);
        print(text.data(), text.size());
        m_result.append(text.begin(), text.end() - 1);
    }

    void WriteCharacter(const Specification& specification) {
        const std::uint64_t value = Take(FormatArgument::Kind::Integer).GetInteger();
        Pad(specification, u"", Character(static_cast<int>(value)).Units(), false);
    }

    void WriteText(const Specification& specification) {
        const FormatArgument& argument = Take();
        if (argument.IsText() && argument.GetPointer() == nullptr) {
            return Pad(specification, u"", Cut(specification, u"(null)"), false);
        }
        switch (argument.GetKind()) {
            case FormatArgument::Kind::Utf16: {
                const auto* text = static_cast<const char16_t*>(argument.GetPointer());
                return Pad(specification, u"", {text, BoundedLength(specification, text)}, false);
            }
            case FormatArgument::Kind::Wide: {
                const auto* text = static_cast<const wchar_t*>(argument.GetPointer());
                const CString wide(text, static_cast<int>(BoundedLength(specification, text)));
                return Pad(specification, u"", Cut(specification, View(wide)), false);
            }
            case FormatArgument::Kind::Narrow: {
                const auto* text = static_cast<const char*>(argument.GetPointer());
                const CString wide = NarrowToWide({text, BoundedBytes(specification, text)});
                return Pad(specification, u"", View(wide), false);
            }
            default:
                AfxThrowInvalidArgException();
        }
    }

    static std::u16string_view Cut(const Specification& specification, std::u16string_view text) {
        return text.substr(0, static_cast<std::size_t>(specification.precision));  // -1 becomes npos
    }

    // A text with a precision need not end with a NUL.
    template <typename Unit>
    static std::size_t BoundedLength(const Specification& specification, const Unit* text) {
        const auto limit = static_cast<std::size_t>(specification.precision);  // -1 becomes the largest
        std::size_t length = 0;
        while (length < limit && text[length] != 0) {
            ++length;
        }
        return length;
    }

    // The bytes of as many characters as the precision allows.
    static std::size_t BoundedBytes(const Specification& specification, const char* text) {
        const auto limit = static_cast<std::size_t>(specification.precision);
        std::size_t bytes = 0;
        for (std::size_t characters = 0; characters < limit && text[bytes] != 0; ++characters) {
            bytes += IsNarrowLead(text[bytes]) && text[bytes + 1] != 0 ? 2 : 1;
        }
        return bytes;
    }

    // As the 64-bit host writes addresses: 16 upper-case digits, no prefix.
    void WritePointer(Specification specification) {
        const FormatArgument& argument = Take();
        if (!argument.IsText() && argument.GetKind() != FormatArgument::Kind::Pointer) {
            AfxThrowInvalidArgException();
        }
        specification.precision = 16;
        WriteDigits(specification, u"", reinterpret_cast<std::uintptr_t>(argument.GetPointer()), 16);
    }

    std::u16string_view m_format;
    std::span<const FormatArgument> m_arguments;
    std::size_t m_place = 0;
    std::u16string m_result;
};

}  // namespace

FormatArgument::FormatArgument(const CString& text) noexcept : FormatArgument(text.GetString()) {
}

std::u16string FormatText(std::u16string_view format, std::span<const FormatArgument> arguments) {
    return Formatter(format, arguments).Run();
}

}  // namespace norvex::text
