// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "norvexdata/Export.h"
#include "norvexdata/config/ConfigParser.h"

#include <map>
#include <set>

// Which equipment and which pipes meet at flanges, from the section of "CCheckLayoutFlange". Every query walks the
// document again.
class NORVEXDATA_API CheckLayoutFlangConfigParser : public ConfigParser {
  public:
    // Kind of equipment. Any other value selects nothing.
    enum EqipmentType : int { eEquipment = 0, eWaterbox = 1 };

    // Category to sub-categories, for the equipment and for the pipes.
    struct AttItem {
        std::map<CString, std::set<CString>> mapEquipment;
        std::map<CString, std::set<CString>> mapPipe;
    };

    CheckLayoutFlangConfigParser();

    // The groups of the selector under the first element of the kind. Of several groups of one name the last one
    // counts. "*" expands below the selector.
    AttItem GetAttItem(EqipmentType kind, const CString& selector);
};
