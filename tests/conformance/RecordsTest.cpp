// SPDX-License-Identifier: Apache-2.0
#include <cstddef>
#include <cstring>
#include <memory>
#include <type_traits>

#include "Stands.h"
#include "norvexdata/state/Vocabulary.h"

using norvex::contract::Narrow;
using NS_NORVEX::RuleErrorInfo;

namespace {

class SubCategoryListContract : public norvex::contract::CleanRun {};

std::vector<std::string> Rows(const CZRArray<RuleErrorInfo>& array) {
    std::vector<std::string> rows;
    for (const RuleErrorInfo& row : array) {
        rows.push_back(row.strCategory + "/" + row.strSubCategory + "/" + std::to_string(row.iCount));
    }
    return rows;
}

CZRArray<RuleErrorInfo> Listed() {
    CZRArray<RuleErrorInfo> array;
    CNorvexData::GetSubCategoryAry(array);
    return array;
}

using Rowset = std::vector<std::string>;

}  // namespace

static_assert(sizeof(NS_NORVEX::CategoryStatus) == 4);
static_assert(sizeof(NS_NORVEX::TrustStatus) == 4);
static_assert(std::is_same_v<decltype(RuleErrorInfo::iCount), std::int32_t>);
static_assert(std::is_same_v<decltype(SSubCategory::iCount), std::int32_t>);
static_assert(std::is_same_v<decltype(SSubCategory::strName), CString>);
static_assert(std::is_same_v<decltype(NS_NORVEX::ComponentInfo::aryItems), CZRArray<std::string>>);

TEST(RecordContract, ErrorInfoIsAGenericTypeThatClonesAllThreeFields) {
    const RuleErrorInfo info("category", "sub-category", 41);
    const NS_NORVEX::GenericType& base = info;
    const std::unique_ptr<NS_NORVEX::GenericType> copy(base.Clone());
    ASSERT_NE(copy.get(), &base);
    const RuleErrorInfo* const cloned = dynamic_cast<const RuleErrorInfo*>(copy.get());
    ASSERT_NE(cloned, nullptr);
    EXPECT_EQ(cloned->strCategory, "category");
    EXPECT_EQ(cloned->strSubCategory, "sub-category");
    EXPECT_EQ(cloned->iCount, 41);
}

TEST(RecordContract, CloneComesDirectlyBehindTheDestructor) {
    // A virtual destructor takes two slots here: with and without deallocation.
    using Clone = NS_NORVEX::GenericType* (NS_NORVEX::GenericType::*)() const;
    const Clone operation = &NS_NORVEX::GenericType::Clone;
    std::size_t parts[2] = {};
    static_assert(sizeof(parts) == sizeof(operation));
    std::memcpy(parts, &operation, sizeof(parts));
    EXPECT_EQ((parts[0] - 1) / sizeof(void*), 2U);
}

TEST(RecordContract, CategoryStateFieldsStandInTheirFixedOrder) {
    using State = NS_NORVEX::CategoryCheckState;
    EXPECT_LT(offsetof(State, strCategory), offsetof(State, eStatus));
    EXPECT_LT(offsetof(State, eStatus), offsetof(State, iCheckNum));
    EXPECT_LT(offsetof(State, iCheckNum), offsetof(State, iConfirmedNum));
    EXPECT_LT(offsetof(State, iConfirmedNum), offsetof(State, iErrSubCategoryNum));
    EXPECT_LT(offsetof(State, iErrSubCategoryNum), offsetof(State, iSuspectedNum));
    EXPECT_LT(offsetof(State, iSuspectedNum), offsetof(State, iRemindNum));
}

TEST(RecordContract, ModuleRecordFieldsStandInTheirFixedOrder) {
    EXPECT_LT(offsetof(NS_NORVEX::DllInfo, strDllName), offsetof(NS_NORVEX::DllInfo, strMd5));
    EXPECT_LT(offsetof(NS_NORVEX::DllInfo, strMd5), offsetof(NS_NORVEX::DllInfo, strVersion));
    EXPECT_LT(offsetof(NS_NORVEX::ComponentInfo, strName), offsetof(NS_NORVEX::ComponentInfo, aryItems));
}

TEST(RecordContract, SubCategoriesOrderByNameAlone) {
    const SSubCategory upper{L"Zeta", 1};
    const SSubCategory lower{L"alpha", 2};
    const SSubCategory again{L"Zeta", 99};
    EXPECT_TRUE(upper < lower);
    EXPECT_FALSE(lower < upper);
    EXPECT_FALSE(upper < again);
    EXPECT_FALSE(again < upper);
}

TEST(VocabularyContract, SpecialtiesAndComponentCategoriesHaveTheirExactWords) {
    EXPECT_EQ(STR_SPEC_LOW_VOLTAGE, L"弱电");
    EXPECT_EQ(STR_SPEC_FIRE_PROTECTION, L"消防");
    EXPECT_EQ(STR_SPEC_HVAC, L"暖通");
    EXPECT_EQ(STR_SPEC_ELECTRICAL, L"电气");
    EXPECT_EQ(STR_SPEC_WATER, L"给排水");
    EXPECT_EQ(STR_CATEGORY_PROJECT, L"工程");
    EXPECT_EQ(STR_CATEGORY_PIPELINE, L"管线");
    EXPECT_EQ(STR_CATEGORY_CABLE_TRAY, L"电缆桥架");
    EXPECT_EQ(STR_CATEGORY_LIGHTING, L"照明器具");
    EXPECT_EQ(STR_CATEGORY_EQUIPMENT, L"设备");
    EXPECT_EQ(STR_CATEGORY_ATTACHMENT, L"附件");
    EXPECT_EQ(STR_CATEGORY_MISCELLANEOUS, L"零星构件");
    EXPECT_EQ(STR_CATEGORY_DISTRIBUTION_BOX, L"配电箱柜");
}

TEST(VocabularyContract, CheckKindsActionsAndErrorKindsHaveTheirExactWords) {
    EXPECT_EQ(STR_CHECK_ATTRIBUTE_PLAUSIBILITY, L"属性合理性");
    EXPECT_EQ(STR_CHECK_MODEL_OMISSION, L"建模遗漏");
    EXPECT_EQ(STR_CHECK_MODEL_PLAUSIBILITY, L"建模合理性");
    EXPECT_EQ(STR_CHECK_CALCULATION, L"计算检查");
    EXPECT_EQ(STR_CHECK_DESIGN_CODE, L"设计规范");
    EXPECT_EQ(STR_ACTION_LOCATE, L"定位");
    EXPECT_EQ(STR_ACTION_REPAIR, L"修复");
    EXPECT_EQ(STR_ACTION_BATCH_REPAIR, L"批量修复");
    EXPECT_EQ(STR_ACTION_LOCATE_REPAIR, L"定位/修复");
    EXPECT_EQ(STR_ERROR_ATTRIBUTE, L"属性错误");
    EXPECT_EQ(STR_ERROR_COMPONENT, L"构件错误");
}

TEST(VocabularyContract, LocateAndRepairOperationsHaveTheirExactWords) {
    EXPECT_EQ(STR_LOCATE_ATTRIBUTE, L"属性定位");
    EXPECT_EQ(STR_LOCATE_SYSTEM_NUMBER, L"系统编号定位");
    EXPECT_EQ(STR_LOCATE_COMPONENT, L"构件定位");
    EXPECT_EQ(STR_LOCATE_CALCULATION_ITEM, L"计算项目定位");
    EXPECT_EQ(STR_LOCATE_GROOVE_FITTING_SETTING, L"沟槽配件生成设置定位");
    EXPECT_EQ(STR_LOCATE_MATERIAL_TABLE, L"材质表定位");
    EXPECT_EQ(STR_ABNORMAL_STOREY_HEIGHT, L"楼层层高异常");
    EXPECT_EQ(STR_REPAIR_DELETE_COMPONENT, L"构件删除");
    EXPECT_EQ(STR_REPAIR_SYSTEM_NUMBER, L"系统编号修改");
    EXPECT_EQ(STR_REPAIR_ELEVATION, L"标高调整");
    EXPECT_EQ(STR_REPAIR_DUCT_FLANGE, L"生成风法兰");
    EXPECT_EQ(STR_REPAIR_CONTINUITY, L"构件连续");
    EXPECT_EQ(STR_REPAIR_NAME, L"名称更改");
    EXPECT_EQ(STR_REPAIR_PIPE_CONNECTION, L"管道连接方式修改");
    EXPECT_EQ(STR_REPAIR_VALVE_CONNECTION, L"阀门连接方式修复");
    EXPECT_EQ(STR_PIPE_ATTACHMENT_DIAMETER, L"水管与附件管径不一致");
    EXPECT_EQ(STR_PIPE_WITHOUT_SLEEVE, L"水管未布置套管");
}

TEST(VocabularyContract, SeverityWordsAreExact) {
    EXPECT_EQ(STR_ERR_CONFIRMED, L"ERR_CONFIRMED");
    EXPECT_EQ(STR_ERR_SUSPECTED, L"ERR_SUSPECTED");
    EXPECT_EQ(STR_ERR_REMIND, L"ERR_REMIND");
}

TEST_F(SubCategoryListContract, WithoutCountedErrorsTheArrayStaysAsItWas) {
    CNorvexData::AddCheckResultCount(L"A", L"s", L"ERR_CONFIRMED", 3, 1);
    CNorvexData::ClearCheckData();
    CZRArray<RuleErrorInfo> array;
    array.append(RuleErrorInfo("old", "entry", 5));
    CNorvexData::GetSubCategoryAry(array);
    EXPECT_EQ(Rows(array), (Rowset{"old/entry/5"}));
}

TEST_F(SubCategoryListContract, NamesThatDifferInLetterCaseAreSeparateAndTheOrderIsOrdinal) {
    CNorvexData::AddCheckResultCount(L"C", L"管道", L"ERR_CONFIRMED", 1, 0);
    CNorvexData::AddCheckResultCount(L"C", L"pipe", L"ERR_CONFIRMED", 2, 0);
    CNorvexData::AddCheckResultCount(L"C", L"Pipe", L"ERR_CONFIRMED", 3, 0);
    CNorvexData::AddCheckResultCount(L"C", L"Zone", L"ERR_CONFIRMED", 4, 0);
    EXPECT_EQ(Rows(Listed()), (Rowset{"C/Pipe/3", "C/Zone/4", "C/pipe/2", "C/" + Narrow(L"管道") + "/1"}));
}

TEST_F(SubCategoryListContract, CategoriesComeInKeyOrder) {
    CNorvexData::AddCheckResultCount(L"管线", L"x", L"ERR_REMIND", 1, 0);
    CNorvexData::AddCheckResultCount(L"b", L"x", L"ERR_REMIND", 2, 0);
    CNorvexData::AddCheckResultCount(L"B", L"x", L"ERR_REMIND", 3, 0);
    EXPECT_EQ(Rows(Listed()), (Rowset{"B/x/3", "b/x/2", Narrow(L"管线") + "/x/1"}));
}

TEST_F(SubCategoryListContract, NarrowNamesCarryTheCodePageBytes) {
    CNorvexData::AddCheckResultCount(L"管", L"线", L"ERR_CONFIRMED", 1, 0);
    const CZRArray<RuleErrorInfo> array = Listed();
    ASSERT_EQ(array.length(), 1);
    EXPECT_EQ(array[0].strCategory, "\xB9\xDC");
    EXPECT_EQ(array[0].strSubCategory, "\xCF\xDF");
}

TEST_F(SubCategoryListContract, CharactersOutsideTheCodePageBecomeItsReplacement) {
    CNorvexData::AddCheckResultCount(L"a\x0E01", L"\x0915z", L"ERR_CONFIRMED", 1, 0);
    EXPECT_EQ(Rows(Listed()), (Rowset{"a?/?z/1"}));
}

TEST_F(SubCategoryListContract, EntriesAreAppendedByEveryCall) {
    CNorvexData::AddCheckResultCount(L"A", L"s", L"ERR_CONFIRMED", 2, 0);
    CZRArray<RuleErrorInfo> array;
    CNorvexData::GetSubCategoryAry(array);
    CNorvexData::GetSubCategoryAry(array);
    EXPECT_EQ(Rows(array), (Rowset{"A/s/2", "A/s/2"}));
}

TEST_F(SubCategoryListContract, AFullArrayGrowsByItsOwnStep) {
    CZRArray<RuleErrorInfo> array(0, 3);
    CNorvexData::AddCheckResultCount(L"A", L"s", L"ERR_CONFIRMED", 2, 0);
    CNorvexData::GetSubCategoryAry(array);
    EXPECT_EQ(array.physicalLength(), 3);
}
