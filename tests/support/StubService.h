// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "norvexdata/state/NorvexService.h"
#include "support/Narrow.h"

#include <initializer_list>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace norvex::test {

// A component, floor or choice with its items, given as wide text.
inline NS_NORVEX::ComponentInfo Component(const CString& name, std::initializer_list<CString> items) {
    NS_NORVEX::ComponentInfo component;
    component.strName = Narrow(name);
    for (const CString& item : items) {
        component.aryItems.append(Narrow(item));
    }
    return component;
}

// A check service that answers what a test tells it to and remembers what it was asked.
class StubService : public INorvexService {
  public:
    virtual ~StubService() = default;

    NS_NORVEX::TrustStatus GetTrustStatus(const std::string& first, const std::string& second) override {
        questions.push_back("status " + first + " " + second);
        return status;
    }
    void GetTrustParam(const std::string& first, const std::string& second,
                       CZRArray<NS_NORVEX::ComponentInfo>*& records) override {
        questions.push_back("param " + first + " " + second);
        records = hasRecords ? &trusted : nullptr;
    }
    bool IsErrorTrusted(const std::string& featureCode) override {
        questions.push_back("error " + featureCode);
        return trustedErrors.count(featureCode) != 0;
    }
    void RegisterRule(INorvexRule* rule) override { rules.push_back(rule); }
    void ReportFinding(const NS_NORVEX::Finding& finding) override { findings.push_back(finding); }
    bool ReportProgress(int, int) override { return !cancelled; }
    CString GetFloorTitle(const CString& floor) override { return floor; }
    const std::map<CString, int>& GetWithoutPlace() override { return withoutPlace; }

    NS_NORVEX::TrustStatus status = NS_NORVEX::eTrustNone;
    bool hasRecords = true;
    CZRArray<NS_NORVEX::ComponentInfo> trusted;
    std::set<std::string> trustedErrors;
    std::vector<std::string> questions;
    std::vector<INorvexRule*> rules;
    std::vector<NS_NORVEX::Finding> findings;
    std::map<CString, int> withoutPlace;
    bool cancelled = false;
};

}  // namespace norvex::test
