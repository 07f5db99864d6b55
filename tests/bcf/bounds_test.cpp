// SPDX-License-Identifier: Apache-2.0
// What an archive costs, counted in elements drawn and looked at.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "report/bcf/ReadBcf.h"
#include "report/bcf/WriteBcf.h"
#include "support/TemporaryFolder.h"

namespace norvex::report::bcf {
namespace {

ifc::Element Pipe(std::size_t id, const ifc::Point& start, const ifc::Point& end, std::uint32_t storey = 0) {
    ifc::Element pipe;
    pipe.id = static_cast<std::uint32_t>(id);
    pipe.kind = ifc::ElementKind::Segment;
    pipe.ends = ifc::EndEvidence::Ports;
    pipe.start = start;
    pipe.end = end;
    pipe.nominalDiameter = 25.0;
    pipe.specialty = "给排水";
    pipe.storey = storey;
    return pipe;
}

std::string FloorName(std::size_t storey) {
    return fmt::format("{}层", storey + 1);
}

struct Case {
    ifc::BuildingModel model;
    service::RunReport report;
    std::vector<service::FloorRecord> floors;

    explicit Case(std::size_t storeys = 1) {
        report.startedAt = "2026-03-01T08:30:00Z";
        model.storeys.resize(storeys);
        floors.resize(storeys);
        for (std::size_t storey = 0; storey < storeys; ++storey) {
            floors[storey].name = FloorName(storey);
        }
    }

    void Add(const ifc::Element& element) { model.elements.push_back(element); }

    void Find(const ifc::Element& element) {
        service::FindingRecord finding;
        finding.rule = "CCheckPipeLoop";
        finding.floor = FloorName(element.storey);
        finding.featureCode = fmt::format("_{:032x}", report.findings.size());
        finding.objects = {{.handle = fmt::format("{:X}", element.id), .globalId = "", .name = "Pipe"}};
        report.findings.push_back(finding);
    }

    BcfArchive Make(std::function<bool()> shouldStop = {}) const {
        return MakeBcf(report, model, floors, {.moment = "", .shouldStop = std::move(shouldStop)});
    }
};

// Pipes that all cross one another in one place, each with a finding.
Case Crowd(std::size_t pipes) {
    Case crowd;
    for (std::size_t number = 0; number < pipes; ++number) {
        const double angle = 3.14159 * static_cast<double>(number) / static_cast<double>(pipes);
        const ifc::Point half{4500.0 * std::cos(angle), 4500.0 * std::sin(angle), 0.0};
        crowd.Add(Pipe(number + 1, ifc::Point{} - half, half));
        crowd.Find(crowd.model.elements.back());
    }
    return crowd;
}

// A storey for each pipe, each with a finding.
Case Tower(std::size_t storeys) {
    Case tower(storeys);
    for (std::uint32_t storey = 0; storey < storeys; ++storey) {
        tower.Add(Pipe(storey + 1, {0, 0, 0}, {3000, 0, 0}, storey));
        tower.Find(tower.model.elements.back());
    }
    return tower;
}

// Short pipes along a corridor, each with a finding.
Case Corridor(std::size_t pipes) {
    Case corridor;
    for (std::size_t number = 0; number < pipes; ++number) {
        const double x = 3000.0 * static_cast<double>(number);
        corridor.Add(Pipe(number + 1, {x, 0, 0}, {x + 2900.0, 0, 0}));
        corridor.Find(corridor.model.elements.back());
    }
    return corridor;
}

void ExpectLinear(Case (*make)(std::size_t), std::size_t size) {
    const std::uint64_t one = make(size).Make().steps;
    const std::uint64_t two = make(size * 2).Make().steps;
    const std::uint64_t four = make(size * 4).Make().steps;
    EXPECT_LE(two * 10, one * 22) << one;
    EXPECT_LE(four * 10, two * 22) << two;
}

TEST(BcfBounds, APlaceWithManyFindingsIsDrawnOnceNotForEach) {
    ExpectLinear(Crowd, 20);
    // All of them lie within one view, whose middle they share.
    const Case crowd = Crowd(40);
    EXPECT_LE(crowd.Make().steps, 40U * 2 * 9 + 100);
}

TEST(BcfBounds, ManyStoreysAreEachLookedThroughOnce) {
    ExpectLinear(Tower, 10);
}

TEST(BcfBounds, ManyFindingsSideBySideShareWhatLiesAroundThem) {
    ExpectLinear(Corridor, 20);
}

TEST(BcfBounds, ThingsAsLargeAsTheBuildingDoNotMakeWorkForEveryPicture) {
    constexpr std::size_t kLarge = 10000;
    constexpr std::size_t kFindings = 150;
    constexpr double kSite = 3e6;
    Case site;
    for (std::size_t number = 0; number < kLarge; ++number) {
        site.Add(Pipe(number + 1, {0, static_cast<double>(number), 0}, {kSite, kSite, 0}));
    }
    for (std::size_t number = 0; number < kFindings; ++number) {
        // Below the diagonal, far enough from one another for sheets of their own.
        const double x = kSite * (0.5 + 0.4 * static_cast<double>(number) / kFindings);
        site.Add(Pipe(kLarge + number + 1, {x, 10000, 0}, {x + 1000, 10000, 0}));
        site.Find(site.model.elements.back());
    }
    const BcfArchive archive = site.Make();
    // For each element 64 looks and as many drawings, for each sheet 2,000.
    EXPECT_LE(archive.steps, 2U * (64 * (kLarge + kFindings) + 2000 * kFindings) + kLarge + kFindings);
    EXPECT_EQ(archive.picturesLeftOut, 0U);
}

std::size_t Occurrences(const std::string& text, const std::string& piece) {
    std::size_t count = 0;
    for (std::size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) {
        ++count;
    }
    return count;
}

TEST(BcfBounds, ToldToStopAnArchiveKeepsItsTopicsAndLeavesOutPictures) {
    const Case corridor = Corridor(30);
    int asked = 0;
    const BcfArchive archive = corridor.Make([&] { return ++asked > 10; });
    EXPECT_EQ(archive.picturesLeftOut, 20U);
    // Each name stands before the member and in the directory at the end.
    EXPECT_EQ(Occurrences(archive.bytes, "/markup.bcf"), 60U);
    EXPECT_EQ(Occurrences(archive.bytes, "/viewpoint.bcfv"), 60U);
    EXPECT_EQ(Occurrences(archive.bytes, "/snapshot.png"), 20U);
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / "stopped.bcfzip";
    std::ofstream(path, std::ios::binary) << archive.bytes;
    const ReadArchive read = ReadBcfFile(path);
    EXPECT_EQ(read.error, "");
    EXPECT_EQ(read.topics.size(), 30U);
    EXPECT_TRUE(read.problems.empty());
}

TEST(BcfBounds, ToldToStopWithinOneLargeDrawingItStops) {
    Case crowd = Crowd(2000);
    crowd.report.findings.resize(1);
    int asked = 0;
    const BcfArchive archive = crowd.Make([&] { return ++asked > 3; });
    EXPECT_EQ(archive.picturesLeftOut, 1U);
    EXPECT_LE(asked, 4);
}

}  // namespace
}  // namespace norvex::report::bcf
