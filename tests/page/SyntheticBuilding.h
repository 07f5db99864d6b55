// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "report/page/PageModel.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <string>

namespace norvex::tests {

// An office building made in code, with what a check might find in it. The model borrows the texts.
struct SyntheticBuilding {
    report::page::PageModel model;
    std::unique_ptr<std::deque<std::string>> texts = std::make_unique<std::deque<std::string>>();
};

// The same building for the same numbers. GlobalIds are as random as those of real models, and every element has a name
// of its own, so that sizes are honest. Requires: floors > 0.
SyntheticBuilding MakeBuilding(std::size_t elements, std::size_t floors, std::size_t findings);

// A small building with one finding of every sort, every outcome, and texts that try to be markup.
SyntheticBuilding MakeShowcase();

}  // namespace norvex::tests
