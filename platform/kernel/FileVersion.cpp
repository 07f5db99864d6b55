// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/FileVersion.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace norvex::kernel {

namespace {

// A part of a module. Cutting it moves two numbers; bytes are read when they are asked for.
class Bytes {
  public:
    Bytes() = default;
    explicit Bytes(const ModuleReader& module) : m_module(&module), m_size(module.Size()) {}

    bool empty() const { return m_size == 0; }
    std::uint64_t size() const { return m_size; }
    std::uint64_t Offset() const { return m_offset; }
    // Everything behind the first so many bytes. Requires: there are as many.
    Bytes Behind(std::uint64_t offset) const { return Bytes(*this, offset, m_size - offset); }
    bool Read(std::uint64_t offset, std::span<std::byte> out) const {
        return offset <= m_size && out.size() <= m_size - offset && m_module->Read(m_offset + offset, out);
    }

  private:
    friend Bytes Part(const Bytes& bytes, std::uint64_t offset, std::uint64_t size);
    Bytes(const Bytes& whole, std::uint64_t offset, std::uint64_t size)
        : m_module(whole.m_module), m_offset(whole.m_offset + offset), m_size(size) {}

    const ModuleReader* m_module = nullptr;
    std::uint64_t m_offset = 0;
    std::uint64_t m_size = 0;
};

// Offsets and sizes in modules are at most 64 bits wide; every access goes through these checks.
Bytes Part(const Bytes& bytes, std::uint64_t offset, std::uint64_t size) {
    if (offset > bytes.size() || size > bytes.size() - offset) {
        return {};
    }
    return Bytes(bytes, offset, size);
}

// A little-endian number of so many bytes; nothing when it does not fit.
std::optional<std::uint64_t> Number(const Bytes& bytes, std::uint64_t offset, std::size_t size) {
    std::array<std::byte, sizeof(std::uint64_t)> digits{};
    if (!bytes.Read(offset, std::span(digits).first(size))) {
        return std::nullopt;
    }
    std::uint64_t value = 0;
    for (std::size_t index = size; index-- > 0;) {
        value = value << 8 | std::to_integer<std::uint64_t>(digits[index]);
    }
    return value;
}

std::uint64_t NumberOr0(const Bytes& bytes, std::uint64_t offset, std::size_t size) {
    return Number(bytes, offset, size).value_or(0);
}

bool BeginsWith(const Bytes& bytes, std::string_view beginning) {
    constexpr std::size_t kLongest = 8;
    std::array<std::byte, kLongest> read{};
    return beginning.size() <= kLongest && bytes.Read(0, std::span(read).first(beginning.size())) &&
           std::equal(beginning.begin(), beginning.end(), read.begin(),
                      [](char wanted, std::byte byte) { return static_cast<std::byte>(wanted) == byte; });
}

// The resource as long as its own length field says; empty when that is longer than what there is, or too short for the
// length, value length and type that every resource begins with.
Bytes CutToOwnLength(const Bytes& resource) {
    constexpr std::uint64_t kHeaderSize = 6;
    const std::uint64_t length = NumberOr0(resource, 0, 2);
    return length < kHeaderSize ? Bytes{} : Part(resource, 0, length);
}

// --- Windows modules ---

struct Section {
    std::uint64_t address;
    std::uint64_t fileOffset;
    std::uint64_t size;
};

// The part of the file that is mapped from an address to the end of its section.
Bytes FromAddress(const Bytes& module, std::uint64_t sectionTable, std::uint64_t sectionCount, std::uint64_t address) {
    constexpr std::uint64_t kSectionHeaderSize = 40;
    for (std::uint64_t index = 0; index < sectionCount; ++index) {
        const Bytes header = Part(module, sectionTable + index * kSectionHeaderSize, kSectionHeaderSize);
        if (header.empty()) {
            return {};
        }
        const Section section{NumberOr0(header, 12, 4), NumberOr0(header, 20, 4), NumberOr0(header, 16, 4)};
        if (address >= section.address && address - section.address < section.size) {
            const Bytes content = Part(module, section.fileOffset, section.size);
            return content.empty() ? content : content.Behind(address - section.address);
        }
    }
    return {};
}

// One level of the resource tree: the offset that the entry of the wanted id leads to, or that of the first entry.
struct ResourceEntry {
    std::uint64_t offset;
    bool isDirectory;
};

std::optional<ResourceEntry> FindEntry(const Bytes& resources, std::uint64_t directory,
                                       std::optional<std::uint64_t> wantedId, bool orFirst) {
    constexpr std::uint64_t kDirectoryHeaderSize = 16;
    constexpr std::uint64_t kEntrySize = 8;
    constexpr std::uint64_t kIsDirectory = 0x80000000;
    const std::uint64_t count = NumberOr0(resources, directory + 12, 2) + NumberOr0(resources, directory + 14, 2);
    std::optional<std::uint64_t> target;
    for (std::uint64_t index = 0; index < count; ++index) {
        const std::uint64_t entry = directory + kDirectoryHeaderSize + index * kEntrySize;
        const auto id = Number(resources, entry, 4);
        const auto offset = Number(resources, entry + 4, 4);
        if (!id || !offset) {
            break;
        }
        if (wantedId && *id == *wantedId) {
            target = offset;
            break;
        }
        if (orFirst && !target) {
            target = offset;
        }
    }
    if (!target) {
        return std::nullopt;
    }
    return ResourceEntry{*target & ~kIsDirectory, (*target & kIsDirectory) != 0};
}

Bytes FindInWindowsModule(const Bytes& module) {
    constexpr std::uint64_t kVersionType = 16;
    constexpr std::uint64_t kVersionName = 1;
    const std::uint64_t header = NumberOr0(module, 0x3C, 4);
    if (!BeginsWith(Part(module, header, 4), std::string_view("PE\0\0", 4))) {
        return {};
    }
    const std::uint64_t sectionCount = NumberOr0(module, header + 6, 2);
    const std::uint64_t optionalHeaderSize = NumberOr0(module, header + 20, 2);
    const std::uint64_t optionalHeader = header + 24;
    const std::uint64_t magic = NumberOr0(module, optionalHeader, 2);
    if (magic != 0x10B && magic != 0x20B) {
        return {};
    }
    // 32-bit and 64-bit modules differ in the width of some fields before the data directories.
    const std::uint64_t directories = optionalHeader + (magic == 0x10B ? 96 : 112);
    const std::uint64_t directoryCount = NumberOr0(module, directories - 4, 4);
    constexpr std::uint64_t kResourceDirectory = 2;
    if (directoryCount <= kResourceDirectory) {
        return {};
    }
    const std::uint64_t sectionTable = optionalHeader + optionalHeaderSize;
    const std::uint64_t resourceAddress = NumberOr0(module, directories + 8 * kResourceDirectory, 4);
    if (resourceAddress == 0) {
        return {};
    }
    const Bytes resources = FromAddress(module, sectionTable, sectionCount, resourceAddress);
    const auto type = FindEntry(resources, 0, kVersionType, false);
    if (!type || !type->isDirectory) {
        return {};
    }
    const auto name = FindEntry(resources, type->offset, kVersionName, true);
    if (!name || !name->isDirectory) {
        return {};
    }
    const auto language = FindEntry(resources, name->offset, std::nullopt, true);
    if (!language || language->isDirectory) {
        return {};
    }
    const auto dataAddress = Number(resources, language->offset, 4);
    const auto dataSize = Number(resources, language->offset + 4, 4);
    if (!dataAddress || !dataSize) {
        return {};
    }
    return CutToOwnLength(Part(FromAddress(module, sectionTable, sectionCount, *dataAddress), 0, *dataSize));
}

// --- ELF modules ---

// Where the fields of program headers lie; the classes differ in their order and width.
struct ElfLayout {
    std::uint64_t headerOffset, headerSize, headerCount;
    std::uint64_t segmentOffset, segmentSize, segmentAlignment;
    std::size_t width;
};

constexpr ElfLayout kElf32{28, 42, 44, 4, 16, 28, 4};
constexpr ElfLayout kElf64{32, 54, 56, 8, 32, 48, 8};

std::uint64_t RoundedUp(std::uint64_t value, std::uint64_t alignment) {
    return (value + alignment - 1) / alignment * alignment;
}

// Walks the notes of one segment. `budget` counts the notes that may still be looked at in the whole module.
Bytes FindInNotes(Bytes notes, std::uint64_t alignment, int& budget) {
    constexpr std::string_view kOwner("Norvex\0", 7);
    constexpr std::uint64_t kVersionType = 1;
    constexpr std::uint64_t kNoteHeaderSize = 12;
    while (notes.size() >= kNoteHeaderSize && budget-- > 0) {
        const std::uint64_t nameSize = NumberOr0(notes, 0, 4);
        const std::uint64_t contentSize = NumberOr0(notes, 4, 4);
        const std::uint64_t content = RoundedUp(kNoteHeaderSize + nameSize, alignment);
        if (NumberOr0(notes, 8, 4) == kVersionType && nameSize == kOwner.size() &&
            BeginsWith(Part(notes, kNoteHeaderSize, nameSize), kOwner)) {
            return CutToOwnLength(Part(notes, content, contentSize));
        }
        const std::uint64_t next = RoundedUp(content + contentSize, alignment);
        if (next > notes.size()) {
            return {};
        }
        notes = notes.Behind(next);
    }
    return {};
}

Bytes FindInElfModule(const Bytes& module) {
    constexpr std::uint64_t kLittleEndian = 1;
    constexpr std::uint64_t kNoteSegment = 4;
    const std::uint64_t elfClass = NumberOr0(module, 4, 1);
    if ((elfClass != 1 && elfClass != 2) || NumberOr0(module, 5, 1) != kLittleEndian) {
        return {};
    }
    const ElfLayout& layout = elfClass == 1 ? kElf32 : kElf64;
    const std::uint64_t table = NumberOr0(module, layout.headerOffset, layout.width);
    const std::uint64_t headerSize = NumberOr0(module, layout.headerSize, 2);
    const std::uint64_t headerCount = NumberOr0(module, layout.headerCount, 2);
    // Segments may overlap; without a limit, 65,535 headers over the same notes would take time beyond any module's.
    int budget = 4096;
    for (std::uint64_t index = 0; index < headerCount; ++index) {
        // A table beyond the file is refused before its offset can wrap.
        const Bytes header = table > module.size() ? Bytes{} : Part(module, table + index * headerSize, headerSize);
        if (header.size() < layout.segmentAlignment + layout.width) {
            return {};
        }
        if (NumberOr0(header, 0, 4) != kNoteSegment) {
            continue;
        }
        const Bytes notes = Part(module, NumberOr0(header, layout.segmentOffset, layout.width),
                                 NumberOr0(header, layout.segmentSize, layout.width));
        const std::uint64_t alignment = NumberOr0(header, layout.segmentAlignment, layout.width) == 8 ? 8 : 4;
        if (const Bytes found = FindInNotes(notes, alignment, budget); !found.empty()) {
            return found;
        }
    }
    return {};
}

// A module that is in memory as a whole.
class MemoryReader final : public ModuleReader {
  public:
    explicit MemoryReader(std::span<const std::byte> bytes) : m_bytes(bytes) {}

    std::uint64_t Size() const override { return m_bytes.size(); }
    bool Read(std::uint64_t offset, std::span<std::byte> out) const override {
        std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(offset), out.size(), out.begin());
        return true;
    }

  private:
    std::span<const std::byte> m_bytes;
};

}  // namespace

ModuleReader::~ModuleReader() = default;

std::optional<ModulePart> FindVersionResource(const ModuleReader& module) {
    const Bytes bytes(module);
    Bytes found;
    if (BeginsWith(bytes, "MZ")) {
        found = FindInWindowsModule(bytes);
    } else if (BeginsWith(bytes,
                          "\x7F"
                          "ELF")) {
        found = FindInElfModule(bytes);
    }
    if (found.empty()) {
        return std::nullopt;
    }
    return ModulePart{found.Offset(), static_cast<std::size_t>(found.size())};
}

std::span<const std::byte> FindVersionResource(std::span<const std::byte> module) {
    const auto found = FindVersionResource(MemoryReader(module));
    return found ? module.subspan(static_cast<std::size_t>(found->offset), found->size) : module.first(0);
}

std::optional<std::size_t> FixedFileInfoOffset(std::span<const std::byte> resource) {
    // Length, value length, type, "VS_VERSION_INFO" with its NUL, and padding to four bytes.
    constexpr std::u16string_view kKey = u"VS_VERSION_INFO";
    constexpr std::size_t kKeyOffset = 6;
    constexpr std::size_t kInfoOffset = 40;
    constexpr std::uint64_t kSignature = 0xFEEF04BD;
    const MemoryReader reader(resource);
    const Bytes own = CutToOwnLength(Bytes(reader));
    if (NumberOr0(own, 2, 2) < sizeof(VS_FIXEDFILEINFO) || Part(own, kInfoOffset, sizeof(VS_FIXEDFILEINFO)).empty() ||
        Number(own, kInfoOffset, 4) != kSignature) {
        return std::nullopt;
    }
    for (std::size_t index = 0; index <= kKey.size(); ++index) {
        const char16_t wanted = index < kKey.size() ? kKey[index] : u'\0';
        if (NumberOr0(own, kKeyOffset + 2 * index, 2) != wanted) {
            return std::nullopt;
        }
    }
    return kInfoOffset;
}

}  // namespace norvex::kernel
