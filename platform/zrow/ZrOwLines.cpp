// SPDX-License-Identifier: Apache-2.0
#include "platform/zrow/ZrOwLines.h"

ACRX_DEFINE_MEMBERS(ZrOwPolyLine, ZrOwEntity)
ACRX_DEFINE_MEMBERS(ZrOwMainLine, ZrOwPolyLine)
ACRX_DEFINE_MEMBERS(ZrOwDownLine, ZrOwEntity)
ACRX_DEFINE_MEMBERS(ZrOwGroove, ZrOwEntity)

void ZrOwPolyLine::SetPoints(const AcGePoint3d& start, const AcGePoint3d& end) {
    m_start = start;
    m_end = end;
}

Acad::ErrorStatus ZrOwPolyLine::pntNamePos(AcGePoint3d& position) const {
    position.set((m_start.x + m_end.x) / 2.0, (m_start.y + m_end.y) / 2.0, (m_start.z + m_end.z) / 2.0);
    return Acad::eOk;
}

Acad::ErrorStatus ZrOwPolyLine::getGeomExtents(AcDbExtents& extents) const {
    AcDbExtents box;
    box.addPoint(m_start);
    box.addPoint(m_end);
    extents = box;
    return Acad::eOk;
}

void ZrOwDownLine::GetInsertPt(AcGePoint2d& plan, double& level1, double& level2) const {
    plan = m_plan;
    level1 = m_level1;
    level2 = m_level2;
}

Acad::ErrorStatus ZrOwDownLine::pntNamePos(AcGePoint3d& position) const {
    position.set(m_plan.x, m_plan.y, m_level1);
    return Acad::eOk;
}

Acad::ErrorStatus ZrOwDownLine::getGeomExtents(AcDbExtents& extents) const {
    AcDbExtents box;
    box.addPoint({m_plan.x, m_plan.y, m_level1});
    box.addPoint({m_plan.x, m_plan.y, m_level2});
    extents = box;
    return Acad::eOk;
}
