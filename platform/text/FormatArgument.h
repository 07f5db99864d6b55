// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

class CString;

namespace norvex::text {

// One argument of CString::Format with the type it was given with. Texts are borrowed for the length of the call.
class NORVEX_PLATFORM_API FormatArgument {
  public:
    enum class Kind { Integer, Real, Utf16, Wide, Narrow, Pointer };

    template <typename T>
    requires(std::integral<T> || std::is_enum_v<T>) FormatArgument(T value)
    noexcept
        : m_kind(Kind::Integer),
          m_bits(sizeof(T) < sizeof(int) ? 32 : static_cast<int>(8 * sizeof(T))),
          m_integer(static_cast<std::uint64_t>(value)) {}
    template <std::floating_point T>
    FormatArgument(T value) noexcept : m_kind(Kind::Real), m_real(static_cast<double>(value)) {}
    FormatArgument(const char16_t* text) noexcept : m_kind(Kind::Utf16), m_pointer(text) {}
    FormatArgument(const wchar_t* text) noexcept : m_kind(Kind::Wide), m_pointer(text) {}
    FormatArgument(const char* text) noexcept : m_kind(Kind::Narrow), m_pointer(text) {}
    FormatArgument(const CString& text) noexcept;
    FormatArgument(const void* pointer) noexcept : m_kind(Kind::Pointer), m_pointer(pointer) {}
    FormatArgument(std::nullptr_t) noexcept : m_kind(Kind::Utf16), m_pointer(nullptr) {}

    Kind GetKind() const noexcept { return m_kind; }
    bool IsText() const noexcept { return m_kind == Kind::Utf16 || m_kind == Kind::Wide || m_kind == Kind::Narrow; }
    // Bits of an integer argument after promotion: 32 or 64.
    int GetBits() const noexcept { return m_bits; }
    // An integer argument, sign-extended to 64 bits if its type is signed.
    std::uint64_t GetInteger() const noexcept { return m_integer; }
    double GetReal() const noexcept { return m_real; }
    const void* GetPointer() const noexcept { return m_pointer; }

  private:
    Kind m_kind;
    int m_bits = 0;
    std::uint64_t m_integer = 0;
    double m_real = 0.0;
    const void* m_pointer = nullptr;
};

// The engine behind CString::Format; see there for what it understands.
// Errors: CInvalidArgException.
NORVEX_PLATFORM_API std::u16string FormatText(std::u16string_view format, std::span<const FormatArgument> arguments);

}  // namespace norvex::text
