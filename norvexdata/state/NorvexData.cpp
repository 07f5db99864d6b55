// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/state/NorvexData.h"

#include <cstddef>
#include <limits>

#include "norvexdata/state/Vocabulary.h"
#include "norvexdata/state/detail/Arithmetic.h"
#include "platform/text/CodePage.h"

using norvex::state::WrappingAdd;
using norvex::text::NarrowToWide;
using norvex::text::WideToNarrow;

// A second copy of the module in the process, such as one that a rule package brings along, finds its names bound to
// the objects of the first. "inline" makes the compiler guard each object by a flag that is bound in the same way, so
// that the first copy alone constructs and destroys. What a constant initialises needs no guard.
INorvexService* CNorvexData::s_pINorvexService = nullptr;
[[gnu::used]] inline std::vector<CString> CNorvexData::s_strFloorVec;
[[gnu::used]] inline CString CNorvexData::s_strCurCategory;
[[gnu::used]] inline CString CNorvexData::s_strCurFloor;
[[gnu::used]] inline CString CNorvexData::s_strCurSpec;
[[gnu::used]] inline std::map<CString, std::set<CString>> CNorvexData::s_strSmallMemMap;
[[gnu::used]] inline std::map<CString, NS_NORVEX::CategoryCheckState> CNorvexData::s_CheckStateMap;
[[gnu::used]] inline std::map<CString, std::set<SSubCategory>> CNorvexData::s_sSubCategoryMap;
int CNorvexData::s_iCurRuleNum = 0;
int CNorvexData::s_iTotalRuleNum = 0;
bool CNorvexData::s_bCheckFinish = false;

namespace {

using NS_NORVEX::CategoryCheckState;

void Add(std::int32_t& total, std::int32_t count) {
    total = WrappingAdd(total, count);
}

// Returns: 1 when the sub-category had no errors before, else 0.
std::int32_t CountSubCategory(const CString& category, const CString& subCategory, std::int32_t errorCount) {
    std::set<SSubCategory>& counted = CNorvexData::s_sSubCategoryMap[category];
    const auto [entry, isNew] = counted.insert({subCategory, errorCount});
    if (!isNew) {
        Add(entry->iCount, errorCount);
    }
    return isNew ? 1 : 0;
}

// Where a category's first report counts its errors: every word but two means confirmed.
std::int32_t& FirstReportCount(CategoryCheckState& state, const CString& severity) {
    if (severity == STR_ERR_SUSPECTED) {
        return state.iSuspectedNum;
    }
    return severity == STR_ERR_REMIND ? state.iRemindNum : state.iConfirmedNum;
}

// Where a later report counts them; null for an unknown word, which counts nowhere.
std::int32_t* LaterReportCount(CategoryCheckState& state, const CString& severity) {
    if (severity == STR_ERR_CONFIRMED) {
        return &state.iConfirmedNum;
    }
    if (severity == STR_ERR_SUSPECTED) {
        return &state.iSuspectedNum;
    }
    return severity == STR_ERR_REMIND ? &state.iRemindNum : nullptr;
}

// Gives a list room for `count` more entries, as many growth steps as appending them one by one would take: a step is
// short, and each takes the whole list to another place.
void MakeRoom(CZRArray<NS_NORVEX::RuleErrorInfo>& list, std::size_t count) {
    const std::size_t wanted = static_cast<std::size_t>(list.length()) + count;
    const auto room = static_cast<std::size_t>(list.physicalLength());
    const auto step = static_cast<std::size_t>(list.growLength());
    const std::size_t steps = wanted > room ? (wanted - room + step - 1) / step : 0;
    const std::size_t grown = room + steps * step;
    if (steps > 0 && grown <= static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        list.setPhysicalLength(static_cast<int>(grown));
    }
}

}  // namespace

void CNorvexData::SetNorvexService(INorvexService* service) {
    s_pINorvexService = service;
}

INorvexService* CNorvexData::GetNorvexService() {
    return s_pINorvexService;
}

void CNorvexData::GetCheckRegion(const std::vector<std::string>& floors,
                                 const std::vector<NS_NORVEX::ComponentInfo>& components) {
    s_strFloorVec.clear();
    for (const std::string& floor : floors) {
        s_strFloorVec.push_back(NarrowToWide(floor));
    }
    s_strSmallMemMap.clear();
    for (const NS_NORVEX::ComponentInfo& component : components) {
        std::set<CString> subCategories;
        for (const std::string& item : component.aryItems) {
            subCategories.insert(NarrowToWide(item));
        }
        s_strSmallMemMap.emplace(NarrowToWide(component.strName), std::move(subCategories));
    }
}

void CNorvexData::SetCheckingState(const CString& category, NS_NORVEX::CategoryStatus state) {
    const auto found = s_CheckStateMap.find(category);
    if (found != s_CheckStateMap.end()) {
        found->second.eStatus = state;
    }
}

void CNorvexData::GetRunTimeCheckState(std::vector<NS_NORVEX::CategoryCheckState>& out) {
    out.clear();
    for (const auto& [category, stored] : s_CheckStateMap) {
        CategoryCheckState& shown = out.emplace_back(stored);
        if (shown.eStatus == NS_NORVEX::eCategoryNotChecked && NarrowToWide(shown.strCategory) == s_strCurCategory) {
            shown.eStatus = NS_NORVEX::eCategoryChecking;
        }
    }
}

void CNorvexData::ClearCheckData() {
    s_iCurRuleNum = 0;
    s_iTotalRuleNum = 0;
    s_strFloorVec.clear();
    s_CheckStateMap.clear();
    s_strSmallMemMap.clear();
    s_sSubCategoryMap.clear();
    s_strCurCategory.Empty();
    s_bCheckFinish = false;
}

void CNorvexData::AddCheckResultCount(const CString& category, const CString& subCategory, const CString& severity,
                                      int errorCount, int checkCount) {
    const std::int32_t newSubCategories = errorCount > 0 ? CountSubCategory(category, subCategory, errorCount) : 0;
    const auto [entry, isNew] = s_CheckStateMap.try_emplace(category);
    CategoryCheckState& state = entry->second;
    if (isNew) {
        state.strCategory = WideToNarrow(category);
        FirstReportCount(state, severity) = errorCount;
    } else if (std::int32_t* const count = LaterReportCount(state, severity)) {
        Add(*count, errorCount);
    }
    Add(state.iCheckNum, checkCount);
    Add(state.iErrSubCategoryNum, newSubCategories);
}

void CNorvexData::GetCheckResultCount(int& errors, int& checks) {
    errors = 0;
    checks = 0;
    for (const auto& [category, state] : s_CheckStateMap) {
        Add(errors, state.iConfirmedNum);
        Add(errors, state.iSuspectedNum);
        Add(errors, state.iRemindNum);
        Add(checks, state.iCheckNum);
    }
}

void CNorvexData::GetAllCheckResultCount(int& confirmed, int& checks) {
    confirmed = 0;
    checks = 0;
    for (const auto& [category, state] : s_CheckStateMap) {
        Add(confirmed, state.iConfirmedNum);
        Add(checks, state.iCheckNum);
    }
}

bool CNorvexData::IsExistCheckErrorCount(const CString& category) {
    const auto found = s_CheckStateMap.find(category);
    return found != s_CheckStateMap.end() && found->second.iConfirmedNum == 0;
}

int CNorvexData::GetCheckRuleRate() {
    return norvex::state::ProgressPercent(s_iCurRuleNum, s_iTotalRuleNum);
}

void CNorvexData::GetSubCategoryAry(CZRArray<NS_NORVEX::RuleErrorInfo>& out) {
    std::size_t count = 0;
    for (const auto& [category, counted] : s_sSubCategoryMap) {
        count += counted.size();
    }
    MakeRoom(out, count);
    for (const auto& [category, counted] : s_sSubCategoryMap) {
        const std::string narrowCategory = WideToNarrow(category);
        for (const SSubCategory& subCategory : counted) {
            out.append({narrowCategory, WideToNarrow(subCategory.strName), subCategory.iCount});
        }
    }
}
