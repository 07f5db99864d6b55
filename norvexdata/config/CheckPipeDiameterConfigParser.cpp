// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/config/CheckPipeDiameterConfigParser.h"

#include "norvexdata/config/detail/CategoryGroup.h"

using Dom = ZrWindowsTool::MSXMLUtilityPtr;

namespace {

const CString& ClassName() {
    static const CString name = L"CCheckPipeDiameter";
    return name;
}

}  // namespace

CheckPipeDiameterConfigParser::CheckPipeDiameterConfigParser()
    : ConfigParser(NorvexConfig::Instance().GetCoinfigData(ClassName())) {
}

std::map<CString, std::set<CString>> CheckPipeDiameterConfigParser::GetAttachments(const CString& selector) {
    return FirstGroup(selector, L"attachment");
}

std::map<CString, std::set<CString>> CheckPipeDiameterConfigParser::GetPipe(const CString& selector) {
    return FirstGroup(selector, L"pipe");
}

std::map<CString, std::set<CString>> CheckPipeDiameterConfigParser::FirstGroup(const CString& selector,
                                                                               const CString& groupName) const {
    if (m_spConfigData == nullptr) {
        return {};
    }
    Dom::EnumChildNodes children(m_spConfigData->spRuleNode);
    while (const Dom::Node child = children.Next()) {
        if (Dom::GetAttributeValue(child, L"name") != selector) {
            continue;
        }
        if (const Dom::Node group = norvex::config::FindNamedChild(child, groupName)) {
            return norvex::config::ParseCategoryGroup(group, selector);
        }
    }
    return {};
}
