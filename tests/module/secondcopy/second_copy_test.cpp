// SPDX-License-Identifier: Apache-2.0
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "norvexdata/module/NorvexDataApp.h"
#include "norvexdata/state/NorvexData.h"
#include "norvexdata/state/Vocabulary.h"
#include "platform/zrow/ZrOwEntity.h"
#include "support/TemporaryFolder.h"

// A rule package may bring its own copy of the module. Whoever loads it, the state of the process stays what it is.
namespace {

namespace fs = std::filesystem;

void FillTheState() {
    NS_NORVEX::ComponentInfo component;
    component.strName = "component";
    component.aryItems.append("item");
    CNorvexData::GetCheckRegion({"1F", "2F"}, {component});
    CNorvexData::s_strCurCategory = L"a category that needs memory of its own";
    CNorvexData::s_strCurFloor = L"a floor that needs memory of its own";
    CNorvexData::s_strCurSpec = L"a specialty that needs memory of its own";
    CNorvexData::s_iCurRuleNum = 3;
    CNorvexData::s_iTotalRuleNum = 4;
    CNorvexData::s_bCheckFinish = true;
    CNorvexData::AddCheckResultCount(STR_CHECK_MODEL_OMISSION, L"kind", STR_ERR_CONFIRMED, 5, 7);
}

// What of the state is not as FillTheState left it; empty when all of it is.
std::string LostState() {
    std::string lost;
    const auto expect = [&lost](bool holds, const char* name) { lost += holds ? "" : std::string(name) + " "; };
    int errors = 0;
    int checks = 0;
    CNorvexData::GetCheckResultCount(errors, checks);
    expect(errors == 5 && checks == 7, "counts");
    CZRArray<NS_NORVEX::RuleErrorInfo> kinds;
    CNorvexData::GetSubCategoryAry(kinds);
    expect(kinds.length() == 1, "kinds");
    expect(CNorvexData::s_strFloorVec.size() == 2, "floors");
    expect(CNorvexData::s_strSmallMemMap.size() == 1, "selection");
    expect(CNorvexData::s_strCurCategory == L"a category that needs memory of its own", "category");
    expect(CNorvexData::s_strCurFloor == L"a floor that needs memory of its own", "floor");
    expect(CNorvexData::s_strCurSpec == L"a specialty that needs memory of its own", "specialty");
    expect(CNorvexData::s_iCurRuleNum == 3 && CNorvexData::GetCheckRuleRate() == 75, "progress");
    expect(CNorvexData::s_bCheckFinish, "end");
    expect(kPropertyConnectionType == L"ConnectionType" && kPropertyName == L"Name", "property names");
    return lost;
}

struct Copy {
    std::string name;
    // Of the file.
    std::string source;
    int flags;
};

void PrintTo(const Copy& copy, std::ostream* stream) {
    *stream << copy.name;
}

// The whole life of a process with a second copy in it: what it finds wrong is in its exit code, and how it ends is how
// the destructors of both copies left it.
[[noreturn]] void LiveWithACopy(const Copy& copy, bool isClosed) {
    const TemporaryFolder folder;
    const fs::path file = folder.Path() / copy.name;
    fs::copy_file(copy.source, file);
    FillTheState();
    void* const library = dlopen(file.c_str(), RTLD_NOW | copy.flags);
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        std::exit(3);
    }
    if (const auto entry = reinterpret_cast<AcRxEntryPointFunction>(dlsym(library, "acrxEntryPoint"))) {
        entry(AcRx::kInitAppMsg, library);
        entry(AcRx::kUnloadAppMsg, library);
    }
    if (isClosed) {
        dlclose(library);
    }
    const std::string lost = LostState();
    std::fprintf(stderr, "lost: %s\n", lost.c_str());
    fs::remove(file);
    std::exit(lost.empty() ? 0 : 2);
}

class SecondCopy : public testing::TestWithParam<Copy> {};

TEST_P(SecondCopy, LeavesTheStateAndTheEndOfTheProcessAlone) {
    EXPECT_EXIT(LiveWithACopy(GetParam(), false), testing::ExitedWithCode(0), "lost: \n");
}

TEST_P(SecondCopy, LeavesTheStateAloneWhenItIsClosedAgain) {
    EXPECT_EXIT(LiveWithACopy(GetParam(), true), testing::ExitedWithCode(0), "lost: \n");
}

INSTANTIATE_TEST_SUITE_P(EachWay, SecondCopy,
                         testing::Values(Copy{"NorvexData.arx", NORVEX_MODULE_FILE, RTLD_LOCAL},
                                         Copy{"norvexdata.Arx", NORVEX_MODULE_FILE, RTLD_GLOBAL},
                                         Copy{"Another.Arx", NORVEX_MODULE_FILE, RTLD_LOCAL | RTLD_DEEPBIND},
                                         Copy{"libNorvexPlatform.so.0", NORVEX_PLATFORM_FILE, RTLD_LOCAL},
                                         Copy{"Platform.Arx", NORVEX_PLATFORM_FILE, RTLD_GLOBAL}));

TEST(LoadedModule, StaysWhenItIsClosed) {
    // Rule modules hold pointers into its state.
    void* const library = dlopen(NORVEX_MODULE_FILE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr);
    dlclose(library);
    dlclose(library);
    EXPECT_NE(dlopen(NORVEX_MODULE_FILE, RTLD_NOW | RTLD_NOLOAD), nullptr);
}

}  // namespace
