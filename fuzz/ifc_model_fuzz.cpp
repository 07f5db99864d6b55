// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Promise.h"
#include "ifc/Reader.h"

#include <algorithm>
#include <set>
#include <span>

// Whatever the bytes are, the reader gives an error with a place or a model that holds together.

namespace {

using namespace norvex::fuzz;
using namespace norvex::ifc;

bool IsIndex(std::uint32_t index, std::size_t size) {
    return index == kNoIndex || index < size;
}

void CheckElement(const Element& element, const BuildingModel& model) {
    Require(IsIndex(element.storey, model.storeys.size()), "storeys exist");
    Require(IsFinite(element.start) && IsFinite(element.end) && IsFinite(element.position), "points are numbers");
    Require(element.length >= 0.0 && element.nominalDiameter >= 0.0 && element.outerDiameter >= 0.0,
            "lengths are no less than nothing");
    for (const std::string_view part : {element.specialty, element.category, element.subCategory, element.detailName}) {
        Require(!part.empty() && part.find('\\') == std::string_view::npos, "every element has its path");
    }
    Require(IsIndex(element.startJunction, model.junctions.size()) &&
                IsIndex(element.endJunction, model.junctions.size()) && IsIndex(element.network, model.networks.size()),
            "junctions and networks exist");
    Require(element.firstSystem <= model.systemsOfElements.size() &&
                element.systemCount <= model.systemsOfElements.size() - element.firstSystem,
            "systems exist");
}

void CheckNetworks(const BuildingModel& model) {
    std::vector<std::uint32_t> networkOf(model.elements.size(), kNoIndex);
    for (std::uint32_t i = 0; i < model.networks.size(); ++i) {
        Require(!model.networks[i].elements.empty(), "a network has an element");
        for (const std::uint32_t element : model.networks[i].elements) {
            Require(element < model.elements.size() && networkOf[element] == kNoIndex, "an element is in one network");
            networkOf[element] = i;
        }
    }
    for (std::size_t i = 0; i < model.elements.size(); ++i) {
        Require(model.elements[i].network == networkOf[i], "an element and its network know each other");
    }
    for (const Connection& connection : model.connections) {
        Require(connection.first < model.elements.size() && connection.second < model.elements.size() &&
                    connection.first != connection.second,
                "a connection joins two elements");
        Require(IsIndex(connection.junction, model.junctions.size()) && connection.distance >= 0.0,
                "a connection has its junction");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ReadOptions options;
    const ReadResult result = ReadIfcBytes(std::as_bytes(std::span(data, size)), options);
    if (!result.Ok()) {
        Require(
            result.error.code != DiagnosticCode::None && !result.error.sentence.empty() && result.error.offset <= size,
            "an error says what it is and where");
        return 0;
    }
    const BuildingModel& model = *result.model;
    Require(model.elements.size() <= model.counts.instances, "an element is an instance");
    Require(model.diagnostics.size() <= options.maxDiagnostics + 1, "diagnostics are limited");
    for (const Diagnostic& one : model.diagnostics) {
        Require(one.offset <= size && !one.sentence.empty(), "a diagnostic has a place and a sentence");
    }
    std::set<std::uint32_t> numbers;
    for (const Element& element : model.elements) {
        Require(numbers.insert(element.id).second, "numbers are unique");
        CheckElement(element, model);
    }
    CheckNetworks(model);
    return 0;
}
