// SPDX-License-Identifier: Apache-2.0
#include "service/Words.h"

#include <algorithm>
#include <array>
#include <utility>

#include "norvexdata/state/Vocabulary.h"
#include "platform/text/Utf8.h"

namespace norvex::service {
namespace {

struct SpecialtyWord {
    const CString& word;
    std::string_view gloss;
};

const std::array<SpecialtyWord, 5>& SpecialtyWords() {
    static const std::array<SpecialtyWord, 5> words{{{STR_SPEC_WATER, "water"},
                                                     {STR_SPEC_FIRE_PROTECTION, "fire"},
                                                     {STR_SPEC_HVAC, "hvac"},
                                                     {STR_SPEC_ELECTRICAL, "electrical"},
                                                     {STR_SPEC_LOW_VOLTAGE, "low-voltage"}}};
    return words;
}

char LowerCase(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

}  // namespace

Severity SeverityOfWord(const CString& word) {
    if (word == STR_ERR_SUSPECTED) {
        return Severity::Suspected;
    }
    return word == STR_ERR_REMIND ? Severity::Remind : Severity::Confirmed;
}

const CString& WordOfSeverity(Severity severity) {
    switch (severity) {
        case Severity::Suspected:
            return STR_ERR_SUSPECTED;
        case Severity::Remind:
            return STR_ERR_REMIND;
        case Severity::Confirmed:
            break;
    }
    return STR_ERR_CONFIRMED;
}

std::string_view SeverityName(Severity severity) {
    switch (severity) {
        case Severity::Confirmed:
            return "confirmed";
        case Severity::Suspected:
            return "suspected";
        case Severity::Remind:
            return "remind";
    }
    return "";
}

std::string_view OutcomeName(Outcome outcome) {
    switch (outcome) {
        case Outcome::Passed:
            return "passed";
        case Outcome::Failed:
            return "failed";
        case Outcome::NotApplicable:
            return "not applicable";
        case Outcome::Skipped:
            return "skipped";
        case Outcome::Crashed:
            return "crashed";
        case Outcome::Cancelled:
            return "cancelled";
    }
    return "";
}

std::string_view NoveltyName(Novelty novelty) {
    switch (novelty) {
        case Novelty::Unknown:
            return "";
        case Novelty::New:
            return "new";
        case Novelty::Persisting:
            return "persisting";
    }
    return "";
}

std::string_view AcceptanceStateName(AcceptanceState state) {
    switch (state) {
        case AcceptanceState::Hides:
            return "hides";
        case AcceptanceState::Stale:
            return "stale";
        case AcceptanceState::NotLookedAt:
            return "not looked at";
        case AcceptanceState::Expired:
            return "expired";
    }
    return "";
}

const std::vector<CString>& Specialties() {
    static const std::vector<CString> specialties = [] {
        std::vector<CString> words;
        for (const SpecialtyWord& entry : SpecialtyWords()) {
            words.push_back(entry.word);
        }
        return words;
    }();
    return specialties;
}

std::string_view SpecialtyGloss(std::string_view specialty) {
    for (const SpecialtyWord& entry : SpecialtyWords()) {
        if (text::ToUtf8(entry.word) == specialty) {
            return entry.gloss;
        }
    }
    return "";
}

std::optional<std::string> SpecialtyOf(std::string_view typed) {
    for (const SpecialtyWord& entry : SpecialtyWords()) {
        const std::string word = text::ToUtf8(entry.word);
        if (word == typed || EqualsIgnoringCase(entry.gloss, typed)) {
            return word;
        }
    }
    return std::nullopt;
}

bool EqualsIgnoringCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char one, char other) { return LowerCase(one) == LowerCase(other); });
}

std::string Joined(const std::vector<std::string>& texts) {
    std::string joined;
    for (const std::string& text : texts) {
        joined += (joined.empty() ? "" : ", ") + text;
    }
    return joined;
}

}  // namespace norvex::service
