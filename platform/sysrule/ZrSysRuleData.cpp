// SPDX-License-Identifier: Apache-2.0
#include "platform/sysrule/ZrSysRuleData.h"

#include "platform/datamng/ProjectData.h"

bool CFaceSysRule::GetCalItemsSet(const CString& path, CStringArray& first, CStringArray& second) const {
    first.RemoveAll();
    second.RemoveAll();
    const auto& items = norvex::datamng::GetCurrentProject().CalculationItems();
    const auto found = items.find(path);
    if (found == items.end()) {
        return false;
    }
    for (const auto& item : found->second) {
        first.Add(item.name);
        first.Add(item.flag);
        second.Add(item.name);
    }
    return true;
}
