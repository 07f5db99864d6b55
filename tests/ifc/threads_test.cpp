// SPDX-License-Identifier: Apache-2.0
#include "ModelText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

// Reading uses a second thread. What comes out must be that of one thread, and the thread sanitizer reads along.

namespace norvex::ifc {
namespace {

// A model in which every part of the reading notices something, with `elements` of each kind.
std::string ModelWithTroubleEverywhere(int elements) {
    ModelText text;
    for (int i = 0; i < elements; ++i) {
        const int pipe = text.Pipe(1000.0 * i, 0, 1000.0 * i + 900.0, 0);
        const int valve = text.Block("IFCVALVE", 1000.0 * i + 950.0, 0, 0, 100);
        text.Connect(text.Port(pipe, 1000.0 * i + 900.0, 0), text.Port(valve, 1000.0 * i + 900.0, 0));
        // A placement that cannot be read, for a shape and for a port.
        const int nowhere = text.Add("IFCLOCALPLACEMENT($,#999001)");
        text.Product("IFCPUMP", nowhere, text.Shape("BoundingBox", 0));
        const int port = text.Add("IFCDISTRIBUTIONPORT('',$,$,$,$," + ModelText::Ref(nowhere) + ",$,$,$,$)");
        text.Add("IFCRELCONNECTSPORTTOELEMENT('',$,$,$," + ModelText::Ref(port) + "," + ModelText::Ref(valve) + ")");
        // A shape without its item, a port whose place is not there.
        text.Product("IFCPUMP", text.Placement(0, 0, 3000), text.Shape("BoundingBox", 999002));
        const int unplaced = text.Add("IFCDISTRIBUTIONPORT('',$,$,$,$,#999003,$,$,$,$)");
        text.Add("IFCRELCONNECTSPORTTOELEMENT('',$,$,$," + ModelText::Ref(unplaced) + "," + ModelText::Ref(valve) +
                 ")");
        // A port without an element, a GlobalId that is taken, no storey.
        text.Add("IFCRELCONNECTSPORTTOELEMENT('',$,$,$," + ModelText::Ref(port) + ",#1)");
        text.Add("IFCFLOWMETER('taken',$,$,$,$," + ModelText::Ref(text.Placement(0, 500.0 * i, 0)) + ",$,$,$)");
    }
    return text.Text();
}

std::vector<std::string> Noticed(const BuildingModel& model) {
    std::vector<std::string> lines;
    for (const Diagnostic& one : model.diagnostics) {
        lines.push_back(std::string(DiagnosticCodeName(one.code)) + " " + DiagnosticText("", one));
    }
    return lines;
}

BuildingModel Read(const std::string& text, std::size_t maxDiagnostics) {
    ReadOptions options;
    options.maxDiagnostics = maxDiagnostics;
    ReadResult result = ReadIfcBytes(std::as_bytes(std::span(text.data(), text.size())), options);
    return std::move(result.model.value());
}

// Where what has this code stands among all that was noticed: first and last.
std::pair<std::ptrdiff_t, std::ptrdiff_t> Range(const BuildingModel& model, DiagnosticCode code) {
    const auto is = [code](const Diagnostic& one) { return one.code == code && one.line > 0; };
    const auto& all = model.diagnostics;
    const auto first = std::find_if(all.begin(), all.end(), is);
    const auto last = std::find_if(all.rbegin(), all.rend(), is);
    return {first - all.begin(), all.rend() - last - 1};
}

TEST(ReadingThreads, SayWhatTheyNoticeInTheOrderOfReadingOneAfterTheOther) {
    const BuildingModel model = Read(ModelWithTroubleEverywhere(3), 1000);
    const auto storeys = Range(model, DiagnosticCode::NoStorey);
    const auto ports = Range(model, DiagnosticCode::BadPort);
    const auto places = Range(model, DiagnosticCode::BadGeometry);
    const auto repeated = Range(model, DiagnosticCode::RepeatedGlobalId);
    const auto dangling = Range(model, DiagnosticCode::DanglingReference);
    ASSERT_GE(storeys.first, 0);
    EXPECT_LT(storeys.second, ports.first);
    EXPECT_LT(ports.first, ports.second);
    EXPECT_LT(ports.second, places.second) << "the placements of shapes come after those of ports";
    EXPECT_LT(places.second, repeated.first);
    EXPECT_LT(repeated.second, dangling.first);
    // One for each place that refers to what is not there, in the order of the file, whoever met it: only shapes, only
    // ports, or both.
    ASSERT_EQ(dangling.second - dangling.first + 1, 9);
    for (std::ptrdiff_t i = dangling.first + 1; i <= dangling.second; ++i) {
        EXPECT_LT(model.diagnostics[static_cast<std::size_t>(i - 1)].offset,
                  model.diagnostics[static_cast<std::size_t>(i)].offset);
    }
    EXPECT_EQ(model.counts.withoutPlace, 3U);
}

// What is kept of a log with little room is the beginning of what one with much room keeps, code by code.
TEST(ReadingThreads, KeepAtTheLimitWhatReadingOneAfterTheOtherKeeps) {
    const std::string text = ModelWithTroubleEverywhere(40);
    ASSERT_GT(text.size(), 32768U) << "smaller files are read in one thread";
    const BuildingModel all = Read(text, 100'000);
    const BuildingModel some = Read(text, 40);
    EXPECT_EQ(all.counts.warnings, some.counts.warnings);
    EXPECT_EQ(all.counts.notes, some.counts.notes);
    std::vector<std::string> expected;
    std::vector<int> byCode(64, 0);
    for (std::size_t i = 0; i < all.diagnostics.size() && expected.size() < 40; ++i) {
        if (byCode[static_cast<std::size_t>(all.diagnostics[i].code)]++ < 10) {
            expected.push_back(Noticed(all)[i]);
        }
    }
    EXPECT_EQ(Noticed(some), expected);
}

TEST(ReadingThreads, ReadTheSameWhateverElseIsReadMeanwhile) {
    const std::string text = ModelWithTroubleEverywhere(30);
    ASSERT_GT(text.size(), 32768U) << "smaller files are read in one thread";
    const BuildingModel alone = Read(text, 200);
    std::vector<std::vector<std::string>> noticed(6);
    std::vector<std::vector<Point>> places(6);
    std::vector<std::thread> readers;
    for (std::size_t reader = 0; reader < noticed.size(); ++reader) {
        readers.emplace_back([&, reader] {
            const BuildingModel model = Read(text, 200);
            noticed[reader] = Noticed(model);
            for (const Element& element : model.elements) {
                places[reader].insert(places[reader].end(), {element.start, element.end, element.position});
            }
        });
    }
    for (std::thread& reader : readers) {
        reader.join();
    }
    std::vector<Point> expected;
    for (const Element& element : alone.elements) {
        expected.insert(expected.end(), {element.start, element.end, element.position});
    }
    for (std::size_t reader = 0; reader < noticed.size(); ++reader) {
        EXPECT_EQ(noticed[reader], Noticed(alone));
        EXPECT_EQ(places[reader], expected);
    }
}

}  // namespace
}  // namespace norvex::ifc
