// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <algorithm>
#include <iterator>
#include <vector>

#include "report/CheckReport.h"
#include "report/DiffReport.h"
#include "report/DisplayText.h"
#include "report/OutcomeText.h"
#include "report/Phrases.h"
#include "report/Table.h"
#include "service/Verdict.h"
#include "service/Words.h"

namespace norvex::report {
namespace {

using service::FindingRecord;
using service::RunReport;
using service::Severity;
using service::TaskRecord;

// Notices shown before the rest is only counted.
constexpr std::size_t kShownNotices = 10;

// Findings that are gone shown before the rest is only counted.
constexpr std::size_t kShownGone = 10;

Tone ToneOf(Severity severity) {
    switch (severity) {
        case Severity::Confirmed:
            return Tone::Red;
        case Severity::Suspected:
            return Tone::Yellow;
        case Severity::Remind:
            return Tone::Cyan;
    }
    return Tone::Plain;
}

std::string ModelText(const RunReport& report, const TextStyle& style) {
    const service::ModelRecord& model = report.model;
    std::size_t onFloors = 0;
    for (const service::FloorRecord& floor : report.floors) {
        onFloors += floor.elements;
    }
    // A run that was narrowed to some floors does not look at the rest.
    const std::string some = report.narrowed && onFloors < model.elements ? fmt::format("{} of ", onFloors) : "";
    std::string out = fmt::format("Model    {} ({}, {}): {}{} on {}\n", Sanitised(model.path), Sanitised(model.schema),
                                  Sanitised(model.lengthUnit), some, Counted(model.elements, "element", "elements"),
                                  Counted(report.floors.size(), "floor", "floors"));
    out += fmt::format("Project  {}\n", Sanitised(report.projectFolder));
    if (model.elementsWithoutStorey > 0) {
        out += fmt::format("{} a floor of {} own.\n",
                           Counted(model.elementsWithoutStorey, "element stands on no storey and is",
                                   "elements stand on no storey and are"),
                           model.elementsWithoutStorey == 1 ? "its" : "their");
    }
    std::size_t withoutPlace = 0;
    for (const service::FloorRecord& floor : report.floors) {
        withoutPlace += floor.withoutPlace;
    }
    if (withoutPlace > 0) {
        out += fmt::format("{} no place in the model; no check saw {}.\n",
                           Counted(withoutPlace, "element has", "elements have"), withoutPlace == 1 ? "it" : "them");
    }
    std::uint64_t shown = 0;
    for (const service::Notice& notice : model.notices) {
        if (notice.severity == "note") {
            continue;
        }
        if (shown < kShownNotices) {
            const std::string place = notice.line == 0 ? "" : fmt::format("line {}: ", notice.line);
            out += Toned(notice.severity, Tone::Yellow, style) + ": " + place + Sanitised(notice.sentence) + "\n";
            ++shown;
        }
    }
    if (model.warningCount > shown) {
        out += fmt::format("{} about the file; norvex inspect lists them.\n",
                           Counted(model.warningCount - shown, "more warning", "more warnings"));
    }
    return out;
}

std::string SeverityLabel(const FindingRecord& finding) {
    std::string label(service::SeverityName(finding.severity));
    label += finding.novelty == service::Novelty::New ? ", new" : "";
    return label + (finding.trusted ? ", trusted" : "");
}

std::string AcceptanceText(const service::Acceptance& acceptance) {
    return fmt::format("Trusted by {} since {}{}: {}", acceptance.person, acceptance.addedOn,
                       acceptance.expiresOn.empty() ? "" : " until " + acceptance.expiresOn, acceptance.reason);
}

void AddFinding(const RunReport& report, const FindingRecord& finding, Table& table) {
    table.AddRow({{finding.number == 0 ? "" : std::to_string(finding.number)},
                  {SeverityLabel(finding), finding.trusted ? Tone::Faint : ToneOf(finding.severity)},
                  {finding.floor},
                  {SpecialtyLabel(finding.specialty)},
                  {ShortNameOf(report, finding.rule)}});
    table.AddText(finding.sentence);
    if (finding.acceptance) {
        table.AddText(AcceptanceText(*finding.acceptance));
    }
    table.AddNote(finding.location);
    table.AddNote(finding.featureCode);
}

Table FindingTable() {
    return Table({{"#", Table::Align::Right}, {"Severity"}, {"Floor"}, {"Specialty"}, {"Rule"}});
}

std::string FindingsText(const RunReport& report, const TextStyle& style) {
    Table table = FindingTable();
    for (const FindingRecord& finding : report.findings) {
        AddFinding(report, finding, table);
    }
    const std::string text = table.ToText(style);
    return text.empty() ? "" : Heading("Findings", style) + text;
}

// The sentences, each on lines of its own.
std::string Sentences(const std::vector<std::string>& sentences, const TextStyle& style) {
    std::string out;
    for (const std::string& sentence : sentences) {
        for (const std::string& line : Wrapped(Sanitised(sentence), style.width)) {
            out += line + "\n";
        }
    }
    return out;
}

// What became of the findings of the run before, in words. Requires: the report has a comparison.
std::vector<std::string> ChangeSentences(const RunReport& report) {
    const service::Comparison& comparison = *report.comparison;
    const auto count = [&](service::Novelty novelty) {
        return std::count_if(report.findings.begin(), report.findings.end(),
                             [&](const FindingRecord& finding) { return finding.novelty == novelty; });
    };
    std::vector<std::string> sentences = {fmt::format("{} new, {} persisting, {} gone.", count(service::Novelty::New),
                                                      count(service::Novelty::Persisting), comparison.gone.size())};
    if (const auto unknown = static_cast<std::size_t>(count(service::Novelty::Unknown)); unknown > 0) {
        sentences.push_back(fmt::format("{} where the earlier run did not look; it may have been there before.",
                                        Counted(unknown, "finding lies", "findings lie")));
    }
    if (!comparison.hidden.empty()) {
        sentences.push_back(fmt::format("{} not looked for any more, because a rule or sub-category is trusted now.",
                                        Counted(comparison.hidden.size(), "other finding is", "other findings are")));
    }
    if (comparison.notVisited > 0) {
        sentences.push_back(fmt::format("{} where this run did not look or had nothing to look at; {} fate is unknown.",
                                        Counted(comparison.notVisited, "finding lies", "findings lie"),
                                        comparison.notVisited == 1 ? "its" : "their"));
    }
    sentences.insert(sentences.end(), comparison.remarks.begin(), comparison.remarks.end());
    return sentences;
}

// What of the persisting findings was trusted in one of the two runs only.
std::vector<std::string> TrustSentences(std::size_t trustedNow, std::size_t trustedBefore) {
    std::vector<std::string> sentences;
    if (trustedNow > 0) {
        sentences.push_back(fmt::format("{} trusted now and {} not before.",
                                        Counted(trustedNow, "persisting finding is", "persisting findings are"),
                                        trustedNow == 1 ? "was" : "were"));
    }
    if (trustedBefore > 0) {
        sentences.push_back(fmt::format("{} trusted before and {} not now.",
                                        Counted(trustedBefore, "persisting finding was", "persisting findings were"),
                                        trustedBefore == 1 ? "is" : "are"));
    }
    return sentences;
}

// What became of the findings of the run before.
std::string ChangesText(const RunReport& report, const TextStyle& style) {
    if (!report.comparison) {
        return "";
    }
    const service::Comparison& comparison = *report.comparison;
    Table gone = FindingTable();
    const std::size_t shown = style.brief ? 0 : std::min(comparison.gone.size(), kShownGone);
    for (std::size_t index = 0; index < shown; ++index) {
        AddFinding(report, comparison.gone[index], gone);
    }
    std::string out = Heading(fmt::format("Since run {} of {}", comparison.run, comparison.startedAt), style) +
                      Sentences(ChangeSentences(report), style) + gone.ToText(style);
    if (!style.brief && comparison.gone.size() > shown) {
        out += fmt::format("  {} gone; norvex diff lists them.\n",
                           Counted(comparison.gone.size() - shown, "more finding is", "more findings are"));
    }
    return out;
}

// Acceptances that ask for a decision: what has expired is loud, what is stale is listed.
std::string AcceptancesText(const RunReport& report, const TextStyle& style) {
    std::string out;
    std::vector<std::string> stale;
    for (const service::AcceptanceRecord& record : report.acceptances) {
        const service::Acceptance& acceptance = record.acceptance;
        if (record.state == service::AcceptanceState::Expired) {
            out += Toned("Expired: ", Tone::Red, style) +
                   Sentences({fmt::format("trust entry {} ({}) by {} ended on {}; {} back.", acceptance.entry,
                                          record.target, acceptance.person, acceptance.expiresOn,
                                          Counted(record.findings, "finding is", "findings are"))},
                             style);
        } else if (record.state == service::AcceptanceState::Stale) {
            stale.push_back(fmt::format("Stale: trust entry {} ({}) by {} hides nothing any more.", acceptance.entry,
                                        record.target, acceptance.person));
        }
    }
    out += Sentences(stale, style);
    return out.empty() ? "" : "\n" + out;
}

// Elements that nothing was asked of.
std::string WithoutRuleText(const RunReport& report, const TextStyle& style) {
    std::vector<std::string> parts;
    for (const service::SpecialtyCount& count : service::SpecialtiesWithoutRule(report)) {
        parts.push_back(fmt::format("{} of {}", count.elements, SpecialtyLabel(count.specialty)));
    }
    return parts.empty() ? ""
                         : Sentences({fmt::format("No rule of this run looks at these elements of the model: {}.",
                                                  service::Joined(parts))},
                                     style);
}

std::string TotalsText(const RunReport& report, const TextStyle& style) {
    Table table({{"Category"},
                 {"Examined", Table::Align::Right},
                 {"Confirmed", Table::Align::Right},
                 {"Suspected", Table::Align::Right},
                 {"Reminders", Table::Align::Right},
                 {"Of which"}});
    for (const service::CategoryTotal& total : report.totals) {
        std::vector<std::string> kinds;
        for (const auto& [name, count] : total.subCategories) {
            kinds.push_back(fmt::format("{} {}", name, count));
        }
        table.AddRow({{total.category},
                      {std::to_string(total.checks)},
                      {std::to_string(total.confirmed)},
                      {std::to_string(total.suspected)},
                      {std::to_string(total.reminders)},
                      {service::Joined(kinds)}});
    }
    const std::string text = table.ToText(style);
    return text.empty() ? "" : Heading("Totals", style) + text;
}

// The last line: how many findings of what severity, and out of how much.
std::string VerdictText(const RunReport& report, const TextStyle& style) {
    std::size_t bySeverity[3] = {};
    std::size_t trusted = 0;
    for (const FindingRecord& finding : report.findings) {
        ++(finding.trusted ? trusted : bySeverity[static_cast<std::size_t>(finding.severity)]);
    }
    std::size_t examined = 0;
    for (const TaskRecord& task : report.tasks) {
        examined += task.examined;
    }
    const std::size_t all = bySeverity[0] + bySeverity[1] + bySeverity[2];
    std::string line = all == 0
                           ? "No findings"
                           : fmt::format("{}: {} confirmed, {} suspected, {}", Counted(all, "finding", "findings"),
                                         bySeverity[0], bySeverity[1], Counted(bySeverity[2], "reminder", "reminders"));
    if (trusted > 0) {
        line += fmt::format("; {} trusted", trusted);
    }
    line += fmt::format(". {} examined by {} on {}{}.", Counted(examined, "entity", "entities"),
                        Counted(report.rules.size(), "rule", "rules"), Counted(report.floors.size(), "floor", "floors"),
                        report.rules.size() > 1 ? ", counted once for each rule" : "");
    std::string out = "\n" + Toned(line, Tone::Strong, style) + "\n";
    for (const std::string& reason : report.incomplete) {
        out += Toned("Incomplete: ", Tone::Red, style) + Sanitised(reason) + "\n";
    }
    return out;
}

// The findings as a table with a heading; empty without findings.
std::string ListText(const RunReport& report, std::string_view title, const std::vector<FindingRecord>& findings,
                     const TextStyle& style) {
    Table table = FindingTable();
    for (const FindingRecord& finding : findings) {
        AddFinding(report, finding, table);
    }
    return findings.empty() ? "" : Heading(fmt::format("{} ({})", title, findings.size()), style) + table.ToText(style);
}

}  // namespace

std::string CheckText(const RunReport& report, const TextStyle& style, const TextContent& content) {
    std::string out = (style.brief ? "" : ModelText(report, style)) + FindingsText(report, style);
    if (!style.brief || content.allOutcomes) {
        out += OutcomesText(report, style, content.allOutcomes) + WithoutRuleText(report, style);
    }
    if (content.times == Times::Show) {
        out += TimesText(report, style);
    }
    if (!style.brief) {
        out += TotalsText(report, style);
    }
    return out + ChangesText(report, style) + AcceptancesText(report, style) + VerdictText(report, style);
}

std::string DiffText(const RunReport& report, const TextStyle& style) {
    const service::Comparison& comparison = *report.comparison;
    const auto chosen = [&](auto isChosen) {
        std::vector<FindingRecord> findings;
        std::copy_if(report.findings.begin(), report.findings.end(), std::back_inserter(findings), isChosen);
        return findings;
    };
    const auto findings = [&](service::Novelty novelty) {
        return chosen([&](const FindingRecord& finding) { return finding.novelty == novelty; });
    };
    const auto turned = [&](bool trusted) {
        return chosen([&](const FindingRecord& finding) { return finding.trustChanged && finding.trusted == trusted; });
    };
    const std::string head =
        fmt::format("Project  {}\nFrom     run {} of {}\nTo       run {} of {}\n", Sanitised(report.projectFolder),
                    comparison.run, comparison.startedAt, report.run, report.startedAt);
    return head + ListText(report, "New", findings(service::Novelty::New), style) +
           ListText(report, "Found where the earlier run did not look", findings(service::Novelty::Unknown), style) +
           ListText(report, "Gone", comparison.gone, style) +
           ListText(report, "Still there, trusted now", turned(true), style) +
           ListText(report, "Still there, no longer trusted", turned(false), style) +
           ListText(report, "Hidden, because a rule or sub-category is trusted now", comparison.hidden, style) + "\n" +
           Sentences(ChangeSentences(report), style) +
           Sentences(TrustSentences(turned(true).size(), turned(false).size()), style);
}

}  // namespace norvex::report
