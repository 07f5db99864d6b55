// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/VersionInfo.h"

#include "platform/kernel/FileSystem.h"
#include "platform/text/CString.h"

#include <sys/stat.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

static_assert(std::endian::native == std::endian::little, "the resource is handed out as it lies in the file");

namespace {

// Larger files are taken to have no version resource: no rule module comes near it, and it bounds what is read.
constexpr std::int64_t kLargestModule = 256LL * 1024 * 1024;

std::vector<std::byte> ReadResource(LPCWSTR path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(_wfopen(path, u"rb"), std::fclose);
    struct stat status {};
    if (file == nullptr || fstat(fileno(file.get()), &status) != 0 || status.st_size > kLargestModule) {
        return {};
    }
    std::vector<std::byte> module(static_cast<std::size_t>(status.st_size));
    module.resize(std::fread(module.data(), 1, module.size(), file.get()));
    const auto resource = norvex::kernel::FindVersionResource(module);
    return {resource.begin(), resource.end()};
}

}  // namespace

DWORD GetFileVersionInfoSizeW(LPCWSTR path, DWORD* handle) {
    if (handle != nullptr) {
        *handle = 0;
    }
    return static_cast<DWORD>(ReadResource(path).size());
}

BOOL GetFileVersionInfoW(LPCWSTR path, DWORD, DWORD size, void* buffer) {
    const std::vector<std::byte> resource = ReadResource(path);
    if (resource.empty() || resource.size() > size) {
        return false;
    }
    std::memcpy(buffer, resource.data(), resource.size());
    return true;
}

BOOL VerQueryValueW(const void* resource, LPCWSTR subBlock, void** result, UINT* length) {
    if (resource == nullptr || CString(subBlock) != u"\\") {
        return false;
    }
    // The resource begins with its own length, which GetFileVersionInfoW has checked.
    WORD size = 0;
    std::memcpy(&size, resource, sizeof(size));
    const auto* bytes = static_cast<const std::byte*>(resource);
    const auto offset = norvex::kernel::FixedFileInfoOffset({bytes, size});
    if (!offset) {
        return false;
    }
    *result = const_cast<std::byte*>(bytes + *offset);
    *length = sizeof(VS_FIXEDFILEINFO);
    return true;
}
