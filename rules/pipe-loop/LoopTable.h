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
    // What a person is to think of a loop in such a run: one sentence.
    CString advice;
};

using LoopTable = std::vector<LoopRow>;

// What holds without any configuration. Water supply branches and drainage are trees: water that can come round two
// ways stands still, and waste has no direction to fall. Fire mains and heating are built as rings on purpose, so a
// loop there is only to be looked at. Ducts and cables are not in it.
LoopTable BuiltInLoopTable();

}  // namespace norvex::pipe_loop
