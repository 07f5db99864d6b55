// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/config/detail/CategoryGroup.h"

#include "platform/datamng/ZrOwDataMng.h"

namespace norvex::config {

using Dom = ZrWindowsTool::MSXMLUtilityPtr;

namespace {

void InsertSmallCategories(const CString& path, std::set<CString>& names) {
    CStringArray all;
    ZrOwDataMng::CAtt::GetAllSmallCategoryNames(path, all);
    names.insert(all.begin(), all.end());
}

std::set<CString> ParseValues(Dom::EnumChildNodes& values, const CString& path) {
    std::set<CString> names;
    while (const Dom::Node value = values.Next()) {
        CString text;
        Dom::GetNodeText(value, text);
        if (text.IsEmpty()) {
            continue;
        }
        if (text == L"*") {
            names.clear();
            InsertSmallCategories(path, names);
        } else {
            names.insert(text);
        }
    }
    return names;
}

}  // namespace

Dom::Node FindChildElement(const Dom::Node& node, const CString& tagName) {
    Dom::EnumChildNodes children(node);
    while (Dom::Node child = children.Next()) {
        if (Dom::GetTagName(child) == tagName) {
            return child;
        }
    }
    return nullptr;
}

Dom::Node FindNamedChild(const Dom::Node& node, const CString& name) {
    Dom::EnumChildNodes children(node);
    while (Dom::Node child = children.Next()) {
        if (Dom::GetAttributeValue(child, L"name") == name) {
            return child;
        }
    }
    return nullptr;
}

std::map<CString, std::set<CString>> ParseCategoryGroup(const Dom::Node& group, const CString& prefix) {
    std::map<CString, std::set<CString>> result;
    Dom::EnumChildNodes entries(group);
    while (const Dom::Node entry = entries.Next()) {
        Dom::EnumChildNodes values(entry);
        if (!values.IsValid()) {
            continue;
        }
        const CString key = Dom::GetAttributeValue(entry, L"name");
        result[key].merge(ParseValues(values, prefix + L"\\" + key));
    }
    return result;
}

}  // namespace norvex::config
