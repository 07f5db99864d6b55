// SPDX-License-Identifier: Apache-2.0
#include "platform/datamng/ProjectFile.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

// Whatever the bytes are, reading project data gives a line and a sentence or data that is written and read back alike.
// Goes through the XML reader, and so through every encoding that it knows.

namespace {

void Require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "broken promise: %s\n", what);
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace norvex::datamng;
    const ProjectReadResult read = ReadProjectData({reinterpret_cast<const char*>(data), size});
    if (!read.data) {
        Require(read.line >= 1 && !read.sentence.empty(), "what cannot be read says where and why");
        return 0;
    }
    const std::string written = WriteProjectData(*read.data);
    const ProjectReadResult again = ReadProjectData(written);
    Require(again.data.has_value(), "what was written can be read");
    Require(WriteProjectData(*again.data) == written, "what was read back is written alike");
    return 0;
}
