// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Names of topics that stay the same from run to run, so that a program that has read an earlier file updates its
// topics instead of adding others. All are UUIDs of version 5 (RFC 9562: SHA-1 of namespace and name) in lower case.

namespace norvex::report::bcf {

// The namespace of all our names, drawn once at random. Changing it would make every topic a new one.
inline constexpr std::string_view kNamespace = "7c2e4c1b-9f0d-4b7e-8d53-2a61b5f0c9e4";

// Requires: space is a UUID in its usual form of 36 characters.
std::string NameUuid(std::string_view space, std::string_view name);

// Of a finding: its feature code, followed by "#1", "#2" ... when the code occurs again.
std::string TopicGuid(std::string_view featureCode, std::size_t occurrence);

// Of a group of findings; kind is "rule", "floor" or "system", key what the group has in common.
std::string GroupGuid(std::string_view kind, std::string_view key);

// Of a part of a topic, such as a viewpoint.
std::string PartGuid(std::string_view topicGuid, std::string_view part);

}  // namespace norvex::report::bcf
