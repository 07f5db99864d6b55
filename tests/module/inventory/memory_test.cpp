// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <optional>
#include <string>

#include "norvexdata/common/ComMethod.h"
#include "platform/kernel/NativePath.h"
#include "support/ModuleBytes.h"
#include "support/TemporaryFolder.h"
#include "support/TextPrinter.h"

// Every allocation of the process passes here, so that memory can be said to run out at any of them.
namespace {

bool g_isLimited = false;
int g_allocationsLeft = 0;
std::size_t g_largest = 0;

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
    if (g_isLimited) {
        g_largest = std::max(g_largest, size);
        if (g_allocationsLeft-- <= 0) {
            throw std::bad_alloc();
        }
    }
    if (void* const memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace {

using namespace norvex::test;

// Reads a version with so many allocations; nothing when memory ran out and something was thrown.
std::optional<bool> ReadVersion(const CString& path, int allocations, CString& version) {
    std::optional<bool> result;
    g_isLimited = true;
    g_allocationsLeft = allocations;
    try {
        result = CComMethod::GetFileVersion(path, version);
    } catch (const std::bad_alloc&) {
    }
    g_isLimited = false;
    return result;
}

TEST(ModuleVersionMemory, IsNoVersionWhenItRunsOutAtAnyPlace) {
    const TemporaryFolder folder;
    // Long enough for the path to need memory of its own.
    const std::filesystem::path file =
        folder.Write("a rule module with a long name.Arx", ElfModule(VersionResource({3, 1, 20, 5})));
    const CString path = norvex::kernel::FromNativePath(file.native());
    int allocations = 0;
    for (;; ++allocations) {
        ASSERT_LT(allocations, 100);
        CString version = L"before";
        const std::optional<bool> read = ReadVersion(path, allocations, version);
        ASSERT_TRUE(read.has_value()) << "thrown at allocation " << allocations;
        if (*read) {
            EXPECT_EQ(version, L"3.1.20.5");
            break;
        }
        EXPECT_EQ(version, L"before");
    }
    EXPECT_GT(allocations, 0);
}

TEST(ModuleVersionMemory, DoesNotGrowWithTheModule) {
    const TemporaryFolder folder;
    constexpr std::size_t kSize = 8U << 20;
    const std::filesystem::path file = folder.Write("large.Arx", ElfModule(VersionResource({3, 1, 20, 5})));
    std::filesystem::resize_file(file, kSize);
    CString version;
    ASSERT_EQ(ReadVersion(norvex::kernel::FromNativePath(file.native()), 1000, version), true);
    EXPECT_EQ(version, L"3.1.20.5");
    EXPECT_LT(g_largest, 64U << 10);
}

}  // namespace
