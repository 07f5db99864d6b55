// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "report/page/PageModel.h"

#include <ostream>

namespace norvex::report::page {

// Writes one HTML file that needs nothing beside itself: no network, no other file. Same model, same bytes. Lengths are
// rounded to whole millimetres. Indices outside their lists count as kNoIndex; objects outside theirs are left out.
// Requires: every Finding and OutcomeRecord has a rule. Errors: the stream's state, after a write that failed.
void WritePage(const PageModel& model, std::ostream& out);

}  // namespace norvex::report::page
