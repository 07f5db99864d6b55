// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Promise.h"
#include "platform/kernel/FileVersion.h"

#include <algorithm>
#include <span>

// Whatever the bytes are, a version resource that is found lies inside them, is as long as it says, and fixed file
// information that is found lies inside the resource. A module on the disk, read piece by piece, gives the same, with
// work that grows with its size, and one that cannot be read any more gives nothing.

namespace {

using namespace norvex::fuzz;
using namespace norvex::kernel;

using Bytes = std::span<const std::byte>;

// Gives what is asked for until it has been asked so often.
class Reader final : public ModuleReader {
  public:
    Reader(Bytes module, std::size_t mostReads) : m_module(module), m_left(mostReads) {}

    std::uint64_t Size() const override { return m_module.size(); }
    bool Read(std::uint64_t offset, std::span<std::byte> out) const override {
        Require(offset <= m_module.size() && out.size() <= m_module.size() - offset, "only what is there is read");
        if (m_left == 0) {
            m_isRefused = true;
            return false;
        }
        --m_left;
        std::copy_n(m_module.begin() + static_cast<std::ptrdiff_t>(offset), out.size(), out.begin());
        return true;
    }

    std::size_t Left() const { return m_left; }
    bool IsRefused() const { return m_isRefused; }

  private:
    Bytes m_module;
    mutable std::size_t m_left;
    mutable bool m_isRefused = false;
};

void CheckPieces(Bytes module, Bytes resource) {
    // The tables of an input hold an entry for a few bytes each, and notes are given up after so many.
    const std::size_t most = 8 * module.size() + 16 * 4096;
    const Reader reader(module, most);
    const std::optional<ModulePart> part = FindVersionResource(reader);
    Require(!reader.IsRefused(), "work grows with the size of a module");
    Require(part.has_value() == !resource.empty(), "a file gives what memory gives");
    Require(!part || (part->size == resource.size() && module.data() + part->offset == resource.data()),
            "a file gives what memory gives");
    // It fails somewhere on the way, and where follows from the input.
    const std::size_t needed = most - reader.Left();
    const Reader failing(module, module.size() % std::max<std::size_t>(needed, 1));
    const std::optional<ModulePart> failed = FindVersionResource(failing);
    Require(!failed || (failed->offset <= module.size() && failed->size <= module.size() - failed->offset),
            "a resource lies in its module");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes module = std::as_bytes(std::span(data, size));
    const Bytes resource = FindVersionResource(module);
    if (!resource.empty()) {
        Require(resource.data() >= module.data() && resource.data() + resource.size() <= module.data() + module.size(),
                "a resource lies in its module");
        Require(resource.size() == std::to_integer<std::size_t>(resource[0]) +
                                       (resource.size() > 1 ? std::to_integer<std::size_t>(resource[1]) << 8 : 0),
                "a resource is as long as it says");
    }
    for (const Bytes tried : {resource, module}) {
        const auto offset = FixedFileInfoOffset(tried);
        Require(!offset || *offset + sizeof(VS_FIXEDFILEINFO) <= tried.size(),
                "fixed information lies in its resource");
    }
    CheckPieces(module, resource);
    return 0;
}
