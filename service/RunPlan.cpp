// SPDX-License-Identifier: Apache-2.0
#include "service/RunPlan.h"

#include <fmt/format.h>
#include <algorithm>
#include <set>

#include "platform/text/Utf8.h"
#include "service/Words.h"

namespace norvex::service {
namespace {

std::string Unknown(const std::string& kind, const std::string& wanted, const std::vector<std::string>& known) {
    return known.empty() ? fmt::format("There is no {} \"{}\"; there is none at all.", kind, wanted)
                         : fmt::format("There is no {} \"{}\"; there is: {}.", kind, wanted, Joined(known));
}

// Indices of the items that match any of the wanted names, in the items' own order; all when nothing is wanted.
// Errors: the first wanted name that matches none goes to missing.
template <class Items, class Matches>
std::vector<std::size_t> Choose(const std::vector<std::string>& wanted, const Items& items, Matches matches,
                                std::optional<std::string>& missing) {
    std::set<std::size_t> chosen;
    for (std::size_t i = 0; i < items.size() && wanted.empty(); ++i) {
        chosen.insert(i);
    }
    for (const std::string& name : wanted) {
        const auto item =
            std::find_if(items.begin(), items.end(), [&](const auto& each) { return matches(each, name); });
        if (item == items.end()) {
            missing = name;
            return {};
        }
        chosen.insert(static_cast<std::size_t>(item - items.begin()));
    }
    return {chosen.begin(), chosen.end()};
}

// The shared vocabulary's specialties, and behind them what else the model holds.
std::vector<CString> SpecialtiesOf(const FloorSource& source) {
    std::vector<CString> specialties = Specialties();
    for (const CString& path : source.Paths()) {
        const CString specialty = path.Left(path.Find(u'\\'));
        if (std::find(specialties.begin(), specialties.end(), specialty) == specialties.end()) {
            specialties.push_back(specialty);
        }
    }
    return specialties;
}

bool ChooseFloors(const RunRequest& request, const FloorSource& source, RunPlan& plan, std::string& error) {
    std::optional<std::string> missing;
    plan.floors = Choose(
        request.floors, source.Floors(),
        [](const FloorRecord& floor, const std::string& name) { return floor.name == name; }, missing);
    if (missing) {
        std::vector<std::string> known;
        for (const FloorRecord& floor : source.Floors()) {
            known.push_back(floor.name);
        }
        error = Unknown("floor", *missing, known);
    }
    return !missing;
}

bool ChooseSpecialties(const RunRequest& request, const FloorSource& source, RunPlan& plan, std::string& error) {
    const std::vector<CString> specialties = SpecialtiesOf(source);
    std::optional<std::string> missing;
    const std::vector<std::size_t> chosen = Choose(
        request.specialties, specialties,
        [](const CString& specialty, const std::string& name) {
            return text::ToUtf8(specialty) == SpecialtyOf(name).value_or(name);
        },
        missing);
    for (const std::size_t index : chosen) {
        plan.specialties.push_back(specialties[index]);
    }
    if (missing) {
        std::vector<std::string> known;
        for (const CString& specialty : specialties) {
            const std::string word = text::ToUtf8(specialty);
            const std::string_view gloss = SpecialtyGloss(word);
            known.push_back(gloss.empty() ? word : fmt::format("{} ({})", word, gloss));
        }
        error = Unknown("specialty", *missing, known);
    }
    return !missing;
}

bool ChooseRules(const RunRequest& request, const std::vector<LoadedRule>& rules, RunPlan& plan, std::string& error) {
    std::optional<std::string> missing;
    const std::vector<std::size_t> chosen = Choose(
        request.rules, rules,
        [](const LoadedRule& rule, const std::string& name) {
            return EqualsIgnoringCase(rule.record.name, name) || EqualsIgnoringCase(rule.record.shortName, name);
        },
        missing);
    for (const std::size_t index : chosen) {
        plan.rules.push_back(rules[index]);
    }
    if (missing) {
        std::vector<std::string> known;
        for (const LoadedRule& rule : rules) {
            known.push_back(fmt::format("{} ({})", rule.record.shortName, rule.record.name));
        }
        error = Unknown("rule", *missing, known);
    }
    return !missing;
}

void PlanTasks(RunPlan& plan) {
    for (std::size_t floor = 0; floor < plan.floors.size(); ++floor) {
        std::vector<bool> hasTask(plan.rules.size());
        for (std::size_t specialty = 0; specialty < plan.specialties.size(); ++specialty) {
            for (std::size_t rule = 0; rule < plan.rules.size(); ++rule) {
                if (plan.rules[rule].AppliesTo(text::ToUtf8(plan.specialties[specialty]))) {
                    plan.tasks.push_back({floor, specialty, rule});
                    hasTask[rule] = true;
                }
            }
        }
        for (std::size_t rule = 0; rule < plan.rules.size(); ++rule) {
            if (!hasTask[rule]) {
                plan.tasks.push_back({floor, std::nullopt, rule});
            }
        }
    }
}

}  // namespace

std::optional<RunPlan> MakeRunPlan(const RunRequest& request, const FloorSource& source,
                                   const std::vector<LoadedRule>& rules, std::string& error) {
    RunPlan plan;
    plan.narrowed = !request.floors.empty() || !request.specialties.empty() || !request.rules.empty();
    if (!ChooseFloors(request, source, plan, error) || !ChooseSpecialties(request, source, plan, error) ||
        !ChooseRules(request, rules, plan, error)) {
        return std::nullopt;
    }
    PlanTasks(plan);
    return plan;
}

}  // namespace norvex::service
