// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ifc/BuildingModel.h"
#include "report/bcf/Camera.h"
#include "report/bcf/WriteBcf.h"
#include "service/RunReport.h"

// What a run becomes in an issue tracker for buildings: topics with viewpoints. Plain values; texts are not escaped.

namespace norvex::report::bcf {

inline constexpr std::string_view kAuthor = "norvex";
inline constexpr std::string_view kOpen = "Open";
// Of findings that are trusted; what a person sets who accepts one.
inline constexpr std::string_view kClosed = "Closed";

// An object to select.
struct Component {
    std::string globalId;  // empty: the model has none that BCF can name
    std::string handle;
};

struct Viewpoint {
    std::string guid;
    std::uint32_t storey = ifc::kNoIndex;  // index into the model's storeys
    Camera camera;
    std::vector<Component> components;
    std::vector<std::uint32_t> elements;  // indices into the model's elements; what a picture marks
    // What a picture shows; empty: nobody knows where it is, and the camera looks at the floor or the building.
    ifc::Box focus;
};

struct Comment {
    std::string guid;
    std::string date;
    std::string author;
    std::string text;
};

struct Topic {
    std::string guid;
    std::string title;
    std::string type;
    std::string_view status;
    std::string priority;
    std::vector<std::string> labels;
    std::string description;
    std::string created;  // when the first of its findings was first reported; empty: nobody knows
    std::vector<Comment> comments;
    std::vector<Viewpoint> viewpoints;
};

// A topic for each finding, or for each group of findings, in the order of the report. GUIDs are distinct.
std::vector<Topic> MakeTopics(const service::RunReport& report, const ifc::BuildingModel& building,
                              const std::vector<service::FloorRecord>& floors, Grouping grouping);

// Whether the text can be an IfcGuid: 22 of its 64 characters.
bool IsGlobalId(std::string_view text);

}  // namespace norvex::report::bcf
