// SPDX-License-Identifier: Apache-2.0
#include "report/bcf/WriteBcf.h"

#include <fmt/format.h>
#include <filesystem>

#include "report/bcf/Documents.h"
#include "report/bcf/PlanSnapshot.h"
#include "report/bcf/Topics.h"
#include "report/bcf/ZipArchive.h"

namespace norvex::report::bcf {
namespace {

Origin OriginOf(const service::RunReport& report, const ifc::BuildingModel& building, const BcfOptions& options) {
    return {report.startedAt.empty() ? options.moment : report.startedAt,
            std::filesystem::path(report.model.path).filename().string(),
            IsGlobalId(building.projectGlobalId) ? building.projectGlobalId : std::string(), building.projectName};
}

void AddTopic(const Topic& topic, const Origin& origin, PlanPainter& painter, ZipWriter& zip) {
    std::vector<bool> snapshots;
    for (const Viewpoint& viewpoint : topic.viewpoints) {
        snapshots.push_back(!viewpoint.focus.IsEmpty());
    }
    zip.Add(fmt::format("{}/markup.bcf", topic.guid), MarkupDocument(topic, origin, snapshots));
    for (std::size_t index = 0; index < topic.viewpoints.size(); ++index) {
        const Viewpoint& viewpoint = topic.viewpoints[index];
        zip.Add(fmt::format("{}/{}", topic.guid, ViewpointFile(topic, index)), ViewpointDocument(viewpoint));
        if (snapshots[index]) {
            zip.Add(fmt::format("{}/{}", topic.guid, SnapshotFile(topic, index)),
                    painter.Paint(viewpoint.storey, viewpoint.elements, viewpoint.focus), ZipWriter::Packing::Stored);
        }
    }
}

}  // namespace

std::optional<Grouping> GroupingOfName(std::string_view name) {
    if (name == "rule") {
        return Grouping::Rule;
    }
    if (name == "floor") {
        return Grouping::Floor;
    }
    if (name == "system") {
        return Grouping::System;
    }
    return std::nullopt;
}

std::string MakeBcf(const service::RunReport& report, const ifc::BuildingModel& building,
                    const std::vector<service::FloorRecord>& floors, const BcfOptions& options) {
    const Origin origin = OriginOf(report, building, options);
    const std::vector<Topic> topics = MakeTopics(report, building, floors, options.grouping);
    ZipWriter zip(origin.moment);
    zip.Add("bcf.version", VersionDocument());
    zip.Add("project.bcfp", ProjectDocument(origin));
    zip.Add("extensions.xml", ExtensionsDocument(topics));
    PlanPainter painter(building);
    for (const Topic& topic : topics) {
        AddTopic(topic, origin, painter, zip);
    }
    return zip.Finish();
}

}  // namespace norvex::report::bcf
