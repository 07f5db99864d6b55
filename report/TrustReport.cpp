// SPDX-License-Identifier: Apache-2.0
#include "report/TrustReport.h"

#include <fmt/format.h>
#include <algorithm>
#include <string_view>

#include "report/DisplayText.h"
#include "report/Json.h"
#include "report/Table.h"

namespace norvex::report {
namespace {

using service::store::RunId;
using service::store::TrustEffect;
using service::store::TrustEntry;
using service::store::TrustKind;
using service::store::TrustListing;

std::string Counted(std::int64_t count, std::string_view one, std::string_view many) {
    return fmt::format("{} {}", count, count == 1 ? one : many);
}

Table::Cell StateCell(const TrustListing& listing, RunId lastRun) {
    if (listing.expired) {
        return {"EXPIRED", Tone::Red};
    }
    switch (listing.effect) {
        case TrustEffect::Hides: {
            const std::string findings = Counted(listing.findings, "finding", "findings");
            return {listing.lookedAtIn == lastRun ? "hides " + findings
                                                  : fmt::format("hid {} in run {}", findings, listing.lookedAtIn)};
        }
        case TrustEffect::Stale:
            return {"stale", Tone::Yellow};
        case TrustEffect::NotLookedAt:
            break;
    }
    return {"not looked at", Tone::Faint};
}

// Where a finding was found is worth knowing: its code says nothing to people.
std::string TargetLine(const TrustEntry& entry) {
    std::string target = service::store::TargetText(entry);
    if (entry.kind == TrustKind::Finding && !entry.floor.empty()) {
        target += fmt::format(" on floor \"{}\"", entry.floor);
    }
    return target;
}

std::string SummaryLine(const std::vector<TrustListing>& listings) {
    const auto expired =
        std::count_if(listings.begin(), listings.end(), [](const TrustListing& each) { return each.expired; });
    const auto stale = std::count_if(listings.begin(), listings.end(), [](const TrustListing& each) {
        return !each.expired && each.effect == TrustEffect::Stale;
    });
    std::string line = fmt::format("\n{} of trust: {} in force", Counted(std::ssize(listings), "entry", "entries"),
                                   std::ssize(listings) - expired);
    line += stale > 0 ? fmt::format(" ({} stale)", stale) : "";
    line += expired > 0 ? fmt::format(", {} expired", expired) : "";
    return line + (stale + expired > 0 ? "; norvex trust prune removes what is stale or expired.\n" : ".\n");
}

std::string_view KindName(TrustKind kind) {
    switch (kind) {
        case TrustKind::WholeRule:
            return "rule";
        case TrustKind::SubCategory:
            return "sub-category";
        case TrustKind::Finding:
            return "finding";
    }
    return "";
}

std::string_view StateName(const TrustListing& listing) {
    if (listing.expired) {
        return "expired";
    }
    switch (listing.effect) {
        case TrustEffect::Hides:
            return "hides";
        case TrustEffect::Stale:
            return "stale";
        case TrustEffect::NotLookedAt:
            return "not looked at";
    }
    return "";
}

}  // namespace

std::string TrustText(const std::vector<TrustListing>& listings, RunId lastRun, const TextStyle& style) {
    if (listings.empty()) {
        return "Nothing is trusted in this project.\n";
    }
    Table table({{"#", Table::Align::Right}, {"Now"}, {"Since"}, {"Until"}, {"Person"}, {"What is trusted"}});
    for (const TrustListing& listing : listings) {
        const TrustEntry& entry = listing.entry;
        table.AddRow(
            {{std::to_string(entry.id)},
             StateCell(listing, lastRun),
             {entry.addedOn},
             {entry.expiresOn.empty() ? "for good" : entry.expiresOn, listing.expired ? Tone::Red : Tone::Plain},
             {entry.person},
             {TargetLine(entry), Tone::Strong}});
        table.AddText("\"" + entry.reason + "\"");
    }
    std::string out = table.ToText(style) + SummaryLine(listings);
    for (const std::string& notice : service::store::TrustNotices(listings)) {
        for (const std::string& line : Wrapped(Sanitised(notice), style.width)) {
            out += Toned(line, Tone::Yellow, style) + "\n";
        }
    }
    return out;
}

std::string TrustJson(const std::vector<TrustListing>& listings, RunId lastRun) {
    Json entries = Json::array();
    for (const TrustListing& listing : listings) {
        const TrustEntry& entry = listing.entry;
        Json item{{"id", entry.id}, {"kind", KindName(entry.kind)}};
        for (const auto& [name, text] : {std::pair{"rule", &entry.rule},
                                         {"specialty", &entry.specialty},
                                         {"floor", &entry.floor},
                                         {"subCategory", &entry.subCategory},
                                         {"featureCode", &entry.featureCode},
                                         {"reason", &entry.reason},
                                         {"person", &entry.person},
                                         {"added", &entry.addedOn},
                                         {"expires", &entry.expiresOn}}) {
            if (!text->empty()) {
                item[name] = *text;
            }
        }
        item["state"] = StateName(listing);
        item["findings"] = listing.findings;
        item["countedInRun"] = listing.lookedAtIn;
        entries.push_back(std::move(item));
    }
    return DocumentText({{"format", "norvex-trust-list"},
                         {"version", 1},
                         {"lastCompleteRun", lastRun},
                         {"entries", std::move(entries)}});
}

}  // namespace norvex::report
