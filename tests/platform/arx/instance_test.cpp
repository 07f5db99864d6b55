// SPDX-License-Identifier: Apache-2.0
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>

#include <array>
#include <string>
#include <string_view>

#include "norvexdata/module/NorvexDataApp.h"
#include "platform/kernel/ModuleStrings.h"

// Which module an application belongs to, and the local names that its commands take from there.
namespace {

using norvex::kernel::InstanceAt;

CNorvexDataApp g_application;

class Instance : public testing::Test {
  protected:
    Instance() : library(dlopen(NORVEX_MODULE_WITH_STRINGS, RTLD_NOW | RTLD_LOCAL)) {}
    ~Instance() override { dlclose(library); }

    void* Find(const char* name) const { return dlsym(library, name); }
    void* AddressOfTheModule() const {
        link_map* map = nullptr;
        return dlinfo(library, RTLD_DI_LINKMAP, &map) == 0 ? reinterpret_cast<void*>(map->l_addr) : nullptr;
    }

    void* library;
};

TEST_F(Instance, IsTheAddressOfTheModuleThatHoldsTheApplication) {
    const auto instance = reinterpret_cast<void* (*)()>(Find("InstanceOfTheApplication"));
    ASSERT_NE(instance, nullptr);
    EXPECT_NE(AddressOfTheModule(), nullptr);
    EXPECT_EQ(instance(), AddressOfTheModule());
}

TEST_F(Instance, IsHeldByTheApplicationOfTheModule) {
    EXPECT_NE(g_application.m_hdllInstance, nullptr);
    EXPECT_EQ(g_application.m_hdllInstance, InstanceAt(&g_application));
    EXPECT_NE(g_application.m_hdllInstance, AddressOfTheModule());
}

TEST_F(Instance, GivesACommandWithoutALocalNameTheOneOfTheResources) {
    const auto entry = reinterpret_cast<AcRxEntryPointFunction>(Find("acrxEntryPoint"));
    ASSERT_NE(entry, nullptr);
    entry(AcRx::kInitAppMsg, library);
    EXPECT_EQ(acedRegCmds()->commandCount(), 4);
    EXPECT_TRUE(acedRegCmds()->run(u"CLEAR"));
    EXPECT_TRUE(acedRegCmds()->run(u"QINGCHU")) << "string 7";
    EXPECT_TRUE(acedRegCmds()->run(u"OWN"));
    EXPECT_FALSE(acedRegCmds()->run(u"JIANCHA")) << "string 8 is that of a command with a local name";
    EXPECT_TRUE(acedRegCmds()->run(u"SHOW"));
    EXPECT_TRUE(acedRegCmds()->run(u"HIDE"));
    EXPECT_FALSE(acedRegCmds()->run(u""));
    entry(AcRx::kUnloadAppMsg, library);
    EXPECT_EQ(acedRegCmds()->commandCount(), 0);
}

TEST_F(Instance, LoadsStringsCutToTheBuffer) {
    std::array<char16_t, 8> buffer;
    const auto load = [&](void* instance, UINT id, int size) {
        buffer.fill(u'?');
        const int count = LoadStringW(instance, id, buffer.data(), size);
        return std::u16string(buffer.data(), static_cast<std::size_t>(count) + 1);
    };
    const std::u16string_view untouched = u"?";
    EXPECT_EQ(load(AddressOfTheModule(), 7, 8), std::u16string(u"QINGCHU") + u'\0');
    EXPECT_EQ(load(AddressOfTheModule(), 7, 4), std::u16string(u"QIN") + u'\0');
    EXPECT_EQ(load(AddressOfTheModule(), 3, 8), std::u16string(1, u'\0'));
    EXPECT_EQ(load(AddressOfTheModule(), 7, 1), untouched);
    EXPECT_EQ(load(AddressOfTheModule(), 9, 8), untouched);
    // Modules without strings: a library that the module stands on, the program, and nothing at all.
    EXPECT_EQ(load(InstanceAt(reinterpret_cast<const void*>(&acrxGetApiVersion)), 7, 8), untouched);
    EXPECT_EQ(load(g_application.m_hdllInstance, 7, 8), untouched);
    EXPECT_EQ(load(nullptr, 7, 8), untouched);
    EXPECT_EQ(load(buffer.data(), 7, 8), untouched);
}

}  // namespace
