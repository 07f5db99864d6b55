// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "norvexdata/Export.h"
#include "norvexdata/config/NorvexConfig.h"
#include "platform/text/CString.h"

#include <boost/shared_ptr.hpp>

#include <map>
#include <set>

// Base of the rule parsers: one rule's section, null when the rule has none. Copies share the section.
class NORVEXDATA_API ConfigParser {
  public:
    ConfigParser();
    ConfigParser(boost::shared_ptr<ConfigData> configData);

    void SetConfigData(boost::shared_ptr<ConfigData> configData);

    // The group of this name under the section's first "checkitems": entry names to their values, with "*" expanded to
    // the small categories of name\entry. Empty when there is none.
    std::map<CString, std::set<CString>> CheckItems(const CString& name) const;

  protected:
    boost::shared_ptr<ConfigData> m_spConfigData;
};
