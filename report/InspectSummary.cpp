// SPDX-License-Identifier: Apache-2.0
#include "report/InspectSummary.h"

#include <fmt/format.h>
#include <algorithm>
#include <set>

namespace norvex::report {
namespace {

constexpr std::size_t kExamples = 5;

std::string NameOf(const ifc::Element& element) {
    return fmt::format("{} #{}{}{}", element.className, element.id, element.name.empty() ? "" : " ", element.name);
}

void CountGroups(const ifc::BuildingModel& model, InspectSummary& summary) {
    for (const ifc::Element& element : model.elements) {
        InspectSummary::Group& group = summary.groups[{std::string(element.specialty), std::string(element.category),
                                                       std::string(element.subCategory)}];
        ++group.elements;
        if (element.kind == ifc::ElementKind::Segment) {
            ++group.segments;
            group.length += element.length;
        }
    }
}

InspectSummary::Network DescribeNetwork(const ifc::BuildingModel& model, const ifc::Network& network) {
    InspectSummary::Network described;
    std::set<std::string> specialties;
    std::set<std::string> systems;
    std::set<std::uint32_t> storeys;
    described.bounds = network.bounds.size();
    for (const std::uint32_t index : network.elements) {
        const ifc::Element& element = model.elements[index];
        if (element.kind == ifc::ElementKind::Segment) {
            ++described.segments;
            described.length += element.length;
        } else {
            ++described.joints;
        }
        specialties.emplace(element.specialty);
        for (std::uint32_t i = 0; i < element.systemCount; ++i) {
            systems.emplace(model.systems[model.systemsOfElements[element.firstSystem + i]].name);
        }
        if (element.storey != ifc::kNoIndex) {
            storeys.insert(element.storey);
        }
    }
    described.specialties.assign(specialties.begin(), specialties.end());
    described.systems.assign(systems.begin(), systems.end());
    for (const std::uint32_t storey : storeys) {
        described.storeys.emplace_back(model.storeys[storey].name);
    }
    return described;
}

void AddUnplaced(std::map<std::string, InspectSummary::Unplaced>& byReason, std::string what,
                 const ifc::Element& element) {
    InspectSummary::Unplaced& entry = byReason[what];
    entry.what = std::move(what);
    ++entry.count;
    if (entry.examples.size() < kExamples) {
        entry.examples.push_back(NameOf(element));
    }
}

void CountUnplaced(const ifc::BuildingModel& model, InspectSummary& summary) {
    std::map<std::string, InspectSummary::Unplaced> byReason;
    for (const ifc::Element& element : model.elements) {
        if (element.storey == ifc::kNoIndex) {
            AddUnplaced(byReason, fmt::format("on no storey: {}", ifc::NoStoreyReasonText(element.noStorey)), element);
        }
        if (element.kind == ifc::ElementKind::Segment && element.ends == ifc::EndEvidence::None) {
            AddUnplaced(byReason, "without ends: neither ports nor a shape that was understood", element);
        }
    }
    for (auto& [reason, entry] : byReason) {
        summary.unplaced.push_back(std::move(entry));
    }
}

}  // namespace

InspectSummary Summarise(const ifc::BuildingModel& model) {
    InspectSummary summary;
    CountGroups(model, summary);
    for (const ifc::Network& network : model.networks) {
        summary.networks.push_back(DescribeNetwork(model, network));
    }
    std::stable_sort(summary.networks.begin(), summary.networks.end(),
                     [](const auto& left, const auto& right) { return left.length > right.length; });
    for (const ifc::Connection& connection : model.connections) {
        ++summary.connections[connection.evidence];
    }
    CountUnplaced(model, summary);
    return summary;
}

}  // namespace norvex::report
