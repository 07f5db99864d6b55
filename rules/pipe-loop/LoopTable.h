// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "platform/text/CString.h"

namespace norvex::pipe_loop {

// One kind of run in which loops are looked for, and how severe one is there.
struct LoopRow {
    CString specialty;
    CString category;
    CString subCategory;
    CString severity;
};

using LoopTable = std::vector<LoopRow>;

// What holds without any configuration. Water supply branches and drainage are trees: water that can come round two
// ways stands still, and waste has no direction to fall. Fire mains and heating are built as rings on purpose, so a
// loop there is only to be looked at. Ducts and cables are not in it.
LoopTable BuiltInLoopTable();

// The rows of a specialty: from the configuration's section of CCheckPipeLoop when there is one, else built in. The
// section's group SPECIALTY says what is looked at; its group "severity" says how severe a loop is, by
// SPECIALTY\CATEGORY\SUB-CATEGORY, else by SPECIALTY\CATEGORY, else by SPECIALTY, else it is suspected.
LoopTable LoopTableOf(const CString& specialty);

// Specialties of the shared vocabulary in which the rule looks for loops.
std::vector<CString> CheckedSpecialties();

}  // namespace norvex::pipe_loop
