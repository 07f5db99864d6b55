// SPDX-License-Identifier: Apache-2.0
#include "report/page/WritePage.h"

#include "report/page/ElementColumns.h"
#include "report/page/Packer.h"
#include "report/page/PageShell.h"

#include <algorithm>
#include <cmath>

namespace norvex::report::page {

namespace {

// Raised when the form of the data changes, so that a page never reads what its script does not know.
constexpr std::uint64_t kFormat = 3;

// Elevations keep a tenth of a millimetre.
constexpr double kElevationSteps = 10.0;

// Writes values into one stream and keeps their texts in the table.
class Writer {
  public:
    explicit Writer(const PageModel& model) : m_model(model), m_origin(Origin(model)) {}

    std::string Payload() {
        WriteRun();
        WriteFloors();
        WriteRules();
        WriteElements(m_model, m_texts, m_out);
        WriteFindings();
        WriteOutcomes();
        WriteTrustEntries();
        WriteComparison();
        WriteNotices();
        WriteWithoutRule();
        WriteTotals(m_model.totals);
        ByteWriter whole;
        whole.Unsigned(kFormat);
        m_texts.Write(whole);
        whole.Bytes(m_out.Data());
        return whole.Data();
    }

  private:
    void Text(std::string_view text) { m_out.Unsigned(m_texts.Index(text)); }
    // 0 stands for none.
    void FloorIndex(std::uint32_t floor) { m_out.Unsigned(floor < m_model.floors.size() ? floor + 1U : 0U); }

    void WriteRun() {
        const RunInfo& run = m_model.run;
        for (const std::string* text :
             {&run.modelName, &run.projectName, &run.schema, &run.startedAt, &run.toolVersion, &run.planMissing}) {
            Text(*text);
        }
        m_out.Unsigned(run.incomplete.size());
        for (const std::string& sentence : run.incomplete) {
            Text(sentence);
        }
        m_out.Signed(run.number);
        m_out.Unsigned((run.partial ? 1U : 0U) | (run.narrowed ? 2U : 0U) | (run.resumed ? 4U : 0U));
        m_out.Signed(Millimetres(m_origin.x));
        m_out.Signed(Millimetres(m_origin.y));
    }

    void WriteFloors() {
        m_out.Unsigned(m_model.floors.size());
        for (const Floor& floor : m_model.floors) {
            const bool known = floor.elevation && std::isfinite(*floor.elevation);
            Text(floor.name);
            m_out.Unsigned(known ? 1U : 0U);
            m_out.Signed(known ? Millimetres(*floor.elevation * kElevationSteps) : 0);
        }
    }

    void WriteRules() {
        m_out.Unsigned(m_model.rules.size());
        for (const Rule& rule : m_model.rules) {
            for (const std::string* text : {&rule.name, &rule.title, &rule.why, &rule.howToFix}) {
                Text(*text);
            }
        }
    }

    void WriteTrust(const Trust& trust) {
        m_out.Unsigned(static_cast<std::uint8_t>(trust.state));
        if (trust.state != TrustState::None) {
            for (const std::string* text : {&trust.reason, &trust.person, &trust.date, &trust.expires}) {
                Text(*text);
            }
        }
    }

    void WriteFinding(const Finding& finding) {
        m_out.Unsigned(finding.number);
        m_out.Unsigned(finding.rule);
        FloorIndex(finding.floor);
        for (const std::string* text : {&finding.specialty, &finding.category, &finding.subCategory, &finding.sentence,
                                        &finding.location, &finding.featureCode}) {
            Text(*text);
        }
        m_out.Unsigned(static_cast<std::uint8_t>(finding.severity));
        m_out.Unsigned(static_cast<std::uint8_t>(finding.change));
        WriteTrust(finding.trust);
        std::vector<std::uint32_t> objects;
        std::copy_if(finding.objects.begin(), finding.objects.end(), std::back_inserter(objects),
                     [&](std::uint32_t object) { return object < m_model.elements.size(); });
        m_out.Unsigned(objects.size());
        std::int64_t before = 0;
        for (const std::uint32_t object : objects) {
            m_out.Signed(std::int64_t{object} - before);
            before = object;
        }
        const bool placed = finding.place && IsFinite(*finding.place);
        m_out.Unsigned(placed ? 1U : 0U);
        if (placed) {
            m_out.Signed(Millimetres(finding.place->x - m_origin.x));
            m_out.Signed(Millimetres(finding.place->y - m_origin.y));
            m_out.Signed(Millimetres(finding.place->z - m_origin.z));
        }
    }

    void WriteFindings() {
        m_out.Unsigned(m_model.findings.size());
        for (const Finding& finding : m_model.findings) {
            WriteFinding(finding);
        }
    }

    void WriteOutcomes() {
        m_out.Unsigned(m_model.outcomes.size());
        for (const OutcomeRecord& record : m_model.outcomes) {
            m_out.Unsigned(record.rule);
            FloorIndex(record.floor);
            Text(record.specialty);
            m_out.Unsigned(static_cast<std::uint8_t>(record.outcome));
            m_out.Unsigned(record.examined);
            m_out.Unsigned(record.notExamined);
            Text(record.reason);
        }
    }

    void WriteTrustEntries() {
        m_out.Unsigned(m_model.trustEntries.size());
        for (const TrustEntry& entry : m_model.trustEntries) {
            Text(entry.scope);
            WriteTrust(entry.trust);
            m_out.Unsigned(entry.hidden);
        }
    }

    // 0 stands for no comparison.
    void WriteComparison() {
        m_out.Unsigned(m_model.comparison ? 1U : 0U);
        if (!m_model.comparison) {
            return;
        }
        m_out.Signed(m_model.comparison->run);
        Text(m_model.comparison->startedAt);
        m_out.Unsigned(m_model.comparison->hidden);
        m_out.Unsigned(m_model.comparison->notVisited);
        m_out.Unsigned(m_model.comparison->remarks.size());
        for (const std::string& remark : m_model.comparison->remarks) {
            Text(remark);
        }
    }

    void WriteNotices() {
        m_out.Unsigned(m_model.notices.size());
        for (const Notice& notice : m_model.notices) {
            Text(notice.severity);
            m_out.Unsigned(notice.line);
            Text(notice.sentence);
        }
        m_out.Unsigned(std::max<std::uint64_t>(m_model.noticeCount, m_model.notices.size()));
        m_out.Unsigned(m_model.warningCount);
    }

    void WriteWithoutRule() {
        m_out.Unsigned(m_model.withoutRule.size());
        for (const WithoutRule& each : m_model.withoutRule) {
            Text(each.specialty);
            m_out.Unsigned(each.elements);
        }
    }

    void WriteTotals(const Totals& totals) {
        for (const std::size_t count : {totals.confirmed, totals.suspected, totals.reminders, totals.trusted,
                                        totals.gone, totals.elements, totals.withoutFloor}) {
            m_out.Unsigned(count);
        }
    }

    const PageModel& m_model;
    const Point m_origin;
    StringTable m_texts;
    ByteWriter m_out;
};

}  // namespace

Totals CountTotals(const PageModel& model) {
    Totals totals;
    for (const Finding& finding : model.findings) {
        if (finding.change == Change::Gone) {
            ++totals.gone;
        } else if (finding.trust.state == TrustState::Trusted) {
            ++totals.trusted;
        } else if (finding.trust.state == TrustState::Stale) {
            continue;
        } else if (finding.severity == Severity::Confirmed) {
            ++totals.confirmed;
        } else if (finding.severity == Severity::Suspected) {
            ++totals.suspected;
        } else {
            ++totals.reminders;
        }
    }
    totals.elements = model.elements.size();
    totals.withoutFloor = static_cast<std::size_t>(
        std::count_if(model.elements.begin(), model.elements.end(),
                      [&](const Element& element) { return element.floor >= model.floors.size(); }));
    return totals;
}

void WritePage(const PageModel& model, std::ostream& out) {
    out << ShellBeforeData() << Encode85(Deflate(Writer(model).Payload())) << ShellAfterData();
}

}  // namespace norvex::report::page
