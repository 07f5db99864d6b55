// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "norvexdata/state/Records.h"

namespace norvex::service {

// What the user has accepted. Rules reach it through COwTrustTool, which asks the check service, which asks this. Text
// is narrow, in code page 936, as that interface has it; rule and specialty are the two names that identify a rule.
class TrustStore {
  public:
    virtual ~TrustStore() = default;
    virtual NS_NORVEX::TrustStatus StatusOf(const std::string& rule, const std::string& specialty) = 0;
    // Floors with the component sub-categories trusted on them. Good until the next call.
    virtual CZRArray<NS_NORVEX::ComponentInfo>& FloorsOf(const std::string& rule, const std::string& specialty) = 0;
    virtual bool IsFindingTrusted(const std::string& featureCode) = 0;
};

// A project in which nothing has been accepted.
class NothingTrusted final : public TrustStore {
  public:
    NS_NORVEX::TrustStatus StatusOf(const std::string&, const std::string&) override { return NS_NORVEX::eTrustNone; }
    CZRArray<NS_NORVEX::ComponentInfo>& FloorsOf(const std::string&, const std::string&) override { return m_floors; }
    bool IsFindingTrusted(const std::string&) override { return false; }

  private:
    CZRArray<NS_NORVEX::ComponentInfo> m_floors;
};

}  // namespace norvex::service
