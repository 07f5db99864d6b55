// SPDX-License-Identifier: Apache-2.0
#include "service/store/FloorNames.h"

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <set>

#include "platform/text/CString.h"
#include "platform/text/CodePage.h"
#include "platform/text/Utf8.h"

namespace norvex::service::store {

namespace {

// The character at which the module cuts, and its traditional form, which reads the same and means nothing to it.
constexpr char16_t kFloor = u'层';
constexpr char16_t kOtherFloor = u'層';
// Begins an escape: "~~" is itself, "~層" a traditional form that was there before, "~" and four hexadecimal digits a
// code unit that the code page lacks.
constexpr char16_t kEscape = u'~';
constexpr std::u16string_view kDigits = u"0123456789ABCDEF";
constexpr char16_t kFirstPrintable = u' ';

bool SurvivesCodePage(char16_t unit) {
    const std::u16string_view text(&unit, 1);
    const CString back = text::NarrowToWideCounted(text::WideToNarrowCounted(text));
    return back.GetLength() == 1 && back.GetAt(0) == unit;
}

void AppendEscaped(char16_t unit, CString& out) {
    out.AppendChar(kEscape);
    for (const int shift : {12, 8, 4, 0}) {
        out.AppendChar(kDigits[(static_cast<unsigned>(unit) >> static_cast<unsigned>(shift)) & 0xFU]);
    }
}

// Reads four hexadecimal digits at the position; nothing when they are not there.
std::optional<char16_t> HexadecimalAt(const CString& text, int position) {
    if (position + 4 > text.GetLength()) {
        return std::nullopt;
    }
    unsigned value = 0;
    for (int i = 0; i < 4; ++i) {
        const std::size_t digit = kDigits.find(text.GetAt(position + i));
        if (digit == std::u16string_view::npos) {
            return std::nullopt;
        }
        value = value * 16U + static_cast<unsigned>(digit);
    }
    return static_cast<char16_t>(value);
}

}  // namespace

std::vector<FloorName> NameFloors(const std::vector<std::string>& storeys) {
    const std::string unnamed = "(unnamed)";
    // A second storey must not take the name that a later one was given by the model.
    std::set<std::string> reserved(storeys.begin(), storeys.end());
    std::set<std::string> given;
    std::map<std::string, int> next;  // the first number that may be free, of names that came twice
    std::vector<FloorName> names;
    for (const std::string& storey : storeys) {
        const bool isBlank = storey.find_first_not_of(" \t\r\n") == std::string::npos;
        const std::string& wanted = isBlank ? unnamed : storey;
        std::string label = wanted;
        while (given.contains(label) || (label != storey && reserved.contains(label))) {
            int& number = next.emplace(wanted, 2).first->second;
            label = wanted + " (" + std::to_string(number++) + ")";
        }
        given.insert(label);
        names.push_back({storey, label, ModuleFloorName(label)});
    }
    return names;
}

std::string ModuleFloorName(std::string_view label) {
    const CString wide = text::FromUtf8(label);
    CString name;
    for (int i = 0; i < wide.GetLength(); ++i) {
        const char16_t unit = wide.GetAt(i);
        if (unit == kFloor) {
            name.AppendChar(kOtherFloor);
        } else if (unit == kOtherFloor || unit == kEscape) {
            name.AppendChar(kEscape);
            name.AppendChar(unit);
        } else if (unit < kFirstPrintable || !SurvivesCodePage(unit)) {
            AppendEscaped(unit, name);
        } else {
            name.AppendChar(unit);
        }
    }
    return text::ToUtf8(name);
}

std::string FloorLabel(std::string_view moduleName) {
    const CString wide = text::FromUtf8(moduleName);
    CString label;
    for (int i = 0; i < wide.GetLength(); ++i) {
        const char16_t unit = wide.GetAt(i);
        const std::optional<char16_t> escaped = unit == kEscape ? HexadecimalAt(wide, i + 1) : std::nullopt;
        if (escaped) {
            label.AppendChar(*escaped);
            i += 4;
        } else if (unit == kEscape && i + 1 < wide.GetLength()) {
            label.AppendChar(wide.GetAt(++i));
        } else {
            label.AppendChar(unit == kOtherFloor ? kFloor : unit);
        }
    }
    return text::ToUtf8(label);
}

}  // namespace norvex::service::store
