// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"

#include <string_view>

namespace norvex::text {

// One character as callers write it ('x', u'x', L'x' or its number), held as the UTF-16 code units that stand for it:
// one, or two for a wchar_t beyond U+FFFF. A char is taken through code page 936; a wchar_t that is no Unicode
// character is U+FFFD.
class NORVEX_PLATFORM_API Character {
  public:
    Character(char16_t unit) noexcept : m_first(unit) {}
    Character(wchar_t character) noexcept;
    Character(int unit) noexcept;
    Character(char byte);

    // Returns: a view into this object.
    std::u16string_view Units() const noexcept { return {&m_first, m_second == 0 ? 1U : 2U}; }

  private:
    char16_t m_first = 0;
    char16_t m_second = 0;  // 0: there is no second unit
};

}  // namespace norvex::text
