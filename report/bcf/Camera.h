// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/Geometry.h"

namespace norvex::report::bcf {

// A perspective camera in the model's world. Lengths are metres, as everywhere in BCF; directions have length 1, and up
// is at a right angle to the direction.
struct Camera {
    ifc::Point viewPoint;
    ifc::Point direction;
    ifc::Point up;
    double fieldOfView = 0.0;  // vertical, degrees
    double aspectRatio = 0.0;  // width by height
};

// A camera that sees all of a box in millimetres, from the south-west and above. Requires: the box is not empty.
Camera CameraFor(const ifc::Box& box);

}  // namespace norvex::report::bcf
