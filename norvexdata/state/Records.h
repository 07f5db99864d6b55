// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "norvexdata/Export.h"
#include "platform/containers/CZRArray.h"
#include "platform/text/CString.h"

// Category name to the names of the sub-categories that are chosen in it. Also the form of configuration groups and
// trust maps.
using SelectionMap = std::map<CString, std::set<CString>>;

// One sub-category with the errors counted in it. Two elements of equal name are the same set element; the count takes
// no part in the order, so it may change while the element is in a set.
struct SSubCategory {
    CString strName;
    mutable std::int32_t iCount = 0;

    bool operator<(const SSubCategory& other) const { return strName < other.strName; }
};

namespace NS_NORVEX {

// Base of records that are copied without knowing their class.
class NORVEXDATA_API GenericType {
  public:
    virtual ~GenericType();
    // A new copy; the caller deletes it.
    virtual GenericType* Clone() const = 0;

  protected:
    GenericType() = default;
    GenericType(const GenericType&) noexcept = default;
    GenericType& operator=(const GenericType&) noexcept = default;
};

// Errors counted in one sub-category of one category. Narrow text is in the thread's ANSI code page, here and below.
class NORVEXDATA_API RuleErrorInfo : public GenericType {
  public:
    RuleErrorInfo() = default;
    RuleErrorInfo(const std::string& category, const std::string& subCategory, std::int32_t count)
        : strCategory(category), strSubCategory(subCategory), iCount(count) {}
    RuleErrorInfo(const RuleErrorInfo&) = default;
    RuleErrorInfo(RuleErrorInfo&&) noexcept = default;
    RuleErrorInfo& operator=(const RuleErrorInfo&) = default;
    RuleErrorInfo& operator=(RuleErrorInfo&&) noexcept = default;
    ~RuleErrorInfo() override;
    RuleErrorInfo* Clone() const override;

    std::string strCategory;
    std::string strSubCategory;
    std::int32_t iCount = 0;
};

// State of a category's check. Values beyond these two belong to the callers and are stored and reported as they are.
enum CategoryStatus : std::int32_t {
    // What a category gets when its entry is made.
    eCategoryNotChecked = 0,
    // What a snapshot reports for the current category while its stored state is still 0.
    eCategoryChecking = 1
};

// State and counts of one category.
struct CategoryCheckState {
    std::string strCategory;
    CategoryStatus eStatus = eCategoryNotChecked;
    // Sum of the check counts of every report.
    std::int32_t iCheckNum = 0;
    // Errors of severity "ERR_CONFIRMED".
    std::int32_t iConfirmedNum = 0;
    // Distinct sub-categories that received a positive error count.
    std::int32_t iErrSubCategoryNum = 0;
    // Errors of severity "ERR_SUSPECTED".
    std::int32_t iSuspectedNum = 0;
    // Errors of severity "ERR_REMIND".
    std::int32_t iRemindNum = 0;
};

// A component category, or a floor, with the sub-category names listed for it.
struct ComponentInfo {
    std::string strName;
    CZRArray<std::string> aryItems;
};

// How much of a rule the user has trusted.
enum TrustStatus : std::int32_t {
    // Nothing: every item takes part in the check.
    eTrustNone = 0,
    // The whole rule: nothing needs checking.
    eTrustAll = 1,
    // Some sub-categories on some floors.
    eTrustPart = 2
};

// One rule module of the inventory.
struct DllInfo {
    // The file's name without folder and extension.
    std::string strDllName;
    // 32 lower-case hexadecimal digits; empty when the file could not be read.
    std::string strMd5;
    // Four decimal numbers joined by "."; empty when the file carries no version.
    std::string strVersion;
};

}  // namespace NS_NORVEX
