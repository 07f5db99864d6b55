// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/text/CString.h"
#include "service/RunReport.h"

// The words in which the service speaks: the shared vocabulary's on one side, what people type and read on the other.

namespace norvex::service {

// The vocabulary's severity word as a value. An unknown word counts as confirmed, so that it hides nothing.
Severity SeverityOfWord(const CString& word);
// The vocabulary's word for it.
const CString& WordOfSeverity(Severity severity);
// "confirmed", "suspected" or "remind"; for programs and people alike.
std::string_view SeverityName(Severity severity);
std::string_view OutcomeName(Outcome outcome);
// "new" or "persisting"; empty when there was nothing to compare with.
std::string_view NoveltyName(Novelty novelty);
// "hides", "stale", "not looked at" or "expired".
std::string_view AcceptanceStateName(AcceptanceState state);

// The five specialties, in the order in which a run takes them.
const std::vector<CString>& Specialties();
// English gloss of a specialty word, such as "water"; empty for any other word.
std::string_view SpecialtyGloss(std::string_view specialty);
// A specialty word, or its gloss in any letter case, as the specialty word; nothing for anything else.
std::optional<std::string> SpecialtyOf(std::string_view typed);

// Same text but for the case of A to Z.
bool EqualsIgnoringCase(std::string_view left, std::string_view right);
// The texts, joined by ", ".
std::string Joined(const std::vector<std::string>& texts);

}  // namespace norvex::service
