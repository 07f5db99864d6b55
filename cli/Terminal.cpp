// SPDX-License-Identifier: Apache-2.0
#include "cli/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace norvex::cli {
namespace {

constexpr std::size_t kWidthOfFiles = 120;
constexpr std::size_t kWidthOfUnknownTerminal = 80;

std::size_t TerminalWidth(int descriptor) {
    winsize size{};
    if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
        return kWidthOfUnknownTerminal;
    }
    return size.ws_col;
}

bool IsDumb() {
    const char* terminal = std::getenv("TERM");
    return terminal == nullptr || std::string_view(terminal) == "dumb";
}

}  // namespace

report::TextStyle StyleOfOutput(bool noColour) {
    report::TextStyle style;
    const bool isTerminal = isatty(STDOUT_FILENO) == 1;
    const char* wish = std::getenv("NO_COLOR");
    style.width = isTerminal ? TerminalWidth(STDOUT_FILENO) : kWidthOfFiles;
    style.colour = isTerminal && !IsDumb() && !noColour && (wish == nullptr || wish[0] == '\0');
    return style;
}

bool CanRedrawErrors() {
    return isatty(STDERR_FILENO) == 1 && !IsDumb();
}

std::size_t WidthOfErrors() {
    return TerminalWidth(STDERR_FILENO);
}

}  // namespace norvex::cli
