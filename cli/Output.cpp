// SPDX-License-Identifier: Apache-2.0
#include "cli/Output.h"

#include <fcntl.h>
#include <unistd.h>

#include <fmt/format.h>
#include <cerrno>
#include <cstring>

#include "report/DisplayText.h"

namespace norvex::cli {
namespace {

// Writes all of text. Returns 0 or the error number.
int WriteAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return errno;
        }
        text.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
    return 0;
}

}  // namespace

void KeepStandardFiles() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) == -1) {
            // Opens as the lowest free number, which is this one, and the wrong way round, so that its use fails.
            const int opened = open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
            if (opened < 0) {
                return;
            }
        }
    }
}

bool WriteOut(std::string_view text) {
    const int failure = WriteAll(STDOUT_FILENO, text);
    if (failure != 0) {
        Complain(fmt::format("The result cannot be written to standard output: {}.", std::strerror(failure)));
    }
    return failure == 0;
}

void WriteError(std::string_view text) {
    static_cast<void>(WriteAll(STDERR_FILENO, text));
}

void Complain(std::string_view sentence) {
    WriteError("norvex: " + report::Sanitised(sentence) + "\n");
}

}  // namespace norvex::cli
