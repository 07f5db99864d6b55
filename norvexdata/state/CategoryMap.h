// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <set>
#include <vector>

#include "platform/text/CString.h"

class ZrOwEntity;

// The entities of one detail name, in the order in which they were collected. Records order and match by name alone, so
// that the vector may grow while the record is in a set. Entities are borrowed from the drawing.
struct SAttEntPtr {
    // Fourth component of the entities' attribute-name path.
    CString strDetailName;
    mutable std::vector<ZrOwEntity*> vecEntPtr;

    bool operator<(const SAttEntPtr& other) const { return strDetailName.Compare(other.strDetailName) < 0; }
};

// Category name to sub-category name to records, each level in the order of its names.
using CategoryMap = std::map<CString, std::map<CString, std::set<SAttEntPtr>>>;
