// SPDX-License-Identifier: Apache-2.0
#include "sdk/rule/Rule.h"

namespace {

// Takes the name of a rule that ships.
class CCheckNamesake final : public norvex::rule::Rule {
  public:
    CCheckNamesake()
        : Rule({.strName = u"CCheckPipeLoop",
                .strShortName = u"namesake",
                .strTitle = u"Has a name that is taken",
                .strCategory = STR_CHECK_CALCULATION,
                .strVersion = {},
                .vecSpecialties = {}}) {}

  private:
    void Run(norvex::rule::Context&) override {}
};

}  // namespace

NORVEX_RULE_MODULE(CCheckNamesake)
