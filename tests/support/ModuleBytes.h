// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

// Small module files made in code: just enough of each format to carry a version resource.
namespace norvex::test {

using Version = std::array<std::uint16_t, 4>;

inline void Append(std::string& bytes, std::uint64_t value, int size) {
    for (int index = 0; index < size; ++index) {
        bytes.push_back(static_cast<char>(static_cast<unsigned char>(value)));
        value >>= 8;
    }
}

inline void Overwrite(std::string& bytes, std::size_t offset, std::uint64_t value, int size) {
    std::string part;
    Append(part, value, size);
    bytes.replace(offset, part.size(), part);
}

// A version resource whose product version differs from its file version.
inline std::string VersionResource(const Version& version) {
    std::string bytes;
    Append(bytes, 92, 2);  // length of the whole
    Append(bytes, 52, 2);  // length of the fixed file information
    Append(bytes, 0, 2);   // binary
    for (const char unit : std::string_view("VS_VERSION_INFO\0\0", 17)) {
        Append(bytes, static_cast<unsigned char>(unit), 2);
    }
    Append(bytes, 0xFEEF04BD, 4);
    Append(bytes, 0x10000, 4);
    Append(bytes, static_cast<std::uint64_t>(version[0]) << 16 | version[1], 4);
    Append(bytes, static_cast<std::uint64_t>(version[2]) << 16 | version[3], 4);
    Append(bytes, 0x00630063, 4);
    Append(bytes, 0x00630063, 4);
    bytes.resize(92);
    return bytes;
}

// Offsets in the file that WindowsModule makes.
inline constexpr std::size_t kPeHeader = 0x40;
inline constexpr std::size_t kPeOptionalHeader = kPeHeader + 24;
inline constexpr std::size_t kPeResources = 0x200;
inline constexpr std::uint32_t kPeResourceAddress = 0x3000;

// A Windows module with two sections, the second of which holds one resource: type 16, name `name`, one language.
inline std::string WindowsModule(const std::string& resource, bool is64Bit = true, std::uint32_t name = 1) {
    const std::uint16_t optionalHeaderSize = is64Bit ? 240 : 224;
    std::string bytes = "MZ";
    bytes.resize(0x3C);
    Append(bytes, kPeHeader, 4);
    bytes.append("PE\0\0", 4);
    Append(bytes, is64Bit ? 0x8664 : 0x14C, 2);
    Append(bytes, 2, 2);  // sections
    Append(bytes, 0, 12);
    Append(bytes, optionalHeaderSize, 2);
    Append(bytes, 0x2022, 2);
    std::string optional;
    Append(optional, is64Bit ? 0x20B : 0x10B, 2);
    optional.resize(is64Bit ? 108 : 92);
    Append(optional, 16, 4);  // data directories
    Append(optional, 0, 16);
    Append(optional, kPeResourceAddress, 4);
    Append(optional, 0x1000, 4);
    optional.resize(optionalHeaderSize);
    bytes += optional;
    const auto section = [&](std::string_view title, std::uint32_t address, std::uint32_t size, std::size_t offset) {
        bytes += title;
        bytes.append(8 - title.size(), '\0');
        Append(bytes, size, 4);
        Append(bytes, address, 4);
        Append(bytes, size, 4);
        Append(bytes, offset, 4);
        Append(bytes, 0, 16);
    };
    const std::size_t resourceSize = 3 * 24 + 16 + resource.size();
    section(".text", 0x1000, 0, 0);
    section(".rsrc", kPeResourceAddress, static_cast<std::uint32_t>(resourceSize), kPeResources);
    bytes.resize(kPeResources);
    const auto directory = [&](std::uint32_t id, std::uint32_t target) {
        Append(bytes, 0, 14);
        Append(bytes, 1, 2);
        Append(bytes, id, 4);
        Append(bytes, target, 4);
    };
    directory(16, 0x80000000U | 24);
    directory(name, 0x80000000U | 48);
    directory(0x804, 72);
    Append(bytes, kPeResourceAddress + 88, 4);
    Append(bytes, resource.size(), 4);
    Append(bytes, 0, 8);
    return bytes + resource;
}

// An ELF module with one segment of notes: a foreign one, then the version's.
inline std::string ElfModule(const std::string& resource, bool is64Bit = true) {
    std::string notes;
    const auto note = [&](std::string_view owner, std::uint32_t type, const std::string& content) {
        Append(notes, owner.size(), 4);
        Append(notes, content.size(), 4);
        Append(notes, type, 4);
        notes += owner;
        notes.append((4 - notes.size() % 4) % 4, '\0');
        notes += content;
        notes.append((4 - notes.size() % 4) % 4, '\0');
    };
    note(std::string_view("GNU\0", 4), 3, "0123456789abcdefghij");
    note(std::string_view("Norvex\0", 7), 1, resource);
    const int width = is64Bit ? 8 : 4;
    const std::uint64_t headerSize = is64Bit ? 64 : 52;
    const std::uint64_t segmentHeaderSize = is64Bit ? 56 : 32;
    const std::uint64_t notesOffset = headerSize + segmentHeaderSize;
    std::string bytes =
        "\x7F"
        "ELF";
    Append(bytes, is64Bit ? 2 : 1, 1);
    Append(bytes, 1, 1);  // little-endian
    Append(bytes, 1, 10);
    Append(bytes, 3, 2);  // shared object
    Append(bytes, 62, 2);
    Append(bytes, 1, 4);
    Append(bytes, 0, width);
    Append(bytes, headerSize, width);  // segment table
    Append(bytes, 0, width);
    Append(bytes, 0, 4);
    Append(bytes, headerSize, 2);
    Append(bytes, segmentHeaderSize, 2);
    Append(bytes, 1, 2);
    Append(bytes, 0, 6);
    Append(bytes, 4, 4);  // notes
    if (is64Bit) {
        Append(bytes, 4, 4);
    }
    Append(bytes, notesOffset, width);
    Append(bytes, 0, width);
    Append(bytes, 0, width);
    Append(bytes, notes.size(), width);
    Append(bytes, notes.size(), width);
    if (!is64Bit) {
        Append(bytes, 4, 4);
    }
    Append(bytes, 4, width);
    return bytes + notes;
}

// Where the notes begin in a 64-bit ElfModule, and its headers with the notes at another place.
inline constexpr std::size_t kElfNotes = 64 + 56;
inline std::string ElfHeaders(std::uint64_t notesOffset) {
    std::string headers = ElfModule(VersionResource({})).substr(0, kElfNotes);
    Overwrite(headers, 64 + 8, notesOffset, 8);
    return headers;
}

// The headers of a 64-bit WindowsModule with the resources at another place of the file.
inline std::string WindowsHeaders(std::uint32_t resourcesOffset) {
    std::string headers = WindowsModule(VersionResource({})).substr(0, kPeResources);
    Overwrite(headers, kPeOptionalHeader + 240 + 40 + 20, resourcesOffset, 4);
    return headers;
}

}  // namespace norvex::test
