// SPDX-License-Identifier: Apache-2.0
#include "platform/text/CString.h"

#include "platform/containers/Exceptions.h"

#include <algorithm>
#include <string>

using norvex::text::Character;
using norvex::text::ToCString;
using norvex::text::View;
using norvex::text::ViewToNul;

namespace {

constexpr std::size_t kNone = std::u16string_view::npos;

// Unicode's White_Space property, which has no member beyond U+FFFF.
constexpr std::u16string_view kWhiteSpace =
    u"\t\n\v\f\r \u0085\u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008\u2009\u200A\u2028\u2029\u202F"
    u"\u205F\u3000";

int ToPosition(std::size_t position) {
    return position == kNone ? -1 : static_cast<int>(position);
}

std::size_t Clamp(int value, std::size_t limit) {
    return value < 0 ? 0 : std::min(static_cast<std::size_t>(value), limit);
}

// Where the text up to its NUL, less the trailing characters of the set, ends; the whole length when there are none.
// What stands behind a NUL goes with the trailing characters before it, as on the host.
std::size_t EndWithout(const CString& text, std::u16string_view set) {
    const std::u16string_view visible = ViewToNul(text);
    const std::size_t end = visible.find_last_not_of(set) + 1;  // npos + 1 is 0
    return end == visible.size() ? View(text).size() : end;
}

std::size_t StartWithout(const CString& text, std::u16string_view set) {
    const std::u16string_view visible = ViewToNul(text);
    return std::min(visible.find_first_not_of(set), visible.size());
}

}  // namespace

void CString::KeepPart(std::size_t first, std::size_t count) {
    const std::u16string_view all = View(*this);
    if (first != 0 || count < all.size()) {
        *this = ToCString(all.substr(first, count));
    }
}

CString CString::Left(int count) const {
    return Mid(0, count);
}

CString CString::Right(int count) const {
    const std::size_t kept = Clamp(count, View(*this).size());
    return Mid(GetLength() - static_cast<int>(kept));
}

CString CString::Mid(int first) const {
    return Mid(first, GetLength());
}

CString CString::Mid(int first, int count) const {
    const std::size_t length = View(*this).size();
    const std::size_t begin = Clamp(first, length);
    CString part = *this;
    part.KeepPart(begin, Clamp(count, length - begin));
    return part;
}

int CString::Find(Character character, int start) const noexcept {
    if (start < 0 || start >= GetLength()) {
        return -1;
    }
    const std::u16string_view units = character.Units();
    const std::u16string_view all = View(*this);
    const std::size_t end = std::min(all.find(u'\0', static_cast<std::size_t>(start)), all.size());
    if (units.front() == 0) {
        return static_cast<int>(end);
    }
    return ToPosition(all.substr(0, end).find(units, static_cast<std::size_t>(start)));
}

int CString::Find(const CString& text, int start) const noexcept {
    if (start < 0 || start > GetLength()) {
        return -1;
    }
    const std::u16string_view all = View(*this);
    const std::size_t end = all.find(u'\0', static_cast<std::size_t>(start));
    return ToPosition(all.substr(0, end).find(ViewToNul(text), static_cast<std::size_t>(start)));
}

int CString::ReverseFind(Character character) const noexcept {
    const std::u16string_view visible = ViewToNul(*this);
    return character.Units().front() == 0 ? static_cast<int>(visible.size())
                                          : ToPosition(visible.rfind(character.Units()));
}

int CString::FindOneOf(const CString& set) const noexcept {
    return ToPosition(ViewToNul(*this).find_first_of(ViewToNul(set)));
}

CString CString::SpanIncluding(const CString& set) const {
    CString part = *this;
    part.KeepPart(0, StartWithout(*this, ViewToNul(set)));
    return part;
}

CString CString::SpanExcluding(const CString& set) const {
    CString part = *this;
    const std::u16string_view visible = ViewToNul(*this);
    part.KeepPart(0, std::min(visible.find_first_of(ViewToNul(set)), visible.size()));
    return part;
}

CString CString::Tokenize(const CString& set, int& start) const {
    if (start < 0) {
        AfxThrowInvalidArgException();
    }
    const std::u16string_view separators = ViewToNul(set);
    const std::u16string_view visible = View(*this).substr(0, View(*this).find(u'\0', static_cast<std::size_t>(start)));
    const std::size_t first = visible.find_first_not_of(separators, static_cast<std::size_t>(start));
    if (first == kNone) {
        start = -1;
        return {};
    }
    const std::size_t end = std::min(visible.find_first_of(separators, first), visible.size());
    start = static_cast<int>(end) + 1;
    return ToCString(visible.substr(first, end - first));
}

CString& CString::Trim() {
    return TrimRight().TrimLeft();
}
CString& CString::Trim(Character character) {
    return TrimRight(character).TrimLeft(character);
}
CString& CString::Trim(const CString& set) {
    return TrimRight(set).TrimLeft(set);
}

CString& CString::TrimLeft() {
    KeepPart(StartWithout(*this, kWhiteSpace), kNone);
    return *this;
}

CString& CString::TrimLeft(Character character) {
    KeepPart(StartWithout(*this, character.Units()), kNone);
    return *this;
}

CString& CString::TrimLeft(const CString& set) {
    KeepPart(StartWithout(*this, ViewToNul(set)), kNone);
    return *this;
}

CString& CString::TrimRight() {
    KeepPart(0, EndWithout(*this, kWhiteSpace));
    return *this;
}

CString& CString::TrimRight(Character character) {
    KeepPart(0, EndWithout(*this, character.Units()));
    return *this;
}

CString& CString::TrimRight(const CString& set) {
    KeepPart(0, EndWithout(*this, ViewToNul(set)));
    return *this;
}

int CString::Replace(Character oldCharacter, Character newCharacter) {
    return oldCharacter.Units() == newCharacter.Units() ? 0 : ReplaceUnits(oldCharacter.Units(), newCharacter.Units());
}

int CString::Replace(const CString& oldText, const CString& newText) {
    return ReplaceUnits(ViewToNul(oldText), ViewToNul(newText));
}

int CString::Remove(Character character) {
    return ReplaceUnits(character.Units(), {});
}

int CString::ReplaceUnits(std::u16string_view wanted, std::u16string_view replacement) {
    if (wanted.empty()) {
        return 0;
    }
    const std::u16string_view all = View(*this);
    std::u16string result;
    int count = 0;
    std::size_t copied = 0;
    for (std::size_t found = all.find(wanted); found != kNone; found = all.find(wanted, copied)) {
        result.append(all.substr(copied, found - copied)).append(replacement);
        copied = found + wanted.size();
        ++count;
    }
    if (count > 0) {
        *this = ToCString(result.append(all.substr(copied)));
    }
    return count;
}

int CString::Insert(int index, Character character) {
    return Insert(index, ToCString(character.Units()));
}

int CString::Insert(int index, const CString& text) {
    const std::size_t place = Clamp(index, View(*this).size());
    const std::u16string_view inserted = ViewToNul(text);
    if (!inserted.empty()) {
        *this = ToCString(std::u16string(View(*this)).insert(place, inserted));
    }
    return GetLength();
}

int CString::Delete(int index, int count) {
    const std::size_t length = View(*this).size();
    const std::size_t first = Clamp(index, length);
    const std::size_t deleted = Clamp(count, length - first);
    if (deleted > 0) {
        *this = ToCString(std::u16string(View(*this)).erase(first, deleted));
    }
    return GetLength();
}

CString& CString::MakeUpper() {
    char16_t* units = GetBuffer();
    for (; *units != 0; ++units) {
        *units = *units >= u'a' && *units <= u'z' ? static_cast<char16_t>(*units - (u'a' - u'A')) : *units;
    }
    return *this;
}

CString& CString::MakeLower() {
    char16_t* units = GetBuffer();
    for (; *units != 0; ++units) {
        *units = *units >= u'A' && *units <= u'Z' ? static_cast<char16_t>(*units + (u'a' - u'A')) : *units;
    }
    return *this;
}

CString& CString::MakeReverse() {
    char16_t* units = GetBuffer();
    std::reverse(units, units + ViewToNul(*this).size());
    return *this;
}

void CString::Truncate(int newLength) {
    if (newLength < 0) {
        AfxThrowInvalidArgException();
    }
    KeepPart(0, static_cast<std::size_t>(newLength));
}
