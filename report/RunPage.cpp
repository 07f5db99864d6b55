// SPDX-License-Identifier: Apache-2.0
#include "report/RunPage.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <unordered_map>

#include "service/Verdict.h"

namespace norvex::report {

namespace {

page::Point PointOf(const ifc::Point& point) {
    return {point.x, point.y, point.z};
}

page::Element ElementOf(const ifc::Element& element, std::string_view handle) {
    page::Element shown;
    shown.handle = handle;
    shown.globalId = element.globalId;
    shown.className = element.className;
    shown.name = element.name;
    shown.specialty = element.specialty;
    shown.category = element.category;
    shown.subCategory = element.subCategory;
    shown.detailName = element.detailName;
    shown.kind = static_cast<page::ElementKind>(element.kind);
    shown.floor = element.storey == ifc::kNoIndex ? page::kNoIndex : element.storey;
    if (element.storey == ifc::kNoIndex) {
        shown.noFloorReason = ifc::NoStoreyReasonText(element.noStorey);
    }
    shown.hasEnds = element.kind == ifc::ElementKind::Segment && element.ends != ifc::EndEvidence::None;
    shown.start = PointOf(element.start);
    shown.end = PointOf(element.end);
    if (element.placed) {
        shown.position = PointOf(element.position);
    }
    shown.diameter = element.nominalDiameter;
    if (!element.box.IsEmpty()) {
        shown.box = page::Box{PointOf(element.box.low), PointOf(element.box.high)};
    }
    return shown;
}

// The two lists of kinds name the same things in the same order.
static_assert(static_cast<int>(page::ElementKind::Other) == static_cast<int>(ifc::ElementKind::Other));
static_assert(static_cast<int>(page::Severity::Remind) == static_cast<int>(service::Severity::Remind));
static_assert(static_cast<int>(page::Outcome::Cancelled) == static_cast<int>(service::Outcome::Cancelled));

page::Change ChangeOf(service::Novelty novelty) {
    switch (novelty) {
        case service::Novelty::New:
            return page::Change::New;
        case service::Novelty::Persisting:
            return page::Change::Persisting;
        case service::Novelty::Unknown:
            break;
    }
    return page::Change::None;
}

page::TrustState StateOf(service::AcceptanceState state) {
    switch (state) {
        case service::AcceptanceState::Hides:
            return page::TrustState::Trusted;
        case service::AcceptanceState::Stale:
            return page::TrustState::Stale;
        case service::AcceptanceState::Expired:
            return page::TrustState::Expired;
        case service::AcceptanceState::NotLookedAt:
            break;
    }
    return page::TrustState::NotLookedAt;
}

page::Trust TrustOf(page::TrustState state, const service::Acceptance& acceptance) {
    return {state, acceptance.reason, acceptance.person, acceptance.addedOn, acceptance.expiresOn};
}

class Maker {
  public:
    Maker(const service::RunReport& report, const ifc::BuildingModel& building,
          const std::vector<service::FloorRecord>& floors)
        : m_report(report), m_building(building), m_floors(floors) {
        DescribeRun();
        for (const service::RuleRecord& rule : m_report.rules) {
            AddRule({rule.name, rule.title, rule.why, rule.howToFix});
        }
    }

    RunPage Make() {
        for (std::size_t storey = 0; storey < m_building.storeys.size(); ++storey) {
            const bool named = storey < m_floors.size();
            AddFloor({named ? m_floors[storey].name : std::string(m_building.storeys[storey].name),
                      m_building.storeys[storey].elevation});
        }
        AddElements();
        for (const service::FindingRecord& record : m_report.findings) {
            AddFinding(record, ObjectsByHandle(record));
        }
        return Finish();
    }

    RunPage MakeWithoutPlan(const std::string& why) {
        m_page.model.run.planMissing = why;
        for (const service::FloorRecord& floor : m_floors) {
            if (!floor.withoutStorey) {
                AddFloor({floor.name, floor.elevation});
            }
        }
        for (const service::FindingRecord& record : m_report.findings) {
            AddFinding(record, NamedObjects(record));
        }
        return Finish();
    }

  private:
    RunPage Finish() {
        for (const service::TaskRecord& task : m_report.tasks) {
            m_page.model.outcomes.push_back({RuleIndex(task.rule), FloorIndex(task.floor), task.specialty,
                                             static_cast<page::Outcome>(task.outcome), task.examined, task.notExamined,
                                             task.reason});
        }
        Compare();
        for (const service::AcceptanceRecord& record : m_report.acceptances) {
            m_page.model.trustEntries.push_back(
                {record.target, TrustOf(StateOf(record.state), record.acceptance), record.findings});
        }
        for (const service::Notice& notice : m_report.model.notices) {
            m_page.model.notices.push_back({notice.severity, notice.line, notice.sentence});
        }
        m_page.model.noticeCount = m_report.model.noticeCount;
        m_page.model.warningCount = m_report.model.warningCount;
        for (const service::SpecialtyCount& count : service::SpecialtiesWithoutRule(m_report)) {
            m_page.model.withoutRule.push_back({count.specialty, count.elements});
        }
        TakeTotals();
        return std::move(m_page);
    }

    void DescribeRun() {
        page::RunInfo& run = m_page.model.run;
        run.modelName = std::filesystem::path(m_report.model.path).filename().string();
        run.projectName = m_report.model.project;
        run.schema = m_report.model.schema;
        run.toolVersion = m_report.toolVersion;
        run.number = m_report.run;
        run.startedAt = m_report.startedAt;
        run.resumed = m_report.resumed;
        run.incomplete = m_report.incomplete;
        run.narrowed = m_report.narrowed;
        run.partial = std::any_of(m_report.tasks.begin(), m_report.tasks.end(), [](const service::TaskRecord& task) {
            return task.outcome == service::Outcome::Cancelled;
        });
    }

    void AddElements() {
        for (const ifc::Element& element : m_building.elements) {
            const std::string& handle = m_page.handles.emplace_back(fmt::format("{:X}", element.id));
            m_byHandle.emplace(handle, static_cast<std::uint32_t>(m_page.model.elements.size()));
            m_page.model.elements.push_back(ElementOf(element, handle));
        }
    }

    // Of several of one name the first is found.
    void AddRule(page::Rule rule) {
        m_ruleIndices.emplace(rule.name, static_cast<std::uint32_t>(m_page.model.rules.size()));
        m_page.model.rules.push_back(std::move(rule));
    }

    void AddFloor(page::Floor floor) {
        m_floorIndices.emplace(floor.name, static_cast<std::uint32_t>(m_page.model.floors.size()));
        m_page.model.floors.push_back(std::move(floor));
    }

    // A rule that the report does not list is added, so that nothing it found is lost.
    std::uint32_t RuleIndex(const std::string& name) {
        if (!m_ruleIndices.contains(name)) {
            AddRule({name, "", "", ""});
        }
        return m_ruleIndices.at(name);
    }

    std::uint32_t FloorIndex(const std::string& name) const {
        const auto found = m_floorIndices.find(name);
        return found == m_floorIndices.end() ? page::kNoIndex : found->second;
    }

    page::Finding FindingOf(const service::FindingRecord& record) {
        page::Finding finding;
        finding.number = static_cast<std::uint32_t>(record.number);
        finding.rule = RuleIndex(record.rule);
        finding.floor = FloorIndex(record.floor);
        finding.specialty = record.specialty;
        finding.category = record.category;
        finding.subCategory = record.subCategory;
        finding.severity = static_cast<page::Severity>(record.severity);
        finding.sentence = record.sentence;
        finding.location = record.location;
        finding.featureCode = record.featureCode;
        if (record.place) {
            finding.place = page::Point{record.place->x, record.place->y, record.place->z};
        }
        if (record.trusted) {
            finding.trust = TrustOf(page::TrustState::Trusted, record.acceptance.value_or(service::Acceptance{}));
        } else if (record.expired) {
            finding.trust = TrustOf(page::TrustState::Expired, *record.expired);
        }
        finding.change = ChangeOf(record.novelty);
        return finding;
    }

    void AddFinding(const service::FindingRecord& record, std::vector<std::uint32_t> objects) {
        page::Finding finding = FindingOf(record);
        finding.objects = std::move(objects);
        m_page.model.findings.push_back(std::move(finding));
    }

    // Elements that know no more than the report says of them.
    std::vector<std::uint32_t> NamedObjects(const service::FindingRecord& record) {
        std::vector<std::uint32_t> objects;
        for (const service::FoundObject& object : record.objects) {
            const auto [known, isNew] =
                m_byHandle.emplace(object.handle, static_cast<std::uint32_t>(m_page.model.elements.size()));
            if (isNew) {
                page::Element& element = m_page.model.elements.emplace_back();
                element.handle = object.handle;
                element.globalId = object.globalId;
                element.name = object.name;
                element.specialty = record.specialty;
                element.subCategory = object.subCategory;
                element.floor = FloorIndex(record.floor);
            }
            objects.push_back(known->second);
        }
        return objects;
    }

    std::vector<std::uint32_t> ObjectsByHandle(const service::FindingRecord& record) const {
        std::vector<std::uint32_t> objects;
        for (const service::FoundObject& object : record.objects) {
            const auto found = m_byHandle.find(object.handle);
            if (found != m_byHandle.end()) {
                objects.push_back(found->second);
            }
        }
        return objects;
    }

    // Handles of an earlier run may mean other objects of this model.
    std::vector<std::uint32_t> ObjectsByGlobalId(const service::FindingRecord& record) const {
        std::vector<std::uint32_t> objects;
        for (const service::FoundObject& object : record.objects) {
            const auto found = m_byGlobalId.find(object.globalId);
            if (found != m_byGlobalId.end()) {
                objects.push_back(found->second);
            }
        }
        return objects;
    }

    // Of several elements of one identity the first is found; none has the empty one.
    void IndexGlobalIds() {
        const std::vector<page::Element>& elements = m_page.model.elements;
        for (std::uint32_t index = 0; index < elements.size(); ++index) {
            if (!elements[index].globalId.empty()) {
                m_byGlobalId.emplace(elements[index].globalId, index);
            }
        }
    }

    void Compare() {
        if (!m_report.comparison) {
            return;
        }
        IndexGlobalIds();
        const service::Comparison& comparison = *m_report.comparison;
        m_page.model.comparison = page::Comparison{comparison.run, comparison.startedAt, comparison.hidden.size(),
                                                   comparison.notVisited, comparison.remarks};
        for (const service::FindingRecord& record : comparison.gone) {
            page::Finding finding = FindingOf(record);
            finding.change = page::Change::Gone;
            finding.objects = ObjectsByGlobalId(record);
            m_page.model.findings.push_back(std::move(finding));
        }
    }

    // From what the run counted while it ran, not from the list: the page compares the two.
    void TakeTotals() {
        page::Totals& totals = m_page.model.totals;
        for (const service::CategoryTotal& category : m_report.totals) {
            totals.confirmed += category.confirmed;
            totals.suspected += category.suspected;
            totals.reminders += category.reminders;
        }
        for (const service::TaskRecord& task : m_report.tasks) {
            totals.trusted += task.trusted;
        }
        totals.gone = m_report.comparison ? m_report.comparison->gone.size() : 0;
        totals.elements = m_report.model.elements;
        totals.withoutFloor = m_report.model.elementsWithoutStorey;
    }

    const service::RunReport& m_report;
    const ifc::BuildingModel& m_building;
    const std::vector<service::FloorRecord>& m_floors;
    std::unordered_map<std::string_view, std::uint32_t> m_byHandle;    // the keys are texts of m_page or of m_report
    std::unordered_map<std::string_view, std::uint32_t> m_byGlobalId;  // the same, once they are all there
    std::unordered_map<std::string, std::uint32_t> m_ruleIndices;
    std::unordered_map<std::string, std::uint32_t> m_floorIndices;
    RunPage m_page;
};

}  // namespace

RunPage MakeRunPage(const service::RunReport& report, const ifc::BuildingModel& building,
                    const std::vector<service::FloorRecord>& floors) {
    return Maker(report, building, floors).Make();
}

RunPage MakeRunPageWithoutPlan(const service::RunReport& report, const std::string& why) {
    const ifc::BuildingModel nothing;
    return Maker(report, nothing, report.floors).MakeWithoutPlan(why);
}

}  // namespace norvex::report
