// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/containers/CStringArray.h"
#include "platform/text/CString.h"

// The maker's system rule data. Answers from the current project (platform/datamng/ProjectData.h). Used from one thread
// at a time.
class NORVEX_PLATFORM_API CFaceSysRule {
  public:
    // Calculation items of the path specialty\category\sub-category, in their own order: first gets a name and its flag
    // in turn ("0": calculated), second the names alone. Both are replaced. Returns false, and leaves both empty, when
    // the path has no items.
    bool GetCalItemsSet(const CString& path, CStringArray& first, CStringArray& second) const;
};
