// SPDX-License-Identifier: Apache-2.0
#include "report/bcf/Camera.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace norvex::report::bcf {
namespace {

constexpr double kMillimetresInMetre = 1000.0;
// Looking north-east and 37 degrees down: along a pipe in either main direction one still sees both of its ends.
constexpr ifc::Point kDirection{0.48, 0.64, -0.6};
constexpr ifc::Point kUp{0.36, 0.48, 0.8};
constexpr double kFieldOfView = 60.0;
constexpr double kAspectRatio = 4.0 / 3.0;
// Some air around what is looked at.
constexpr double kAir = 1.15;
// Metres; nearer than a person would stand, a single valve would fill the view and show nothing of where it is.
constexpr double kSmallestRadius = 0.75;

}  // namespace

Camera CameraFor(const ifc::Box& box) {
    const ifc::Point centre = box.Centre() * (1.0 / kMillimetresInMetre);
    const double radius =
        std::max(kSmallestRadius, ifc::Distance(box.low, box.high) / 2.0 / kMillimetresInMetre) * kAir;
    // The ball around the box touches the edges of the view at this distance; the view is wider than high.
    const double distance = radius / std::sin(kFieldOfView / 2.0 * std::numbers::pi / 180.0);
    return {centre - kDirection * distance, kDirection, kUp, kFieldOfView, kAspectRatio};
}

}  // namespace norvex::report::bcf
