// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

// Reads what people did with topics in other programs: archives of BCF 2.0 to 3.0, as these programs write them.
// Nothing is unpacked to the disk, and the names in an archive are no paths to us.

namespace norvex::report::bcf {

struct ReadComment {
    std::string date;  // as written
    std::string author;
    std::string text;
};

// Texts are UTF-8 without blanks around them; empty where the archive has none.
struct ReadTopic {
    std::string guid;  // lower case, without braces; the folder's name when the topic has none of its own
    std::string title;
    std::string status;
    std::string description;
    std::vector<std::string> labels;
    std::vector<std::string> references;
    std::string creationAuthor;
    std::string modifiedAuthor;
    std::string modifiedDate;           // as written
    std::vector<ReadComment> comments;  // oldest first
};

// Far above what people make by hand or a check can write; what is beyond is made to exhaust memory or time.
struct ReadLimits {
    std::uint64_t maxArchiveBytes = std::uint64_t{1} << 30U;
    std::uint64_t maxMembers = 1'000'000;
    std::uint64_t maxMarkupBytes = std::uint64_t{16} << 20U;  // unpacked, of one topic
    std::uint64_t maxTotalBytes = std::uint64_t{512} << 20U;  // unpacked, of all topics
};

struct ReadArchive {
    std::vector<ReadTopic> topics;      // in the order of the archive
    std::vector<std::string> problems;  // topics that could not be read: a sentence for each, with its place
    std::string error;                  // why nothing could be read, one sentence; empty: it could
};

// Never throws but for memory.
ReadArchive ReadBcfFile(const std::filesystem::path& path, const ReadLimits& limits = {});

// Minutes since 1970 in UTC of an xs:dateTime; one without a time zone counts as UTC. The least number for any other
// text.
std::int64_t MomentOf(const std::string& date);

}  // namespace norvex::report::bcf
