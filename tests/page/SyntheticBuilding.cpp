// SPDX-License-Identifier: Apache-2.0
#include "page/SyntheticBuilding.h"

#include <fmt/format.h>

#include <array>
#include <random>

namespace norvex::tests {

using namespace report::page;

namespace {

constexpr double kRoomWidth = 4500.0;
constexpr double kRoomDepth = 6000.0;
constexpr double kCorridor = 3000.0;
constexpr double kWing = 2 * kRoomDepth + kCorridor + 3000.0;
constexpr double kStorey = 3600.0;
constexpr std::size_t kRoomsOfWing = 40;
constexpr double kWingLength = kRoomsOfWing / 2 * kRoomWidth + 5000.0;
constexpr std::size_t kWingsInARow = 6;

struct Sort {
    const char* className;
    const char* specialty;
    const char* category;
    const char* subCategory;
    ElementKind kind;
};

constexpr Sort kHeatingPipe{"IfcPipeSegment", "暖通", "管线", "管道", ElementKind::Segment};
constexpr Sort kWaterPipe{"IfcPipeSegment", "给排水", "管线", "管道", ElementKind::Segment};
constexpr Sort kFirePipe{"IfcPipeSegment", "消防", "管线", "管道", ElementKind::Segment};
constexpr Sort kDuct{"IfcDuctSegment", "暖通", "管线", "风管", ElementKind::Segment};
constexpr Sort kTray{"IfcCableCarrierSegment", "电气", "电缆桥架", "桥架", ElementKind::Segment};
constexpr Sort kDataTray{"IfcCableCarrierSegment", "弱电", "电缆桥架", "桥架", ElementKind::Segment};
constexpr Sort kHeatingFitting{"IfcPipeFitting", "暖通", "附件", "管件", ElementKind::Fitting};
constexpr Sort kWaterFitting{"IfcPipeFitting", "给排水", "附件", "管件", ElementKind::Fitting};
constexpr Sort kFireFitting{"IfcPipeFitting", "消防", "附件", "管件", ElementKind::Fitting};
constexpr Sort kValve{"IfcValve", "暖通", "附件", "阀门", ElementKind::InlineDevice};
constexpr Sort kRadiator{"IfcSpaceHeater", "暖通", "设备", "暖通设备", ElementKind::Terminal};
constexpr Sort kAirTerminal{"IfcAirTerminal", "暖通", "附件", "风口", ElementKind::Terminal};
constexpr Sort kSprinkler{"IfcFireSuppressionTerminal", "消防", "设备", "喷头", ElementKind::Terminal};
constexpr Sort kLamp{"IfcLightFixture", "电气", "照明器具", "灯具", ElementKind::Terminal};
constexpr Sort kBasin{"IfcSanitaryTerminal", "给排水", "设备", "卫生器具", ElementKind::Terminal};
constexpr Sort kSensor{"IfcSensor", "弱电", "设备", "弱电设备", ElementKind::Other};
constexpr Sort kPump{"IfcPump", "暖通", "设备", "水泵", ElementKind::Equipment};
constexpr Sort kBoiler{"IfcBoiler", "暖通", "设备", "暖通设备", ElementKind::Equipment};

class Builder {
  public:
    Builder(std::size_t elements, std::size_t floors) : m_limit(elements), m_random(20240229) {
        m_building.model.elements.reserve(elements);
        for (std::size_t floor = 0; floor < floors; ++floor) {
            m_building.model.floors.push_back({fmt::format("{}层", floor + 1), static_cast<double>(floor) * kStorey});
        }
    }

    // The last room may have brought a few too many.
    void Cut() { m_building.model.elements.resize(m_limit); }
    SyntheticBuilding Take() { return std::move(m_building); }
    PageModel& Model() { return m_building.model; }

    std::string_view Keep(std::string text) { return m_building.texts->emplace_back(std::move(text)); }

    Element& Add(const Sort& sort, double diameter) {
        Element element;
        element.className = sort.className;
        element.specialty = sort.specialty;
        element.category = sort.category;
        element.subCategory = sort.subCategory;
        element.kind = sort.kind;
        element.diameter = diameter;
        element.detailName = diameter > 0 ? Keep(fmt::format("{} DN{:.0f}", sort.subCategory, diameter))
                                          : std::string_view(sort.subCategory);
        element.floor = m_floor;
        m_id += 1 + static_cast<std::uint32_t>(m_random() % 60);
        element.handle = Keep(fmt::format("{:X}", m_id));
        element.name = Keep(fmt::format("{}:{}:{}", sort.className + 3, sort.subCategory, 300000 + m_id / 7));
        element.globalId = Keep(GlobalId());
        m_building.model.elements.push_back(element);
        return m_building.model.elements.back();
    }

    void Line(const Sort& sort, double diameter, Point start, Point end) {
        Element& element = Add(sort, diameter);
        element.hasEnds = true;
        element.start = Shaken(start);
        element.end = Shaken(end);
    }

    // A rectangular run without a diameter: its width is in its box.
    void Run(const Sort& sort, double width, double height, Point start, Point end) {
        Line(sort, 0.0, start, end);
        Element& element = m_building.model.elements.back();
        const bool alongX = std::abs(end.x - start.x) > std::abs(end.y - start.y);
        const double dx = alongX ? 0.0 : width / 2;
        const double dy = alongX ? width / 2 : 0.0;
        element.box = Box{{std::min(element.start.x, element.end.x) - dx, std::min(element.start.y, element.end.y) - dy,
                           element.start.z - height / 2},
                          {std::max(element.start.x, element.end.x) + dx, std::max(element.start.y, element.end.y) + dy,
                           element.start.z + height / 2}};
    }

    void Thing(const Sort& sort, double diameter, Point place, double width, double depth, double height) {
        Element& element = Add(sort, diameter);
        const Point middle = Shaken(place);
        element.position = middle;
        element.box = Box{{middle.x - width / 2, middle.y - depth / 2, middle.z - height / 2},
                          {middle.x + width / 2, middle.y + depth / 2, middle.z + height / 2}};
    }

    void Fill() {
        for (m_floor = 0; m_floor < m_building.model.floors.size(); ++m_floor) {
            m_base = *m_building.model.floors[m_floor].elevation;
            m_floorLimit = m_limit * (m_floor + 1) / m_building.model.floors.size();
            for (std::size_t wing = 0; !FloorIsFull(); ++wing) {
                Wing(static_cast<double>(wing % kWingsInARow) * kWingLength,
                     static_cast<double>(wing / kWingsInARow) * kWing);
            }
        }
    }

  private:
    bool FloorIsFull() const { return m_building.model.elements.size() >= m_floorLimit; }

    // Models that people draw do not lie on a grid.
    Point Shaken(Point point) {
        return {point.x + static_cast<double>(m_random() % 30), point.y + static_cast<double>(m_random() % 30),
                point.z + m_base};
    }

    std::string GlobalId() {
        constexpr std::string_view kDigits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_$";
        std::string text(1, kDigits[m_random() % 4]);
        while (text.size() < 22) {
            text += kDigits[m_random() % 64];
        }
        return text;
    }

    void Wing(double begin, double y) {
        Thing(kBoiler, 0, {begin - 2500, y, 900}, 1200, 900, 1800);
        Thing(kPump, 0, {begin - 1200, y - 500, 400}, 400, 300, 500);
        for (std::size_t room = 0; room < kRoomsOfWing / 2 && !FloorIsFull(); ++room) {
            const double x = begin + static_cast<double>(room) * kRoomWidth;
            Corridor(x, y);
            for (const double side : {1.0, -1.0}) {
                if (!FloorIsFull()) {
                    Room(x, y, side, room);
                }
            }
        }
    }

    void Corridor(double x, double y) {
        const double next = x + kRoomWidth;
        Line(kHeatingPipe, 65, {x, y + 500, 2900}, {next, y + 500, 2900});
        Line(kHeatingPipe, 65, {x, y + 650, 2900}, {next, y + 650, 2900});
        Line(kWaterPipe, 50, {x, y - 900, 2800}, {next, y - 900, 2800});
        Line(kFirePipe, 100, {x, y + 1100, 3000}, {next, y + 1100, 3000});
        Run(kDuct, 500, 300, {x, y, 3100}, {next, y, 3100});
        Run(kTray, 300, 60, {x, y - 500, 3150}, {next, y - 500, 3150});
        Run(kDataTray, 200, 60, {x, y - 1250, 3150}, {next, y - 1250, 3150});
    }

    void Room(double x, double y, double side, std::size_t room) {
        const double wall = y + side * (kCorridor / 2 + kRoomDepth - 300);
        for (const double offset : {0.0, 150.0}) {
            const double main = y + 500 + offset;
            const double column = x + 900 + offset;
            Thing(kHeatingFitting, 20, {column, main, 2900}, 70, 70, 70);
            Line(kHeatingPipe, 20, {column, main, 2900}, {column, wall, 2900});
            Thing(kHeatingFitting, 20, {column, wall, 2900}, 40, 40, 40);
            Line(kHeatingPipe, 15, {column, wall, 2900}, {column, wall, 300});
            Thing(kValve, 15, {column, wall - side * 900, 2900}, 60, 110, 60);
        }
        Thing(kRadiator, 0, {x + 1900, wall, 500}, 1400, 120, 600);
        Run(kDuct, 250, 200, {x + 2800, y, 3100}, {x + 2800, y + side * 4200, 3100});
        Thing(kAirTerminal, 0, {x + 2800, y + side * 4300, 3050}, 450, 450, 120);
        Line(kFirePipe, 32, {x + 3700, y + 1100, 3000}, {x + 3700, wall, 3000});
        Thing(kFireFitting, 32, {x + 3700, y + 1100, 3000}, 120, 120, 120);
        for (const double depth : {2600.0, 5200.0}) {
            Thing(kSprinkler, 15, {x + 3700, y + side * (depth + 900), 2950}, 50, 50, 80);
            for (const double across : {1200.0, 3100.0}) {
                Thing(kLamp, 0, {x + across, y + side * (depth + 500), 2950}, 600, 600, 90);
            }
        }
        Thing(kSensor, 0, {x + 300, y + side * 2000, 1200}, 80, 80, 80);
        if (room % 3 == 0) {
            Thing(kWaterFitting, 25, {x + 4200, y - 900, 2800}, 70, 70, 70);
            Line(kWaterPipe, 25, {x + 4200, y - 900, 2800}, {x + 4200, y + side * 4000, 2800});
            Line(kWaterPipe, 25, {x + 4200, y + side * 4000, 2800}, {x + 4200, y + side * 4000, 700});
            Thing(kBasin, 0, {x + 4200, y + side * 4300, 800}, 550, 450, 200);
        }
    }

    std::size_t m_limit;
    std::size_t m_floorLimit = 0;
    std::mt19937 m_random;
    SyntheticBuilding m_building;
    std::uint32_t m_floor = 0;
    double m_base = 0.0;
    std::uint32_t m_id = 90;
};

std::vector<Rule> Rules() {
    return {
        {"CCheckPipeLoop", "Closed loop of pipes",
         "Water in a closed loop has no direction: branches get no flow, and air collects where nobody vents it.",
         "Find the pipe that closes the loop and take it away or break it with a closed valve.\n\nIf the loop is "
         "wanted, "
         "as in a ring main, accept the finding with the reason."},
        {"CCheckPipeDiameter", "Diameters of attachment and pipe differ",
         "A valve of another size than its pipe cannot be mounted without a reducer that the model does not show.",
         "Give the valve the size of its pipe, or draw the reducer."},
        {"CCheckPipeLinkInvalid", "Pipe linked in a way that its material does not allow",
         "Some materials cannot be welded, others not be threaded above a size.",
         "Choose one of the link types that the configuration permits."},
        {"CCheckLayoutFlange", "", "", ""},
    };
}

std::string Code(std::uint32_t seed) {
    std::mt19937 random(seed);
    std::string code = "_";
    while (code.size() < 33) {
        code += "0123456789abcdef"[random() % 16];
    }
    return code;
}

Finding MakeFinding(const PageModel& model, std::uint32_t number, std::vector<std::uint32_t> objects) {
    constexpr std::array kSeverities{Severity::Confirmed, Severity::Suspected, Severity::Remind};
    const Element& first = model.elements[objects.front()];
    Finding finding;
    finding.number = number;
    finding.rule = number % 3;
    finding.floor = first.floor;
    finding.specialty = first.specialty;
    finding.category = first.category;
    finding.subCategory = first.subCategory;
    finding.severity = kSeverities[number % 3];
    finding.sentence = fmt::format("{} pipes around {} form a closed loop of {:.1f} m.", objects.size(), first.name,
                                   12.0 + number % 40);
    finding.location = fmt::format("定位:{}:1:构件定位:", first.subCategory);
    for (const std::uint32_t object : objects) {
        finding.location += fmt::format("{}{}", object == objects.front() ? "" : ",", model.elements[object].handle);
    }
    finding.featureCode = Code(number);
    finding.objects = std::move(objects);
    return finding;
}

// Neighbours in the list are neighbours in the building.
std::vector<std::uint32_t> SomePipes(const PageModel& model, std::size_t from, std::size_t count) {
    std::vector<std::uint32_t> pipes;
    for (std::size_t index = from; index < model.elements.size() && pipes.size() < count; ++index) {
        if (model.elements[index].kind == ElementKind::Segment) {
            pipes.push_back(static_cast<std::uint32_t>(index));
        }
    }
    if (pipes.empty()) {
        pipes.push_back(0);
    }
    return pipes;
}

void AddOutcomes(PageModel& model) {
    constexpr std::array kSpecialties{"给排水", "消防", "暖通"};
    for (std::uint32_t rule = 0; rule < model.rules.size(); ++rule) {
        for (std::uint32_t floor = 0; floor < model.floors.size(); ++floor) {
            for (const char* specialty : kSpecialties) {
                const bool failed = rule < 3 && std::string_view(specialty) == "暖通";
                model.outcomes.push_back(
                    {rule, floor, specialty, failed ? Outcome::Failed : Outcome::Passed, 240, 0, ""});
            }
        }
    }
}

void Describe(PageModel& model) {
    model.run.modelName = "office-building.ifc";
    model.run.projectName = "Office building, Nordstraße 12";
    model.run.schema = "IFC4";
    model.run.number = 12;
    model.run.startedAt = "2024-02-29T14:05:00Z";
    model.run.toolVersion = "0.1.0";
    model.rules = Rules();
}

}  // namespace

SyntheticBuilding MakeBuilding(std::size_t elements, std::size_t floors, std::size_t findings) {
    Builder builder(elements, floors);
    builder.Fill();
    builder.Cut();
    PageModel& model = builder.Model();
    Describe(model);
    for (std::uint32_t number = 1; number <= findings; ++number) {
        model.findings.push_back(
            MakeFinding(model, number, SomePipes(model, number * model.elements.size() / (findings + 1), 4)));
    }
    AddOutcomes(model);
    model.totals = CountTotals(model);
    return builder.Take();
}

SyntheticBuilding MakeShowcase() {
    Builder builder(1800, 3);
    builder.Fill();
    builder.Cut();
    PageModel& model = builder.Model();
    Describe(model);
    model.comparison = Comparison{.run = 11,
                                  .startedAt = "2024-02-27T08:30:00Z",
                                  .hidden = 2,
                                  .notVisited = 1,
                                  .remarks = {"The configuration is another one than in run 11."}};
    model.notices = {{"warning", 6116, "The GlobalId 0iqPoVcbmB$mgksTW4_Ep1 of #6109 is also that of #6102."}};
    model.warningCount = 1;
    model.floors[1].name = "2层南区";
    for (std::uint32_t number = 1; number <= 24; ++number) {
        model.findings.push_back(MakeFinding(model, number, SomePipes(model, number * 70, 2 + number % 5)));
        model.findings.back().change = number % 4 == 0 ? Change::New : Change::Persisting;
    }
    model.findings[2].trust = {TrustState::Trusted, "Ring main by intention, agreed with the fire officer", "L. Berg",
                               "2024-01-15", "2025-01-15"};
    model.findings[7].trust = {TrustState::Expired, "Accepted until the new valve is delivered", "张伟", "2023-11-02",
                               "2024-02-01"};
    model.findings[11].trust = {TrustState::Stale, "Was accepted in an earlier version of the model", "L. Berg",
                                "2023-06-30", ""};
    model.findings[16].change = Change::Gone;
    model.findings[16].objects.clear();
    model.findings[20].severity = Severity::Confirmed;
    model.findings[20].sentence = "暖通管道 DN20 与阀门 DN15 管径不一致，未设置变径管件。";
    // Each of these texts would do something if the page took it for markup.
    Element& hostile = model.elements[model.findings[0].objects[0]];
    hostile.name = "<script>document.title='taken over'</script>";
    hostile.globalId = "\"><img src=x onerror=alert(1)>";
    hostile.detailName = "</script><!--";
    model.findings[0].sentence = "Pipe <script>document.title='taken over'</script> closes a loop of 5 pipes.";
    for (std::size_t index = 1790; index < 1796; ++index) {
        model.elements[index].floor = kNoIndex;
        model.elements[index].noFloorReason = "no relation places it";
    }
    AddOutcomes(model);
    model.outcomes[0].outcome = Outcome::Crashed;
    model.outcomes[0].reason = "it did not answer for 60 s";
    model.outcomes[4].outcome = Outcome::Skipped;
    model.outcomes[4].reason = "the rule is trusted as a whole";
    model.outcomes[7].outcome = Outcome::Cancelled;
    for (std::size_t index = 27; index < 36; ++index) {
        model.outcomes[index].outcome = Outcome::NotApplicable;
        model.outcomes[index].examined = 0;
        model.outcomes[index].reason = "no flange is asked for";
    }
    model.trustEntries = {{"Finding 3: closed loop of pipes", model.findings[2].trust, 1},
                          {"Finding 8: diameters differ", model.findings[7].trust, 0},
                          {"Rule CCheckPipeLoop, sub-category 管道 on 3层", model.findings[11].trust, 0}};
    model.totals = CountTotals(model);
    return builder.Take();
}

}  // namespace norvex::tests
