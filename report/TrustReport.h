// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "report/TextStyle.h"
#include "service/store/TrustRecords.h"

namespace norvex::report {

// What a project's users have accepted, and what each of it does now. lastRun is the last complete run over the whole
// project, 0 when there is none: what was counted in an older one is said to be so.

// A table for a person, with a sentence for each entry that has expired or is stale; one sentence when nothing is
// trusted.
std::string TrustText(const std::vector<service::store::TrustListing>& listings, service::store::RunId lastRun,
                      const TextStyle& style);

// The same for programs; docs/project-database.md describes it.
std::string TrustJson(const std::vector<service::store::TrustListing>& listings, service::store::RunId lastRun);

}  // namespace norvex::report
