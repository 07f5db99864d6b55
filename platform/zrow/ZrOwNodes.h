// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/zrow/ZrOwEntity.h"

// Equipment: an object that stands at one point.
class NORVEX_PLATFORM_API ZrOwNode : public ZrOwEntity {
  public:
    ACRX_DECLARE_MEMBERS(ZrOwNode)

    explicit ZrOwNode(const AcGePoint3d& insertPoint) : m_insertPoint(insertPoint) {}

    AcGePoint3d GetInsertPoint() const { return m_insertPoint; }

    Acad::ErrorStatus pntNamePos(AcGePoint3d& position) const override;
    Acad::ErrorStatus getGeomExtents(AcDbExtents& extents) const override;

  private:
    AcGePoint3d m_insertPoint;
};

// A fitting: sits where runs meet.
class NORVEX_PLATFORM_API ZrOwFittingBase : public ZrOwEntity {
  public:
    ACRX_DECLARE_MEMBERS(ZrOwFittingBase)

    explicit ZrOwFittingBase(const AcGePoint3d& position) : m_position(position) {}

    AcGePoint3d GetPosition() const { return m_position; }

    Acad::ErrorStatus pntNamePos(AcGePoint3d& position) const override;
    Acad::ErrorStatus getGeomExtents(AcDbExtents& extents) const override;

  private:
    AcGePoint3d m_position;
};

// Something buried inside a container.
class NORVEX_PLATFORM_API ZrOwBuried : public ZrOwEntity {
  public:
    ACRX_DECLARE_MEMBERS(ZrOwBuried)

    // Id of the container; a null id when it is in none.
    AcDbObjectId GetContainerId() const { return m_container; }
    void SetContainerId(AcDbObjectId container) { m_container = container; }

  private:
    AcDbObjectId m_container;
};

// A buried lead: a wire inside a container.
class NORVEX_PLATFORM_API ZrOwLeadBuried : public ZrOwBuried {
  public:
    ACRX_DECLARE_MEMBERS(ZrOwLeadBuried)
};

// A container of buried leads.
class NORVEX_PLATFORM_API ZrOwLeadContainer : public ZrOwEntity {
  public:
    ACRX_DECLARE_MEMBERS(ZrOwLeadContainer)
};
