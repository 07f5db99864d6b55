// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Promise.h"
#include "fuzz/WideText.h"
#include "norvexdata/common/ComMethod.h"
#include "platform/text/CodePage.h"
#include "service/store/FloorNames.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <string>

// Names of floors, one on each line: their grades are those of a naive twin, and they come back from the module as they
// went in.

namespace {

using namespace norvex::fuzz;
using namespace norvex::service::store;

bool IsBlank(char16_t unit) {
    const Wide blanks =
        u"\t\n\v\f\r \u0085\u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008\u2009"
        u"\u200A\u2028\u2029\u202F\u205F\u3000";
    return blanks.find(unit) != Wide::npos;
}

bool IsDigit(char unit) {
    return unit >= '0' && unit <= '9';
}

// As much of the text as is a decimal number, a sign before it included; blanks before that are passed over.
std::string NumberIn(const Wide& text) {
    std::string ascii;
    for (const char16_t unit : text) {
        if (!ascii.empty() || !IsBlank(unit)) {
            ascii += unit < 0x80 ? static_cast<char>(unit) : '?';
        }
    }
    ascii += '?';
    std::size_t at = 0;
    at += ascii[at] == '-' || ascii[at] == '+' ? 1 : 0;
    std::size_t digits = 0;
    for (; IsDigit(ascii[at]); ++at) {
        ++digits;
    }
    if (ascii[at] == '.') {
        for (++at; IsDigit(ascii[at]); ++at) {
            ++digits;
        }
    }
    if (digits == 0) {
        return "0";
    }
    if (ascii[at] == 'e' || ascii[at] == 'E') {
        std::size_t exponent = at + 1;
        exponent += ascii[exponent] == '-' || ascii[exponent] == '+' ? 1 : 0;
        for (; IsDigit(ascii[exponent]); ++exponent) {
            at = exponent + 1;
        }
    }
    return ascii.substr(0, at);
}

int NaiveGrade(Wide name) {
    name = name.substr(0, name.find(u'\0'));
    while (!name.empty() && IsBlank(name.front())) {
        name.erase(0, 1);
    }
    while (!name.empty() && IsBlank(name.back())) {
        name.pop_back();
    }
    if (name == u"工程") {
        return -1000;
    }
    std::erase(name, u'层');
    name = name.substr(0, name.find(u'/'));
    name = name.substr(0, name.find(u','));
    const double grade = std::strtod(NumberIn(name).c_str(), nullptr) * 10.0;
    return static_cast<int>(
        std::trunc(std::clamp<double>(grade, std::numeric_limits<int>::min(), std::numeric_limits<int>::max())));
}

// Whether the label is digits, one "层" and then nothing that could go on with the number.
bool IsPlainFloor(const Wide& label) {
    const std::size_t end = label.find_first_not_of(u"0123456789");
    if (end == 0 || end == Wide::npos || label[end] != u'层') {
        return false;
    }
    return label.find_first_of(u"0123456789.eE+-层", end + 1) != end + 1;
}

void CheckLabel(const std::string& label) {
    const std::string module = ModuleFloorName(label);
    Require(module.find("层") == std::string::npos, "the module's name has no 层");
    Require(FloorLabel(module) == label, "a label comes back from its module name");
    const CString wide = norvex::text::FromUtf8(module);
    Require(Units(norvex::text::NarrowToWideCounted(norvex::text::WideToNarrowCounted(Units(wide)))) == Units(wide),
            "the module's name survives the code page");
    const Wide units = Units(norvex::text::FromUtf8(label));
    if (IsPlainFloor(units)) {
        Require(CComMethod::GetFloorGrade(wide) == CComMethod::GetFloorGrade(Host(units)), "a floor keeps its grade");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view rest = TextOf(data, size);
    const Wide whole = WideOf(rest);
    Require(CComMethod::GetFloorGrade(Host(whole)) == NaiveGrade(whole), "a grade is that of the naive twin");
    // What a label is made of has been through a reader, and so is well-formed.
    std::vector<std::string> storeys;
    while (!rest.empty() && storeys.size() < 12) {
        storeys.push_back(norvex::text::ToUtf8(Host(WideOf(TakePiece(rest, '\n')))));
        const Wide units = Units(norvex::text::FromUtf8(storeys.back()));
        Require(CComMethod::GetFloorGrade(Host(units)) == NaiveGrade(units), "a grade is that of the naive twin");
    }
    const std::vector<FloorName> names = NameFloors(storeys);
    Require(names.size() == storeys.size(), "every storey has a name");
    std::set<std::string> labels;
    std::set<std::string> modules;
    for (std::size_t i = 0; i < names.size(); ++i) {
        Require(names[i].storey == storeys[i] && labels.insert(names[i].label).second &&
                    modules.insert(names[i].module).second,
                "no two labels and no two module names are equal");
        Require(names[i].module == ModuleFloorName(names[i].label), "a module name is that of its label");
        CheckLabel(names[i].label);
    }
    return 0;
}
