// SPDX-License-Identifier: Apache-2.0
#include "platform/arx/AcRx.h"
#include "platform/kernel/ModuleStrings.h"

NORVEX_MODULE_STRINGS = {{3, u""}, {7, u"QINGCHU"}, {8, u"JIANCHA"}, {0, nullptr}};

namespace {

void DoNothing() {
}

AcRxCommandEntry g_own{u"STRINGS", u"CHECK", u"OWN", 8, 0, DoNothing};
AcRxCommandEntry g_fromResources{u"STRINGS", u"CLEAR", nullptr, 7, 0, DoNothing};
AcRxCommandEntry g_empty{u"STRINGS", u"SHOW", nullptr, 3, 0, DoNothing};
AcRxCommandEntry g_missing{u"STRINGS", u"HIDE", nullptr, 9, 0, DoNothing};
AcRxCommandEntry* g_commands[] = {&g_own, &g_fromResources, &g_empty, &g_missing};

class Application : public AcRxArxApp {
  protected:
    AcRxRegistrationTables registrationTables() const override {
        AcRxRegistrationTables tables;
        tables.commandBegin = g_commands;
        tables.commandEnd = g_commands + 4;
        return tables;
    }
};

Application g_application;

}  // namespace

extern "C" __attribute__((visibility("default"))) AcRx::AppRetCode acrxEntryPoint(AcRx::AppMsgCode msg, void* appId) {
    return g_application.acrxEntryPoint(msg, appId);
}
extern "C" __attribute__((visibility("default"))) void* InstanceOfTheApplication() {
    return g_application.m_hdllInstance;
}
