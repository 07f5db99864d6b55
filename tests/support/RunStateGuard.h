// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "norvexdata/entities/GetZrOwEntityPtrVec.h"
#include "norvexdata/state/NorvexData.h"
#include "platform/arx/AcDbDatabase.h"

#include <map>
#include <set>
#include <vector>

namespace norvex::test {

// Puts the check-run state of the process and the working database back as they were when it was made, and drops the
// entity collection. For tests that share a process.
class RunStateGuard {
  public:
    RunStateGuard() = default;
    RunStateGuard(const RunStateGuard&) = delete;
    RunStateGuard& operator=(const RunStateGuard&) = delete;
    ~RunStateGuard() {
        CGetZrOwEntityPtrVec::Delete();
        acdbHostApplicationServices()->setWorkingDatabase(m_database);
        CNorvexData::s_pINorvexService = m_service;
        CNorvexData::s_strFloorVec = m_floors;
        CNorvexData::s_strCurCategory = m_category;
        CNorvexData::s_strCurFloor = m_floor;
        CNorvexData::s_strCurSpec = m_specialty;
        CNorvexData::s_strSmallMemMap = m_selection;
        CNorvexData::s_CheckStateMap = m_states;
        CNorvexData::s_sSubCategoryMap = m_subCategories;
        CNorvexData::s_iCurRuleNum = m_currentRule;
        CNorvexData::s_iTotalRuleNum = m_totalRules;
        CNorvexData::s_bCheckFinish = m_isFinished;
    }

  private:
    AcDbDatabase* m_database = acdbHostApplicationServices()->workingDatabase();
    INorvexService* m_service = CNorvexData::s_pINorvexService;
    std::vector<CString> m_floors = CNorvexData::s_strFloorVec;
    CString m_category = CNorvexData::s_strCurCategory;
    CString m_floor = CNorvexData::s_strCurFloor;
    CString m_specialty = CNorvexData::s_strCurSpec;
    std::map<CString, std::set<CString>> m_selection = CNorvexData::s_strSmallMemMap;
    std::map<CString, NS_NORVEX::CategoryCheckState> m_states = CNorvexData::s_CheckStateMap;
    std::map<CString, std::set<SSubCategory>> m_subCategories = CNorvexData::s_sSubCategoryMap;
    int m_currentRule = CNorvexData::s_iCurRuleNum;
    int m_totalRules = CNorvexData::s_iTotalRuleNum;
    bool m_isFinished = CNorvexData::s_bCheckFinish;
};

}  // namespace norvex::test
