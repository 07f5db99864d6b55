// SPDX-License-Identifier: Apache-2.0
#include <stdexcept>

#include "sdk/rule/Rule.h"

namespace {

// Lets an exception out of the module, which a rule must not do.
class CCheckBorder final : public INorvexRule {
  public:
    void SetVersion(const CString& version) { m_info.strVersion = version; }
    const NS_NORVEX::RuleInfo& GetInfo() const override { return m_info; }
    void Check(NS_NORVEX::RuleResult&) override { throw std::runtime_error("out of bounds"); }

  private:
    NS_NORVEX::RuleInfo m_info{.strName = u"CCheckBorder",
                               .strShortName = u"border",
                               .strTitle = u"Throws across the border",
                               .strCategory = STR_CHECK_CALCULATION,
                               .vecSpecialties = {STR_SPEC_WATER}};
};

}  // namespace

NORVEX_RULE_MODULE(CCheckBorder)
