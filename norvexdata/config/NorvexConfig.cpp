// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/config/NorvexConfig.h"

#include "platform/profile/ZrOwProfile.h"

#include <boost/make_shared.hpp>

using Dom = ZrWindowsTool::MSXMLUtilityPtr;

namespace {

// Never freed: rule modules may still hold the reference while the process ends.
NorvexConfig* g_instance = nullptr;

}  // namespace

NorvexConfig::NorvexConfig() : m_pState(new NorvexConfigState()) {
}

NorvexConfig& NorvexConfig::operator=(const NorvexConfig& other) = default;

NorvexConfig& NorvexConfig::Instance() {
    if (g_instance == nullptr) {
        g_instance = new NorvexConfig();
    }
    if (!g_instance->IsValid()) {
        g_instance->LoadConfig();
    }
    return *g_instance;
}

bool NorvexConfig::IsValid() const {
    return m_pState->bValid;
}

void NorvexConfig::LoadConfig() {
    Dom::DocumentPtr document;
    if (!Dom::CreateDOMObj(document)) {
        return;
    }
    static const CString path = ZrOwProfile::GetAppProfile()->GetConfigDir() + L"\\NorvexConfig.xml";
    if (Dom::OpenXml(document, path)) {
        m_pState->spDoc = document;
        m_pState->bValid = true;
    }
}

boost::shared_ptr<ConfigData> NorvexConfig::GetCoinfigData(const CString& className) const {
    const Dom::Node root = Dom::GetRootElement(m_pState->spDoc);
    if (root == nullptr) {
        return nullptr;
    }
    Dom::EnumChildNodes children(root);
    while (const Dom::Node child = children.Next()) {
        if (Dom::GetTagName(child) == L"rule" && Dom::GetAttributeValue(child, L"className") == className) {
            const auto section = boost::make_shared<ConfigData>();
            section->spRuleNode = child;
            return section;
        }
    }
    return nullptr;
}
