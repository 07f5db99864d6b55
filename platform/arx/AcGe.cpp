// SPDX-License-Identifier: Apache-2.0
#include "platform/arx/AcGe.h"

#include <cmath>

AcGeTol AcGeContext::gTol;

const AcGePoint3d AcGePoint3d::kOrigin;

AcGeTol& AcGeTol::setEqualPoint(double value) {
    m_equalPoint = value;
    return *this;
}

AcGeTol& AcGeTol::setEqualVector(double value) {
    m_equalVector = value;
    return *this;
}

double AcGeVector3d::length() const {
    return std::sqrt(dotProduct(*this));
}

AcGeVector3d AcGeVector3d::crossProduct(const AcGeVector3d& other) const {
    return {y * other.z - z * other.y, z * other.x - x * other.z, x * other.y - y * other.x};
}

AcGePoint3d& AcGePoint3d::set(double xx, double yy, double zz) {
    x = xx;
    y = yy;
    z = zz;
    return *this;
}

double AcGePoint3d::distanceTo(const AcGePoint3d& other) const {
    return (*this - other).length();
}

bool AcGePoint3d::isEqualTo(const AcGePoint3d& other, const AcGeTol& tolerance) const {
    return distanceTo(other) <= tolerance.equalPoint();
}
