// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>

namespace norvex::samples {

// A point or a direction in millimetres, world coordinates, z upwards.
struct Vector {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

inline Vector operator+(const Vector& a, const Vector& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vector operator-(const Vector& a, const Vector& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vector operator-(const Vector& a) {
    return {-a.x, -a.y, -a.z};
}
inline Vector operator*(const Vector& a, double factor) {
    return {a.x * factor, a.y * factor, a.z * factor};
}
inline double Dot(const Vector& a, const Vector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vector Cross(const Vector& a, const Vector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double Length(const Vector& a) {
    return std::sqrt(Dot(a, a));
}
// Requires: not the zero vector. Only square root and division, so that every machine gives the same bits.
inline Vector Unit(const Vector& a) {
    return a * (1.0 / Length(a));
}

// A right-handed frame: where a part stands and how it is turned. The three axes are unit vectors.
struct Frame {
    Vector origin;
    Vector x{1.0, 0.0, 0.0};
    Vector y{0.0, 1.0, 0.0};
    Vector z{0.0, 0.0, 1.0};

    Vector ToWorld(const Vector& local) const { return origin + DirectionToWorld(local); }
    Vector DirectionToWorld(const Vector& local) const { return x * local.x + y * local.y + z * local.z; }
    Vector DirectionToLocal(const Vector& world) const { return {Dot(world, x), Dot(world, y), Dot(world, z)}; }
};

}  // namespace norvex::samples
