// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/kernel/FileVersion.h"
#include "platform/kernel/KernelTypes.h"

// The version resource of a file by the host's path. The file may be of any size: its headers and the resource are read,
// not the file. Nothing is thrown; memory that runs out counts as a file that cannot be read. Any thread.

// Size of the version resource in bytes; 0 when the file has none or cannot be read. handle, when not null, is set to
// 0.
NORVEX_PLATFORM_API DWORD GetFileVersionInfoSizeW(LPCWSTR path, DWORD* handle);
// Copies the version resource, at most size bytes of it, to buffer. Returns 0 when the file has none or when the buffer
// does not hold all of it.
NORVEX_PLATFORM_API BOOL GetFileVersionInfoW(LPCWSTR path, DWORD handle, DWORD size, void* buffer);
// Finds the fixed file information in a version resource that GetFileVersionInfoW gave: the sub-block is "\", others
// are not known. result points into the resource. Returns 0, and leaves result and length as they were, when there is
// none.
NORVEX_PLATFORM_API BOOL VerQueryValueW(const void* resource, LPCWSTR subBlock, void** result, UINT* length);
