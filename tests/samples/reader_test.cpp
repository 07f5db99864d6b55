// SPDX-License-Identifier: Apache-2.0
// The project's own reader on generated buildings: it must see what the generator says it built.
#include "ifc/Reader.h"
#include "samples/generator/Generator.h"
#include "tests/samples/SampleModel.h"
#include "tests/samples/StepFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <span>
#include <sstream>
#include <string>
#include <vector>

namespace {

using norvex::ifc::BuildingModel;
using norvex::ifc::DiagnosticCode;
using norvex::ifc::Element;
using norvex::ifc::ElementKind;
using norvex::ifc::kNoIndex;
using norvex::samples::Expectation;
using norvex::samples::LengthUnit;
using norvex::samples::Options;
using norvex::samples::Plant;
using norvex::samples::PlantInfo;
using norvex::samples::Plants;
using norvex::samples::PortStyle;
using norvex::samples::Summary;
using norvex::samples::Verdict;

struct Sample {
    std::string text;
    Summary summary;
    BuildingModel model;
};

Sample ReadSample(const Options& options) {
    Sample sample;
    std::ostringstream out;
    sample.summary = Generate(options, out);
    sample.text = out.str();
    auto result = norvex::ifc::ReadIfcBytes(std::as_bytes(std::span(sample.text)));
    EXPECT_TRUE(result.Ok()) << result.error.sentence;
    if (result.Ok()) {
        sample.model = std::move(*result.model);
    }
    return sample;
}

Options AllDefects() {
    Options options;
    for (const PlantInfo& info : Plants()) {
        options.plants.insert(info.plant);
    }
    return options;
}

std::map<std::string, const Element*> ByGlobalId(const BuildingModel& model) {
    std::map<std::string, const Element*> elements;
    for (const Element& element : model.elements) {
        elements[std::string(element.globalId)] = &element;
    }
    return elements;
}

const Expectation& ExpectationOf(const Summary& summary, std::string_view plant) {
    return *std::find_if(summary.expectations.begin(), summary.expectations.end(),
                         [&](const Expectation& each) { return each.plant == plant; });
}

TEST(Reader, SeesEveryElementPortAndConnection) {
    for (const LengthUnit unit : {LengthUnit::Millimetre, LengthUnit::Metre}) {
        for (const PortStyle ports : {PortStyle::Nested, PortStyle::Related}) {
            Options options = AllDefects();
            options.unit = unit;
            options.ports = ports;
            const Sample sample = ReadSample(options);
            const auto truth = norvex::test::BuildSampleModel(norvex::test::ParseStep(sample.text));
            EXPECT_EQ(sample.model.elements.size(), truth.elements.size());
            EXPECT_EQ(sample.model.elements.size(), sample.summary.elements);
            EXPECT_EQ(sample.model.counts.ports, truth.ports.size());
            EXPECT_EQ(sample.model.counts.statedConnections, truth.connections.size());
            EXPECT_EQ(sample.model.counts.unusableConnections, 0U);
            EXPECT_EQ(sample.model.counts.segmentsWithoutEnds, 0U);
            EXPECT_EQ(sample.model.storeys.size(), 3U);
            EXPECT_EQ(sample.model.counts.errors, 0U);
        }
    }
}

TEST(Reader, HasNothingToSayAboutAnHonestBuilding) {
    const Sample sample = ReadSample(Options());
    for (const auto& diagnostic : sample.model.diagnostics) {
        ADD_FAILURE() << diagnostic.sentence;
    }
    EXPECT_EQ(sample.model.counts.inferredConnections, 0U);
    EXPECT_EQ(sample.model.counts.withoutStorey, 0U);
    for (const Element& element : sample.model.elements) {
        EXPECT_FALSE(element.specialty.empty()) << element.name;
        if (element.kind == ElementKind::Segment && element.className == "IfcPipeSegment") {
            EXPECT_GT(element.nominalDiameter, 0.0) << element.name;
        }
    }
}

TEST(Reader, NoticesWhatWasPlantedForIt) {
    const Sample sample = ReadSample(AllDefects());
    const auto elements = ByGlobalId(sample.model);
    const Expectation& noStorey = ExpectationOf(sample.summary, "no-storey");
    EXPECT_EQ(sample.model.counts.withoutStorey, 1U);
    EXPECT_EQ(elements.at(noStorey.globalIds[0])->storey, kNoIndex);
    EXPECT_TRUE(std::any_of(sample.model.diagnostics.begin(), sample.model.diagnostics.end(),
                            [](const auto& each) { return each.code == DiagnosticCode::RepeatedGlobalId; }));
    EXPECT_EQ(elements.at(ExpectationOf(sample.summary, "no-diameter").globalIds[0])->nominalDiameter, 0.0);
    for (const Expectation& each : sample.summary.expectations) {
        for (const std::string& id : each.globalIds) {
            EXPECT_EQ(elements.at(id)->specialty, each.specialty) << each.plant;
        }
    }
}

// Closed ways per storey name, over the reader's junctions: sets of GlobalIds.
std::map<std::string, std::set<std::set<std::string>>> LoopsOf(const BuildingModel& model) {
    norvex::test::SampleModel graph;
    std::uint32_t port = 1;
    std::map<std::uint32_t, std::uint32_t> portOfJunction;
    const auto addPort = [&](std::uint32_t element, std::uint32_t junction) {
        graph.ports[port] = {port, element, {}, ""};
        graph.elements[element].ports.push_back(port);
        if (junction != kNoIndex) {
            const auto [first, isNew] = portOfJunction.try_emplace(junction, port);
            if (!isNew) {
                graph.connections.push_back({first->second, port});
            }
        }
        ++port;
    };
    for (const Element& element : model.elements) {
        if (element.kind != ElementKind::Segment || element.storey == kNoIndex) {
            continue;
        }
        auto& copy = graph.elements[element.id];
        copy.className = "SEGMENT";
        copy.globalId = element.globalId;
        copy.storey = element.storey + 1;
        addPort(element.id, element.startJunction);
        addPort(element.id, element.endJunction);
    }
    std::map<std::string, std::set<std::set<std::string>>> loops;
    for (const auto& [storey, found] : norvex::test::LoopsByFloor(graph)) {
        loops[std::string(model.storeys[storey - 1].name)].insert(found.begin(), found.end());
    }
    return loops;
}

// What the generator says must be found, and the pipe drawn twice, which a network cannot but hold as a closed way of
// two; that their lengths agree is what tells it from a loop.
std::map<std::string, std::set<std::set<std::string>>> ClosedWays(const Summary& summary) {
    std::map<std::string, std::set<std::set<std::string>>> ways;
    for (const Expectation& each : summary.expectations) {
        if (each.verdict == Verdict::Finding || each.plant == "double-drawn-pipe") {
            ways[each.storey].insert({each.globalIds.begin(), each.globalIds.end()});
        }
    }
    return ways;
}

TEST(Reader, FindsTheClosedWaysWhereverPortsStateThem) {
    for (const PortStyle ports : {PortStyle::Nested, PortStyle::Related}) {
        Options options = AllDefects();
        options.ports = ports;
        const Sample sample = ReadSample(options);
        EXPECT_EQ(LoopsOf(sample.model), ClosedWays(sample.summary));
    }
}

TEST(Reader, MeasuresAPipeDrawnTwiceAlikeAndAPairOfPipesNot) {
    const Sample sample = ReadSample(AllDefects());
    const auto elements = ByGlobalId(sample.model);
    const auto difference = [&](std::string_view plant) {
        const Expectation& pair = ExpectationOf(sample.summary, plant);
        return std::abs(elements.at(pair.globalIds.at(0))->length - elements.at(pair.globalIds.at(1))->length);
    };
    // 0.001 is what the loop search takes for equal.
    EXPECT_LT(difference("double-drawn-pipe"), 0.001);
    EXPECT_GT(difference("pipe-pair"), 1.0);
}

TEST(Reader, LeavesTheGapOpen) {
    Options options = AllDefects();
    const Sample sample = ReadSample(options);
    const auto elements = ByGlobalId(sample.model);
    int open = 0;
    for (const std::string& id : ExpectationOf(sample.summary, "gap").globalIds) {
        open += elements.at(id)->startJunction == kNoIndex ? 1 : 0;
        open += elements.at(id)->endJunction == kNoIndex ? 1 : 0;
    }
    EXPECT_EQ(open, 1);
}

TEST(Reader, FindsWithoutPortsTheClosedWaysWhosePartsAreJoinedByPipes) {
    Options options = AllDefects();
    // Its tees and bends touch directly, with no pipe between; shapes alone do not say that they are joined.
    options.plants.erase(Plant::PipePair);
    options.ports = PortStyle::None;
    const Sample sample = ReadSample(options);
    EXPECT_EQ(sample.model.counts.ports, 0U);
    EXPECT_EQ(LoopsOf(sample.model), ClosedWays(sample.summary));
}

}  // namespace
