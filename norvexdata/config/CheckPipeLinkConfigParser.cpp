// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/config/CheckPipeLinkConfigParser.h"

#include "norvexdata/config/detail/CategoryGroup.h"

using Dom = ZrWindowsTool::MSXMLUtilityPtr;

namespace {

struct Item {
    std::vector<CString> names;
    CheckPipeLinkConfigParser::LinkType linkType;
};

void AppendChildTexts(const Dom::Node& node, std::vector<CString>& texts) {
    Dom::EnumChildNodes children(node);
    while (const Dom::Node child = children.Next()) {
        CString text;
        if (Dom::GetNodeText(child, text)) {
            texts.push_back(text);
        }
    }
}

Item ParseItem(const Dom::Node& node) {
    Item item;
    Dom::EnumChildNodes children(node);
    while (const Dom::Node child = children.Next()) {
        const CString tag = Dom::GetTagName(child);
        if (tag == L"names") {
            AppendChildTexts(child, item.names);
        } else if (tag == L"default") {
            Dom::GetNodeText(child, item.linkType.strDefault);
        } else if (tag == L"availables") {
            AppendChildTexts(child, item.linkType.vecAvailables);
        }
    }
    return item;
}

}  // namespace

CheckPipeLinkConfigParser::CheckPipeLinkConfigParser()
    : ConfigParser(NorvexConfig::Instance().GetCoinfigData(L"CCheckPipeLinkInvalid")) {
    ParseCheckRules(m_spConfigData);
}

const std::map<CString, CheckPipeLinkConfigParser::LinkType> CheckPipeLinkConfigParser::CheckRules() const {
    return m_mapRules;
}

void CheckPipeLinkConfigParser::ParseCheckRules(boost::shared_ptr<ConfigData> section) {
    if (section == nullptr) {
        return;
    }
    const Dom::Node checkRules = norvex::config::FindChildElement(section->spRuleNode, L"checkrules");
    if (checkRules == nullptr) {
        return;
    }
    Dom::EnumChildNodes children(checkRules);
    while (const Dom::Node child = children.Next()) {
        if (Dom::GetTagName(child) != L"item") {
            continue;
        }
        const Item item = ParseItem(child);
        for (const CString& name : item.names) {
            m_mapRules.emplace(name, item.linkType);
        }
    }
}
