// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <set>
#include <string>

#include "norvexdata/Export.h"
#include "norvexdata/state/Records.h"
#include "platform/text/CString.h"

// What the user has trusted of one rule, asked once of the check service. A value: copies are independent. Check thread
// only. Requires: CNorvexData holds the service before Init or IsErrorTrusted; Init runs before any other query.
class NORVEXDATA_API COwTrustTool {
  public:
    // Loads the trust state of the rule that the two texts name to the service, in place of what was loaded before.
    void Init(const CString& first, const CString& second);

    NS_NORVEX::TrustStatus IsRuleTrusted() const;
    // Floor key, the floor's name up to its first "层", to the trusted sub-category names; empty unless part is
    // trusted.
    const std::map<CString, std::set<CString>>& GetTrustParam() const;
    // Whether one sub-category is trusted on one floor.
    bool IsTrustItem(const CString& floorKey, const CString& subCategory);
    // Copies the floor's trusted names. Returns false, and leaves out as it was, when the floor has no entry.
    bool GetCurFlorTrustParam(const CString& floorKey, std::set<CString>& out) const;
    // Whether the service trusts the finding with this feature code.
    bool IsErrorTrusted(const std::string& featureCode) const;

  private:
    // Deliberately without a value before Init.
    NS_NORVEX::TrustStatus m_eTrustStatus;
    std::map<CString, std::set<CString>> m_mapTrustParam;
};
