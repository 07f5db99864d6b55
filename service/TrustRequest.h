// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/datamng/ProjectData.h"
#include "service/RunReport.h"
#include "service/store/ProjectStore.h"

namespace norvex::service {

// What a person wants to accept, in the words that they type. Text is UTF-8.
struct TrustRequest {
    // A rule by name or short name, a specialty by word or gloss; the floor as a report shows it. Floor and
    // sub-category go together.
    std::optional<std::string> rule;
    std::optional<std::string> specialty;
    std::optional<std::string> floor;
    std::optional<std::string> subCategory;
    // In place of all of them: the number of a finding in the report of the last run, or its feature code, of which the
    // beginning is enough as long as no other finding's code begins so.
    std::optional<std::string> finding;
    std::string reason;
    std::string person;
    // A day, "2026-03-01"; empty: for good.
    std::string expiresOn;
};

// The names that there are in a project. An empty list means that they are not known, and that any name will do.
struct TrustNames {
    struct Rule {
        std::string name;
        std::string shortName;  // empty when the rule's module is not at hand
    };
    std::vector<Rule> rules;
    std::vector<std::string> specialties;
    std::vector<std::string> floors;
    std::vector<std::string> subCategories;  // of components
};

// What is known: the rules at hand and those of the last run, the floors of the last run and of the last one over the
// whole model, the categories of the project's data. Errors: those of the store.
store::Result<TrustNames> NamesFor(store::ProjectStore& project, const std::vector<RuleRecord>& rules,
                                   const datamng::ProjectData& data);

struct RequestedTrust {
    store::TrustEntry entry;
    // Of a finding: what it says; empty otherwise.
    std::string sentence;
};

// The entry that a request means, not stored yet; the store judges reason, person and days. Errors: InvalidInput with
// one sentence, and the names that exist where one does not; those of the store.
store::Result<RequestedTrust> ReadTrustRequest(const TrustRequest& request, const TrustNames& names,
                                               store::ProjectStore& project);

}  // namespace norvex::service
