// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Promise.h"
#include "platform/kernel/FileVersion.h"

#include <span>

// Whatever the bytes are, a version resource that is found lies inside them, is as long as it says, and fixed file
// information that is found lies inside the resource.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace norvex::fuzz;
    const std::span<const std::byte> module = std::as_bytes(std::span(data, size));
    const std::span<const std::byte> resource = norvex::kernel::FindVersionResource(module);
    if (!resource.empty()) {
        Require(resource.data() >= module.data() && resource.data() + resource.size() <= module.data() + module.size(),
                "a resource lies in its module");
        Require(resource.size() == std::to_integer<std::size_t>(resource[0]) +
                                       (resource.size() > 1 ? std::to_integer<std::size_t>(resource[1]) << 8 : 0),
                "a resource is as long as it says");
    }
    for (const std::span<const std::byte> tried : {resource, module}) {
        const auto offset = norvex::kernel::FixedFileInfoOffset(tried);
        Require(!offset || *offset + sizeof(VS_FIXEDFILEINFO) <= tried.size(),
                "fixed information lies in its resource");
    }
    return 0;
}
