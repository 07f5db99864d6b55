// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/config/ConfigParser.h"

#include "norvexdata/config/detail/CategoryGroup.h"

#include <utility>

using Dom = ZrWindowsTool::MSXMLUtilityPtr;

ConfigParser::ConfigParser() = default;

ConfigParser::ConfigParser(boost::shared_ptr<ConfigData> configData) : m_spConfigData(std::move(configData)) {
}

void ConfigParser::SetConfigData(boost::shared_ptr<ConfigData> configData) {
    m_spConfigData = std::move(configData);
}

std::map<CString, std::set<CString>> ConfigParser::CheckItems(const CString& name) const {
    if (m_spConfigData == nullptr) {
        return {};
    }
    const Dom::Node checkItems = norvex::config::FindChildElement(m_spConfigData->spRuleNode, L"checkitems");
    if (checkItems == nullptr) {
        return {};
    }
    const Dom::Node group = norvex::config::FindNamedChild(checkItems, name);
    return group == nullptr ? std::map<CString, std::set<CString>>() : norvex::config::ParseCategoryGroup(group, name);
}
