// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/Geometry.h"

#include <optional>

namespace norvex::ifc {

// An affine map: where the axes and the origin of a local frame lie in the outer one.
struct Transform {
    Point x{1, 0, 0};
    Point y{0, 1, 0};
    Point z{0, 0, 1};
    Point origin;

    Point Apply(const Point& point) const { return Turn(point) + origin; }
    // Maps a direction: without the origin.
    Point Turn(const Point& direction) const { return x * direction.x + y * direction.y + z * direction.z; }

    friend bool operator==(const Transform&, const Transform&) = default;
};

// First `inner`, then `outer`.
inline Transform operator*(const Transform& outer, const Transform& inner) {
    return {outer.Turn(inner.x), outer.Turn(inner.y), outer.Turn(inner.z), outer.Apply(inner.origin)};
}

// Returns: the point in the frame's own coordinates; nothing when the frame is flat.
inline std::optional<Point> ToLocal(const Transform& frame, const Point& point) {
    const Point yz = Cross(frame.y, frame.z);
    const double volume = Dot(frame.x, yz);
    if (!(std::abs(volume) > 1e-12)) {
        return std::nullopt;
    }
    const Point offset = point - frame.origin;
    return Point{Dot(offset, yz) / volume, Dot(offset, Cross(frame.z, frame.x)) / volume,
                 Dot(offset, Cross(frame.x, frame.y)) / volume};
}

// Returns: the axis-parallel box around the eight corners of a local box.
inline Box Mapped(const Transform& frame, const Box& box) {
    Box mapped;
    if (box.IsEmpty()) {
        return mapped;
    }
    for (int corner = 0; corner < 8; ++corner) {
        mapped.Add(frame.Apply({(corner & 1) != 0 ? box.high.x : box.low.x, (corner & 2) != 0 ? box.high.y : box.low.y,
                                (corner & 4) != 0 ? box.high.z : box.low.z}));
    }
    return mapped;
}

}  // namespace norvex::ifc
