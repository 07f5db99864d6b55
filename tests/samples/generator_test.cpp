// SPDX-License-Identifier: Apache-2.0
#include "samples/generator/Generator.h"
#include "tests/samples/SampleModel.h"
#include "tests/samples/StepFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using norvex::samples::Generate;
using norvex::samples::LengthUnit;
using norvex::samples::Options;
using norvex::samples::Plant;
using norvex::samples::PlantInfo;
using norvex::samples::Plants;
using norvex::samples::PortStyle;
using norvex::samples::Summary;
using norvex::samples::Verdict;
using norvex::test::BuildSampleModel;
using norvex::test::DistanceBetween;
using norvex::test::LoopsByFloor;
using norvex::test::ParseStep;
using norvex::test::ReferencesIn;
using norvex::test::SampleElement;
using norvex::test::SampleModel;
using norvex::test::SamplePort;
using norvex::test::StepFile;
using norvex::test::TextOf;

// How far apart what belongs together may be, in millimetres.
constexpr double kTouching = 0.01;

Options AllDefects() {
    Options options;
    for (const PlantInfo& info : Plants()) {
        options.plants.insert(info.plant);
    }
    return options;
}

std::string TextFor(const Options& options) {
    std::ostringstream out;
    Generate(options, out);
    return out.str();
}

// Buildings that differ in everything the options offer.
std::map<std::string, Options> Buildings() {
    std::map<std::string, Options> buildings;
    buildings["plain"] = Options();
    buildings["defects"] = AllDefects();
    buildings["one bay"] = AllDefects();
    buildings["one bay"].bays = 1;
    buildings["one floor"] = AllDefects();
    buildings["one floor"].floors = 1;
    buildings["one floor"].plants.erase(Plant::StoreyLoop);
    buildings["metres"] = AllDefects();
    buildings["metres"].unit = LengthUnit::Metre;
    buildings["related"] = AllDefects();
    buildings["related"].ports = PortStyle::Related;
    buildings["no ports"] = AllDefects();
    buildings["no ports"].ports = PortStyle::None;
    buildings["wings"] = AllDefects();
    buildings["wings"].floors = 4;
    buildings["wings"].size = 6000;
    return buildings;
}

class EachBuilding : public testing::TestWithParam<std::string> {
  protected:
    EachBuilding() : options_(Buildings().at(GetParam())), file_(ParseStep(TextFor(options_))) {}

    Options options_;
    StepFile file_;
};

INSTANTIATE_TEST_SUITE_P(Generator, EachBuilding,
                         testing::Values("plain", "defects", "one bay", "one floor", "metres", "related", "no ports",
                                         "wings"),
                         [](const testing::TestParamInfo<std::string>& building) {
                             std::string name = building.param;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

TEST_P(EachBuilding, IsAPlainExchangeFileWhoseReferencesAllExist) {
    EXPECT_EQ(file_.faults, std::vector<std::string>());
    EXPECT_GT(file_.instances.size(), 1000U);
    std::set<std::uint32_t> used;
    for (const auto& [id, instance] : file_.instances) {
        for (const std::string& attribute : instance.attributes) {
            for (const std::uint32_t reference : ReferencesIn(attribute)) {
                used.insert(reference);
                ASSERT_TRUE(file_.instances.contains(reference)) << "#" << id << " names #" << reference;
            }
        }
    }
    // What nothing refers to is a thing of its own or a relation; anything else would be litter.
    for (const auto& [id, instance] : file_.instances) {
        if (!used.contains(id)) {
            EXPECT_EQ(TextOf(instance.attributes[0]).size(), 22U) << "#" << id << " " << instance.className;
        }
    }
}

// How many attributes the schema IFC4 gives each class that the generator writes.
const std::map<std::string, std::size_t>& AttributeCounts() {
    static const std::map<std::string, std::size_t> kCounts{{"IFCAPPLICATION", 4},
                                                            {"IFCAXIS2PLACEMENT3D", 3},
                                                            {"IFCBUILDING", 12},
                                                            {"IFCBUILDINGSTOREY", 10},
                                                            {"IFCCARTESIANPOINT", 1},
                                                            {"IFCCARTESIANTRANSFORMATIONOPERATOR3D", 5},
                                                            {"IFCCIRCLEPROFILEDEF", 4},
                                                            {"IFCDIRECTION", 1},
                                                            {"IFCDISTRIBUTIONPORT", 10},
                                                            {"IFCDISTRIBUTIONSYSTEM", 7},
                                                            {"IFCEXTRUDEDAREASOLID", 4},
                                                            {"IFCGEOMETRICREPRESENTATIONCONTEXT", 6},
                                                            {"IFCGEOMETRICREPRESENTATIONSUBCONTEXT", 10},
                                                            {"IFCLOCALPLACEMENT", 2},
                                                            {"IFCMAPPEDITEM", 2},
                                                            {"IFCORGANIZATION", 5},
                                                            {"IFCOWNERHISTORY", 8},
                                                            {"IFCPERSON", 8},
                                                            {"IFCPERSONANDORGANIZATION", 3},
                                                            {"IFCPOLYLINE", 1},
                                                            {"IFCPRODUCTDEFINITIONSHAPE", 3},
                                                            {"IFCPROJECT", 9},
                                                            {"IFCPROPERTYENUMERATEDVALUE", 4},
                                                            {"IFCPROPERTYLISTVALUE", 4},
                                                            {"IFCPROPERTYSET", 5},
                                                            {"IFCPROPERTYSINGLEVALUE", 4},
                                                            {"IFCRECTANGLEPROFILEDEF", 5},
                                                            {"IFCRELAGGREGATES", 6},
                                                            {"IFCRELASSIGNSTOGROUP", 7},
                                                            {"IFCRELCONNECTSPORTS", 7},
                                                            {"IFCRELCONNECTSPORTTOELEMENT", 6},
                                                            {"IFCRELCONTAINEDINSPATIALSTRUCTURE", 6},
                                                            {"IFCRELDEFINESBYPROPERTIES", 6},
                                                            {"IFCRELDEFINESBYTYPE", 6},
                                                            {"IFCRELNESTS", 6},
                                                            {"IFCRELSERVICESBUILDINGS", 6},
                                                            {"IFCREPRESENTATIONMAP", 2},
                                                            {"IFCSHAPEREPRESENTATION", 4},
                                                            {"IFCSITE", 14},
                                                            {"IFCSIUNIT", 4},
                                                            {"IFCUNITASSIGNMENT", 1}};
    return kCounts;
}

TEST_P(EachBuilding, GivesEveryClassItsAttributes) {
    const std::set<std::string> elements{"IFCAIRTERMINAL",
                                         "IFCCABLECARRIERFITTING",
                                         "IFCCABLECARRIERSEGMENT",
                                         "IFCDAMPER",
                                         "IFCDUCTFITTING",
                                         "IFCDUCTSEGMENT",
                                         "IFCELECTRICDISTRIBUTIONBOARD",
                                         "IFCFIRESUPPRESSIONTERMINAL",
                                         "IFCFLOWMETER",
                                         "IFCHEATEXCHANGER",
                                         "IFCLIGHTFIXTURE",
                                         "IFCOUTLET",
                                         "IFCPIPEFITTING",
                                         "IFCPIPESEGMENT",
                                         "IFCPUMP",
                                         "IFCSANITARYTERMINAL",
                                         "IFCSENSOR",
                                         "IFCSPACEHEATER",
                                         "IFCTANK",
                                         "IFCUNITARYEQUIPMENT",
                                         "IFCVALVE",
                                         "IFCWASTETERMINAL"};
    std::set<std::string> seen;
    for (const auto& [id, instance] : file_.instances) {
        std::size_t expected = 0;
        if (elements.contains(instance.className)) {
            expected = 9;
            seen.insert(instance.className);
        } else if (instance.className.ends_with("TYPE") &&
                   elements.contains(instance.className.substr(0, instance.className.size() - 4))) {
            expected = 10;
        } else {
            ASSERT_TRUE(AttributeCounts().contains(instance.className)) << instance.className;
            expected = AttributeCounts().at(instance.className);
        }
        // The sub-context's four derived attributes are written in one go.
        EXPECT_EQ(instance.attributes.size(), expected) << "#" << id << " " << instance.className;
    }
    EXPECT_EQ(seen, elements);
}

TEST_P(EachBuilding, HasValidGlobalIdsThatRepeatOnlyWherePlanted) {
    constexpr std::string_view kAlphabet = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_$";
    std::map<std::string, int> seen;
    for (const auto& [id, instance] : file_.instances) {
        const std::string text = TextOf(instance.attributes[0]);
        // Everything with an owner history stands under a GlobalId.
        if (instance.attributes.size() < 5 || !instance.attributes[1].starts_with('#') ||
            file_.instances.at(norvex::test::ReferenceOf(instance.attributes[1])).className != "IFCOWNERHISTORY") {
            continue;
        }
        ASSERT_EQ(text.size(), 22U) << "#" << id;
        EXPECT_TRUE(text[0] >= '0' && text[0] <= '3') << text;
        EXPECT_EQ(text.find_first_not_of(kAlphabet), std::string::npos) << text;
        ++seen[text];
    }
    std::vector<std::string> repeated;
    for (const auto& [text, count] : seen) {
        if (count > 1) {
            repeated.push_back(text);
        }
    }
    EXPECT_EQ(repeated.size(), options_.plants.contains(Plant::RepeatedGlobalId) ? 1U : 0U);
}

TEST_P(EachBuilding, PutsEveryElementOnOneStoreyUnlessPlantedOtherwise) {
    const SampleModel model = BuildSampleModel(file_);
    EXPECT_EQ(model.faults, std::vector<std::string>());
    EXPECT_EQ(model.storeys.size(), static_cast<std::size_t>(options_.floors));
    const auto without = std::count_if(model.elements.begin(), model.elements.end(),
                                       [](const auto& entry) { return entry.second.storey == 0; });
    EXPECT_EQ(without, options_.plants.contains(Plant::NoStorey) ? 1 : 0);
}

TEST_P(EachBuilding, PutsEveryPortOnItsSegmentsEnd) {
    const SampleModel model = BuildSampleModel(file_);
    std::size_t segments = 0;
    for (const auto& [id, element] : model.elements) {
        if (!element.IsSegment()) {
            continue;
        }
        ++segments;
        ASSERT_EQ(element.ends.size(), 2U) << "#" << id;
        EXPECT_GT(DistanceBetween(element.ends[0], element.ends[1]), 20.0) << "#" << id;
        if (options_.ports == PortStyle::None) {
            EXPECT_TRUE(element.ports.empty());
            continue;
        }
        ASSERT_EQ(element.ports.size(), 2U) << "#" << id;
        for (std::size_t end = 0; end < 2; ++end) {
            EXPECT_LT(DistanceBetween(model.ports.at(element.ports[end]).point, element.ends[end]), kTouching)
                << "#" << id;
        }
    }
    EXPECT_GT(segments, 50U);
}

TEST_P(EachBuilding, StatesConnectionsOnlyWherePortsMeetAndFlowsAgree) {
    const SampleModel model = BuildSampleModel(file_);
    if (options_.ports == PortStyle::None) {
        EXPECT_TRUE(model.ports.empty());
        EXPECT_TRUE(model.connections.empty());
        return;
    }
    std::map<std::uint32_t, int> uses;
    for (const auto& [first, second] : model.connections) {
        const SamplePort& from = model.ports.at(first);
        const SamplePort& to = model.ports.at(second);
        EXPECT_LT(DistanceBetween(from.point, to.point), kTouching) << "#" << first << " #" << second;
        EXPECT_NE(from.element, to.element);
        const bool both = from.flow == ".SOURCEANDSINK." || to.flow == ".SOURCEANDSINK.";
        EXPECT_TRUE(both || from.flow != to.flow) << "#" << first << " #" << second << " " << from.flow;
        ++uses[first];
        ++uses[second];
    }
    for (const auto& [port, count] : uses) {
        EXPECT_EQ(count, 1) << "#" << port;
    }
}

TEST_P(EachBuilding, LeavesOnlyTheOpenEndsThatItMeans) {
    const SampleModel model = BuildSampleModel(file_);
    std::set<std::uint32_t> joined;
    for (const auto& [first, second] : model.connections) {
        joined.insert({first, second});
    }
    std::map<std::string, int> open;
    for (const auto& [id, port] : model.ports) {
        if (!joined.contains(id)) {
            ++open[model.elements.at(port.element).className];
        }
    }
    // Trays begin and end in the air; a gap leaves one pipe and one tee, a pipe drawn twice its two ends.
    const int gap = options_.plants.contains(Plant::Gap) ? 1 : 0;
    const int twice = options_.plants.contains(Plant::DoubleDrawn) ? 2 : 0;
    open.erase("IFCCABLECARRIERSEGMENT");
    std::map<std::string, int> expected;
    if (options_.ports != PortStyle::None && gap + twice > 0) {
        expected = {{"IFCPIPEFITTING", gap}, {"IFCPIPESEGMENT", gap + twice}};
    }
    EXPECT_EQ(open, expected);
}

TEST_P(EachBuilding, HoldsExactlyTheLoopsThatItAnnounces) {
    if (options_.ports == PortStyle::None) {
        GTEST_SKIP() << "SKIPPED: without ports nothing states what is joined";
    }
    std::ostringstream out;
    const Summary summary = Generate(options_, out);
    const SampleModel model = BuildSampleModel(file_);
    std::map<std::string, std::set<std::set<std::string>>> found;
    std::size_t count = 0;
    for (const auto& [storey, loops] : LoopsByFloor(model)) {
        for (const std::set<std::string>& loop : loops) {
            found[model.storeys.at(storey)].insert(loop);
            ++count;
        }
    }
    std::map<std::string, std::set<std::set<std::string>>> announced;
    std::size_t announcements = 0;
    for (const auto& each : summary.expectations) {
        if (each.verdict == Verdict::Finding) {
            const std::string name = norvex::samples::EncodeStepText(each.storey);
            announced[name.substr(1, name.size() - 2)].insert({each.globalIds.begin(), each.globalIds.end()});
            ++announcements;
        }
    }
    EXPECT_EQ(found, announced);
    EXPECT_EQ(count, announcements);
}

bool Overlap(const SampleElement& a, const SampleElement& b) {
    // Touching is no overlap, nor is what rounding makes of it.
    constexpr double kAllowed = 1.0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (a.high[axis] - kAllowed <= b.low[axis] || b.high[axis] - kAllowed <= a.low[axis]) {
            return false;
        }
    }
    return true;
}

TEST(Geometry, KeepsPartsThatAreNotJoinedClearOfEachOther) {
    Options options = AllDefects();
    options.plants.erase(Plant::DoubleDrawn);  // lies where the other drawing lies, on purpose
    const SampleModel model = BuildSampleModel(ParseStep(TextFor(options)));
    std::set<std::set<std::uint32_t>> joined;
    for (const auto& [first, second] : model.connections) {
        joined.insert({model.ports.at(first).element, model.ports.at(second).element});
    }
    for (const auto& [id, element] : model.elements) {
        for (const auto& [otherId, other] : model.elements) {
            if (id < otherId && Overlap(element, other)) {
                EXPECT_TRUE(joined.contains({id, otherId}))
                    << "#" << id << " " << element.className << " and #" << otherId << " " << other.className;
            }
        }
    }
}

TEST(Geometry, IsTheSameInMetresAndMillimetres) {
    Options options = AllDefects();
    const SampleModel millimetres = BuildSampleModel(ParseStep(TextFor(options)));
    options.unit = LengthUnit::Metre;
    const SampleModel metres = BuildSampleModel(ParseStep(TextFor(options)));
    ASSERT_EQ(metres.unit, 1000.0);
    ASSERT_EQ(metres.elements.size(), millimetres.elements.size());
    for (const auto& [id, element] : millimetres.elements) {
        const SampleElement& other = metres.elements.at(id);
        ASSERT_EQ(other.globalId, element.globalId);
        EXPECT_LT(DistanceBetween(other.low, element.low), 0.001);
        EXPECT_LT(DistanceBetween(other.high, element.high), 0.001);
    }
}

TEST(Options, SameOptionsGiveTheSameBytes) {
    EXPECT_EQ(TextFor(AllDefects()), TextFor(AllDefects()));
}

TEST(Options, PortsAreTiedAsAsked) {
    Options options;
    const std::string nested = TextFor(options);
    options.ports = PortStyle::Related;
    const std::string related = TextFor(options);
    EXPECT_NE(nested.find("IFCRELNESTS("), std::string::npos);
    EXPECT_EQ(nested.find("IFCRELCONNECTSPORTTOELEMENT("), std::string::npos);
    EXPECT_EQ(related.find("IFCRELNESTS("), std::string::npos);
    EXPECT_NE(related.find("IFCRELCONNECTSPORTTOELEMENT("), std::string::npos);
}

std::set<std::string> ElementIds(const SampleModel& model) {
    std::set<std::string> ids;
    for (const auto& [id, element] : model.elements) {
        ids.insert(element.globalId);
    }
    return ids;
}

TEST(Options, ASeedChangesEveryGlobalIdAndNothingElse) {
    Options options = AllDefects();
    const SampleModel first = BuildSampleModel(ParseStep(TextFor(options)));
    options.seed = 1;
    const SampleModel second = BuildSampleModel(ParseStep(TextFor(options)));
    const std::set<std::string> firstIds = ElementIds(first);
    for (const std::string& id : ElementIds(second)) {
        EXPECT_FALSE(firstIds.contains(id)) << id;
    }
    ASSERT_EQ(first.elements.size(), second.elements.size());
    for (const auto& [id, element] : first.elements) {
        EXPECT_EQ(second.elements.at(id).low, element.low);
    }
}

struct Change {
    std::size_t added = 0;    // GlobalIds of elements that the plain building does not have
    std::size_t removed = 0;  // and those that only the plain building has
    std::size_t moved = 0;    // elements of both whose body is not where it was
};

Change ChangeBy(Plant plant) {
    Options options;
    const SampleModel plain = BuildSampleModel(ParseStep(TextFor(options)));
    options.plants = {plant};
    const SampleModel planted = BuildSampleModel(ParseStep(TextFor(options)));
    std::map<std::string, const SampleElement*> before;
    for (const auto& [id, element] : plain.elements) {
        before[element.globalId] = &element;
    }
    Change change;
    std::set<std::string> after;
    for (const auto& [id, element] : planted.elements) {
        const auto found = before.find(element.globalId);
        if (found == before.end()) {
            ++change.added;
        } else if (after.insert(element.globalId).second &&
                   (found->second->low != element.low || found->second->high != element.high)) {
            ++change.moved;
        }
    }
    change.removed = before.size() - after.size();
    return change;
}

TEST(Plants, ChangeWhatTheyAreAboutAndNothingElse) {
    // A second way: two tees, two bends, and five pipes where one was, which is now the first of six.
    const std::map<Plant, Change> expected{{Plant::WaterLoop, {9, 0, 1}},
                                           {Plant::PipePair, {7, 0, 1}},
                                           {Plant::DrainageLoop, {9, 0, 1}},
                                           {Plant::HeatingRing, {9, 0, 1}},
                                           {Plant::StoreyLoop, {5, 0, 2}},
                                           {Plant::DoubleDrawn, {1, 0, 0}},
                                           {Plant::Gap, {9, 0, 1}},
                                           {Plant::WrongLink, {0, 0, 0}},
                                           {Plant::ValveDiameter, {0, 0, 1}},
                                           {Plant::NoFlange, {0, 1, 1}},
                                           {Plant::NoDiameter, {0, 0, 1}},
                                           {Plant::NoStorey, {0, 0, 0}},
                                           {Plant::RepeatedGlobalId, {0, 1, 0}}};
    ASSERT_EQ(expected.size(), Plants().size());
    for (const PlantInfo& info : Plants()) {
        const Change change = ChangeBy(info.plant);
        EXPECT_EQ(change.added, expected.at(info.plant).added) << info.name;
        EXPECT_EQ(change.removed, expected.at(info.plant).removed) << info.name;
        EXPECT_EQ(change.moved, expected.at(info.plant).moved) << info.name;
    }
}

TEST(Plants, EachAnnouncesItself) {
    for (const PlantInfo& info : Plants()) {
        Options options;
        options.plants = {info.plant};
        std::ostringstream out;
        const Summary summary = Generate(options, out);
        // Beside it stands only the ring main, which every building has.
        ASSERT_EQ(summary.expectations.size(), 2U) << info.name;
        EXPECT_EQ(std::count_if(summary.expectations.begin(), summary.expectations.end(),
                                [&](const auto& each) { return each.plant == info.name; }),
                  1)
            << info.name;
    }
}

TEST(Size, IsMetToWithinABayOfEachFloor) {
    for (const auto& [size, floors] : {std::pair(2000, 2), std::pair(20000, 20), std::pair(200000, 20)}) {
        Options options;
        options.floors = floors;
        options.size = static_cast<std::size_t>(size);
        std::ostringstream out;
        const Summary summary = Generate(options, out);
        // A bay holds about 63 elements.
        EXPECT_NEAR(static_cast<double>(summary.elements), size, 63.0 * floors);
    }
}

}  // namespace
