// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/Export.h"

// Tolerances of the host's geometry: two points, or two directions, that count as one.
class NORVEX_PLATFORM_API AcGeTol {
  public:
    // The host's own defaults: 1e-10 drawing units between points, 1e-10 between unit vectors.
    AcGeTol() = default;

    double equalPoint() const { return m_equalPoint; }
    double equalVector() const { return m_equalVector; }
    AcGeTol& setEqualPoint(double value);
    AcGeTol& setEqualVector(double value);

  private:
    double m_equalPoint = 1e-10;
    double m_equalVector = 1e-10;
};

// Settings of the host's geometry that hold for the whole process.
struct NORVEX_PLATFORM_API AcGeContext {
    // Used wherever a caller names no tolerance. Plain data: callers that change it restore it.
    static AcGeTol gTol;
};

class NORVEX_PLATFORM_API AcGeVector3d {
  public:
    AcGeVector3d() = default;
    AcGeVector3d(double xx, double yy, double zz) : x(xx), y(yy), z(zz) {}

    double length() const;
    double dotProduct(const AcGeVector3d& other) const { return x * other.x + y * other.y + z * other.z; }
    AcGeVector3d crossProduct(const AcGeVector3d& other) const;

    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

// A point in drawing units (millimetres). A new point is the origin.
class NORVEX_PLATFORM_API AcGePoint3d {
  public:
    AcGePoint3d() = default;
    AcGePoint3d(double xx, double yy, double zz) : x(xx), y(yy), z(zz) {}

    static const AcGePoint3d kOrigin;

    AcGePoint3d& set(double xx, double yy, double zz);
    // Euclidean distance in drawing units.
    double distanceTo(const AcGePoint3d& other) const;
    // True when the distance is at most tolerance.equalPoint().
    bool isEqualTo(const AcGePoint3d& other, const AcGeTol& tolerance = AcGeContext::gTol) const;
    bool operator==(const AcGePoint3d& other) const { return isEqualTo(other); }
    bool operator!=(const AcGePoint3d& other) const { return !isEqualTo(other); }
    AcGePoint3d operator+(const AcGeVector3d& by) const { return {x + by.x, y + by.y, z + by.z}; }
    AcGeVector3d operator-(const AcGePoint3d& from) const { return {x - from.x, y - from.y, z - from.z}; }

    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

// A point in plan, in drawing units.
class NORVEX_PLATFORM_API AcGePoint2d {
  public:
    AcGePoint2d() = default;
    AcGePoint2d(double xx, double yy) : x(xx), y(yy) {}

    double x = 0.0;
    double y = 0.0;
};
