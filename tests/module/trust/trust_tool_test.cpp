// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/state/NorvexData.h"
#include "norvexdata/trust/OwTrustTool.h"
#include "platform/datamng/ProjectData.h"
#include "support/RunStateGuard.h"
#include "support/StubService.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using norvex::test::Component;
using norvex::test::Narrow;
using TrustMap = std::map<CString, std::set<CString>>;

class TrustTool : public testing::Test {
  protected:
    TrustTool() { CNorvexData::SetNorvexService(&service); }
    ~TrustTool() override { norvex::datamng::SetCurrentProject({}); }

    // A tool that asked a service with partial trust in these records.
    COwTrustTool Partly(std::initializer_list<NS_NORVEX::ComponentInfo> records) {
        service.status = NS_NORVEX::eTrustPart;
        service.trusted.removeAll();
        for (const NS_NORVEX::ComponentInfo& record : records) {
            service.trusted.append(record);
        }
        return Asked();
    }

    COwTrustTool Asked() {
        COwTrustTool tool;
        tool.Init(u"rule", u"name");
        return tool;
    }

    norvex::test::RunStateGuard guard;
    norvex::test::StubService service;
};

}  // namespace

TEST_F(TrustTool, PassesBothIdentifiersOnInTheCodePage) {
    service.status = NS_NORVEX::eTrustPart;
    COwTrustTool tool;
    tool.Init(u"CCheckPipeLinkInvalid", u"管线\u0E01");
    const std::string identifiers = "CCheckPipeLinkInvalid " + Narrow(u"管线") + "?";
    EXPECT_EQ(service.questions, (std::vector<std::string>{"status " + identifiers, "param " + identifiers}));
}

TEST_F(TrustTool, AsksForRecordsOnlyWhenPartIsTrusted) {
    service.trusted.append(Component(u"3", {u"x"}));
    for (const auto status : {NS_NORVEX::eTrustNone, NS_NORVEX::eTrustAll, static_cast<NS_NORVEX::TrustStatus>(7)}) {
        service.status = status;
        service.questions.clear();
        const COwTrustTool tool = Asked();
        EXPECT_EQ(tool.IsRuleTrusted(), status);
        EXPECT_TRUE(tool.GetTrustParam().empty());
        EXPECT_EQ(service.questions, (std::vector<std::string>{"status rule name"}));
    }
}

TEST_F(TrustTool, KeepsEachFloorWithItsNames) {
    const COwTrustTool tool = Partly({Component(u"3", {u"给水管", u"排水管", u"给水管"}), Component(u"2", {u"泵"})});
    EXPECT_EQ(tool.IsRuleTrusted(), NS_NORVEX::eTrustPart);
    EXPECT_EQ(tool.GetTrustParam(), (TrustMap{{u"2", {u"泵"}}, {u"3", {u"给水管", u"排水管"}}}));
}

TEST_F(TrustTool, CutsTheFloorAtItsFirstFloorWord) {
    const COwTrustTool tool = Partly({Component(u"3层南区", {u"a"}), Component(u"层", {u"b"}),
                                      Component(u"屋面", {u"c"}), Component(u"5层6层", {u"d"})});
    EXPECT_EQ(tool.GetTrustParam(), (TrustMap{{u"", {u"b"}}, {u"3", {u"a"}}, {u"5", {u"d"}}, {u"屋面", {u"c"}}}));
}

TEST_F(TrustTool, KeepsTheFirstOfTwoRecordsOfOneFloor) {
    const COwTrustTool tool = Partly({Component(u"2层A", {u"first"}), Component(u"2层B", {u"later"})});
    EXPECT_EQ(tool.GetTrustParam(), (TrustMap{{u"2", {u"first"}}}));
}

TEST_F(TrustTool, TakesARecordWithoutNamesAsAllOfTheCurrentSpecialty) {
    norvex::datamng::ProjectData project;
    project.AddSmallCategory(u"给排水", u"管线", u"给水管");
    project.AddSmallCategory(u"给排水", u"管线", u"排水管");
    project.AddSmallCategory(u"给排水", u"设备", u"泵");
    project.AddSmallCategory(u"电气", u"管线", u"电线");
    project.currentSpecialty = u"给排水";
    norvex::datamng::SetCurrentProject(project);

    EXPECT_EQ(Partly({Component(u"3层", {})}).GetTrustParam(), (TrustMap{{u"3", {u"给水管", u"排水管", u"泵"}}}));

    norvex::datamng::SetCurrentProject({});
    EXPECT_EQ(Partly({Component(u"3层", {})}).GetTrustParam(), (TrustMap{{u"3", {}}})) << "no specialty, no names";
}

TEST_F(TrustTool, ServiceThatHandsOutNoRecordsTrustsNothing) {
    service.status = NS_NORVEX::eTrustPart;
    service.hasRecords = false;
    EXPECT_TRUE(Asked().GetTrustParam().empty());
}

TEST_F(TrustTool, ItemIsTrustedWhenTheWholeRuleIsAndNotWhenNothingIs) {
    service.status = NS_NORVEX::eTrustAll;
    COwTrustTool all = Asked();
    EXPECT_TRUE(all.IsTrustItem(u"any", u"thing"));
    service.status = NS_NORVEX::eTrustNone;
    COwTrustTool none = Asked();
    EXPECT_FALSE(none.IsTrustItem(u"any", u"thing"));
}

TEST_F(TrustTool, ItemOfAPartlyTrustedRuleMustBeListedOnItsFloor) {
    COwTrustTool tool = Partly({Component(u"3层", {u"Pipe"})});
    EXPECT_TRUE(tool.IsTrustItem(u"3", u"Pipe"));
    EXPECT_FALSE(tool.IsTrustItem(u"3", u"Valve")) << "floor present, sub-category absent";
    EXPECT_FALSE(tool.IsTrustItem(u"3", u"pipe")) << "names match exactly";
    EXPECT_FALSE(tool.IsTrustItem(u"3层", u"Pipe")) << "the key is the cut floor name";
    EXPECT_FALSE(tool.IsTrustItem(u"4", u"Pipe"));
}

TEST_F(TrustTool, FloorWithoutAnEntryLeavesTheOutputAlone) {
    const COwTrustTool tool = Partly({Component(u"3层", {u"a", u"b"})});
    std::set<CString> out = {u"before"};
    EXPECT_FALSE(tool.GetCurFlorTrustParam(u"4", out));
    EXPECT_EQ(out, (std::set<CString>{u"before"}));
    EXPECT_TRUE(tool.GetCurFlorTrustParam(u"3", out));
    EXPECT_EQ(out, (std::set<CString>{u"a", u"b"}));
}

TEST_F(TrustTool, WhollyTrustedRuleHasNoFloors) {
    service.status = NS_NORVEX::eTrustAll;
    service.trusted.append(Component(u"3", {u"x"}));
    COwTrustTool tool = Asked();
    std::set<CString> out;
    EXPECT_TRUE(tool.IsTrustItem(u"3", u"anything"));
    EXPECT_FALSE(tool.GetCurFlorTrustParam(u"3", out));
}

TEST_F(TrustTool, AskingAgainReplacesStatusAndMap) {
    COwTrustTool tool = Partly({Component(u"3层", {u"a"})});
    service.trusted.removeAll();
    service.trusted.append(Component(u"4层", {u"b"}));
    tool.Init(u"rule", u"name");
    EXPECT_EQ(tool.GetTrustParam(), (TrustMap{{u"4", {u"b"}}}));
    service.status = NS_NORVEX::eTrustNone;
    tool.Init(u"rule", u"name");
    EXPECT_TRUE(tool.GetTrustParam().empty());
}

TEST_F(TrustTool, CopiesAreIndependent) {
    COwTrustTool tool = Partly({Component(u"3层", {u"a"})});
    const COwTrustTool copy = tool;
    COwTrustTool assigned;
    assigned = tool;
    service.status = NS_NORVEX::eTrustAll;
    tool.Init(u"rule", u"name");
    for (const COwTrustTool& kept : {copy, assigned}) {
        EXPECT_EQ(kept.IsRuleTrusted(), NS_NORVEX::eTrustPart);
        EXPECT_EQ(kept.GetTrustParam(), (TrustMap{{u"3", {u"a"}}}));
    }
}

TEST_F(TrustTool, LeavesTheServicesRecordsToTheService) {
    Partly({Component(u"3层", {u"a"})});
    EXPECT_EQ(service.trusted.length(), 1);
    EXPECT_EQ(service.trusted[0].aryItems.length(), 1);
}

TEST_F(TrustTool, SingleErrorsAreAskedOfTheServiceWhateverTheStatus) {
    service.trustedErrors = {"_abc"};
    for (const auto status : {NS_NORVEX::eTrustNone, NS_NORVEX::eTrustAll, NS_NORVEX::eTrustPart}) {
        service.status = status;
        const COwTrustTool tool = Asked();
        service.questions.clear();
        EXPECT_TRUE(tool.IsErrorTrusted("_abc"));
        EXPECT_FALSE(tool.IsErrorTrusted("_abd"));
        EXPECT_EQ(service.questions, (std::vector<std::string>{"error _abc", "error _abd"}));
    }
}

TEST_F(TrustTool, SingleErrorsNeedNoInit) {
    service.trustedErrors = {"_abc"};
    EXPECT_TRUE(COwTrustTool().IsErrorTrusted("_abc"));
    static_assert(std::is_copy_assignable_v<COwTrustTool>);
}
