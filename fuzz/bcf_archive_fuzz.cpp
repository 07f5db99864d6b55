// SPDX-License-Identifier: Apache-2.0
#include "fuzz/MemoryFolder.h"
#include "fuzz/Promise.h"
#include "platform/text/Utf8.h"
#include "report/bcf/ProposeTrust.h"
#include "report/bcf/ReadBcf.h"

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

// Whatever the bytes are, a BCF archive is refused with one sentence, or gives topics with sound texts, and what these
// propose may be stored.

namespace {

using namespace norvex::fuzz;
using namespace norvex::report::bcf;
namespace store = norvex::service::store;

// Less than the reader's own, so that an input cannot take long by being long.
constexpr ReadLimits kLimits{
    .maxArchiveBytes = 1U << 20U, .maxMembers = 200, .maxMarkupBytes = 1U << 18U, .maxTotalBytes = 1U << 19U};

bool IsSound(const std::string& text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    return norvex::text::ToUtf8(norvex::text::FromUtf8(text)) == text &&
           (text.empty() || (kBlanks.find(text.front()) == std::string_view::npos &&
                             kBlanks.find(text.back()) == std::string_view::npos));
}

void CheckTopic(const ReadTopic& topic) {
    std::vector<std::string> texts{topic.title,          topic.status,         topic.description,
                                   topic.creationAuthor, topic.modifiedAuthor, topic.modifiedDate};
    texts.insert(texts.end(), topic.labels.begin(), topic.labels.end());
    texts.insert(texts.end(), topic.references.begin(), topic.references.end());
    std::int64_t last = std::numeric_limits<std::int64_t>::min();
    for (const ReadComment& comment : topic.comments) {
        texts.insert(texts.end(), {comment.date, comment.author, comment.text});
        Require(MomentOf(comment.date) >= last, "comments stand oldest first");
        last = MomentOf(comment.date);
    }
    Require(std::all_of(texts.begin(), texts.end(), IsSound), "texts are UTF-8 without blanks around them");
    Require(std::none_of(topic.guid.begin(), topic.guid.end(), [](char c) { return c >= 'A' && c <= 'Z'; }),
            "a GUID is in lower case");
}

// Findings that topics may speak of; the seeds do.
const std::vector<store::StoredFinding>& Findings() {
    static const std::vector<store::StoredFinding>& findings = *[] {
        auto* made = new std::vector<store::StoredFinding>();
        for (const char digit : {'0', '1', '2'}) {
            store::StoredFinding stored;
            stored.unit = {"1F", "water", "CCheckPipeLoop"};
            stored.finding.featureCode = "_" + std::string(32, digit);
            stored.finding.sentence = "Four pipes close a loop.";
            stored.finding.objects = {{"1F", "", "Pipe", "pipe"}};
            made->push_back(stored);
        }
        return made;
    }();
    return findings;
}

void CheckProposals(const std::vector<ReadTopic>& topics) {
    const ProposalRequest request{AcceptedStatuses(), "agreed", "Li Gong", "2026-03-01"};
    const Proposals proposals = ProposeTrust(topics, Findings(), store::TrustView(), request);
    Require(proposals.proposals.size() <= Findings().size(), "a finding is proposed once");
    for (const Proposal& proposal : proposals.proposals) {
        Require(!FaultOf(proposal.entry) && proposal.findings > 0, "what is proposed may be stored");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const MemoryFolder& folder = *new MemoryFolder();
    static const std::filesystem::path& path = *new std::filesystem::path(folder.Path() / "topics.bcfzip");
    static const MemoryFile& file = *new MemoryFile(path);
    file.Replace(TextOf(data, size));
    const ReadArchive archive = ReadBcfFile(path, kLimits);
    if (!archive.error.empty()) {
        Require(archive.error.find(path.string()) != std::string::npos && archive.error.ends_with('.'),
                "an error is one sentence that names the archive");
        Require(archive.topics.empty(), "an archive that cannot be read has no topics");
        return 0;
    }
    Require(archive.topics.size() + archive.problems.size() <= kLimits.maxMembers,
            "a member gives a topic or a problem");
    for (const std::string& problem : archive.problems) {
        Require(problem.find(path.string()) != std::string::npos && problem.ends_with('.'),
                "a problem is one sentence that names the archive");
    }
    for (const ReadTopic& topic : archive.topics) {
        CheckTopic(topic);
    }
    CheckProposals(archive.topics);
    return 0;
}
