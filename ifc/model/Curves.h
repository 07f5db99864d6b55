// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/model/Placements.h"

#include <vector>

namespace norvex::ifc {

// Follows a curve: its points in order, arcs as chords of at most fifteen degrees. Local coordinates, millimetres.
// Returns: false, with what was read so far in `points`, when the curve is unbounded, broken, unknown or nests too
// deep.
bool ReadCurve(const Access& access, const Placements& placements, std::uint32_t curve, std::vector<Point>& points);

// Reads a list of cartesian points (IfcPolyline, IfcPolyLoop). Returns: whether all of them were readable.
bool ReadPointList(const Access& access, const Placements& placements, const part21::Value& list,
                   std::vector<Point>& points);

// Reads an IfcCartesianPointList. Returns: whether all of it was readable.
bool ReadCoordinateList(const Access& access, const Placements& placements, std::uint32_t list,
                        std::vector<Point>& points);

double LengthOf(const std::vector<Point>& points);

}  // namespace norvex::ifc
