// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/text/CString.h"
#include "platform/xml/ZrWindowsTool.h"

#include <map>
#include <set>

// How the sections of all rules are read. Nodes must not be null; that raises the XML library's error.
namespace norvex::config {

// The first child element with this tag; null when there is none.
ZrWindowsTool::MSXMLUtilityPtr::Node FindChildElement(const ZrWindowsTool::MSXMLUtilityPtr::Node& node,
                                                      const CString& tagName);

// The first child element, whatever its tag, whose "name" is exactly this; null when there is none.
ZrWindowsTool::MSXMLUtilityPtr::Node FindNamedChild(const ZrWindowsTool::MSXMLUtilityPtr::Node& node,
                                                    const CString& name);

// The entries of a named group: entry name to the set of its values. The value "*" stands for all small categories of
// prefix\entry name and drops the values before it. Entries of one name are united.
std::map<CString, std::set<CString>> ParseCategoryGroup(const ZrWindowsTool::MSXMLUtilityPtr::Node& group,
                                                        const CString& prefix);

}  // namespace norvex::config
