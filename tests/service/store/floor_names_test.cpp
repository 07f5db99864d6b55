// SPDX-License-Identifier: Apache-2.0
#include "service/store/FloorNames.h"

#include <random>
#include <set>

#include "StoreSupport.h"
#include "norvexdata/common/ComMethod.h"
#include "norvexdata/entities/GetZrOwEntityPtrVec.h"
#include "norvexdata/state/NorvexData.h"
#include "norvexdata/trust/OwTrustTool.h"
#include "platform/text/CodePage.h"
#include "platform/text/Utf8.h"
#include "platform/zrow/Drawing.h"
#include "service/store/RunTrust.h"
#include "support/RunStateGuard.h"
#include "support/StubService.h"

using namespace norvex::test;
using namespace norvex::service::store;

namespace {

std::vector<std::string> Labels(const std::vector<std::string>& storeys) {
    std::vector<std::string> labels;
    for (const FloorName& name : NameFloors(storeys)) {
        labels.push_back(name.label);
    }
    return labels;
}

using Texts = std::vector<std::string>;

// Names that are alike to the module, to the code page or to each other's escapes.
const Texts kTrickyStoreys{"3层", "3层南区",   "3层北区",     "3",       "3層",     "3~層",  "~",      "~~",   "层",
                           "層",  "",          "(unnamed)",   "Level 2", "Level 2", "2层A",  "2层B",   "工程", "工程层",
                           "😀1",  "😁1",        "é",           "ü",       "u",       "~00FC", "~~00FC", "ะ",    "a\nb",
                           "a b", "(unnamed)", "Level 2 (2)", "Ⅱ层",     "１层",    "-1层",  "B1层",   "2.5层"};

}  // namespace

TEST(FloorNames, KeepTheNamesOfTheStoreys) {
    EXPECT_EQ(Labels({"1层", "3层南区", "Level 2", "屋面"}), (Texts{"1层", "3层南区", "Level 2", "屋面"}));
}

TEST(FloorNames, NumberStoreysOfOneNameAndNameTheNameless) {
    EXPECT_EQ(Labels({"Level 2", "Level 2", "Level 2"}), (Texts{"Level 2", "Level 2 (2)", "Level 2 (3)"}));
    EXPECT_EQ(Labels({"Level 2", "Level 2", "Level 2 (2)"}), (Texts{"Level 2", "Level 2 (3)", "Level 2 (2)"}));
    EXPECT_EQ(Labels({"  ", "\t", "1F"}), (Texts{"(unnamed)", "(unnamed) (2)", "1F"}));
    EXPECT_EQ(Labels({"", "", "(unnamed)"}), (Texts{"(unnamed) (2)", "(unnamed) (3)", "(unnamed)"}));
    EXPECT_EQ(Labels({}), Texts{});
}

TEST(FloorNames, GetTheFirstNumberThatIsFree) {
    // Names that are numbered already come between those that have to be.
    const std::vector<std::string> texts{"", " ", "A", "A (2)", "A (4)", "(unnamed)", "(unnamed) (2)", "A (2) (2)"};
    std::mt19937 random(11);
    for (int round = 0; round < 200; ++round) {
        std::vector<std::string> storeys;
        for (std::size_t count = random() % 20; count > 0; --count) {
            storeys.push_back(texts[random() % texts.size()]);
        }
        const std::set<std::string> all(storeys.begin(), storeys.end());
        std::set<std::string> given;
        const std::vector<FloorName> names = NameFloors(storeys);
        for (std::size_t index = 0; index < storeys.size(); ++index) {
            const std::string wanted =
                storeys[index].find_first_not_of(' ') == std::string::npos ? "(unnamed)" : storeys[index];
            std::string label = wanted;
            for (int number = 2; given.contains(label) || (label != storeys[index] && all.contains(label)); ++number) {
                label = wanted + " (" + std::to_string(number) + ")";
            }
            EXPECT_EQ(names[index].label, label) << round;
            given.insert(label);
        }
    }
}

TEST(FloorNames, ReadLikeTheStoreyInsideTheModule) {
    EXPECT_EQ(ModuleFloorName("3层"), "3層");
    EXPECT_EQ(ModuleFloorName("3层南区"), "3層南区");
    EXPECT_EQ(ModuleFloorName("Level 2"), "Level 2");
    EXPECT_EQ(ModuleFloorName("3層"), "3~層");
    EXPECT_EQ(ModuleFloorName("~"), "~~");
    EXPECT_EQ(ModuleFloorName("ö😀"), "~00F6~D83D~DE00") << "the code page lacks both";
}

TEST(FloorNames, NeverCollapseAndLeadBack) {
    std::set<std::string> labels;
    std::set<std::string> moduleNames;
    for (const FloorName& name : NameFloors(kTrickyStoreys)) {
        EXPECT_TRUE(labels.insert(name.label).second) << name.label;
        EXPECT_TRUE(moduleNames.insert(name.module).second) << name.module;
        EXPECT_EQ(FloorLabel(name.module), name.label);
        EXPECT_EQ(name.module.find("层"), std::string::npos);
        const CString wide = norvex::text::FromUtf8(name.module);
        EXPECT_EQ(norvex::text::NarrowToWide(norvex::text::WideToNarrow(wide)), wide) << name.module;
    }
    EXPECT_EQ(labels.size(), kTrickyStoreys.size());
}

TEST(FloorNames, LeadBackForEveryCharacter) {
    std::set<std::string> names;
    for (char16_t unit = 1; unit != 0; ++unit) {
        if (unit >= 0xD800 && unit <= 0xDFFF) {
            continue;  // half a character is no UTF-8
        }
        const std::string label = norvex::text::ToUtf8(CString(unit));
        const std::string name = ModuleFloorName(label);
        ASSERT_EQ(FloorLabel(name), label);
        ASSERT_TRUE(names.insert(name).second);
    }
}

TEST(FloorNames, KeepTheGradeOfTheFloor) {
    for (const char* label : {"3层", "-1层", "2.5层", "3/4层", "3层南区", "屋面", "B1层", "工程", " 工程 ", "工程层",
                              "Level 2", "12层A", "第3层", "3,4层", ""}) {
        EXPECT_EQ(CComMethod::GetFloorGrade(norvex::text::FromUtf8(ModuleFloorName(label))),
                  CComMethod::GetFloorGrade(norvex::text::FromUtf8(label)))
            << label;
    }
}

// What a rule sees on each storey when one sub-category of one storey is trusted: nothing of it there, and all of it
// everywhere else.
TEST(FloorNames, LetEveryStoreyBeTrustedForItself) {
    const norvex::test::RunStateGuard guard;
    CNorvexData::s_strCurSpec = u"给排水";
    CNorvexData::s_strSmallMemMap = {{u"管线", {u"给水管", u"排水管"}}};
    norvex::Drawing drawing;
    drawing.pipe({0, 0, 0}, {1, 0, 0}, u"给排水\\管线\\给水管\\DN50")
        .pipe({0, 0, 0}, {1, 0, 0}, u"给排水\\管线\\排水管\\DN100");
    drawing.makeCurrent();

    const std::vector<FloorName> floors = NameFloors(kTrickyStoreys);
    for (const FloorName& trusted : floors) {
        RunTrust trust(TrustView({TrustedSubCategory("R", trusted.label, "给水管")}));
        norvex::test::StubService service;
        service.status = trust.StatusOf("R", norvex::text::WideToNarrow(u"给排水"));
        service.trusted = trust.FloorsOf("R", norvex::text::WideToNarrow(u"给排水"));
        CNorvexData::SetNorvexService(&service);
        COwTrustTool tool;
        tool.Init(u"R", u"给排水");
        for (const FloorName& current : floors) {
            CNorvexData::s_strCurFloor = norvex::text::FromUtf8(current.module);
            const CategoryMap& seen = CGetZrOwEntityPtrVec::GetInstance()->GetEntityByBigMemMap(tool);
            const bool isTrusted = current.label == trusted.label;
            EXPECT_EQ(seen.at(u"管线").count(u"给水管"), isTrusted ? 0U : 1U) << trusted.label << ", " << current.label;
            EXPECT_EQ(seen.at(u"管线").count(u"排水管"), 1U);
            EXPECT_EQ(tool.IsTrustItem(CNorvexData::s_strCurFloor, u"给水管"), isTrusted);
            std::set<CString> names;
            EXPECT_EQ(tool.GetCurFlorTrustParam(CNorvexData::s_strCurFloor, names), isTrusted);
        }
        CNorvexData::SetNorvexService(nullptr);
    }
}
