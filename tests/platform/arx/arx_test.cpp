// SPDX-License-Identifier: Apache-2.0
#include "platform/arx/AcRx.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

// What the application below was asked to do, in order.
std::vector<std::string> g_calls;

class FirstClass : public AcRxObject {
  public:
    ACRX_DECLARE_MEMBERS(FirstClass)
};
ACRX_DEFINE_MEMBERS(FirstClass, AcRxObject)

class SecondClass : public FirstClass {
  public:
    ACRX_DECLARE_MEMBERS(SecondClass)
};
ACRX_DEFINE_MEMBERS(SecondClass, FirstClass)

void Record(const char* call) {
    g_calls.emplace_back(call);
}

// An application whose tables are not empty; every table has a gap.
class TestApplication : public AcRxArxApp {
  public:
    AcRxClassEntry firstClass = {[] { Record("init first"); }, &FirstClass::desc, false};
    AcRxClassEntry secondClass = {[] { Record("init second"); }, &SecondClass::desc, false};
    AcRxClassEntry* classes[3] = {&firstClass, nullptr, &secondClass};
    AcRxCommandEntry check = {u"NORVEX", u"CHECK", u"JIANCHA", 0, 0, [] { Record("run check"); }};
    AcRxCommandEntry clear = {u"NORVEX", u"CLEAR", nullptr, 7, 0, [] { Record("run clear"); }};
    AcRxCommandEntry* commands[4] = {nullptr, &check, &clear, nullptr};
    AcRxAdsEntry add = {u"c:add",
                        [] {
                            Record("call add");
                            return 0;
                        },
                        true};
    AcRxAdsEntry sub = {u"c:sub",
                        [] {
                            Record("call sub");
                            return 0;
                        },
                        false};
    AcRxAdsEntry* functions[4] = {&add, nullptr, nullptr, &sub};
    bool hasClasses = true;

  protected:
    AcRxRegistrationTables registrationTables() const override {
        auto& self = const_cast<TestApplication&>(*this);
        AcRxRegistrationTables tables;
        if (hasClasses) {
            tables.classBegin = self.classes;
            tables.classEnd = self.classes + 3;
        }
        tables.commandBegin = self.commands;
        tables.commandEnd = self.commands + 4;
        tables.adsBegin = self.functions;
        tables.adsEnd = self.functions + 4;
        return tables;
    }
};

class Application : public testing::Test {
  protected:
    Application() { g_calls.clear(); }
    ~Application() override { application.acrxEntryPoint(AcRx::kUnloadAppMsg, nullptr); }

    AcRx::AppRetCode Send(AcRx::AppMsgCode message) { return application.acrxEntryPoint(message, nullptr); }

    TestApplication application;
};

// Answers each message with its name and the data it came with.
class Listener : public AcRxArxApp {
  public:
#define NORVEX_LISTEN(operation)                      \
    AcRx::AppRetCode operation(void* data) override { \
        heard.emplace_back(#operation);               \
        lastData = data;                              \
        return AcRx::kRetError;                       \
    }
    NORVEX_LISTEN(On_kInitAppMsg)
    NORVEX_LISTEN(On_kUnloadAppMsg)
    NORVEX_LISTEN(On_kLoadDwgMsg)
    NORVEX_LISTEN(On_kUnloadDwgMsg)
    NORVEX_LISTEN(On_kInvkSubrMsg)
    NORVEX_LISTEN(On_kCfgMsg)
    NORVEX_LISTEN(On_kEndMsg)
    NORVEX_LISTEN(On_kQuitMsg)
    NORVEX_LISTEN(On_kSaveMsg)
    NORVEX_LISTEN(On_kDependencyMsg)
    NORVEX_LISTEN(On_kNoDependencyMsg)
    NORVEX_LISTEN(On_kOleUnloadAppMsg)
    NORVEX_LISTEN(On_kPreQuitMsg)
    NORVEX_LISTEN(On_kInitDialogMsg)
    NORVEX_LISTEN(On_kEndDialogMsg)
    NORVEX_LISTEN(On_kNullMsg)
#undef NORVEX_LISTEN

    std::vector<std::string> heard;
    void* lastData = nullptr;
};

// Place of a virtual operation in its class's table, counted from 0. A pointer to one holds 1 plus its offset here.
template <class Operation>
std::uintptr_t SlotOf(Operation operation) {
    std::uintptr_t offsetPlusOne = 0;
    std::memcpy(&offsetPlusOne, &operation, sizeof offsetPlusOne);
    return (offsetPlusOne - 1) / sizeof(void*);
}

}  // namespace

TEST(Messages, EachCodeReachesItsOperation) {
    const std::vector<std::string> operations = {
        "On_kNullMsg",         "On_kInitAppMsg",  "On_kUnloadAppMsg",  "On_kLoadDwgMsg",
        "On_kUnloadDwgMsg",    "On_kInvkSubrMsg", "On_kCfgMsg",        "On_kEndMsg",
        "On_kQuitMsg",         "On_kSaveMsg",     "On_kDependencyMsg", "On_kNoDependencyMsg",
        "On_kOleUnloadAppMsg", "On_kPreQuitMsg",  "On_kInitDialogMsg", "On_kEndDialogMsg"};
    for (std::size_t code = 0; code < operations.size(); ++code) {
        Listener listener;
        EXPECT_EQ(listener.acrxEntryPoint(static_cast<AcRx::AppMsgCode>(code), &listener), AcRx::kRetError);
        EXPECT_EQ(listener.heard, (std::vector<std::string>{operations[code]})) << code;
        EXPECT_EQ(listener.lastData, &listener);
    }
}

TEST(Messages, UnknownCodesReachNoOperation) {
    Listener listener;
    for (const int code : {16, 17, 1000, 0x7FFFFFFF, -1, -2147483647}) {
        EXPECT_EQ(listener.acrxEntryPoint(static_cast<AcRx::AppMsgCode>(code), nullptr), AcRx::kRetOK) << code;
    }
    EXPECT_TRUE(listener.heard.empty());
}

TEST(Messages, OperationsStandInTheOrderOfTheHostsSlots) {
    const std::vector<std::uintptr_t> slots = {
        SlotOf(&AcRxDbxApp::On_kInitAppMsg),      SlotOf(&AcRxDbxApp::On_kUnloadAppMsg),
        SlotOf(&AcRxDbxApp::On_kLoadDwgMsg),      SlotOf(&AcRxDbxApp::On_kUnloadDwgMsg),
        SlotOf(&AcRxDbxApp::On_kInvkSubrMsg),     SlotOf(&AcRxDbxApp::On_kCfgMsg),
        SlotOf(&AcRxDbxApp::On_kEndMsg),          SlotOf(&AcRxDbxApp::On_kQuitMsg),
        SlotOf(&AcRxDbxApp::On_kSaveMsg),         SlotOf(&AcRxDbxApp::On_kDependencyMsg),
        SlotOf(&AcRxDbxApp::On_kNoDependencyMsg), SlotOf(&AcRxDbxApp::On_kOleUnloadAppMsg),
        SlotOf(&AcRxDbxApp::On_kPreQuitMsg),      SlotOf(&AcRxDbxApp::On_kInitDialogMsg),
        SlotOf(&AcRxDbxApp::On_kEndDialogMsg),    SlotOf(&AcRxDbxApp::On_kNullMsg)};
    for (std::size_t place = 0; place < slots.size(); ++place) {
        EXPECT_EQ(slots[place], place);
    }
}

TEST(Messages, ApplicationsWithoutTablesAnswerAll) {
    AcRxArxApp application;
    for (int code = 0; code <= 15; ++code) {
        EXPECT_EQ(application.acrxEntryPoint(static_cast<AcRx::AppMsgCode>(code), nullptr), AcRx::kRetOK);
    }
    EXPECT_EQ(acedRegCmds()->commandCount(), 0);
    EXPECT_EQ(application.m_hdllInstance, nullptr) << "it is in no module";
}

TEST_F(Application, InitialisesItsClassesInOrderAndBuildsTheHierarchyOnce) {
    const int builds = acrxHostLog().classHierarchyBuilds;
    EXPECT_EQ(Send(AcRx::kInitAppMsg), AcRx::kRetOK);
    EXPECT_EQ(g_calls, (std::vector<std::string>{"init first", "init second"}));
    EXPECT_TRUE(application.firstClass.registered);
    EXPECT_TRUE(application.secondClass.registered);
    EXPECT_EQ(acrxHostLog().classHierarchyBuilds, builds + 1);
}

TEST_F(Application, WithoutClassesBuildsNoHierarchy) {
    application.classes[0] = application.classes[2] = nullptr;
    const int builds = acrxHostLog().classHierarchyBuilds;
    Send(AcRx::kInitAppMsg);
    application.hasClasses = false;
    Send(AcRx::kInitAppMsg);
    EXPECT_EQ(acrxHostLog().classHierarchyBuilds, builds);
}

TEST_F(Application, DeletesItsRegisteredClassesWhenItIsUnloaded) {
    const int deleted = acrxHostLog().deletedClasses;
    Send(AcRx::kUnloadAppMsg);
    EXPECT_EQ(acrxHostLog().deletedClasses, deleted) << "none is registered yet";
    Send(AcRx::kInitAppMsg);
    EXPECT_EQ(Send(AcRx::kUnloadAppMsg), AcRx::kRetOK);
    EXPECT_EQ(acrxHostLog().deletedClasses, deleted + 2);
    EXPECT_FALSE(application.firstClass.registered);
    Send(AcRx::kUnloadAppMsg);
    EXPECT_EQ(acrxHostLog().deletedClasses, deleted + 2) << "once only";
}

TEST_F(Application, AddsItsCommandsAndRemovesTheirGroup) {
    Send(AcRx::kInitAppMsg);
    g_calls.clear();
    EXPECT_EQ(acedRegCmds()->commandCount(), 2);
    EXPECT_TRUE(acedRegCmds()->run(u"CHECK"));
    EXPECT_TRUE(acedRegCmds()->run(u"JIANCHA"));
    EXPECT_TRUE(acedRegCmds()->run(u"CLEAR"));
    EXPECT_EQ(g_calls, (std::vector<std::string>{"run check", "run check", "run clear"}));
    Send(AcRx::kUnloadAppMsg);
    EXPECT_EQ(acedRegCmds()->commandCount(), 0);
    EXPECT_FALSE(acedRegCmds()->run(u"CHECK"));
}

TEST_F(Application, DefinesItsFunctionsInEveryDrawing) {
    const AcRxHostLog before = acrxHostLog();
    EXPECT_EQ(Send(AcRx::kLoadDwgMsg), AcRx::kRetOK);
    EXPECT_EQ(acrxHostLog().definedFunctions, before.definedFunctions + 2);
    EXPECT_EQ(acrxHostLog().registeredFunctions, before.registeredFunctions + 1) << "where the entry asks for it";
    // Numbers count the entries that are not null: c:add is 0 and c:sub is 1.
    EXPECT_EQ(acedDefun(u"c:add", 0), RTERROR);
    EXPECT_EQ(acedDefun(u"c:sub", 1), RTERROR);
    EXPECT_EQ(Send(AcRx::kUnloadDwgMsg), AcRx::kRetOK);
    EXPECT_EQ(acrxHostLog().definedFunctions, before.definedFunctions);
    EXPECT_EQ(acedUndef(u"c:sub", 1), RTERROR);
}

TEST_F(Application, CallsTheFunctionThatTheHostAsksFor) {
    Send(AcRx::kLoadDwgMsg);
    acrxSetCalledFunction(1);
    EXPECT_EQ(Send(AcRx::kInvkSubrMsg), AcRx::kRetOK);
    acrxSetCalledFunction(0);
    Send(AcRx::kInvkSubrMsg);
    acrxSetCalledFunction(2);
    Send(AcRx::kInvkSubrMsg);
    acrxSetCalledFunction(RTERROR);
    Send(AcRx::kInvkSubrMsg);
    EXPECT_EQ(g_calls, (std::vector<std::string>{"call sub", "call add"}));
    Send(AcRx::kUnloadDwgMsg);
}

TEST(CommandStack, IsReachedThroughTheSystemRegistryAlone) {
    EXPECT_NE(acedRegCmds(), nullptr);
    EXPECT_EQ(acrxSysRegistry()->at("ACAD_REGISTERED_COMMANDS"), acedRegCmds());
    EXPECT_EQ(acrxSysRegistry()->at("SOMETHING_ELSE"), nullptr);
}

TEST(CommandStack, TakesAGlobalNameOncePerGroup) {
    AcEdCommandStack stack;
    const auto nothing = [] {};
    EXPECT_TRUE(stack.addCommand(u"G", u"A", u"A", 0, nothing));
    EXPECT_FALSE(stack.addCommand(u"G", u"A", u"B", 0, nothing));
    EXPECT_TRUE(stack.addCommand(u"H", u"A", u"A", 0, nothing));
    EXPECT_EQ(stack.commandCount(), 2);
    EXPECT_TRUE(stack.removeGroup(u"G"));
    EXPECT_FALSE(stack.removeGroup(u"G"));
    EXPECT_EQ(stack.commandCount(), 1);
}

TEST(RunTimeClasses, KnowTheirParents) {
    EXPECT_TRUE(SecondClass::desc()->isDerivedFrom(FirstClass::desc()));
    EXPECT_TRUE(SecondClass::desc()->isDerivedFrom(AcRxObject::desc()));
    EXPECT_TRUE(SecondClass::desc()->isDerivedFrom(SecondClass::desc()));
    EXPECT_FALSE(FirstClass::desc()->isDerivedFrom(SecondClass::desc()));
    EXPECT_STREQ(SecondClass::desc()->name(), "SecondClass");
    EXPECT_EQ(SecondClass::desc()->myParent(), FirstClass::desc());
    EXPECT_EQ(AcRxObject::desc()->myParent(), nullptr);
}

TEST(RunTimeClasses, CastToWhatAnObjectIs) {
    SecondClass second;
    FirstClass first;
    EXPECT_EQ(FirstClass::cast(&second), &second);
    EXPECT_EQ(SecondClass::cast(static_cast<AcRxObject*>(&second)), &second);
    EXPECT_EQ(SecondClass::cast(&first), nullptr);
    EXPECT_EQ(SecondClass::cast(nullptr), nullptr);
}
