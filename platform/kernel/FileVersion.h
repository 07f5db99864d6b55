// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/kernel/KernelTypes.h"

#include <cstddef>
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

// Finds the version resource (VS_VERSIONINFO) in the bytes of a module. Windows modules keep it in their resource
// section, type 16, name 1 or else the first, first language. ELF modules, 32 or 64 bit, little-endian, keep the same
// bytes in a note of the name "Norvex" and type 1, which cmake/NorvexRule.cmake writes. Returns: a view into the
// module, as long as the resource's own length field says; empty when there is none or when any offset or size in the
// module does not fit. Never reads outside the bytes; time grows with their number.
NORVEX_PLATFORM_API std::span<const std::byte> FindVersionResource(std::span<const std::byte> module);

// Where the fixed file information begins in a version resource. Empty when the resource is not one, is cut short or
// holds no fixed file information.
NORVEX_PLATFORM_API std::optional<std::size_t> FixedFileInfoOffset(std::span<const std::byte> resource);

}  // namespace norvex::kernel
