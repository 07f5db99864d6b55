// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <tuple>
#include <utility>

#include "norvexdata/state/NorvexData.h"
#include "norvexdata/state/NorvexRule.h"
#include "norvexdata/state/NorvexService.h"
#include "platform/arx/AcRx.h"
#include "platform/containers/Exceptions.h"
#include "platform/text/Utf8.h"
#include "sdk/rule/Context.h"

// Everything that a rule module needs:
//
//     class CCheckSomething : public norvex::rule::Rule {
//       public:
//         CCheckSomething()
//             : Rule({.strName = u"CCheckSomething",
//                     .strShortName = u"something",
//                     .strTitle = u"Something that must not be",
//                     .strCategory = STR_CHECK_MODEL_PLAUSIBILITY,
//                     .vecSpecialties = {STR_SPEC_WATER}}) {}
//
//       private:
//         void Run(norvex::rule::Context& context) override { ... context.Examined(1); ... context.Report(...); }
//     };
//
//     NORVEX_RULE_MODULE(CCheckSomething)
//
// built with norvex_add_rule(CheckSomething SOURCES CheckSomething.cpp), which names the module's version.

namespace norvex::rule {

// Base of a rule: keeps its description, and turns whatever escapes from Run into an outcome, because nothing may be
// thrown across the border of a module.
class Rule : public INorvexRule {
  public:
    explicit Rule(NS_NORVEX::RuleInfo info) : m_info(std::move(info)) {}

    const NS_NORVEX::RuleInfo& GetInfo() const final { return m_info; }
    void SetVersion(const CString& version) { m_info.strVersion = version; }

    void Check(NS_NORVEX::RuleResult& result) final {
        try {
            Context context(m_info, result);
            if (context.Trust().IsRuleTrusted() == NS_NORVEX::eTrustAll) {
                result.eEnd = NS_NORVEX::eRuleTrusted;
                return;
            }
            Run(context);
            // The finding counts were added one by one; what was looked at is added once.
            CNorvexData::AddCheckResultCount(m_info.strCategory, CString(), STR_ERR_CONFIRMED, 0, result.iExamined);
        } catch (const std::exception& error) {
            Crash(result, text::FromUtf8(error.what()));
        } catch (...) {
            Crash(result, u"an exception of unknown kind");
        }
    }

  protected:
    ~Rule() = default;

    // Looks at one floor and specialty. Says what it examined, also when nothing is wrong.
    virtual void Run(Context& context) = 0;

  private:
    static void Crash(NS_NORVEX::RuleResult& result, const CString& reason) {
        result.eEnd = NS_NORVEX::eRuleCrashed;
        result.strReason = reason;
    }

    NS_NORVEX::RuleInfo m_info;
};

// Application object of a rule module: makes its rules known when the host initialises it. The rules are built then and
// not during static construction, so that they may use constants of any source file.
template <class... Rules>
class ModuleApplication : public AcRxArxApp {
  public:
    explicit ModuleApplication(const char* version) : m_version(version) {}

    AcRx::AppRetCode On_kInitAppMsg(void* data) override {
        INorvexService* service = CNorvexData::GetNorvexService();
        if (service == nullptr) {
            return AcRx::kRetError;
        }
        static std::tuple<Rules...> rules;
        std::apply(
            [&](Rules&... each) {
                (each.SetVersion(CString(m_version)), ...);
                (service->RegisterRule(&each), ...);
            },
            rules);
        return AcRxArxApp::On_kInitAppMsg(data);
    }

  private:
    const char* m_version;
};

}  // namespace norvex::rule

// Version of the INorvexService and INorvexRule that a module was built for; the host asks before it sends a message.
using NorvexRuleApiVersionFunction = int (*)();

// Makes a source file a rule module with the given rules. Used once in a module. NORVEX_RULE_VERSION comes from
// norvex_add_rule.
#define NORVEX_RULE_MODULE(...)                                                                             \
    extern "C" __attribute__((visibility("default"))) AcRx::AppRetCode acrxEntryPoint(AcRx::AppMsgCode msg, \
                                                                                      void* appId) {        \
        static norvex::rule::ModuleApplication<__VA_ARGS__> application(NORVEX_RULE_VERSION);               \
        return application.acrxEntryPoint(msg, appId);                                                      \
    }                                                                                                       \
    extern "C" __attribute__((visibility("default"))) int acrxGetApiVersion() {                             \
        return kAcRxApiVersion;                                                                             \
    }                                                                                                       \
    extern "C" __attribute__((visibility("default"))) int norvexGetRuleApiVersion() {                       \
        return kNorvexRuleApiVersion;                                                                       \
    }
