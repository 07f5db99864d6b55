// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Encodings.h"
#include "fuzz/Promise.h"
#include "platform/datamng/ProjectFile.h"

#include <string>

// Whatever the bytes are, reading project data gives a line and a sentence or data that is written and read back alike,
// in UTF-16 as in UTF-8. Goes through the XML reader, and so through every encoding that it knows.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace norvex::fuzz;
    using namespace norvex::datamng;
    const ProjectReadResult read = ReadProjectData(TextOf(data, size));
    if (!read.data) {
        Require(read.line >= 1 && !read.sentence.empty(), "what cannot be read says where and why");
        return 0;
    }
    const std::string written = WriteProjectData(*read.data);
    const ProjectReadResult again = ReadProjectData(written);
    Require(again.data.has_value(), "what was written can be read");
    Require(WriteProjectData(*again.data) == written, "what was read back is written alike");
    // Without the declaration, which names the other encoding.
    const std::string_view plain = std::string_view(written).substr(written.find("<projectData"));
    for (const Encoding encoding : {Encoding::Utf16Little, Encoding::Utf16Big}) {
        const ProjectReadResult encoded = ReadProjectData(ToEncoding(plain, encoding));
        Require(encoded.data && WriteProjectData(*encoded.data) == written, "UTF-16 gives the same data");
    }
    ProjectData merged = *read.data;
    merged.Merge(*again.data);
    Require(WriteProjectData(merged) == written, "data merged with itself stays as it is");
    return 0;
}
