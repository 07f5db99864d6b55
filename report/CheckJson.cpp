// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "report/CheckReport.h"
#include "report/DiffReport.h"
#include "report/Json.h"
#include "service/Verdict.h"
#include "service/Words.h"

namespace norvex::report {
namespace {

using service::RunReport;

// Grows when a field changes its meaning or goes; new fields alone do not change it.
constexpr int kFormatVersion = 1;
constexpr int kDiffFormatVersion = 1;

Json ModelJson(const service::ModelRecord& model) {
    return {{"path", model.path},
            {"sha256", model.sha256},
            {"schema", model.schema},
            {"project", model.project},
            {"lengthUnit", model.lengthUnit},
            {"elements", model.elements},
            {"elementsWithoutStorey", model.elementsWithoutStorey},
            {"segmentsWithoutEnds", model.segmentsWithoutEnds},
            {"lostInstances", model.lostInstances}};
}

Json DiagnosticsJson(const service::ModelRecord& model) {
    Json entries = Json::array();
    for (const service::Notice& notice : model.notices) {
        entries.push_back({{"severity", notice.severity},
                           {"code", notice.code},
                           {"line", notice.line},
                           {"offset", notice.offset},
                           {"sentence", notice.sentence}});
    }
    return {{"count", model.noticeCount}, {"entries", std::move(entries)}};
}

Json ScopeJson(const RunReport& report) {
    Json floors = Json::array();
    for (const service::FloorRecord& floor : report.floors) {
        floors.push_back({{"name", floor.name},
                          {"elevation", floor.elevation ? Json(Rounded(*floor.elevation)) : Json()},
                          {"elements", floor.elements},
                          {"withoutPlace", floor.withoutPlace},
                          {"withoutStorey", floor.withoutStorey}});
    }
    Json rules = Json::array();
    for (const service::RuleRecord& rule : report.rules) {
        rules.push_back({{"name", rule.name},
                         {"shortName", rule.shortName},
                         {"title", rule.title},
                         {"category", rule.category},
                         {"version", rule.version},
                         {"module", rule.module},
                         {"md5", rule.md5},
                         {"specialties", rule.specialties},
                         {"why", rule.why},
                         {"howToFix", rule.howToFix}});
    }
    Json withoutRule = Json::array();
    for (const service::SpecialtyCount& count : service::SpecialtiesWithoutRule(report)) {
        withoutRule.push_back({{"specialty", count.specialty}, {"elements", count.elements}});
    }
    return {{"narrowed", report.narrowed},
            {"floors", std::move(floors)},
            {"specialties", report.specialties},
            {"withoutRule", std::move(withoutRule)},
            {"rules", std::move(rules)}};
}

// A text, or null for an empty one.
Json TextOrNull(std::string_view text) {
    return text.empty() ? Json() : Json(text);
}

Json RunJson(const RunReport& report, Times times) {
    Json run = {{"number", report.run == 0 ? Json() : Json(report.run)}, {"resumed", report.resumed}};
    if (times == Times::Show) {
        run["startedAt"] = TextOrNull(report.startedAt);
    }
    return run;
}

Json OutcomesJson(const RunReport& report, Times times) {
    constexpr double kMicrosecondsPerMillisecond = 1000.0;
    Json outcomes = Json::array();
    for (const service::TaskRecord& task : report.tasks) {
        outcomes.push_back({{"rule", task.rule},
                            {"floor", task.floor},
                            {"specialty", TextOrNull(task.specialty)},
                            {"outcome", service::OutcomeName(task.outcome)},
                            {"examined", task.examined},
                            {"notExamined", task.notExamined},
                            {"findings", task.findings},
                            {"reminders", task.reminders},
                            {"trusted", task.trusted},
                            {"reason", task.reason}});
        if (times == Times::Show) {
            outcomes.back()["milliseconds"] = static_cast<double>(task.duration.count()) / kMicrosecondsPerMillisecond;
        }
    }
    return outcomes;
}

Json AcceptanceJson(const service::Acceptance& acceptance) {
    return {{"entry", acceptance.entry},
            {"reason", acceptance.reason},
            {"person", acceptance.person},
            {"addedOn", acceptance.addedOn},
            {"expiresOn", TextOrNull(acceptance.expiresOn)}};
}

Json FindingJson(const service::FindingRecord& finding) {
    Json objects = Json::array();
    for (const service::FoundObject& object : finding.objects) {
        objects.push_back({{"handle", object.handle},
                           {"globalId", object.globalId},
                           {"name", object.name},
                           {"subCategory", object.subCategory}});
    }
    Json place;
    if (finding.place) {
        place = {{"x", Rounded(finding.place->x)}, {"y", Rounded(finding.place->y)}, {"z", Rounded(finding.place->z)}};
    }
    return {{"number", finding.number},
            {"rule", finding.rule},
            {"floor", finding.floor},
            {"specialty", finding.specialty},
            {"category", finding.category},
            {"subCategory", finding.subCategory},
            {"severity", service::SeverityName(finding.severity)},
            {"trusted", finding.trusted},
            {"acceptance", finding.acceptance ? AcceptanceJson(*finding.acceptance) : Json()},
            {"sentence", finding.sentence},
            {"location", finding.location},
            {"featureCode", finding.featureCode},
            {"occurrence", finding.occurrence},
            {"novelty", TextOrNull(service::NoveltyName(finding.novelty))},
            {"place", std::move(place)},
            {"objects", std::move(objects)}};
}

Json FindingsJson(const std::vector<service::FindingRecord>& findings) {
    Json entries = Json::array();
    for (const service::FindingRecord& finding : findings) {
        entries.push_back(FindingJson(finding));
    }
    return entries;
}

Json ComparisonJson(const service::Comparison& comparison, Times times) {
    Json json = {{"run", comparison.run}};
    if (times == Times::Show) {
        json["startedAt"] = TextOrNull(comparison.startedAt);
    }
    json["gone"] = FindingsJson(comparison.gone);
    json["hidden"] = FindingsJson(comparison.hidden);
    json["notVisited"] = comparison.notVisited;
    json["remarks"] = comparison.remarks;
    return json;
}

Json AcceptancesJson(const RunReport& report) {
    Json entries = Json::array();
    for (const service::AcceptanceRecord& record : report.acceptances) {
        Json entry = AcceptanceJson(record.acceptance);
        entry["target"] = record.target;
        entry["state"] = service::AcceptanceStateName(record.state);
        entry["findings"] = record.findings;
        entries.push_back(std::move(entry));
    }
    return entries;
}

Json TotalsJson(const RunReport& report) {
    Json categories = Json::array();
    std::size_t sums[4] = {};
    for (const service::CategoryTotal& total : report.totals) {
        Json subCategories = Json::array();
        for (const auto& [name, count] : total.subCategories) {
            subCategories.push_back({{"name", name}, {"findings", count}});
        }
        categories.push_back({{"category", total.category},
                              {"examined", total.checks},
                              {"confirmed", total.confirmed},
                              {"suspected", total.suspected},
                              {"remind", total.reminders},
                              {"subCategories", std::move(subCategories)}});
        sums[0] += total.checks;
        sums[1] += total.confirmed;
        sums[2] += total.suspected;
        sums[3] += total.reminders;
    }
    return {{"examined", sums[0]},
            {"confirmed", sums[1]},
            {"suspected", sums[2]},
            {"remind", sums[3]},
            {"categories", std::move(categories)}};
}

Json FindingsJson(const std::vector<service::FindingRecord>& findings, service::Novelty novelty) {
    Json entries = Json::array();
    for (const service::FindingRecord& finding : findings) {
        if (finding.novelty == novelty) {
            entries.push_back(FindingJson(finding));
        }
    }
    return entries;
}

// Findings that are trusted, or not, while they were not, or were, in the run compared with.
Json TurnedJson(const std::vector<service::FindingRecord>& findings, bool trusted) {
    Json entries = Json::array();
    for (const service::FindingRecord& finding : findings) {
        if (finding.trustChanged && finding.trusted == trusted) {
            entries.push_back(FindingJson(finding));
        }
    }
    return entries;
}

}  // namespace

std::string CheckJson(const RunReport& report, Times times) {
    return DocumentText({{"format", "norvex-check"},
                         {"formatVersion", kFormatVersion},
                         {"tool", {{"name", "norvex"}, {"version", report.toolVersion}}},
                         {"model", ModelJson(report.model)},
                         {"projectFolder", report.projectFolder},
                         {"run", RunJson(report, times)},
                         {"scope", ScopeJson(report)},
                         {"complete", report.incomplete.empty()},
                         {"incomplete", report.incomplete},
                         {"outcomes", OutcomesJson(report, times)},
                         {"findings", FindingsJson(report.findings)},
                         {"totals", TotalsJson(report)},
                         {"comparison", report.comparison ? ComparisonJson(*report.comparison, times) : Json()},
                         {"acceptances", AcceptancesJson(report)},
                         {"diagnostics", DiagnosticsJson(report.model)}});
}

std::string DiffJson(const RunReport& report) {
    const service::Comparison& comparison = *report.comparison;
    return DocumentText({{"format", "norvex-diff"},
                         {"formatVersion", kDiffFormatVersion},
                         {"tool", {{"name", "norvex"}, {"version", report.toolVersion}}},
                         {"projectFolder", report.projectFolder},
                         {"from", {{"run", comparison.run}, {"startedAt", comparison.startedAt}}},
                         {"to", {{"run", report.run}, {"startedAt", report.startedAt}}},
                         {"new", FindingsJson(report.findings, service::Novelty::New)},
                         {"notKnownToBeNew", FindingsJson(report.findings, service::Novelty::Unknown)},
                         {"persisting", FindingsJson(report.findings, service::Novelty::Persisting)},
                         {"trustedNow", TurnedJson(report.findings, true)},
                         {"noLongerTrusted", TurnedJson(report.findings, false)},
                         {"gone", FindingsJson(comparison.gone)},
                         {"hidden", FindingsJson(comparison.hidden)},
                         {"notVisited", comparison.notVisited},
                         {"remarks", comparison.remarks}});
}

}  // namespace norvex::report
