// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "platform/zrow/ZrOwEntity.h"

// A pipe, duct, tray or cable: drawn from a start point to an end point.
class NORVEX_PLATFORM_API ZrOwPolyLine : public ZrOwEntity {
  public:
    ACRX_DECLARE_MEMBERS(ZrOwPolyLine)

    ZrOwPolyLine() = default;
    ZrOwPolyLine(const AcGePoint3d& start, const AcGePoint3d& end) : m_start(start), m_end(end) {}

    AcGePoint3d GetStartPoint() const { return m_start; }
    AcGePoint3d GetEndPoint() const { return m_end; }
    // Length along the run in drawing units: as measured where it is not straight, else the distance between the ends.
    double GetLength() const { return m_length ? *m_length : m_start.distanceTo(m_end); }

    void SetPoints(const AcGePoint3d& start, const AcGePoint3d& end);
    void SetLength(double length) { m_length = length; }

    // Half way between the ends.
    Acad::ErrorStatus pntNamePos(AcGePoint3d& position) const override;
    Acad::ErrorStatus getGeomExtents(AcDbExtents& extents) const override;

  private:
    AcGePoint3d m_start;
    AcGePoint3d m_end;
    std::optional<double> m_length;
};

// What a main line tells of itself.
struct ZrOwMainPipeInfo {
    CString name;
    // Two levels in drawing units, in the order in which the line was drawn.
    double level1 = 0.0;
    double level2 = 0.0;
};

// A main line: a polyline that stands for a run between two levels.
class NORVEX_PLATFORM_API ZrOwMainLine : public ZrOwPolyLine {
  public:
    ACRX_DECLARE_MEMBERS(ZrOwMainLine)

    ZrOwMainLine(const AcGePoint3d& start, const AcGePoint3d& end, const ZrOwMainPipeInfo& info)
        : ZrOwPolyLine(start, end), m_info(info) {}

    // A new record; the caller deletes it.
    ZrOwMainPipeInfo* GetMainPipeInfo() const { return new ZrOwMainPipeInfo(m_info); }

  private:
    ZrOwMainPipeInfo m_info;
};

// A riser: a run between two levels at one place in plan.
class NORVEX_PLATFORM_API ZrOwDownLine : public ZrOwEntity {
  public:
    ACRX_DECLARE_MEMBERS(ZrOwDownLine)

    ZrOwDownLine(const AcGePoint2d& plan, double level1, double level2)
        : m_plan(plan), m_level1(level1), m_level2(level2) {}

    // Place in plan and the two levels, in drawing units, in the order in which the riser was drawn.
    void GetInsertPt(AcGePoint2d& plan, double& level1, double& level2) const;

    Acad::ErrorStatus pntNamePos(AcGePoint3d& position) const override;
    Acad::ErrorStatus getGeomExtents(AcDbExtents& extents) const override;

  private:
    AcGePoint2d m_plan;
    double m_level1;
    double m_level2;
};

// A trench: lies at one level.
class NORVEX_PLATFORM_API ZrOwGroove : public ZrOwEntity {
  public:
    ACRX_DECLARE_MEMBERS(ZrOwGroove)

    explicit ZrOwGroove(double elevation) : m_elevation(elevation) {}

    // Level in drawing units.
    double elevation() const { return m_elevation; }

  private:
    double m_elevation;
};
