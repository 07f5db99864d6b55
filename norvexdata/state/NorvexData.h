// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "norvexdata/Export.h"
#include "norvexdata/state/Records.h"
#include "platform/text/CString.h"

class INorvexService;

// The one check-run state of the process. Plain data without locks: callers that share it between threads serialise
// their calls. Maps and sets order names by code unit and match them exactly.
class NORVEXDATA_API CNorvexData {
  public:
    // The check service; borrowed, null until set.
    static void SetNorvexService(INorvexService* service);
    static INorvexService* GetNorvexService();

    // Sets the scope of a run: its floors, in the given order with duplicates, and its selection map. Where two
    // components share a name, the first one counts.
    static void GetCheckRegion(const std::vector<std::string>& floors,
                               const std::vector<NS_NORVEX::ComponentInfo>& components);
    // Sets the state of a category that was reported before; does nothing for any other.
    static void SetCheckingState(const CString& category, NS_NORVEX::CategoryStatus state);
    // Replaces out by a copy of every category's state, in the order of the names. The current category shows state 1
    // while its stored state is 0.
    static void GetRunTimeCheckState(std::vector<NS_NORVEX::CategoryCheckState>& out);
    // Resets what belongs to one run. The service, the current floor and specialty and all of CThreadManagement stay.
    static void ClearCheckData();

    // Counts what a rule found and looked at. A severity that is none of the three words counts as confirmed when it is
    // the first report of its category, and not at all later. Counts wrap at 32 bits.
    static void AddCheckResultCount(const CString& category, const CString& subCategory, const CString& severity,
                                    int errorCount, int checkCount);
    // Errors of all severities, and checks, over all categories.
    static void GetCheckResultCount(int& errors, int& checks);
    // Confirmed errors, and checks, over all categories.
    static void GetAllCheckResultCount(int& confirmed, int& checks);
    // True for a category that was reported and has exactly 0 confirmed errors.
    static bool IsExistCheckErrorCount(const CString& category);
    // Rules finished in percent of the rules in the run, in 32-bit arithmetic that wraps, truncated toward zero and not
    // limited to 100; 0 while the run has no rules.
    static int GetCheckRuleRate();
    // Appends one record for each category and sub-category with counted errors, in the order of the names.
    static void GetSubCategoryAry(CZRArray<NS_NORVEX::RuleErrorInfo>& out);

    static INorvexService* s_pINorvexService;
    static std::vector<CString> s_strFloorVec;
    // What is being checked now; written by callers.
    static CString s_strCurCategory;
    static CString s_strCurFloor;
    static CString s_strCurSpec;
    // Component category to the sub-categories to check.
    static std::map<CString, std::set<CString>> s_strSmallMemMap;
    static std::map<CString, NS_NORVEX::CategoryCheckState> s_CheckStateMap;
    static std::map<CString, std::set<SSubCategory>> s_sSubCategoryMap;
    // Progress; written by callers.
    static int s_iCurRuleNum;
    static int s_iTotalRuleNum;
    static bool s_bCheckFinish;
};
