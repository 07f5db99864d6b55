// SPDX-License-Identifier: Apache-2.0
#include "norvexdata/state/Vocabulary.h"
#include "support/TextPrinter.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

const CString* SeverityWordOfOtherUnit();

namespace {

// Made while this unit's own constants are being constructed: they stand before it in the same unit.
const bool g_wasBuiltBefore = STR_ERR_REMIND == u"ERR_REMIND";

using Words = std::vector<std::pair<CString, const char16_t*>>;

void ExpectWords(const Words& words) {
    for (const auto& [constant, literal] : words) {
        EXPECT_EQ(constant, literal);
    }
}

}  // namespace

TEST(Vocabulary, NamesSpecialties) {
    ExpectWords({{STR_SPEC_LOW_VOLTAGE, u"弱电"},
                 {STR_SPEC_FIRE_PROTECTION, u"消防"},
                 {STR_SPEC_HVAC, u"暖通"},
                 {STR_SPEC_ELECTRICAL, u"电气"},
                 {STR_SPEC_WATER, u"给排水"}});
}

TEST(Vocabulary, NamesComponentCategories) {
    ExpectWords({{STR_CATEGORY_PROJECT, u"工程"},
                 {STR_CATEGORY_PIPELINE, u"管线"},
                 {STR_CATEGORY_CABLE_TRAY, u"电缆桥架"},
                 {STR_CATEGORY_LIGHTING, u"照明器具"},
                 {STR_CATEGORY_EQUIPMENT, u"设备"},
                 {STR_CATEGORY_ATTACHMENT, u"附件"},
                 {STR_CATEGORY_MISCELLANEOUS, u"零星构件"},
                 {STR_CATEGORY_DISTRIBUTION_BOX, u"配电箱柜"}});
}

TEST(Vocabulary, NamesCheckKinds) {
    ExpectWords({{STR_CHECK_ATTRIBUTE_PLAUSIBILITY, u"属性合理性"},
                 {STR_CHECK_MODEL_OMISSION, u"建模遗漏"},
                 {STR_CHECK_MODEL_PLAUSIBILITY, u"建模合理性"},
                 {STR_CHECK_CALCULATION, u"计算检查"},
                 {STR_CHECK_DESIGN_CODE, u"设计规范"}});
}

TEST(Vocabulary, NamesActionsAndErrorKinds) {
    ExpectWords({{STR_ACTION_LOCATE, u"定位"},
                 {STR_ACTION_REPAIR, u"修复"},
                 {STR_ACTION_BATCH_REPAIR, u"批量修复"},
                 {STR_ACTION_LOCATE_REPAIR, u"定位/修复"},
                 {STR_ERROR_ATTRIBUTE, u"属性错误"},
                 {STR_ERROR_COMPONENT, u"构件错误"}});
}

TEST(Vocabulary, NamesLocateAndRepairOperations) {
    ExpectWords({{STR_LOCATE_ATTRIBUTE, u"属性定位"},
                 {STR_LOCATE_SYSTEM_NUMBER, u"系统编号定位"},
                 {STR_LOCATE_COMPONENT, u"构件定位"},
                 {STR_LOCATE_CALCULATION_ITEM, u"计算项目定位"},
                 {STR_LOCATE_GROOVE_FITTING_SETTING, u"沟槽配件生成设置定位"},
                 {STR_LOCATE_MATERIAL_TABLE, u"材质表定位"},
                 {STR_ABNORMAL_STOREY_HEIGHT, u"楼层层高异常"},
                 {STR_REPAIR_DELETE_COMPONENT, u"构件删除"},
                 {STR_REPAIR_SYSTEM_NUMBER, u"系统编号修改"},
                 {STR_REPAIR_ELEVATION, u"标高调整"},
                 {STR_REPAIR_DUCT_FLANGE, u"生成风法兰"},
                 {STR_REPAIR_CONTINUITY, u"构件连续"},
                 {STR_REPAIR_NAME, u"名称更改"},
                 {STR_REPAIR_PIPE_CONNECTION, u"管道连接方式修改"},
                 {STR_REPAIR_VALVE_CONNECTION, u"阀门连接方式修复"},
                 {STR_PIPE_ATTACHMENT_DIAMETER, u"水管与附件管径不一致"},
                 {STR_PIPE_WITHOUT_SLEEVE, u"水管未布置套管"}});
}

TEST(Vocabulary, NamesSeverities) {
    ExpectWords({{STR_ERR_CONFIRMED, u"ERR_CONFIRMED"},
                 {STR_ERR_SUSPECTED, u"ERR_SUSPECTED"},
                 {STR_ERR_REMIND, u"ERR_REMIND"}});
}

TEST(Vocabulary, IsBuiltInEveryUnitBeforeTheUnitsOwnObjects) {
    EXPECT_TRUE(g_wasBuiltBefore);
    EXPECT_NE(SeverityWordOfOtherUnit(), &STR_ERR_CONFIRMED);
    EXPECT_EQ(*SeverityWordOfOtherUnit(), STR_ERR_CONFIRMED);
}
