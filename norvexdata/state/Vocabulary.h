// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/text/CString.h"

// The words that all modules of the check system share. Each compilation unit that includes this header builds its own
// set at start-up, so that no module depends on another one's order of construction.

// Specialties.
static const CString STR_SPEC_LOW_VOLTAGE = L"弱电";
static const CString STR_SPEC_FIRE_PROTECTION = L"消防";
static const CString STR_SPEC_HVAC = L"暖通";
static const CString STR_SPEC_ELECTRICAL = L"电气";
static const CString STR_SPEC_WATER = L"给排水";

// Component categories.
static const CString STR_CATEGORY_PROJECT = L"工程";
static const CString STR_CATEGORY_PIPELINE = L"管线";
static const CString STR_CATEGORY_CABLE_TRAY = L"电缆桥架";
static const CString STR_CATEGORY_LIGHTING = L"照明器具";
static const CString STR_CATEGORY_EQUIPMENT = L"设备";
static const CString STR_CATEGORY_ATTACHMENT = L"附件";
static const CString STR_CATEGORY_MISCELLANEOUS = L"零星构件";
static const CString STR_CATEGORY_DISTRIBUTION_BOX = L"配电箱柜";

// Check kinds.
static const CString STR_CHECK_ATTRIBUTE_PLAUSIBILITY = L"属性合理性";
static const CString STR_CHECK_MODEL_OMISSION = L"建模遗漏";
static const CString STR_CHECK_MODEL_PLAUSIBILITY = L"建模合理性";
static const CString STR_CHECK_CALCULATION = L"计算检查";
static const CString STR_CHECK_DESIGN_CODE = L"设计规范";

// Actions offered on an error.
static const CString STR_ACTION_LOCATE = L"定位";
static const CString STR_ACTION_REPAIR = L"修复";
static const CString STR_ACTION_BATCH_REPAIR = L"批量修复";
static const CString STR_ACTION_LOCATE_REPAIR = L"定位/修复";

// Error kinds.
static const CString STR_ERROR_ATTRIBUTE = L"属性错误";
static const CString STR_ERROR_COMPONENT = L"构件错误";

// Locate and repair operations.
static const CString STR_LOCATE_ATTRIBUTE = L"属性定位";
static const CString STR_LOCATE_SYSTEM_NUMBER = L"系统编号定位";
static const CString STR_LOCATE_COMPONENT = L"构件定位";
static const CString STR_LOCATE_CALCULATION_ITEM = L"计算项目定位";
static const CString STR_LOCATE_GROOVE_FITTING_SETTING = L"沟槽配件生成设置定位";
static const CString STR_LOCATE_MATERIAL_TABLE = L"材质表定位";
static const CString STR_ABNORMAL_STOREY_HEIGHT = L"楼层层高异常";
static const CString STR_REPAIR_DELETE_COMPONENT = L"构件删除";
static const CString STR_REPAIR_SYSTEM_NUMBER = L"系统编号修改";
static const CString STR_REPAIR_ELEVATION = L"标高调整";
static const CString STR_REPAIR_DUCT_FLANGE = L"生成风法兰";
static const CString STR_REPAIR_CONTINUITY = L"构件连续";
static const CString STR_REPAIR_NAME = L"名称更改";
static const CString STR_REPAIR_PIPE_CONNECTION = L"管道连接方式修改";
static const CString STR_REPAIR_VALVE_CONNECTION = L"阀门连接方式修复";
static const CString STR_PIPE_ATTACHMENT_DIAMETER = L"水管与附件管径不一致";
static const CString STR_PIPE_WITHOUT_SLEEVE = L"水管未布置套管";

// Severity words.
static const CString STR_ERR_CONFIRMED = L"ERR_CONFIRMED";
static const CString STR_ERR_SUSPECTED = L"ERR_SUSPECTED";
static const CString STR_ERR_REMIND = L"ERR_REMIND";
