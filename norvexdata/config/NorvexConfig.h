// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "norvexdata/Export.h"
#include "platform/text/CString.h"
#include "platform/xml/ZrWindowsTool.h"

#include <boost/shared_ptr.hpp>

// The section of one rule class: its "rule" element. Keeps the document's nodes alive.
struct ConfigData {
    ZrWindowsTool::MSXMLUtilityPtr::Node spRuleNode;
};

// What the configuration is made of; lives as long as the process.
struct NorvexConfigState {
    // True once the file has been opened as a document; never false again.
    bool bValid = false;
    ZrWindowsTool::MSXMLUtilityPtr::DocumentPtr spDoc;
};

// The check configuration, "\NorvexConfig.xml" in the profile's configuration directory. Loaded once per process; what
// is edited after that is not seen. Nothing is locked: the first call comes from one thread at a time.
class NORVEXDATA_API NorvexConfig {
  public:
    // The configuration of the process. Tries to load the file whenever that has not succeeded yet.
    static NorvexConfig& Instance();

    // Copies the pointer to the state alone.
    NorvexConfig& operator=(const NorvexConfig& other);

    bool IsValid() const;
    // The first "rule" element of this class name, in document order; null when there is none.
    boost::shared_ptr<ConfigData> GetCoinfigData(const CString& className) const;

  private:
    NORVEXDATA_LOCAL NorvexConfig();
    NorvexConfig(const NorvexConfig&) = delete;

    void LoadConfig();

    NorvexConfigState* m_pState;
};
