// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/state/NorvexData.h"
#include "platform/arx/AcRx.h"
#include "support/TemporaryFolder.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// The module as a host has it: loaded by its file, reached by names.
class LoadedModule : public testing::Test {
  protected:
    void SetUp() override {
        m_library = dlopen(NORVEX_MODULE_FILE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(m_library, nullptr) << dlerror();
    }
    void TearDown() override { dlclose(m_library); }

    template <class T>
    T* Find(const std::string& name) const {
        return reinterpret_cast<T*>(dlsym(m_library, name.c_str()));
    }

    // A static member of one of the module's classes.
    template <class T>
    T& Static(const std::string& className, const std::string& member) const {
        const auto part = [](const std::string& name) { return std::to_string(name.size()) + name; };
        T* const found = Find<T>("_ZN" + part(className) + part(member) + "E");
        if (found == nullptr) {
            throw std::runtime_error("the module does not export " + className + "::" + member);
        }
        return *found;
    }

    AcRx::AppRetCode Send(int message) const {
        const auto entryPoint = Find<AcRx::AppRetCode(AcRx::AppMsgCode, void*)>("acrxEntryPoint");
        return entryPoint(static_cast<AcRx::AppMsgCode>(message), nullptr);
    }

    // Names of the state that is not as the module builds it.
    std::vector<std::string> Touched() const {
        std::vector<std::string> touched;
        const auto expect = [&touched](bool isInitial, const char* name) {
            if (!isInitial) {
                touched.emplace_back(name);
            }
        };
        expect(Static<void*>("CNorvexData", "s_pINorvexService") == nullptr, "service");
        expect(Static<std::vector<CString>>("CNorvexData", "s_strFloorVec").empty(), "floors");
        expect(Static<CString>("CNorvexData", "s_strCurCategory").IsEmpty(), "current category");
        expect(Static<CString>("CNorvexData", "s_strCurFloor").IsEmpty(), "current floor");
        expect(Static<CString>("CNorvexData", "s_strCurSpec").IsEmpty(), "current specialty");
        expect(Static<SelectionMap>("CNorvexData", "s_strSmallMemMap").empty(), "selection");
        expect(Static<std::map<CString, NS_NORVEX::CategoryCheckState>>("CNorvexData", "s_CheckStateMap").empty(),
               "category states");
        expect(Static<std::map<CString, std::set<SSubCategory>>>("CNorvexData", "s_sSubCategoryMap").empty(),
               "sub-category counts");
        expect(Static<int>("CNorvexData", "s_iCurRuleNum") == 0, "current rule");
        expect(Static<int>("CNorvexData", "s_iTotalRuleNum") == 0, "total rules");
        expect(!Static<bool>("CNorvexData", "s_bCheckFinish"), "finished");
        expect(Static<void*>("CGetZrOwEntityPtrVec", "s_cInstance") == nullptr, "entity collection");
        expect(Static<bool>("CGetZrOwEntityPtrVec", "s_bIsEmpty"), "empty floor");
        for (const char* handle : {"s_cRunningThread", "s_cPreNoDoneThread", "s_hStopSignal", "s_hChangeFloorSignal",
                                   "s_hWriteResultSignal", "s_hWaitResultMutex"}) {
            expect(Static<void*>("CThreadManagement", handle) == nullptr, handle);
        }
        expect(Static<std::uint32_t>("CThreadManagement", "s_cRunningThreadId") == 0, "running thread");
        expect(!Static<bool>("CThreadManagement", "s_bUserCancleCheck"), "user cancel");
        return touched;
    }

    void* m_library = nullptr;
};

}  // namespace

TEST_F(LoadedModule, ExportsTheTwoEntriesUndecorated) {
    EXPECT_NE(Find<void>("acrxEntryPoint"), nullptr);
    EXPECT_NE(Find<void>("acrxGetApiVersion"), nullptr);
}

TEST_F(LoadedModule, TellsTheHostItsApiVersion) {
    EXPECT_EQ(Find<int()>("acrxGetApiVersion")(), kAcRxApiVersion);
}

TEST_F(LoadedModule, HasItsStateBuiltEmptyBeforeAnyMessage) {
    EXPECT_EQ(Touched(), std::vector<std::string>());
}

TEST_F(LoadedModule, AnswersEveryMessageAndRegistersNothing) {
    const AcRxHostLog before = acrxHostLog();
    for (const int message : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, -1, 1000, 1, 3, 5}) {
        EXPECT_EQ(Send(message), AcRx::kRetOK) << message;
    }
    EXPECT_EQ(acedRegCmds()->commandCount(), 0);
    EXPECT_EQ(acrxHostLog().classHierarchyBuilds, before.classHierarchyBuilds);
    EXPECT_EQ(acrxHostLog().deletedClasses, before.deletedClasses);
    EXPECT_EQ(acrxHostLog().definedFunctions, before.definedFunctions);
    EXPECT_EQ(acrxHostLog().registeredFunctions, before.registeredFunctions);
    EXPECT_EQ(Touched(), std::vector<std::string>());
}

TEST_F(LoadedModule, StaysTheSameModuleWhenItIsLoadedAgain) {
    Static<int>("CNorvexData", "s_iCurRuleNum") = 7;
    void* const again = dlopen(NORVEX_MODULE_FILE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(again, m_library);
    EXPECT_EQ(Static<int>("CNorvexData", "s_iCurRuleNum"), 7);
    dlclose(again);
    Static<int>("CNorvexData", "s_iCurRuleNum") = 0;
}

TEST_F(LoadedModule, HasAStateApartFromThatOfACopyWhichTheLoaderKeepsApart) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.Path() / "Copy.arx";
    std::filesystem::copy_file(NORVEX_MODULE_FILE, file);
    Static<int>("CNorvexData", "s_iCurRuleNum") = 7;
    Static<std::vector<CString>>("CNorvexData", "s_strFloorVec") = {L"1F"};
    Static<CString>("CNorvexData", "s_strCurFloor") = L"1F";
    void* const first = m_library;
    m_library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(m_library, nullptr) << dlerror();
    EXPECT_EQ(Touched(), std::vector<std::string>());
    m_library = first;
    EXPECT_EQ(Touched(), (std::vector<std::string>{"floors", "current floor", "current rule"}));
}
