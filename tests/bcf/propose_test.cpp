// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "report/bcf/Identity.h"
#include "report/bcf/ProposeTrust.h"
#include "report/bcf/ReadBcf.h"
#include "report/bcf/WriteBcf.h"
#include "support/TemporaryFolder.h"

namespace {

using namespace norvex::report::bcf;
using norvex::service::store::StoredFinding;
using norvex::service::store::TrustEntry;
using norvex::service::store::TrustView;

const std::string kFirst = "_00000000000000000000000000000001";
const std::string kSecond = "_00000000000000000000000000000002";

StoredFinding Stored(const std::string& code, int occurrence = 0) {
    StoredFinding stored;
    stored.unit = {"3层", "给排水", "CCheckPipeLoop"};
    stored.finding.featureCode = code;
    stored.finding.sentence = "Pipes form a loop.";
    stored.occurrence = occurrence;
    return stored;
}

ReadTopic Closed(const std::string& guid) {
    ReadTopic topic;
    topic.guid = guid;
    topic.title = "Loop";
    topic.status = "Closed";
    topic.modifiedAuthor = "wang";
    topic.modifiedDate = "2026-03-04T10:00:00Z";
    topic.comments = {{"2026-03-03T10:00:00Z", "li", "meant so"}};
    return topic;
}

ProposalRequest Request() {
    return {.statuses = AcceptedStatuses(), .reason = "", .person = "me", .today = "2026-03-05"};
}

TEST(BcfProposals, TakeTheNewestCommentThatSaysSomething) {
    ReadTopic topic = Closed(TopicGuid(kFirst, 0));
    topic.comments = {{"2026-03-01", "zhao", "why?"}, {"2026-03-02", "li", "meant\n so"}, {"2026-03-03", "sun", ""}};
    const Proposals found = ProposeTrust({topic}, {Stored(kFirst)}, {}, Request());
    ASSERT_EQ(found.proposals.size(), 1U);
    EXPECT_EQ(found.proposals[0].entry.reason, "meant so");
    EXPECT_EQ(found.proposals[0].entry.person, "li");
    EXPECT_EQ(found.proposals[0].entry.addedOn, "2026-03-02");
    EXPECT_EQ(found.proposals[0].entry.featureCode, kFirst);
}

TEST(BcfProposals, KnowATopicOfAFindingThatOccursAgain) {
    const Proposals found =
        ProposeTrust({Closed(TopicGuid(kFirst, 1))}, {Stored(kFirst, 0), Stored(kFirst, 1)}, {}, Request());
    ASSERT_EQ(found.proposals.size(), 1U);
    EXPECT_EQ(found.proposals[0].findings, 2U) << "who accepts one accepts both, and is told";
}

TEST(BcfProposals, GoByTheGuidBeforeTheText) {
    ReadTopic topic = Closed(TopicGuid(kFirst, 0));
    topic.description = "compare " + kSecond;
    const Proposals found = ProposeTrust({topic}, {Stored(kFirst), Stored(kSecond)}, {}, Request());
    ASSERT_EQ(found.proposals.size(), 1U);
    EXPECT_EQ(found.proposals[0].entry.featureCode, kFirst);
}

TEST(BcfProposals, FindCodesInAnyText) {
    for (int place = 0; place < 4; ++place) {
        ReadTopic topic = Closed("another");
        (place == 0   ? topic.labels.emplace_back()
         : place == 1 ? topic.references.emplace_back()
         : place == 2 ? topic.title
                      : topic.description) = "see " + kFirst + ".";
        EXPECT_EQ(ProposeTrust({topic}, {Stored(kFirst)}, {}, Request()).proposals.size(), 1U) << place;
    }
    ReadTopic longer = Closed("another");
    longer.description = kFirst + "0";
    EXPECT_EQ(ProposeTrust({longer}, {Stored(kFirst)}, {}, Request()).proposals.size(), 0U);
}

TEST(BcfProposals, OfferEachFindingOnce) {
    ReadTopic again = Closed("another");
    again.labels = {kFirst};
    EXPECT_EQ(ProposeTrust({Closed(TopicGuid(kFirst, 0)), again}, {Stored(kFirst), Stored(kFirst)}, {}, Request())
                  .proposals.size(),
              1U);
}

TEST(BcfProposals, LeaveOutWhatIsTrusted) {
    TrustEntry entry;
    entry.featureCode = kFirst;
    entry.reason = "r";
    entry.person = "p";
    const Proposals found =
        ProposeTrust({Closed(TopicGuid(kFirst, 0))}, {Stored(kFirst)}, TrustView({entry}), Request());
    EXPECT_TRUE(found.proposals.empty());
    EXPECT_EQ(found.trusted, 1U);
    EXPECT_TRUE(found.leftOut.empty());
}

TEST(BcfProposals, MakeUpNeitherReasonNorPersonNorDay) {
    ReadTopic topic = Closed(TopicGuid(kFirst, 0));
    topic.comments.clear();
    EXPECT_EQ(ProposeTrust({topic}, {Stored(kFirst)}, {}, Request()).leftOut.size(), 1U);
    ProposalRequest request = Request();
    request.reason = "agreed";
    topic.modifiedDate = "2999-01-01T00:00:00Z";
    const Proposals found = ProposeTrust({topic}, {Stored(kFirst)}, {}, request);
    ASSERT_EQ(found.proposals.size(), 1U);
    EXPECT_EQ(found.proposals[0].entry.person, "me") << "who gives the reason answers for it";
    EXPECT_EQ(found.proposals[0].entry.addedOn, "2026-03-05") << "a day to come is none";
    request.person.clear();
    EXPECT_EQ(ProposeTrust({topic}, {Stored(kFirst)}, {}, request).leftOut.size(), 1U);
}

TEST(BcfProposals, HeedOnlyStatusesThatAccept) {
    for (const char* status : {"Open", "Resolved", "In Progress", "Reopened", ""}) {
        ReadTopic topic = Closed(TopicGuid(kFirst, 0));
        topic.status = status;
        const Proposals found = ProposeTrust({topic}, {Stored(kFirst)}, {}, Request());
        EXPECT_TRUE(found.proposals.empty()) << status;
        EXPECT_EQ(found.open, 1U) << status;
    }
    for (const char* status : {"closed", "ACCEPTED", "Approved", "won't fix"}) {
        ReadTopic topic = Closed(TopicGuid(kFirst, 0));
        topic.status = status;
        EXPECT_EQ(ProposeTrust({topic}, {Stored(kFirst)}, {}, Request()).proposals.size(), 1U) << status;
    }
}

TEST(BcfProposals, IgnoreWhatWasClosedByTheCheckItself) {
    ReadTopic topic = Closed(TopicGuid(kFirst, 0));
    topic.modifiedAuthor = "norvex";
    EXPECT_TRUE(ProposeTrust({topic}, {Stored(kFirst)}, {}, Request()).proposals.empty());
    // Some programs change a topic without saying that they did; a later comment is a person's.
    topic.comments.push_back({"2026-03-05T10:00:00Z", "li", "still so"});
    EXPECT_EQ(ProposeTrust({topic}, {Stored(kFirst)}, {}, Request()).proposals.size(), 1U);
}

// An archive of two findings, as we write it.
std::string Archive() {
    norvex::service::RunReport report;
    report.startedAt = "2026-03-01T08:30:00Z";
    report.findings.resize(2);
    report.findings[0].featureCode = kFirst;
    report.findings[1].featureCode = kSecond;
    return MakeBcf(report, norvex::ifc::BuildingModel(), {}, {}).bytes;
}

TEST(BcfReader, ReadsWhatWeWrite) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / "a.bcfzip";
    std::ofstream(path, std::ios::binary) << Archive();
    const ReadArchive read = ReadBcfFile(path);
    EXPECT_EQ(read.error, "");
    EXPECT_TRUE(read.problems.empty());
    ASSERT_EQ(read.topics.size(), 2U);
    EXPECT_EQ(read.topics[0].guid, TopicGuid(kFirst, 0));
    EXPECT_EQ(read.topics[1].guid, TopicGuid(kSecond, 0));
    EXPECT_EQ(read.topics[0].status, "Open");
    EXPECT_EQ(read.topics[0].modifiedAuthor, "norvex");
}

TEST(BcfReader, KeepsToItsLimits) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / "a.bcfzip";
    std::ofstream(path, std::ios::binary) << Archive();
    EXPECT_NE(ReadBcfFile(path, {.maxArchiveBytes = 100}).error, "");
    EXPECT_NE(ReadBcfFile(path, {.maxMembers = 3}).error, "");
    EXPECT_NE(ReadBcfFile(path, {.maxTotalBytes = 100}).error, "");
    const ReadArchive read = ReadBcfFile(path, {.maxMarkupBytes = 100});
    EXPECT_EQ(read.error, "");
    EXPECT_EQ(read.problems.size(), 2U);
    EXPECT_TRUE(read.topics.empty());
}

TEST(BcfReader, TakesNothingFromDamagedArchivesThatWasNotWritten) {
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / "a.bcfzip";
    const std::string whole = Archive();
    std::mt19937 random(11);
    for (int n = 0; n < 500; ++n) {
        std::string damaged = whole;
        for (int change = 0; change <= n % 4; ++change) {
            damaged[random() % damaged.size()] = static_cast<char>(random());
        }
        if (n % 5 == 0) {
            damaged.resize(random() % damaged.size());
        }
        std::ofstream(path, std::ios::binary | std::ios::trunc) << damaged;
        const ReadArchive read = ReadBcfFile(path);
        for (const ReadTopic& topic : read.topics) {
            EXPECT_TRUE(topic.guid == TopicGuid(kFirst, 0) || topic.guid == TopicGuid(kSecond, 0)) << topic.guid;
            EXPECT_EQ(topic.status, "Open");
        }
        EXPECT_LE(read.topics.size() + read.problems.size(), 2U);
        EXPECT_TRUE(read.error.empty() || (read.topics.empty() && read.problems.empty())) << read.error;
    }
}

TEST(BcfMoments, OrderAcrossTimeZones) {
    EXPECT_EQ(MomentOf("1970-01-02T00:00:00Z"), 1440);
    EXPECT_EQ(MomentOf("1970-01-02T08:00:00.125+08:00"), 1440);
    EXPECT_EQ(MomentOf("1970-01-01T21:30:00-02:30"), 1440);
    EXPECT_EQ(MomentOf("1970-01-02"), 1440);
    EXPECT_LT(MomentOf("yesterday"), MomentOf("0001-01-01"));
    EXPECT_LT(MomentOf("2026-02-30T00:00:00Z"), MomentOf("0001-01-01"));
}

}  // namespace
