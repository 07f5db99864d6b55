// SPDX-License-Identifier: Apache-2.0
#include "service/store/RunDiff.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace norvex::service::store {

namespace {

constexpr std::size_t kNoPartner = static_cast<std::size_t>(-1);

// The objects' identities in ascending order; empty when one has none, because then they tell nothing.
std::vector<std::string_view> ObjectKey(const Finding& finding) {
    std::vector<std::string_view> key;
    for (const FindingObject& object : finding.objects) {
        if (object.globalId.empty()) {
            return {};
        }
        key.push_back(object.globalId);
    }
    std::sort(key.begin(), key.end());
    return key;
}

// Findings of one unit with one code, by index into their run, in the order of occurrence.
struct Group {
    std::vector<std::size_t> older;
    std::vector<std::size_t> newer;
};

class Matcher {
  public:
    Matcher(const RunContents& older, const RunContents& newer)
        : older_(older.findings),
          newer_(newer.findings),
          partnerOfOlder_(older_.size(), kNoPartner),
          partnerOfNewer_(newer_.size(), kNoPartner),
          identitiesAreStable_(older.run.identity.modelDigest == newer.run.identity.modelDigest) {
        Fill(older_, &Group::older);
        Fill(newer_, &Group::newer);
    }

    void Match() {
        for (auto& [key, group] : groups_) {
            PairEqualObjects(group);
        }
        for (auto& [key, group] : groups_) {
            PairTheRest(group);
        }
    }

    std::size_t PartnerOfOlder(std::size_t index) const { return partnerOfOlder_[index]; }
    std::size_t PartnerOfNewer(std::size_t index) const { return partnerOfNewer_[index]; }

  private:
    using GroupKey = std::pair<UnitKey, std::string>;

    void Fill(const std::vector<StoredFinding>& findings, std::vector<std::size_t> Group::*side) {
        for (std::size_t index = 0; index < findings.size(); ++index) {
            (groups_[{findings[index].unit, findings[index].finding.featureCode}].*side).push_back(index);
        }
        for (auto& [key, group] : groups_) {
            std::sort((group.*side).begin(), (group.*side).end(), [&](std::size_t left, std::size_t right) {
                return findings[left].occurrence < findings[right].occurrence;
            });
        }
    }

    void Pair(std::size_t older, std::size_t newer) {
        partnerOfOlder_[older] = newer;
        partnerOfNewer_[newer] = older;
    }

    void PairEqualObjects(const Group& group) {
        // Several findings may name the same objects: they are taken in the order of occurrence.
        std::map<std::vector<std::string_view>, std::vector<std::size_t>> open;
        for (auto newer = group.newer.rbegin(); newer != group.newer.rend(); ++newer) {
            open[ObjectKey(newer_[*newer].finding)].push_back(*newer);
        }
        for (const std::size_t older : group.older) {
            const std::vector<std::string_view> key = ObjectKey(older_[older].finding);
            const auto found = open.find(key);
            if (key.empty() || found == open.end() || found->second.empty()) {
                continue;
            }
            Pair(older, found->second.back());
            found->second.pop_back();
            identitiesAreStable_ = true;
        }
    }

    // Pairs the first ones with each other as long as both lists last, and takes them out.
    void PairInOrder(std::vector<std::size_t>& older, std::vector<std::size_t>& newer) {
        const std::size_t count = std::min(older.size(), newer.size());
        for (std::size_t i = 0; i < count; ++i) {
            Pair(older[i], newer[i]);
        }
        older.erase(older.begin(), older.begin() + static_cast<std::ptrdiff_t>(count));
        newer.erase(newer.begin(), newer.begin() + static_cast<std::ptrdiff_t>(count));
    }

    // The findings of the list without a partner: those whose objects identify them, and those without such objects.
    static std::array<std::vector<std::size_t>, 2> Unpaired(const std::vector<std::size_t>& list,
                                                            const std::vector<std::size_t>& partners,
                                                            const std::vector<StoredFinding>& findings) {
        std::array<std::vector<std::size_t>, 2> unpaired;
        for (const std::size_t index : list) {
            if (partners[index] == kNoPartner) {
                unpaired[ObjectKey(findings[index].finding).empty() ? 1 : 0].push_back(index);
            }
        }
        return unpaired;
    }

    void PairTheRest(const Group& group) {
        auto [olderKnown, olderUnknown] = Unpaired(group.older, partnerOfOlder_, older_);
        auto [newerKnown, newerUnknown] = Unpaired(group.newer, partnerOfNewer_, newer_);
        PairInOrder(olderUnknown, newerUnknown);
        PairInOrder(olderKnown, newerUnknown);
        PairInOrder(olderUnknown, newerKnown);
        if (!identitiesAreStable_) {
            PairInOrder(olderKnown, newerKnown);
        }
    }

    const std::vector<StoredFinding>& older_;
    const std::vector<StoredFinding>& newer_;
    std::map<GroupKey, Group> groups_;
    std::vector<std::size_t> partnerOfOlder_;
    std::vector<std::size_t> partnerOfNewer_;
    bool identitiesAreStable_;
};

// The units that the run looked at to the end. Whether it had all of their model before it is another question.
std::set<UnitKey> VisitedUnits(const RunContents& contents) {
    std::set<UnitKey> visited;
    for (const UnitOutcome& outcome : contents.units) {
        if (IsVisited(outcome)) {
            visited.insert(outcome.unit);
        }
    }
    return visited;
}

// Units whose trusted part was looked at as well, so that what is not reported there is really not there.
std::set<UnitKey> UnitsSeenThrough(const RunContents& contents) {
    std::set<UnitKey> seen;
    for (const UnitOutcome& outcome : contents.units) {
        if (outcome.looksThroughTrust) {
            seen.insert(outcome.unit);
        }
    }
    return seen;
}

// Why what the run did not find need not be gone. Requires: count is not 0.
std::string DoubtAbout(const RunRecord& run, std::size_t count) {
    const std::string findings =
        count == 1 ? std::string("1 finding that is") : std::to_string(count) + " findings that are";
    if (run.identity.modelRead == ModelRead::Partly) {
        return "Parts of the model could not be read; " + findings + " no longer found may be about them.";
    }
    return "Whether run " + std::to_string(run.id) + " could read all of its model was not recorded; " + findings +
           " no longer found may be about what it could not read.";
}

std::vector<std::string> RemarksOn(const RunContents& older, const RunContents& newer) {
    std::vector<std::string> remarks;
    const RunIdentity& before = older.run.identity;
    const RunIdentity& after = newer.run.identity;
    if (before.modelPath != after.modelPath) {
        remarks.push_back("The runs checked different models: \"" + before.modelPath + "\" and \"" + after.modelPath +
                          "\".");
    }
    if (before.configurationDigest != after.configurationDigest) {
        remarks.push_back("The configuration changed between the runs.");
    }
    for (const RuleModule& rule : before.rules) {
        for (const RuleModule& other : after.rules) {
            if (rule.rule == other.rule && rule.md5 != other.md5) {
                remarks.push_back("The rule " + rule.rule + " came from another build of " + other.file + ".");
            }
        }
    }
    return remarks;
}

}  // namespace

RunDiff DiffRuns(const RunContents& older, const RunContents& newer) {
    RunDiff diff;
    diff.remarks = RemarksOn(older, newer);
    Matcher matcher(older, newer);
    matcher.Match();

    const bool hadAllBefore = older.run.identity.modelRead == ModelRead::Wholly;
    const bool hasAllNow = newer.run.identity.modelRead == ModelRead::Wholly;
    std::size_t doubted = 0;
    const std::set<UnitKey> visitedBefore = VisitedUnits(older);
    const std::set<UnitKey> visitedNow = VisitedUnits(newer);
    const std::set<UnitKey> seenThrough = UnitsSeenThrough(newer);
    const TrustView trustNow(newer.trust);
    for (std::size_t index = 0; index < older.findings.size(); ++index) {
        const StoredFinding& finding = older.findings[index];
        if (matcher.PartnerOfOlder(index) != kNoPartner) {
            continue;
        }
        const bool seen = seenThrough.contains(finding.unit);
        const TrustEntry* hiding = trustNow.HiddenBy(finding.unit, finding.finding);
        if (hiding != nullptr && hiding->kind != TrustKind::Finding && !seen) {
            diff.hidden.push_back(finding);
        } else if (visitedNow.contains(finding.unit) && hasAllNow) {
            diff.gone.push_back(finding);
        } else {
            doubted += visitedNow.contains(finding.unit) ? 1 : 0;
            diff.notVisited.push_back(finding);
        }
    }
    if (doubted > 0) {
        diff.remarks.push_back(DoubtAbout(newer.run, doubted));
    }
    for (std::size_t index = 0; index < newer.findings.size(); ++index) {
        const StoredFinding& finding = newer.findings[index];
        const std::size_t partner = matcher.PartnerOfNewer(index);
        if (partner != kNoPartner) {
            diff.persisting.push_back({older.findings[partner], finding});
        } else {
            diff.added.push_back({finding, hadAllBefore && visitedBefore.contains(finding.unit)});
        }
    }
    return diff;
}

}  // namespace norvex::service::store
