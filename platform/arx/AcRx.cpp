// SPDX-License-Identifier: Apache-2.0
#include "platform/arx/AcRx.h"

#include "platform/kernel/ModuleStrings.h"

#include <array>
#include <map>
#include <utility>

namespace {

AcRxHostLog g_hostLog;
int g_calledFunction = RTERROR;
std::map<std::pair<CString, int>, int (*)()>& DefinedFunctions() {
    static std::map<std::pair<CString, int>, int (*)()> functions;
    return functions;
}

// Calls visit(entry) for each entry that is not null, in table order.
template <class Entry, class Visit>
void ForEachEntry(Entry** begin, Entry** end, Visit visit) {
    for (Entry** entry = begin; entry != end; ++entry) {
        if (*entry != nullptr) {
            visit(**entry);
        }
    }
}

// A command that has no local name, and no string of its number either, keeps its global one.
CString LocalName(void* instance, const AcRxCommandEntry& entry) {
    if (entry.localName != nullptr) {
        return entry.localName;
    }
    // Longer than any name that people type.
    std::array<char16_t, 256> name{};
    const int length = LoadStringW(instance, entry.localNameId, name.data(), static_cast<int>(name.size()));
    return length == 0 ? CString(entry.globalName) : CString(name.data(), length);
}

}  // namespace

bool AcRxClass::isDerivedFrom(const AcRxClass* other) const {
    for (const AcRxClass* step = this; step != nullptr; step = step->m_parent) {
        if (step == other) {
            return true;
        }
    }
    return false;
}

AcRxObject::~AcRxObject() = default;

AcRxClass* AcRxObject::desc() {
    static AcRxClass described("AcRxObject", nullptr);
    return &described;
}

AcRxClass* AcRxObject::isA() const {
    return AcRxObject::desc();
}

AcRxDbxApp::AcRxDbxApp() : m_hdllInstance(norvex::kernel::InstanceAt(this)) {
}
AcRxDbxApp::~AcRxDbxApp() = default;

AcRxRegistrationTables AcRxDbxApp::registrationTables() const {
    return {};
}

AcRx::AppRetCode AcRxDbxApp::On_kInitAppMsg(void*) {
    const AcRxRegistrationTables tables = registrationTables();
    bool anyRegistered = false;
    ForEachEntry(tables.classBegin, tables.classEnd, [&](AcRxClassEntry& entry) {
        entry.rxInit();
        entry.registered = true;
        anyRegistered = true;
    });
    if (anyRegistered) {
        acrxBuildClassHierarchy();
    }
    return AcRx::kRetOK;
}

AcRx::AppRetCode AcRxDbxApp::On_kUnloadAppMsg(void*) {
    const AcRxRegistrationTables tables = registrationTables();
    ForEachEntry(tables.classBegin, tables.classEnd, [](AcRxClassEntry& entry) {
        if (entry.registered) {
            deleteAcRxClass(entry.desc());
            entry.registered = false;
        }
    });
    return AcRx::kRetOK;
}

AcRx::AppRetCode AcRxDbxApp::On_kLoadDwgMsg(void*) {
    return AcRx::kRetOK;
}
AcRx::AppRetCode AcRxDbxApp::On_kUnloadDwgMsg(void*) {
    return AcRx::kRetOK;
}
AcRx::AppRetCode AcRxDbxApp::On_kInvkSubrMsg(void*) {
    return AcRx::kRetOK;
}
AcRx::AppRetCode AcRxDbxApp::On_kCfgMsg(void*) {
    return AcRx::kRetOK;
}
AcRx::AppRetCode AcRxDbxApp::On_kEndMsg(void*) {
    return AcRx::kRetOK;
}
AcRx::AppRetCode AcRxDbxApp::On_kQuitMsg(void*) {
    return AcRx::kRetOK;
}
AcRx::AppRetCode AcRxDbxApp::On_kSaveMsg(void*) {
    return AcRx::kRetOK;
}
AcRx::AppRetCode AcRxDbxApp::On_kDependencyMsg(void*) {
    return AcRx::kRetOK;
}
AcRx::AppRetCode AcRxDbxApp::On_kNoDependencyMsg(void*) {
    return AcRx::kRetOK;
}
AcRx::AppRetCode AcRxDbxApp::On_kOleUnloadAppMsg(void*) {
    return AcRx::kRetOK;
}
AcRx::AppRetCode AcRxDbxApp::On_kPreQuitMsg(void*) {
    return AcRx::kRetOK;
}
AcRx::AppRetCode AcRxDbxApp::On_kInitDialogMsg(void*) {
    return AcRx::kRetOK;
}
AcRx::AppRetCode AcRxDbxApp::On_kEndDialogMsg(void*) {
    return AcRx::kRetOK;
}
AcRx::AppRetCode AcRxDbxApp::On_kNullMsg(void*) {
    return AcRx::kRetOK;
}

AcRx::AppRetCode AcRxDbxApp::acrxEntryPoint(AcRx::AppMsgCode message, void* data) {
    switch (message) {
        case AcRx::kInitAppMsg:
            return On_kInitAppMsg(data);
        case AcRx::kUnloadAppMsg:
            return On_kUnloadAppMsg(data);
        case AcRx::kLoadDwgMsg:
            return On_kLoadDwgMsg(data);
        case AcRx::kUnloadDwgMsg:
            return On_kUnloadDwgMsg(data);
        case AcRx::kInvkSubrMsg:
            return On_kInvkSubrMsg(data);
        case AcRx::kCfgMsg:
            return On_kCfgMsg(data);
        case AcRx::kEndMsg:
            return On_kEndMsg(data);
        case AcRx::kQuitMsg:
            return On_kQuitMsg(data);
        case AcRx::kSaveMsg:
            return On_kSaveMsg(data);
        case AcRx::kDependencyMsg:
            return On_kDependencyMsg(data);
        case AcRx::kNoDependencyMsg:
            return On_kNoDependencyMsg(data);
        case AcRx::kOleUnloadAppMsg:
            return On_kOleUnloadAppMsg(data);
        case AcRx::kPreQuitMsg:
            return On_kPreQuitMsg(data);
        case AcRx::kInitDialogMsg:
            return On_kInitDialogMsg(data);
        case AcRx::kEndDialogMsg:
            return On_kEndDialogMsg(data);
        case AcRx::kNullMsg:
            return On_kNullMsg(data);
    }
    return AcRx::kRetOK;
}

AcRx::AppRetCode AcRxArxApp::On_kInitAppMsg(void* data) {
    AcRxDbxApp::On_kInitAppMsg(data);
    const AcRxRegistrationTables tables = registrationTables();
    ForEachEntry(tables.commandBegin, tables.commandEnd, [this](AcRxCommandEntry& entry) {
        acedRegCmds()->addCommand(entry.group, entry.globalName, LocalName(m_hdllInstance, entry), entry.flags,
                                  entry.handler);
    });
    return AcRx::kRetOK;
}

AcRx::AppRetCode AcRxArxApp::On_kUnloadAppMsg(void* data) {
    AcRxDbxApp::On_kUnloadAppMsg(data);
    const AcRxRegistrationTables tables = registrationTables();
    ForEachEntry(tables.commandBegin, tables.commandEnd,
                 [](AcRxCommandEntry& entry) { acedRegCmds()->removeGroup(entry.group); });
    return AcRx::kRetOK;
}

AcRx::AppRetCode AcRxArxApp::On_kLoadDwgMsg(void*) {
    const AcRxRegistrationTables tables = registrationTables();
    int index = 0;
    ForEachEntry(tables.adsBegin, tables.adsEnd, [&](AcRxAdsEntry& entry) {
        acedDefun(entry.name, index);
        if (entry.registerFunction) {
            acedRegFunc(entry.handler, index);
        }
        ++index;
    });
    return AcRx::kRetOK;
}

AcRx::AppRetCode AcRxArxApp::On_kUnloadDwgMsg(void*) {
    const AcRxRegistrationTables tables = registrationTables();
    int index = 0;
    ForEachEntry(tables.adsBegin, tables.adsEnd, [&](AcRxAdsEntry& entry) { acedUndef(entry.name, index++); });
    return AcRx::kRetOK;
}

AcRx::AppRetCode AcRxArxApp::On_kInvkSubrMsg(void*) {
    const AcRxRegistrationTables tables = registrationTables();
    const int code = acedGetFunCode();
    int index = 0;
    ForEachEntry(tables.adsBegin, tables.adsEnd, [&](AcRxAdsEntry& entry) {
        if (index++ == code) {
            entry.handler();
        }
    });
    return AcRx::kRetOK;
}

struct AcEdCommandStack::Implementation {
    struct Command {
        CString localName;
        int flags = 0;
        void (*handler)() = nullptr;
    };
    std::map<CString, std::map<CString, Command>> groups;
};

ACRX_DEFINE_MEMBERS(AcEdCommandStack, AcRxObject)

AcEdCommandStack::AcEdCommandStack() : m_implementation(std::make_unique<Implementation>()) {
}
AcEdCommandStack::~AcEdCommandStack() = default;

bool AcEdCommandStack::addCommand(const TCHAR* group, const TCHAR* globalName, const TCHAR* localName, int flags,
                                  void (*handler)()) {
    return m_implementation->groups[group]
        .try_emplace(globalName, Implementation::Command{localName, flags, handler})
        .second;
}

bool AcEdCommandStack::removeGroup(const TCHAR* group) {
    return m_implementation->groups.erase(group) != 0;
}

int AcEdCommandStack::commandCount() const {
    std::size_t count = 0;
    for (const auto& [group, commands] : m_implementation->groups) {
        count += commands.size();
    }
    return static_cast<int>(count);
}

bool AcEdCommandStack::run(const TCHAR* name) const {
    for (const auto& [group, commands] : m_implementation->groups) {
        for (const auto& [globalName, command] : commands) {
            if (globalName == name || command.localName == name) {
                command.handler();
                return true;
            }
        }
    }
    return false;
}

ACRX_DEFINE_MEMBERS(AcRxDictionary, AcRxObject)

AcRxObject* AcRxDictionary::at(const char* key) const {
    static AcEdCommandStack commandStack;
    return std::string_view(key) == ACRX_COMMAND_DOCK ? &commandStack : nullptr;
}

AcRxDictionary* acrxSysRegistry() {
    static AcRxDictionary registry;
    return &registry;
}

void acrxBuildClassHierarchy() {
    ++g_hostLog.classHierarchyBuilds;
}

void deleteAcRxClass(AcRxClass* description) {
    if (description != nullptr) {
        ++g_hostLog.deletedClasses;
    }
}

int acedDefun(const TCHAR* name, int code) {
    if (!DefinedFunctions().try_emplace({name, code}, nullptr).second) {
        return RTERROR;
    }
    ++g_hostLog.definedFunctions;
    return RTNORM;
}

int acedUndef(const TCHAR* name, int code) {
    if (DefinedFunctions().erase({name, code}) == 0) {
        return RTERROR;
    }
    --g_hostLog.definedFunctions;
    return RTNORM;
}

int acedRegFunc(int (*handler)(), int code) {
    for (auto& [key, registered] : DefinedFunctions()) {
        if (key.second == code && registered == nullptr) {
            registered = handler;
            ++g_hostLog.registeredFunctions;
            return RTNORM;
        }
    }
    return RTERROR;
}

int acedGetFunCode() {
    return g_calledFunction;
}

AcRxHostLog& acrxHostLog() {
    return g_hostLog;
}

void acrxSetCalledFunction(int code) {
    g_calledFunction = code;
}
