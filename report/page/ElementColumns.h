// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "report/page/Packer.h"
#include "report/page/PageModel.h"

namespace norvex::report::page {

// Packs the elements column by column: equal things next to each other shrink best.
void WriteElements(const PageModel& model, StringTable& texts, ByteWriter& out);

// A length in whole millimetres, held within +-2^31 so that the page can keep it in 32 bits.
std::int64_t Millimetres(double length);
// False for a place with a coordinate that is not finite.
bool IsFinite(const Point& point);
// The lowest corner of everything that has a place; the page keeps places relative to it. All zero without any.
Point Origin(const PageModel& model);

}  // namespace norvex::report::page
