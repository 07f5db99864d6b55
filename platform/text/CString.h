// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/text/Character.h"
#include "platform/text/FormatArgument.h"
#include "platform/text/Tchar.h"

#include <array>
#include <atomic>
#include <compare>
#include <cstddef>
#include <functional>
#include <span>
#include <string_view>
#include <utility>

// The host's string: UTF-16 code units with a length, followed by a NUL. Positions, lengths and order are by code unit;
// a character beyond U+FFFF takes two. It may hold NULs, but as on the host only copying, joining, cutting, Insert,
// Delete, Remove and Replace see past the first one. Comparing, searching, trimming, letter case and every text handed
// over as a pointer end there.
//
// Copies share one buffer until one of them is changed. Distinct objects may be used from distinct threads even when
// they share a buffer; one object needs the caller's lock. wchar_t texts (32 bits here) are converted to UTF-16: lone
// surrogates stay, what is no Unicode character becomes U+FFFD. char texts are read in code page 936
// (platform/text/CodePage.h).
//
// Errors: CInvalidArgException for an index out of range, a negative length or a format that does not fit its
// arguments; std::bad_alloc.
class NORVEX_PLATFORM_API CString {
  public:
    constexpr CString() noexcept = default;
    CString(const CString& other) noexcept;
    CString(CString&& other) noexcept : m_block(other.m_block) { other.m_block = nullptr; }
    // A null pointer gives an empty string.
    CString(LPCTSTR text);
    CString(const wchar_t* text);
    CString(const char* text);
    // The counted forms keep NULs.
    CString(LPCTSTR text, int length);
    CString(const wchar_t* text, int length);
    CString(const char* text, int length);
    explicit CString(char16_t character, int repeat = 1);
    explicit CString(wchar_t character, int repeat = 1);
    explicit CString(char character, int repeat = 1);
    ~CString();

    CString& operator=(const CString& other) noexcept;
    CString& operator=(CString&& other) noexcept;
    CString& operator=(norvex::text::Character character);

    int GetLength() const noexcept { return m_block == nullptr ? 0 : m_block->length; }
    bool IsEmpty() const noexcept { return GetLength() == 0; }
    void Empty() noexcept;
    // Returns: the text, NUL behind it; valid until this string is changed.
    LPCTSTR GetString() const noexcept { return m_block == nullptr ? u"" : m_block->Units(); }
    operator LPCTSTR() const noexcept { return GetString(); }

    // The position behind the last character may be read and gives NUL.
    TCHAR GetAt(int index) const;
    TCHAR operator[](int index) const { return GetAt(index); }
    void SetAt(int index, norvex::text::Character character);

    void SetString(LPCTSTR text, int length) { *this = CString(text, length); }
    void SetString(const CString& text) { *this = text; }
    void Append(LPCTSTR text, int length);
    void Append(const CString& text) { *this += text; }
    void AppendChar(norvex::text::Character character) { *this += character; }
    CString& operator+=(const CString& text);
    CString& operator+=(LPCTSTR text);
    CString& operator+=(const wchar_t* text);
    CString& operator+=(const char* text);
    CString& operator+=(norvex::text::Character character);

    // Returns: below, equal to or above 0. CompareNoCase takes A to Z for a to z and knows no other letters, as the
    // host's runtime does in its "C" locale.
    int Compare(LPCTSTR other) const noexcept;
    int Compare(const wchar_t* other) const noexcept;
    int CompareNoCase(const CString& other) const noexcept;

    // Positions and counts outside the string are cut to it.
    CString Left(int count) const;
    CString Right(int count) const;
    CString Mid(int first) const;
    CString Mid(int first, int count) const;

    // Return: a position in the whole string, or -1. A start outside the string finds nothing; an empty text is found
    // at its start.
    int Find(norvex::text::Character character, int start = 0) const noexcept;
    int Find(const CString& text, int start = 0) const noexcept;
    int ReverseFind(norvex::text::Character character) const noexcept;
    int FindOneOf(const CString& set) const noexcept;
    // The longest beginning that consists of characters in (not in) the set.
    CString SpanIncluding(const CString& set) const;
    CString SpanExcluding(const CString& set) const;
    // Returns: the next piece from `start` on that holds no character of the set and is not empty; `start` then stands
    // behind the separator that ends it. When no piece is left: "" and `start` -1. An empty set gives the rest of the
    // text as it is. Errors: CInvalidArgException when `start` is negative.
    CString Tokenize(const CString& set, int& start) const;

    // White space is Unicode's, U+3000 and U+00A0 included.
    CString& Trim();
    CString& Trim(norvex::text::Character character);
    CString& Trim(const CString& set);
    CString& TrimLeft();
    CString& TrimLeft(norvex::text::Character character);
    CString& TrimLeft(const CString& set);
    CString& TrimRight();
    CString& TrimRight(norvex::text::Character character);
    CString& TrimRight(const CString& set);

    // Return: how often it was replaced. An empty old text, or a character replaced by itself, replaces nothing.
    int Replace(norvex::text::Character oldCharacter, norvex::text::Character newCharacter);
    int Replace(const CString& oldText, const CString& newText);
    // Returns: how many were removed.
    int Remove(norvex::text::Character character);
    // Return: the new length. A position outside the string is cut to it.
    int Insert(int index, norvex::text::Character character);
    int Insert(int index, const CString& text);
    int Delete(int index, int count = 1);
    // A to Z and a to z only, see CompareNoCase.
    CString& MakeUpper();
    CString& MakeLower();
    CString& MakeReverse();
    void Truncate(int newLength);

    // Format as the host's wide printf: flags - + space 0 #, width and precision (also *), sizes hh h l ll w I32 I64 I
    // j z t L, conversions d i u x X o c C s S f F e E g G a A p %. %s takes CString, LPCTSTR, _T("") and char text by
    // its own type, ends at its NUL or its precision and writes a null pointer as "(null)". Numbers without a size are
    // cut to 32 bits; `l` takes the argument's own width. Decimal point and digits do not depend on the locale. Errors:
    // CInvalidArgException for an unknown conversion, a missing argument or one of the wrong kind; the string is then
    // unchanged.
    template <typename... Arguments>
    void Format(const CString& format, const Arguments&... arguments) {
        const std::array<norvex::text::FormatArgument, sizeof...(Arguments)> list{arguments...};
        FormatList(format, list);
    }
    template <typename... Arguments>
    void AppendFormat(const CString& format, const Arguments&... arguments) {
        CString formatted;
        formatted.Format(format, arguments...);
        *this += formatted;
    }

    // Returns: this string's own buffer with room for at least `minimumLength` units and their NUL. Call ReleaseBuffer
    // before any other use; -1 there takes the length up to the first NUL.
    LPTSTR GetBuffer(int minimumLength = 0);
    LPTSTR GetBufferSetLength(int length);
    void ReleaseBuffer(int newLength = -1);
    void Preallocate(int length);
    // Returns: units that fit without a new buffer.
    int GetAllocLength() const noexcept { return m_block == nullptr ? 0 : m_block->capacity; }

  private:
    // The units follow the block in the same allocation.
    struct Block {
        std::atomic<int> owners;
        int length;
        int capacity;
        char16_t* Units() noexcept { return reinterpret_cast<char16_t*>(this + 1); }
    };

    static Block* Allocate(int capacity);
    static void Release(Block* block) noexcept;
    char16_t* Writable(int capacity);
    void SetLength(int length) noexcept;
    void AppendUnits(std::u16string_view units);
    void AppendWide(const wchar_t* text, std::size_t length);
    void FormatList(const CString& format, std::span<const norvex::text::FormatArgument> arguments);
    void KeepPart(std::size_t first, std::size_t count);
    int ReplaceUnits(std::u16string_view wanted, std::u16string_view replacement);

    Block* m_block = nullptr;  // null: empty
};

inline CString operator+(CString left, const CString& right) {
    return std::move(left += right);
}
inline CString operator+(CString left, LPCTSTR right) {
    return std::move(left += right);
}
inline CString operator+(CString left, const wchar_t* right) {
    return std::move(left += right);
}
inline CString operator+(CString left, const char* right) {
    return std::move(left += right);
}
inline CString operator+(CString left, char16_t right) {
    return std::move(left += right);
}
inline CString operator+(CString left, wchar_t right) {
    return std::move(left += right);
}
inline CString operator+(CString left, char right) {
    return std::move(left += right);
}
inline CString operator+(LPCTSTR left, const CString& right) {
    return CString(left) + right;
}
inline CString operator+(const wchar_t* left, const CString& right) {
    return CString(left) + right;
}
inline CString operator+(const char* left, const CString& right) {
    return CString(left) + right;
}
inline CString operator+(char16_t left, const CString& right) {
    return CString(left) + right;
}
inline CString operator+(wchar_t left, const CString& right) {
    return CString(left) + right;
}
inline CString operator+(char left, const CString& right) {
    return CString(left) + right;
}

// Ordinal by code unit, up to the first NUL (as Compare): strings that differ only behind it are equal.
inline bool operator==(const CString& left, const CString& right) noexcept {
    return left.Compare(right) == 0;
}
inline bool operator==(const CString& left, LPCTSTR right) noexcept {
    return left.Compare(right) == 0;
}
inline bool operator==(const CString& left, const wchar_t* right) noexcept {
    return left.Compare(right) == 0;
}
inline bool operator==(const CString& left, const char* right) {
    return left.Compare(CString(right)) == 0;
}
inline std::weak_ordering operator<=>(const CString& left, const CString& right) noexcept {
    return left.Compare(right) <=> 0;
}
inline std::weak_ordering operator<=>(const CString& left, LPCTSTR right) noexcept {
    return left.Compare(right) <=> 0;
}
inline std::weak_ordering operator<=>(const CString& left, const wchar_t* right) noexcept {
    return left.Compare(right) <=> 0;
}
inline std::weak_ordering operator<=>(const CString& left, const char* right) {
    return left.Compare(CString(right)) <=> 0;
}

namespace norvex::text {

// The whole text, NULs included; valid as long as the string lives unchanged.
inline std::u16string_view View(const CString& text) noexcept {
    return {text.GetString(), static_cast<std::size_t>(text.GetLength())};
}

// The text up to its first NUL; valid as long as the string lives unchanged.
NORVEX_PLATFORM_API std::u16string_view ViewToNul(const CString& text) noexcept;

// Errors: CInvalidArgException when the text has more than 2^31 - 1 units.
NORVEX_PLATFORM_API CString ToCString(std::u16string_view units);

}  // namespace norvex::text

// Equal strings have equal hashes: the text up to its first NUL.
template <>
struct std::hash<CString> {
    std::size_t operator()(const CString& text) const noexcept {
        return std::hash<std::u16string_view>()(norvex::text::ViewToNul(text));
    }
};
