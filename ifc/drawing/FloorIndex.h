// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ifc/BuildingModel.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace norvex::ifc {

// Which elements lie on which floor, and what is joined to each there: found in one pass over a model, so that drawing
// one floor takes no look at the others. Keeps nothing of the model but indices. Const calls are safe from any number
// of threads.
class FloorIndex {
  public:
    explicit FloorIndex(const BuildingModel& model);

    // Returns: indices of the elements on a storey, or with kNoIndex of those on none, ascending.
    // Requires: `storey` is kNoIndex or an index into the model's storeys.
    std::span<const std::uint32_t> Elements(std::uint32_t storey) const;

    // Returns: indices of what is joined to an element that is no segment, ascending and each once, as far as it lies
    // on the same floor and has a place; of what is joined across storeys the other end lies in another drawing.
    // Empty for segments: they tell what they are joined to by their ends.
    // Requires: `element` is an index into the model's elements.
    std::span<const std::uint32_t> Joined(std::uint32_t element) const;

  private:
    // Lists one behind the other; list i begins at firsts[i] and ends where the next begins.
    struct Lists {
        std::vector<std::uint32_t> firsts;
        std::vector<std::uint32_t> items;

        std::span<const std::uint32_t> At(std::size_t list) const {
            return std::span(items).subspan(firsts[list], firsts[list + 1] - firsts[list]);
        }
    };

    void IndexElements(const BuildingModel& model);
    void IndexJoints(const BuildingModel& model);

    Lists floors_;  // by storey; those on none last
    Lists joined_;  // by element
};

}  // namespace norvex::ifc
