// SPDX-License-Identifier: Apache-2.0
#include <nlohmann/json.hpp>

#include "report/CheckReport.h"
#include "report/Json.h"
#include "service/Words.h"

namespace norvex::report {
namespace {

using service::RunReport;

// Grows when a field changes its meaning or goes; new fields alone do not change it.
constexpr int kFormatVersion = 1;

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
                         {"specialties", rule.specialties}});
    }
    return {{"narrowed", report.narrowed},
            {"floors", std::move(floors)},
            {"specialties", report.specialties},
            {"rules", std::move(rules)}};
}

Json OutcomesJson(const RunReport& report) {
    Json outcomes = Json::array();
    for (const service::TaskRecord& task : report.tasks) {
        outcomes.push_back({{"rule", task.rule},
                            {"floor", task.floor},
                            {"specialty", task.specialty.empty() ? Json() : Json(task.specialty)},
                            {"outcome", service::OutcomeName(task.outcome)},
                            {"examined", task.examined},
                            {"notExamined", task.notExamined},
                            {"findings", task.findings},
                            {"reminders", task.reminders},
                            {"trusted", task.trusted},
                            {"reason", task.reason}});
    }
    return outcomes;
}

Json FindingJson(const service::FindingRecord& finding) {
    Json objects = Json::array();
    for (const service::FoundObject& object : finding.objects) {
        objects.push_back({{"handle", object.handle}, {"globalId", object.globalId}, {"name", object.name}});
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
            {"sentence", finding.sentence},
            {"location", finding.location},
            {"featureCode", finding.featureCode},
            {"place", std::move(place)},
            {"objects", std::move(objects)}};
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

}  // namespace

std::string CheckJson(const RunReport& report) {
    Json findings = Json::array();
    for (const service::FindingRecord& finding : report.findings) {
        findings.push_back(FindingJson(finding));
    }
    return DocumentText({{"format", "norvex-check"},
                         {"formatVersion", kFormatVersion},
                         {"tool", {{"name", "norvex"}, {"version", report.toolVersion}}},
                         {"model", ModelJson(report.model)},
                         {"projectFolder", report.projectFolder},
                         {"scope", ScopeJson(report)},
                         {"complete", report.incomplete.empty()},
                         {"incomplete", report.incomplete},
                         {"outcomes", OutcomesJson(report)},
                         {"findings", std::move(findings)},
                         {"totals", TotalsJson(report)},
                         {"diagnostics", DiagnosticsJson(report.model)}});
}

}  // namespace norvex::report
