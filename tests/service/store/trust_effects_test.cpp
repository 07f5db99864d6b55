// SPDX-License-Identifier: Apache-2.0
// What entries hide, against a count that asks every entry about every finding of every run.
#include <algorithm>
#include <random>

#include "StoreSupport.h"

namespace norvex::test {
namespace {

using namespace norvex::service::store;

class Dice {
  public:
    explicit Dice(unsigned seed) : random_(seed) {}
    std::size_t Upto(std::size_t count) { return random_() % count; }
    bool Once(std::size_t in) { return Upto(in) == 0; }
    std::string Of(const std::vector<std::string>& texts) { return texts[Upto(texts.size())]; }

  private:
    std::mt19937 random_;
};

const std::vector<std::string> kRules{"R1", "R2"};
const std::vector<std::string> kSpecialties{"给排水", "消防"};
const std::vector<std::string> kFloors{"1层", "2层"};
const std::vector<std::string> kSubCategories{"给水管", "阀门", "水箱"};

TrustEntry RandomEntry(Dice& dice) {
    const std::string specialty = dice.Once(2) ? "" : dice.Of(kSpecialties);
    switch (dice.Upto(4)) {
        case 0:
            return TrustedRule(dice.Of(kRules), specialty);
        case 1: {
            TrustEntry entry = TrustedSubCategory(dice.Of(kRules), dice.Of(kFloors), dice.Of(kSubCategories));
            entry.specialty = specialty;
            return entry;
        }
        default: {
            TrustEntry entry = TrustedFinding(Code(static_cast<int>(dice.Upto(6))));
            if (dice.Once(3)) {
                entry.rule = dice.Of(kRules);
                entry.specialty = dice.Of(kSpecialties);
                entry.floor = dice.Of(kFloors);
            }
            return entry;
        }
    }
}

Finding RandomFinding(Dice& dice) {
    Finding finding = FindingOf(Code(static_cast<int>(dice.Upto(5))));
    finding.objects.clear();
    for (std::size_t object = dice.Upto(3); object > 0; --object) {
        finding.objects.push_back({"2F", "guid", "pipe", dice.Of(kSubCategories)});
    }
    return finding;
}

void AddRandomRun(ProjectStore& project, Dice& dice) {
    RunIdentity identity = Identity();
    identity.modelPath = dice.Once(4) ? "other.ifc" : "house.ifc";
    identity.modelRead = dice.Once(4) ? ModelRead::Partly : ModelRead::Wholly;
    identity.narrowed = dice.Once(5);
    const RunId run = Expect(project.BeginRun(identity)).id;
    for (const std::string& rule : kRules) {
        for (const std::string& specialty : kSpecialties) {
            for (const std::string& floor : kFloors) {
                if (dice.Once(5)) {
                    continue;
                }
                UnitOutcome outcome = Outcome({floor, specialty, rule}, static_cast<UnitResult>(dice.Upto(6)));
                outcome.looksThroughTrust = dice.Once(4);
                std::vector<Finding> findings;
                for (std::size_t count = dice.Upto(4); count > 0; --count) {
                    findings.push_back(RandomFinding(dice));
                }
                ASSERT_TRUE(project.CommitUnit(run, outcome, findings).Ok());
            }
        }
    }
    ASSERT_TRUE(project.EndRun(run, dice.Once(6) ? RunStatus::Partial : RunStatus::Complete).Ok());
}

bool ShowsAll(const UnitOutcome& outcome, const std::vector<TrustEntry>& trust) {
    if (outcome.looksThroughTrust) {
        return IsVisited(outcome);
    }
    return outcome.result != UnitResult::Skipped && outcome.result != UnitResult::Crashed &&
           outcome.result != UnitResult::Cancelled &&
           std::none_of(trust.begin(), trust.end(),
                        [&](const TrustEntry& entry) { return CoversUnit(entry, outcome.unit); });
}

std::int64_t CountIn(const RunContents& run, const UnitKey& unit, const TrustEntry& entry) {
    return std::count_if(run.findings.begin(), run.findings.end(), [&](const StoredFinding& finding) {
        return finding.unit == unit && Hides(entry, unit, finding.finding);
    });
}

// The newest of the runs before the last, of its model, that shows the whole unit; null when there is none.
const RunContents* Witness(const std::vector<RunContents>& runs, const RunContents& last, const UnitKey& unit) {
    for (auto run = runs.rbegin(); run != runs.rend(); ++run) {
        const auto outcome = std::find_if(run->units.begin(), run->units.end(),
                                          [&](const UnitOutcome& each) { return each.unit == unit; });
        if (run->run.id < last.run.id && run->run.identity.modelPath == last.run.identity.modelPath &&
            run->run.identity.modelRead == ModelRead::Wholly && outcome != run->units.end() &&
            ShowsAll(*outcome, run->trust)) {
            return &*run;
        }
    }
    return nullptr;
}

TrustListing Naive(const TrustEntry& entry, const std::vector<RunContents>& runs, const RunContents* last) {
    TrustListing listing{.entry = entry, .expired = !IsInForce(entry, "2026-06-01")};
    if (last == nullptr) {
        return listing;
    }
    bool unknown = false;
    for (const UnitOutcome& outcome : last->units) {
        const bool speaks =
            entry.kind != TrustKind::Finding
                ? CoversUnit(entry, outcome.unit)
                : entry.rule.empty() || UnitKey{entry.floor, entry.specialty, entry.rule} == outcome.unit;
        const RunContents* witness = last;
        if (speaks && !ShowsAll(outcome, last->trust)) {
            witness = Witness(runs, *last, outcome.unit);
            unknown = unknown || witness == nullptr;
            listing.lookedAtIn = std::max(listing.lookedAtIn, witness == nullptr ? 0 : witness->run.id);
        }
        listing.findings += CountIn(witness == nullptr ? *last : *witness, outcome.unit, entry);
    }
    if (listing.lookedAtIn == 0 && (listing.findings > 0 || !unknown)) {
        listing.lookedAtIn = last->run.id;
    }
    listing.effect = listing.findings > 0 ? TrustEffect::Hides
                     : unknown            ? TrustEffect::NotLookedAt
                                          : TrustEffect::Stale;
    return listing;
}

void CompareWithNaive(unsigned seed) {
    Dice dice(seed);
    const ProjectFolder folder;
    SetClock clock;
    ProjectStore project = OpenStore(folder, &clock);
    for (int step = 0; step < 5; ++step) {
        for (std::size_t count = dice.Upto(4); count > 0; --count) {
            TrustEntry entry = RandomEntry(dice);
            entry.expiresOn = dice.Once(4) ? "2026-04-01" : "";
            static_cast<void>(project.AddTrust(entry));
        }
        AddRandomRun(project, dice);
    }
    clock.day = "2026-06-01";
    std::vector<RunContents> runs;
    const RunContents* last = nullptr;
    for (const RunRecord& run : Expect(project.ListRuns())) {
        runs.push_back(Expect(project.LoadRun(run.id)));
    }
    for (const RunContents& run : runs) {
        last = run.run.status == RunStatus::Complete && !run.run.identity.narrowed ? &run : last;
    }
    for (const TrustListing& listing : Expect(project.ListTrust())) {
        const TrustListing naive = Naive(listing.entry, runs, last);
        const std::string what = std::to_string(seed) + ": " + TargetText(listing.entry);
        EXPECT_EQ(listing.findings, naive.findings) << what;
        EXPECT_EQ(listing.effect, naive.effect) << what;
        EXPECT_EQ(listing.lookedAtIn, naive.lookedAtIn) << what;
        EXPECT_EQ(listing.expired, naive.expired) << what;
    }
}

TEST(TrustEffects, AreThoseOfACountThatAsksEveryEntryAboutEveryFinding) {
    for (unsigned seed = 1; seed <= 6; ++seed) {
        CompareWithNaive(seed);
    }
}

TEST(TrustView, AnswersAsIfItAskedEveryEntry) {
    for (unsigned seed = 1; seed <= 500; ++seed) {
        Dice dice(seed);
        std::vector<TrustEntry> entries;
        for (std::size_t count = dice.Upto(12); count > 0; --count) {
            entries.push_back(RandomEntry(dice));
            entries.back().id = static_cast<TrustId>(entries.size());
        }
        const TrustView view(entries);
        const UnitKey unit{dice.Of(kFloors), dice.Once(4) ? "" : dice.Of(kSpecialties), dice.Of(kRules)};
        const Finding finding = RandomFinding(dice);
        const auto first = std::find_if(entries.begin(), entries.end(),
                                        [&](const TrustEntry& entry) { return Hides(entry, unit, finding); });
        const TrustEntry* hiding = view.HiddenBy(unit, finding);
        ASSERT_EQ(hiding != nullptr, first != entries.end()) << seed;
        EXPECT_TRUE(hiding == nullptr || *hiding == *first) << seed;
        const bool covers = std::any_of(entries.begin(), entries.end(),
                                        [&](const TrustEntry& entry) { return CoversUnit(entry, unit); });
        EXPECT_EQ(view.CoversUnit(unit), covers) << seed;
        std::map<std::string, std::set<std::string>> floors;
        bool isWhole = false;
        bool isPart = false;
        for (const TrustEntry& entry : entries) {
            if (entry.kind != TrustKind::Finding && entry.rule == unit.rule &&
                (entry.specialty.empty() || entry.specialty == unit.specialty)) {
                isWhole = isWhole || entry.kind == TrustKind::WholeRule;
                isPart = isPart || entry.kind == TrustKind::SubCategory;
                if (entry.kind == TrustKind::SubCategory) {
                    floors[entry.floor].insert(entry.subCategory);
                }
            }
        }
        EXPECT_EQ(view.Parameters(unit.rule, unit.specialty), floors) << seed;
        EXPECT_EQ(view.StatusOf(unit.rule, unit.specialty), isWhole  ? RuleTrust::All
                                                            : isPart ? RuleTrust::Part
                                                                     : RuleTrust::None)
            << seed;
    }
}

TEST(TrustView, LooksAtNoMoreEntriesTheMoreThereAre) {
    const auto lookups = [](std::size_t entries) {
        std::vector<TrustEntry> list;
        for (std::size_t number = 0; number < entries; ++number) {
            list.push_back(TrustedSubCategory("R", "floor " + std::to_string(number), "给水管"));
            list.push_back(TrustedFinding("_" + std::to_string(number)));
        }
        const TrustView view(std::move(list));
        EXPECT_EQ(view.HiddenBy(kUnit, FindingOf(Code(1))), nullptr);
        EXPECT_FALSE(view.CoversUnit(kUnit));
        EXPECT_EQ(view.StatusOf("Other", ""), RuleTrust::None);
        return view.Lookups();
    };
    EXPECT_EQ(lookups(10), lookups(10000));
}

}  // namespace
}  // namespace norvex::test
