// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Promise.h"
#include "fuzz/WideText.h"
#include "norvexdata/common/ComMethod.h"
#include "platform/zrow/Drawing.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <set>

// Texts, one on each line, as handles, tags, attributes and location strings: what is joined splits back, and every
// split and lookup is that of a naive twin.

namespace {

using namespace norvex::fuzz;

class Array : public CStringArray {
  public:
    explicit Array(const std::vector<Wide>& texts) {
        for (const Wide& text : texts) {
            Add(Host(text));
        }
    }
};

bool Hold(const std::vector<Wide>& texts, char16_t unit) {
    for (const Wide& text : texts) {
        if (text.find(unit) != Wide::npos) {
            return true;
        }
    }
    return false;
}

std::vector<Wide> Split(const Wide& text, wchar_t separator) {
    CStringArray pieces;
    CComMethod::ExplodeStrAryIncEmpty(pieces, Host(text), separator);
    return AllUnits(pieces);
}

// ---- Splits ----

void CheckSplits(const Wide& text, const Wide& separator) {
    Require(Split(text, L',') == Pieces(text, u","), "pieces are those of the naive twin");
    CStringArray some;
    some.Add(u"kept");
    CComMethod::ExplodeStrAry(some, Host(text), L'-');
    std::vector<Wide> expected = PiecesWithText(text, u"-");
    expected.insert(expected.begin(), u"kept");
    Require(AllUnits(some) == expected, "pieces with text are appended");
    if (!separator.empty()) {
        CStringArray several;
        CComMethod::ExplodeStrAry(several, Host(text), Host(separator));
        Require(AllUnits(several) == PiecesWithText(text, separator), "a long separator splits as the naive twin");
    }
    CStringArray joined;
    CComMethod::ExplodeStrAryIncEmpty(joined, Host(text), L';');
    Require(Units(CComMethod::GetUnitedArgument(joined)) == text, "what was split at ; is joined to the same");
}

Wide NaiveParameter(const Wide& text) {
    for (const char16_t comparison : {u'=', u'>', u'<', u'≥', u'≤'}) {
        if (const std::size_t at = text.find(comparison); at != Wide::npos) {
            return text.substr(at + 1);
        }
    }
    return text;
}

void CheckParameter(const Wide& text) {
    Require(Units(CComMethod::GetOneParam(Host(text))) == NaiveParameter(text), "a parameter is that of the twin");
    const std::vector<Wide> path = PiecesWithText(text, u"\\");
    Require(Units(CComMethod::GetDetailNameByAttName(Host(text))) == (path.size() == 4 ? path[3] : Wide()),
            "the detail name is the fourth part of four");
}

// ---- Forms ----

void CheckLocateForm(const std::vector<Wide>& texts, const Wide& first, const Wide& second, const Wide& leading,
                     int mode) {
    const auto find = static_cast<EFindHandle>(mode);
    const std::string digits = std::to_string(mode);
    const Wide number(digits.begin(), digits.end());
    const Wide form = Units(CComMethod::GetStrFPHandle(Array(texts), Host(first), Host(second), find, Host(leading)));
    if (texts.empty()) {
        Require(form.empty(), "nothing is located by nothing");
        return;
    }
    const std::vector<Wide> fields{leading, first, number, second, Joined(texts, u",")};
    Require(form == Joined(fields, u":"), "the locate form is that of the naive twin");
    if (!Hold(fields, u':')) {
        Require(Split(form, L':') == fields, "the locate form splits back");
    }
    if (!Hold(texts, u',')) {
        Require(Split(fields[4], L',') == texts, "the handles split back");
    }
    const std::set<CString> sorted = [&] {
        std::set<CString> all;
        for (const Wide& text : texts) {
            all.insert(Host(text));
        }
        return all;
    }();
    Require(Units(CComMethod::GetStrFPHandle(sorted, Host(first), Host(second), find, Host(leading))) ==
                Joined({leading, first, number, second, Joined(AllUnits(sorted), u",")}, u":"),
            "a set is located in its order");
}

void CheckOtherForms(const std::vector<Wide>& texts, const Wide& first, const Wide& leading) {
    const Wide list = Joined(texts, u",");
    Require(Units(CComMethod::GetStrFPHandleAry(Array(texts))) == Joined(texts, u"-"), "locations are joined by -");
    Require(Units(CComMethod::GetStrFixHandle(Array(texts), Host(first), Host(leading))) ==
                (texts.empty() ? Wide() : Joined({leading, first, list}, u":")),
            "the fix form is that of the naive twin");
    Require(Units(CComMethod::GetStrFAHandle(Array(texts), Host(leading))) ==
                (texts.empty() ? Wide() : leading + u":" + texts[0] + u"," + list),
            "the attribute form has its first text twice");
    Wide pairs;
    for (const Wide& text : texts) {
        pairs += text + u"=" + text + u",";
    }
    while (pairs.ends_with(u',')) {
        pairs.pop_back();
    }
    Require(Units(CComMethod::GetStrFixHandle(Array(texts), Array(texts), Host(first), Host(leading))) ==
                (texts.empty() ? Wide() : Joined({leading, first, pairs}, u":")),
            "pairs are those of the naive twin");
}

// ---- Handles ----

void CheckHandle(std::uint64_t value) {
    const auto low = static_cast<unsigned>(value);
    const auto high = static_cast<unsigned>(value >> 32U);
    std::array<char, 64> expected{};
    if (high == 0) {
        std::snprintf(expected.data(), expected.size(), "%X", low);
    } else {
        std::snprintf(expected.data(), expected.size(), "%X%.30X", high, low);
    }
    const CString text = CComMethod::GetStrHandle(AcDbHandle(value));
    const std::string_view wanted = expected.data();
    Require(Units(text) == Wide(wanted.begin(), wanted.end()), "a handle's text is that of the naive twin");
    if (high == 0) {
        Require(AcDbHandle(text).value() == value, "a small handle is read back");
    }
}

// 0 for what is no handle: empty, more than 16 digits behind leading zeros, or none at all.
std::uint64_t NaiveHandle(const Wide& text) {
    std::string narrow(text.begin(), text.end());
    for (const char16_t unit : text) {
        if (unit >= 0x80) {
            return 0;
        }
    }
    const bool isNumber = narrow.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos;
    narrow.erase(0, narrow.find_first_not_of('0'));
    return isNumber && !narrow.empty() && narrow.size() <= 16 ? std::strtoull(narrow.c_str(), nullptr, 16) : 0;
}

constexpr std::array<std::uint64_t, 4> kHandles{0x10, 0xAB, 0xFFFFFFFF, 0x123456789ABCDEF0};
constexpr std::uint64_t kErased = 0x11;
// From here on handles are those of the drawing's own objects, its block table and its model space.
constexpr std::uint64_t kFirstOwn = 0xFFFFFFFFFFFFFFFE;

// A drawing with a node under each handle, made once.
const norvex::Drawing& TheDrawing() {
    static norvex::Drawing& drawing = *[] {
        auto* made = new norvex::Drawing();
        for (const std::uint64_t handle : kHandles) {
            made->handle(handle).node({0, 0, 0});
        }
        made->handle(kErased).node({0, 0, 0}).erased();
        made->makeCurrent();
        return made;
    }();
    return drawing;
}

void CheckLookup(const std::vector<Wide>& texts) {
    TheDrawing();
    AcArray<AcDbObjectId> ids;
    const bool isEachFound = CComMethod::HandleAryToIdAry(ids, Array(texts));
    std::vector<std::uint64_t> expected;
    for (const Wide& text : texts) {
        const std::uint64_t handle = NaiveHandle(text);
        if (handle >= kFirstOwn || std::find(kHandles.begin(), kHandles.end(), handle) != kHandles.end()) {
            expected.push_back(handle);
        }
    }
    std::vector<std::uint64_t> found;
    for (int i = 0; i < ids.length(); ++i) {
        found.push_back(ids[i].handle().value());
    }
    Require(found == expected && isEachFound == (expected.size() == texts.size()),
            "every text that names an object is found, and none else");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view rest = TextOf(data, size);
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < rest.size() && i < 8; ++i) {
        number = number << 8U | static_cast<unsigned char>(rest[i]);
    }
    CheckHandle(number);
    std::vector<Wide> texts;
    while (!rest.empty() && texts.size() < 32) {
        texts.push_back(WideOf(TakePiece(rest, '\n')));
    }
    // A text ends at its first NUL in some operations and not in others; the twins know only texts without one.
    if (Hold(texts, u'\0')) {
        CComMethod::GetStrFPHandleAry(Array(texts));
        return 0;
    }
    texts.resize(std::max<std::size_t>(texts.size(), 3));
    const Wide first = texts[0];
    const Wide second = texts[1];
    const Wide leading = texts[2];
    texts.erase(texts.begin(), texts.begin() + 3);
    CheckSplits(first, second);
    CheckParameter(first);
    CheckLocateForm(texts, first, second, leading, static_cast<int>(number));
    CheckOtherForms(texts, first, leading);
    CheckLookup(texts);
    return 0;
}
