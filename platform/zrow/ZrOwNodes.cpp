// SPDX-License-Identifier: Apache-2.0
#include "platform/zrow/ZrOwNodes.h"

ACRX_DEFINE_MEMBERS(ZrOwNode, ZrOwEntity)
ACRX_DEFINE_MEMBERS(ZrOwFittingBase, ZrOwEntity)
ACRX_DEFINE_MEMBERS(ZrOwBuried, ZrOwEntity)
ACRX_DEFINE_MEMBERS(ZrOwLeadBuried, ZrOwBuried)
ACRX_DEFINE_MEMBERS(ZrOwLeadContainer, ZrOwEntity)

Acad::ErrorStatus ZrOwNode::pntNamePos(AcGePoint3d& position) const {
    position = m_insertPoint;
    return Acad::eOk;
}

Acad::ErrorStatus ZrOwNode::getGeomExtents(AcDbExtents& extents) const {
    extents = AcDbExtents(m_insertPoint, m_insertPoint);
    return Acad::eOk;
}

Acad::ErrorStatus ZrOwFittingBase::pntNamePos(AcGePoint3d& position) const {
    position = m_position;
    return Acad::eOk;
}

Acad::ErrorStatus ZrOwFittingBase::getGeomExtents(AcDbExtents& extents) const {
    extents = AcDbExtents(m_position, m_position);
    return Acad::eOk;
}
