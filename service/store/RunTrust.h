// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <utility>

#include "service/TrustStore.h"
#include "service/store/TrustRecords.h"

namespace norvex::service::store {

// What holds for one run, in the form in which rules ask for it: narrow text, floors under their module names
// (FloorNames.h). Check thread only.
class RunTrust final : public TrustStore {
  public:
    explicit RunTrust(TrustView view);

    NS_NORVEX::TrustStatus StatusOf(const std::string& rule, const std::string& specialty) override;
    CZRArray<NS_NORVEX::ComponentInfo>& FloorsOf(const std::string& rule, const std::string& specialty) override;
    bool IsFindingTrusted(const std::string& featureCode) override;

  private:
    TrustView view_;
    std::map<std::pair<std::string, std::string>, CZRArray<NS_NORVEX::ComponentInfo>> floors_;  // what was asked for
};

}  // namespace norvex::service::store
