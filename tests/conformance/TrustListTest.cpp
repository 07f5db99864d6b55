// SPDX-License-Identifier: Apache-2.0
#include <cstddef>
#include <cstring>

#include "Stands.h"
#include "norvexdata/trust/OwTrustTool.h"

using norvex::contract::Component;
using norvex::contract::Groups;
using norvex::contract::Names;
using norvex::contract::Narrow;
using norvex::contract::TrustingService;

namespace {

class TrustListContract : public norvex::contract::CleanRun {
  protected:
    TrustListContract() { CNorvexData::SetNorvexService(&service); }

    COwTrustTool Trusting(NS_NORVEX::TrustStatus status, std::initializer_list<NS_NORVEX::ComponentInfo> records) {
        service.status = status;
        service.records.removeAll();
        for (const NS_NORVEX::ComponentInfo& record : records) {
            service.records.append(record);
        }
        COwTrustTool tool;
        tool.Init(L"CRule", L"x");
        return tool;
    }

    TrustingService service;
};

template <typename Operation>
std::size_t SlotOf(Operation operation) {
    std::size_t parts[2] = {};
    static_assert(sizeof(parts) == sizeof(operation));
    std::memcpy(parts, &operation, sizeof(parts));
    return (parts[0] - 1) / sizeof(void*);
}

}  // namespace

static_assert(NS_NORVEX::eTrustNone == 0);
static_assert(NS_NORVEX::eTrustAll == 1);
static_assert(NS_NORVEX::eTrustPart == 2);

TEST(ServiceInterfaceContract, TheThreeTrustOperationsComeFirstInTheirOrder) {
    EXPECT_EQ(SlotOf(&INorvexService::GetTrustStatus), 0U);
    EXPECT_EQ(SlotOf(&INorvexService::GetTrustParam), 1U);
    EXPECT_EQ(SlotOf(&INorvexService::IsErrorTrusted), 2U);
}

TEST_F(TrustListContract, FloorKeysEndBeforeTheFloorCharacter) {
    const COwTrustTool tool = Trusting(NS_NORVEX::eTrustPart, {Component(L"3层南区", {L"a"}), Component(L"层", {L"b"}),
                                                               Component(L"B1", {L"c"}), Component(L"4层5层", {L"d"})});
    EXPECT_EQ(tool.GetTrustParam(), (Groups{{L"3", {L"a"}}, {L"", {L"b"}}, {L"B1", {L"c"}}, {L"4", {L"d"}}}));
}

TEST_F(TrustListContract, OfTwoRecordsWithOneKeyTheFirstCounts) {
    const COwTrustTool tool =
        Trusting(NS_NORVEX::eTrustPart, {Component(L"2层A", {L"x", L"y"}), Component(L"2层B", {L"z"})});
    EXPECT_EQ(tool.GetTrustParam(), (Groups{{L"2", {L"x", L"y"}}}));
}

TEST_F(TrustListContract, AWhollyTrustedRuleTrustsEveryItemAndHasNoFloors) {
    COwTrustTool tool = Trusting(NS_NORVEX::eTrustAll, {Component(L"1层", {L"x"})});
    EXPECT_EQ(tool.IsRuleTrusted(), NS_NORVEX::eTrustAll);
    EXPECT_TRUE(tool.GetTrustParam().empty());
    EXPECT_TRUE(tool.IsTrustItem(L"1", L"x"));
    EXPECT_TRUE(tool.IsTrustItem(L"nowhere", L"nothing"));
    Names names{L"kept"};
    EXPECT_FALSE(tool.GetCurFlorTrustParam(L"1", names));
    EXPECT_EQ(names, (Names{L"kept"}));
}

TEST_F(TrustListContract, AnUntrustedRuleTrustsNoItem) {
    COwTrustTool tool = Trusting(NS_NORVEX::eTrustNone, {Component(L"1层", {L"x"})});
    EXPECT_EQ(tool.IsRuleTrusted(), NS_NORVEX::eTrustNone);
    EXPECT_FALSE(tool.IsTrustItem(L"1", L"x"));
    EXPECT_TRUE(tool.GetTrustParam().empty());
}

TEST_F(TrustListContract, PartialTrustNeedsTheFloorAndTheSubCategoryExactly) {
    COwTrustTool tool = Trusting(NS_NORVEX::eTrustPart, {Component(L"F1", {L"Pipe"})});
    EXPECT_TRUE(tool.IsTrustItem(L"F1", L"Pipe"));
    EXPECT_FALSE(tool.IsTrustItem(L"F1", L"absent"));
    EXPECT_FALSE(tool.IsTrustItem(L"F1", L"pipe"));
    EXPECT_FALSE(tool.IsTrustItem(L"f1", L"Pipe"));
    EXPECT_FALSE(tool.IsTrustItem(L"F2", L"Pipe"));
}

TEST_F(TrustListContract, TheQueriedFloorIsNotCut) {
    COwTrustTool tool = Trusting(NS_NORVEX::eTrustPart, {Component(L"3层", {L"x"})});
    EXPECT_TRUE(tool.IsTrustItem(L"3", L"x"));
    EXPECT_FALSE(tool.IsTrustItem(L"3层", L"x"));
}

TEST_F(TrustListContract, AFloorsNamesReplaceWhatTheCallerHad) {
    const COwTrustTool tool = Trusting(NS_NORVEX::eTrustPart, {Component(L"1", {L"x", L"管"})});
    Names names{L"old"};
    EXPECT_TRUE(tool.GetCurFlorTrustParam(L"1", names));
    EXPECT_EQ(names, (Names{L"x", L"管"}));
}

TEST_F(TrustListContract, ARecordWithoutItemsTrustsAllOfTheCurrentSpecialty) {
    norvex::datamng::ProjectData project;
    project.AddSmallCategory(L"电气", L"设备", L"灯");
    project.AddSmallCategory(L"电气", L"设备", L"开关");
    project.AddSmallCategory(L"电气", L"管线", L"桥架");
    project.AddSmallCategory(L"消防", L"设备", L"喷头");
    project.currentSpecialty = L"电气";
    norvex::datamng::SetCurrentProject(project);
    // The project decides here, not the specialty that the run is at.
    CNorvexData::s_strCurSpec = L"消防";
    const COwTrustTool tool = Trusting(NS_NORVEX::eTrustPart, {Component(L"1层", {}), Component(L"2层", {L"x"})});
    EXPECT_EQ(tool.GetTrustParam(), (Groups{{L"1", {L"灯", L"开关", L"桥架"}}, {L"2", {L"x"}}}));
}

TEST_F(TrustListContract, ARecordWithoutItemsAndWithoutAProjectKeepsItsKey) {
    const COwTrustTool tool = Trusting(NS_NORVEX::eTrustPart, {Component(L"1层", {})});
    EXPECT_EQ(tool.GetTrustParam(), (Groups{{L"1", {}}}));
}

TEST_F(TrustListContract, RuleNamesAreHandedOverInTheCodePage) {
    COwTrustTool tool;
    service.status = NS_NORVEX::eTrustPart;
    tool.Init(L"C管", L"b c");
    const std::vector<std::vector<std::string>> expected = {{"status", Narrow(L"C管"), "b c"},
                                                            {"records", Narrow(L"C管"), "b c"}};
    EXPECT_EQ(service.asked, expected);
}

TEST_F(TrustListContract, RecordsAreAskedForOnlyWhenPartIsTrusted) {
    for (const NS_NORVEX::TrustStatus status : {NS_NORVEX::eTrustNone, NS_NORVEX::eTrustAll}) {
        service.asked.clear();
        Trusting(status, {});
        EXPECT_EQ(service.asked, (std::vector<std::vector<std::string>>{{"status", "CRule", "x"}}));
    }
}

TEST_F(TrustListContract, ALaterLoadReplacesStatusAndFloors) {
    COwTrustTool tool = Trusting(NS_NORVEX::eTrustPart, {Component(L"1", {L"x"})});
    service.status = NS_NORVEX::eTrustNone;
    tool.Init(L"CRule", L"x");
    EXPECT_EQ(tool.IsRuleTrusted(), NS_NORVEX::eTrustNone);
    EXPECT_TRUE(tool.GetTrustParam().empty());
}

TEST_F(TrustListContract, WhatTheServiceListsIsCopiedAndLeftToIt) {
    const COwTrustTool tool = Trusting(NS_NORVEX::eTrustPart, {Component(L"1", {L"x"})});
    ASSERT_EQ(service.records.length(), 1);
    EXPECT_EQ(service.records[0].strName, "1");
    service.records.removeAll();
    EXPECT_EQ(tool.GetTrustParam(), (Groups{{L"1", {L"x"}}}));
}

TEST_F(TrustListContract, CopiesAreIndependent) {
    COwTrustTool tool = Trusting(NS_NORVEX::eTrustPart, {Component(L"1", {L"x"})});
    const COwTrustTool copy = tool;
    service.status = NS_NORVEX::eTrustAll;
    tool.Init(L"CRule", L"x");
    EXPECT_EQ(copy.IsRuleTrusted(), NS_NORVEX::eTrustPart);
    EXPECT_EQ(copy.GetTrustParam(), (Groups{{L"1", {L"x"}}}));
}

TEST_F(TrustListContract, SingleErrorsAreAskedOfTheServiceWhateverTheStatus) {
    service.trustedCodes = {"_abc"};
    for (const NS_NORVEX::TrustStatus status : {NS_NORVEX::eTrustNone, NS_NORVEX::eTrustAll, NS_NORVEX::eTrustPart}) {
        const COwTrustTool tool = Trusting(status, {});
        EXPECT_TRUE(tool.IsErrorTrusted("_abc"));
        EXPECT_FALSE(tool.IsErrorTrusted("_ABC"));
        EXPECT_EQ(service.asked.back(), (std::vector<std::string>{"error", "_ABC"}));
    }
}
