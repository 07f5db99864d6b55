// SPDX-License-Identifier: Apache-2.0
#include "platform/profile/ZrOwProfile.h"

namespace {

class AppProfile final : public IZrOwAppProfile {
  public:
    CString GetAppDir() const override { return m_directories.application; }
    CString GetConfigDir() const override { return m_directories.configuration; }

    norvex::profile::Directories m_directories;
};

// Never destroyed: other modules may still ask while the process ends.
AppProfile& Profile() {
    static AppProfile& profile = *new AppProfile();
    return profile;
}

}  // namespace

IZrOwAppProfile* ZrOwProfile::GetAppProfile() {
    return &Profile();
}

void norvex::profile::SetDirectories(const Directories& directories) {
    Profile().m_directories = directories;
}
