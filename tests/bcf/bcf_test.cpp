// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <png.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <numbers>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Schemas.h"
#include "report/bcf/Camera.h"
#include "report/bcf/Documents.h"
#include "report/bcf/Identity.h"
#include "report/bcf/PlanSnapshot.h"
#include "report/bcf/Topics.h"
#include "report/bcf/WriteBcf.h"
#include "report/bcf/XmlText.h"

namespace {

using namespace norvex;
using namespace norvex::report::bcf;
using norvex::test::SchemaComplaint;

constexpr const char* kCode = "_0798db067c3dca784b43bc2fc93ae525";
constexpr const char* kGlobalId = "1HoRyCg73uW4ulh4nEp3Sz";

// Two storeys; on the first a pipe from west to east, a valve in its middle, a tank far away.
ifc::BuildingModel TwoStoreys() {
    ifc::BuildingModel model;
    model.projectGlobalId = "0gdGgX93kfqB2iDHtrwkK2";
    model.projectName = "House";
    model.storeys.resize(2);
    model.storeys[0].name = "1层";
    model.storeys[1].name = "2层";
    model.systems.resize(1);
    model.systems[0].name = "Cold water";
    model.systemsOfElements = {0};
    ifc::Element pipe;
    pipe.id = 0x827;
    pipe.globalId = kGlobalId;
    pipe.kind = ifc::ElementKind::Segment;
    pipe.ends = ifc::EndEvidence::Ports;
    pipe.start = {1000, 2000, 3000};
    pipe.end = {4000, 2000, 3000};
    pipe.placed = true;
    pipe.nominalDiameter = 50;
    pipe.specialty = "给排水";
    pipe.storey = 0;
    pipe.systemCount = 1;
    ifc::Element valve;
    valve.id = 0x828;
    valve.kind = ifc::ElementKind::InlineDevice;
    valve.position = {2500, 2000, 3000};
    valve.placed = true;
    valve.storey = 0;
    ifc::Element tank;
    tank.id = 0x900;
    tank.kind = ifc::ElementKind::Equipment;
    tank.box.Add(ifc::Point{3000, 3500, 0});
    tank.box.Add(ifc::Point{4000, 4500, 1000});
    tank.placed = true;
    tank.specialty = "消防";
    tank.storey = 0;
    model.elements = {pipe, valve, tank};
    return model;
}

std::vector<service::FloorRecord> Floors() {
    std::vector<service::FloorRecord> floors(2);
    floors[0].name = "1层";
    floors[1].name = "2层";
    return floors;
}

service::FindingRecord Finding(const std::string& code = kCode) {
    service::FindingRecord finding;
    finding.number = 1;
    finding.rule = "CCheckPipeLoop";
    finding.floor = "1层";
    finding.specialty = "给排水";
    finding.category = "建模合理性";
    finding.subCategory = "管道闭合成环";
    finding.severity = service::Severity::Suspected;
    finding.sentence = "A pipe closes a loop.";
    finding.location = "定位:827";
    finding.featureCode = code;
    finding.objects = {{.handle = "827", .globalId = kGlobalId, .name = "Pipe"}};
    return finding;
}

service::RunReport Report(std::vector<service::FindingRecord> findings) {
    service::RunReport report;
    report.startedAt = "2026-03-01T08:30:00Z";
    report.model.path = "models/house.ifc";
    report.rules.resize(1);
    report.rules[0].name = "CCheckPipeLoop";
    report.rules[0].shortName = "pipe-loop";
    report.rules[0].title = "Closed loops of pipes";
    report.findings = std::move(findings);
    return report;
}

std::vector<Topic> Topics(const service::RunReport& report, Grouping grouping = Grouping::Finding) {
    const ifc::BuildingModel model = TwoStoreys();
    return MakeTopics(report, model, Floors(), grouping);
}

const Origin kOrigin{"2026-03-01T08:30:00Z", "house.ifc", "0gdGgX93kfqB2iDHtrwkK2", "House"};

std::string Markup(const Topic& topic) {
    return MarkupDocument(topic, kOrigin, std::vector<bool>(topic.viewpoints.size(), true));
}

// The text of the only element of that name.
std::string TextOf(const std::string& document, const std::string& name) {
    const std::unique_ptr<xmlDoc, void (*)(xmlDocPtr)> parsed(
        xmlReadMemory(document.data(), static_cast<int>(document.size()), nullptr, nullptr, XML_PARSE_NONET),
        xmlFreeDoc);
    std::vector<xmlNodePtr> open{xmlDocGetRootElement(parsed.get())};
    while (!open.empty()) {
        xmlNodePtr node = open.back();
        open.pop_back();
        if (name == reinterpret_cast<const char*>(node->name)) {
            const std::unique_ptr<xmlChar, void (*)(void*)> text(xmlNodeGetContent(node), xmlFree);
            return reinterpret_cast<const char*>(text.get());
        }
        for (xmlNodePtr child = node->children; child != nullptr; child = child->next) {
            open.push_back(child);
        }
    }
    return "(no such element)";
}

struct Picture {
    std::size_t width = 0;
    std::vector<png_byte> rgb;

    // Pixels of the colour that marks what was found, in columns and rows from inclusive to exclusive.
    std::size_t Marked(std::size_t left, std::size_t top, std::size_t right, std::size_t bottom) const {
        std::size_t count = 0;
        for (std::size_t y = top; y < bottom; ++y) {
            for (std::size_t x = left; x < right; ++x) {
                const png_byte* pixel = &rgb[(y * width + x) * 3];
                count += pixel[0] > 240 && pixel[1] < 80 && pixel[2] > 120 && pixel[2] < 160 ? 1 : 0;
            }
        }
        return count;
    }
};

Picture Decoded(const std::string& bytes) {
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    Picture picture;
    if (png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()) == 0) {
        return picture;
    }
    image.format = PNG_FORMAT_RGB;
    picture.width = image.width;
    picture.rgb.resize(PNG_IMAGE_SIZE(image));
    if (png_image_finish_read(&image, nullptr, picture.rgb.data(), 0, nullptr) == 0) {
        picture.width = 0;
    }
    return picture;
}

TEST(BcfIdentity, NamesAsEveryOtherMakerOfUuidsDoes) {
    EXPECT_EQ(NameUuid("6ba7b810-9dad-11d1-80b4-00c04fd430c8", "www.example.com"),
              "2ed6657d-e927-568b-95e1-2665a8aea6a2");
}

// Whoever changes these makes every topic that people have worked on a new one.
TEST(BcfIdentity, StaysTheSameForever) {
    EXPECT_EQ(TopicGuid(kCode, 0), "2d23bc30-acb4-5c87-aa61-fcff7a11b837");
    EXPECT_EQ(TopicGuid(kCode, 1), "63eccd10-3139-5426-a251-a7097604f6d0");
    EXPECT_EQ(GroupGuid("floor", "2层"), "515e80b0-6738-5c32-ac5e-71e0785ddfe5");
}

TEST(BcfTopics, AreTheSameInTheNextRun) {
    service::RunReport later = Report({Finding("_1"), Finding()});
    later.startedAt = "2026-04-01T08:30:00Z";
    later.findings[1].number = 2;
    later.findings[1].sentence = "Said in other words.";
    EXPECT_EQ(Topics(Report({Finding()}))[0].guid, Topics(later)[1].guid);
}

TEST(BcfTopics, TellFindingsOfOneCodeApart) {
    service::RunReport report = Report({Finding(), Finding(), Finding()});
    report.findings[1].occurrence = 1;
    const std::vector<Topic> topics = Topics(report);
    const std::set<std::string> guids{topics[0].guid, topics[1].guid, topics[2].guid};
    EXPECT_EQ(guids.size(), 3U);
    EXPECT_EQ(topics[0].guid, TopicGuid(kCode, 0));
    EXPECT_EQ(topics[1].guid, TopicGuid(kCode, 1));
}

TEST(BcfTopics, SayWhatTheFindingIs) {
    const Topic topic = Topics(Report({Finding()}))[0];
    EXPECT_EQ(topic.title, "Closed loops of pipes: Pipe, floor 1层");
    EXPECT_EQ(topic.type, "Warning");
    EXPECT_EQ(topic.status, "Open");
    EXPECT_EQ(topic.priority, "Normal");
    EXPECT_EQ(topic.labels, (std::vector<std::string>{"suspected", "给排水 (water)", "pipe-loop"}));
    EXPECT_NE(topic.description.find("A pipe closes a loop."), std::string::npos);
    EXPECT_NE(topic.description.find(kCode), std::string::npos);
    EXPECT_NE(topic.description.find("定位:827"), std::string::npos);
}

TEST(BcfTopics, CloseWhatIsTrustedAndSayWhoDidIt) {
    service::RunReport report = Report({Finding()});
    report.findings[0].trusted = true;
    report.findings[0].acceptance = service::Acceptance{
        .entry = 7, .reason = "meant so", .person = "Li", .addedOn = "2026-02-01", .expiresOn = "2026-12-31"};
    const Topic topic = Topics(report)[0];
    EXPECT_EQ(topic.status, "Closed");
    ASSERT_EQ(topic.comments.size(), 1U);
    EXPECT_EQ(topic.comments[0].text, "meant so");
    EXPECT_EQ(topic.comments[0].author, "Li");
    EXPECT_EQ(topic.comments[0].date, "2026-02-01T00:00:00Z");
    EXPECT_NE(topic.description.find("2026-12-31"), std::string::npos);
    NORVEX_REQUIRE_SHARED("data/bcf-3.0/markup.xsd");
    EXPECT_EQ(SchemaComplaint("markup.xsd", Markup(topic)), "");
}

TEST(BcfTopics, WereMadeWhenTheirFindingsWereFirstReported) {
    service::RunReport report = Report({Finding("_1"), Finding("_2"), Finding("_3")});
    report.findings[0].firstReportedAt = "2026-01-05T10:00:00Z";
    report.findings[1].firstReportedAt = "2025-12-24T10:00:00Z";
    const std::string start = report.startedAt;
    const std::vector<Topic> topics = Topics(report);
    EXPECT_EQ(TextOf(Markup(topics[0]), "CreationDate"), "2026-01-05T10:00:00Z");
    EXPECT_EQ(TextOf(Markup(topics[0]), "ModifiedDate"), start);
    EXPECT_EQ(TextOf(Markup(topics[2]), "CreationDate"), start) << "nobody knows better";
    EXPECT_EQ(TextOf(Markup(Topics(report, Grouping::Rule)[0]), "CreationDate"), "2025-12-24T10:00:00Z");
    report.findings[0].firstReportedAt = "2099-01-01T00:00:00Z";
    EXPECT_EQ(TextOf(Markup(Topics(report)[0]), "CreationDate"), start) << "a clock was wrong";
}

TEST(BcfTopics, GroupsSayHowManyTheyHold) {
    service::RunReport report = Report({Finding("_1"), Finding("_2"), Finding("_3")});
    report.findings[1].floor = "2层";
    report.findings[1].severity = service::Severity::Confirmed;
    report.findings[2].trusted = true;
    const std::vector<Topic> byRule = Topics(report, Grouping::Rule);
    ASSERT_EQ(byRule.size(), 1U);
    EXPECT_EQ(byRule[0].title, "Closed loops of pipes (pipe-loop): 3 findings");
    EXPECT_EQ(byRule[0].type, "Error");
    EXPECT_EQ(byRule[0].status, "Open");
    EXPECT_EQ(byRule[0].viewpoints.size(), 2U) << "one for each floor";
    EXPECT_EQ(byRule[0].description.substr(0, byRule[0].description.find('\n')),
              "3 findings: 1 confirmed, 1 suspected, 0 reminders; 1 trusted.");
    const std::vector<Topic> byFloor = Topics(report, Grouping::Floor);
    ASSERT_EQ(byFloor.size(), 2U);
    EXPECT_EQ(byFloor[0].title, "Floor 1层: 2 findings");
    EXPECT_EQ(byFloor[1].title, "Floor 2层: 1 finding");
    const std::vector<Topic> bySystem = Topics(report, Grouping::System);
    ASSERT_EQ(bySystem.size(), 1U);
    EXPECT_EQ(bySystem[0].title, "System Cold water: 3 findings");
    const std::set<std::string> guids{byRule[0].guid, byFloor[0].guid, byFloor[1].guid, bySystem[0].guid};
    EXPECT_EQ(guids.size(), 4U);
}

TEST(BcfTopics, OfAGroupIsClosedOnlyWhenAllOfItIsTrusted) {
    service::RunReport report = Report({Finding("_1"), Finding("_2")});
    report.findings[0].trusted = true;
    EXPECT_EQ(Topics(report, Grouping::Rule)[0].status, "Open");
    report.findings[1].trusted = true;
    EXPECT_EQ(Topics(report, Grouping::Rule)[0].status, "Closed");
}

TEST(BcfViewpoints, NameObjectsThatHaveNoGlobalIdByTheirHandles) {
    service::RunReport report = Report({Finding()});
    report.findings[0].objects = {{.handle = "828", .globalId = "too short", .name = ""},
                                  {.handle = "827", .globalId = kGlobalId, .name = ""},
                                  {.handle = "829", .globalId = kGlobalId, .name = ""}};
    const std::string document = ViewpointDocument(Topics(report)[0].viewpoints[0]);
    EXPECT_EQ(TextOf(document, "AuthoringToolId"), "828");
    EXPECT_EQ(document.find(kGlobalId), document.rfind(kGlobalId)) << "two objects of one identity are selected once";
    NORVEX_REQUIRE_SHARED("data/bcf-3.0/visinfo.xsd");
    EXPECT_EQ(SchemaComplaint("visinfo.xsd", document), "");
}

TEST(BcfViewpoints, LookAtTheFloorWhenNobodyKnowsWhereTheObjectsAre) {
    service::RunReport report = Report({Finding()});
    report.findings[0].objects = {{.handle = "FFFF", .globalId = kGlobalId, .name = "Gone"}};
    const Viewpoint view = Topics(report)[0].viewpoints[0];
    EXPECT_TRUE(view.focus.IsEmpty());
    // The middle of the floor's elements, x 1..4 m, y 2..4.5 m, z 0..3 m, lies on the camera's axis.
    const ifc::Point toMiddle = ifc::Point{2.5, 3.25, 1.5} - view.camera.viewPoint;
    EXPECT_NEAR(ifc::Length(ifc::Cross(toMiddle, view.camera.direction)), 0.0, 1e-9);
    report.findings[0].place = service::Place{7000, 8000, 9000};
    EXPECT_EQ(Topics(report)[0].viewpoints[0].focus.Centre(), (ifc::Point{7000, 8000, 9000}));
}

TEST(BcfCamera, SeesEveryCornerOfWhatItLooksAt) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> position(-1e6, 1e6);
    std::uniform_real_distribution<double> exponent(-1.0, 6.0);
    for (int n = 0; n < 2000; ++n) {
        const ifc::Point low{position(random), position(random), position(random)};
        const ifc::Point size{std::pow(10.0, exponent(random)), std::pow(10.0, exponent(random)),
                              std::pow(10.0, exponent(random))};
        const ifc::Box box{low, low + size};
        const Camera camera = CameraFor(box);
        EXPECT_NEAR(ifc::Length(camera.direction), 1.0, 1e-12);
        EXPECT_NEAR(ifc::Length(camera.up), 1.0, 1e-12);
        EXPECT_NEAR(ifc::Dot(camera.direction, camera.up), 0.0, 1e-12);
        const ifc::Point right = ifc::Cross(camera.direction, camera.up);
        const double half = std::tan(camera.fieldOfView / 2.0 * std::numbers::pi / 180.0);
        for (int corner = 0; corner < 8; ++corner) {
            const ifc::Point metres =
                ifc::Point{(corner & 1) != 0 ? box.high.x : box.low.x, (corner & 2) != 0 ? box.high.y : box.low.y,
                           (corner & 4) != 0 ? box.high.z : box.low.z} *
                0.001;
            const ifc::Point to = metres - camera.viewPoint;
            const double depth = ifc::Dot(to, camera.direction);
            ASSERT_GT(depth, 0.0);
            EXPECT_LE(std::abs(ifc::Dot(to, camera.up)) / depth, half);
            EXPECT_LE(std::abs(ifc::Dot(to, right)) / depth, half * camera.aspectRatio);
        }
    }
}

TEST(BcfXml, HoldsWhatXmlCannot) {
    EXPECT_EQ(XmlText("a\x01z"), "a\\x01z");
    EXPECT_EQ(XmlText("\xEF\xBF\xBE"), "\\uFFFE");
    EXPECT_EQ(XmlText("\xFF"), "\xEF\xBF\xBD");
    EXPECT_EQ(XmlText(std::string_view("\0", 1)), "\\x00");
    EXPECT_EQ(XmlText("给😀\t\n"), "给😀\t\n");
    EXPECT_EQ(XmlLine("a\r\nb"), "a  b");
}

TEST(BcfXml, BringsHostileTextsThroughUnharmed) {
    const std::string hostile = "<script>&amp;]]>\"'\r\n\t 管";
    service::RunReport report = Report({Finding()});
    report.findings[0].sentence = hostile;
    report.findings[0].objects[0].name = hostile;
    const Topic topic = Topics(report)[0];
    const std::string document = Markup(topic);
    EXPECT_EQ(TextOf(document, "Description"), topic.description);
    EXPECT_EQ(TextOf(document, "Description").substr(0, hostile.size()), hostile);
    EXPECT_EQ(TextOf(document, "Title"), "Closed loops of pipes: <script>&amp;]]>\"'   \u0020管, floor 1层");
    NORVEX_REQUIRE_SHARED("data/bcf-3.0/markup.xsd");
    EXPECT_EQ(SchemaComplaint("markup.xsd", document), "");
}

TEST(BcfSchema, AcceptsAllDocuments) {
    NORVEX_REQUIRE_SHARED("data/bcf-3.0/markup.xsd");
    const std::vector<Topic> topics = Topics(Report({Finding()}));
    EXPECT_EQ(SchemaComplaint("markup.xsd", Markup(topics[0])), "");
    EXPECT_EQ(SchemaComplaint("visinfo.xsd", ViewpointDocument(topics[0].viewpoints[0])), "");
    EXPECT_EQ(SchemaComplaint("extensions.xsd", ExtensionsDocument(topics)), "");
    EXPECT_EQ(SchemaComplaint("extensions.xsd", ExtensionsDocument({})), "");
    EXPECT_EQ(SchemaComplaint("project.xsd", ProjectDocument(kOrigin)), "");
    EXPECT_EQ(SchemaComplaint("version.xsd", VersionDocument()), "");
}

TEST(BcfSchema, AcceptsTheBarestFinding) {
    NORVEX_REQUIRE_SHARED("data/bcf-3.0/markup.xsd");
    service::RunReport report;
    report.findings.resize(1);
    const Topic topic = Topics(report)[0];
    const Origin origin{"2026-03-01T08:30:00Z", "", "", ""};
    EXPECT_EQ(SchemaComplaint("markup.xsd", MarkupDocument(topic, origin, {false})), "");
    EXPECT_EQ(SchemaComplaint("project.xsd", ProjectDocument(origin)), "");
    EXPECT_EQ(SchemaComplaint("visinfo.xsd", ViewpointDocument(topic.viewpoints[0])), "");
}

TEST(BcfSchema, RefusesWhatIsWrong) {
    NORVEX_REQUIRE_SHARED("data/bcf-3.0/markup.xsd");
    const std::string markup = Markup(Topics(Report({Finding()}))[0]);
    const auto without = [](std::string text, const std::string& from, const std::string& to) {
        const std::size_t at = text.find(from);
        return text.replace(at, from.size(), to);
    };
    EXPECT_NE(SchemaComplaint("markup.xsd", without(markup, "TopicStatus=\"Open\"", "")), "");
    EXPECT_NE(SchemaComplaint("markup.xsd", without(markup, "2d23bc30-acb4", "2D23BC30-ACB4")), "");
    EXPECT_NE(SchemaComplaint("markup.xsd", without(markup, "2026-03-01T08:30:00Z", "yesterday")), "");
    EXPECT_NE(SchemaComplaint("markup.xsd", without(markup, "<Priority>Normal</Priority>", "<Priority></Priority>")),
              "");
}

TEST(BcfSnapshot, MarksWhatWasFoundAndNothingElse) {
    const ifc::BuildingModel model = TwoStoreys();
    PlanPainter painter(model);
    const Picture picture = Decoded(*painter.Paint(0, {0}, ExtentOf(model.elements[0])));
    ASSERT_EQ(picture.width, 800U);
    // 12 m are 800 pixels wide and the pipe, 3 m of it, lies across the middle.
    EXPECT_GT(picture.Marked(310, 296, 490, 304), 500U);
    EXPECT_EQ(picture.Marked(0, 0, 800, 290), 0U) << "the tank north of it is not marked";
    EXPECT_EQ(picture.Marked(0, 310, 800, 600), 0U);
    EXPECT_EQ(picture.Marked(0, 0, 290, 600), 0U);
    EXPECT_EQ(picture.Marked(510, 0, 800, 600), 0U);
    // The tank is there in its own colour: 0.5 to 1.5 m east and 1.5 to 2.5 m north of the middle.
    const png_byte* pixel = &picture.rgb[(300 - 133) * 800 * 3 + (400 + 66) * 3];
    EXPECT_NEAR(pixel[0], 0xE3, 8);
    EXPECT_NEAR(pixel[1], 0xAE, 8);
    EXPECT_NEAR(pixel[2], 0x8C, 8);
}

TEST(BcfSnapshot, RingsAPlaceThatHasNoObject) {
    const ifc::BuildingModel model = TwoStoreys();
    PlanPainter painter(model);
    ifc::Box place;
    place.Add(ifc::Point{100000, 100000, 0});
    const Picture picture = Decoded(*painter.Paint(1, {}, place));
    EXPECT_GT(picture.Marked(370, 270, 430, 330), 200U);
    EXPECT_EQ(picture.Marked(390, 290, 410, 310), 0U);
}

TEST(BcfSnapshot, SurvivesPlacesThatAreNone) {
    ifc::BuildingModel model = TwoStoreys();
    model.elements[0].end = {1e300, -1e300, 0};
    model.elements[1].position = {std::nan(""), 0, 0};
    model.elements[2].box.high.x = 9e11;
    PlanPainter painter(model);
    EXPECT_TRUE(ExtentOf(model.elements[1]).IsEmpty());
    EXPECT_EQ(Decoded(*painter.Paint(0, {0, 1, 2}, ExtentOf(model.elements[2]))).width, 800U);
}

TEST(BcfArchive, IsTheSameBytesForTheSameRun) {
    const ifc::BuildingModel model = TwoStoreys();
    const service::RunReport report = Report({Finding("_1"), Finding("_2")});
    const std::string first = MakeBcf(report, model, Floors(), {}).bytes;
    EXPECT_EQ(first, MakeBcf(report, model, Floors(), {}).bytes);
    EXPECT_EQ(first.substr(0, 2), "PK");
}

TEST(BcfArchive, OfARunWithoutFindingsIsEmptyButWhole) {
    const ifc::BuildingModel model = TwoStoreys();
    const std::string bytes = MakeBcf(Report({}), model, Floors(), {}).bytes;
    EXPECT_NE(bytes.find("bcf.version"), std::string::npos);
    EXPECT_EQ(bytes.find("markup.bcf"), std::string::npos);
}

}  // namespace
