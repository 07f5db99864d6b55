// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "norvexdata/state/NorvexService.h"
#include "service/TrustStore.h"

namespace norvex::service {

// Takes what a running rule says. One run at a time, on its thread.
class RuleListener {
  public:
    virtual ~RuleListener() = default;
    virtual void OnFinding(const NS_NORVEX::Finding& finding) = 0;
    // Returns false to make the rule end.
    virtual bool OnProgress(int done, int total) = 0;
};

// The check service behind the interface that rule modules and the module know. Passes on: trust questions to the
// store, what a rule says to the listener of the run; keeps the rules that modules register.
class CheckService final : public INorvexService {
  public:
    explicit CheckService(TrustStore& trust) : m_trust(trust) {}

    NS_NORVEX::TrustStatus GetTrustStatus(const std::string& first, const std::string& second) override;
    void GetTrustParam(const std::string& first, const std::string& second,
                       CZRArray<NS_NORVEX::ComponentInfo>*& records) override;
    bool IsErrorTrusted(const std::string& featureCode) override;
    void RegisterRule(INorvexRule* rule) override;
    void ReportFinding(const NS_NORVEX::Finding& finding) override;
    bool ReportProgress(int done, int total) override;
    CString GetFloorTitle(const CString& floor) override;
    const std::map<CString, int>& GetWithoutPlace() override { return m_withoutPlace; }

    // Null while no rule runs; what rules say then is dropped.
    void SetListener(RuleListener* listener) { m_listener = listener; }

    // What GetWithoutPlace answers from now on.
    void SetWithoutPlace(std::map<CString, int> counts) { m_withoutPlace = std::move(counts); }

    // Rules registered since the last call, in the order of registration.
    std::vector<INorvexRule*> TakeRegistered();

  private:
    TrustStore& m_trust;
    RuleListener* m_listener = nullptr;
    std::vector<INorvexRule*> m_registered;
    std::map<CString, int> m_withoutPlace;
};

}  // namespace norvex::service
