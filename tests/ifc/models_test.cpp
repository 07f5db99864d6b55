// SPDX-License-Identifier: Apache-2.0
#include "SharedModels.h"

#include <algorithm>
#include <regex>
#include <set>
#include <utility>

namespace norvex::ifc {
namespace {

using ElementPair = std::pair<std::uint32_t, std::uint32_t>;  // instance numbers, smaller first

ElementPair Ordered(std::uint32_t a, std::uint32_t b) {
    return {std::min(a, b), std::max(a, b)};
}

struct UnitFact {
    std::string_view inIndex;
    std::string_view name;
    double toMillimetres;
};

constexpr UnitFact kUnits[] = {
    {"mm", "MILLIMETRE", 1.0}, {"m", "METRE", 1000.0}, {"FOOT", "FOOT", 304.8}, {"inch", "INCH", 25.4}};

TEST(RealModels, AreReadWithTheCountsOfTheIndex) {
    NORVEX_REQUIRE_SHARED("models/INDEX.tsv");
    const std::vector<IndexRow> rows = ReadIndex();
    ASSERT_EQ(rows.size(), 10U);
    for (const IndexRow& row : rows) {
        SCOPED_TRACE(row.at("file"));
        const BuildingModel model = ReadShared(row.at("file"));
        const auto expected = [&](const char* column) {
            return static_cast<std::uint32_t>(std::stoul(row.at(column)));
        };
        EXPECT_EQ(model.schema, row.at("schema"));
        EXPECT_EQ(model.counts.segments, expected("segments"));
        EXPECT_EQ(model.counts.fittings, expected("fittings"));
        EXPECT_EQ(model.counts.ports, expected("ports"));
        EXPECT_EQ(model.counts.statedConnections, expected("relConnectsPorts"));
        EXPECT_EQ(model.counts.portsToElement, expected("portToElement"));
        EXPECT_EQ(model.counts.systems, expected("systems"));
        EXPECT_EQ(model.counts.circuits, expected("circuits"));
        EXPECT_EQ(model.storeys.size(), expected("storeys"));
        EXPECT_EQ(model.counts.lostInstances, 0U);
        const auto unit = std::find_if(std::begin(kUnits), std::end(kUnits),
                                       [&](const UnitFact& fact) { return fact.inIndex == row.at("unit"); });
        ASSERT_NE(unit, std::end(kUnits));
        EXPECT_EQ(model.lengthUnit, unit->name);
        EXPECT_EQ(model.unitToMillimetres, unit->toMillimetres);
    }
}

TEST(RealModels, GiveEveryElementASpecialty) {
    NORVEX_REQUIRE_SHARED("models/INDEX.tsv");
    const std::set<std::string_view> specialties = {"给排水", "暖通", "消防", "电气", "弱电"};
    for (const IndexRow& row : ReadIndex()) {
        const BuildingModel model = ReadShared(row.at("file"));
        for (const Element& element : model.elements) {
            EXPECT_TRUE(specialties.contains(element.specialty))
                << row.at("file") << " #" << element.id << " " << element.className << ": " << element.specialty;
            EXPECT_NE(element.category, "未分类") << row.at("file") << " #" << element.id << " " << element.className;
            for (const std::string_view part :
                 {element.specialty, element.category, element.subCategory, element.detailName}) {
                EXPECT_FALSE(part.empty()) << row.at("file") << " #" << element.id;
                EXPECT_EQ(part.find('\\'), std::string_view::npos) << part;
            }
        }
    }
}

// What the file states, read without the reader: element numbers of each IfcRelConnectsPorts.
std::vector<ElementPair> StatedPairs(const std::string& text) {
    std::map<std::uint32_t, std::uint32_t> owner;
    const auto number = [](const std::ssub_match& match) {
        return static_cast<std::uint32_t>(std::stoul(match.str()));
    };
    const std::regex nests(R"(IFCRELNESTS\('[^']*', #\d+, [^,]*, [^,]*, #(\d+), \(([^)]*)\)\))");
    const std::regex reference(R"(#(\d+))");
    for (std::sregex_iterator it(text.begin(), text.end(), nests), end; it != end; ++it) {
        const std::string list = (*it)[2].str();
        for (std::sregex_iterator port(list.begin(), list.end(), reference); port != end; ++port) {
            owner[number((*port)[1])] = number((*it)[1]);
        }
    }
    std::vector<ElementPair> pairs;
    const std::regex connects(R"(IFCRELCONNECTSPORTS\('[^']*', #\d+, [^,]*, [^,]*, #(\d+), #(\d+), )");
    for (std::sregex_iterator it(text.begin(), text.end(), connects), end; it != end; ++it) {
        pairs.push_back(Ordered(owner.at(number((*it)[1])), owner.at(number((*it)[2]))));
    }
    return pairs;
}

const Element& ElementById(const BuildingModel& model, std::uint32_t id) {
    const auto found = std::find_if(model.elements.begin(), model.elements.end(),
                                    [&](const Element& element) { return element.id == id; });
    EXPECT_NE(found, model.elements.end()) << "#" << id;
    return *found;
}

// Whether the drawing shows the element at the point, bit by bit. Equipment and terminals stay where they are.
bool Reaches(const Element& element, const Point& point) {
    switch (element.kind) {
        case ElementKind::Segment:
            return element.start == point || element.end == point;
        case ElementKind::Fitting:
        case ElementKind::InlineDevice:
            return element.position == point;
        default:
            return true;
    }
}

TEST(HeatingModel, JoinsWhatItStatesInOnePoint) {
    NORVEX_REQUIRE_SHARED("models/B03_hvac_heating.ifc");
    const std::vector<ElementPair> stated = StatedPairs(SharedText("B03_hvac_heating.ifc"));
    ASSERT_EQ(stated.size(), 228U);
    const BuildingModel model = ReadShared("B03_hvac_heating.ifc");
    std::multimap<ElementPair, Point> points;
    for (const Connection& connection : model.connections) {
        if (connection.junction != kNoIndex) {
            points.emplace(Ordered(model.elements[connection.first].id, model.elements[connection.second].id),
                           model.junctions[connection.junction].point);
        }
    }
    int joined = 0;
    for (const ElementPair& pair : stated) {
        const auto [from, to] = points.equal_range(pair);
        const bool inOnePoint = std::any_of(from, to, [&](const auto& entry) {
            return Reaches(ElementById(model, pair.first), entry.second) &&
                   Reaches(ElementById(model, pair.second), entry.second);
        });
        joined += inOnePoint ? 1 : 0;
    }
    RecordProperty("joined", joined);
    EXPECT_GE(joined, 227);
}

TEST(HeatingModel, RecoversPipeEndsFromGeometryAlone) {
    NORVEX_REQUIRE_SHARED("models/B03_hvac_heating.ifc");
    const std::string text = SharedText("B03_hvac_heating.ifc");
    std::string stripped;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.find("= IFCDISTRIBUTIONPORT(") == std::string::npos &&
            line.find("= IFCRELCONNECTSPORTS(") == std::string::npos) {
            stripped += line + '\n';
        }
    }
    ReadResult result = ReadText(stripped);
    ASSERT_TRUE(result.Ok());
    const BuildingModel& model = *result.model;
    ASSERT_EQ(model.counts.ports, 0U);
    ASSERT_EQ(model.counts.statedConnections, 0U);
    const auto isSegment = [&](std::uint32_t id) { return ElementById(model, id).kind == ElementKind::Segment; };
    std::set<ElementPair> truth;
    for (const ElementPair& pair : StatedPairs(text)) {
        if (isSegment(pair.first) || isSegment(pair.second)) {
            truth.insert(pair);
        }
    }
    std::set<ElementPair> found;
    for (const Connection& connection : model.connections) {
        EXPECT_NE(connection.evidence, ConnectionEvidence::Stated);
        found.insert(Ordered(model.elements[connection.first].id, model.elements[connection.second].id));
    }
    std::vector<ElementPair> right;
    std::set_intersection(truth.begin(), truth.end(), found.begin(), found.end(), std::back_inserter(right));
    const double recall = static_cast<double>(right.size()) / static_cast<double>(truth.size());
    const double precision = static_cast<double>(right.size()) / static_cast<double>(found.size());
    RecordProperty("truth", static_cast<int>(truth.size()));
    RecordProperty("found", static_cast<int>(found.size()));
    RecordProperty("right", static_cast<int>(right.size()));
    std::cout << "pipe-end connections: " << truth.size() << " stated, " << found.size() << " found, " << right.size()
              << " of them right\n";
    for (const ElementPair& pair : found) {
        if (!truth.contains(pair)) {
            std::cout << "  not stated: #" << pair.first << " - #" << pair.second << '\n';
        }
    }
    for (const ElementPair& pair : truth) {
        if (!found.contains(pair)) {
            std::cout << "  not found: #" << pair.first << " - #" << pair.second << '\n';
        }
    }
    EXPECT_GE(recall, 0.97);
    EXPECT_GE(precision, 0.99);
}

struct GapCase {
    const char* file;
    int joinedEnds;  // of the four pipes' eight; the far ends lie open
};

TEST(HeatExchangerModels, LeaveTheirGapsOpen) {
    NORVEX_REQUIRE_SHARED("models/INDEX.tsv");
    const GapCase cases[] = {{"B01_2_HeatExchanger_Pipes.ifc", 4},
                             {"B01_3_HeatExchanger_noPorts.ifc", 4},
                             {"B01_4_HeatExchanger_noConnection.ifc", 0},
                             {"B01_5_HeatExchanger_mixConnection.ifc", 2}};
    for (const GapCase& one : cases) {
        const BuildingModel model = ReadShared(one.file);
        EXPECT_EQ(model.connections.size(), static_cast<std::size_t>(one.joinedEnds)) << one.file;
        EXPECT_EQ(model.counts.openEnds, static_cast<std::uint32_t>(8 - one.joinedEnds)) << one.file;
        EXPECT_EQ(model.networks.size(), 4U) << one.file << ": the heat exchanger must not join its circuits";
    }
}

TEST(ImperialModels, AreMeasuredInMillimetres) {
    NORVEX_REQUIRE_SHARED("models/bSI_air-terminal.ifc");
    const BuildingModel inches = ReadShared("bSI_air-terminal.ifc");
    const auto duct = std::find_if(inches.elements.begin(), inches.elements.end(),
                                   [](const Element& element) { return element.kind == ElementKind::Segment; });
    ASSERT_NE(duct, inches.elements.end());
    // The Axis representation of this duct points elsewhere; ports and body agree on 24 inches upwards.
    EXPECT_EQ(duct->ends, EndEvidence::Ports);
    EXPECT_NEAR(duct->length, 24 * 25.4, 1e-6);
    EXPECT_NEAR(duct->start.x, duct->end.x, 1e-6);
    EXPECT_NEAR(duct->start.y, duct->end.y, 1e-6);
    // The file states that the far end meets the terminal; the reader joins them and says that they lie apart.
    EXPECT_TRUE(std::any_of(inches.diagnostics.begin(), inches.diagnostics.end(), [](const Diagnostic& one) {
        return one.code == DiagnosticCode::BadGeometry && one.sentence.find("609.6 mm") != std::string::npos;
    }));

    const BuildingModel feet = ReadShared("Duplex_Electrical.ifc");
    ASSERT_EQ(feet.storeys.size(), 3U);
    EXPECT_NEAR(feet.storeys[1].elevation, 3100.0, 0.5);
}

TEST(DuctModel, TakesTheLongestSideOfARectangularDuctForItsRun) {
    NORVEX_REQUIRE_SHARED("models/HVAC-Mech.ifc");
    const BuildingModel model = ReadShared("HVAC-Mech.ifc");
    int checked = 0;
    for (const Element& element : model.elements) {
        if (element.kind != ElementKind::Segment) {
            continue;
        }
        EXPECT_GT(element.length, 1000.0) << "#" << element.id << " is extruded by its height of 300 mm";
        EXPECT_NEAR(element.start.z, element.end.z, 1e-6);
        ++checked;
    }
    EXPECT_EQ(checked, 5);
    EXPECT_EQ(model.networks.size(), 1U);
}

TEST(HouseModel, JoinsPipesWithoutPortsAndKeepsItsCircuitsApart) {
    NORVEX_REQUIRE_SHARED("models/DDS_Heizung-Elektro_080729.ifc");
    const BuildingModel model = ReadShared("DDS_Heizung-Elektro_080729.ifc");
    EXPECT_EQ(model.counts.withoutStorey, 0U);
    EXPECT_LE(model.counts.openEnds, 2U);
    // Flow and return meet in radiators and the boiler only, and those end networks.
    for (const Network& network : model.networks) {
        std::set<std::uint32_t> systems;
        for (const std::uint32_t index : network.elements) {
            const Element& element = model.elements[index];
            if (element.specialty == "暖通" && element.systemCount > 0) {
                systems.insert(model.systemsOfElements[element.firstSystem]);
            }
        }
        EXPECT_LE(systems.size(), 1U) << "a network of " << network.elements.size() << " elements";
    }
    // Bends keep apart although their ports, taken at their word, would draw each line into one point.
    for (const Element& element : model.elements) {
        if (element.kind == ElementKind::Segment && element.ends != EndEvidence::None) {
            EXPECT_NE(element.start, element.end) << "#" << element.id;
        }
    }
}

TEST(TrayModel, FollowsTheTrayThroughAllItsDisks) {
    NORVEX_REQUIRE_SHARED("models/IOS_435_cableCarrier.ifc");
    const BuildingModel model = ReadShared("IOS_435_cableCarrier.ifc");
    ASSERT_EQ(model.elements.size(), 1U);
    const Element& tray = model.elements[0];
    EXPECT_EQ(tray.ends, EndEvidence::SweptDisk);
    // First point of the first polyline and last of the fifth, placed by the file's origin.
    EXPECT_NEAR(tray.end.x - tray.start.x, 5457.247, 0.001);
    EXPECT_NEAR(tray.end.y - tray.start.y, -4126.476, 0.001);
    EXPECT_GT(tray.length, 30'000.0);
    EXPECT_EQ(tray.storey, kNoIndex);
    EXPECT_EQ(tray.noStorey, NoStoreyReason::NotContained);
    EXPECT_EQ(model.counts.withoutStorey, 1U);
}

}  // namespace
}  // namespace norvex::ifc
