// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

namespace norvex::ifc {

// A point or a vector in millimetres, world coordinates of the model.
struct Point {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    friend bool operator==(const Point&, const Point&) = default;
};

inline Point operator+(const Point& a, const Point& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Point operator-(const Point& a, const Point& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Point operator*(const Point& a, double factor) {
    return {a.x * factor, a.y * factor, a.z * factor};
}
inline double Dot(const Point& a, const Point& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Point Cross(const Point& a, const Point& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double Length(const Point& a) {
    return std::sqrt(Dot(a, a));
}
inline double Distance(const Point& a, const Point& b) {
    return Length(a - b);
}
inline bool IsFinite(const Point& a) {
    return std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(a.z);
}

// Nothing on Earth is farther from an origin than this many millimetres. What is cannot be placed in a grid either.
inline constexpr double kMaxCoordinate = 1e11;

// Returns: false for what is no number, too.
inline bool IsWithinReach(const Point& a) {
    return std::abs(a.x) < kMaxCoordinate && std::abs(a.y) < kMaxCoordinate && std::abs(a.z) < kMaxCoordinate;
}

// An axis-parallel box in millimetres. A new box is empty and holds no point.
struct Box {
    Point low{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(),
              std::numeric_limits<double>::infinity()};
    Point high{-std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
               -std::numeric_limits<double>::infinity()};

    bool IsEmpty() const { return low.x > high.x || low.y > high.y || low.z > high.z; }

    void Add(const Point& point) {
        low = {std::min(low.x, point.x), std::min(low.y, point.y), std::min(low.z, point.z)};
        high = {std::max(high.x, point.x), std::max(high.y, point.y), std::max(high.z, point.z)};
    }
    void Add(const Box& other) {
        if (!other.IsEmpty()) {
            Add(other.low);
            Add(other.high);
        }
    }
    Box Grown(double margin) const {
        const Point by{margin, margin, margin};
        return {low - by, high + by};
    }
    bool Contains(const Point& point) const {
        return point.x >= low.x && point.x <= high.x && point.y >= low.y && point.y <= high.y && point.z >= low.z &&
               point.z <= high.z;
    }
    // Requires: not empty.
    Point Centre() const { return (low + high) * 0.5; }
};

}  // namespace norvex::ifc
