// SPDX-License-Identifier: Apache-2.0
#include "report/bcf/Documents.h"

#include <fmt/format.h>
#include <set>
#include <utility>

#include "report/bcf/Identity.h"
#include "report/bcf/XmlText.h"
#include "report/xml/XmlWriter.h"

namespace norvex::report::bcf {
namespace {

template <typename Texts>
void WriteList(XmlWriter& xml, const char* list, const char* item, const Texts& texts) {
    xml.Start(list);
    for (const auto& text : texts) {
        xml.Leaf(item, text);
    }
    xml.End();
}

void WritePoint(XmlWriter& xml, const char* name, const ifc::Point& point) {
    xml.Start(name);
    xml.Leaf("X", NumberText(point.x));
    xml.Leaf("Y", NumberText(point.y));
    xml.Leaf("Z", NumberText(point.z));
    xml.End();
}

void WriteHeader(XmlWriter& xml, const Origin& origin) {
    xml.Start("Header");
    xml.Start("Files");
    xml.Start("File");
    if (!origin.projectGlobalId.empty()) {
        xml.Attribute("IfcProject", origin.projectGlobalId);
    }
    xml.Attribute("IsExternal", "true");
    xml.Leaf("Filename", origin.modelFile);
    xml.End();
    xml.End();
    xml.End();
}

void WriteComments(XmlWriter& xml, const Topic& topic, const Origin& origin) {
    if (topic.comments.empty()) {
        return;
    }
    xml.Start("Comments");
    for (const Comment& comment : topic.comments) {
        xml.Start("Comment");
        xml.Attribute("Guid", comment.guid);
        xml.Leaf("Date", comment.date.empty() ? origin.moment : comment.date);
        xml.Leaf("Author", comment.author);
        xml.Leaf("Comment", comment.text);
        xml.End();
    }
    xml.End();
}

void WriteViewpoints(XmlWriter& xml, const Topic& topic, const std::vector<bool>& snapshots) {
    xml.Start("Viewpoints");
    for (std::size_t index = 0; index < topic.viewpoints.size(); ++index) {
        xml.Start("ViewPoint");
        xml.Attribute("Guid", topic.viewpoints[index].guid);
        xml.Leaf("Viewpoint", ViewpointFile(topic, index));
        if (snapshots[index]) {
            xml.Leaf("Snapshot", SnapshotFile(topic, index));
        }
        xml.Leaf("Index", fmt::format("{}", index));
        xml.End();
    }
    xml.End();
}

void WriteComponents(XmlWriter& xml, const std::vector<Component>& components) {
    xml.Start("Components");
    xml.Start("Selection");
    std::set<std::string_view> globalIds;
    for (const Component& component : components) {
        if (component.globalId.empty()) {
            xml.Start("Component");
            xml.Leaf("AuthoringToolId", component.handle);
            xml.End();
        } else if (globalIds.insert(component.globalId).second) {
            xml.Start("Component");
            xml.Attribute("IfcGuid", component.globalId);
            xml.End();
        }
    }
    xml.End();
    xml.Start("Visibility");
    xml.Attribute("DefaultVisibility", "true");
    xml.End();
    xml.End();
}

std::string PartFile(const Topic& topic, std::size_t index, std::string_view first, std::string_view other,
                     std::string_view extension) {
    return index == 0 ? fmt::format("{}.{}", first, extension)
                      : fmt::format("{}_{}.{}", other, topic.viewpoints[index].guid, extension);
}

}  // namespace

std::string VersionDocument() {
    XmlWriter xml(WrittenText);
    xml.Start("Version");
    xml.Attribute("VersionId", "3.0");
    xml.End();
    return xml.Finish();
}

std::string ProjectDocument(const Origin& origin) {
    XmlWriter xml(WrittenText);
    xml.Start("ProjectInfo");
    xml.Start("Project");
    const std::string& key = origin.projectGlobalId.empty() ? origin.modelFile : origin.projectGlobalId;
    xml.Attribute("ProjectId", NameUuid(kNamespace, "project\n" + key));
    xml.Leaf("Name", XmlLine(origin.projectName.empty() ? origin.modelFile : origin.projectName));
    xml.End();
    xml.End();
    return xml.Finish();
}

std::string ExtensionsDocument(const std::vector<Topic>& topics) {
    std::set<std::string> labels;
    std::set<std::string> users{std::string(kAuthor)};
    for (const Topic& topic : topics) {
        labels.insert(topic.labels.begin(), topic.labels.end());
        for (const Comment& comment : topic.comments) {
            users.insert(comment.author);
        }
    }
    XmlWriter xml(WrittenText);
    xml.Start("Extensions");
    WriteList(xml, "TopicTypes", "TopicType", std::vector<std::string>{"Error", "Warning", "Information"});
    WriteList(xml, "TopicStatuses", "TopicStatus",
              std::vector<std::string_view>{kOpen, "Resolved", "Accepted", kClosed});
    WriteList(xml, "Priorities", "Priority", std::vector<std::string>{"High", "Normal", "Low"});
    WriteList(xml, "TopicLabels", "TopicLabel", labels);
    WriteList(xml, "Users", "User", users);
    xml.End();
    return xml.Finish();
}

std::string MarkupDocument(const Topic& topic, const Origin& origin, const std::vector<bool>& snapshots) {
    XmlWriter xml(WrittenText);
    xml.Start("Markup");
    WriteHeader(xml, origin);
    xml.Start("Topic");
    xml.Attribute("Guid", topic.guid);
    xml.Attribute("TopicType", topic.type);
    xml.Attribute("TopicStatus", topic.status);
    xml.Leaf("Title", topic.title);
    xml.Leaf("Priority", topic.priority);
    WriteList(xml, "Labels", "Label", topic.labels);
    // A clock that jumped back must not let the topic be changed before it was made.
    xml.Leaf("CreationDate", topic.created.empty() || topic.created > origin.moment ? origin.moment : topic.created);
    xml.Leaf("CreationAuthor", kAuthor);
    xml.Leaf("ModifiedDate", origin.moment);
    xml.Leaf("ModifiedAuthor", kAuthor);
    xml.Leaf("Description", topic.description);
    WriteComments(xml, topic, origin);
    WriteViewpoints(xml, topic, snapshots);
    xml.End();
    xml.End();
    return xml.Finish();
}

std::string ViewpointDocument(const Viewpoint& viewpoint) {
    XmlWriter xml(WrittenText);
    xml.Start("VisualizationInfo");
    xml.Attribute("Guid", viewpoint.guid);
    WriteComponents(xml, viewpoint.components);
    xml.Start("PerspectiveCamera");
    WritePoint(xml, "CameraViewPoint", viewpoint.camera.viewPoint);
    WritePoint(xml, "CameraDirection", viewpoint.camera.direction);
    WritePoint(xml, "CameraUpVector", viewpoint.camera.up);
    xml.Leaf("FieldOfView", NumberText(viewpoint.camera.fieldOfView));
    xml.Leaf("AspectRatio", NumberText(viewpoint.camera.aspectRatio));
    xml.End();
    xml.End();
    return xml.Finish();
}

std::string ViewpointFile(const Topic& topic, std::size_t index) {
    return PartFile(topic, index, "viewpoint", "Viewpoint", "bcfv");
}

std::string SnapshotFile(const Topic& topic, std::size_t index) {
    return PartFile(topic, index, "snapshot", "Snapshot", "png");
}

}  // namespace norvex::report::bcf
