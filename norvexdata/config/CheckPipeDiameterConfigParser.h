// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "norvexdata/Export.h"
#include "norvexdata/config/ConfigParser.h"

#include <map>
#include <set>

// Which attachments and pipes take part in the diameter check, from the section of "CCheckPipeDiameter". Every query
// walks the document again. The selector is in practice a specialty; "*" expands below it.
class NORVEXDATA_API CheckPipeDiameterConfigParser : public ConfigParser {
  public:
    CheckPipeDiameterConfigParser();

    // Category to sub-categories: the first "attachment" or "pipe" group of the selector's elements in document order.
    std::map<CString, std::set<CString>> GetAttachments(const CString& selector);
    std::map<CString, std::set<CString>> GetPipe(const CString& selector);

  private:
    NORVEXDATA_LOCAL std::map<CString, std::set<CString>> FirstGroup(const CString& selector,
                                                                     const CString& groupName) const;
};
