// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/BuildingModel.h"
#include "ifc/drawing/FloorIndex.h"
#include "platform/arx/AcDbDatabase.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace norvex::ifc {

// One floor of a building as a drawing of its own.
struct FloorDrawing {
    std::unique_ptr<AcDbDatabase> database;  // never null
    std::uint32_t drawn = 0;                 // entities in model space
    // Indices of the floor's elements that the model gives no place; they are not in the drawing.
    std::vector<std::uint32_t> undrawn;
};

// Draws the elements of one storey, or with kNoIndex those that lie on none, in the order of the model.
//
// Segments become ZrOwPolyLine, fittings and in-line devices ZrOwFittingBase, everything else ZrOwNode. Handles are the
// instance numbers of the file, units millimetres. The attribute path is specialty\category\sub-category\detail name;
// the system code is the specialty, a backslash and the name of the element's first system. Each entity has the
// properties that its element has of kPropertyGlobalId, kPropertyNominalDiameter, kPropertyOuterDiameter,
// kPropertyConnectionType, kPropertyName and kPropertyClass; one that shares its GlobalId has
// kPropertyGlobalIdRepeats; what is no segment also has kPropertyJoined.
// Ends that meet in the model are equal bit by bit.
//
// Requires: `storey` is kNoIndex or an index into model.storeys; `index` was made from this model. The drawing keeps
// nothing of either.
// Threads: as the drawing database; distinct drawings may be made by distinct threads.
FloorDrawing DrawFloor(const BuildingModel& model, const FloorIndex& index, std::uint32_t storey);

// The same for who draws a single floor: makes the index itself, which takes a pass over the whole model.
FloorDrawing DrawFloor(const BuildingModel& model, std::uint32_t storey);

}  // namespace norvex::ifc
