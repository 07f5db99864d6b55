// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <limits>
#include <memory>

#include "norvexdata/common/ComMethod.h"
#include "norvexdata/state/Vocabulary.h"
#include "platform/text/Number.h"
#include "platform/zrow/ZrOwLines.h"
#include "platform/zrow/ZrOwNodes.h"

namespace {

// Grade of the floor that stands for the whole project.
constexpr int kProjectGrade = -1000;

bool IsWithin(double minimum, double value, double maximum) {
    return minimum <= value && value <= maximum;
}

// One axis of the overlap test: strict on one side only.
bool IsOverlap(double firstMinimum, double firstMaximum, double secondMinimum, double secondMaximum) {
    return firstMaximum > secondMinimum && secondMaximum >= firstMinimum;
}

void SetRange(double level1, double level2, double& low, double& high) {
    low = std::min(level1, level2);
    high = std::max(level1, level2);
}

CString TextBefore(const CString& text, char16_t separator) {
    const int place = text.Find(separator);
    return place >= 0 ? text.Left(place) : text;
}

// Ten times the number, truncated toward zero; a grade beyond 32 bits becomes the nearest one that fits, so that floors
// keep their order.
int GradeOf(double number) {
    constexpr double kLowest = std::numeric_limits<int>::min();
    constexpr double kHighest = std::numeric_limits<int>::max();
    constexpr double kGradesPerFloor = 10.0;
    return static_cast<int>(std::clamp(number * kGradesPerFloor, kLowest, kHighest));
}

}  // namespace

bool CComMethod::IsPntEnternsInter(const AcDbExtents& box, const AcGePoint3d& point) {
    const AcGePoint3d minimum = box.minPoint();
    const AcGePoint3d maximum = box.maxPoint();
    return IsWithin(minimum.x, point.x, maximum.x) && IsWithin(minimum.y, point.y, maximum.y) &&
           IsWithin(minimum.z, point.z, maximum.z);
}

bool CComMethod::ExtentsInter(const AcDbExtents& first, const AcDbExtents& second) {
    return IsIntersectWithEnterns(first, second) &&
           IsOverlap(first.minPoint().z, first.maxPoint().z, second.minPoint().z, second.maxPoint().z);
}

bool CComMethod::IsIntersectWithEnterns(const AcDbExtents& first, const AcDbExtents& second) {
    return IsOverlap(first.minPoint().x, first.maxPoint().x, second.minPoint().x, second.maxPoint().x) &&
           IsOverlap(first.minPoint().y, first.maxPoint().y, second.minPoint().y, second.maxPoint().y);
}

bool CComMethod::IsIntersectWithEnterns(const CArray<AcDbExtents>& boxes, const AcDbExtents& box) {
    return std::any_of(boxes.begin(), boxes.end(),
                       [&box](const AcDbExtents& listed) { return IsIntersectWithEnterns(box, listed); });
}

int CComMethod::GetEntLevel(const ZrOwEntity* entity, double& low, double& high) {
    enum LevelKind { eOneLevel = 1, eRange = 2, eMainLine = 3 };
    if (const ZrOwNode* node = ZrOwNode::cast(entity)) {
        low = node->GetInsertPoint().z;
        return eOneLevel;
    }
    if (const ZrOwDownLine* riser = ZrOwDownLine::cast(entity)) {
        AcGePoint2d plan;
        double level1 = 0.0;
        double level2 = 0.0;
        riser->GetInsertPt(plan, level1, level2);
        SetRange(level1, level2, low, high);
        return eRange;
    }
    if (const ZrOwGroove* trench = ZrOwGroove::cast(entity)) {
        low = trench->elevation();
        return eOneLevel;
    }
    if (const ZrOwMainLine* mainLine = ZrOwMainLine::cast(entity)) {
        const std::unique_ptr<ZrOwMainPipeInfo> info(mainLine->GetMainPipeInfo());
        low = info->level1;
        high = info->level2;
        return eMainLine;
    }
    if (const ZrOwPolyLine* line = ZrOwPolyLine::cast(entity)) {
        SetRange(line->GetStartPoint().z, line->GetEndPoint().z, low, high);
        return eRange;
    }
    return eOneLevel;
}

int CComMethod::GetFloorGrade(CString floorName) {
    floorName.Trim();
    if (floorName == STR_CATEGORY_PROJECT) {
        return kProjectGrade;
    }
    floorName.Remove(u'层');
    const CString number = TextBefore(TextBefore(floorName, u'/'), u',');
    return GradeOf(norvex::text::LeadingNumber(number));
}
