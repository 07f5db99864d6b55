// SPDX-License-Identifier: Apache-2.0
#include "cli/CommandLine.h"
#include "fuzz/Promise.h"

#include <string>
#include <vector>

// Words of a command line, one on each line. Whatever they are, they ask for one command, for help, or are refused with
// one sentence; nothing is done yet, and reading them again gives the same.

namespace {

using namespace norvex::fuzz;
using norvex::cli::CommandLine;
using norvex::cli::Reading;

Reading Read(const std::vector<std::string>& words) {
    std::vector<const char*> pointers{"norvex"};
    for (const std::string& word : words) {
        pointers.push_back(word.c_str());
    }
    CommandLine line;
    Reading reading = line.Read(static_cast<int>(pointers.size()), pointers.data());
    Require((reading.run != nullptr) == (reading.kind == Reading::Kind::Command), "only a command can be run");
    // What a command keeps ends with the line.
    reading.run = nullptr;
    return reading;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view rest = TextOf(data, size);
    std::vector<std::string> words;
    while (!rest.empty() && words.size() < 32) {
        // A word ends at a NUL.
        const std::string_view word = TakePiece(rest, '\n');
        words.emplace_back(word.substr(0, word.find('\0')));
    }
    const Reading reading = Read(words);
    if (reading.kind == Reading::Kind::WrongUse) {
        Require(reading.text.ends_with("(norvex --help explains)."), "what is refused is told in one sentence");
    } else {
        Require(reading.text.empty() == (reading.kind == Reading::Kind::Command), "help is a text");
    }
    // To make the commands and options takes most of the time; an eighth of the inputs is enough for this.
    if (size % 8 == 0) {
        const Reading again = Read(words);
        Require(again.kind == reading.kind && again.text == reading.text, "the same words mean the same");
    }
    return 0;
}
