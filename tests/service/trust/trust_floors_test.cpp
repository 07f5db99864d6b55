// SPDX-License-Identifier: Apache-2.0
// Trust on floors, from the project's database through the check service and COwTrustTool to what a rule sees.
#include <gtest/gtest.h>

#include <map>

#include "norvexdata/state/NorvexData.h"
#include "norvexdata/trust/OwTrustTool.h"
#include "platform/text/Utf8.h"
#include "service/store/FloorNames.h"
#include "service/store/RunTrust.h"
#include "tests/service/store/StoreSupport.h"
#include "tests/service/support/RunFixture.h"

namespace {

using namespace norvex::test;
using norvex::Drawing;
using norvex::service::Outcome;
using norvex::service::RunReport;
namespace store = norvex::service::store;

const std::vector<std::string> kFloors{"3层", "3层南区", "2层A", "2层B"};

// A loop of water pipes on every floor.
DrawingFloors LoopOnEveryFloor() {
    DrawingFloors floors;
    for (const std::string& name : kFloors) {
        Drawing drawing;
        AddSquare(drawing, kWaterPipe, 0, name);
        floors.Add(name, std::move(drawing));
    }
    return floors;
}

// The loops found on each floor, with what the project's database says is trusted.
std::map<std::string, std::size_t> LoopsByFloor(const store::TrustView& view) {
    store::RunTrust trust(view);
    DrawingFloors floors = LoopOnEveryFloor();
    SilentObserver observer;
    norvex::service::RunControl control;
    const RunReport report = RunEverything(floors, norvex::service::ApplicationFolder(), trust, observer, control);
    std::map<std::string, std::size_t> found;
    for (const std::string& floor : kFloors) {
        found[floor] = TaskOf(report, "CCheckPipeLoop", floor, "给排水").findings;
    }
    return found;
}

class TrustOnFloors : public testing::TestWithParam<std::string> {};

TEST_P(TrustOnFloors, HidesTheSubCategoryOnThatFloorAndOnNoOther) {
    const ProjectFolder folder;
    store::ProjectStore project = OpenStore(folder);
    EXPECT_EQ(LoopsByFloor(Expect(project.TrustInForce())),
              (std::map<std::string, std::size_t>{{"3层", 1}, {"3层南区", 1}, {"2层A", 1}, {"2层B", 1}}));
    Expect(project.AddTrust(TrustedSubCategory("CCheckPipeLoop", GetParam(), "管道")));
    for (const auto& [floor, loops] : LoopsByFloor(Expect(project.TrustInForce()))) {
        EXPECT_EQ(loops, floor == GetParam() ? 0U : 1U) << floor;
    }
}

INSTANTIATE_TEST_SUITE_P(Each, TrustOnFloors, testing::ValuesIn(kFloors),
                         [](const auto& floor) { return std::to_string(floor.index); });

TEST(TrustOnFloors, ShowsARuleWhoseComponentsAreTrustedNothingThere) {
    const ProjectFolder folder;
    store::ProjectStore project = OpenStore(folder);
    Expect(project.AddTrust(TrustedSubCategory("CCheckPipeLoop", "3层", "管道")));
    store::RunTrust trust(Expect(project.TrustInForce()));
    DrawingFloors floors = LoopOnEveryFloor();
    SilentObserver observer;
    norvex::service::RunControl control;
    const RunReport report = RunEverything(floors, norvex::service::ApplicationFolder(), trust, observer, control);
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "3层", "给排水").outcome, Outcome::NotApplicable);
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "3层", "给排水").examined, 0U);
    EXPECT_EQ(TaskOf(report, "CCheckPipeLoop", "3层南区", "给排水").examined, 4U);
}

// All four floors are trusted at once: none of them takes another one's place in the trust list, although the list
// would keep "3层" and "3层南区" under one key.
TEST(TrustOnFloors, KeepsFloorsThatBeginAlikeApartInTheTool) {
    const ProjectFolder folder;
    store::ProjectStore project = OpenStore(folder);
    const std::vector<std::string> subCategories{"管道", "阀门", "水泵", "水箱"};
    for (std::size_t i = 0; i < kFloors.size(); ++i) {
        Expect(project.AddTrust(TrustedSubCategory("CCheckPipeLoop", kFloors[i], subCategories[i])));
    }
    store::RunTrust trust(Expect(project.TrustInForce()));
    norvex::service::CheckService service(trust);
    CNorvexData::SetNorvexService(&service);
    COwTrustTool tool;
    tool.Init(u"CCheckPipeLoop", u"给排水");
    EXPECT_EQ(tool.IsRuleTrusted(), NS_NORVEX::eTrustPart);
    for (std::size_t i = 0; i < kFloors.size(); ++i) {
        const CString floor = norvex::text::FromUtf8(store::ModuleFloorName(kFloors[i]));
        for (std::size_t j = 0; j < subCategories.size(); ++j) {
            EXPECT_EQ(tool.IsTrustItem(floor, norvex::text::FromUtf8(subCategories[j])), i == j)
                << kFloors[i] << " " << subCategories[j];
        }
        EXPECT_EQ(norvex::text::ToUtf8(service.GetFloorTitle(floor)), kFloors[i]);
    }
    CNorvexData::SetNorvexService(nullptr);
}

}  // namespace
