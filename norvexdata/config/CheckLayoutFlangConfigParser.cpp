// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/config/CheckLayoutFlangConfigParser.h"

#include "norvexdata/config/detail/CategoryGroup.h"

using Dom = ZrWindowsTool::MSXMLUtilityPtr;

namespace {

const CString& ClassName() {
    static const CString name = L"CCheckLayoutFlange";
    return name;
}

Dom::Node FindKind(const Dom::Node& rule, CheckLayoutFlangConfigParser::EqipmentType kind) {
    switch (kind) {
        case CheckLayoutFlangConfigParser::eEquipment:
            return norvex::config::FindNamedChild(rule, L"equipment");
        case CheckLayoutFlangConfigParser::eWaterbox:
            return norvex::config::FindNamedChild(rule, L"waterbox");
    }
    return nullptr;
}

void ReadGroups(const Dom::Node& selected, const CString& selector, CheckLayoutFlangConfigParser::AttItem& item) {
    Dom::EnumChildNodes groups(selected);
    while (const Dom::Node group = groups.Next()) {
        const CString name = Dom::GetAttributeValue(group, L"name");
        if (name == L"equipment") {
            item.mapEquipment = norvex::config::ParseCategoryGroup(group, selector);
        } else if (name == L"pipe") {
            item.mapPipe = norvex::config::ParseCategoryGroup(group, selector);
        }
    }
}

}  // namespace

CheckLayoutFlangConfigParser::CheckLayoutFlangConfigParser()
    : ConfigParser(NorvexConfig::Instance().GetCoinfigData(ClassName())) {
}

CheckLayoutFlangConfigParser::AttItem CheckLayoutFlangConfigParser::GetAttItem(EqipmentType kind,
                                                                               const CString& selector) {
    AttItem item;
    if (m_spConfigData == nullptr) {
        return item;
    }
    const Dom::Node kindNode = FindKind(m_spConfigData->spRuleNode, kind);
    if (kindNode == nullptr) {
        return item;
    }
    Dom::EnumChildNodes selectors(kindNode);
    while (const Dom::Node selected = selectors.Next()) {
        if (Dom::GetAttributeValue(selected, L"name") == selector) {
            ReadGroups(selected, selector, item);
        }
    }
    return item;
}
