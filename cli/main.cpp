// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <csignal>
#include <exception>
#include <new>
#include <string>

#include "cli/CommandLine.h"
#include "cli/ExitCode.h"
#include "cli/Output.h"
#include "platform/kernel/UnfinishedFile.h"

namespace norvex::cli {
namespace {

int Main(int argc, char** argv) {
    CommandLine line;
    const Reading reading = line.Read(argc, argv);
    switch (reading.kind) {
        case Reading::Kind::Help:
            return WriteOut(reading.text) ? kClean : kIncomplete;
        case Reading::Kind::WrongUse:
            Complain(reading.text);
            return kUnusable;
        case Reading::Kind::Command:
            return reading.run();
    }
    return kUnusable;
}

// Libraries allocate where nothing may be thrown, in destructors above all. When there is no memory for that, the
// program still ends with a sentence and leaves no unfinished file.
[[noreturn]] void EndInOrder() noexcept {
    kernel::RemoveUnfinishedFiles();
    WriteError("norvex: It could not go on, for lack of memory or by a fault of its own; what was recorded stays.\n");
    _exit(kIncomplete);
}

}  // namespace
}  // namespace norvex::cli

int main(int argc, char** argv) {
    norvex::cli::KeepStandardFiles();
    std::set_terminate(norvex::cli::EndInOrder);
    // A reader that goes away is an error of writing, not the end of the process.
    std::signal(SIGPIPE, SIG_IGN);
    // So is a file that grows beyond the limit for one; without a sentence nobody would know what happened.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return norvex::cli::Main(argc, argv);
    } catch (const std::bad_alloc&) {
        norvex::cli::Complain("There is not enough memory.");
    } catch (const std::exception& error) {
        norvex::cli::Complain(std::string("An unexpected error ended the run: ") + error.what() + ".");
    }
    return norvex::cli::kIncomplete;
}
