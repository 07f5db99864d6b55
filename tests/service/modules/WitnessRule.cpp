// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <sstream>

#include "norvexdata/module/ThreadManagement.h"
#include "platform/arx/AcDbDatabase.h"
#include "platform/datamng/ProjectData.h"
#include "platform/datamng/ZrOwDataMng.h"
#include "platform/kernel/Synchronization.h"
#include "sdk/rule/Rule.h"

namespace {

CString Number(int number) {
    CString text;
    text.Format(u"%d", number);
    return text;
}

CString Address(const void* pointer) {
    std::ostringstream text;
    text << pointer;
    return norvex::text::FromUtf8(text.str());
}

// Reports what it sees of the shared state, as "name=value" pairs in the sentence of one finding per task.
class CCheckWitness final : public norvex::rule::Rule {
  public:
    CCheckWitness()
        : Rule({.strName = u"CCheckWitness",
                .strShortName = u"witness",
                .strTitle = u"Tells the state it sees",
                .strCategory = STR_CHECK_CALCULATION,
                .strVersion = {},
                .vecSpecialties = {STR_SPEC_WATER, STR_SPEC_FIRE_PROTECTION}}) {}

  private:
    void Run(norvex::rule::Context& context) override {
        context.Examined(1);
        CString sentence;
        const auto add = [&](const char16_t* name, const CString& value) {
            sentence += CString(u" ") + name + u"=" + value;
        };
        add(u"floor", context.Floor());
        add(u"specialty", CNorvexData::s_strCurSpec);
        add(u"category", CNorvexData::s_strCurCategory);
        add(u"project", norvex::datamng::GetCurrentProject().currentSpecialty);
        add(u"folder", ZrOwDataMng::CProj::GetPrjDir());
        add(u"database", Address(acdbHostApplicationServices()->workingDatabase()));
        int errors = 0;
        int checks = 0;
        CNorvexData::GetCheckResultCount(errors, checks);
        add(u"errors", Number(errors));
        add(u"rate", Number(CNorvexData::GetCheckRuleRate()));
        add(u"thread", IsThreadKnown() ? u"known" : u"unknown");
        add(u"objects", HasObjects() ? u"made" : u"missing");
        context.Report({.subCategory = u"state", .severity = STR_ERR_REMIND, .sentence = sentence, .objects = {}});
    }

    static bool IsThreadKnown() {
        return CThreadManagement::s_cRunningThreadId == static_cast<DWORD>(gettid()) &&
               WaitForSingleObject(CThreadManagement::s_cRunningThread, 0) == WAIT_TIMEOUT;
    }
    static bool HasObjects() {
        return CThreadManagement::s_hStopSignal != nullptr && CThreadManagement::s_hChangeFloorSignal != nullptr &&
               CThreadManagement::s_hWaitResultMutex != nullptr;
    }
};

}  // namespace

NORVEX_RULE_MODULE(CCheckWitness)
