// SPDX-License-Identifier: Apache-2.0
#include "report/InspectReport.h"
#include "report/InspectSummary.h"
#include "report/Json.h"

namespace norvex::report {
namespace {

constexpr int kFormatVersion = 1;

Json CountsJson(const ifc::Counts& counts) {
    return {{"instances", counts.instances},
            {"lostInstances", counts.lostInstances},
            {"segments", counts.segments},
            {"fittings", counts.fittings},
            {"inlineDevices", counts.inlineDevices},
            {"equipment", counts.equipment},
            {"terminals", counts.terminals},
            {"others", counts.others},
            {"ports", counts.ports},
            {"portsToElement", counts.portsToElement},
            {"systems", counts.systems},
            {"circuits", counts.circuits},
            {"withoutStorey", counts.withoutStorey},
            {"segmentsWithoutEnds", counts.segmentsWithoutEnds},
            {"openEnds", counts.openEnds}};
}

Json StoreysJson(const ifc::BuildingModel& model) {
    Json storeys = Json::array();
    for (const ifc::Storey& storey : model.storeys) {
        storeys.push_back({{"id", storey.id},
                           {"globalId", storey.globalId},
                           {"name", storey.name},
                           {"elevation", Rounded(storey.elevation)},
                           {"elements", storey.elements}});
    }
    return storeys;
}

Json GroupsJson(const InspectSummary& summary) {
    Json groups = Json::array();
    for (const auto& [key, group] : summary.groups) {
        const auto& [specialty, category, subCategory] = key;
        groups.push_back({{"specialty", specialty},
                          {"category", category},
                          {"subCategory", subCategory},
                          {"elements", group.elements},
                          {"segments", group.segments},
                          {"length", Rounded(group.length)}});
    }
    return groups;
}

Json NetworksJson(const InspectSummary& summary) {
    Json networks = Json::array();
    for (const InspectSummary::Network& network : summary.networks) {
        networks.push_back({{"segments", network.segments},
                            {"joints", network.joints},
                            {"bounds", network.bounds},
                            {"length", Rounded(network.length)},
                            {"specialties", network.specialties},
                            {"systems", network.systems},
                            {"storeys", network.storeys}});
    }
    return networks;
}

Json ConnectionsJson(const ifc::BuildingModel& model, const InspectSummary& summary) {
    Json made = Json::array();
    for (const auto& [evidence, count] : summary.connections) {
        made.push_back({{"evidence", ifc::ConnectionEvidenceName(evidence)}, {"count", count}});
    }
    return {{"stated", model.counts.statedConnections},
            {"unusable", model.counts.unusableConnections},
            {"inferred", model.counts.inferredConnections},
            {"made", std::move(made)}};
}

Json UnplacedJson(const InspectSummary& summary) {
    Json unplaced = Json::array();
    for (const InspectSummary::Unplaced& entry : summary.unplaced) {
        unplaced.push_back({{"what", entry.what}, {"count", entry.count}, {"examples", entry.examples}});
    }
    return unplaced;
}

Json DiagnosticsJson(const ifc::BuildingModel& model) {
    Json entries = Json::array();
    for (const ifc::Diagnostic& diagnostic : model.diagnostics) {
        entries.push_back({{"severity", ifc::SeverityName(diagnostic.severity)},
                           {"code", ifc::DiagnosticCodeName(diagnostic.code)},
                           {"line", diagnostic.line},
                           {"offset", diagnostic.offset},
                           {"sentence", diagnostic.sentence}});
    }
    return {{"count", model.counts.notes + model.counts.warnings + model.counts.errors},
            {"entries", std::move(entries)}};
}

}  // namespace

std::string InspectJson(const ifc::BuildingModel& model, const std::string& toolVersion) {
    const InspectSummary summary = Summarise(model);
    return DocumentText({{"format", "norvex-inspect"},
                         {"formatVersion", kFormatVersion},
                         {"tool", {{"name", "norvex"}, {"version", toolVersion}}},
                         {"model",
                          {{"path", model.sourceName},
                           {"schema", model.schema},
                           {"project", model.projectName},
                           {"lengthUnit", model.lengthUnit}}},
                         {"counts", CountsJson(model.counts)},
                         {"storeys", StoreysJson(model)},
                         {"elements", GroupsJson(summary)},
                         {"networks", NetworksJson(summary)},
                         {"connections", ConnectionsJson(model, summary)},
                         {"notPlaced", UnplacedJson(summary)},
                         {"diagnostics", DiagnosticsJson(model)}});
}

}  // namespace norvex::report
