// SPDX-License-Identifier: Apache-2.0
#include "fuzz/Promise.h"
#include "platform/text/Utf8.h"
#include "service/work/Wire.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

// Whatever bytes a worker sends, they are messages with every value in its bounds, up to where the stream is broken.
// How the bytes are cut does not matter, and a message that was read is sent and read again alike.

namespace {

using namespace norvex::fuzz;
using namespace norvex::service::work;

struct Heard {
    std::vector<std::string> messages;  // encoded again
    std::vector<std::string> timeless;  // the same without their moments: one that is still to come becomes the present
    bool isBroken = false;
};

bool IsText(const std::string& text) {
    return norvex::text::ToUtf8(norvex::text::FromUtf8(text)) == text;
}

void CheckFinding(const norvex::service::FindingRecord& finding) {
    Require(finding.severity <= norvex::service::Severity::Remind, "a severity is one of three");
    Require(IsText(finding.category) && IsText(finding.subCategory) && IsText(finding.sentence) &&
                IsText(finding.location) && IsText(finding.featureCode),
            "text is UTF-8");
    for (const norvex::service::FoundObject& object : finding.objects) {
        Require(IsText(object.handle) && IsText(object.globalId) && IsText(object.name) && IsText(object.subCategory),
                "text is UTF-8");
    }
    Require(!finding.place ||
                (std::isfinite(finding.place->x) && std::isfinite(finding.place->y) && std::isfinite(finding.place->z)),
            "a place is a place");
}

void CheckBounds(const Message& message) {
    constexpr std::size_t kMostCount = std::numeric_limits<int>::max();
    if (const auto* progress = std::get_if<TaskProgress>(&message)) {
        Require(progress->percent >= 0 && progress->percent <= 100, "progress is a share");
    } else if (const auto* found = std::get_if<TaskFound>(&message)) {
        CheckFinding(found->finding);
    } else if (const auto* ended = std::get_if<TaskEnded>(&message)) {
        Require(ended->examined <= kMostCount && ended->notExamined <= kMostCount && IsText(ended->reason),
                "counts and reasons are within their bounds");
        Require(ended->at <= std::chrono::steady_clock::now() && ended->at.time_since_epoch().count() >= 0,
                "a moment has been");
    } else if (const auto* failed = std::get_if<WorkerFailed>(&message)) {
        Require(IsText(failed->reason), "text is UTF-8");
    }
}

std::string Timeless(Message message) {
    if (auto* begun = std::get_if<TaskBegun>(&message)) {
        begun->at = Moment();
    } else if (auto* ended = std::get_if<TaskEnded>(&message)) {
        ended->at = Moment();
    }
    return Encode(message);
}

// Adds the bytes in pieces of that many.
Heard Hear(std::string_view bytes, std::size_t piece) {
    MessageReader reader;
    Heard heard;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        reader.Add(bytes.substr(at, piece));
        while (const std::optional<Message> message = reader.Next()) {
            CheckBounds(*message);
            heard.messages.push_back(Encode(*message));
            heard.timeless.push_back(Timeless(*message));
            Require(reader.Size() == heard.messages.back().size(), "a message takes the bytes that it took");
        }
    }
    heard.isBroken = reader.IsBroken();
    Require(!heard.isBroken || !reader.Next(), "nothing is read behind the break");
    return heard;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = TextOf(data, size);
    const Heard whole = Hear(bytes, std::max<std::size_t>(bytes.size(), 1));
    // The length of a message and what it carries arrive apart in any way.
    for (const std::size_t piece : {std::size_t{1}, std::size_t{7}}) {
        const Heard cut = Hear(bytes, piece);
        Require(cut.timeless == whole.timeless && cut.isBroken == whole.isBroken,
                "it does not matter how bytes are cut");
    }
    for (const std::string& message : whole.messages) {
        const Heard again = Hear(message, message.size());
        Require(!again.isBroken && again.messages == std::vector<std::string>{message},
                "what was read is sent and read again alike");
    }
    return 0;
}
