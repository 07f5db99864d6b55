// SPDX-License-Identifier: Apache-2.0
#include "platform/text/CString.h"

#include "platform/containers/Exceptions.h"
#include "platform/text/CodePage.h"

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <limits>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

namespace {

using UnsignedWide = std::make_unsigned_t<wchar_t>;

std::size_t CheckedLength(const void* text, int length) {
    if (length < 0 || (text == nullptr && length > 0)) {
        AfxThrowInvalidArgException();
    }
    return static_cast<std::size_t>(length);
}

int ToLength(std::size_t length) {
    if (length > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        AfxThrowInvalidArgException();
    }
    return static_cast<int>(length);
}

std::u16string_view PointerView(LPCTSTR text) {
    return text == nullptr ? std::u16string_view() : std::u16string_view(text);
}

// Walks the UTF-16 form of a wide text that ends with a NUL; gives 0 at its end and for ever after.
class WideUnits {
  public:
    explicit WideUnits(const wchar_t* text) noexcept : m_next(text) {}

    char16_t Next() noexcept {
        if (m_pending != 0) {
            return std::exchange(m_pending, u'\0');
        }
        if (m_next == nullptr || *m_next == 0) {
            return 0;
        }
        const norvex::text::Character character(*m_next++);
        const std::u16string_view units = character.Units();
        if (units.size() == 2) {
            m_pending = units[1];
        }
        return units[0];
    }

  private:
    const wchar_t* m_next;
    char16_t m_pending = 0;
};

char16_t LowerAscii(char16_t unit) noexcept {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
}

}  // namespace

namespace norvex::text {

Character::Character(wchar_t character) noexcept {
    const auto value = static_cast<UnsignedWide>(character);
    if (value <= 0xFFFF) {
        m_first = static_cast<char16_t>(value);
    } else if (value <= 0x10FFFF) {
        m_first = static_cast<char16_t>(0xD800 + ((value - 0x10000) >> 10));
        m_second = static_cast<char16_t>(0xDC00 + (value & 0x3FF));
    } else {
        m_first = 0xFFFD;
    }
}

Character::Character(int unit) noexcept : Character(static_cast<wchar_t>(unit)) {
}

Character::Character(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    m_first = value < 0x80 ? value : NarrowToWideCounted({&byte, 1}).GetAt(0);
}

std::u16string_view ViewToNul(const CString& text) noexcept {
    const std::u16string_view all = View(text);
    return all.substr(0, all.find(u'\0'));
}

CString ToCString(std::u16string_view units) {
    return CString(units.data(), ToLength(units.size()));
}

}  // namespace norvex::text

CString::Block* CString::Allocate(int capacity) {
    const std::size_t bytes = sizeof(Block) + (static_cast<std::size_t>(capacity) + 1) * sizeof(char16_t);
    auto* block = new (::operator new(bytes)) Block{1, 0, capacity};
    block->Units()[0] = 0;
    return block;
}

void CString::Release(Block* block) noexcept {
    if (block != nullptr && block->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        block->~Block();
        ::operator delete(block);
    }
}

CString::CString(const CString& other) noexcept : m_block(other.m_block) {
    if (m_block != nullptr) {
        m_block->owners.fetch_add(1, std::memory_order_relaxed);
    }
}

CString::CString(LPCTSTR text) {
    AppendUnits(PointerView(text));
}
CString::CString(const wchar_t* text) {
    AppendWide(text, text == nullptr ? 0 : std::wcslen(text));
}
CString::CString(const char* text) : CString(norvex::text::NarrowToWide(text == nullptr ? "" : text)) {
}
CString::CString(LPCTSTR text, int length) {
    AppendUnits({text, CheckedLength(text, length)});
}
CString::CString(const wchar_t* text, int length) {
    AppendWide(text, CheckedLength(text, length));
}
CString::CString(const char* text, int length)
    : CString(norvex::text::NarrowToWideCounted({text, CheckedLength(text, length)})) {
}

CString::CString(char16_t character, int repeat) {
    if (repeat > 0) {
        std::fill_n(Writable(repeat), repeat, character);
        SetLength(repeat);
    }
}

CString::CString(wchar_t character, int repeat) {
    const norvex::text::Character units(character);
    for (int written = 0; written < repeat; ++written) {
        AppendUnits(units.Units());
    }
}

CString::CString(char character, int repeat) : CString(norvex::text::Character(character).Units()[0], repeat) {
}

CString::~CString() {
    Release(m_block);
}

CString& CString::operator=(const CString& other) noexcept {
    CString copy(other);
    std::swap(m_block, copy.m_block);
    return *this;
}

CString& CString::operator=(CString&& other) noexcept {
    CString taken(std::move(other));
    std::swap(m_block, taken.m_block);
    return *this;
}

CString& CString::operator=(norvex::text::Character character) {
    return *this = norvex::text::ToCString(character.Units());
}

void CString::Empty() noexcept {
    Release(m_block);
    m_block = nullptr;
}

TCHAR CString::GetAt(int index) const {
    if (index < 0 || index > GetLength()) {
        AfxThrowInvalidArgException();
    }
    return GetString()[index];
}

void CString::SetAt(int index, norvex::text::Character character) {
    if (index < 0 || index >= GetLength() || character.Units().size() != 1) {
        AfxThrowInvalidArgException();
    }
    Writable(GetLength())[index] = character.Units()[0];
}

// Makes the buffer this string's own, with room for at least `capacity` units; the text stays.
char16_t* CString::Writable(int capacity) {
    const int length = GetLength();
    capacity = std::max(capacity, length);
    const bool alone = m_block != nullptr && m_block->owners.load(std::memory_order_acquire) == 1;
    if (alone && m_block->capacity >= capacity) {
        return m_block->Units();
    }
    if (alone) {
        // A string that grows in place will grow again.
        const std::int64_t roomy = std::int64_t{m_block->capacity} + m_block->capacity / 2;
        const std::int64_t limit = std::numeric_limits<int>::max();
        capacity = std::max(capacity, static_cast<int>(std::min(roomy, limit)));
    }
    Block* block = Allocate(capacity);
    std::copy_n(GetString(), length, block->Units());
    Release(std::exchange(m_block, block));
    SetLength(length);
    return block->Units();
}

void CString::SetLength(int length) noexcept {
    m_block->length = length;
    m_block->Units()[length] = 0;
}

void CString::AppendUnits(std::u16string_view units) {
    if (units.empty()) {
        return;
    }
    const int oldLength = GetLength();
    const int newLength = ToLength(static_cast<std::size_t>(oldLength) + units.size());
    // The units may be this string's own: keep their buffer until they are copied.
    const CString guard = units.data() >= GetString() && units.data() <= GetString() + oldLength ? *this : CString();
    std::copy(units.begin(), units.end(), Writable(newLength) + oldLength);
    SetLength(newLength);
}

void CString::AppendWide(const wchar_t* text, std::size_t length) {
    std::size_t unitCount = length;
    for (std::size_t index = 0; index < length; ++index) {
        unitCount += norvex::text::Character(text[index]).Units().size() - 1;
    }
    if (unitCount == 0) {
        return;
    }
    const int oldLength = GetLength();
    const int newLength = ToLength(static_cast<std::size_t>(oldLength) + unitCount);
    char16_t* out = Writable(newLength) + oldLength;
    for (std::size_t index = 0; index < length; ++index) {
        const norvex::text::Character character(text[index]);
        out = std::copy(character.Units().begin(), character.Units().end(), out);
    }
    SetLength(newLength);
}

void CString::Append(LPCTSTR text, int length) {
    AppendUnits({text, CheckedLength(text, length)});
}

CString& CString::operator+=(const CString& text) {
    if (m_block == nullptr) {
        return *this = text;
    }
    AppendUnits(norvex::text::View(text));
    return *this;
}

CString& CString::operator+=(LPCTSTR text) {
    AppendUnits(PointerView(text));
    return *this;
}

CString& CString::operator+=(const wchar_t* text) {
    AppendWide(text, text == nullptr ? 0 : std::wcslen(text));
    return *this;
}

CString& CString::operator+=(const char* text) {
    return *this += CString(text);
}

CString& CString::operator+=(norvex::text::Character character) {
    AppendUnits(character.Units());
    return *this;
}

int CString::Compare(LPCTSTR other) const noexcept {
    const char16_t* left = GetString();
    const char16_t* right = other == nullptr ? u"" : other;
    if (left == right) {
        return 0;
    }
    while (*left == *right && *left != 0) {
        ++left;
        ++right;
    }
    return *left == *right ? 0 : *left < *right ? -1 : 1;
}

int CString::Compare(const wchar_t* other) const noexcept {
    WideUnits right(other);
    for (const char16_t* left = GetString();; ++left) {
        const char16_t unit = right.Next();
        if (*left != unit) {
            return *left < unit ? -1 : 1;
        }
        if (unit == 0) {
            return 0;
        }
    }
}

int CString::CompareNoCase(const CString& other) const noexcept {
    const char16_t* left = GetString();
    const char16_t* right = other.GetString();
    while (LowerAscii(*left) == LowerAscii(*right) && *left != 0) {
        ++left;
        ++right;
    }
    const char16_t leftUnit = LowerAscii(*left);
    const char16_t rightUnit = LowerAscii(*right);
    return leftUnit == rightUnit ? 0 : leftUnit < rightUnit ? -1 : 1;
}

void CString::FormatList(const CString& format, std::span<const norvex::text::FormatArgument> arguments) {
    *this = norvex::text::ToCString(norvex::text::FormatText(norvex::text::ViewToNul(format), arguments));
}

LPTSTR CString::GetBuffer(int minimumLength) {
    CheckedLength(u"", minimumLength);
    return Writable(minimumLength);
}

LPTSTR CString::GetBufferSetLength(int length) {
    LPTSTR buffer = GetBuffer(length);
    SetLength(length);
    return buffer;
}

void CString::ReleaseBuffer(int newLength) {
    const int capacity = GetAllocLength();
    if (newLength == -1) {
        const char16_t* units = GetString();
        newLength = static_cast<int>(std::find(units, units + capacity, u'\0') - units);
    }
    if (newLength < 0 || newLength > capacity) {
        AfxThrowInvalidArgException();
    }
    if (m_block != nullptr) {
        SetLength(newLength);
    }
}

void CString::Preallocate(int length) {
    GetBuffer(length);
}
