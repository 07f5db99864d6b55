// SPDX-License-Identifier: Apache-2.0
#include "ifc/drawing/FloorIndex.h"

#include <algorithm>
#include <cassert>
#include <numeric>

namespace norvex::ifc {

namespace {

// Calls back with (element, what is joined to it) for both directions of every connection that a drawing shows.
template <typename Visit>
void ForEachJoint(const BuildingModel& model, Visit visit) {
    const auto offer = [&](std::uint32_t one, std::uint32_t other) {
        if (model.elements[one].kind != ElementKind::Segment && model.elements[other].placed &&
            model.elements[one].storey == model.elements[other].storey) {
            visit(one, other);
        }
    };
    for (const Connection& connection : model.connections) {
        offer(connection.first, connection.second);
        offer(connection.second, connection.first);
    }
}

}  // namespace

FloorIndex::FloorIndex(const BuildingModel& model) {
    IndexElements(model);
    IndexJoints(model);
}

void FloorIndex::IndexElements(const BuildingModel& model) {
    const std::size_t storeys = model.storeys.size();
    const auto floorOf = [storeys](const Element& element) {
        return element.storey == kNoIndex ? storeys : std::size_t{element.storey};
    };
    floors_.firsts.assign(storeys + 2, 0);
    for (const Element& element : model.elements) {
        ++floors_.firsts[floorOf(element) + 1];
    }
    std::partial_sum(floors_.firsts.begin(), floors_.firsts.end(), floors_.firsts.begin());
    floors_.items.resize(model.elements.size());
    std::vector<std::uint32_t> next(floors_.firsts.begin(), floors_.firsts.end() - 1);
    for (std::uint32_t i = 0; i < model.elements.size(); ++i) {
        floors_.items[next[floorOf(model.elements[i])]++] = i;
    }
}

void FloorIndex::IndexJoints(const BuildingModel& model) {
    joined_.firsts.assign(model.elements.size() + 1, 0);
    ForEachJoint(model, [this](std::uint32_t one, std::uint32_t) { ++joined_.firsts[one + 1]; });
    std::partial_sum(joined_.firsts.begin(), joined_.firsts.end(), joined_.firsts.begin());
    joined_.items.resize(joined_.firsts.back());
    std::vector<std::uint32_t> ends(joined_.firsts.begin(), joined_.firsts.end() - 1);
    ForEachJoint(model, [&](std::uint32_t one, std::uint32_t other) { joined_.items[ends[one]++] = other; });
    // Two elements may be joined more than once; the lists move together over what that leaves free.
    auto kept = joined_.items.begin();
    for (std::size_t i = 0; i < ends.size(); ++i) {
        const auto begin = joined_.items.begin() + joined_.firsts[i];
        const auto end = joined_.items.begin() + ends[i];
        std::sort(begin, end);
        joined_.firsts[i] = static_cast<std::uint32_t>(kept - joined_.items.begin());
        kept = std::unique_copy(begin, end, kept);
    }
    joined_.firsts.back() = static_cast<std::uint32_t>(kept - joined_.items.begin());
    joined_.items.erase(kept, joined_.items.end());
}

std::span<const std::uint32_t> FloorIndex::Elements(std::uint32_t storey) const {
    assert(storey == kNoIndex || storey + 2 < floors_.firsts.size());
    return floors_.At(storey == kNoIndex ? floors_.firsts.size() - 2 : storey);
}

std::span<const std::uint32_t> FloorIndex::Joined(std::uint32_t element) const {
    assert(element + 1 < joined_.firsts.size());
    return joined_.At(element);
}

}  // namespace norvex::ifc
