// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ifc/BuildingModel.h"

namespace norvex::report::bcf {

// What a box round an element is, as far as the model tells. Empty: nobody knows where it is.
ifc::Box ExtentOf(const ifc::Element& element);

// Draws pictures of plans: north is up, what lies on the storey in its specialty's pale colour, objects that were found
// in one strong colour above it. No lettering, so that the pictures are the same wherever they are drawn.
class PlanPainter {
  public:
    // Pixels.
    static constexpr int kWidth = 800;
    static constexpr int kHeight = 600;

    // The model must live as long.
    explicit PlanPainter(const ifc::BuildingModel& model);
    PlanPainter(const PlanPainter&) = delete;
    PlanPainter& operator=(const PlanPainter&) = delete;
    ~PlanPainter();

    // A PNG of the plan around focus. `storey` is an index into the model's storeys, ifc::kNoIndex for what lies on
    // none; `marked` are indices into its elements, those on other storeys included. A focus that is small
    // on the picture gets a ring around it. Requires: focus is not empty.
    std::string Paint(std::uint32_t storey, const std::vector<std::uint32_t>& marked, const ifc::Box& focus);

  private:
    class Canvas;
    class FloorIndex;

    const FloorIndex& IndexOf(std::uint32_t storey);

    const ifc::BuildingModel& m_model;
    std::vector<std::unique_ptr<FloorIndex>>
        m_floors;  // of each storey, the last for those on none; made when asked for
    std::unique_ptr<Canvas> m_canvas;
};

}  // namespace norvex::report::bcf
