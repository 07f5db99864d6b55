// SPDX-License-Identifier: Apache-2.0
#include "platform/kernel/FileVersion.h"

#include "platform/kernel/NativePath.h"
#include "platform/kernel/VersionInfo.h"
#include "support/ModuleBytes.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace {

using namespace norvex::test;

// The file version as text; "none" without one.
std::string VersionOf(const std::string& module) {
    const auto resource = norvex::kernel::FindVersionResource(std::as_bytes(std::span(module)));
    const auto offset = norvex::kernel::FixedFileInfoOffset(resource);
    if (!offset) {
        return "none";
    }
    VS_FIXEDFILEINFO info;
    std::memcpy(&info, resource.data() + *offset, sizeof(info));
    return std::to_string(info.dwFileVersionMS >> 16) + "." + std::to_string(info.dwFileVersionMS & 0xFFFF) + "." +
           std::to_string(info.dwFileVersionLS >> 16) + "." + std::to_string(info.dwFileVersionLS & 0xFFFF);
}

const Version kVersion{3, 1, 20, 5};

TEST(FileVersion, IsReadFromWindowsModulesOfBothWidths) {
    EXPECT_EQ(VersionOf(WindowsModule(VersionResource(kVersion), true)), "3.1.20.5");
    EXPECT_EQ(VersionOf(WindowsModule(VersionResource(kVersion), false)), "3.1.20.5");
}

TEST(FileVersion, IsReadFromElfModulesOfBothWidths) {
    EXPECT_EQ(VersionOf(ElfModule(VersionResource(kVersion), true)), "3.1.20.5");
    EXPECT_EQ(VersionOf(ElfModule(VersionResource(kVersion), false)), "3.1.20.5");
}

TEST(FileVersion, HoldsFourSixteenBitNumbers) {
    EXPECT_EQ(VersionOf(WindowsModule(VersionResource({65535, 0, 65535, 65534}))), "65535.0.65535.65534");
}

TEST(FileVersion, TakesAnotherNameWhenTheUsualOneIsMissing) {
    EXPECT_EQ(VersionOf(WindowsModule(VersionResource(kVersion), true, 7)), "3.1.20.5");
}

TEST(FileVersion, IsMissingInWhatIsNoModule) {
    for (const std::string bytes : {"", "M", "MZ",
                                    "\x7F"
                                    "ELF",
                                    "#!/bin/sh\n", "<xml/>"}) {
        EXPECT_EQ(VersionOf(bytes), "none");
    }
    EXPECT_EQ(VersionOf(std::string(100'000, '\0')), "none");
}

TEST(FileVersion, IsMissingWhenTheResourceIsDamaged) {
    const std::string good = VersionResource(kVersion);
    struct Damage {
        std::size_t offset;
        std::uint64_t value;
        int size;
    };
    for (const Damage damage : {Damage{0, 91, 2}, Damage{0, 93, 2}, Damage{2, 51, 2}, Damage{6, 'X', 2},
                                Damage{36, 'x', 2}, Damage{40, 0, 4}}) {
        std::string resource = good;
        Overwrite(resource, damage.offset, damage.value, damage.size);
        EXPECT_EQ(VersionOf(WindowsModule(resource)), "none") << damage.offset;
        EXPECT_EQ(VersionOf(ElfModule(resource)), "none") << damage.offset;
    }
}

TEST(FileVersion, IsMissingWhenTheResourceSaysItIsShorterThanItsHeader) {
    // Whoever asks for the information of a resource reads its length first, so that there must be room for one.
    for (std::uint64_t length = 0; length < 6; ++length) {
        std::string resource = VersionResource(kVersion);
        Overwrite(resource, 0, length, 2);
        for (const std::string& module : {WindowsModule(resource), ElfModule(resource)}) {
            EXPECT_TRUE(norvex::kernel::FindVersionResource(std::as_bytes(std::span(module))).empty()) << length;
        }
    }
}

TEST(FileVersion, IsMissingWhenAModuleIsCutShortAnywhere) {
    const std::string resource = VersionResource(kVersion);
    for (const std::string& whole :
         {WindowsModule(resource), WindowsModule(resource, false), ElfModule(resource), ElfModule(resource, false)}) {
        for (std::size_t size = 0; size < whole.size(); ++size) {
            ASSERT_EQ(VersionOf(std::string(whole, 0, size)), "none") << size;
        }
    }
}

TEST(FileVersion, SurvivesExtremeNumbersInEveryField) {
    const std::string resource = VersionResource(kVersion);
    for (const std::string& whole :
         {WindowsModule(resource), WindowsModule(resource, false), ElfModule(resource), ElfModule(resource, false)}) {
        for (std::size_t offset = 0; offset + 8 <= whole.size(); ++offset) {
            for (const std::uint64_t value : {std::uint64_t{0}, std::uint64_t{0xFFFFFFFF}, std::uint64_t{0x80000000},
                                              ~std::uint64_t{0}, std::uint64_t{1} << 63}) {
                for (const int size : {2, 4, 8}) {
                    std::string module = whole;
                    Overwrite(module, offset, value, size);
                    VersionOf(module);
                }
            }
        }
    }
}

TEST(FileVersion, SurvivesResourceTreesThatLeadBackIntoThemselves) {
    std::string module = WindowsModule(VersionResource(kVersion));
    Overwrite(module, kPeResources + 24 + 20, 0x80000000U, 4);
    EXPECT_EQ(VersionOf(module), "none");
}

TEST(FileVersion, BoundsTheWorkOnSegmentsThatShareTheirNotes) {
    // 65,535 segments that all claim the whole file, which is one long list of empty foreign notes.
    std::string module = ElfModule("");
    const std::size_t table = module.size();
    Overwrite(module, 32, table, 8);
    Overwrite(module, 56, 65535, 2);
    std::string header = module.substr(64, 56);
    Overwrite(header, 8, 0, 8);
    Overwrite(header, 32, 56 * 65535, 8);
    for (int count = 0; count < 65535; ++count) {
        module += header;
    }
    EXPECT_EQ(VersionOf(module), "none");
}

TEST(FileVersion, SurvivesRandomDamage) {
    std::mt19937 random(7);
    const std::string resource = VersionResource(kVersion);
    const std::vector<std::string> modules{WindowsModule(resource), WindowsModule(resource, false), ElfModule(resource),
                                           ElfModule(resource, false)};
    for (int round = 0; round < 100'000; ++round) {
        std::string module = modules[random() % modules.size()];
        for (int count = 0; count < 4; ++count) {
            module[random() % module.size()] = static_cast<char>(random());
        }
        VersionOf(module);
    }
}

// A module with bytes at its beginning and at its end and zeros between them, as large as one likes.
class HollowModule : public norvex::kernel::ModuleReader {
  public:
    HollowModule(std::string beginning, std::uint64_t endOffset, std::string end)
        : m_beginning(std::move(beginning)), m_endOffset(endOffset), m_end(std::move(end)) {}

    std::uint64_t Size() const override { return m_endOffset + m_end.size(); }
    bool Read(std::uint64_t offset, std::span<std::byte> out) const override {
        for (std::byte& byte : out) {
            byte = static_cast<std::byte>(At(offset++));
        }
        bytesRead += out.size();
        return true;
    }

    mutable std::size_t bytesRead = 0;

  private:
    char At(std::uint64_t offset) const {
        if (offset < m_beginning.size()) {
            return m_beginning[static_cast<std::size_t>(offset)];
        }
        return offset < m_endOffset ? '\0' : m_end.at(static_cast<std::size_t>(offset - m_endOffset));
    }

    std::string m_beginning;
    std::uint64_t m_endOffset;
    std::string m_end;
};

TEST(FileVersion, TakesReadsOfTheHeadersAloneHoweverLargeTheModule) {
    const std::string resource = VersionResource(kVersion);
    const std::string elf = ElfModule(resource);
    const std::string windows = WindowsModule(resource);
    for (const std::uint64_t end : {std::uint64_t{1} << 20, std::uint64_t{300} << 20, std::uint64_t{1} << 50}) {
        const HollowModule module(ElfHeaders(end), end, elf.substr(kElfNotes));
        const auto found = norvex::kernel::FindVersionResource(module);
        ASSERT_TRUE(found.has_value()) << end;
        EXPECT_EQ(found->offset, end + elf.size() - kElfNotes - resource.size());
        EXPECT_EQ(found->size, resource.size());
        EXPECT_LT(module.bytesRead, 200U) << end;
    }
    for (const std::uint32_t end : {1U << 20, 300U << 20, 0xFFFFF000U}) {
        const HollowModule module(WindowsHeaders(end), end, windows.substr(kPeResources));
        const auto found = norvex::kernel::FindVersionResource(module);
        ASSERT_TRUE(found.has_value()) << end;
        EXPECT_EQ(found->offset, end + windows.size() - kPeResources - resource.size());
        EXPECT_LT(module.bytesRead, 400U) << end;
    }
}

TEST(FileVersion, IsMissingWhenTheModuleCannotBeReadToItsEnd) {
    class Failing : public HollowModule {
      public:
        Failing(const std::string& bytes, std::size_t readable)
            : HollowModule(bytes, bytes.size(), ""), m_readable(readable) {}
        bool Read(std::uint64_t offset, std::span<std::byte> out) const override {
            return offset + out.size() <= m_readable && HollowModule::Read(offset, out);
        }

      private:
        std::size_t m_readable;
    };
    for (const std::string& module : {ElfModule(VersionResource(kVersion)), WindowsModule(VersionResource(kVersion))}) {
        // What lies behind the resource's own length is not read.
        const std::size_t needed = module.size() - VersionResource(kVersion).size() + 2;
        for (std::size_t readable = 0; readable < needed; ++readable) {
            EXPECT_EQ(norvex::kernel::FindVersionResource(Failing(module, readable)).has_value(), false) << readable;
        }
        EXPECT_TRUE(norvex::kernel::FindVersionResource(Failing(module, needed)).has_value());
    }
}

TEST(VersionInfo, GivesTheFixedFileInformationOfAFile) {
    const TemporaryFolder folder;
    const CString path =
        norvex::kernel::FromNativePath(folder.Write("规则 一.Arx", WindowsModule(VersionResource(kVersion))).native());
    DWORD handle = 9;
    const DWORD size = GetFileVersionInfoSizeW(path, &handle);
    EXPECT_EQ(size, 92U);
    EXPECT_EQ(handle, 0U);
    std::vector<char> buffer(size);
    EXPECT_FALSE(GetFileVersionInfoW(path, 0, size - 1, buffer.data()));
    ASSERT_TRUE(GetFileVersionInfoW(path, 0, size, buffer.data()));
    void* value = nullptr;
    UINT length = 0;
    EXPECT_FALSE(VerQueryValueW(buffer.data(), u"\\StringFileInfo", &value, &length));
    EXPECT_EQ(value, nullptr);
    ASSERT_TRUE(VerQueryValueW(buffer.data(), u"\\", &value, &length));
    ASSERT_EQ(length, sizeof(VS_FIXEDFILEINFO));
    VS_FIXEDFILEINFO info;
    std::memcpy(&info, value, sizeof(info));
    EXPECT_EQ(info.dwFileVersionMS, 0x00030001U);
    EXPECT_EQ(info.dwFileVersionLS, 0x00140005U);
}

TEST(VersionInfo, IsReadFromFilesOfAnySize) {
    const TemporaryFolder folder;
    const std::string resource = VersionResource(kVersion);
    for (const std::uint64_t end : {std::uint64_t{300} << 20, std::uint64_t{5} << 30}) {
        // The file is a hole but for its two ends, so that it takes no room on the disk.
        const std::filesystem::path file = folder.Write("large.Arx", ElfHeaders(end));
        std::filesystem::resize_file(file, end);
        std::ofstream(file, std::ios::binary | std::ios::app) << ElfModule(resource).substr(kElfNotes);
        const CString path = norvex::kernel::FromNativePath(file.native());
        ASSERT_EQ(GetFileVersionInfoSizeW(path, nullptr), resource.size()) << end;
        std::string buffer(resource.size(), '\0');
        ASSERT_TRUE(GetFileVersionInfoW(path, 0, static_cast<DWORD>(buffer.size()), buffer.data()));
        EXPECT_EQ(buffer, resource);
    }
}

TEST(VersionInfo, HasSizeZeroWithoutAResource) {
    const TemporaryFolder folder;
    const CString path = norvex::kernel::FromNativePath(folder.Write("empty.Arx", "").native());
    EXPECT_EQ(GetFileVersionInfoSizeW(path, nullptr), 0U);
    EXPECT_EQ(GetFileVersionInfoSizeW(path + L"x", nullptr), 0U);
    EXPECT_EQ(GetFileVersionInfoSizeW(norvex::kernel::FromNativePath(folder.Path().native()), nullptr), 0U);
    EXPECT_FALSE(GetFileVersionInfoW(path, 0, 0, nullptr));
}

}  // namespace
