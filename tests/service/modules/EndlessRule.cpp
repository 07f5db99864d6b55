// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <thread>

#include "sdk/rule/Rule.h"

namespace {

// Reports one finding and then goes on until the run is cancelled.
class CCheckEndless final : public norvex::rule::Rule {
  public:
    CCheckEndless()
        : Rule({.strName = u"CCheckEndless",
                .strShortName = u"endless",
                .strTitle = u"Never ends by itself",
                .strCategory = STR_CHECK_CALCULATION,
                .strVersion = {},
                .vecSpecialties = {STR_SPEC_WATER}}) {}

  private:
    void Run(norvex::rule::Context& context) override {
        context.Report(
            {.subCategory = u"early", .severity = STR_ERR_CONFIRMED, .sentence = u"Found first.", .objects = {}});
        while (context.GoOn(1, 2)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
};

}  // namespace

NORVEX_RULE_MODULE(CCheckEndless)
