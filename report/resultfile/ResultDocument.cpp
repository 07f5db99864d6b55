// SPDX-License-Identifier: Apache-2.0
#include "report/resultfile/ResultDocument.h"

#include <fmt/format.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <set>

#include "platform/text/Utf8.h"
#include "report/Json.h"
#include "report/resultfile/XmlText.h"
#include "report/xml/XmlWriter.h"
#include "service/Words.h"

namespace norvex::report {
namespace {

using service::FindingRecord;
using service::Outcome;
using service::RunReport;
using service::TaskRecord;

constexpr const char* kNamespace = "urn:norvexdata:result:1";
// Grows with the namespace, when an element or attribute changes its meaning or goes.
constexpr std::uint64_t kFormatVersion = 1;

// Counts of one category, of which by error kind.
struct Sums {
    std::size_t examined = 0;
    std::array<std::size_t, 3> bySeverity{};  // indexed by Severity
    std::map<std::string, std::size_t> subCategories;
};

struct Totals {
    std::map<std::string, Sums> categories;
    std::size_t trusted = 0;
};

Totals TotalsOf(const RunReport& report, const std::string& specialty) {
    Totals totals;
    std::map<std::string, std::string> categoryOfRule;
    for (const service::RuleRecord& rule : report.rules) {
        categoryOfRule[rule.name] = rule.category;
    }
    for (const TaskRecord& task : report.tasks) {
        if (task.specialty == specialty) {
            totals.categories[categoryOfRule[task.rule]].examined += task.examined;
        }
    }
    for (const FindingRecord& finding : report.findings) {
        if (finding.specialty != specialty) {
            continue;
        }
        if (finding.trusted) {
            ++totals.trusted;
            continue;
        }
        Sums& sums = totals.categories[finding.category];
        ++sums.bySeverity[static_cast<std::size_t>(finding.severity)];
        ++sums.subCategories[finding.subCategory];
    }
    return totals;
}

Totals TotalsOf(const RunReport& report) {
    Totals totals;
    for (const service::CategoryTotal& total : report.totals) {
        Sums& sums = totals.categories[total.category];
        sums.examined = total.checks;
        sums.bySeverity = {total.confirmed, total.suspected, total.reminders};
        sums.subCategories.insert(total.subCategories.begin(), total.subCategories.end());
    }
    for (const FindingRecord& finding : report.findings) {
        totals.trusted += finding.trusted ? 1 : 0;
    }
    return totals;
}

void WriteCounts(XmlWriter& xml, const Sums& sums) {
    xml.Number("examined", sums.examined)
        .Number("confirmed", sums.bySeverity[0])
        .Number("suspected", sums.bySeverity[1])
        .Number("remind", sums.bySeverity[2]);
}

void WriteTotals(XmlWriter& xml, const Totals& totals) {
    Sums all;
    for (const auto& [name, sums] : totals.categories) {
        all.examined += sums.examined;
        for (std::size_t severity = 0; severity < all.bySeverity.size(); ++severity) {
            all.bySeverity[severity] += sums.bySeverity[severity];
        }
    }
    WriteCounts(xml.Start("totals"), all);
    xml.Number("trusted", totals.trusted);
    for (const auto& [name, sums] : totals.categories) {
        WriteCounts(xml.Start("category").Attribute("name", name), sums);
        for (const auto& [kind, count] : sums.subCategories) {
            xml.Start("subCategory").Attribute("name", kind).Number("findings", count).End();
        }
        xml.End();
    }
    xml.End();
}

// What both kinds of file begin with.
void WriteRun(XmlWriter& xml, const RunReport& report) {
    xml.Start("run");
    if (report.run != 0) {
        xml.Number("number", static_cast<std::uint64_t>(report.run));
    }
    xml.Optional("startedAt", report.startedAt)
        .Flag("resumed", report.resumed)
        .Flag("narrowed", report.narrowed)
        .Flag("complete", report.incomplete.empty());
    for (const std::string& reason : report.incomplete) {
        xml.Leaf("incomplete", reason);
    }
    xml.End();
    xml.Start("tool").Attribute("name", "norvex").Attribute("version", report.toolVersion).End();
    const service::ModelRecord& model = report.model;
    xml.Start("model")
        .Attribute("path", model.path)
        .Attribute("sha256", model.sha256)
        .Attribute("schema", model.schema)
        .Attribute("project", model.project)
        .Attribute("lengthUnit", model.lengthUnit)
        .Number("elements", model.elements)
        .Number("elementsWithoutStorey", model.elementsWithoutStorey)
        .Number("lostInstances", model.lostInstances)
        .Flag("cutOff", model.isCutOff)
        .End();
}

void WriteFloors(XmlWriter& xml, const RunReport& report) {
    for (const service::FloorRecord& floor : report.floors) {
        xml.Start("floor").Attribute("name", floor.name);
        if (floor.elevation) {
            xml.Attribute("elevation", fmt::format("{}", Rounded(*floor.elevation)));
        }
        xml.Number("elements", floor.elements)
            .Number("withoutPlace", floor.withoutPlace)
            .Flag("withoutStorey", floor.withoutStorey)
            .End();
    }
}

// Rules that have a task in the specialty.
void WriteRules(XmlWriter& xml, const RunReport& report, const std::string& specialty) {
    std::set<std::string> names;
    for (const TaskRecord& task : report.tasks) {
        if (task.specialty == specialty) {
            names.insert(task.rule);
        }
    }
    for (const service::RuleRecord& rule : report.rules) {
        if (!names.contains(rule.name)) {
            continue;
        }
        xml.Start("rule")
            .Attribute("name", rule.name)
            .Attribute("shortName", rule.shortName)
            .Attribute("category", rule.category)
            .Attribute("version", rule.version)
            .Attribute("module", rule.module)
            .Optional("md5", rule.md5)
            .Leaf("title", rule.title)
            .Leaf("why", rule.why)
            .Leaf("howToFix", rule.howToFix)
            .End();
    }
}

void WriteOutcomes(XmlWriter& xml, const RunReport& report, const std::string& specialty) {
    xml.Start("outcomes");
    for (const TaskRecord& task : report.tasks) {
        if (task.specialty == specialty) {
            xml.Start("outcome")
                .Attribute("rule", task.rule)
                .Attribute("floor", task.floor)
                .Attribute("result", service::OutcomeName(task.outcome))
                .Number("examined", task.examined)
                .Number("notExamined", task.notExamined)
                .Number("findings", task.findings)
                .Number("reminders", task.reminders)
                .Number("trusted", task.trusted)
                .Text(task.reason)
                .End();
        }
    }
    xml.End();
}

void WriteAcceptance(XmlWriter& xml, const service::Acceptance& acceptance) {
    xml.Number("entry", static_cast<std::uint64_t>(acceptance.entry))
        .Attribute("person", acceptance.person)
        .Optional("addedOn", acceptance.addedOn)
        .Optional("expiresOn", acceptance.expiresOn);
}

void WriteFinding(XmlWriter& xml, const FindingRecord& finding) {
    xml.Start("finding");
    if (finding.number > 0) {
        xml.Number("number", finding.number);
    }
    xml.Attribute("rule", finding.rule)
        .Attribute("floor", finding.floor)
        .Attribute("category", finding.category)
        .Attribute("subCategory", finding.subCategory)
        .Attribute("severity", text::ToUtf8(service::WordOfSeverity(finding.severity)))
        .Attribute("featureCode", finding.featureCode)
        .Number("occurrence", finding.occurrence)
        .Flag("trusted", finding.trusted);
    xml.Optional("novelty", service::NoveltyName(finding.novelty));
    xml.Leaf("sentence", finding.sentence).Leaf("location", finding.location);
    // XML Schema has other words than we for what is no number, and nobody can go there.
    if (finding.place && std::isfinite(finding.place->x + finding.place->y + finding.place->z)) {
        const auto coordinate = [&](const char* name, double value) {
            xml.Attribute(name, fmt::format("{}", Rounded(value)));
        };
        xml.Start("place");
        coordinate("x", finding.place->x);
        coordinate("y", finding.place->y);
        coordinate("z", finding.place->z);
        xml.End();
    }
    for (const service::FoundObject& object : finding.objects) {
        xml.Start("object")
            .Attribute("handle", object.handle)
            .Optional("globalId", object.globalId)
            .Optional("subCategory", object.subCategory)
            .Text(object.name)
            .End();
    }
    if (finding.acceptance) {
        xml.Start("trust");
        WriteAcceptance(xml, *finding.acceptance);
        xml.Text(finding.acceptance->reason).End();
    }
    xml.End();
}

void WriteFindings(XmlWriter& xml, const char* element, const std::vector<FindingRecord>& findings,
                   const std::string& specialty) {
    xml.Start(element);
    for (const FindingRecord& finding : findings) {
        if (finding.specialty == specialty) {
            WriteFinding(xml, finding);
        }
    }
    xml.End();
}

void WriteComparison(XmlWriter& xml, const service::Comparison& comparison) {
    xml.Start("comparison")
        .Number("run", static_cast<std::uint64_t>(comparison.run))
        .Optional("startedAt", comparison.startedAt);
}

void WriteAcceptances(XmlWriter& xml, const RunReport& report) {
    xml.Start("acceptances");
    for (const service::AcceptanceRecord& record : report.acceptances) {
        xml.Start("acceptance");
        WriteAcceptance(xml, record.acceptance);
        xml.Attribute("state", service::AcceptanceStateName(record.state))
            .Number("findings", record.findings)
            .Leaf("target", record.target)
            .Leaf("reason", record.acceptance.reason)
            .End();
    }
    xml.End();
}

void WriteSpecialtyName(XmlWriter& xml, const std::string& specialty, const std::string& tag) {
    xml.Attribute("name", specialty).Optional("gloss", service::SpecialtyGloss(specialty)).Attribute("tag", tag);
}

XmlWriter& StartDocument(XmlWriter& xml, const char* element) {
    return xml.Start(element).Attribute("xmlns", kNamespace).Number("formatVersion", kFormatVersion);
}

}  // namespace

bool HasResult(const RunReport& report, const std::string& specialty) {
    return std::any_of(report.tasks.begin(), report.tasks.end(), [&](const TaskRecord& task) {
        return task.specialty == specialty &&
               (task.outcome != Outcome::NotApplicable || task.examined + task.notExamined > 0);
    });
}

std::string ResultXml(const RunReport& report, const std::string& specialty, const std::string& tag) {
    XmlWriter xml(XmlText);
    StartDocument(xml, "result");
    WriteRun(xml, report);
    xml.Start("scope");
    WriteSpecialtyName(xml.Start("specialty"), specialty, tag);
    xml.End();
    WriteFloors(xml, report);
    WriteRules(xml, report, specialty);
    xml.End();
    WriteOutcomes(xml, report, specialty);
    WriteFindings(xml, "findings", report.findings, specialty);
    if (report.comparison) {
        WriteComparison(xml, *report.comparison);
        for (const std::string& remark : report.comparison->remarks) {
            xml.Leaf("remark", remark);
        }
        WriteFindings(xml, "gone", report.comparison->gone, specialty);
        WriteFindings(xml, "hidden", report.comparison->hidden, specialty);
        xml.End();
    }
    WriteTotals(xml, TotalsOf(report, specialty));
    return xml.Finish();
}

std::string GuideXml(const RunReport& report, const std::vector<GuideEntry>& entries, const std::string& failure) {
    XmlWriter xml(XmlText);
    StartDocument(xml, "guide");
    WriteRun(xml, report);
    xml.Start("specialties");
    for (const GuideEntry& entry : entries) {
        WriteSpecialtyName(xml.Start("specialty"), entry.specialty, entry.tag);
        xml.Optional("file", entry.file);
        WriteTotals(xml, TotalsOf(report, entry.specialty));
        xml.End();
    }
    xml.End();
    if (!failure.empty()) {
        xml.Leaf("notWritten", failure);
    }
    // Rules that suit none of the specialties in the scope stand in no result file.
    WriteOutcomes(xml, report, "");
    WriteTotals(xml, TotalsOf(report));
    if (report.comparison) {
        WriteComparison(xml, *report.comparison);
        xml.Number("gone", report.comparison->gone.size())
            .Number("hidden", report.comparison->hidden.size())
            .Number("notVisited", report.comparison->notVisited);
        for (const std::string& remark : report.comparison->remarks) {
            xml.Leaf("remark", remark);
        }
        xml.End();
    }
    WriteAcceptances(xml, report);
    return xml.Finish();
}

}  // namespace norvex::report
