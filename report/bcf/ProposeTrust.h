// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "report/bcf/ReadBcf.h"
#include "service/store/RunRecords.h"
#include "service/store/TrustRecords.h"

namespace norvex::report::bcf {

// The statuses of topics whose findings a person leaves as they are. "Resolved" is none of them: who says that a thing
// is repaired does not accept it, and if it is found again it must be heard of.
const std::vector<std::string>& AcceptedStatuses();

struct ProposalRequest {
    std::vector<std::string> statuses;  // in any letter case
    std::string reason;                 // for topics that nobody commented; empty: these are not proposed
    std::string person;                 // who answers for that reason, and for comments without an author
    std::string today;                  // "2026-03-01"
};

// A trust entry that a topic speaks for.
struct Proposal {
    std::string title;   // of the topic
    std::string status;  // of the topic
    service::store::TrustEntry entry;
    std::string sentence;           // of the finding
    std::size_t findings = 0;       // of this code in the run: the entry hides all of them
    std::size_t topicFindings = 0;  // that the topic speaks of; more than one in a group
};

struct Proposals {
    std::vector<Proposal> proposals;
    std::size_t open = 0;              // topics whose status accepts nothing
    std::size_t trusted = 0;           // findings that are trusted already
    std::vector<std::string> leftOut;  // accepted topics that nothing is proposed for: a sentence for each
};

// What the topics propose for a project with these findings; those of the newest run come first. A topic is known by
// its GUID, or else by the feature codes that stand in its labels, references, title or description. The newest comment
// is the reason and its author the person. A finding is proposed once, by the first topic that does.
Proposals ProposeTrust(const std::vector<ReadTopic>& topics, const std::vector<service::store::StoredFinding>& findings,
                       const service::store::TrustView& inForce, const ProposalRequest& request);

}  // namespace norvex::report::bcf
