// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/trust/OwTrustTool.h"

#include <vector>

#include "norvexdata/state/NorvexData.h"
#include "norvexdata/state/NorvexService.h"
#include "platform/datamng/ZrOwDataMng.h"
#include "platform/text/CodePage.h"

using norvex::text::NarrowToWide;
using norvex::text::WideToNarrow;

namespace {

// Up to the floor's word, so that every part of a floor comes under the floor's number.
CString FloorKey(const std::string& name) {
    const CString floor = NarrowToWide(name);
    const int word = floor.Find(u'层');
    return word >= 0 ? floor.Left(word) : floor;
}

std::set<CString> AllSubCategoriesOfCurrentSpec() {
    std::set<CString> names;
    std::vector<ZrOwDataMng::BigCategoryId> bigCategories;
    ZrOwDataMng::CAtt::GetAllBigCategoryIdsBySpec(ZrOwDataMng::CProj::GetCurrentSpecId(), bigCategories);
    for (const ZrOwDataMng::BigCategoryId bigCategory : bigCategories) {
        std::vector<ZrOwDataMng::SmallCategoryId> smallCategories;
        ZrOwDataMng::CAtt::GetAllSmallCategoryIdsByBigCategory(bigCategory, smallCategories);
        for (const ZrOwDataMng::SmallCategoryId smallCategory : smallCategories) {
            names.insert(ZrOwDataMng::CSmallCategoryMng::GetName(smallCategory));
        }
    }
    return names;
}

// A record without items stands for every sub-category.
std::set<CString> TrustedNames(const NS_NORVEX::ComponentInfo& record) {
    if (record.aryItems.isEmpty()) {
        return AllSubCategoriesOfCurrentSpec();
    }
    std::set<CString> names;
    for (const std::string& item : record.aryItems) {
        names.insert(NarrowToWide(item));
    }
    return names;
}

}  // namespace

void COwTrustTool::Init(const CString& first, const CString& second) {
    m_mapTrustParam.clear();
    const std::string narrowFirst = WideToNarrow(first);
    const std::string narrowSecond = WideToNarrow(second);
    INorvexService* const service = CNorvexData::GetNorvexService();
    m_eTrustStatus = service->GetTrustStatus(narrowFirst, narrowSecond);
    if (m_eTrustStatus != NS_NORVEX::eTrustPart) {
        return;
    }
    CZRArray<NS_NORVEX::ComponentInfo>* records = nullptr;
    service->GetTrustParam(narrowFirst, narrowSecond, records);
    if (records == nullptr) {
        return;
    }
    for (const NS_NORVEX::ComponentInfo& record : *records) {
        // Where two records name parts of one floor, the first one counts.
        m_mapTrustParam.emplace(FloorKey(record.strName), TrustedNames(record));
    }
}

NS_NORVEX::TrustStatus COwTrustTool::IsRuleTrusted() const {
    return m_eTrustStatus;
}

const std::map<CString, std::set<CString>>& COwTrustTool::GetTrustParam() const {
    return m_mapTrustParam;
}

bool COwTrustTool::IsTrustItem(const CString& floorKey, const CString& subCategory) {
    if (m_eTrustStatus == NS_NORVEX::eTrustAll) {
        return true;
    }
    if (m_eTrustStatus == NS_NORVEX::eTrustNone) {
        return false;
    }
    const auto floor = m_mapTrustParam.find(floorKey);
    return floor != m_mapTrustParam.end() && floor->second.count(subCategory) != 0;
}

bool COwTrustTool::GetCurFlorTrustParam(const CString& floorKey, std::set<CString>& out) const {
    const auto floor = m_mapTrustParam.find(floorKey);
    if (floor == m_mapTrustParam.end()) {
        return false;
    }
    out = floor->second;
    return true;
}

bool COwTrustTool::IsErrorTrusted(const std::string& featureCode) const {
    return CNorvexData::GetNorvexService()->IsErrorTrusted(featureCode);
}
