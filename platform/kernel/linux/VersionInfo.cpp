// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/VersionInfo.h"

#include "platform/kernel/FileSystem.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string_view>

static_assert(std::endian::native == std::endian::little, "the resource is handed out as it lies in the file");

namespace {

using norvex::kernel::ModulePart;

// A module in a file. Small neighbouring reads, of which tables take many, share one read of a page.
class FileReader final : public norvex::kernel::ModuleReader {
  public:
    explicit FileReader(LPCWSTR path) : m_file(_wfopen(path, u"rb"), std::fclose) {
        struct stat status {};
        if (m_file != nullptr && fstat(fileno(m_file.get()), &status) == 0) {
            m_size = static_cast<std::uint64_t>(status.st_size);
        }
    }

    std::uint64_t Size() const override { return m_size; }

    bool Read(std::uint64_t offset, std::span<std::byte> out) const override {
        if (out.size() > m_page.size()) {
            return ReadFile(offset, out) == out.size();
        }
        if (offset < m_pageOffset || offset + out.size() > m_pageOffset + m_pageSize) {
            m_pageOffset = offset;
            m_pageSize = ReadFile(offset, m_page);
        }
        if (out.size() > m_pageSize) {
            return false;
        }
        std::copy_n(m_page.begin() + static_cast<std::ptrdiff_t>(offset - m_pageOffset), out.size(), out.begin());
        return true;
    }

  private:
    // How many bytes there were; fewer than asked for at the end of the file and when it cannot be read.
    std::size_t ReadFile(std::uint64_t offset, std::span<std::byte> out) const {
        std::size_t done = 0;
        while (done < out.size()) {
            const ssize_t count =
                pread(fileno(m_file.get()), out.data() + done, out.size() - done, static_cast<off_t>(offset + done));
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count <= 0) {
                break;
            }
            done += static_cast<std::size_t>(count);
        }
        return done;
    }

    std::unique_ptr<std::FILE, int (*)(std::FILE*)> m_file;
    std::uint64_t m_size = 0;
    mutable std::array<std::byte, 4096> m_page;
    mutable std::uint64_t m_pageOffset = 0;
    mutable std::size_t m_pageSize = 0;
};

}  // namespace

DWORD GetFileVersionInfoSizeW(LPCWSTR path, DWORD* handle) {
    if (handle != nullptr) {
        *handle = 0;
    }
    try {
        const auto resource = norvex::kernel::FindVersionResource(FileReader(path));
        return resource ? static_cast<DWORD>(resource->size) : 0;
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

BOOL GetFileVersionInfoW(LPCWSTR path, DWORD, DWORD size, void* buffer) {
    try {
        const FileReader module(path);
        const std::optional<ModulePart> resource = norvex::kernel::FindVersionResource(module);
        if (!resource || resource->size > size ||
            !module.Read(resource->offset, {static_cast<std::byte*>(buffer), resource->size})) {
            return false;
        }
        // A file that is being written anew may have changed since its length was looked at, and VerQueryValueW trusts
        // the length in the buffer.
        WORD length = 0;
        std::memcpy(&length, buffer, sizeof(length));
        return length == resource->size;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

BOOL VerQueryValueW(const void* resource, LPCWSTR subBlock, void** result, UINT* length) {
    if (resource == nullptr || std::u16string_view(subBlock) != u"\\") {
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
