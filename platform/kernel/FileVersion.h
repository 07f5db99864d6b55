// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/kernel/KernelTypes.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

// Fixed file information of a version resource, little-endian in the file and here. A version is four 16-bit numbers:
// the halves of the most significant part, then those of the least significant one, high half first.
struct VS_FIXEDFILEINFO {
    DWORD dwSignature;
    DWORD dwStrucVersion;
    DWORD dwFileVersionMS;
    DWORD dwFileVersionLS;
    DWORD dwProductVersionMS;
    DWORD dwProductVersionLS;
    DWORD dwFileFlagsMask;
    DWORD dwFileFlags;
    DWORD dwFileOS;
    DWORD dwFileType;
    DWORD dwFileSubtype;
    DWORD dwFileDateMS;
    DWORD dwFileDateLS;
};

namespace norvex::kernel {

// A module's bytes, wherever they lie. A module may be larger than memory, so it is looked at piece by piece.
class NORVEX_PLATFORM_API ModuleReader {
  public:
    virtual ~ModuleReader();
    virtual std::uint64_t Size() const = 0;
    // Fills out with the bytes from offset on. Requires: they lie within Size(). Returns false when they cannot be
    // read.
    virtual bool Read(std::uint64_t offset, std::span<std::byte> out) const = 0;
};

// Bytes of a module; size is never 0.
struct ModulePart {
    std::uint64_t offset;
    std::size_t size;
};

// Finds the version resource (VS_VERSIONINFO) of a module. Windows modules keep it in their resource section, type 16,
// name 1 or else the first, first language. ELF modules, 32 or 64 bit, little-endian, keep the same bytes in a note of
// the name "Norvex" and type 1, which cmake/NorvexRule.cmake writes. Returns: where it lies, as long as its own 16-bit
// length field says; nothing when there is none or when any offset or size in the module does not fit. Reads headers
// and tables alone, asks for no memory, and never reads outside the module; time grows with the sizes of its tables.
NORVEX_PLATFORM_API std::optional<ModulePart> FindVersionResource(const ModuleReader& module);
// The same in bytes that are in memory already. Returns: a view into them; empty when there is none.
NORVEX_PLATFORM_API std::span<const std::byte> FindVersionResource(std::span<const std::byte> module);

// Where the fixed file information begins in a version resource. Empty when the resource is not one, is cut short or
// holds no fixed file information.
NORVEX_PLATFORM_API std::optional<std::size_t> FixedFileInfoOffset(std::span<const std::byte> resource);

}  // namespace norvex::kernel
