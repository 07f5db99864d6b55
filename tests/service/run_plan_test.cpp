// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "service/RunPlan.h"
#include "tests/service/support/DrawingFloors.h"

namespace {

using norvex::Drawing;
using norvex::service::LoadedRule;
using norvex::service::MakeRunPlan;
using norvex::service::RunPlan;
using norvex::service::RunRequest;
using norvex::test::DrawingFloors;

DrawingFloors House() {
    DrawingFloors floors;
    Drawing first;
    first.pipe({0, 0, 0}, {1, 0, 0}, "给排水\\管线\\管道\\DN50");
    Drawing second;
    second.pipe({0, 0, 0}, {1, 0, 0}, "燃气\\管线\\管道\\DN50");
    floors.Add("1F", std::move(first)).Add("2F", std::move(second));
    return floors;
}

LoadedRule RuleNamed(const std::string& name, const std::string& shortName, std::vector<std::string> specialties) {
    LoadedRule rule;
    rule.record.name = name;
    rule.record.shortName = shortName;
    rule.record.specialties = std::move(specialties);
    return rule;
}

const std::vector<LoadedRule> kRules{RuleNamed("CCheckAll", "all", {}),
                                     RuleNamed("CCheckWater", "water-only", {"给排水"})};

RunPlan PlanOf(const RunRequest& request) {
    std::string error;
    const std::optional<RunPlan> plan = MakeRunPlan(request, House(), kRules, error);
    EXPECT_TRUE(plan.has_value()) << error;
    return plan.value_or(RunPlan());
}

std::string ErrorOf(const RunRequest& request) {
    std::string error;
    EXPECT_FALSE(MakeRunPlan(request, House(), kRules, error).has_value());
    return error;
}

TEST(RunPlan, TakesFloorsThenSpecialtiesThenRules) {
    const RunPlan plan = PlanOf({});
    EXPECT_FALSE(plan.narrowed);
    // Five specialties of the vocabulary, one more of the model; the water rule joins in one of them.
    ASSERT_EQ(plan.specialties.size(), 6U);
    ASSERT_EQ(plan.tasks.size(), 14U);
    EXPECT_EQ(plan.tasks[0].rule, 0U);
    EXPECT_EQ(plan.tasks[1].rule, 1U);
    EXPECT_EQ(plan.tasks[1].specialty, 0U);
    EXPECT_EQ(plan.tasks[2].specialty, 1U);
    EXPECT_EQ(plan.tasks[7].floor, 1U);
}

TEST(RunPlan, NarrowsByNameGlossAndShortName) {
    const RunPlan plan = PlanOf({{"2F"}, {"WATER"}, {"Water-Only"}});
    EXPECT_TRUE(plan.narrowed);
    ASSERT_EQ(plan.tasks.size(), 1U);
    EXPECT_EQ(plan.floors, (std::vector<std::size_t>{1}));
    EXPECT_EQ(norvex::text::ToUtf8(plan.specialties[0]), "给排水");
    EXPECT_EQ(plan.rules[0].record.name, "CCheckWater");
}

TEST(RunPlan, TakesASpecialtyThatOnlyTheModelKnows) {
    EXPECT_EQ(PlanOf({{}, {"燃气"}, {"all"}}).tasks.size(), 2U);
}

TEST(RunPlan, KeepsATaskForARuleThatSuitsNoChosenSpecialty) {
    const RunPlan plan = PlanOf({{"1F"}, {"fire"}, {"CCheckWater"}});
    ASSERT_EQ(plan.tasks.size(), 1U);
    EXPECT_FALSE(plan.tasks[0].specialty.has_value());
}

TEST(RunPlan, IgnoresNamesGivenTwice) {
    EXPECT_EQ(PlanOf({{"1F", "1F"}, {"water"}, {"all"}}).tasks.size(), 1U);
}

TEST(RunPlan, NamesWhatExistsWhenAFloorDoesNot) {
    EXPECT_EQ(ErrorOf({{"3F"}, {}, {}}), "There is no floor \"3F\"; there is: 1F, 2F.");
}

TEST(RunPlan, NamesWhatExistsWhenASpecialtyDoesNot) {
    EXPECT_EQ(ErrorOf({{}, {"gas"}, {}}),
              "There is no specialty \"gas\"; there is: 给排水 (water), 消防 (fire), 暖通 (hvac), 电气 (electrical), "
              "弱电 (low-voltage), 燃气.");
}

TEST(RunPlan, NamesWhatExistsWhenARuleDoesNot) {
    EXPECT_EQ(ErrorOf({{}, {}, {"pipe"}}),
              "There is no rule \"pipe\"; there is: all (CCheckAll), water-only (CCheckWater).");
}

}  // namespace
