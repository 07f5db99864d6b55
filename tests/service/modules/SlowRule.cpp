// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <thread>

#include "sdk/rule/Rule.h"

namespace {

// Takes a few milliseconds for each floor and specialty, reports one finding there, and ends early when the run is
// cancelled.
class CCheckSlow final : public norvex::rule::Rule {
  public:
    CCheckSlow()
        : Rule({.strName = u"CCheckSlow",
                .strShortName = u"slow",
                .strTitle = u"Takes its time",
                .strCategory = STR_CHECK_CALCULATION,
                .strVersion = {},
                .vecSpecialties = {STR_SPEC_WATER, STR_SPEC_FIRE_PROTECTION, STR_SPEC_HVAC}}) {}

  private:
    void Run(norvex::rule::Context& context) override {
        constexpr int kSteps = 6;
        for (int step = 0; step < kSteps; ++step) {
            if (!context.GoOn(step, kSteps)) {
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        context.Examined(1);
        context.Report(
            {.subCategory = u"slow", .severity = STR_ERR_SUSPECTED, .sentence = u"It took a while.", .objects = {}});
    }
};

}  // namespace

NORVEX_RULE_MODULE(CCheckSlow)
