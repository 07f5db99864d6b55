// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ifc/BuildingModel.h"

namespace norvex::report::bcf {

// What a box round an element is, as far as the model tells. Empty: nobody knows where it is.
ifc::Box ExtentOf(const ifc::Element& element);

// Part of a plan that pictures are cut from: all that show the same storey at the same scale and have their middles
// near one another. Ordered, so that pictures of one sheet can be painted one after the other.
struct Sheet {
    std::uint32_t storey = ifc::kNoIndex;
    int level = 0;  // of the scale
    std::int64_t column = 0;
    std::int64_t row = 0;

    auto operator<=>(const Sheet&) const = default;
};

// Draws pictures of plans: north is up, what lies on the storey in its specialty's pale colour, objects that were found
// in one strong colour above it. No lettering, so that the pictures are the same wherever they are drawn.
//
// What lies on the storey is drawn once for a sheet, and the pictures are cut from it, so that the work grows with the
// elements and with the pictures, not with one times the other, as long as pictures of one sheet follow one another.
class PlanPainter {
  public:
    // Pixels.
    static constexpr int kWidth = 800;
    static constexpr int kHeight = 600;

    // The model must live as long. `shouldStop` is asked while drawing; true: the picture is not wanted any more.
    explicit PlanPainter(const ifc::BuildingModel& model, std::function<bool()> shouldStop = {});
    PlanPainter(const PlanPainter&) = delete;
    PlanPainter& operator=(const PlanPainter&) = delete;
    ~PlanPainter();

    // The sheet that a picture around focus is cut from. Requires: focus is not empty.
    static Sheet SheetOf(std::uint32_t storey, const ifc::Box& focus);

    // A PNG of the plan around focus. `storey` is an index into the model's storeys, ifc::kNoIndex for what lies on
    // none; `marked` are indices into its elements, those on other storeys included. A focus that is small
    // on the picture gets a ring around it. Requires: focus is not empty. Returns: nothing when told to stop.
    std::optional<std::string> Paint(std::uint32_t storey, const std::vector<std::uint32_t>& marked,
                                     const ifc::Box& focus);

    // Elements drawn and looked at so far, marks not counted.
    std::uint64_t Steps() const { return m_steps; }

  private:
    class Canvas;
    class FloorIndex;

    FloorIndex& IndexOf(std::uint32_t storey);
    // Returns: false when told to stop.
    bool DrawSheet(const Sheet& sheet);
    bool DrawElements(const std::vector<std::uint32_t>& elements, bool large);

    const ifc::BuildingModel& m_model;
    std::function<bool()> m_shouldStop;
    std::vector<std::vector<std::uint32_t>> m_elements;  // of each storey, the last for those on none
    std::vector<std::unique_ptr<FloorIndex>> m_floors;   // the same; made when asked for
    std::unique_ptr<Canvas> m_canvas;
    std::optional<Sheet> m_sheet;  // what is drawn on the canvas
    std::uint64_t m_steps = 0;
};

}  // namespace norvex::report::bcf
