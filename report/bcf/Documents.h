// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "report/bcf/Topics.h"

// The XML documents of a BCF 3.0 archive, each as its text.

namespace norvex::report::bcf {

// What all topics of an archive share.
struct Origin {
    std::string moment;           // of the run
    std::string modelFile;        // file name without folders
    std::string projectGlobalId;  // of the IfcProject; empty when BCF cannot name it
    std::string projectName;      // may be empty
};

std::string VersionDocument();
std::string ProjectDocument(const Origin& origin);
// The words that the topics use, and those that people are to choose from.
std::string ExtensionsDocument(const std::vector<Topic>& topics);
// `snapshots` tells for each viewpoint whether it has a picture.
std::string MarkupDocument(const Topic& topic, const Origin& origin, const std::vector<bool>& snapshots);
std::string ViewpointDocument(const Viewpoint& viewpoint);

// Names of a viewpoint's files in the topic's folder; the first has the names that every program knows.
std::string ViewpointFile(const Topic& topic, std::size_t index);
std::string SnapshotFile(const Topic& topic, std::size_t index);

}  // namespace norvex::report::bcf
