// SPDX-License-Identifier: Apache-2.0
#include "service/CheckService.h"

#include <utility>

#include "platform/text/Utf8.h"
#include "service/store/FloorNames.h"

namespace norvex::service {

NS_NORVEX::TrustStatus CheckService::GetTrustStatus(const std::string& first, const std::string& second) {
    return m_trust.StatusOf(first, second);
}

void CheckService::GetTrustParam(const std::string& first, const std::string& second,
                                 CZRArray<NS_NORVEX::ComponentInfo>*& records) {
    records = &m_trust.FloorsOf(first, second);
}

bool CheckService::IsErrorTrusted(const std::string& featureCode) {
    return m_trust.IsFindingTrusted(featureCode);
}

void CheckService::RegisterRule(INorvexRule* rule) {
    m_registered.push_back(rule);
}

void CheckService::ReportFinding(const NS_NORVEX::Finding& finding) {
    if (m_listener != nullptr) {
        m_listener->OnFinding(finding);
    }
}

bool CheckService::ReportProgress(int done, int total) {
    return m_listener == nullptr || m_listener->OnProgress(done, total);
}

CString CheckService::GetFloorTitle(const CString& floor) {
    return text::FromUtf8(store::FloorLabel(text::ToUtf8(floor)));
}

std::vector<INorvexRule*> CheckService::TakeRegistered() {
    return std::exchange(m_registered, {});
}

}  // namespace norvex::service
