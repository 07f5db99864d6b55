// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "norvexdata/Export.h"
#include "norvexdata/config/ConfigParser.h"

#include <boost/shared_ptr.hpp>

#include <map>
#include <vector>

// Which link types each kind of pipe may have, from the section of "CCheckPipeLinkInvalid". Read once, when the parser
// is made; a file that comes later is not seen by it.
class NORVEXDATA_API CheckPipeLinkConfigParser : public ConfigParser {
  public:
    struct LinkType {
        // Empty when the file gives none.
        CString strDefault;
        // Permitted link types in document order, with duplicates.
        std::vector<CString> vecAvailables;
    };

    CheckPipeLinkConfigParser();

    // Pipe kind to its link types; where two items name a kind, the first one counts.
    const std::map<CString, LinkType> CheckRules() const;

  private:
    void ParseCheckRules(boost::shared_ptr<ConfigData> section);

    std::map<CString, LinkType> m_mapRules;
};
