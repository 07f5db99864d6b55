// SPDX-License-Identifier: Apache-2.0
#include "report/bcf/WriteBcf.h"

#include <fmt/format.h>
#include <algorithm>
#include <filesystem>
#include <utility>

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

// Of each topic the picture of each viewpoint; nothing where nobody knows where to look, or time ran out.
using Pictures = std::vector<std::vector<std::optional<std::string>>>;

struct PictureOrder {
    Sheet sheet;
    std::size_t topic;
    std::size_t viewpoint;
};

// The pictures in the order in which the painter has the least to draw.
std::vector<PictureOrder> OrdersOf(const std::vector<Topic>& topics) {
    std::vector<PictureOrder> orders;
    for (std::size_t topic = 0; topic < topics.size(); ++topic) {
        for (std::size_t index = 0; index < topics[topic].viewpoints.size(); ++index) {
            const Viewpoint& viewpoint = topics[topic].viewpoints[index];
            if (!viewpoint.focus.IsEmpty()) {
                orders.push_back({PlanPainter::SheetOf(viewpoint.storey, viewpoint.focus), topic, index});
            }
        }
    }
    std::stable_sort(orders.begin(), orders.end(),
                     [](const PictureOrder& left, const PictureOrder& right) { return left.sheet < right.sheet; });
    return orders;
}

Pictures PicturesOf(const std::vector<Topic>& topics, PlanPainter& painter, std::size_t& leftOut) {
    Pictures pictures;
    for (const Topic& topic : topics) {
        pictures.emplace_back(topic.viewpoints.size());
    }
    for (const PictureOrder& order : OrdersOf(topics)) {
        const Viewpoint& viewpoint = topics[order.topic].viewpoints[order.viewpoint];
        std::optional<std::string>& picture = pictures[order.topic][order.viewpoint];
        picture = painter.Paint(viewpoint.storey, viewpoint.elements, viewpoint.focus);
        leftOut += picture ? 0 : 1;
    }
    return pictures;
}

void AddTopic(const Topic& topic, const Origin& origin, std::vector<std::optional<std::string>>& pictures,
              ZipWriter& zip) {
    std::vector<bool> snapshots;
    for (const std::optional<std::string>& picture : pictures) {
        snapshots.push_back(picture.has_value());
    }
    zip.Add(fmt::format("{}/markup.bcf", topic.guid), MarkupDocument(topic, origin, snapshots));
    for (std::size_t index = 0; index < topic.viewpoints.size(); ++index) {
        zip.Add(fmt::format("{}/{}", topic.guid, ViewpointFile(topic, index)),
                ViewpointDocument(topic.viewpoints[index]));
        if (pictures[index]) {
            zip.Add(fmt::format("{}/{}", topic.guid, SnapshotFile(topic, index)), std::move(*pictures[index]),
                    ZipWriter::Packing::Stored);
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

BcfArchive MakeBcf(const service::RunReport& report, const ifc::BuildingModel& building,
                   const std::vector<service::FloorRecord>& floors, const BcfOptions& options) {
    const Origin origin = OriginOf(report, building, options);
    const std::vector<Topic> topics = MakeTopics(report, building, floors, options.grouping);
    ZipWriter zip(origin.moment);
    zip.Add("bcf.version", VersionDocument());
    zip.Add("project.bcfp", ProjectDocument(origin));
    zip.Add("extensions.xml", ExtensionsDocument(topics));
    PlanPainter painter(building, options.shouldStop);
    BcfArchive archive;
    Pictures pictures = PicturesOf(topics, painter, archive.picturesLeftOut);
    for (std::size_t topic = 0; topic < topics.size(); ++topic) {
        AddTopic(topics[topic], origin, pictures[topic], zip);
    }
    archive.steps = painter.Steps();
    archive.bytes = zip.Finish();
    return archive;
}

}  // namespace norvex::report::bcf
