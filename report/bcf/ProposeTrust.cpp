// SPDX-License-Identifier: Apache-2.0
#include "report/bcf/ProposeTrust.h"

#include <fmt/format.h>
#include <algorithm>
#include <set>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "report/bcf/Identity.h"
#include "report/bcf/Topics.h"
#include "service/Words.h"
#include "service/store/Clock.h"

namespace norvex::report::bcf {
namespace {

using service::store::StoredFinding;
using service::store::TrustEntry;

constexpr std::size_t kDigits = 32;
constexpr std::size_t kDay = 10;

// Runs of blanks and line breaks become one blank: a reason is shown on one line.
std::string OnOneLine(std::string_view text) {
    std::string line;
    for (const char c : text) {
        const bool isBlank = c == ' ' || c == '\t' || c == '\r' || c == '\n';
        if (!isBlank) {
            line += c;
        } else if (!line.empty() && line.back() != ' ') {
            line += ' ';
        }
    }
    return line;
}

bool IsHexadecimal(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
}

// Texts of the form of a feature code: "_" and 32 lower-case hexadecimal digits.
void AddCodes(std::string_view text, std::vector<std::string>& codes) {
    for (std::size_t at = text.find('_'); at != std::string_view::npos; at = text.find('_', at + 1)) {
        const std::string_view digits = text.substr(at + 1, kDigits);
        const bool isWhole = at + 1 + kDigits >= text.size() || !IsHexadecimal(text[at + 1 + kDigits]);
        if (digits.size() == kDigits && isWhole && std::all_of(digits.begin(), digits.end(), IsHexadecimal)) {
            codes.emplace_back(text.substr(at, 1 + kDigits));
        }
    }
}

class Proposer {
  public:
    Proposer(const std::vector<StoredFinding>& findings, const service::store::TrustView& inForce,
             const ProposalRequest& request)
        : m_inForce(inForce), m_request(request) {
        for (const StoredFinding& stored : findings) {
            Known& known = m_known[stored.finding.featureCode];
            known.finding = known.finding == nullptr ? &stored : known.finding;
            // Those of an older run are the same ones again.
            known.count = std::max(known.count, static_cast<std::size_t>(std::max(stored.occurrence, 0)) + 1);
            m_byGuid.emplace(
                TopicGuid(stored.finding.featureCode, static_cast<std::size_t>(std::max(stored.occurrence, 0))),
                stored.finding.featureCode);
        }
    }

    Proposals Propose(const std::vector<ReadTopic>& topics) {
        for (const ReadTopic& topic : topics) {
            const bool isAccepted = std::any_of(
                m_request.statuses.begin(), m_request.statuses.end(),
                [&](const std::string& status) { return service::EqualsIgnoringCase(status, topic.status); });
            if (isAccepted) {
                ProposeFor(topic);
            } else {
                ++m_result.open;
            }
        }
        return std::move(m_result);
    }

  private:
    struct Known {
        const StoredFinding* finding = nullptr;
        std::size_t count = 0;
    };

    void LeaveOut(const ReadTopic& topic, const std::string& why) {
        m_result.leftOut.push_back(fmt::format("\"{}\": {}.", OnOneLine(topic.title), why));
    }

    std::vector<std::string> CodesOf(const ReadTopic& topic) const {
        if (const auto found = m_byGuid.find(topic.guid); found != m_byGuid.end()) {
            return {found->second};
        }
        std::vector<std::string> codes;
        for (const std::string& label : topic.labels) {
            AddCodes(label, codes);
        }
        for (const std::string& reference : topic.references) {
            AddCodes(reference, codes);
        }
        AddCodes(topic.title, codes);
        AddCodes(topic.description, codes);
        return codes;
    }

    void ProposeFor(const ReadTopic& topic) {
        const std::vector<std::string> all = CodesOf(topic);
        std::vector<std::string> codes;
        std::unordered_set<std::string_view> taken;
        for (const std::string& code : all) {
            if (m_known.contains(code) && taken.insert(code).second) {
                codes.push_back(code);
            }
        }
        if (codes.empty()) {
            LeaveOut(topic, all.empty() ? "it is about no finding of this project's last run"
                                        : "what it is about was not found by this project's last run");
            return;
        }
        const std::size_t trusted = static_cast<std::size_t>(std::count_if(
            codes.begin(), codes.end(), [&](const std::string& code) { return m_inForce.IsFindingTrusted(code); }));
        m_result.trusted += trusted;
        if (trusted == codes.size()) {
            return;
        }
        TrustEntry entry;
        if (IsUntouched(topic)) {
            LeaveOut(topic, "nobody has changed it since norvex wrote it");
            return;
        }
        if (!Explain(topic, entry)) {
            return;
        }
        for (const std::string& code : codes) {
            if (!m_inForce.IsFindingTrusted(code) && m_proposed.insert(code).second) {
                const Known& known = m_known.at(code);
                entry.featureCode = code;
                m_result.proposals.push_back({.title = OnOneLine(topic.title),
                                              .status = topic.status,
                                              .entry = entry,
                                              .sentence = known.finding->finding.sentence,
                                              .findings = known.count,
                                              .topicFindings = codes.size()});
            }
        }
    }

    // What we closed ourselves, because it was trusted, says nothing of what a person wants now.
    static bool IsUntouched(const ReadTopic& topic) {
        const std::int64_t written = MomentOf(topic.modifiedDate);
        return topic.modifiedAuthor == kAuthor &&
               std::none_of(topic.comments.begin(), topic.comments.end(),
                            [&](const ReadComment& comment) { return MomentOf(comment.date) > written; });
    }

    // Who accepted it, why and when. Returns false, having noted why, when the topic does not say.
    bool Explain(const ReadTopic& topic, TrustEntry& entry) {
        const auto comment = std::find_if(topic.comments.rbegin(), topic.comments.rend(),
                                          [](const ReadComment& each) { return !each.text.empty(); });
        std::string date = topic.modifiedDate;
        if (comment != topic.comments.rend()) {
            entry.reason = OnOneLine(comment->text);
            entry.person = OnOneLine(comment->author.empty() ? topic.modifiedAuthor : comment->author);
            date = comment->date;
        } else if (!m_request.reason.empty()) {
            entry.reason = m_request.reason;
        } else {
            LeaveOut(topic, "no comment says why it was accepted; --reason gives a reason");
            return false;
        }
        if (entry.person.empty()) {
            entry.person = m_request.person;
        }
        if (entry.person.empty()) {
            LeaveOut(topic, "nobody is named who accepted it; --person names one");
            return false;
        }
        const std::string day = date.substr(0, kDay);
        // A day to come is a clock gone wrong.
        entry.addedOn = service::store::IsDate(day) && day <= m_request.today ? day : m_request.today;
        return true;
    }

    const service::store::TrustView& m_inForce;
    const ProposalRequest& m_request;
    std::unordered_map<std::string, Known> m_known;         // by feature code
    std::unordered_map<std::string, std::string> m_byGuid;  // feature codes by the GUIDs of their topics
    std::set<std::string> m_proposed;
    Proposals m_result;
};

}  // namespace

const std::vector<std::string>& AcceptedStatuses() {
    static const std::vector<std::string> statuses{"Closed", "Accepted", "Approved", "Won't fix"};
    return statuses;
}

Proposals ProposeTrust(const std::vector<ReadTopic>& topics, const std::vector<StoredFinding>& findings,
                       const service::store::TrustView& inForce, const ProposalRequest& request) {
    return Proposer(findings, inForce, request).Propose(topics);
}

}  // namespace norvex::report::bcf
