// SPDX-License-Identifier: Apache-2.0
#include <stdexcept>

#include "sdk/rule/Rule.h"

namespace {

// Fails on the floor "2F" and passes elsewhere.
class CCheckThrowing final : public norvex::rule::Rule {
  public:
    CCheckThrowing()
        : Rule({.strName = u"CCheckThrowing",
                .strShortName = u"throwing",
                .strTitle = u"Throws on one floor",
                .strCategory = STR_CHECK_CALCULATION,
                .strVersion = {},
                .vecSpecialties = {STR_SPEC_WATER}}) {}

  private:
    void Run(norvex::rule::Context& context) override {
        context.Examined(1);
        if (context.Floor() == u"2F") {
            throw std::runtime_error("no such table");
        }
    }
};

}  // namespace

NORVEX_RULE_MODULE(CCheckThrowing)
