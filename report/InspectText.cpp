// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include "report/DisplayText.h"
#include "report/InspectReport.h"
#include "report/InspectSummary.h"
#include "report/Table.h"
#include "service/Words.h"

namespace norvex::report {
namespace {

// Networks listed before the rest is only counted; the JSON form has all.
constexpr std::size_t kShownNetworks = 20;

std::string Section(const std::string& title, const std::string& body, const TextStyle& style) {
    return body.empty() ? "" : "\n" + Toned(title, Tone::Strong, style) + "\n" + body;
}

std::string Head(const ifc::BuildingModel& model) {
    const ifc::Counts& counts = model.counts;
    std::string out = fmt::format("Model    {} ({}, {})\n", Sanitised(model.sourceName), Sanitised(model.schema),
                                  Sanitised(model.lengthUnit));
    if (!model.projectName.empty()) {
        out += fmt::format("Project  {}\n", Sanitised(model.projectName));
    }
    out += fmt::format("Holds    {} instances, {} that could not be read\n", counts.instances, counts.lostInstances);
    out += fmt::format("         {} segments, {} fittings, {} in-line devices, {} equipment, {} terminals, {} others\n",
                       counts.segments, counts.fittings, counts.inlineDevices, counts.equipment, counts.terminals,
                       counts.others);
    out += fmt::format("         {} ports, {} systems, {} circuits\n", counts.ports, counts.systems, counts.circuits);
    return out;
}

std::string Storeys(const ifc::BuildingModel& model, const TextStyle& style) {
    Table table({{"Elevation (m)", Table::Align::Right}, {"Elements", Table::Align::Right}, {"Storey"}});
    for (const ifc::Storey& storey : model.storeys) {
        table.AddRow({{MetresText(storey.elevation)}, {std::to_string(storey.elements)}, {std::string(storey.name)}});
    }
    if (model.counts.withoutStorey > 0) {
        table.AddRow({{"-"}, {std::to_string(model.counts.withoutStorey)}, {"(on no storey)", Tone::Yellow}});
    }
    return table.ToText(style);
}

std::string Groups(const InspectSummary& summary, const TextStyle& style) {
    Table table({{"Specialty"},
                 {"Category"},
                 {"Elements", Table::Align::Right},
                 {"Length (m)", Table::Align::Right},
                 {"Sub-category"}});
    for (const auto& [key, group] : summary.groups) {
        const auto& [specialty, category, subCategory] = key;
        const std::string_view gloss = service::SpecialtyGloss(specialty);
        table.AddRow({{gloss.empty() ? specialty : fmt::format("{} ({})", specialty, gloss)},
                      {category},
                      {std::to_string(group.elements)},
                      {group.segments == 0 ? "" : MetresText(group.length)},
                      {subCategory}});
    }
    return table.ToText(style);
}

std::string Networks(const InspectSummary& summary, const TextStyle& style) {
    Table table({{"Specialty"},
                 {"Segments", Table::Align::Right},
                 {"Joints", Table::Align::Right},
                 {"Ends at", Table::Align::Right},
                 {"Length (m)", Table::Align::Right},
                 {"Storeys"},
                 {"Systems"}});
    const std::size_t shown = std::min(summary.networks.size(), kShownNetworks);
    for (std::size_t i = 0; i < shown; ++i) {
        const InspectSummary::Network& network = summary.networks[i];
        table.AddRow({{service::Joined(network.specialties)},
                      {std::to_string(network.segments)},
                      {std::to_string(network.joints)},
                      {std::to_string(network.bounds)},
                      {MetresText(network.length)},
                      {service::Joined(network.storeys)},
                      {service::Joined(network.systems)}});
    }
    std::string out = table.ToText(style);
    if (shown < summary.networks.size()) {
        out += fmt::format("  and {} smaller ones\n", summary.networks.size() - shown);
    }
    return out;
}

std::string Connections(const ifc::BuildingModel& model, const InspectSummary& summary, const TextStyle& style) {
    Table table({{"Connections", Table::Align::Right}, {"Made by"}});
    for (const auto& [evidence, count] : summary.connections) {
        table.AddRow({{std::to_string(count)}, {std::string(ifc::ConnectionEvidenceName(evidence))}});
    }
    std::string out = table.ToText(style);
    if (model.counts.unusableConnections > 0) {
        out += fmt::format("  {} of {} stated connections could not be used\n", model.counts.unusableConnections,
                           model.counts.statedConnections);
    }
    if (model.counts.openEnds > 0) {
        out += fmt::format("  {} segment ends meet nothing\n", model.counts.openEnds);
    }
    return out;
}

std::string Unplaced(const InspectSummary& summary, const TextStyle& style) {
    Table table({{"Elements", Table::Align::Right}, {"Why, and which"}});
    for (const InspectSummary::Unplaced& entry : summary.unplaced) {
        const std::string more = entry.count > entry.examples.size() ? ", ..." : "";
        table.AddRow({{std::to_string(entry.count)},
                      {fmt::format("{} ({}{})", entry.what, service::Joined(entry.examples), more)}});
    }
    return table.ToText(style);
}

std::string Diagnostics(const ifc::BuildingModel& model, const TextStyle& style) {
    Table table({{"Severity"}, {"Line", Table::Align::Right}, {"Byte", Table::Align::Right}, {"What"}});
    for (const ifc::Diagnostic& diagnostic : model.diagnostics) {
        const bool isNote = diagnostic.severity == ifc::Severity::Note;
        table.AddRow({{std::string(ifc::SeverityName(diagnostic.severity)), isNote ? Tone::Faint : Tone::Yellow},
                      {diagnostic.line == 0 ? "" : std::to_string(diagnostic.line)},
                      {diagnostic.line == 0 ? "" : std::to_string(diagnostic.offset)},
                      {diagnostic.sentence}});
    }
    std::string out = table.ToText(style);
    const std::uint64_t all = model.counts.notes + model.counts.warnings + model.counts.errors;
    if (all > model.diagnostics.size()) {
        out += fmt::format("  and {} more\n", all - model.diagnostics.size());
    }
    return out;
}

}  // namespace

std::string InspectText(const ifc::BuildingModel& model, const TextStyle& style) {
    const InspectSummary summary = Summarise(model);
    return Head(model) + Section("Storeys", Storeys(model, style), style) +
           Section("Elements", Groups(summary, style), style) +
           Section(fmt::format("Networks ({})", model.networks.size()), Networks(summary, style), style) +
           Section("Connections", Connections(model, summary, style), style) +
           Section("Not placed", Unplaced(summary, style), style) +
           Section("Noticed while reading", Diagnostics(model, style), style);
}

}  // namespace norvex::report
