// SPDX-License-Identifier: Apache-2.0
#include "service/TrustRequest.h"

#include <fmt/format.h>
#include <algorithm>
#include <charconv>
#include <map>
#include <set>
#include <tuple>

#include "platform/text/Utf8.h"
#include "service/Words.h"

namespace norvex::service {
namespace {

using store::ProjectStore;
using store::Result;
using store::RunContents;
using store::RunRecord;
using store::StoredFinding;
using store::StoreError;
using store::StoreErrorCode;

// More names than this are no help in a sentence.
constexpr std::size_t kShownNames = 40;

StoreError Refused(std::string sentence) {
    return {StoreErrorCode::InvalidInput, std::move(sentence)};
}

StoreError Unknown(std::string_view kind, const std::string& typed, std::vector<std::string> known) {
    const std::size_t more = known.size() > kShownNames ? known.size() - kShownNames : 0;
    known.resize(known.size() - more);
    return Refused(fmt::format("There is no {} \"{}\"; there is: {}{}.", kind, typed, Joined(known),
                               more > 0 ? fmt::format(" and {} more", more) : ""));
}

// Names in the order in which they come, each once.
class NameList {
  public:
    explicit NameList(std::vector<std::string>& names) : m_names(names), m_known(names.begin(), names.end()) {}

    void AddUnlessThere(const std::string& name) {
        if (m_known.insert(name).second) {
            m_names.push_back(name);
        }
    }

  private:
    std::vector<std::string>& m_names;
    std::set<std::string> m_known;
};

Result<std::string> RuleNamed(const std::string& typed, const std::vector<TrustNames::Rule>& rules) {
    std::vector<std::string> known;
    for (const TrustNames::Rule& rule : rules) {
        if (EqualsIgnoringCase(rule.name, typed) || EqualsIgnoringCase(rule.shortName, typed)) {
            return rule.name;
        }
        known.push_back(rule.shortName.empty() ? rule.name : fmt::format("{} ({})", rule.shortName, rule.name));
    }
    return rules.empty() ? Result<std::string>(typed) : Unknown("rule", typed, known);
}

Result<std::string> SpecialtyNamed(const std::string& typed, const std::vector<std::string>& specialties) {
    const std::string word = SpecialtyOf(typed).value_or(typed);
    std::vector<std::string> known;
    for (const std::string& specialty : specialties) {
        if (specialty == word) {
            return word;
        }
        const std::string_view gloss = SpecialtyGloss(specialty);
        known.push_back(gloss.empty() ? specialty : fmt::format("{} ({})", specialty, gloss));
    }
    return specialties.empty() ? Result<std::string>(word) : Unknown("specialty", typed, known);
}

Result<std::string> OneOf(std::string_view kind, const std::string& typed, const std::vector<std::string>& names) {
    return names.empty() || std::find(names.begin(), names.end(), typed) != names.end() ? Result<std::string>(typed)
                                                                                        : Unknown(kind, typed, names);
}

// The position of each name in the list.
std::map<std::string, std::size_t> Positions(const std::vector<std::string>& names) {
    std::map<std::string, std::size_t> positions;
    for (const std::string& name : names) {
        positions.emplace(name, positions.size());
    }
    return positions;
}

// A run's findings in the order in which its report numbers them: by floor, specialty and rule as the run took them.
std::vector<const StoredFinding*> InReportOrder(const RunContents& contents) {
    const store::RunIdentity& identity = contents.run.identity;
    std::vector<std::string> ruleNames;
    for (const store::RuleModule& rule : identity.rules) {
        ruleNames.push_back(rule.rule);
    }
    const auto floors = Positions(identity.floors);
    const auto specialties = Positions(identity.specialties);
    const auto rules = Positions(ruleNames);
    const auto at = [](const std::map<std::string, std::size_t>& positions, const std::string& name) {
        const auto found = positions.find(name);
        return found == positions.end() ? positions.size() : found->second;
    };
    const auto key = [&](const store::UnitKey& unit) {
        return std::make_tuple(at(floors, unit.floor), at(specialties, unit.specialty), at(rules, unit.rule));
    };
    std::vector<const StoredFinding*> ordered;
    for (const StoredFinding& finding : contents.findings) {
        ordered.push_back(&finding);
    }
    std::stable_sort(ordered.begin(), ordered.end(), [&](const StoredFinding* left, const StoredFinding* right) {
        return key(left->unit) < key(right->unit);
    });
    return ordered;
}

Result<StoredFinding> FindingNumbered(std::size_t number, const RunContents& contents) {
    const std::vector<const StoredFinding*> ordered = InReportOrder(contents);
    if (number >= 1 && number <= ordered.size()) {
        return *ordered[number - 1];
    }
    return Refused(
        ordered.empty()
            ? fmt::format("There is no finding {}: the last run, {}, found nothing.", number, contents.run.id)
            : fmt::format("There is no finding {}: those of the last run, {}, are numbered 1 to {}.", number,
                          contents.run.id, ordered.size()));
}

// The finding whose code begins so; newer runs come first.
Result<StoredFinding> FindingCoded(const std::string& beginning, const std::vector<RunRecord>& runs,
                                   ProjectStore& project) {
    for (auto run = runs.rbegin(); run != runs.rend(); ++run) {
        const Result<RunContents> contents = project.LoadRun(run->id);
        if (!contents) {
            return contents.Error();
        }
        const StoredFinding* found = nullptr;
        for (const StoredFinding* finding : InReportOrder(*contents)) {
            const std::string& code = finding->finding.featureCode;
            if (!code.starts_with(beginning)) {
                continue;
            }
            if (found != nullptr && found->finding.featureCode != code) {
                return Refused(fmt::format("The code \"{}\" is not long enough: {} and {} begin so.", beginning,
                                           found->finding.featureCode, code));
            }
            found = found == nullptr ? finding : found;
        }
        if (found != nullptr) {
            return *found;
        }
    }
    return Refused(fmt::format("No run of this project has found anything with the code \"{}\".", beginning));
}

Result<StoredFinding> FindingMeant(const std::string& typed, ProjectStore& project) {
    const Result<std::vector<RunRecord>> runs = project.ListRuns();
    if (!runs) {
        return runs.Error();
    }
    if (typed.starts_with("_") && typed.size() > 1) {
        return FindingCoded(typed, *runs, project);
    }
    std::size_t number = 0;
    const auto [end, fault] = std::from_chars(typed.data(), typed.data() + typed.size(), number);
    if (fault != std::errc() || end != typed.data() + typed.size()) {
        return Refused(fmt::format(
            "A finding is named by its number in the last report, or by its code, which begins with \"_\"; \"{}\" is "
            "neither.",
            typed));
    }
    if (runs->empty()) {
        return Refused("This project has not been checked yet, so there are no findings to accept.");
    }
    const Result<RunContents> contents = project.LoadRun(runs->back().id);
    return contents ? FindingNumbered(number, *contents) : contents.Error();
}

Result<RequestedTrust> ReadFinding(const TrustRequest& request, RequestedTrust trust, ProjectStore& project) {
    if (request.rule || request.specialty || request.floor || request.subCategory) {
        return Refused("A finding is accepted by itself, without rule, specialty, floor and sub-category.");
    }
    const Result<StoredFinding> found = FindingMeant(*request.finding, project);
    if (!found) {
        return found.Error();
    }
    trust.entry.kind = store::TrustKind::Finding;
    trust.entry.featureCode = found->finding.featureCode;
    trust.entry.rule = found->unit.rule;
    trust.entry.specialty = found->unit.specialty;
    trust.entry.floor = found->unit.floor;
    trust.sentence = found->finding.sentence;
    return trust;
}

// Puts a name into the entry; an error goes to fault.
void Take(std::string& member, Result<std::string> name, std::optional<StoreError>& fault) {
    if (name) {
        member = *name;
    } else if (!fault) {
        fault = name.Error();
    }
}

}  // namespace

Result<TrustNames> NamesFor(ProjectStore& project, const std::vector<RuleRecord>& rules,
                            const datamng::ProjectData& data) {
    TrustNames names;
    for (const RuleRecord& rule : rules) {
        names.rules.push_back({rule.name, rule.shortName});
    }
    for (const CString& specialty : Specialties()) {
        names.specialties.push_back(text::ToUtf8(specialty));
    }
    NameList specialties(names.specialties);
    NameList subCategories(names.subCategories);
    NameList floors(names.floors);
    for (const datamng::Specialty& specialty : data.Specialties()) {
        specialties.AddUnlessThere(text::ToUtf8(specialty.name));
        for (const datamng::BigCategory& category : specialty.bigCategories) {
            for (const datamng::SmallCategory& subCategory : category.smallCategories) {
                subCategories.AddUnlessThere(text::ToUtf8(subCategory.name));
            }
        }
    }
    const Result<std::vector<RunRecord>> runs = project.ListRuns();
    if (!runs) {
        return runs.Error();
    }
    const auto whole =
        std::find_if(runs->rbegin(), runs->rend(), [](const RunRecord& run) { return !run.identity.narrowed; });
    for (const RunRecord* run : {whole == runs->rend() ? nullptr : &*whole, runs->empty() ? nullptr : &runs->back()}) {
        if (run == nullptr) {
            continue;
        }
        for (const std::string& floor : run->identity.floors) {
            floors.AddUnlessThere(floor);
        }
        for (const store::RuleModule& module : run->identity.rules) {
            if (std::none_of(names.rules.begin(), names.rules.end(),
                             [&](const TrustNames::Rule& rule) { return rule.name == module.rule; })) {
                names.rules.push_back({module.rule, {}});
            }
        }
    }
    return names;
}

Result<RequestedTrust> ReadTrustRequest(const TrustRequest& request, const TrustNames& names, ProjectStore& project) {
    RequestedTrust trust;
    trust.entry.reason = request.reason;
    trust.entry.person = request.person;
    trust.entry.expiresOn = request.expiresOn;
    if (request.finding) {
        return ReadFinding(request, std::move(trust), project);
    }
    if (!request.rule) {
        return Refused(
            "What is to be trusted: a --rule, a --rule with a --floor and a --sub-category, or a --finding?");
    }
    if (request.floor.has_value() != request.subCategory.has_value()) {
        return Refused(request.floor ? "A floor needs a --sub-category that is trusted on it."
                                     : "A sub-category needs the --floor on which it is trusted.");
    }
    store::TrustEntry& entry = trust.entry;
    entry.kind = request.floor ? store::TrustKind::SubCategory : store::TrustKind::WholeRule;
    std::optional<StoreError> fault;
    Take(entry.rule, RuleNamed(*request.rule, names.rules), fault);
    if (request.specialty) {
        Take(entry.specialty, SpecialtyNamed(*request.specialty, names.specialties), fault);
    }
    if (request.floor) {
        Take(entry.floor, OneOf("floor", *request.floor, names.floors), fault);
        Take(entry.subCategory, OneOf("sub-category", *request.subCategory, names.subCategories), fault);
    }
    return fault ? Result<RequestedTrust>(*fault) : trust;
}

}  // namespace norvex::service
