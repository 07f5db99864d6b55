// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>

#include "norvexdata/state/NorvexRule.h"
#include "norvexdata/state/Records.h"

// The check service, as rule modules and the module see it. The three trust operations come first, in this order; what
// follows is the service's own. Operations are only ever added at the end, and kNorvexRuleApiVersion grows with them.
// Called on the check thread. The module borrows the pointer and never deletes it, so there is no virtual destructor to
// take a slot.
class INorvexService {
  public:
    // How much of a rule is trusted. The two narrow texts identify the rule.
    virtual NS_NORVEX::TrustStatus GetTrustStatus(const std::string& first, const std::string& second) = 0;
    // Sets records to the trusted floors with their sub-category names. The service owns the array and keeps it until
    // its next call.
    virtual void GetTrustParam(const std::string& first, const std::string& second,
                               CZRArray<NS_NORVEX::ComponentInfo>*& records) = 0;
    // Whether the finding with this feature code is trusted.
    virtual bool IsErrorTrusted(const std::string& featureCode) = 0;

    // Makes a rule known; called while its module handles kInitAppMsg. The rule stays the module's and must live as
    // long as the process. Errors: a rule without a name, or with the name of another one, makes the service refuse the
    // whole module.
    virtual void RegisterRule(INorvexRule* rule) = 0;
    // Takes over one finding of the rule that is running. Reporting does not count: the caller does that with
    // CNorvexData::AddCheckResultCount.
    virtual void ReportFinding(const NS_NORVEX::Finding& finding) = 0;
    // Says how far the running rule has come, done out of total. Returns false when the run was cancelled: the rule
    // then ends soon. Cheap enough to be called for every entity.
    virtual bool ReportProgress(int done, int total) = 0;
    // The name by which people know the floor that CNorvexData::s_strCurFloor names. The two may be spelt differently,
    // because the trust list cuts names at "层" and takes them through code page 936.
    virtual CString GetFloorTitle(const CString& floor) = 0;
    // How many elements of the current floor are not in its drawing, because the model says no place for them: by
    // attribute-name path, all specialties. Good until the floor changes.
    virtual const std::map<CString, int>& GetWithoutPlace() = 0;

  protected:
    INorvexService() = default;
    INorvexService(const INorvexService&) = default;
    INorvexService& operator=(const INorvexService&) = default;
    ~INorvexService() = default;
};
