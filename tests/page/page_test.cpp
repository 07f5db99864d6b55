// SPDX-License-Identifier: Apache-2.0
#include "page/SyntheticBuilding.h"
#include "report/page/PageShell.h"
#include "report/page/WritePage.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>

using namespace norvex::report::page;
using norvex::tests::MakeBuilding;
using norvex::tests::MakeShowcase;

namespace {

// What a report may weigh beside its elements: script, style, findings, tables.
constexpr std::size_t kFixedBytes = 200 * 1024;
constexpr std::size_t kBytesPerElement = 40;

std::string Page(const PageModel& model) {
    std::ostringstream out;
    WritePage(model, out);
    return out.str();
}

std::string_view DataOf(std::string_view page) {
    const std::size_t begin = ShellBeforeData().size();
    return page.substr(begin, page.size() - begin - ShellAfterData().size());
}

std::string Decode85(std::string_view text) {
    constexpr std::string_view kAlphabet =
        "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ.-:+=^!/*?_,;()[]{}@%$#";
    std::string bytes;
    for (std::size_t offset = 0; offset < text.size(); offset += 5) {
        const std::string_view group = text.substr(offset, 5);
        std::uint64_t value = 0;
        for (std::size_t index = 0; index < 5; ++index) {
            value = value * 85 + (index < group.size() ? kAlphabet.find(group[index]) : 84);
        }
        for (std::size_t index = 0; index + 1 < group.size(); ++index) {
            bytes.push_back(static_cast<char>(static_cast<std::uint8_t>(value >> (24 - 8 * index))));
        }
    }
    return bytes;
}

std::string Inflate(std::string bytes) {
    std::string plain(std::size_t{64} << 20U, '\0');
    z_stream stream = {};
    EXPECT_EQ(inflateInit2(&stream, -MAX_WBITS), Z_OK);
    stream.next_in = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(plain.data());
    stream.avail_out = static_cast<uInt>(plain.size());
    EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END);
    EXPECT_EQ(stream.avail_in, 0U);
    plain.resize(stream.total_out);
    inflateEnd(&stream);
    return plain;
}

Element PipeFrom(Point start, Point end) {
    Element element;
    element.kind = ElementKind::Segment;
    element.hasEnds = true;
    element.start = start;
    element.end = end;
    return element;
}

}  // namespace

TEST(ReportPage, KeepsEveryTextOfTheModelInsideTheData) {
    const auto building = MakeShowcase();
    const std::string page = Page(building.model);
    ASSERT_TRUE(page.starts_with(ShellBeforeData()));
    ASSERT_TRUE(page.ends_with(ShellAfterData()));
    EXPECT_EQ(DataOf(page).find_first_of("<>&\"'\\ \r\n"), std::string_view::npos);
    const std::string plain = Inflate(Decode85(DataOf(page)));
    EXPECT_NE(plain.find("<script>document.title='taken over'</script>"), std::string::npos);
    EXPECT_NE(plain.find("\"><img src=x onerror=alert(1)>"), std::string::npos);
}

TEST(ReportPage, NeverTurnsTextIntoMarkup) {
    const std::string shell = std::string(ShellBeforeData()) + std::string(ShellAfterData());
    for (const char* way : {"innerHTML", "outerHTML", "insertAdjacentHTML", "document.write", "DOMParser", "eval(",
                            "new Function", "createContextualFragment", "srcdoc"}) {
        EXPECT_EQ(shell.find(way), std::string::npos) << way;
    }
}

TEST(ReportPage, AsksForNothingOutsideItself) {
    const std::string shell = std::string(ShellBeforeData()) + std::string(ShellAfterData());
    EXPECT_NE(shell.find("default-src 'none'; script-src 'sha256-"), std::string::npos);
    EXPECT_EQ(shell.find("unsafe-"), std::string::npos);
    for (const char* way : {" src=", "<link", "@import", "url(", "fetch(", "XMLHttpRequest", "WebSocket", "import("}) {
        EXPECT_EQ(shell.find(way), std::string::npos) << way;
    }
    // The one address in it names the drawing format of the small symbols, and is never asked for.
    for (std::size_t at = shell.find("://"); at != std::string::npos; at = shell.find("://", at + 1)) {
        EXPECT_EQ(shell.substr(at, 17), "://www.w3.org/200");
    }
}

TEST(ReportPage, TakesAtMostFortyBytesPerElementAtTwoHundredThousand) {
    const auto building = MakeBuilding(200000, 4, 200);
    ASSERT_EQ(building.model.elements.size(), 200000U);
    const std::string page = Page(building.model);
    RecordProperty("bytesPerElement", std::to_string(static_cast<double>(page.size()) / 200000.0));
    EXPECT_LE(page.size(), kBytesPerElement * 200000 + kFixedBytes);
}

TEST(ReportPage, StaysUnderTheFixedSizeWithoutElements) {
    EXPECT_LE(Page(PageModel{}).size(), kFixedBytes);
}

TEST(ReportPage, WritesTheSameBytesForTheSameModel) {
    EXPECT_EQ(Page(MakeShowcase().model), Page(MakeShowcase().model));
}

TEST(ReportPage, TellsModelsApartThatDifferInOneMillimetre) {
    PageModel model;
    model.elements.push_back(PipeFrom({0, 0, 0}, {1000, 0, 0}));
    const std::string before = Page(model);
    model.elements[0].end.x = 1000.4;
    EXPECT_EQ(Page(model), before) << "places are whole millimetres";
    model.elements[0].end.x = 1001;
    EXPECT_NE(Page(model), before);
}

TEST(ReportPage, TakesPlacesThatAreNoNumbersAsNone) {
    PageModel model;
    const double nothing = std::numeric_limits<double>::quiet_NaN();
    model.elements.push_back(PipeFrom({0, 0, 0}, {1000, nothing, 0}));
    PageModel without;
    without.elements.push_back(Element{});
    without.elements[0].kind = ElementKind::Segment;
    EXPECT_EQ(Page(model), Page(without));
    model.elements.push_back(PipeFrom({1e300, 0, 0}, {-1e300, 0, std::numeric_limits<double>::infinity()}));
    EXPECT_LE(Page(model).size(), kFixedBytes);
}

TEST(ReportPage, LeavesOutObjectsThatAreNotInTheModel) {
    PageModel model;
    model.rules.push_back({"CCheckPipeLoop", "", "", ""});
    model.elements.push_back(PipeFrom({0, 0, 0}, {1, 0, 0}));
    model.findings.push_back({});
    model.findings[0].rule = 0;
    model.findings[0].objects = {0};
    const std::string page = Page(model);
    model.findings[0].objects = {7, 0, kNoIndex};
    EXPECT_EQ(Page(model), page);
}

TEST(ReportTotals, CountEveryFindingOnce) {
    PageModel model;
    const auto add = [&](Severity severity, Change change, TrustState trust) {
        Finding finding;
        finding.rule = 0;
        finding.severity = severity;
        finding.change = change;
        finding.trust.state = trust;
        model.findings.push_back(finding);
    };
    add(Severity::Confirmed, Change::New, TrustState::None);
    add(Severity::Confirmed, Change::Persisting, TrustState::Expired);
    add(Severity::Suspected, Change::None, TrustState::None);
    add(Severity::Remind, Change::None, TrustState::None);
    add(Severity::Confirmed, Change::None, TrustState::Trusted);
    add(Severity::Confirmed, Change::Gone, TrustState::None);
    add(Severity::Confirmed, Change::Gone, TrustState::Trusted);
    add(Severity::Suspected, Change::None, TrustState::Stale);
    const Totals totals = CountTotals(model);
    EXPECT_EQ(totals.confirmed, 2U) << "an expired acceptance counts again";
    EXPECT_EQ(totals.suspected, 1U);
    EXPECT_EQ(totals.reminders, 1U);
    EXPECT_EQ(totals.trusted, 1U);
    EXPECT_EQ(totals.gone, 2U);
}

TEST(ReportTotals, CountElementsWithoutAFloor) {
    PageModel model;
    model.floors.push_back({"1层", 0.0});
    model.elements.resize(3);
    model.elements[0].floor = 0;
    model.elements[1].floor = 9;
    EXPECT_EQ(CountTotals(model).elements, 3U);
    EXPECT_EQ(CountTotals(model).withoutFloor, 2U) << "a floor that the model has not is none";
}
