// SPDX-License-Identifier: Apache-2.0
#include "service/store/TrustExchange.h"

#include "StoreSupport.h"
#include "norvexdata/state/Records.h"
#include "platform/text/CodePage.h"
#include "service/store/RunTrust.h"

using namespace norvex::test;
using namespace norvex::service::store;

namespace {

RunId RecordRun(ProjectStore& project, const std::vector<std::pair<UnitOutcome, std::vector<Finding>>>& units,
                const RunIdentity& identity = Identity()) {
    const RunRecord run = Expect(project.BeginRun(identity));
    for (const auto& [outcome, findings] : units) {
        Expect(project.CommitUnit(run.id, outcome, findings));
    }
    Expect(project.EndRun(run.id, RunStatus::Complete));
    return run.id;
}

TrustListing OnlyListing(ProjectStore& project) {
    const std::vector<TrustListing> listings = Expect(project.ListTrust());
    EXPECT_EQ(listings.size(), 1U);
    return listings.at(0);
}

}  // namespace

TEST(TrustStore, GivesBackAnEntryWithReasonPersonAndDays) {
    const ProjectFolder folder;
    SetClock clock;
    TrustEntry entry = TrustedSubCategory("CCheckPipeLink", "3层南区", "给水管");
    entry.specialty = "给排水";
    entry.expiresOn = "2026-12-31";
    TrustId id = 0;
    {
        ProjectStore project = OpenStore(folder, &clock);
        id = Expect(project.AddTrust(entry));
    }
    ProjectStore project = OpenStore(folder, &clock);
    entry.id = id;
    entry.addedOn = "2026-03-01";
    EXPECT_EQ(OnlyListing(project).entry, entry);
    EXPECT_FALSE(OnlyListing(project).expired);
}

TEST(TrustStore, RefusesEntriesThatNobodyCouldAccountFor) {
    const ProjectFolder folder;
    SetClock clock;
    ProjectStore project = OpenStore(folder, &clock);
    struct Case {
        const char* sentence;
        TrustEntry entry;
    };
    const auto changed = [](TrustEntry entry, std::string TrustEntry::*member, const char* text) {
        entry.*member = text;
        return entry;
    };
    const TrustEntry finding = TrustedFinding(Code(1));
    const TrustEntry rule = TrustedRule("CCheckPipeLoop");
    const TrustEntry part = TrustedSubCategory("CCheckPipeLoop", "3层", "给水管");
    const std::vector<Case> cases{
        {"Trust needs a reason.", changed(finding, &TrustEntry::reason, " \t")},
        {"Trust needs the name of the person who answers for it.", changed(rule, &TrustEntry::person, "")},
        {"A trusted finding needs a feature code, \"_\" and 32 digits or letters a to f, not \"_12\".",
         changed(finding, &TrustEntry::featureCode, "_12")},
        {"A trusted finding has no sub-category.", changed(finding, &TrustEntry::subCategory, "x")},
        {"A trusted rule needs the rule's name.", changed(rule, &TrustEntry::rule, "")},
        {"A trusted rule has neither floor nor sub-category nor feature code.",
         changed(rule, &TrustEntry::floor, "3层")},
        {"A trusted sub-category needs a rule, a floor and the sub-category's name.",
         changed(part, &TrustEntry::floor, "")},
        {"A trusted sub-category needs a rule, a floor and the sub-category's name.",
         changed(part, &TrustEntry::subCategory, " ")},
        {"A trusted sub-category has no feature code.", changed(part, &TrustEntry::featureCode, Code(1).c_str())},
        {"The day on which trust expires must be written YYYY-MM-DD, not \"2026-02-30\".",
         changed(finding, &TrustEntry::expiresOn, "2026-02-30")},
        {"The day on which trust was given must be written YYYY-MM-DD, not \"1.3.2026\".",
         changed(finding, &TrustEntry::addedOn, "1.3.2026")},
        {"Trust given on 2026-03-01 cannot expire earlier, on 2026-02-28.",
         changed(finding, &TrustEntry::expiresOn, "2026-02-28")},
        {"Trust that expired on 2026-02-28 would never apply.",
         changed(changed(finding, &TrustEntry::addedOn, "2026-01-01"), &TrustEntry::expiresOn, "2026-02-28")},
    };
    for (const Case& each : cases) {
        const Result<TrustId> result = project.AddTrust(each.entry);
        ASSERT_FALSE(result.Ok()) << each.sentence;
        EXPECT_EQ(result.Error().code, StoreErrorCode::InvalidInput);
        EXPECT_EQ(result.Error().sentence, each.sentence);
    }
    EXPECT_TRUE(Expect(project.ListTrust()).empty());
}

TEST(TrustStore, AcceptsTheSameThingOnce) {
    const ProjectFolder folder;
    SetClock clock;
    ProjectStore project = OpenStore(folder, &clock);
    Expect(project.AddTrust(TrustedRule("CCheckPipeLoop")));
    Expect(project.AddTrust(TrustedRule("CCheckPipeLoop", "消防")));
    const Result<TrustId> again = project.AddTrust(TrustedRule("CCheckPipeLoop"));
    ASSERT_EQ(CodeOf(again), StoreErrorCode::AlreadyTrusted);
    EXPECT_EQ(again.Error().sentence, "Trust 1, given by 李工 on 2026-03-01, already covers rule CCheckPipeLoop.");
}

TEST(TrustStore, HoldsOnTheDayOfExpiryAndNotAfterwards) {
    const ProjectFolder folder;
    SetClock clock;
    ProjectStore project = OpenStore(folder, &clock);
    TrustEntry entry = TrustedFinding(Code(1));
    entry.expiresOn = "2026-03-02";
    Expect(project.AddTrust(entry));
    clock.day = "2026-03-02";
    EXPECT_TRUE(Expect(project.TrustInForce()).IsFindingTrusted(Code(1)));
    EXPECT_FALSE(OnlyListing(project).expired);
    clock.day = "2026-03-03";
    EXPECT_FALSE(Expect(project.TrustInForce()).IsFindingTrusted(Code(1)));
    EXPECT_TRUE(OnlyListing(project).expired);
}

TEST(TrustStore, SaysLoudlyWhatComesBackWhenTrustExpires) {
    const ProjectFolder folder;
    SetClock clock;
    ProjectStore project = OpenStore(folder, &clock);
    TrustEntry entry = TrustedFinding(Code(1));
    entry.expiresOn = "2026-03-02";
    Expect(project.AddTrust(entry));
    clock.day = "2026-03-03";
    EXPECT_EQ(
        TrustNotices(Expect(project.ListTrust())),
        std::vector<std::string>{"Trust 1 (finding " + Code(1) +
                                 ", given by 李工 on 2026-03-01: \"agreed with the owner\") expired on 2026-03-02 "
                                 "and no longer applies: what it hid comes back."});
    RecordRun(project, {{Outcome(kUnit, UnitResult::Failed), {FindingOf(Code(1)), FindingOf(Code(1), {"b"})}}});
    EXPECT_EQ(
        TrustNotices(Expect(project.ListTrust())),
        std::vector<std::string>{"Trust 1 (finding " + Code(1) +
                                 ", given by 李工 on 2026-03-01: \"agreed with the owner\") expired on 2026-03-02 "
                                 "and no longer applies: 2 findings come back."});
}

TEST(TrustStore, RenewsAnExpiredEntryAndKeepsTheOldOneOnRecord) {
    const ProjectFolder folder;
    SetClock clock;
    ProjectStore project = OpenStore(folder, &clock);
    TrustEntry entry = TrustedRule("CCheckPipeLoop");
    entry.expiresOn = "2026-03-02";
    Expect(project.AddTrust(entry));
    clock.day = "2026-04-01";
    entry.expiresOn = "2026-05-01";
    entry.person = "王工";
    const TrustId renewed = Expect(project.AddTrust(entry));
    EXPECT_EQ(OnlyListing(project).entry.id, renewed);
    const std::vector<RemovedTrustEntry> removed = Expect(project.RemovedTrust());
    ASSERT_EQ(removed.size(), 1U);
    EXPECT_EQ(removed[0].entry.id, 1);
    EXPECT_EQ(removed[0].removedBy, "王工");
    EXPECT_EQ(removed[0].removedOn, "2026-04-01");
    EXPECT_EQ(removed[0].removedBecause, "renewed as trust 2");
}

TEST(TrustStore, RemovesAllOrNothingAndKeepsThePerson) {
    const ProjectFolder folder;
    SetClock clock;
    ProjectStore project = OpenStore(folder, &clock);
    const TrustId first = Expect(project.AddTrust(TrustedFinding(Code(1))));
    const TrustId second = Expect(project.AddTrust(TrustedFinding(Code(2))));
    EXPECT_EQ(CodeOf(project.RemoveTrust({first, 99}, "王工", "fixed")), StoreErrorCode::NotFound);
    EXPECT_EQ(CodeOf(project.RemoveTrust({first}, " ", "fixed")), StoreErrorCode::InvalidInput);
    EXPECT_EQ(CodeOf(project.RemoveTrust({first}, "王工", "")), StoreErrorCode::InvalidInput);
    EXPECT_EQ(Expect(project.ListTrust()).size(), 2U);
    Expect(project.RemoveTrust({first}, "王工", "fixed"));
    EXPECT_EQ(OnlyListing(project).entry.id, second);
    EXPECT_EQ(CodeOf(project.RemoveTrust({first}, "王工", "fixed")), StoreErrorCode::NotFound);
    ASSERT_EQ(Expect(project.RemovedTrust()).size(), 1U);
    EXPECT_EQ(Expect(project.RemovedTrust())[0].removedBecause, "fixed");
    EXPECT_GT(Expect(project.AddTrust(TrustedFinding(Code(1)))), second) << "a number must never be used again";
}

TEST(TrustStore, CountsWhatEachKindOfEntryHides) {
    const ProjectFolder folder;
    ProjectStore project = OpenStore(folder);
    Finding valve = FindingOf(Code(2), {"v"});
    valve.objects[0].subCategory = "阀门";
    UnitOutcome third = Outcome(kUnit, UnitResult::Failed);
    UnitOutcome fourth = Outcome(kOtherFloor, UnitResult::Failed);
    third.looksThroughTrust = fourth.looksThroughTrust = true;
    const std::vector entries{TrustedRule("CCheckPipeLoop"), TrustedRule("CCheckPipeLoop", "消防"),
                              TrustedSubCategory("CCheckPipeLoop", "3层", "给水管"), TrustedFinding(Code(2)),
                              TrustedFinding(Code(5))};
    for (const TrustEntry& entry : entries) {
        Expect(project.AddTrust(entry));
    }
    EXPECT_EQ(Expect(project.ListTrust())[0].effect, TrustEffect::NotLookedAt);
    const RunId run = RecordRun(project, {{third, {FindingOf(Code(1), {"a"}), FindingOf(Code(1), {"b"}), valve}},
                                          {fourth, {FindingOf(Code(1))}}});
    const std::vector<TrustListing> listings = Expect(project.ListTrust());
    ASSERT_EQ(listings.size(), 5U);
    const std::vector<std::int64_t> counts{4, 0, 2, 1, 0};
    for (std::size_t i = 0; i < counts.size(); ++i) {
        EXPECT_EQ(listings[i].findings, counts[i]) << TargetText(listings[i].entry);
        EXPECT_EQ(listings[i].effect, counts[i] > 0 ? TrustEffect::Hides : TrustEffect::Stale);
        EXPECT_EQ(listings[i].lookedAtIn, run);
    }
    EXPECT_EQ(TrustNotices(listings).size(), 2U);
}

TEST(TrustStore, CountsWhatATrustedRuleHidesFromTheRunThatLastLooked) {
    const ProjectFolder folder;
    ProjectStore project = OpenStore(folder);
    const RunId looked =
        RecordRun(project, {{Outcome(kUnit, UnitResult::Failed), {FindingOf(Code(1)), FindingOf(Code(2))}}});
    Expect(project.AddTrust(TrustedRule("CCheckPipeLoop")));
    EXPECT_EQ(OnlyListing(project).findings, 2);
    // From now on the rule looks at nothing.
    RecordRun(project, {{Outcome(kUnit, UnitResult::Skipped), {}}});
    RecordRun(project, {{Outcome(kUnit, UnitResult::Skipped), {}}});
    EXPECT_EQ(OnlyListing(project).effect, TrustEffect::Hides);
    EXPECT_EQ(OnlyListing(project).findings, 2);
    EXPECT_EQ(OnlyListing(project).lookedAtIn, looked);
    // A run that looks behind the trusted rule finds the first one fixed.
    UnitOutcome through = Outcome(kUnit, UnitResult::Skipped);
    through.looksThroughTrust = true;
    const RunId newest = RecordRun(project, {{through, {FindingOf(Code(2))}}});
    EXPECT_EQ(OnlyListing(project).findings, 1);
    EXPECT_EQ(OnlyListing(project).lookedAtIn, newest);
}

TEST(TrustStore, DoesNotCallStaleWhatNobodyLookedBehind) {
    const ProjectFolder folder;
    ProjectStore project = OpenStore(folder);
    Expect(project.AddTrust(TrustedRule("CCheckPipeLoop")));
    Expect(project.AddTrust(TrustedSubCategory("CCheckPipeLink", "3层", "给水管")));
    UnitKey link = kUnit;
    link.rule = "CCheckPipeLink";
    RecordRun(project, {{Outcome(kUnit, UnitResult::Skipped), {}}, {Outcome(link, UnitResult::Passed), {}}});
    for (const TrustListing& listing : Expect(project.ListTrust())) {
        EXPECT_EQ(listing.effect, TrustEffect::NotLookedAt);
        EXPECT_EQ(listing.lookedAtIn, 0);
    }
    // The rule is no longer part of the project: its trust is for nothing.
    RecordRun(project, {{Outcome(link, UnitResult::Passed), {}}});
    EXPECT_EQ(Expect(project.ListTrust())[0].effect, TrustEffect::Stale);
    EXPECT_EQ(Expect(project.ListTrust())[1].effect, TrustEffect::NotLookedAt);
}

TEST(TrustStore, IsNotJudgedByNarrowedOrInterruptedRuns) {
    const ProjectFolder folder;
    ProjectStore project = OpenStore(folder);
    Expect(project.AddTrust(TrustedFinding(Code(1))));
    RecordRun(project, {{Outcome(kUnit, UnitResult::Failed), {FindingOf(Code(1))}}});
    RunIdentity narrowed = Identity();
    narrowed.narrowed = true;
    RecordRun(project, {{Outcome(kOtherFloor, UnitResult::Passed), {}}}, narrowed);
    const RunRecord open = Expect(project.BeginRun(Identity()));
    Expect(project.CommitUnit(open.id, Outcome(kUnit, UnitResult::Passed), {}));
    Expect(project.EndRun(open.id, RunStatus::Cancelled));
    EXPECT_EQ(OnlyListing(project).effect, TrustEffect::Hides);
    RecordRun(project, {{Outcome(kUnit, UnitResult::Passed), {}}});
    EXPECT_EQ(OnlyListing(project).effect, TrustEffect::Stale);
}

TEST(TrustStore, RemembersWhereATrustedFindingIs) {
    const ProjectFolder folder;
    ProjectStore project = OpenStore(folder);
    RecordRun(project, {{Outcome(kUnit, UnitResult::Failed), {FindingOf(Code(1))}}});
    Expect(project.AddTrust(TrustedFinding(Code(1))));
    EXPECT_EQ(OnlyListing(project).entry.rule, kUnit.rule);
    EXPECT_EQ(OnlyListing(project).entry.floor, kUnit.floor);
    // The rule crashed there, so that nobody knows; the other unit says nothing about it.
    RecordRun(project, {{Outcome(kUnit, UnitResult::Crashed), {}}, {Outcome(kOtherFloor, UnitResult::Passed), {}}});
    EXPECT_EQ(OnlyListing(project).effect, TrustEffect::Hides) << "as the run before saw it";
    EXPECT_EQ(OnlyListing(project).lookedAtIn, 1);
}

TEST(TrustStore, PrunesExpiredAndStaleEntriesOnly) {
    const ProjectFolder folder;
    SetClock clock;
    ProjectStore project = OpenStore(folder, &clock);
    TrustEntry expiring = TrustedFinding(Code(1));
    expiring.expiresOn = "2026-03-01";
    Expect(project.AddTrust(expiring));
    Expect(project.AddTrust(TrustedFinding(Code(2))));
    TrustEntry placed = TrustedFinding(Code(3));
    placed.floor = kUnit.floor;
    placed.specialty = kUnit.specialty;
    placed.rule = kUnit.rule;
    Expect(project.AddTrust(placed));
    Expect(project.AddTrust(TrustedRule("CCheckPipeLink")));
    RecordRun(project, {{Outcome(kUnit, UnitResult::Failed), {FindingOf(Code(2))}},
                        {Outcome({"3层", "给排水", "CCheckPipeLink"}, UnitResult::Skipped), {}}});
    clock.day = "2026-03-05";
    EXPECT_EQ(CodeOf(project.PruneTrust("")), StoreErrorCode::InvalidInput);
    const std::vector<TrustListing> pruned = Expect(project.PruneTrust("王工"));
    ASSERT_EQ(pruned.size(), 2U);
    EXPECT_EQ(pruned[0].entry.featureCode, Code(1));
    EXPECT_EQ(pruned[1].entry.featureCode, Code(3));
    ASSERT_EQ(Expect(project.ListTrust()).size(), 2U);
    const std::vector<RemovedTrustEntry> removed = Expect(project.RemovedTrust());
    EXPECT_EQ(removed.at(0).removedBecause, "expired");
    EXPECT_EQ(removed.at(1).removedBecause, "stale");
}

TEST(TrustView, HasTheNumbersOfTheModule) {
    EXPECT_EQ(static_cast<int>(RuleTrust::None), NS_NORVEX::eTrustNone);
    EXPECT_EQ(static_cast<int>(RuleTrust::All), NS_NORVEX::eTrustAll);
    EXPECT_EQ(static_cast<int>(RuleTrust::Part), NS_NORVEX::eTrustPart);
}

TEST(TrustView, AnswersARule) {
    const TrustView view({TrustedRule("All"), TrustedRule("Fire", "消防"), TrustedSubCategory("All", "3层", "给水管"),
                          TrustedSubCategory("Part", "3层", "给水管"), TrustedSubCategory("Part", "3层", "排水管"),
                          TrustedSubCategory("Part", "4层", "给水管"), TrustedFinding(Code(7))});
    EXPECT_EQ(view.StatusOf("All", "给排水"), RuleTrust::All);
    EXPECT_EQ(view.StatusOf("Fire", "消防"), RuleTrust::All);
    EXPECT_EQ(view.StatusOf("Fire", "给排水"), RuleTrust::None);
    EXPECT_EQ(view.StatusOf("Part", "给排水"), RuleTrust::Part);
    EXPECT_EQ(view.StatusOf("part", "给排水"), RuleTrust::None);
    using Floors = std::map<std::string, std::set<std::string>>;
    EXPECT_EQ(view.Parameters("Part", "给排水"), (Floors{{"3层", {"排水管", "给水管"}}, {"4层", {"给水管"}}}));
    EXPECT_EQ(view.Parameters("Other", "给排水"), Floors{});
    EXPECT_TRUE(view.IsFindingTrusted(Code(7)));
    EXPECT_FALSE(view.IsFindingTrusted(Code(8)));
    EXPECT_EQ(TrustView().StatusOf("All", ""), RuleTrust::None);
}

TEST(RunTrust, AnswersInTheNarrowTextOfTheModule) {
    const auto narrow = [](const CString& text) { return norvex::text::WideToNarrow(text); };
    TrustEntry fire = TrustedRule("检查", "消防");
    RunTrust trust(TrustView({fire, TrustedSubCategory("检查", "3层", "给水管"), TrustedFinding(Code(7))}));
    EXPECT_EQ(trust.StatusOf(narrow(u"检查"), narrow(u"消防")), NS_NORVEX::eTrustAll);
    EXPECT_EQ(trust.StatusOf(narrow(u"检查"), narrow(u"给排水")), NS_NORVEX::eTrustPart);
    EXPECT_EQ(trust.StatusOf(narrow(u"其他"), narrow(u"消防")), NS_NORVEX::eTrustNone);
    for (int round = 0; round < 2; ++round) {
        CZRArray<NS_NORVEX::ComponentInfo>& floors = trust.FloorsOf(narrow(u"检查"), narrow(u"给排水"));
        ASSERT_EQ(floors.length(), 1);
        EXPECT_EQ(floors[0].strName, narrow(u"3層"));
        ASSERT_EQ(floors[0].aryItems.length(), 1);
        EXPECT_EQ(floors[0].aryItems[0], narrow(u"给水管"));
    }
    EXPECT_EQ(trust.FloorsOf(narrow(u"其他"), "").length(), 0);
    EXPECT_TRUE(trust.IsFindingTrusted(Code(7)));
    EXPECT_FALSE(trust.IsFindingTrusted(Code(8)));
}

TEST(TrustExchange, MovesEntriesToAnotherProject) {
    const ProjectFolder from;
    const ProjectFolder to;
    SetClock clock;
    ProjectStore source = OpenStore(from, &clock);
    TrustEntry expiring = TrustedSubCategory("CCheckPipeLoop", "3层\"南\"\n区", "给水管");
    expiring.expiresOn = "2027-01-01";
    for (const TrustEntry& entry : {TrustedRule("CCheckPipeLoop", "消防"), expiring, TrustedFinding(Code(1))}) {
        Expect(source.AddTrust(entry));
    }
    const std::string document = Expect(source.ExportTrust());
    clock.day = "2026-06-01";
    ProjectStore target = OpenStore(to, &clock);
    Expect(target.AddTrust(TrustedFinding(Code(1))));
    const ProjectStore::ImportCounts counts = Expect(target.ImportTrust(document, "trust.json"));
    EXPECT_EQ(counts.added, 2);
    EXPECT_EQ(counts.alreadyThere, 1);
    const std::vector<TrustListing> listings = Expect(target.ListTrust());
    ASSERT_EQ(listings.size(), 3U);
    expiring.id = listings[2].entry.id;
    expiring.addedOn = "2026-03-01";
    EXPECT_EQ(listings[2].entry, expiring);
    EXPECT_EQ(Expect(source.ImportTrust(document, "trust.json")).added, 0);
    EXPECT_EQ(Expect(source.ExportTrust()), document);
}

TEST(TrustExchange, WritesTheDocumentedForm) {
    TrustEntry entry = TrustedFinding(Code(1));
    entry.id = 5;
    entry.addedOn = "2026-03-01";
    EXPECT_EQ(TrustDocument({entry}), R"({
  "format": "norvex-trust",
  "version": 1,
  "entries": [
    {
      "kind": "finding",
      "featureCode": "_11111111111111111111111111111111",
      "reason": "agreed with the owner",
      "person": "李工",
      "added": "2026-03-01"
    }
  ]
}
)");
}

TEST(TrustExchange, SaysWhereADocumentIsWrong) {
    const std::string good = R"({"kind":"rule","rule":"R","reason":"r","person":"p","added":"2026-03-01"})";
    const auto list = [](const std::string& entries) {
        return R"({"format":"norvex-trust","version":1,"entries":[)" + entries + "]}";
    };
    struct Case {
        std::string document;
        std::string fault;
    };
    const std::vector<Case> cases{
        {"", "is empty."},
        {"{\"format\":", "is not JSON: it cannot be understood in line 1 (byte 11)."},
        {std::string(1000000, '['), "is nested more than 64 deep in line 1 (byte 65)."},
        {R"({"format":"norvex-trust","version":1e999999,"entries":[]})",
         "has a number that is out of all bounds in line 1 (byte 43)."},
        {list("\n{\"kind\":\"rule\",\"kind\":\"finding\"}"), "has two values for \"kind\" in line 2 (byte 70)."},
        {list("\n\n{\"kind\":\"\xFF\"}"), "is not JSON: it cannot be understood in line 3 (byte 60)."},
        {list("{\"kind\":\"" + std::string(1000000, 'x') + "\"}"),
         "is wrong in entry 1: \"kind\" must be \"rule\", \"sub-category\" or \"finding\", not \"" +
             std::string(80, 'x') + "…\"."},
        {"\xFF\xFE{\0}", "is written in UTF-16; it must be UTF-8."},
        {list(good) + std::string("\0 and more", 10), "is not JSON: there is a zero byte in line 1 (byte 124)."},
        {"[]", "is not a list of trust entries: its \"format\" is not \"norvex-trust\"."},
        {R"({"format":7})", "is not a list of trust entries: its \"format\" is not \"norvex-trust\"."},
        {R"({"format":"norvex-trust","version":2,"entries":[]})",
         "has a version that this program does not know; it knows version 1."},
        {R"({"format":"norvex-trust","version":1})", "has no list of \"entries\"."},
        {list("7"), "is wrong in entry 1: it must be an object."},
        {list(good + ",{}"), "is wrong in entry 2: \"kind\" is missing."},
        {list(R"({"kind":"all"})"),
         "is wrong in entry 1: \"kind\" must be \"rule\", \"sub-category\" or \"finding\", not \"all\"."},
        {list(R"({"kind":"rule","rule":1})"), "is wrong in entry 1: \"rule\" must be a text."},
        {list(R"({"kind":"rule","wide":"yes"})"), "is wrong in entry 1: \"wide\" is not known."},
        {list(R"({"kind":"rule","rule":"R","reason":"","person":"p","added":"2026-03-01"})"),
         "is wrong in entry 1: Trust needs a reason."},
        {list(R"({"kind":"rule","rule":"R","reason":"r","person":"p"})"),
         "is wrong in entry 1: The day on which trust was given must be written YYYY-MM-DD, not \"\"."},
    };
    const ProjectFolder folder;
    ProjectStore project = OpenStore(folder);
    for (const Case& each : cases) {
        const auto result = project.ImportTrust(each.document, "trust.json");
        ASSERT_FALSE(result.Ok()) << each.fault;
        EXPECT_EQ(result.Error().code, StoreErrorCode::InvalidInput);
        EXPECT_EQ(result.Error().sentence, "The trust document \"trust.json\" " + each.fault);
    }
    EXPECT_TRUE(Expect(project.ListTrust()).empty()) << "a wrong document must add nothing at all";
    // The mark that some editors put before UTF-8 says nothing new.
    EXPECT_EQ(Expect(project.ImportTrust("\xEF\xBB\xBF" + list(good), "trust.json")).added, 1);
    EXPECT_EQ(Expect(project.ImportTrust(list(good), "trust.json")).alreadyThere, 1);
}
