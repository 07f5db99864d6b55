// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "norvexdata/config/NorvexConfig.h"
#include "platform/datamng/ProjectData.h"
#include "platform/kernel/NativePath.h"
#include "platform/profile/ZrOwProfile.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <string_view>

using Group = std::map<CString, std::set<CString>>;

// A configuration folder of its own. The configuration belongs to the process, so each of these tests needs one.
class ConfigTest : public testing::Test {
  protected:
    ConfigTest() {
        const CString folder = norvex::kernel::FromNativePath(m_folder.Path().native());
        norvex::profile::SetDirectories({folder + L"\\application", folder + L"\\配置 目录"});
    }

    // Writes the file as it stands.
    void WriteFile(std::string_view bytes) { m_folder.Write("配置 目录/NorvexConfig.xml", bytes); }
    // Writes these rules inside a document element.
    void WriteRules(const std::string& rules) { WriteFile("<?xml version=\"1.0\"?><norvex>" + rules + "</norvex>"); }

    // Makes 给排水\管线 know these small categories.
    static void KnowSmallCategories(std::initializer_list<const wchar_t*> names) {
        norvex::datamng::ProjectData data;
        for (const wchar_t* name : names) {
            data.AddSmallCategory(L"给排水", L"管线", name);
        }
        norvex::datamng::SetCurrentProject(data);
    }

    TemporaryFolder m_folder;
};
