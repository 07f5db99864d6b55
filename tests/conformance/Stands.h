// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "norvexdata/entities/GetZrOwEntityPtrVec.h"
#include "norvexdata/state/NorvexData.h"
#include "norvexdata/state/NorvexService.h"
#include "platform/arx/AcDbDatabase.h"
#include "platform/containers/CStringArray.h"
#include "platform/datamng/ProjectData.h"
#include "platform/profile/ZrOwProfile.h"
#include "platform/text/CodePage.h"
#include "support/TextPrinter.h"

// What the tests of this folder stand the module on.
namespace norvex::contract {

using Names = std::set<CString>;
using Groups = std::map<CString, Names>;
using Texts = std::vector<CString>;

inline std::string Narrow(const CString& wide) {
    return text::WideToNarrow(wide);
}

inline NS_NORVEX::ComponentInfo Component(const CString& name, std::initializer_list<CString> items) {
    NS_NORVEX::ComponentInfo component;
    component.strName = Narrow(name);
    for (const CString& item : items) {
        component.aryItems.append(Narrow(item));
    }
    return component;
}

// A list of texts that can be handed to the module and compared with a plain list.
struct TextList : CStringArray {
    TextList() = default;
    TextList(std::initializer_list<CString> texts) {
        for (const CString& text : texts) {
            Add(text);
        }
    }
    Texts All() const { return Texts(begin(), end()); }
};

// Starts every test with a run state, project, profile and drawing that hold nothing.
class CleanRun : public ::testing::Test {
  protected:
    CleanRun() { Clean(); }
    ~CleanRun() override { Clean(); }

  private:
    static void Clean() {
        CGetZrOwEntityPtrVec::Delete();
        CNorvexData::ClearCheckData();
        CNorvexData::SetNorvexService(nullptr);
        CNorvexData::s_strCurFloor.Empty();
        CNorvexData::s_strCurSpec.Empty();
        acdbHostApplicationServices()->setWorkingDatabase(nullptr);
        datamng::SetCurrentProject(datamng::ProjectData());
        profile::SetDirectories({});
    }
};

// A check service that trusts what it was told to and remembers what it was asked.
class TrustingService : public INorvexService {
  public:
    NS_NORVEX::TrustStatus GetTrustStatus(const std::string& first, const std::string& second) override {
        asked.push_back({"status", first, second});
        return status;
    }
    void GetTrustParam(const std::string& first, const std::string& second,
                       CZRArray<NS_NORVEX::ComponentInfo>*& out) override {
        asked.push_back({"records", first, second});
        out = &records;
    }
    bool IsErrorTrusted(const std::string& featureCode) override {
        asked.push_back({"error", featureCode});
        return trustedCodes.count(featureCode) != 0;
    }
    void RegisterRule(INorvexRule*) override {}
    void ReportFinding(const NS_NORVEX::Finding&) override {}
    bool ReportProgress(int, int) override { return true; }
    CString GetFloorTitle(const CString& floor) override { return floor; }
    const std::map<CString, int>& GetWithoutPlace() override { return withoutPlace; }

    NS_NORVEX::TrustStatus status = NS_NORVEX::eTrustNone;
    CZRArray<NS_NORVEX::ComponentInfo> records;
    std::set<std::string> trustedCodes;
    std::map<CString, int> withoutPlace;
    std::vector<std::vector<std::string>> asked;
};

}  // namespace norvex::contract
