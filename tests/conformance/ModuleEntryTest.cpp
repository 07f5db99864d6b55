// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "norvexdata/module/NorvexDataApp.h"
#include "norvexdata/module/ThreadManagement.h"
#include "norvexdata/state/NorvexData.h"
#include "norvexdata/state/Vocabulary.h"
#include "platform/arx/AcRx.h"
#include "support/TextPrinter.h"

static_assert(std::is_base_of_v<AcRxArxApp, CNorvexDataApp>);
static_assert(std::is_base_of_v<AcRxDbxApp, AcRxArxApp>);

namespace {

AcRx::AppRetCode Send(int message) {
    return acrxEntryPoint(static_cast<AcRx::AppMsgCode>(message), nullptr);
}

using Operation = AcRx::AppRetCode (AcRxDbxApp::*)(void*);

// The table slot of a virtual operation, as the C++ ABI of this system writes it into a member pointer.
std::size_t SlotOf(Operation operation) {
    std::size_t parts[2] = {};
    static_assert(sizeof(parts) == sizeof(operation));
    std::memcpy(parts, &operation, sizeof(parts));
    return (parts[0] - 1) / sizeof(void*);
}

constexpr std::array<Operation, 16> kOperations = {
    &AcRxDbxApp::On_kInitAppMsg,    &AcRxDbxApp::On_kUnloadAppMsg,    &AcRxDbxApp::On_kLoadDwgMsg,
    &AcRxDbxApp::On_kUnloadDwgMsg,  &AcRxDbxApp::On_kInvkSubrMsg,     &AcRxDbxApp::On_kCfgMsg,
    &AcRxDbxApp::On_kEndMsg,        &AcRxDbxApp::On_kQuitMsg,         &AcRxDbxApp::On_kSaveMsg,
    &AcRxDbxApp::On_kDependencyMsg, &AcRxDbxApp::On_kNoDependencyMsg, &AcRxDbxApp::On_kOleUnloadAppMsg,
    &AcRxDbxApp::On_kPreQuitMsg,    &AcRxDbxApp::On_kInitDialogMsg,   &AcRxDbxApp::On_kEndDialogMsg,
    &AcRxDbxApp::On_kNullMsg,
};

// Remembers which operation a message reached.
class RecordingApp : public AcRxDbxApp {
  public:
    int reached = -1;
    void* given = nullptr;

    AcRx::AppRetCode On_kInitAppMsg(void* data) override { return Reach(1, data); }
    AcRx::AppRetCode On_kUnloadAppMsg(void* data) override { return Reach(2, data); }
    AcRx::AppRetCode On_kLoadDwgMsg(void* data) override { return Reach(3, data); }
    AcRx::AppRetCode On_kUnloadDwgMsg(void* data) override { return Reach(4, data); }
    AcRx::AppRetCode On_kInvkSubrMsg(void* data) override { return Reach(5, data); }
    AcRx::AppRetCode On_kCfgMsg(void* data) override { return Reach(6, data); }
    AcRx::AppRetCode On_kEndMsg(void* data) override { return Reach(7, data); }
    AcRx::AppRetCode On_kQuitMsg(void* data) override { return Reach(8, data); }
    AcRx::AppRetCode On_kSaveMsg(void* data) override { return Reach(9, data); }
    AcRx::AppRetCode On_kDependencyMsg(void* data) override { return Reach(10, data); }
    AcRx::AppRetCode On_kNoDependencyMsg(void* data) override { return Reach(11, data); }
    AcRx::AppRetCode On_kOleUnloadAppMsg(void* data) override { return Reach(12, data); }
    AcRx::AppRetCode On_kPreQuitMsg(void* data) override { return Reach(13, data); }
    AcRx::AppRetCode On_kInitDialogMsg(void* data) override { return Reach(14, data); }
    AcRx::AppRetCode On_kEndDialogMsg(void* data) override { return Reach(15, data); }
    AcRx::AppRetCode On_kNullMsg(void* data) override { return Reach(0, data); }

  private:
    AcRx::AppRetCode Reach(int message, void* data) {
        reached = message;
        given = data;
        return AcRx::kRetError;
    }
};

}  // namespace

TEST(ModuleEntryContract, EveryHostMessageIsAnsweredWithOk) {
    for (int message = 0; message <= 15; ++message) {
        EXPECT_EQ(Send(message), AcRx::kRetOK) << message;
    }
}

TEST(ModuleEntryContract, CodesThatAreNoMessageAreAnsweredWithOk) {
    for (const int message : {16, 17, 255, 100000}) {
        EXPECT_EQ(Send(message), AcRx::kRetOK) << message;
    }
}

TEST(ModuleEntryContract, AWholeLifeOfMessagesRegistersNothing) {
    for (const int message : {1, 3, 5, 4, 3, 4, 2}) {
        Send(message);
    }
    EXPECT_EQ(acedRegCmds()->commandCount(), 0);
    EXPECT_EQ(acrxHostLog().classHierarchyBuilds, 0);
    EXPECT_EQ(acrxHostLog().deletedClasses, 0);
    EXPECT_EQ(acrxHostLog().definedFunctions, 0);
    EXPECT_EQ(acrxHostLog().registeredFunctions, 0);
}

TEST(ModuleEntryContract, MessagesLeaveTheRunStateAlone) {
    CNorvexData::s_strCurSpec = L"消防";
    CNorvexData::s_iTotalRuleNum = 7;
    for (const int message : {1, 3, 4, 9, 2}) {
        Send(message);
    }
    EXPECT_EQ(CNorvexData::s_strCurSpec, L"消防");
    EXPECT_EQ(CNorvexData::s_iTotalRuleNum, 7);
    CNorvexData::s_strCurSpec.Empty();
    CNorvexData::s_iTotalRuleNum = 0;
}

TEST(ModuleEntryContract, ApiVersionIsThatOfTheHostGeneration) {
    EXPECT_EQ(acrxGetApiVersion(), kAcRxApiVersion);
    EXPECT_EQ(acrxGetApiVersion() >> 16, 18);
}

TEST(ApplicationObjectContract, EachMessageReachesItsOperationAndReturnsItsAnswer) {
    for (int message = 0; message <= 15; ++message) {
        RecordingApp app;
        int data = 0;
        EXPECT_EQ(app.acrxEntryPoint(static_cast<AcRx::AppMsgCode>(message), &data), AcRx::kRetError) << message;
        EXPECT_EQ(app.reached, message);
        EXPECT_EQ(app.given, &data);
    }
}

TEST(ApplicationObjectContract, AnUnknownMessageReachesNoOperation) {
    RecordingApp app;
    EXPECT_EQ(app.acrxEntryPoint(static_cast<AcRx::AppMsgCode>(16), nullptr), AcRx::kRetOK);
    EXPECT_EQ(app.reached, -1);
}

TEST(ApplicationObjectContract, OperationsStandInTheOrderOfTheMessagesWithTheNullMessageLast) {
    for (std::size_t index = 0; index < kOperations.size(); ++index) {
        EXPECT_EQ(SlotOf(kOperations[index]), index);
    }
}

TEST(StartStateContract, EverythingSharedBeginsEmpty) {
    EXPECT_EQ(CNorvexData::s_pINorvexService, nullptr);
    EXPECT_TRUE(CNorvexData::s_strFloorVec.empty());
    EXPECT_TRUE(CNorvexData::s_strCurCategory.IsEmpty());
    EXPECT_TRUE(CNorvexData::s_strCurFloor.IsEmpty());
    EXPECT_TRUE(CNorvexData::s_strCurSpec.IsEmpty());
    EXPECT_TRUE(CNorvexData::s_strSmallMemMap.empty());
    EXPECT_TRUE(CNorvexData::s_CheckStateMap.empty());
    EXPECT_TRUE(CNorvexData::s_sSubCategoryMap.empty());
    EXPECT_EQ(CNorvexData::s_iCurRuleNum, 0);
    EXPECT_EQ(CNorvexData::s_iTotalRuleNum, 0);
    EXPECT_FALSE(CNorvexData::s_bCheckFinish);
}

TEST(StartStateContract, CoordinationBeginsWithNullHandlesAndNoCancel) {
    EXPECT_EQ(CThreadManagement::s_cRunningThread, nullptr);
    EXPECT_EQ(CThreadManagement::s_cRunningThreadId, 0U);
    EXPECT_FALSE(CThreadManagement::s_bUserCancleCheck);
    EXPECT_EQ(CThreadManagement::s_cPreNoDoneThread, nullptr);
    EXPECT_EQ(CThreadManagement::s_hStopSignal, nullptr);
    EXPECT_EQ(CThreadManagement::s_hChangeFloorSignal, nullptr);
    EXPECT_EQ(CThreadManagement::s_hWriteResultSignal, nullptr);
    EXPECT_EQ(CThreadManagement::s_hWaitResultMutex, nullptr);
}
