// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "platform/Export.h"
#include "platform/text/CString.h"

// The host's application framework: run-time classes, application messages, and the application object that receives
// them.

namespace AcRx {

// Messages that the host sends to an application through acrxEntryPoint. The numbers are the host's; it may send
// others.
enum AppMsgCode : int {
    kNullMsg = 0,
    kInitAppMsg = 1,
    kUnloadAppMsg = 2,
    kLoadDwgMsg = 3,
    kUnloadDwgMsg = 4,
    kInvkSubrMsg = 5,
    kCfgMsg = 6,
    kEndMsg = 7,
    kQuitMsg = 8,
    kSaveMsg = 9,
    kDependencyMsg = 10,
    kNoDependencyMsg = 11,
    kOleUnloadAppMsg = 12,
    kPreQuitMsg = 13,
    kInitDialogMsg = 14,
    kEndDialogMsg = 15
};

// An application's answer to a message.
enum AppRetCode { kRetOK = 0, kRetError = 3 };

}  // namespace AcRx

class AcRxObject;

// Describes one run-time class. Built by ACRX_DEFINE_MEMBERS, one per class, for the life of the process.
class NORVEX_PLATFORM_API AcRxClass {
  public:
    AcRxClass(const char* name, const AcRxClass* parent) : m_name(name), m_parent(parent) {}

    const char* name() const { return m_name; }
    const AcRxClass* myParent() const { return m_parent; }
    // True when this class is other or derives from it. At most as many steps as the hierarchy is deep.
    bool isDerivedFrom(const AcRxClass* other) const;

  private:
    const char* m_name;
    const AcRxClass* m_parent;
};

// Root of every object that the host can tell the class of.
class NORVEX_PLATFORM_API AcRxObject {
  public:
    AcRxObject() = default;
    AcRxObject(const AcRxObject&) = delete;
    AcRxObject& operator=(const AcRxObject&) = delete;
    virtual ~AcRxObject();

    static AcRxClass* desc();
    virtual AcRxClass* isA() const;
    bool isKindOf(const AcRxClass* other) const { return isA()->isDerivedFrom(other); }
};

// Declares desc(), isA() and cast() of a class. cast() gives null for null and for an object of another kind.
#define ACRX_DECLARE_MEMBERS(CLASS)                                  \
    static AcRxClass* desc();                                        \
    AcRxClass* isA() const override;                                 \
    static CLASS* cast(const AcRxObject* object) {                   \
        if (object == nullptr || !object->isKindOf(CLASS::desc())) { \
            return nullptr;                                          \
        }                                                            \
        return static_cast<CLASS*>(const_cast<AcRxObject*>(object)); \
    }

// Defines what ACRX_DECLARE_MEMBERS declares. Goes into one source file.
#define ACRX_DEFINE_MEMBERS(CLASS, PARENT)                  \
    AcRxClass* CLASS::desc() {                              \
        static AcRxClass described(#CLASS, PARENT::desc()); \
        return &described;                                  \
    }                                                       \
    AcRxClass* CLASS::isA() const {                         \
        return CLASS::desc();                               \
    }

// One custom object class that an application registers when it is loaded.
struct AcRxClassEntry {
    // Initialises the class; null entries are skipped.
    void (*rxInit)() = nullptr;
    AcRxClass* (*desc)() = nullptr;
    bool registered = false;
};

// One command that an application registers when it is loaded.
struct AcRxCommandEntry {
    const TCHAR* group = nullptr;
    const TCHAR* globalName = nullptr;
    // Null: the name is the resource string localNameId.
    const TCHAR* localName = nullptr;
    unsigned localNameId = 0;
    int flags = 0;
    void (*handler)() = nullptr;
};

// One function that an application defines in every drawing.
struct AcRxAdsEntry {
    const TCHAR* name = nullptr;
    int (*handler)() = nullptr;
    bool registerFunction = false;
};

// The link-time tables that the framework walks. Entries may be null; null entries are skipped and take no index.
struct AcRxRegistrationTables {
    AcRxClassEntry** classBegin = nullptr;
    AcRxClassEntry** classEnd = nullptr;
    AcRxCommandEntry** commandBegin = nullptr;
    AcRxCommandEntry** commandEnd = nullptr;
    AcRxAdsEntry** adsBegin = nullptr;
    AcRxAdsEntry** adsEnd = nullptr;
};

// Application object of a module: receives the host's messages. The virtual operations stand in the order of the host's
// slots.
class NORVEX_PLATFORM_API AcRxDbxApp {
  public:
    AcRxDbxApp();
    AcRxDbxApp(const AcRxDbxApp&) = delete;
    AcRxDbxApp& operator=(const AcRxDbxApp&) = delete;

    virtual AcRx::AppRetCode On_kInitAppMsg(void* data);
    virtual AcRx::AppRetCode On_kUnloadAppMsg(void* data);
    virtual AcRx::AppRetCode On_kLoadDwgMsg(void* data);
    virtual AcRx::AppRetCode On_kUnloadDwgMsg(void* data);
    virtual AcRx::AppRetCode On_kInvkSubrMsg(void* data);
    virtual AcRx::AppRetCode On_kCfgMsg(void* data);
    virtual AcRx::AppRetCode On_kEndMsg(void* data);
    virtual AcRx::AppRetCode On_kQuitMsg(void* data);
    virtual AcRx::AppRetCode On_kSaveMsg(void* data);
    virtual AcRx::AppRetCode On_kDependencyMsg(void* data);
    virtual AcRx::AppRetCode On_kNoDependencyMsg(void* data);
    virtual AcRx::AppRetCode On_kOleUnloadAppMsg(void* data);
    virtual AcRx::AppRetCode On_kPreQuitMsg(void* data);
    virtual AcRx::AppRetCode On_kInitDialogMsg(void* data);
    virtual AcRx::AppRetCode On_kEndDialogMsg(void* data);
    virtual AcRx::AppRetCode On_kNullMsg(void* data);
    virtual ~AcRxDbxApp();

    // Hands a message to the matching operation and returns its answer. A code that is no message gives kRetOK.
    AcRx::AppRetCode acrxEntryPoint(AcRx::AppMsgCode message, void* data);

    // The module that holds this application as a static object, asked for resource strings; null for other objects.
    void* m_hdllInstance = nullptr;

  protected:
    // The module's tables. The framework never owns them.
    virtual AcRxRegistrationTables registrationTables() const;
};

// Application object of a module that also registers commands and functions with the host's editor.
class NORVEX_PLATFORM_API AcRxArxApp : public AcRxDbxApp {
  public:
    AcRx::AppRetCode On_kInitAppMsg(void* data) override;
    AcRx::AppRetCode On_kUnloadAppMsg(void* data) override;
    AcRx::AppRetCode On_kLoadDwgMsg(void* data) override;
    AcRx::AppRetCode On_kUnloadDwgMsg(void* data) override;
    AcRx::AppRetCode On_kInvkSubrMsg(void* data) override;
};

// Host API version of the ObjectARX 18 generation: major version in the upper half, minor in the lower.
inline constexpr int kAcRxApiVersion = 18 << 16;

// Signatures of the two functions that a module exports to the host.
using AcRxEntryPointFunction = AcRx::AppRetCode (*)(AcRx::AppMsgCode message, void* appId);
using AcRxApiVersionFunction = int (*)();

// The host's command stack, reached through the system registry under ACRX_COMMAND_DOCK.
#define ACRX_COMMAND_DOCK "ACAD_REGISTERED_COMMANDS"

class NORVEX_PLATFORM_API AcEdCommandStack : public AcRxObject {
  public:
    ACRX_DECLARE_MEMBERS(AcEdCommandStack)

    AcEdCommandStack();
    ~AcEdCommandStack() override;

    // Adds a command. Errors: false when the group already holds a command of that global name.
    bool addCommand(const TCHAR* group, const TCHAR* globalName, const TCHAR* localName, int flags, void (*handler)());
    // Removes a group with all its commands. Errors: false when there is no such group.
    bool removeGroup(const TCHAR* group);
    // Number of commands of all groups.
    int commandCount() const;
    // Runs the command with this global or local name. Errors: false when none has it.
    bool run(const TCHAR* name) const;

  private:
    struct Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

class NORVEX_PLATFORM_API AcRxDictionary : public AcRxObject {
  public:
    ACRX_DECLARE_MEMBERS(AcRxDictionary)
    // The object under a key; null when there is none. The dictionary owns it.
    AcRxObject* at(const char* key) const;
};

// The host's registry of services; lives as long as the process.
NORVEX_PLATFORM_API AcRxDictionary* acrxSysRegistry();
// The command stack in the system registry.
inline AcEdCommandStack* acedRegCmds() {
    return AcEdCommandStack::cast(acrxSysRegistry()->at(ACRX_COMMAND_DOCK));
}

NORVEX_PLATFORM_API void acrxBuildClassHierarchy();
NORVEX_PLATFORM_API void deleteAcRxClass(AcRxClass* description);
// Result of the editor functions below: done, or refused.
inline constexpr int RTNORM = 5100;
inline constexpr int RTERROR = -5001;
NORVEX_PLATFORM_API int acedDefun(const TCHAR* name, int code);
NORVEX_PLATFORM_API int acedUndef(const TCHAR* name, int code);
NORVEX_PLATFORM_API int acedRegFunc(int (*handler)(), int code);
// Code of the function that the host is calling now; RTERROR when it calls none.
NORVEX_PLATFORM_API int acedGetFunCode();

// What the stand-in host saw of an application's registrations, for hosts and tests that ask for it.
struct AcRxHostLog {
    int classHierarchyBuilds = 0;
    int deletedClasses = 0;
    int definedFunctions = 0;
    int registeredFunctions = 0;
};
// The log since the process began. Plain data of the main thread.
NORVEX_PLATFORM_API AcRxHostLog& acrxHostLog();
// Makes acedGetFunCode() answer this code, as while the host calls a function.
NORVEX_PLATFORM_API void acrxSetCalledFunction(int code);
