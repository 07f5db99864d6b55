// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <vector>

class ZrOwEntity;

namespace norvex::bench {

// What each way of doing the work found, so that nothing can be left out unnoticed.
struct Outcome {
    std::size_t networks = 0;
    std::size_t loops = 0;
};

// Ends matched in a packed Boost.Geometry R-tree, networks and biconnected components by Boost.Graph. A loop is a
// component of two pipes or more.
Outcome RunBoost(const std::vector<ZrOwEntity*>& pipes);
// Ends matched in a hash table of rounded coordinates, networks by LEMON. It lists no loops.
Outcome RunLemon(const std::vector<ZrOwEntity*>& pipes);

}  // namespace norvex::bench
