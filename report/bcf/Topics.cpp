// SPDX-License-Identifier: Apache-2.0
#include "report/bcf/Topics.h"

#include <fmt/format.h>
#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <set>
#include <unordered_map>
#include <utility>

#include "report/bcf/Identity.h"
#include "report/bcf/PlanSnapshot.h"
#include "report/bcf/XmlText.h"
#include "service/Words.h"

namespace norvex::report::bcf {
namespace {

using service::FindingRecord;
using service::Severity;

// Objects of a finding that its description names; the viewpoint selects all of them.
constexpr std::size_t kNamedObjects = 20;
// Findings of a group whose sentence stands in its description, and whose feature code does.
constexpr std::size_t kListedSentences = 100;
constexpr std::size_t kListedCodes = 2000;

// Systems of an element that are looked at: what is part of more belongs to none in particular.
constexpr std::uint32_t kSystemsOfElement = 64;

struct SeverityWords {
    const char* type;
    const char* priority;
};

constexpr std::array<SeverityWords, 3> kSeverities{{{"Error", "High"}, {"Warning", "Normal"}, {"Information", "Low"}}};

const SeverityWords& WordsOf(Severity severity) {
    return kSeverities[static_cast<std::size_t>(severity)];
}

std::string SpecialtyLabel(const std::string& specialty) {
    const std::string_view gloss = service::SpecialtyGloss(specialty);
    return gloss.empty() ? specialty : fmt::format("{} ({})", specialty, gloss);
}

std::string Counted(std::size_t count, std::string_view singular, std::string_view plural) {
    return fmt::format("{} {}", count, count == 1 ? singular : plural);
}

// Findings that make one topic, in the order of the report.
struct Group {
    std::string key;    // decides the topic's name
    std::string title;  // without the number of findings
    std::vector<const FindingRecord*> findings;
};

class Maker {
  public:
    Maker(const service::RunReport& report, const ifc::BuildingModel& building,
          const std::vector<service::FloorRecord>& floors)
        : m_report(report), m_building(building) {
        for (const service::RuleRecord& rule : report.rules) {
            m_rules.emplace(rule.name, &rule);
        }
        for (std::uint32_t storey = 0; storey < building.storeys.size() && storey < floors.size(); ++storey) {
            m_storeys.emplace(floors[storey].name, storey);
        }
    }

    std::vector<Topic> Make(Grouping grouping) {
        std::vector<Topic> topics;
        if (grouping == Grouping::Finding) {
            for (const FindingRecord& finding : m_report.findings) {
                topics.push_back(TopicOf(finding));
            }
            return topics;
        }
        for (const Group& group : Groups(grouping)) {
            topics.push_back(TopicOf(group, grouping));
        }
        return topics;
    }

  private:
    // The title of a rule, its short name in brackets.
    std::string RuleText(const std::string& name) const {
        const auto found = m_rules.find(name);
        return found == m_rules.end() ? name : fmt::format("{} ({})", found->second->title, found->second->shortName);
    }

    std::string RuleLabel(const std::string& name) const {
        const auto found = m_rules.find(name);
        return found == m_rules.end() ? name : found->second->shortName;
    }

    std::string UniqueGuid(const FindingRecord& finding) {
        // What a rule gives no code has at least its words.
        const std::string code =
            finding.featureCode.empty()
                ? fmt::format("{}\n{}\n{}\n{}", finding.rule, finding.floor, finding.location, finding.sentence)
                : finding.featureCode;
        std::size_t occurrence = finding.occurrence;
        std::string guid = TopicGuid(code, occurrence);
        while (!m_guids.insert(guid).second) {
            // Where many findings are not numbered, none tries what those before it have tried.
            std::size_t& next = m_nextOccurrences[code];
            occurrence = std::max(occurrence + 1, next);
            next = occurrence + 1;
            guid = TopicGuid(code, occurrence);
        }
        return guid;
    }

    // ---- One finding ----

    Topic TopicOf(const FindingRecord& finding) {
        Topic topic;
        topic.guid = UniqueGuid(finding);
        topic.title = TitleOf(finding);
        topic.type = WordsOf(finding.severity).type;
        topic.priority = WordsOf(finding.severity).priority;
        topic.status = finding.trusted ? kClosed : kOpen;
        topic.labels = {std::string(service::SeverityName(finding.severity)), SpecialtyLabel(finding.specialty),
                        RuleLabel(finding.rule)};
        topic.description = DescriptionOf(finding);
        topic.created = finding.firstReportedAt;
        if (finding.acceptance) {
            topic.comments.push_back(
                {PartGuid(topic.guid, fmt::format("acceptance\n{}", finding.acceptance->entry)),
                 finding.acceptance->addedOn.empty() ? std::string() : finding.acceptance->addedOn + "T00:00:00Z",
                 finding.acceptance->person, finding.acceptance->reason});
        }
        topic.viewpoints.push_back(ViewpointOf(topic.guid, finding.floor, {&finding}));
        return topic;
    }

    std::string TitleOf(const FindingRecord& finding) const {
        const auto rule = m_rules.find(finding.rule);
        std::string title = rule == m_rules.end() ? finding.rule : rule->second->title;
        if (!finding.objects.empty()) {
            const service::FoundObject& first = finding.objects.front();
            title += fmt::format(": {}", first.name.empty() ? first.handle : first.name);
            if (finding.objects.size() > 1) {
                title += fmt::format(" and {} more", finding.objects.size() - 1);
            }
        }
        return XmlLine(fmt::format("{}, floor {}", title, finding.floor));
    }

    std::string DescriptionOf(const FindingRecord& finding) const {
        std::string text = finding.sentence + "\n\n";
        text += fmt::format("Rule: {}\n", RuleText(finding.rule));
        if (const auto rule = m_rules.find(finding.rule); rule != m_rules.end()) {
            text += rule->second->why.empty() ? "" : fmt::format("Why: {}\n", rule->second->why);
            text += rule->second->howToFix.empty() ? "" : fmt::format("How to fix: {}\n", rule->second->howToFix);
        }
        text += fmt::format("Kind: {}, {}\n", finding.category, finding.subCategory);
        text += fmt::format("Floor: {}\n", finding.floor);
        for (std::size_t index = 0; index < std::min(finding.objects.size(), kNamedObjects); ++index) {
            const service::FoundObject& object = finding.objects[index];
            text += fmt::format("Object: {} {}\n", object.name, object.globalId);
        }
        if (finding.objects.size() > kNamedObjects) {
            text += fmt::format("and {} more objects\n", finding.objects.size() - kNamedObjects);
        }
        if (finding.acceptance && !finding.acceptance->expiresOn.empty()) {
            text += fmt::format("Trusted until {}\n", finding.acceptance->expiresOn);
        }
        return text + fmt::format("Location: {}\nFeature code: {}", finding.location, finding.featureCode);
    }

    // ---- Groups ----

    std::vector<Group> Groups(Grouping grouping) const {
        std::vector<Group> groups;
        std::unordered_map<std::string, std::size_t> places;
        for (const FindingRecord& finding : m_report.findings) {
            Group made = GroupFor(finding, grouping);
            const auto [place, isNew] = places.emplace(made.key, groups.size());
            if (isNew) {
                groups.push_back(std::move(made));
            }
            groups[place->second].findings.push_back(&finding);
        }
        return groups;
    }

    Group GroupFor(const FindingRecord& finding, Grouping grouping) const {
        if (grouping == Grouping::Rule) {
            return {finding.rule, RuleText(finding.rule), {}};
        }
        if (grouping == Grouping::Floor) {
            return {finding.floor, fmt::format("Floor {}", finding.floor), {}};
        }
        const std::string system = SystemOf(finding);
        return {system, system.empty() ? "No system" : fmt::format("System {}", system), {}};
    }

    // The system that most objects belong to, the first by name where several do; empty without any.
    std::string SystemOf(const FindingRecord& finding) const {
        std::map<std::string, std::size_t> counts;
        for (const service::FoundObject& object : finding.objects) {
            const std::uint32_t index = ElementOf(object.handle);
            if (index == ifc::kNoIndex) {
                continue;
            }
            const ifc::Element& element = m_building.elements[index];
            for (std::uint32_t n = 0; n < std::min(element.systemCount, kSystemsOfElement); ++n) {
                const ifc::System& system = m_building.systems[m_building.systemsOfElements[element.firstSystem + n]];
                ++counts[std::string(system.name.empty() ? system.globalId : system.name)];
            }
        }
        const auto most = std::max_element(counts.begin(), counts.end(), [](const auto& left, const auto& right) {
            return left.second < right.second;
        });
        return most == counts.end() ? std::string() : most->first;
    }

    Topic TopicOf(const Group& group, Grouping grouping) {
        constexpr std::array<const char*, 4> kKinds{"", "rule", "floor", "system"};
        Topic topic;
        topic.guid = GroupGuid(kKinds[static_cast<std::size_t>(grouping)], group.key);
        topic.title =
            XmlLine(fmt::format("{}: {}", group.title, Counted(group.findings.size(), "finding", "findings")));
        Severity gravest = Severity::Remind;
        std::set<std::string> specialties;
        std::set<std::string> rules;
        bool isOpen = false;
        for (const FindingRecord* finding : group.findings) {
            isOpen = isOpen || !finding->trusted;
            specialties.insert(SpecialtyLabel(finding->specialty));
            rules.insert(RuleLabel(finding->rule));
        }
        for (const FindingRecord* finding : group.findings) {
            if (!finding->trusted || !isOpen) {
                gravest = std::min(gravest, finding->severity);
            }
        }
        topic.type = WordsOf(gravest).type;
        topic.priority = WordsOf(gravest).priority;
        topic.status = isOpen ? kOpen : kClosed;
        topic.labels = {std::string(service::SeverityName(gravest))};
        topic.labels.insert(topic.labels.end(), specialties.begin(), specialties.end());
        topic.labels.insert(topic.labels.end(), rules.begin(), rules.end());
        topic.description = DescriptionOf(group);
        topic.created = FirstReportOf(group);
        AddViewpoints(group, topic);
        return topic;
    }

    // The earliest moment that is known; empty when none is.
    static std::string FirstReportOf(const Group& group) {
        std::string first;
        for (const FindingRecord* finding : group.findings) {
            const std::string& moment = finding->firstReportedAt;
            if (!moment.empty() && (first.empty() || moment < first)) {
                first = moment;
            }
        }
        return first;
    }

    static std::string DescriptionOf(const Group& group) {
        std::array<std::size_t, 3> counts{};
        std::size_t trusted = 0;
        for (const FindingRecord* finding : group.findings) {
            if (finding->trusted) {
                ++trusted;
            } else {
                ++counts[static_cast<std::size_t>(finding->severity)];
            }
        }
        std::string text = fmt::format("{}: {} confirmed, {} suspected, {}; {} trusted.\n\n",
                                       Counted(group.findings.size(), "finding", "findings"), counts[0], counts[1],
                                       Counted(counts[2], "reminder", "reminders"), trusted);
        const std::size_t listed = std::min(group.findings.size(), kListedCodes);
        for (std::size_t index = 0; index < listed; ++index) {
            const FindingRecord& finding = *group.findings[index];
            text += index < kListedSentences ? fmt::format("{}. {}\nFeature code: {}{}\n", index + 1, finding.sentence,
                                                           finding.featureCode, finding.trusted ? " (trusted)" : "")
                                             : finding.featureCode + "\n";
        }
        if (listed < group.findings.size()) {
            text += fmt::format("and {} more, which are not listed here\n", group.findings.size() - listed);
        }
        return text;
    }

    // One for each floor of the group, in the order of the report.
    void AddViewpoints(const Group& group, Topic& topic) {
        std::vector<std::string> floors;
        std::unordered_map<std::string, std::vector<const FindingRecord*>> findings;
        for (const FindingRecord* finding : group.findings) {
            std::vector<const FindingRecord*>& onFloor = findings[finding->floor];
            if (onFloor.empty()) {
                floors.push_back(finding->floor);
            }
            onFloor.push_back(finding);
        }
        for (const std::string& floor : floors) {
            topic.viewpoints.push_back(ViewpointOf(topic.guid, floor, findings[floor]));
        }
    }

    // ---- Viewpoints ----

    // The element of a handle, which is its instance number in hexadecimal; kNoIndex when the building has none.
    std::uint32_t ElementOf(const std::string& handle) const {
        std::uint64_t id = 0;
        const auto parsed = std::from_chars(handle.data(), handle.data() + handle.size(), id, 16);
        const std::vector<ifc::Element>& elements = m_building.elements;
        const auto found =
            std::lower_bound(elements.begin(), elements.end(), id,
                             [](const ifc::Element& element, std::uint64_t wanted) { return element.id < wanted; });
        const bool isWhole = parsed.ec == std::errc() && parsed.ptr == handle.data() + handle.size();
        return isWhole && found != elements.end() && found->id == id
                   ? static_cast<std::uint32_t>(found - elements.begin())
                   : ifc::kNoIndex;
    }

    Viewpoint ViewpointOf(const std::string& topicGuid, const std::string& floor,
                          const std::vector<const FindingRecord*>& findings) {
        Viewpoint view;
        view.guid = PartGuid(topicGuid, "viewpoint\n" + floor);
        const auto storey = m_storeys.find(floor);
        view.storey = storey == m_storeys.end() ? ifc::kNoIndex : storey->second;
        std::set<std::string_view> handles;
        for (const FindingRecord* finding : findings) {
            ifc::Box box;
            for (const service::FoundObject& object : finding->objects) {
                if (handles.insert(object.handle).second) {
                    view.components.push_back({IsGlobalId(object.globalId) ? object.globalId : "", object.handle});
                }
                if (const std::uint32_t index = ElementOf(object.handle); index != ifc::kNoIndex) {
                    view.elements.push_back(index);
                    box.Add(ExtentOf(m_building.elements[index]));
                }
            }
            if (box.IsEmpty() && finding->place) {
                box.Add(ifc::Point{finding->place->x, finding->place->y, finding->place->z});
            }
            view.focus.Add(box);
        }
        std::sort(view.elements.begin(), view.elements.end());
        view.elements.erase(std::unique(view.elements.begin(), view.elements.end()), view.elements.end());
        view.camera = CameraFor(view.focus.IsEmpty() ? Surroundings(view.storey) : view.focus);
        return view;
    }

    // The box of a storey, or of the building when nothing there has a place, or of nothing at the origin.
    const ifc::Box& Surroundings(std::uint32_t storey) {
        if (m_extents.empty()) {
            ifc::Box& all = m_extents[kWholeBuilding];
            for (const ifc::Element& element : m_building.elements) {
                const ifc::Box extent = ExtentOf(element);
                all.Add(extent);
                m_extents[element.storey].Add(extent);
            }
            if (all.IsEmpty()) {
                all.Add(ifc::Point{});
            }
        }
        const auto found = m_extents.find(storey);
        return found == m_extents.end() || found->second.IsEmpty() ? m_extents.at(kWholeBuilding) : found->second;
    }

    // What no storey and no element without one has as its index.
    static constexpr std::uint64_t kWholeBuilding = std::uint64_t{1} << 32U;

    const service::RunReport& m_report;
    const ifc::BuildingModel& m_building;
    std::map<std::string, const service::RuleRecord*> m_rules;
    std::map<std::string, std::uint32_t> m_storeys;
    std::map<std::uint64_t, ifc::Box> m_extents;  // of each storey that holds anything; made when first asked for
    std::set<std::string> m_guids;
    std::unordered_map<std::string, std::size_t> m_nextOccurrences;  // of codes that came again with the same number
};

}  // namespace

std::vector<Topic> MakeTopics(const service::RunReport& report, const ifc::BuildingModel& building,
                              const std::vector<service::FloorRecord>& floors, Grouping grouping) {
    return Maker(report, building, floors).Make(grouping);
}

bool IsGlobalId(std::string_view text) {
    constexpr std::size_t kSize = 22;
    return text.size() == kSize && std::all_of(text.begin(), text.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
                      c == '$';
           });
}

}  // namespace norvex::report::bcf
