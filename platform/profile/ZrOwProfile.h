// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"
#include "platform/text/CString.h"

// The application profile: where the maker's application keeps its parts. Folders are in the host's form, with
// backslashes and none at the end; empty when they are not known. Used from one thread at a time.
class IZrOwAppProfile {
  public:
    // The application folder; rule modules lie in its sub-folder "\Norvex".
    virtual CString GetAppDir() const = 0;
    // The folder reserved for configuration data.
    virtual CString GetConfigDir() const = 0;

  protected:
    IZrOwAppProfile() = default;
    IZrOwAppProfile(const IZrOwAppProfile&) = default;
    IZrOwAppProfile& operator=(const IZrOwAppProfile&) = default;
    ~IZrOwAppProfile() = default;
};

namespace ZrOwProfile {

// The profile of the process; never null, lives as long as the process.
NORVEX_PLATFORM_API IZrOwAppProfile* GetAppProfile();

}  // namespace ZrOwProfile

namespace norvex::profile {

// What the profile answers; both empty until a host or a test sets them.
struct Directories {
    CString application;
    CString configuration;
};
NORVEX_PLATFORM_API void SetDirectories(const Directories& directories);

}  // namespace norvex::profile
