// SPDX-License-Identifier: Apache-2.0
#include "ifc/network/Network.h"

#include "ifc/network/Inference.h"
#include "ifc/network/Joints.h"
#include "ifc/network/UnionFind.h"

#include <algorithm>
#include <cmath>

namespace norvex::ifc {

namespace {

bool IsFlow(ElementKind kind) {
    return kind == ElementKind::Segment || kind == ElementKind::Fitting || kind == ElementKind::InlineDevice;
}

bool IsBound(ElementKind kind) {
    return kind == ElementKind::Equipment || kind == ElementKind::Terminal;
}

// A network is told by its smallest element, so its number does not depend on how it was found.
void GatherNetworks(BuildingModel& model) {
    UnionFind sets(model.elements.size());
    for (const Connection& connection : model.connections) {
        if (IsFlow(model.elements[connection.first].kind) && IsFlow(model.elements[connection.second].kind)) {
            sets.Join(connection.first, connection.second);
        }
    }
    std::vector<bool> hasSegment(model.elements.size(), false);
    for (std::uint32_t i = 0; i < model.elements.size(); ++i) {
        if (model.elements[i].kind == ElementKind::Segment) {
            hasSegment[sets.Find(i)] = true;
        }
    }
    std::vector<std::uint32_t> networkOfRoot(model.elements.size(), kNoIndex);
    for (std::uint32_t i = 0; i < model.elements.size(); ++i) {
        const std::uint32_t root = sets.Find(i);
        if (!IsFlow(model.elements[i].kind) || !hasSegment[root]) {
            continue;
        }
        if (networkOfRoot[root] == kNoIndex) {
            networkOfRoot[root] = static_cast<std::uint32_t>(model.networks.size());
            model.networks.emplace_back();
        }
        model.elements[i].network = networkOfRoot[root];
        model.networks[networkOfRoot[root]].elements.push_back(i);
    }
    for (const Connection& connection : model.connections) {
        const auto bind = [&](std::uint32_t flow, std::uint32_t bound) {
            const std::uint32_t network = model.elements[flow].network;
            if (network != kNoIndex && IsBound(model.elements[bound].kind)) {
                model.networks[network].bounds.push_back(bound);
            }
        };
        bind(connection.first, connection.second);
        bind(connection.second, connection.first);
    }
    for (Network& network : model.networks) {
        std::sort(network.bounds.begin(), network.bounds.end());
        network.bounds.erase(std::unique(network.bounds.begin(), network.bounds.end()), network.bounds.end());
    }
}

void MarkPlaced(const NetworkInput& input, BuildingModel& model, DiagnosticLog& log) {
    std::uint32_t others = 0;
    for (std::size_t i = 0; i < model.elements.size(); ++i) {
        Element& element = model.elements[i];
        const bool isSegment = element.kind == ElementKind::Segment;
        element.placed = isSegment ? element.ends != EndEvidence::None : input.hasOrigin[i];
        model.counts.withoutPlace += element.placed ? 0 : 1;
        others += element.placed || isSegment ? 0 : 1;
    }
    if (others > 0) {
        log.AddGeneral(
            Severity::Warning, DiagnosticCode::NoGeometry,
            std::to_string(others) +
                (others == 1 ? " element other than a segment has no placement; it has no place in a drawing."
                             : " elements other than segments have no placement; they have no place in a "
                               "drawing."));
    }
}

void CountEnds(BuildingModel& model, DiagnosticLog& log) {
    std::uint32_t collapsed = 0;
    for (const Element& element : model.elements) {
        if (element.kind != ElementKind::Segment) {
            continue;
        }
        if (element.ends == EndEvidence::None) {
            ++model.counts.segmentsWithoutEnds;
            continue;
        }
        model.counts.openEnds += element.startJunction == kNoIndex ? 1 : 0;
        model.counts.openEnds += element.endJunction == kNoIndex ? 1 : 0;
        collapsed += element.startJunction != kNoIndex && element.startJunction == element.endJunction ? 1 : 0;
    }
    if (model.counts.segmentsWithoutEnds > 0) {
        log.AddGeneral(
            Severity::Warning, DiagnosticCode::NoGeometry,
            std::to_string(model.counts.segmentsWithoutEnds) + " of " + std::to_string(model.counts.segments) +
                (model.counts.segmentsWithoutEnds == 1
                     ? " segments has neither placed ports nor a shape that gives its ends; it has no place in a "
                       "drawing."
                     : " segments have neither placed ports nor a shape that gives their ends; they have no place in "
                       "a drawing."));
    }
    if (collapsed > 0) {
        log.AddGeneral(
            Severity::Warning, DiagnosticCode::BadGeometry,
            std::to_string(collapsed) +
                (collapsed == 1 ? " segment begins and ends in one junction: what it lies between is connected past it."
                                : " segments begin and end in one junction: what they lie between is connected past "
                                  "them."));
    }
}

}  // namespace

void BuildNetwork(const NetworkInput& input, bool infer, BuildingModel& model, DiagnosticLog& log, ReadWork& work) {
    Joints joints(input, model);
    joints.JoinStated(log);
    if (infer) {
        InferConnections(input, model, joints, log, work);
    }
    joints.Settle();
    MarkPlaced(input, model, log);
    model.counts.inferredConnections = static_cast<std::uint32_t>(
        std::count_if(model.connections.begin(), model.connections.end(),
                      [](const Connection& connection) { return connection.evidence != ConnectionEvidence::Stated; }));
    GatherNetworks(model);
    CountEnds(model, log);
}

}  // namespace norvex::ifc
