// SPDX-License-Identifier: Apache-2.0
#include "report/FindingText.h"

#include <fmt/format.h>
#include <algorithm>
#include <string_view>
#include <vector>

#include "report/DisplayText.h"
#include "report/Table.h"
#include "service/Words.h"

namespace norvex::report {
namespace {

using service::FindingRecord;
using service::RunReport;

constexpr std::size_t kIndent = 2;

// Parts an empty line apart.
std::vector<std::string_view> Paragraphs(std::string_view text) {
    std::vector<std::string_view> paragraphs;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find("\n\n"), text.size());
        if (end > 0) {
            paragraphs.push_back(text.substr(0, end));
        }
        text.remove_prefix(std::min(end + 2, text.size()));
    }
    return paragraphs;
}

std::string Indented(std::string_view text, const TextStyle& style) {
    std::string out;
    const std::size_t width = style.width > 2 * kIndent ? style.width - kIndent : style.width;
    for (const std::string& line : Wrapped(Sanitised(text), width)) {
        out += std::string(kIndent, ' ') + line + "\n";
    }
    return out;
}

std::string Chapter(std::string_view title, const std::string& body, const TextStyle& style) {
    return body.empty() ? "" : "\n" + Toned(title, Tone::Strong, style) + "\n" + body;
}

std::string TextChapter(std::string_view title, std::string_view text, const TextStyle& style) {
    std::string body;
    for (const std::string_view paragraph : Paragraphs(text)) {
        body += Indented(paragraph, style);
    }
    return Chapter(title, body, style);
}

// "2026-03-01 08:30" of "2026-03-01T08:30:00Z".
std::string MinuteOf(std::string time) {
    constexpr std::size_t kMinute = std::string_view("2026-03-01T08:30").size();
    std::replace(time.begin(), time.end(), 'T', ' ');
    return time.substr(0, kMinute);
}

// "run 12 of 2026-03-01 08:30 UTC"; empty when nobody remembers the run.
std::string RunText(std::int64_t run, const std::string& startedAt) {
    if (run == 0) {
        return "";
    }
    return fmt::format("run {}", run) + (startedAt.empty() ? "" : fmt::format(" of {} UTC", MinuteOf(startedAt)));
}

std::string TitleText(const RunReport& report, const FindingRecord& finding, bool isGone) {
    const std::string run = isGone && report.comparison ? RunText(report.comparison->run, report.comparison->startedAt)
                                                        : RunText(report.run, report.startedAt);
    std::string title = finding.number > 0 ? fmt::format("Finding {}", finding.number) : std::string("Finding");
    return title + (run.empty() ? "" : " of " + run);
}

const service::RuleRecord* RuleOf(const RunReport& report, const FindingRecord& finding) {
    const auto found = std::find_if(report.rules.begin(), report.rules.end(),
                                    [&](const service::RuleRecord& rule) { return rule.name == finding.rule; });
    return found == report.rules.end() ? nullptr : &*found;
}

// Severity, kind of error and rule in one line.
std::string HeadText(const FindingRecord& finding, const service::RuleRecord* rule) {
    std::vector<std::string> parts{std::string(service::SeverityName(finding.severity))};
    for (const std::string& part : {finding.category, finding.subCategory}) {
        if (!part.empty()) {
            parts.push_back(part);
        }
    }
    const bool isNamed = rule != nullptr && !rule->shortName.empty();
    parts.push_back("rule " + (isNamed ? rule->shortName : finding.rule));
    return Sanitised(fmt::format("{}", fmt::join(parts, " · ")));
}

std::string WhereText(const FindingRecord& finding, const TextStyle& style) {
    const std::string_view gloss = service::SpecialtyGloss(finding.specialty);
    std::string line = "floor " + finding.floor + ", " + finding.specialty;
    line += gloss.empty() ? "" : fmt::format(" ({})", gloss);
    std::string text = Indented(line, style);
    if (finding.place) {
        // The sentence may name another point, such as the joint that it is about.
        text += Indented(fmt::format("middle of its objects: x {}, y {}, z {} m", MetresText(finding.place->x),
                                     MetresText(finding.place->y), MetresText(finding.place->z)),
                         style);
    }
    Table objects({{"Handle"}, {"GlobalId"}, {"Sub-category"}, {"Name"}});
    for (const service::FoundObject& object : finding.objects) {
        objects.AddRow({{object.handle}, {object.globalId}, {object.subCategory}, {object.name}});
    }
    return text + objects.ToText(style);
}

// Nothing when there was no run to compare with.
std::string NoveltyText(const RunReport& report, const FindingRecord& finding, bool isGone) {
    if (!report.comparison) {
        return "";
    }
    const std::string before = RunText(report.comparison->run, report.comparison->startedAt);
    if (isGone) {
        return fmt::format("Gone: {} looked and did not find it any more.", RunText(report.run, report.startedAt));
    }
    switch (finding.novelty) {
        case service::Novelty::New:
            return fmt::format("New: {} did not find it.", before);
        case service::Novelty::Persisting:
            return fmt::format("Persisting: {} found it too.", before);
        case service::Novelty::Unknown:
            return fmt::format("Nobody can tell whether it is new: {} did not look there.", before);
    }
    return "";
}

std::string AcceptanceText(const FindingRecord& finding) {
    const std::optional<service::Acceptance>& said = finding.trusted ? finding.acceptance : finding.expired;
    if (!said) {
        return finding.trusted ? "Accepted: it is shown, but it does not count." : "";
    }
    const service::Acceptance& acceptance = *said;
    std::string text = fmt::format("{} by {} on {} (trust {})", finding.trusted ? "Accepted" : "Was accepted",
                                   acceptance.person, acceptance.addedOn, acceptance.entry);
    if (!acceptance.expiresOn.empty()) {
        text += fmt::format(", {} {}", finding.trusted ? "until" : "which expired on", acceptance.expiresOn);
    }
    return text + ": " + acceptance.reason;
}

std::string StandingText(const RunReport& report, const FindingRecord& finding, bool isGone, const TextStyle& style) {
    std::string body;
    for (const std::string& sentence : {NoveltyText(report, finding, isGone), AcceptanceText(finding)}) {
        body += sentence.empty() ? "" : Indented(sentence, style);
    }
    return Chapter("How it stands", body, style);
}

// A line that is not wrapped, so that what it holds can be copied whole.
std::string WholeLine(const std::string& text) {
    return text.empty() ? "" : std::string(kIndent, ' ') + Sanitised(text) + "\n";
}

}  // namespace

std::string FindingText(const RunReport& report, const FindingRecord& finding, const FindingContext& context,
                        const TextStyle& style) {
    const service::RuleRecord* rule = RuleOf(report, finding);
    std::string out = Toned(TitleText(report, finding, context.isGone), Tone::Strong, style) + "\n";
    out += HeadText(finding, rule) + "\n";
    out += TextChapter("What", finding.sentence, style);
    out += TextChapter("Why the rule cares", rule == nullptr ? "" : rule->why, style);
    out += Chapter("Where", WhereText(finding, style), style);
    out += TextChapter("How to fix it", rule == nullptr ? "" : rule->howToFix, style);
    out += StandingText(report, finding, context.isGone, style);
    out += Chapter("How to accept it", WholeLine(context.trustCommand), style);
    out += Chapter("Location string", WholeLine(finding.location), style);
    out += Chapter("Feature code", WholeLine(finding.featureCode), style);
    return out;
}

std::string ShellWord(const std::string& text) {
    constexpr std::string_view kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-./:@%+=,";
    if (!text.empty() && text.find_first_not_of(kPlain) == std::string::npos) {
        return text;
    }
    std::string quoted = "'";
    for (const char character : text) {
        quoted += character == '\'' ? std::string("'\\''") : std::string(1, character);
    }
    return quoted + "'";
}

}  // namespace norvex::report
