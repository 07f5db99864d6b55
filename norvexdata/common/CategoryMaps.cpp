// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/common/ComMethod.h"
#include "norvexdata/state/NorvexData.h"
#include "platform/datamng/ZrOwDataMng.h"
#include "platform/sysrule/ZrSysRuleData.h"
#include "platform/text/CodePage.h"

namespace {

using norvex::text::NarrowToWide;
using ZrOwDataMng::BigCategoryId;
using ZrOwDataMng::CAtt;
using ZrOwDataMng::SmallCategoryId;

// Stands for everything in a choice list.
const CString kEverything = u"*";

void InsertAllSmallCategories(BigCategoryId bigCategory, std::set<CString>& names) {
    std::vector<SmallCategoryId> smallCategories;
    CAtt::GetAllSmallCategoryIdsByBigCategory(bigCategory, smallCategories);
    for (const SmallCategoryId smallCategory : smallCategories) {
        names.insert(CAtt::GetSmallCategoryName(smallCategory));
    }
}

// An entry that the selection already has stays as it is; an empty set is left out.
void InsertIfAny(SelectionMap& selection, const CString& category, std::set<CString> names) {
    if (!names.empty()) {
        selection.emplace(category, std::move(names));
    }
}

void SelectEverything(SelectionMap& output, const CategoryMap& categoryMap) {
    ZrOwDataMng::SpecId spec = 0;
    ZrOwDataMng::SpecNameToId(CNorvexData::s_strCurSpec, spec);
    std::vector<BigCategoryId> bigCategories;
    CAtt::GetAllBigCategoryIdsBySpec(spec, bigCategories);
    for (const BigCategoryId bigCategory : bigCategories) {
        const CString name = CAtt::GetBigCategoryName(bigCategory);
        if (categoryMap.count(name) == 0) {
            continue;
        }
        std::set<CString> smallCategories;
        InsertAllSmallCategories(bigCategory, smallCategories);
        InsertIfAny(output, name, std::move(smallCategories));
    }
}

void SelectComponent(SelectionMap& output, const CategoryMap& categoryMap, const NS_NORVEX::ComponentInfo& component) {
    const CString category = NarrowToWide(component.strName);
    if (categoryMap.count(category) == 0) {
        return;
    }
    std::set<CString> names;
    for (const std::string& narrowItem : component.aryItems) {
        const CString item = NarrowToWide(narrowItem);
        if (item == kEverything) {
            BigCategoryId bigCategory = 0;
            ZrOwDataMng::BigCategoryNameToId(CNorvexData::s_strCurSpec + u":" + category, bigCategory);
            InsertAllSmallCategories(bigCategory, names);
        } else {
            names.insert(item);
        }
    }
    InsertIfAny(output, category, std::move(names));
}

}  // namespace

void CComMethod::ConvertBigMemMap(std::map<CString, std::set<CString>>& output, const CategoryMap& categoryMap,
                                  const CZRArray<NS_NORVEX::ComponentInfo>& choice) {
    if (choice.length() == 1 && NarrowToWide(choice[0].strName) == kEverything) {
        SelectEverything(output, categoryMap);
        return;
    }
    for (const NS_NORVEX::ComponentInfo& component : choice) {
        SelectComponent(output, categoryMap, component);
    }
}

void CComMethod::FilterBigMemMap(std::map<CString, std::set<CString>>& output,
                                 const std::map<CString, std::set<CString>>& input, const CString& prefix,
                                 const std::set<CString>& selectedItems) {
    for (const auto& [category, subCategories] : input) {
        std::set<CString> kept;
        for (const CString& subCategory : subCategories) {
            if (IsSelectedCalItem(prefix + u"\\" + category + u"\\" + subCategory, selectedItems)) {
                kept.insert(kept.end(), subCategory);
            }
        }
        InsertIfAny(output, category, std::move(kept));
    }
}

bool CComMethod::IsSelectedCalItem(const CString& itemPath, const std::set<CString>& selectedItems) {
    // An item's name, its flag, the next item's name and so on; a name without a flag at the end does not count.
    CStringArray namesAndFlags;
    CStringArray unused;
    CFaceSysRule().GetCalItemsSet(itemPath, namesAndFlags, unused);
    for (int index = 0; index + 1 < namesAndFlags.GetSize(); index += 2) {
        if (selectedItems.count(namesAndFlags[index]) != 0) {
            return namesAndFlags[index + 1] == u"0";
        }
    }
    return false;
}

void CComMethod::GetEntPtrVecByBigMemMap(std::vector<ZrOwEntity*>& output,
                                         const std::map<CString, std::set<CString>>& selection,
                                         const CategoryMap& categoryMap) {
    for (const auto& [category, subCategories] : selection) {
        const auto foundCategory = categoryMap.find(category);
        if (foundCategory == categoryMap.end()) {
            continue;
        }
        for (const CString& subCategory : subCategories) {
            const auto records = foundCategory->second.find(subCategory);
            if (records == foundCategory->second.end()) {
                continue;
            }
            for (const SAttEntPtr& record : records->second) {
                output.insert(output.end(), record.vecEntPtr.begin(), record.vecEntPtr.end());
            }
        }
    }
}
