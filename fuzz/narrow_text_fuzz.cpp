// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Promise.h"
#include "fuzz/WideText.h"
#include "platform/text/CodePage.h"
#include "report/DisplayText.h"

#include <algorithm>

// Bytes as narrow text, as UTF-8 and as text for a terminal: conversions give well-formed text, keep what can be kept,
// and change nothing the second time.

namespace {

using namespace norvex::fuzz;
using namespace norvex::text;

bool IsWellFormed(const std::string& utf8) {
    return ToUtf8(FromUtf8(utf8)) == utf8;
}

// A control character of ASCII, which may steer a terminal.
bool Steers(char byte) {
    return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F;
}

void CheckNarrow(std::string_view bytes) {
    const CString wide = NarrowToWideCounted(bytes);
    Require(static_cast<std::size_t>(wide.GetLength()) <= bytes.size(), "narrow text does not grow");
    const std::string narrow = WideToNarrowCounted(View(wide));
    Require(Units(NarrowToWideCounted(narrow)) == Units(wide), "what was narrow is narrow again");
    Require(Units(NarrowToWide(bytes)) == Units(NarrowToWideCounted(bytes.substr(0, bytes.find('\0')))),
            "uncounted text ends at its NUL");
}

void CheckWide(const Wide& units) {
    const std::string narrow = WideToNarrowCounted(units);
    Require(narrow.size() >= units.size() && narrow.size() <= 2 * units.size(), "a unit is one byte or two");
    const std::string utf8 = ToUtf8(Host(units));
    Require(IsWellFormed(utf8), "UTF-8 is well-formed");
}

void CheckTerminal(std::string_view bytes) {
    using namespace norvex::report;
    const std::string shown = Sanitised(bytes);
    Require(IsWellFormed(shown) && std::none_of(shown.begin(), shown.end(), Steers), "nothing steers the terminal");
    Require(Sanitised(shown) == shown, "what is safe stays as it is");
    constexpr std::size_t kWidth = 10;
    const std::vector<std::string> lines = Wrapped(shown, kWidth);
    Require(!lines.empty(), "there is a line");
    for (const std::string& line : lines) {
        Require(IsWellFormed(line) && DisplayWidth(line) <= kWidth, "a line is no wider than asked for");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = TextOf(data, size);
    CheckNarrow(bytes);
    CheckWide(WideOf(bytes));
    CheckTerminal(bytes);
    return 0;
}
